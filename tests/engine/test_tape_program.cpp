// Nonlinear programs: shapes, sharing, what is constant, what is undefined, and what is allocated.
#include <atomic>
#include <cstdlib>
#include <new>

#include "engine/data/model.hpp"
#include "tests/engine/tape_support.hpp"

namespace {

std::atomic<long> allocations{0};

}  // namespace

// The sanitizers have operators of their own, which also serve the forms that are not replaced
// here.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define COUNTS_ALLOCATIONS 0
#else
#define COUNTS_ALLOCATIONS 1
// Not inlined, so that the compiler does not pair malloc with a delete or free with a new.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++allocations;
    if (void* block = std::malloc(size == 0 ? 1 : size)) return block;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
    std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
#endif

namespace {

using namespace qlx;
using namespace qlx::test;
using nlp::kObjectiveRow;
using nlp::NonlinearProgram;

constexpr Operation kLog = Operation::kLog;
constexpr Operation kSqrt = Operation::kSqrt;

Tree call(Operation function, Tree a) {
    return apply(function, {std::move(a)});
}

// Two shapes over columns that follow each other and columns that do not.
Tree one_of_many(int k, int num_columns) {
    const Tree x = column(k % num_columns);
    const Tree y = column((7 * k + 3) % num_columns);
    const double c = 1 + 0.01 * k;
    if (k % 3 == 0) return number(c) * call(Operation::kExp, x * y) - y / (number(2) + x * x);
    return power(x - number(c) * y, number(2)) * call(Operation::kSin, x + number(c));
}

std::vector<double> wavy_point(int size) {
    std::vector<double> x;
    for (int k = 0; k < size; ++k) x.push_back(0.3 + 0.5 * std::sin(1.0 + 2.3 * k));
    return x;
}

TEST(TapeProgram, ManyRowsOfOneShapeEqualEachRowAlone) {
    constexpr int kRows = 700;  // more than a block, and no multiple of one
    constexpr int kColumns = 701;
    TestStatement all(kColumns, kRows);
    for (int k = 0; k < kRows; ++k) {
        all.add(k, one_of_many(k, kColumns), 0.5 + k % 2);
        if (k % 5 == 0) all.add(kObjectiveRow, one_of_many(k, kColumns));
        if (k % 7 == 0) all.add(kRows - 1 - k, one_of_many(k, kColumns), 2);
    }
    NonlinearProgram program(all.statement);
    const std::vector<double> x = wavy_point(kColumns);
    const Evaluation got(program, x, 1, std::vector<double>(kRows, 0));
    ASSERT_TRUE(got.derivatives_defined);
    for (const int row : {0, 1, 127, 128, 350, 693, 698, 699}) {
        TestStatement single(kColumns, 1);
        single.add(0, one_of_many(row, kColumns), 0.5 + row % 2);
        if (const int other = kRows - 1 - row; other % 7 == 0)
            single.add(0, one_of_many(other, kColumns), 2);
        NonlinearProgram alone(single.statement);
        std::vector<double> multipliers(kRows, 0);
        multipliers[at(row)] = -1.5;
        const Evaluation weighted(program, x, 0, multipliers);
        const Evaluation want(alone, x, 0, {-1.5});
        EXPECT_DOUBLE_EQ(got.rows[at(row)], want.rows[0]);
        for (std::size_t j = 0; j < at(kColumns); ++j) {
            EXPECT_DOUBLE_EQ(got.jacobian[at(row)][j], want.jacobian[0][j]);
            for (std::size_t i = 0; i < at(kColumns); ++i)
                EXPECT_DOUBLE_EQ(weighted.hessian[i][j], want.hessian[i][j]);
        }
    }
}

TEST(TapeProgram, PatternsAreSortedAndMerged) {
    TestStatement test(3, 2);
    test.statement.linear = {{1, 2, 4}, {0, 1, 1}, {1, 2, -1}, {1, 0, 3}, {0, 0, 2}, {0, 0, -2}};
    test.statement.quadratic = {{0, 1, 2, 5}, {0, 2, 1, 1}, {1, 0, 0, 3}};
    test.add(0, column(2) * column(1), 2);
    test.add(1, column(0) * call(Operation::kExp, column(1)), 1, 2);
    NonlinearProgram program(test.statement);
    EXPECT_EQ(program.jacobian_pattern().rows, (std::vector<int>{0, 0, 1, 1, 1}));
    EXPECT_EQ(program.jacobian_pattern().columns, (std::vector<int>{1, 2, 0, 1, 2}));
    EXPECT_EQ(program.hessian_pattern().rows, (std::vector<int>{0, 1, 1, 2, 2}));
    EXPECT_EQ(program.hessian_pattern().columns, (std::vector<int>{0, 0, 1, 0, 1}));
    const Evaluation got(program, {2, 0, 3}, 1, {1, 10});
    EXPECT_EQ(got.rows, (std::vector<double>{0, 3 * 2 + 3 * 3 + 3 * 4 + 2 * 3}));
    EXPECT_EQ(got.jacobian[0], (std::vector<double>{0, 1 + 8 * 3, 0}));
    EXPECT_EQ(got.jacobian[1], (std::vector<double>{3 + 12 + 3, 6, 3 + 2}));
    EXPECT_EQ(got.hessian[0], (std::vector<double>{60, 30, 10}));
    EXPECT_EQ(got.hessian[1], (std::vector<double>{30, 60, 8 + 20}));
}

TEST(TapeProgram, SaysWhatIsLinearQuadraticAndKinked) {
    TestStatement test(3, 3);
    test.add(0, number(2) * (column(0) - column(1)) / number(4) + number(1));
    test.add(1, column(0) * column(1));
    test.add(kObjectiveRow, power(column(0) - number(1e6), number(2)) + column(1) * column(2));
    const NonlinearProgram rows(test.statement);
    EXPECT_TRUE(rows.is_linear_row(0));
    EXPECT_FALSE(rows.is_linear_row(1));
    EXPECT_TRUE(rows.is_linear_row(2));
    EXPECT_FALSE(rows.is_quadratic());
    test.fix(1, 3);
    NonlinearProgram fixed(test.statement);
    EXPECT_TRUE(fixed.is_linear_row(1));
    EXPECT_TRUE(fixed.is_quadratic());
    EXPECT_FALSE(fixed.has_kinks());
    EXPECT_EQ(fixed.num_columns(), 2);
    const Evaluation got(fixed, {1e6, 5}, 1, {0, 0, 0});
    EXPECT_EQ(got.objective, 15);  // exact, as the square is not multiplied out
    EXPECT_EQ(got.rows[1], 3e6);
    EXPECT_EQ(got.jacobian[1], (std::vector<double>{3, 0}));
    test.add(kObjectiveRow, call(Operation::kAbs, column(0)));
    const NonlinearProgram kinked(test.statement);
    EXPECT_TRUE(kinked.has_kinks());
    EXPECT_FALSE(kinked.is_quadratic());
}

TEST(TapeProgram, KinksHaveTheDerivativesOfTheActivePiece) {
    // The other pieces' derivatives are infinite or undefined.
    const Tree root = call(kSqrt, column(1));
    const std::tuple<Tree, double, std::vector<double>> cases[] = {
        {apply(Operation::kMin, {root, column(0)}), 0, {0, 0}},
        {apply(Operation::kMax, {column(0), root, number(-5)}), 2, {1, 0}},
        {apply(Operation::kMax, {column(0), column(0) * root}), 2, {1, 0}},
        {apply(Operation::kMin, {column(0), number(7), column(0)}), 2, {1, 0}},
        {apply(Operation::kMax, {number(2), column(0)}), 2, {0, 0}},
        {call(Operation::kAbs, column(1)) + column(0), 2, {1, 0}},
        {call(Operation::kSign, column(0)) * column(1), 0, {0, 1}},
    };
    int index = -1;
    for (const auto& [tree, value, gradient] : cases) {
        SCOPED_TRACE(++index);
        TestStatement test(2);
        test.add(kObjectiveRow, tree);
        NonlinearProgram program(test.statement);
        EXPECT_TRUE(program.has_kinks());
        std::vector<double> slopes(2);
        double got = NAN;
        EXPECT_TRUE(program.objective(std::vector<double>{2, 0}, got));
        EXPECT_EQ(got, value);
        const bool defined = program.gradient(std::vector<double>{2, 0}, slopes);
        EXPECT_EQ(defined, index != 0) << program.complaint();
        if (defined) {
            EXPECT_EQ(slopes, gradient);
        }
    }
}

TEST(TapeProgram, ComplainsAboutRowFunctionAndArgument) {
    const std::tuple<Tree, std::vector<double>, bool, const char*> cases[] = {
        {call(kLog, column(0)), {-1.2, 0}, false, "row 1: log of -1.2"},
        {call(kSqrt, column(0) - column(1)), {1, 3}, false, "row 1: sqrt of -2"},
        {column(1) / column(0), {0, 4}, false, "row 1: division of 4 by 0"},
        {power(column(0), column(1)), {-2, 0.5}, false, "row 1: power of -2 and 0.5"},
        {call(Operation::kExp, column(0)), {1000, 0}, false, "row 1: exp of 1000"},
        {call(Operation::kAcos, column(0)), {1.5, 0}, false, "row 1: acos of 1.5"},
        {call(kLog, number(-1)) + column(0), {1, 1}, false, "row 1: log of -1"},
        {call(kSqrt, column(0)), {0, 0}, true, "row 1: derivative of sqrt of 0"},
        {power(column(0), number(0.5)), {0, 0}, true, "row 1: derivative of power of 0 and 0.5"},
        {column(0), {NAN, 0}, false, "row 1: not a finite number"},
        {number(1) / call(Operation::kExp, column(0)), {1000, 0}, true, "row 1: exp of 1000"},
    };
    for (const auto& [tree, x, has_value, text] : cases) {
        TestStatement test(2, 2);
        test.add(0, column(1) * column(1));
        test.add(1, tree);
        if (tree.operation == Operation::kColumn) test.statement.linear = {{1, 0, 1}};
        NonlinearProgram program(test.statement);
        std::vector<double> rows(2);
        std::vector<double> jacobian(program.jacobian_pattern().rows.size());
        EXPECT_EQ(program.rows(x, rows), has_value) << text;
        EXPECT_EQ(program.jacobian(x, jacobian), *text == '\0') << text;
        EXPECT_EQ(program.complaint(), text);
    }
}

TEST(TapeProgram, RowsWithoutMultiplierMayBeUndefined) {
    TestStatement test(2, 1);
    test.add(0, call(kSqrt, column(0)));
    test.add(kObjectiveRow, column(0) * column(1));
    NonlinearProgram program(test.statement);
    std::vector<double> hessian(program.hessian_pattern().rows.size());
    const std::vector<double> x = {0, 1};
    EXPECT_TRUE(program.hessian(x, 2, std::vector<double>{0}, hessian));
    EXPECT_EQ(hessian, (std::vector<double>{0, 2}));
    EXPECT_FALSE(program.hessian(x, 2, std::vector<double>{1}, hessian));
}

TEST(TapeProgram, StartIsClippedIntoTheBoundsOfTheDay) {
    TestStatement test(4);
    test.statement.start = {5, -5, NAN, 0.5};
    test.fix(1, 7);
    NonlinearProgram program(test.statement);
    program.set_column_bounds(std::vector<double>{-1, 2, 0}, std::vector<double>{1, 3, 1});
    EXPECT_EQ(program.start(), (std::vector<double>{1, 2, 0.5}));
    EXPECT_EQ(program.bounds().column_lower, (std::vector<double>{-1, 2, 0}));
}

// number 1: a**2 b + sin(b); number 2: the sum of its arguments, and never a derivative.
class TestFunctions final : public UserFunctions {
  public:
    bool call(int number, std::span<const double> in, std::span<const char> wanted, double& value,
              std::span<double> partials, bool /*is_trial*/) override {
        ++calls;
        if (fails) return false;
        if (number == 2) {
            value = 0;
            for (const double x : in) value += x;
            return partials.empty();
        }
        value = in[0] * in[0] * in[1] + std::sin(in[1]);
        if (partials.empty()) return true;
        if (wanted[0] != 0) partials[0] = 2 * in[0] * in[1];
        if (wanted[1] != 0) partials[1] = in[0] * in[0] + std::cos(in[1]);
        return true;
    }
    bool fails = false;
    int calls = 0;
};

TEST(TapeProgram, UserFunctions) {
    TestStatement test(2, 2);
    const Tree inner = column(0) * column(1);
    test.add(0, call(Operation::kExp, user(1, {inner, column(1)})) * column(0));
    test.add(1, user(2, {number(3), number(4)}), 2);
    TestFunctions functions;
    NonlinearProgram program(test.statement, &functions);
    const std::vector<double> x = {0.7, -0.4};
    const std::vector<double> multipliers = {1.5, 1};
    const Evaluation got(program, x, 1, multipliers);
    ASSERT_TRUE(got.derivatives_defined) << program.complaint();
    // The same function, written down.
    TestStatement plain(2, 2);
    plain.add(0,
              call(Operation::kExp, inner * inner * column(1) + call(Operation::kSin, column(1))) *
                  column(0));
    plain.add(1, number(14));
    NonlinearProgram reference(plain.statement);
    const Evaluation want(reference, x, 1, multipliers);
    EXPECT_NEAR(got.rows[0], want.rows[0], 1e-14);
    EXPECT_EQ(got.rows[1], 14);
    for (std::size_t j = 0; j < 2; ++j) {
        EXPECT_NEAR(got.jacobian[0][j], want.jacobian[0][j], 1e-13);
        for (std::size_t i = 0; i < 2; ++i)
            EXPECT_NEAR(got.hessian[i][j], want.hessian[i][j], 1e-8);
    }
    const int before = functions.calls;
    std::vector<double> rows(2);
    EXPECT_TRUE(program.rows(x, rows));
    EXPECT_EQ(functions.calls, before);  // nothing new at the same point
    functions.fails = true;
    EXPECT_FALSE(program.rows(std::vector<double>{1, 2}, rows));
    EXPECT_EQ(program.complaint(), "row 0: user function 1 of 2 and 2");
}

TEST(TapeProgram, SharedPartsAreEvaluatedOnce) {
    // In all rows and the objective, as a term, within a term, and within another shared part.
    const Tree part = user(1, {column(0), column(1)});
    const Tree outer = call(Operation::kSin, part * column(2));
    TestStatement test(3, 4);
    test.add(0, part);
    test.add(1, part * column(0) + call(Operation::kExp, outer));
    test.add(2, number(3) - outer * outer);
    test.add(3, column(1) / (number(2) + outer));
    test.add(kObjectiveRow, power(part, number(2)) + column(2) * outer);
    TestFunctions functions;
    NonlinearProgram program(test.statement, &functions);
    const std::vector<double> x = {0.6, -1.1, 0.8};
    for (const bool rows_first : {false, true}) {
        std::vector<double> rows(4);
        double objective = NAN;
        functions.calls = 0;
        const std::vector<double> away(3, rows_first ? 1.0 : 2.0);
        EXPECT_TRUE(program.objective(away, objective));
        EXPECT_EQ(functions.calls, 1);
        EXPECT_TRUE(!rows_first || program.rows(x, rows));
        EXPECT_TRUE(program.objective(x, objective));
        EXPECT_TRUE(program.rows(x, rows));
        EXPECT_EQ(functions.calls, 2);
        const double f = x[0] * x[0] * x[1] + std::sin(x[1]);
        const double s = std::sin(f * x[2]);
        EXPECT_DOUBLE_EQ(objective, f * f + x[2] * s);
        EXPECT_DOUBLE_EQ(rows[0], f);
        EXPECT_DOUBLE_EQ(rows[1], f * x[0] + std::exp(s));
        EXPECT_DOUBLE_EQ(rows[2], 3 - s * s);
        EXPECT_DOUBLE_EQ(rows[3], x[1] / (2 + s));
    }
    // Derivatives go through parts.
    const Tree written = column(0) * column(0) * column(1) + call(Operation::kSin, column(1));
    const Tree plain_outer = call(Operation::kSin, written * column(2));
    const Tree plain[] = {power(written, number(2)) + column(2) * plain_outer, written,
                          written * column(0) + call(Operation::kExp, plain_outer),
                          number(3) - plain_outer * plain_outer,
                          column(1) / (number(2) + plain_outer)};
    TestStatement reference(3, 4);
    for (int row = -1; row < 4; ++row) reference.add(row, plain[row + 1]);
    NonlinearProgram other(reference.statement);
    const std::vector<double> multipliers = {1, -2, 0.5, 3};
    const Evaluation got(program, x, 2, multipliers);
    const Evaluation want(other, x, 2, multipliers);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(got.gradient[i], want.gradient[i], 1e-13);
        for (std::size_t row = 0; row < 4; ++row)
            EXPECT_NEAR(got.jacobian[row][i], want.jacobian[row][i], 1e-13);
        for (std::size_t j = 0; j < 3; ++j)
            EXPECT_NEAR(got.hessian[i][j], want.hessian[i][j], 1e-8);
    }
}

