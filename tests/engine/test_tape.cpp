// Tapes: values and derivatives of formulas against an arithmetic of truncated Taylor series.
#include <algorithm>
#include <set>

#include "tests/engine/tape_support.hpp"

namespace {

using namespace qlx;
using namespace qlx::test;
using nlp::kObjectiveRow;
using nlp::NonlinearProgram;

double close(long double value, long double scale) {
    return static_cast<double>(1e-11L * (std::fabs(value) + scale));
}

// Value and both derivatives of a formula of one column.
void expect_function(const Tree& tree, double x, double scale = 1e-30) {
    TestStatement test(1);
    test.add(kObjectiveRow, tree);
    NonlinearProgram program(test.statement);
    const Evaluation got(program, {x}, 1, {});
    const Series want = evaluate(tree, {{x, 1, 0}});
    ASSERT_TRUE(got.derivatives_defined) << program.complaint();
    EXPECT_NEAR(got.objective, static_cast<double>(want.v), close(want.v, scale));
    EXPECT_NEAR(got.gradient[0], static_cast<double>(want.d), close(want.d, scale));
    EXPECT_NEAR(got.hessian[0][0], static_cast<double>(want.s), close(want.s, scale));
}

TEST(Tape, EveryFunctionHasItsDerivatives) {
    const std::vector<double> positive = {1e-300, 1e-8, 0.3, 1, 7.5, 1e6};
    const std::vector<double> any = {-8.5, -1, -1e-9, 0, 1e-9, 0.4, 1, 2.5, 11};
    const std::vector<double> unit = {-1 + 1e-12, -0.7, 0, 1e-9, 0.5, 1 - 1e-12};
    const std::vector<double> no_kink = {-3, -1e-300, 1e-300, 2};
    const std::vector<std::pair<Operation, std::vector<double>>> cases = {
        {Operation::kNegate, any},
        {Operation::kLog10, {1e-100, 0.3, 1, 7.5, 1e6}},
        {Operation::kLog, {1e-100, 0.3, 1, 7.5, 1e6}},
        {Operation::kExp, any},
        {Operation::kAbs, no_kink},
        {Operation::kSqrt, {1e-100, 1e-8, 0.3, 7.5, 1e6}},
        {Operation::kSin, any},
        {Operation::kCos, any},
        {Operation::kTan, any},
        {Operation::kAsin, unit},
        {Operation::kAcos, unit},
        {Operation::kAtan, any},
        {Operation::kSign, no_kink},
        {Operation::kErf, any},
        {Operation::kErfc, any}};
    for (const auto& [operation, points] : cases) {
        for (const double x : points) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(operation) << " at " << x);
            expect_function(apply(operation, {column(0)}), x);
            // Below other operations no partial derivative is 1 or a constant.
            if (std::fabs(x) > 1e-50 || x == 0)
                expect_function(
                    apply(operation, {column(0)}) * apply(Operation::kAtan, {column(0)}), x, 1);
        }
    }
}

TEST(Tape, PowersOfEverySign) {
    for (const double n : {0.0, 1.0, 2.0, 3.0, 4.0, 7.0, 16.0, 17.0, 31.0, -1.0, -2.0, -3.0, -20.0})
        for (const double x : {-2.5, -1.0, -0.1, 0.3, 1.0, 2.0}) {
            SCOPED_TRACE(testing::Message() << x << " to the power of " << n);
            expect_function(power(column(0), number(n)), x);
        }
    for (const double n : {0.5, -0.5, 1.5, 2.5, -1.7, 0.3})
        for (const double x : {1e-9, 0.3, 1.0, 40.0})
            expect_function(power(column(0), number(n)), x);
    for (const double n : {2.0, 3.0, 4.0, 17.0}) expect_function(power(column(0), number(n)), 0);
    for (const double base : {0.5, 1.0, 3.0})
        for (const double x : {-2.0, 0.0, 1.5}) expect_function(power(number(base), column(0)), x);
    for (const double x : {0.2, 1.0, 3.5}) expect_function(power(column(0), column(0)), x);
}

struct Edge {
    Tree tree;
    std::vector<double> x;
    double value, by_x, by_y;
};

TEST(Tape, EdgesOfPowers) {
    const Tree xy = power(column(0), column(1));
    const Edge cases[] = {
        {xy, {0, 2.5}, 0, 0, 0},  // 0**y and its log
        {xy, {0, 3}, 0, 0, 0},
        {xy, {1, 0}, 1, 0, 0},
        {power(number(0), column(1)), {9, 2}, 0, 0, 0},
        {power(column(0), number(1.5)), {0, 0}, 0, 0, 0},
        {power(column(0) + column(1), number(3)), {-1, -1}, -8, 12, 12},
        {power(column(0), number(0)), {0, 0}, 1, 0, 0},
    };
    for (const Edge& edge : cases) {
        TestStatement test(2);
        test.add(kObjectiveRow, edge.tree);
        NonlinearProgram program(test.statement);
        double value = NAN;
        std::vector<double> gradient(2);
        EXPECT_TRUE(program.objective(edge.x, value));
        EXPECT_TRUE(program.gradient(edge.x, gradient)) << program.complaint();
        EXPECT_EQ(value, edge.value);
        EXPECT_EQ(gradient, (std::vector<double>{edge.by_x, edge.by_y}));
    }
    // A negative base has derivatives by itself alone.
    TestStatement test(2);
    test.add(kObjectiveRow, xy);
    NonlinearProgram moving(test.statement);
    std::vector<double> gradient(2);
    EXPECT_FALSE(moving.gradient(std::vector<double>{-2, 3}, gradient));
    test.fix(1, 3);
    NonlinearProgram fixed(test.statement);
    gradient.resize(1);
    EXPECT_TRUE(fixed.gradient(std::vector<double>{-2}, gradient));
    EXPECT_EQ(gradient[0], 12);
}

