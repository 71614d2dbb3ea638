// Runs the operations of a program on arrays.
#include "engine/nlp/tape/kernels.hpp"

namespace qlx::nlp {

namespace {

// The loops read and write the same element at a time, so a result may be an operand's array.
template <class Function>
[[gnu::always_inline]] inline void loop(int n, double* out, const double* a, Function f) {
#pragma GCC ivdep
    for (int k = 0; k < n; ++k) out[k] = f(a[k]);
}

template <class Function>
[[gnu::always_inline]] inline void loop(int n, double* out, const double* a, const double* b,
                                        Function f) {
#pragma GCC ivdep
    for (int k = 0; k < n; ++k) out[k] = f(a[k], b[k]);
}

template <class Function>
[[gnu::always_inline]] inline void loop(int n, double* out, const double* a, const double* b,
                                        const double* c, Function f) {
#pragma GCC ivdep
    for (int k = 0; k < n; ++k) out[k] = f(a[k], b[k], c[k]);
}

template <NodeKind Kind>
[[gnu::always_inline]] inline void one(int n, double* out, const double* a) {
    loop(n, out, a, [](double x) { return apply_one(Kind, x, 0); });
}

template <NodeKind Kind>
[[gnu::always_inline]] inline void two(int n, double* out, const double* a, const double* b) {
    loop(n, out, a, b, [](double x, double y) { return apply_two(Kind, x, y); });
}

template <NodeKind Kind>
[[gnu::always_inline]] inline void three(int n, double* out, const double* a, const double* b,
                                         const double* c) {
    loop(n, out, a, b, c, [](double x, double y, double z) { return apply_three(Kind, x, y, z); });
}

[[gnu::always_inline]] inline void integer_powers(int n, double* out, const double* a,
                                                  int exponent) {
    switch (exponent) {
        case 3:
            return loop(n, out, a, [](double x) { return x * x * x; });
        case 4:
            return loop(n, out, a, [](double x) { return (x * x) * (x * x); });
        case -2:
            return loop(n, out, a, [](double x) { return 1 / (x * x); });
        default:
            return loop(n, out, a, [exponent](double x) { return integer_power(x, exponent); });
    }
}

// Twice as many numbers at a time where the processor can; the results are the same.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define QLX_WIDE __attribute__((target_clones("avx2", "default")))
#else
#define QLX_WIDE
#endif

#define QLX_ONE(kind)                   \
    case NodeKind::kind:                \
        one<NodeKind::kind>(n, out, a); \
        break
#define QLX_TWO(kind)                                   \
    case NodeKind::kind:                                \
        two<NodeKind::kind>(n, out, a, places[code.b]); \
        break
#define QLX_THREE(kind)                                                   \
    case NodeKind::kind:                                                  \
        three<NodeKind::kind>(n, out, a, places[code.b], places[code.c]); \
        break

[[gnu::always_inline]] inline void run_code(const Code& code, double* const* places, int n) {
    double* out = places[code.out];
    const double* a = places[code.a];
    switch (code.kind) {
        QLX_ONE(kNegate);
        QLX_ONE(kSquare);
        QLX_ONE(kReciprocal);
        QLX_ONE(kSqrt);
        QLX_ONE(kExp);
        QLX_ONE(kLog);
        QLX_ONE(kLog10);
        QLX_ONE(kSin);
        QLX_ONE(kCos);
        QLX_ONE(kTan);
        QLX_ONE(kAsin);
        QLX_ONE(kAcos);
        QLX_ONE(kAtan);
        QLX_ONE(kAbs);
        QLX_ONE(kSign);
        QLX_ONE(kErf);
        QLX_ONE(kErfc);
        QLX_TWO(kAdd);
        QLX_TWO(kSubtract);
        QLX_TWO(kMultiply);
        QLX_TWO(kDivide);
        QLX_TWO(kPower);
        QLX_TWO(kMin);
        QLX_TWO(kMax);
        QLX_TWO(kLess);
        QLX_TWO(kLessEqual);
        QLX_TWO(kKeepIf);
        QLX_TWO(kGuardedMultiply);
        QLX_TWO(kPowerTimesLog);
        QLX_THREE(kPowerBelow);
        QLX_THREE(kMultiplyAdd);
        QLX_THREE(kMultiplySubtract);
        QLX_THREE(kSubtractProduct);
        case NodeKind::kIntegerPower:
            integer_powers(n, out, a, code.c);
            break;
        case NodeKind::kHalfPower:
            loop(n, out, a, [twice = code.c](double x) { return half_power(x, twice); });
            break;
        default:
            break;
    }
}

#undef QLX_ONE
#undef QLX_TWO
#undef QLX_THREE

}  // namespace

QLX_WIDE void run(std::span<const Code> codes, const int* arguments, double* const* places, int n,
                  UserCalls& user) {
    for (const Code& code : codes) {
        if (is_of_user(code.kind))
            user.run(code, arguments, places, n);
        else if (n == 1)
            run_code(code, places, 1);
        else
            run_code(code, places, n);
    }
}

}  // namespace qlx::nlp
