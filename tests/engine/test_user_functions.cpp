// User functions: how many values they take, what they are called with, derivatives, definitions.
#include <algorithm>
#include <chrono>
#include <functional>
#include <limits>
#include <random>
#include <thread>

#include "engine/core/nonlinear_problem.hpp"
#include "tests/engine/formula_support.hpp"

namespace {

using namespace qlx::test;

// The function numbers 1 .. 3 add up their inputs with growing weights, and themselves: the value
// tells which function got what.
double weighted(int function, std::span<const double> inputs) {
    double sum = 100.0 * function;
    for (std::size_t i = 0; i < inputs.size(); ++i) sum += static_cast<double>(i + 2) * inputs[i];
    return sum;
}

double call_weighted(const double* input, void* context, const double*, double* results) {
    int count = 0;
    int function = 0;
    if (QSLPgetfuncinfo(context, &count, nullptr, nullptr, &function) != 0) return -3.0;
    results[0] = weighted(function, {input, static_cast<std::size_t>(count)});
    return results[0];
}

class UserFunctionTest : public NonlinearTest {
  public:
    UserFunctionTest() {
        for (int k = 0; k < 3; ++k) define(call_weighted);
    }
    int define(QSLPuserfunction address, void* object = nullptr) {
        int name = 0;
        int linkage = 0;
        EXPECT_EQ(QSLPsetstring(slp, &name, "function"), 0);
        EXPECT_EQ(QSLPsetstring(slp, &linkage, "DirectC"), 0);
        const Tokens definition{{5, static_cast<double>(name)},
                                {87, 1},
                                {86, 19},
                                {5, static_cast<double>(linkage)},
                                kEnd};
        EXPECT_EQ(QSLPadduserfuncs(slp, 1, definition.type.data(), definition.value.data()), 0)
            << error();
        const int number = ++defined;
        EXPECT_EQ(QSLPaddnames(slp, 5, "function", number, number), 0) << error();
        EXPECT_EQ(QSLPchguserfuncaddress(slp, number, address), 0) << error();
        EXPECT_EQ(QSLPsetuserfuncobject(slp, number, object), 0) << error();
        return number;
    }
    void inputs(int function, int count) const {
        EXPECT_EQ(QSLPchguserfuncinputs(slp, function, count), 0) << error();
    }