TEST(TapeProgram, EvaluationsAllocateNothing) {
    if (!COUNTS_ALLOCATIONS) GTEST_SKIP() << "the sanitizer allocates";
    constexpr int kColumns = 300;
    TestStatement test(kColumns, 200);
    for (int k = 0; k < 200; ++k) test.add(k, one_of_many(k, kColumns));
    for (int k = 0; k < 100; ++k)
        test.add(kObjectiveRow, call(kSqrt, number(1) + column(k) * column(k + 1)));
    test.statement.quadratic = {{kObjectiveRow, 0, 1, 1}, {3, 4, 5, 1}};
    NonlinearProgram program(test.statement);
    std::vector<double> x = wavy_point(kColumns);
    std::vector<double> rows(200);
    std::vector<double> gradient(kColumns);
    std::vector<double> jacobian(program.jacobian_pattern().rows.size());
    std::vector<double> hessian(program.hessian_pattern().rows.size());
    const long before = allocations;
    for (int k = 0; k < 5; ++k) {
        x[0] += 0.01;
        double value = 0;
        EXPECT_TRUE(program.objective(x, value) && program.rows(x, rows) &&
                    program.gradient(x, gradient) && program.jacobian(x, jacobian) &&
                    program.hessian(x, 1, rows, hessian));
    }
    EXPECT_EQ(allocations - before, 0);
    EXPECT_EQ(program.counts().functions, 5);
    EXPECT_EQ(program.counts().gradients, 5);
    EXPECT_EQ(program.counts().hessians, 5);
}