// Random expressions that are smooth and defined everywhere.
class Forest {
  public:
    Forest(unsigned seed, int num_columns) : random_(seed), num_columns_(num_columns) {}

    Tree tree(int depth) {
        if (depth == 0) return pick(4) == 0 ? number(uniform(-2, 2)) : column(pick(num_columns_));
        switch (pick(14)) {
            case 0:
                return tree(depth - 1) - tree(depth - 1);
            case 1:
            case 2:
            case 3:
                return tree(depth - 1) * tree(depth - 1);
            case 4:
                return tree(depth - 1) / (number(1.5) + power(tree(depth - 1), number(2)));
            case 5:
                return power(tree(depth - 1), number(1 + pick(4)));
            case 6:
                return apply(Operation::kSqrt, {number(0.5) + power(tree(depth - 1), number(2))});
            case 7:
                return power(number(1.2) + apply(Operation::kSin, {tree(depth - 1)}),
                             tree(depth - 1));
            case 8:
                return apply(pick(2) == 0 ? Operation::kMin : Operation::kMax,
                             {tree(depth - 1), tree(depth - 1), tree(depth - 1)});
            case 9:
            case 10: {
                constexpr Operation kAnywhere[] = {Operation::kSin,    Operation::kCos,
                                                   Operation::kAtan,   Operation::kErf,
                                                   Operation::kNegate, Operation::kAbs};
                return apply(kAnywhere[pick(6)], {tree(depth - 1)});
            }
            default:
                return tree(depth - 1) + tree(depth - 1);
        }
    }
    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }
    double uniform(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random_);
    }
    std::vector<double> point(int size) {
        std::vector<double> x;
        for (int k = 0; k < size; ++k) x.push_back(uniform(-1.5, 1.5));
        return x;
    }

  private:
    std::mt19937 random_;
    int num_columns_;
};

// Along direction d through x: rows' slopes are J d, and the Lagrangian's curvature is d'Hd.
void expect_along(const Evaluation& got, const std::vector<const Tree*>& trees,
                  const std::vector<double>& x, const std::vector<double>& d, double factor,
                  const std::vector<double>& multipliers) {
    std::vector<Series> line;
    for (std::size_t k = 0; k < x.size(); ++k) line.push_back({x[k], d[k], 0});
    long double curvature = 0;
    long double scale = 1;
    for (std::size_t row = 0; row < trees.size(); ++row) {
        const Series want = evaluate(*trees[row], line);
        const std::vector<double>& slopes = row == 0 ? got.gradient : got.jacobian[row - 1];
        long double slope = 0;
        long double size = 1;
        for (std::size_t k = 0; k < x.size(); ++k) {
            slope += static_cast<long double>(slopes[k]) * d[k];
            size += std::fabs(slopes[k] * d[k]);
        }
        EXPECT_NEAR(static_cast<double>(slope), static_cast<double>(want.d), close(want.d, size));
        const double value = row == 0 ? got.objective : got.rows[row - 1];
        EXPECT_NEAR(value, static_cast<double>(want.v), close(want.v, 1));
        curvature += (row == 0 ? factor : multipliers[row - 1]) * want.s;
    }
    long double ours = 0;
    for (std::size_t i = 0; i < x.size(); ++i)
        for (std::size_t j = 0; j < x.size(); ++j) {
            const double part = got.hessian[i][j] * d[i] * d[j];
            ours += part;
            scale += std::fabs(part);
        }
    EXPECT_NEAR(static_cast<double>(ours), static_cast<double>(curvature), 100 * close(0, scale));
}

TEST(Tape, RandomTreesAgreeWithSeriesInAllDirections) {
    constexpr int kColumns = 5;
    for (unsigned seed = 0; seed < 150; ++seed) {
        SCOPED_TRACE(seed);
        Forest forest(seed, kColumns);
        std::vector<Tree> trees;
        for (int k = 0; k < 4; ++k) trees.push_back(forest.tree(2 + k));
        if (seed % 3 == 0) {  // shared between rows, and between rows and objective
            const Tree part = apply(Operation::kAtan, {trees[1]});
            trees[2] = trees[2] * part;
            trees[0] = trees[0] + part / (number(2) + power(part, number(2)));
            trees[3] = seed % 2 == 0 ? part : apply(Operation::kSin, {part}) * trees[3];
        }
        TestStatement test(kColumns, 3);
        std::vector<const Tree*> rows;
        for (int k = 0; k < 4; ++k) {
            test.add(k - 1, trees[at(k)]);
            rows.push_back(&trees[at(k)]);
        }
        NonlinearProgram program(test.statement);
        const std::vector<double> x = forest.point(kColumns);
        const std::vector<double> multipliers = forest.point(3);
        const Evaluation got(program, x, 0.7, multipliers);
        ASSERT_TRUE(got.derivatives_defined) << program.complaint();
        for (int direction = 0; direction < 6; ++direction)
            expect_along(got, rows, x, forest.point(kColumns), 0.7, multipliers);
    }
}

}  // namespace