    int defined = 0;
};

Token user(int function) {
    return {11, static_cast<double>(function)};
}
double f(int function, std::initializer_list<double> inputs) {
    return weighted(function, {inputs.begin(), inputs.size()});
}

struct Reading {
    const char* name;
    Tokens tokens;
    double value;  // at kPoint = 0.5, 2, 3, -4
};

// Where the numbers of inputs are not stated.
const Reading kReadings[] = {
    {"one value", {column(1), user(1), kEnd}, f(1, {2})},
    {"a marker of its own", {kMarker, column(1), column(2), user(2), kEnd}, f(2, {2, 3})},
    {"none", {kMarker, user(1), kEnd}, f(1, {})},
    {"none beside a value", {column(1), kMarker, user(1), kPlus, kEnd}, 2 + f(1, {})},
    {"the marker is the sine's", {kMarker, column(0), user(1), kSin, kEnd}, std::sin(f(1, {0.5}))},
    {"each has a marker",
     {kMarker, kMarker, column(0), column(1), user(1), kSin, kEnd},
     std::sin(f(1, {0.5, 2}))},
    {"an operator needs both values",
     {kMarker, column(0), column(1), user(1), kPlus, kExp, kEnd},
     std::exp(0.5 + f(1, {2}))},
    {"a sine among the inputs",
     {kMarker, column(1), kMarker, column(0), user(1), kSin, user(2), kEnd},
     f(2, {2, std::sin(f(1, {0.5}))})},
    {"one of one value among the inputs",
     {kMarker, kMarker, column(0), column(1), user(1), column(2), user(2), kSin, kEnd},
     std::sin(f(2, {0.5, f(1, {2}), 3}))},
    {"two of one value before the operator",
     {kMarker, column(0), column(1), user(1), user(2), kPlus, kExp, kEnd},
     std::exp(0.5 + f(2, {f(1, {2})}))},
    {"the second argument of a max",
     {kMarker, kMarker, column(0), column(1), user(1), kMax, kEnd},
     f(1, {2})},
    {"below the surplus marker of a max",
     {kMarker, kMarker, kMarker, column(0), column(1), kMax, column(2), user(1), kEnd},
     f(1, {2, 3})},
    {"beside another level",
     {column(3), kMarker, column(0), user(1), column(1), user(1), kPlus, kExp, kTimes, kEnd},
     -4 * std::exp(f(1, {0.5}) + f(1, {2}))},
};

TEST_F(UserFunctionTest, EveryFunctionFindsItsMarker) {
    for (const Reading& c : kReadings) {
        SCOPED_TRACE(c.name);
        double result = 0;
        ASSERT_EQ(evaluate(c.tokens, &result), 0) << error();
        EXPECT_DOUBLE_EQ(result, c.value);
        ASSERT_EQ(add(1, 2, 2, c.tokens), 0) << error();
        double factor = 0;
        EXPECT_EQ(formula(1, 2, &factor), c.tokens);
        EXPECT_DOUBLE_EQ(coefficient(1, 2), 2 * c.value);
        const int row = 1;
        const int col = 2;
        ASSERT_EQ(QSLPdelcoefs(slp, 1, &row, &col), 0) << error();
    }
}

TEST_F(UserFunctionTest, UnreadableFormulasAreRefused) {
    inputs(3, 2);
    const std::pair<const char*, Tokens> cases[] = {
        {"type[0] is 11 and value[0] is 1: this user function needs a marker or a value",
         {user(1), kEnd}},
        {"type[1] is 11 and value[1] is 4: there is no user function", {column(0), user(4), kEnd}},
        {"value[1] is 0: there is no user function", {column(0), user(0), kEnd}},
        {"value[1] is 1.5: there is no user function", {column(0), {11, 1.5}, kEnd}},
        {"value[1] is nan: there is no user function", {column(0), {11, NAN}, kEnd}},
        {"type[2] is 11 and value[2] is 3: this user function needs a marker under its inputs",
         {column(0), column(1), user(3), kEnd}},
        {"type[2] is 11 and value[2] is 3: this user function needs its inputs",
         {kMarker, column(1), user(3), kEnd}},
        // The furthest that any reading gets.
        {"type[4] is 12 and value[4] is 27: this function needs a marker",
         {kMarker, column(0), user(1), kSin, kSin, kEnd}},
        {"type[5] is 31 and value[5] is 5: this operator needs two values",
         {kMarker, column(0), column(1), user(1), kPlus, kPlus, kEnd}},
    };
    for (const auto& [text, tokens] : cases) {
        EXPECT_EQ(add(1, 0, 1, tokens), QLX_ERROR_ARGUMENT);
        EXPECT_NE(error().find(text), std::string::npos) << error() << "\n" << text;
        EXPECT_EQ(terms(), 0);
    }
}

// Random trees with functions whose numbers of inputs are stated, written as a modeller's tree is.
class RandomTree {
  public:
    explicit RandomTree(unsigned seed) : random_(seed) {}

    double write(int depth, Tokens& tokens) {
        const int kind = depth == 0 ? 0 : pick(6);
        switch (kind) {
            case 0: {
                const int col = pick(4);
                put(tokens, column(col));
                return kPoint[col];
            }
            case 1: {
                put(tokens, kMarker);
                const double x = write(depth - 1, tokens);
                put(tokens, {12, 32});
                return std::atan(x);
            }
            case 2: {
                const double a = write(depth - 1, tokens);
                const double b = write(depth - 1, tokens);
                put(tokens, kMinus);
                return a - b;
            }
            case 3: {  // with the marker that a max of a power of two operands leaves over
                put(tokens, kMarker);
                put(tokens, kMarker);
                const double a = write(depth - 1, tokens);
                const double b = write(depth - 1, tokens);
                put(tokens, kMax);
                return std::max(a, b);
            }
            default:
                return write_user(1 + pick(3), depth, tokens);
        }
    }

  private:
    double write_user(int function, int depth, Tokens& tokens) {
        static constexpr int kInputs[] = {1, 2, 0};
        std::vector<double> values(static_cast<std::size_t>(kInputs[function - 1]));
        if (values.size() != 1) put(tokens, kMarker);
        for (double& value : values) value = write(depth - 1, tokens);
        put(tokens, user(function));
        return weighted(function, values);
    }
    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }
    static void put(Tokens& tokens, Token token) {
        tokens.type.push_back(token.type);
        tokens.value.push_back(token.value);
    }

    std::mt19937 random_;
};

TEST_F(UserFunctionTest, StatedInputsLeaveOneReading) {
    inputs(1, 1);
    inputs(2, 2);
    inputs(3, 0);
    for (unsigned seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        Tokens tokens;
        const double value = RandomTree(seed).write(static_cast<int>(seed % 7), tokens);
        tokens.type.push_back(0);
        tokens.value.push_back(0);
        double result = 0;
        ASSERT_EQ(evaluate(tokens, &result), 0) << error();
        ASSERT_NEAR(result, value, 1e-12 * (1 + std::fabs(value)));
    }
}