TEST(StateModel, KeepsAllPartsAndTurnsAMaximisation) {
    Model model;
    const double cost[] = {1, 0, -2};
    const double lower[] = {0, 1, -1e20};
    const double upper[] = {4, 5, 1e20};
    model.append_columns({3, cost, lower, upper});
    model.set_col_type(1, 'S');
    const std::int64_t start[] = {0, 2, 2};
    const int columns[] = {0, 2};
    const double values[] = {3, -1};
    const double rhs[] = {6, 1};
    const double range[] = {2, 0};
    model.append_rows({2, "RG", rhs, range}, start, columns, values);
    model.set_constant(10);
    model.set_sense(-1);
    const int first[] = {0, 1};
    const int second[] = {1, 1};
    const double squares[] = {2, 5};
    model.set_quadratic_objective(2, first, second, squares);
    model.set_quadratic_row(1, 1, first, second, squares);
    model.nonlinear().values.initial = {NAN, 2};
    const nlp::Statement statement = nlp::state_model(model);
    EXPECT_EQ(statement.column_lower, (std::vector<double>{0, 0, -1e20}));
    EXPECT_EQ(statement.row_lower, (std::vector<double>{4, 1}));
    EXPECT_EQ(statement.row_upper, (std::vector<double>{6, 1e20}));
    NonlinearProgram program(statement);
    EXPECT_EQ(program.start(), (std::vector<double>{0, 2, 0}));
    const Evaluation got(program, {2, 3, 5}, 1, {1, 1});
    EXPECT_EQ(got.objective, -(10 + 2 - 10 + 2 * 6 + 5 * 9));
    EXPECT_EQ(got.rows, (std::vector<double>{1, 12}));
    EXPECT_EQ(got.gradient, (std::vector<double>{-(1 + 6), -(4 + 30), 2}));
}

}  // namespace