// Formulas with as many readings as can be, readable or not: seconds would mean that they are all
// tried.
TEST_F(UserFunctionTest, HostileFormulasTakeLinearTime) {
    constexpr int kLength = 100000;
    const auto repeat = [](std::initializer_list<Token> head, std::initializer_list<Token> part,
                           std::initializer_list<Token> tail) {
        Tokens tokens(head);
        const auto append = [&](const Tokens& more) {
            tokens.type.insert(tokens.type.end(), more.type.begin(), more.type.end());
            tokens.value.insert(tokens.value.end(), more.value.begin(), more.value.end());
        };
        for (int k = 0; k < kLength; ++k) append(Tokens(part));
        append(Tokens(tail));
        return tokens;
    };
    const std::pair<Tokens, bool> cases[] = {
        {repeat({column(0)}, {user(1)}, {kEnd}), true},
        {repeat({kMarker, column(0)}, {column(0), user(1), kPlus}, {kSin, kEnd}), true},
        {repeat({column(1), kMarker, column(0)}, {column(0), user(1), kPlus}, {kSin, kEnd}), true},
        {repeat({column(0)}, {kMarker, column(0), user(1)}, {kSin, kSin, kEnd}), false},
        {repeat({column(0)}, {kMarker, column(0), column(1), user(1)}, {kSin, kEnd}), false},
        {repeat({}, {kMarker, kMarker, column(0), user(1), user(2)}, {kMax, kMax, kSin, kEnd}),
         true},
        {repeat({}, {kMarker, column(0)}, {user(1), user(1), user(1), kSin, kPower, kSin, kEnd}),
         true},
    };
    for (const auto& [tokens, readable] : cases) {
        double result = 0;
        const auto start = std::chrono::steady_clock::now();
        const int status = evaluate(tokens, &result);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        EXPECT_EQ(status, readable ? 0 : QLX_ERROR_ARGUMENT) << error();
        EXPECT_LT(taken.count(), 10.0);
    }
}

// Whether a formula has any reading: all are tried. `stack` has the markers under each value.
bool has_reading(const Tokens& tokens, std::size_t k, std::vector<int> stack, int pending) {
    for (; k < tokens.type.size(); ++k) {
        const double value = tokens.value[k];
        switch (tokens.type[k]) {
            case QSLP_TOKEN_COLUMN:
                stack.push_back(std::exchange(pending, 0));
                break;
            case QSLP_TOKEN_MARKER:
                ++pending;
                break;
            case QSLP_TOKEN_OPERATOR:
                if (pending > 0 || stack.size() < (value == 1 ? 1U : 2U)) return false;
                if (value != 1) stack.pop_back();
                break;
            case QSLP_TOKEN_FUNCTION: {
                if (pending > 0 || stack.empty()) return false;
                std::size_t last = stack.size();
                if (value == kMax.value && last > 1) --last;
                while (value == kMax.value && last > 0 && stack[last - 1] == 0) --last;
                if (last == 0) last = stack.size();
                if (stack[last - 1] == 0) return false;
                stack.resize(last);
                --stack.back();
                break;
            }
            case QSLP_TOKEN_USERFUNCTION: {
                if (pending > 0) {
                    stack.push_back(std::exchange(pending, 0) - 1);
                    break;
                }
                std::vector<int> other = stack;
                while (!other.empty() && other.back() == 0) other.pop_back();
                if (!other.empty()) {
                    --other.back();
                    if (has_reading(tokens, k + 1, other, 0)) return true;
                }
                if (stack.empty()) return false;
                break;
            }
            default:
                return true;
        }
    }
    return true;
}

TEST_F(UserFunctionTest, AFormulaWithAReadingIsRead) {
    const Token kinds[] = {column(0), column(1), column(2), kMarker, kMarker, kPlus,
                           kNegate,   kSin,      kMax,      user(1), user(2)};
    std::mt19937 random(1);
    int readable = 0;
    for (int round = 0; round < 100000; ++round) {
        Tokens tokens;
        const auto length = static_cast<std::size_t>(1 + random() % 12);
        for (std::size_t k = 0; k <= length; ++k) {
            const Token token = k < length ? kinds[random() % std::size(kinds)] : kEnd;
            tokens.type.push_back(token.type);
            tokens.value.push_back(token.value);
        }
        double result = 0;
        const bool expected = has_reading(tokens, 0, {}, 0);
        ASSERT_EQ(evaluate(tokens, &result) == 0, expected) << round << ": " << error();
        readable += expected ? 1 : 0;
    }
    EXPECT_GT(readable, 10000);
}

// What one call may do, set by the tests; object of the function.
struct Behaviour {
    std::function<double(std::span<const double> x, const double* deltas, double* results)> body;
    std::vector<int> wants_value;
    int wanting_derivatives = 0;
    bool asked_well = true;
};

double call_behaviour(const double* input, void* context, const double* deltas, double* results) {
    int count = 0;
    int wants_value = 0;
    int wants_derivatives = 0;
    int function = 0;
    void* problem = nullptr;
    void* object = nullptr;
    if (QSLPgetfuncinfo(context, &count, &wants_value, &wants_derivatives, &function) != 0 ||
        QSLPgetfuncobject(context, QSLP_POINTER_PROBLEM, &problem) != 0 ||
        QSLPgetuserfuncobject(static_cast<QSLPprob>(problem), function, &object) != 0)
        return -3.0;
    auto& behaviour = *static_cast<Behaviour*>(object);
    behaviour.wants_value.push_back(wants_value);
    behaviour.wanting_derivatives += wants_derivatives;
    for (int i = 0; i <= count; ++i) behaviour.asked_well &= std::isnan(results[i]);
    return behaviour.body({input, static_cast<std::size_t>(count)}, deltas, results);
}

TEST_F(UserFunctionTest, MinusThreeIsAValueToo) {
    Behaviour behaviour;
    const int number = define(call_behaviour, &behaviour);
    const Tokens tokens{column(1), user(number), kEnd};
    double result = 0;
    behaviour.body = [](auto, const double*, double* results) { return results[0] = -3.0; };
    ASSERT_EQ(evaluate(tokens, &result), 0) << error();
    EXPECT_EQ(result, -3);
    // The value counts where it belongs, whatever is returned.
    behaviour.body = [](auto x, const double*, double* results) {
        results[0] = x[0];
        return 17.0;
    };
    ASSERT_EQ(evaluate(tokens, &result), 0) << error();
    EXPECT_EQ(result, 2);
    for (const double returned : {-3.0, 1.0}) {
        behaviour.body = [=](auto, const double*, double*) { return returned; };
        ASSERT_EQ(evaluate(tokens, &result), 0) << error();
        EXPECT_TRUE(std::isnan(result));
    }
    EXPECT_TRUE(behaviour.asked_well);
    EXPECT_EQ(behaviour.wants_value, (std::vector<int>{1, 1, 1, 1}));
    EXPECT_EQ(behaviour.wanting_derivatives, 0);
}

TEST_F(UserFunctionTest, DerivativesAreGivenOrFound) {
    Behaviour behaviour;
    const int number = define(call_behaviour, &behaviour);
    // sqrt(x) * exp(y) + z, which gives the derivative by y only, and has no value below x = 0.
    behaviour.body = [](std::span<const double> x, const double* deltas, double* results) {
        if (x[0] < 0) return -3.0;
        results[0] = std::sqrt(x[0]) * std::exp(x[1]) + x[2];
        if (deltas[1] != 0) results[2] = 1000;  // not the truth, so that it is recognised
        if (deltas[2] != 0) results[3] = std::nan("");
        return 0.0;
    };
    qlx::UserFunctionTable& functions = slp->functions;
    const auto differentiate = [&](std::vector<double> x, std::vector<char> wanted) {
        std::vector<double> partials(3, -7);
        double value = 0;
        EXPECT_TRUE(functions.call(number, x, wanted, value, partials));
        EXPECT_DOUBLE_EQ(value, std::sqrt(x[0]) * std::exp(x[1]) + x[2]);
        return partials;
    };
    auto partials = differentiate({4, 1, -10}, {1, 1, 1});
    EXPECT_NEAR(partials[0], std::exp(1) / 4, 1e-9);
    EXPECT_EQ(partials[1], 1000);
    EXPECT_NEAR(partials[2], 1, 1e-9);
    EXPECT_EQ(behaviour.wanting_derivatives, 1);
    EXPECT_EQ(behaviour.wants_value, (std::vector<int>{1, 2, 2, 2, 2}));
    // On one side of the edge; what is not wanted stays.
    partials = differentiate({1e-6, 0, 0}, {1, 0, 0});
    EXPECT_NEAR(partials[0], 500, 5);
    EXPECT_EQ(partials[1], -7);
    EXPECT_EQ(partials[2], -7);
    EXPECT_TRUE(behaviour.asked_well);

    double value = 0;
    std::vector<double> none(3);
    EXPECT_FALSE(functions.call(number, std::vector<double>{-1, 0, 0}, std::vector<char>{1, 1, 1},
                                value, none));
    EXPECT_FALSE(functions.call(99, std::vector<double>{1}, {}, value, {}));
}

TEST_F(UserFunctionTest, SeveralThreadsMayCall) {
    const auto work = [this](int function) {
        for (int k = 0; k < 2000; ++k) {
            const double inputs[] = {static_cast<double>(k), 1};
            double value = 0;
            EXPECT_TRUE(slp->functions.call(function, inputs, {}, value, {}));
            EXPECT_EQ(value, weighted(function, inputs));
        }
    };
    std::thread other(work, 1);
    work(2);
    other.join();
}

TEST_F(UserFunctionTest, BadDefinitionsAreRefused) {
    int text = 0;
    ASSERT_EQ(QSLPsetstring(slp, &text, "other"), 0);
    int again = 0;
    ASSERT_EQ(QSLPsetstring(slp, &again, "other"), 0);
    EXPECT_EQ(again, text);
    const Token name{5, static_cast<double>(text)};
    const std::pair<const char*, Tokens> cases[] = {
        {"no text with this index", {{5, 99}, kEnd}},
        {"the second text must be DirectC", {name, {87, 1}, name, kEnd}},
        {"type[1] is 87 and value[1] is 2: must be 1", {name, {87, 2}, kEnd}},
        {"must be 19", {name, {86, 3}, kEnd}},
        {"begins at type[0] has no text", {{87, 1}, kEnd}},
        {"a definition has the types", {name, column(0), kEnd}},
    };
    for (const auto& [reason, tokens] : cases) {
        EXPECT_NE(QSLPadduserfuncs(slp, 1, tokens.type.data(), tokens.value.data()), 0);
        EXPECT_NE(error().find(reason), std::string::npos) << error() << "\n" << reason;
    }
    EXPECT_NE(QSLPchguserfuncaddress(slp, 4, call_weighted), 0);
    EXPECT_NE(error().find("function is 4, must be 1 .. 3"), std::string::npos) << error();
    EXPECT_NE(QSLPsetuserfuncobject(slp, 0, nullptr), 0);
    EXPECT_NE(QSLPchguserfuncinputs(slp, 1, -2), 0);
    EXPECT_NE(QSLPaddnames(slp, 1, "row", 1, 1), 0);
    EXPECT_NE(QSLPaddnames(slp, 5, "name", 2, 1), 0);
    void* object = nullptr;
    EXPECT_NE(QSLPgetuserfuncobject(slp, 4, &object), 0);
    EXPECT_NE(QSLPgetfuncobject(nullptr, QSLP_POINTER_PROBLEM, &object), 0);
}

// Rows are judged with the functions, and a copy has them with their objects.
TEST_F(UserFunctionTest, PointsAndCopies) {
    Behaviour behaviour;
    behaviour.body = [](std::span<const double> x, const double*, double* results) {
        return results[0] = x[0] * x[1];
    };
    const int number = define(call_behaviour, &behaviour);
    ASSERT_EQ(add(0, -1, 1, {kMarker, column(1), column(2), user(number), kEnd}), 0) << error();
    std::vector<double> slacks(3);
    ASSERT_EQ(QLXcalcslacks(p, kPoint, slacks.data()), 0) << p.error();
    EXPECT_EQ(slacks[0], 1 - 6.0);

    TestProblem copy;
    QSLPprob above = nullptr;
    ASSERT_EQ(QLXcopyprob(copy, p, "copy"), 0) << copy.error();
    ASSERT_EQ(QLXcalcslacks(copy, kPoint, slacks.data()), 0) << copy.error();
    EXPECT_TRUE(std::isnan(slacks[0]));  // it has no functions yet
    ASSERT_EQ(QSLPcreateprob(&above, copy), 0);
    ASSERT_EQ(QSLPcopyprob(above, slp, ""), 0) << copy.error();
    void* object = nullptr;
    ASSERT_EQ(QSLPgetuserfuncobject(above, number, &object), 0);
    EXPECT_EQ(object, &behaviour);
    ASSERT_EQ(QLXcalcslacks(copy, kPoint, slacks.data()), 0) << copy.error();
    EXPECT_EQ(slacks[0], 1 - 6.0);
    // A model that is loaded anew keeps the functions of the problem above it.
    ASSERT_EQ(QLXloadlp(copy, "", 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                        nullptr, nullptr, nullptr, nullptr),
              0);
    ASSERT_EQ(QSLPgetuserfuncobject(above, number, &object), 0);
    ASSERT_EQ(QSLPdestroyprob(above), 0);
}

}  // namespace
