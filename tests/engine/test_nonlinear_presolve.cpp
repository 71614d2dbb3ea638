// Presolve of nonlinear statements: what is left, and answers brought back to what was given.
#include <algorithm>
#include <numeric>
#include <random>

#include "engine/nlp/analysis/rays.hpp"
#include "engine/nlp/interior/interior_point_solver.hpp"
#include "engine/nlp/presolve/kinks.hpp"
#include "engine/nlp/presolve/nonlinear_presolve.hpp"
#include "engine/nlp/presolve/start_point.hpp"
#include "engine/nlp/tape/nonlinear_program.hpp"
#include "tests/engine/statement_support.hpp"

namespace {

using namespace qlx::nlp;
using qlx::test::kInf;
using qlx::test::StatementBuilder;

std::size_t u(int index) {
    return static_cast<std::size_t>(index);
}

// How far the point is from satisfying the optimality conditions of the statement.
void expect_optimal(const Statement& s, const FullPoint& point, double tolerance,
                    const std::string& what) {
    StatementValues values(s);
    std::vector<double> rest(s.column_lower.size(), 0);
    values.add_gradient(kObjectiveRow, 1, point.x, rest);
    for (int row = 0; row < s.num_rows(); ++row) {
        const double y = point.row_dual[u(row)];
        const double activity = values.value(row, point.x);
        values.add_gradient(row, -y, point.x, rest);
        EXPECT_GE(activity, s.row_lower[u(row)] - tolerance) << what << ", row " << row;
        EXPECT_LE(activity, s.row_upper[u(row)] + tolerance) << what << ", row " << row;
        if (y > tolerance) {
            EXPECT_NEAR(activity, s.row_lower[u(row)], tolerance) << what << ", row " << row;
        }
        if (y < -tolerance) {
            EXPECT_NEAR(activity, s.row_upper[u(row)], tolerance) << what << ", row " << row;
        }
    }
    for (const int j : s.moving) {
        const double z = point.column_dual[u(j)];
        const double x = point.x[u(j)];
        EXPECT_NEAR(rest[u(j)], z, tolerance) << what << ", column " << j;
        EXPECT_GE(x, s.column_lower[u(j)] - tolerance) << what << ", column " << j;
        EXPECT_LE(x, s.column_upper[u(j)] + tolerance) << what << ", column " << j;
        if (z > tolerance) {
            EXPECT_NEAR(x, s.column_lower[u(j)], tolerance) << what << ", column " << j;
        }
        if (z < -tolerance) {
            EXPECT_NEAR(x, s.column_upper[u(j)], tolerance) << what << ", column " << j;
        }
    }
}

FullPoint solve(NonlinearPresolve& presolve) {
    Statement reduced = presolve.reduced();
    for (const int column : reduced.moving)
        if (std::isnan(reduced.start[u(column)])) reduced.start[u(column)] = 0.5;
    if (reduced.moving.empty()) return presolve.postsolve({}, {}, {});
    NonlinearProgram problem(reduced);
    const LocalAnswer answer = InteriorPointSolver().solve(problem, {});
    EXPECT_EQ(answer.status, LocalStatus::kSolved);
    std::vector<double> dual(answer.x.size());
    for (std::size_t k = 0; k < dual.size(); ++k)
        dual[k] = answer.lower_dual[k] - answer.upper_dual[k];
    return presolve.postsolve(answer.x, answer.row_dual, dual);
}

struct Sizes {
    std::size_t columns;
    int rows;
};
Sizes sizes(const NonlinearPresolve& presolve) {
    return {presolve.reduced().moving.size(), presolve.reduced().num_rows()};
}

class NonlinearPresolveTest : public testing::Test {
  public:
    void SetUp() override {
        if (!InteriorPointSolver::is_available()) GTEST_SKIP() << "built without Ipopt";
    }
};

// min t, (x0 - 2)^2 + exp(x1) - x1 - t == 3
TEST_F(NonlinearPresolveTest, ATransferredObjectiveComesBack) {
    for (const double scale : {1.0, -4.0}) {
        StatementBuilder b;
        b.column(-5, 1);
        b.column();
        const int t = b.column();
        b.linear(kObjectiveRow, t, scale);
        const int row = b.row(3, 3, "(x0 - 2)^2 + exp(x1) - x1");
        b.linear(row, t, -scale);
        NonlinearPresolve presolve(b.build());
        EXPECT_EQ(sizes(presolve).columns, 2U);
        EXPECT_EQ(sizes(presolve).rows, 0);
        const FullPoint point = solve(presolve);
        expect_optimal(presolve.given(), point, 1e-6, "transfer");
        EXPECT_NEAR(point.x[0], 1, 1e-6);
        EXPECT_NEAR(point.x[u(t)] * scale, -1, 1e-6);
        EXPECT_NEAR(point.row_dual[u(row)], -1, 1e-12);
    }
}

// One row's column after the other, each free only once the other is gone.
TEST_F(NonlinearPresolveTest, SubstitutionsFollowOneAnother) {
    StatementBuilder b;
    const int x = b.column(0.1, 10);
    const int s = b.column();
    const int t = b.column();
    b.linear(kObjectiveRow, t, 1);
    const int first = b.row(0, kInf);  // t >= 2 s + x
    b.linear(first, t, 1);
    b.linear(first, s, -2);
    b.linear(first, x, -1);
    const int second = b.row(1, 1, "1/x0");  // 1/x - s == 1
    b.linear(second, s, -1);
    NonlinearPresolve presolve(b.build());
    EXPECT_EQ(sizes(presolve).columns, 1U);
    EXPECT_EQ(sizes(presolve).rows, 0);
    const FullPoint point = solve(presolve);
    expect_optimal(presolve.given(), point, 1e-6, "two substitutions");
    EXPECT_NEAR(point.x[u(x)], std::sqrt(2.0), 1e-6);
}

TEST(NonlinearReduction, ColumnsThatMustNotBeSubstituted) {
    struct Case {
        const char* what;
        double lower, upper;          // of t
        double row_lower, row_upper;  // of exp(x) - t
        double cost;
        const char* more;  // t is x1
    };
    const Case cases[] = {
        {"bounded below", 0, kInf, 0, 0, 1, ""},
        {"nothing holds it", -kInf, kInf, 0, kInf, 1, ""},
        {"in a formula", -kInf, kInf, 0, 0, 1, "sin(x1)"},
        {"what defines it may be undefined", -kInf, kInf, 0, 0, 0, ""},
        {"bounded above", -kInf, 0.3, 0, 0, 1, ""},
    };
    for (const Case& c : cases) {
        StatementBuilder b;
        b.column(-1, 1);
        const int t = b.column(c.lower, c.upper);
        b.linear(kObjectiveRow, 0, 1);
        b.linear(kObjectiveRow, t, c.cost);
        const int row = b.row(c.row_lower, c.row_upper, "log(x0 + 0.5)");
        b.linear(row, t, -1);
        if (*c.more != '\0') b.objective(c.more);
        NonlinearPresolve presolve(b.build());
        EXPECT_EQ(presolve.reduced().num_rows(), 1) << c.what;
    }
}

// x0 == 3 by a row, then x1 == 2 by x0 + x1 == 5, then exp(x0 - 3) x2 <= 4 becomes a bound.
TEST_F(NonlinearPresolveTest, RowsBecomeBoundsAndTakeTheirDualsBack) {
    StatementBuilder b;
    b.column();
    b.column(0, 10);
    b.column(-8, 10);
    b.column(-3, 3);
    const int equal = b.row(-6, -6);
    b.linear(equal, 0, -2);
    const int sum = b.row(5, 5);
    b.linear(sum, 0, 1);
    b.linear(sum, 1, 1);
    const int bound = b.row(-kInf, 4);
    b.term(bound, 1, "exp(x0 - 3)", 2);
    const int weaker = b.row(-kInf, 30);
    b.linear(weaker, 2, 3);
    b.objective("x0*x1^2 - x2*x1 + (x3 - 1)^2");
    b.quadratic(kObjectiveRow, 2, 0, -1);
    const int free_row = b.row(-kInf, kInf, "log(x3)");
    const int both = b.row(-kInf, 9, "x3^2 + x2");
    NonlinearPresolve presolve(b.build());
    EXPECT_EQ(presolve.kept_rows(), std::vector<int>{both});
    EXPECT_EQ(presolve.reduced().moving, (std::vector<int>{2, 3}));
    const FullPoint point = solve(presolve);
    expect_optimal(presolve.given(), point, 1e-6, "singleton rows");
    EXPECT_NEAR(point.x[2], 4, 1e-6);
    EXPECT_NEAR(point.row_dual[u(bound)], -5, 1e-6);
    EXPECT_EQ(point.row_dual[u(weaker)], 0);
    EXPECT_EQ(point.row_dual[u(free_row)], 0);
    EXPECT_NEAR(point.column_dual[2], 0, 1e-6);
}

TEST(NonlinearReduction, NothingMayBeLeft) {
    StatementBuilder b;
    b.column(2, 2);
    b.column(-3, 4);
    b.column(-3, 4);
    b.column(1, kInf, 7);
    b.linear(kObjectiveRow, 1, 1);
    b.linear(kObjectiveRow, 2, -1);
    const int row = b.row(-kInf, 8, "x0^3");
    b.objective("log(x0)");
    NonlinearPresolve presolve(b.build());
    EXPECT_TRUE(presolve.reduced().moving.empty());
    EXPECT_EQ(presolve.reduced().num_rows(), 0);
    EXPECT_NEAR(presolve.reduced().constant, std::log(2.0) - 3 - 4, 1e-12);
    const FullPoint point = presolve.postsolve({}, {}, {});
    EXPECT_EQ(point.x, (std::vector<double>{2, -3, 4, 7}));
    (void)row;
}

TEST(NonlinearReduction, Infeasible) {
    struct Case {
        const char* what;
        double lower, upper;  // of x0
        double right;         // of 2 x0 <= right, x0^3 <= right
        int row, column;      // blamed; -2: feasible
    };
    const Case cases[] = {
        {"crossed bounds", 1, 0, 100, kObjectiveRow, 0},
        {"crossed within the tolerance", 1, 1 - 1e-8, 100, -2, 0},
        {"a function's values miss a row", 3, 9, 26.9, 1, -1},
        {"a fixed column breaks a row", 3, 3, 26, 1, -1},
        {"a row contradicts a bound", 3, 4, 5.9, 0, 0},
        {"a row meets a bound nearly", 3, 4, 5.9999999, -2, 0},
    };
    for (const Case& c : cases) {
        StatementBuilder b;
        b.column(c.lower, c.upper);
        b.linear(b.row(-kInf, c.right), 0, 2);
        b.row(-kInf, std::max(c.right, 26.0) + (c.row == -2 ? 10 : 0), "x0^3");
        const NonlinearPresolve presolve(b.build());
        const bool feasible = presolve.verdict() == PresolveVerdict::kReduced;
        EXPECT_EQ(feasible, c.row == -2) << c.what;
        if (feasible) continue;
        EXPECT_EQ(presolve.blame().row, c.row) << c.what;
        EXPECT_EQ(presolve.blame().column, c.column) << c.what;
    }
}

TEST(NonlinearReduction, FunctionsBoundTheirColumns) {
    struct Case {
        const char* objective;
        double lower, upper;  // of x0, given
        double new_lower, new_upper;
    };
    const Case cases[] = {
        {"log(x0) + x1", -kInf, 5, 0, 5},     {"asin(x0) + x1", -0.5, 5, -0.5, 1},
        {"x0 ^ 1.5 + x1", -3, kInf, 0, kInf}, {"x0 ^ 3 + x1", -3, kInf, -3, kInf},
        {"log(x0 + x1)", -3, kInf, -3, kInf}, {"sqrt(x0) * acos(x0) + x1", -3, kInf, 0, 1},
    };
    for (const Case& c : cases) {
        StatementBuilder b;
        b.column(c.lower, c.upper);
        b.column(0, 1);
        b.objective(c.objective);
        const NonlinearPresolve presolve(b.build());
        EXPECT_EQ(presolve.reduced().column_lower[0], c.new_lower) << c.objective;
        EXPECT_EQ(presolve.reduced().column_upper[0], c.new_upper) << c.objective;
        EXPECT_EQ(presolve.domain_bounds().empty(),
                  c.lower == c.new_lower && c.upper == c.new_upper)
            << c.objective;
    }
    StatementBuilder b;
    b.column(-2, -1);
    b.objective("sqrt(x0)");
    const NonlinearPresolve presolve(b.build());
    EXPECT_EQ(presolve.verdict(), PresolveVerdict::kInfeasible);
    EXPECT_EQ(presolve.blame().column, 0);
}

// Bounds of a defined column that its definition implies do not keep it.
TEST(NonlinearReduction, ImpliedBoundsDoNotHoldAColumn) {
    struct Case {
        double lower, upper;  // of t == exp(x0) + x1 * x1 + 1
        double cost;
        int rows;  // left
    };
    const Case cases[] = {
        {0, kInf, 1, 0}, {1, kInf, 1, 0}, {1, kInf, 0, 0}, {1.5, kInf, 1, 1},
        {0, 9, 1, 0},    {0, 7, 1, 1},    {0, 9, 0, 0},
    };
    for (const Case& c : cases) {
        StatementBuilder b;
        b.column(-1, 1);
        b.column(-2, 2);
        b.objective("x0^2");
        const int t = b.column(c.lower, c.upper);
        b.linear(kObjectiveRow, t, c.cost);
        b.linear(b.row(-1, -1, "exp(x0) + x1*x1"), t, -1);
        const NonlinearPresolve presolve(b.build());
        EXPECT_EQ(presolve.reduced().num_rows(), c.rows) << c.lower << ' ' << c.upper;
    }
}

// Convex programs of random sizes with fixed columns, defined columns, singleton and loose rows.
TEST_F(NonlinearPresolveTest, RandomProgramsComeBackOptimal) {
    std::mt19937 random(7);
    const auto number = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    for (int trial = 0; trial < 60; ++trial) {
        StatementBuilder b;
        const int columns = 3 + static_cast<int>(random() % 4);
        std::vector<double> inside;
        for (int j = 0; j < columns; ++j) {
            inside.push_back(number(-1, 1));
            const bool fixed = random() % 4 == 0;
            b.column(fixed ? inside.back() : inside.back() - number(0.1, 2),
                     fixed ? inside.back() : inside.back() + number(0.1, 2));
            const std::string x = "x" + std::to_string(j);
            b.term(kObjectiveRow, number(0.1, 1), "(" + x + " - 1)^2 + exp(" + x + ")");
        }
        for (int r = 0; r < 4; ++r) {
            double activity = 0;
            const int row = b.row(-kInf, 0);
            const bool curved = random() % 3 == 0;
            for (int j = 0; j < columns; ++j) {
                if (random() % 2 == 0) continue;
                const double a = number(-2, 2);
                b.linear(row, j, a);
                activity += a * inside[u(j)];
            }
            if (curved) {
                b.term(row, 1, "exp(x0) + x1^2");
                activity += std::exp(inside[0]) + inside[1] * inside[1];
            }
            const double room = activity + number(0, 1);
            b.linear(row, b.column(room, random() % 2 == 0 ? room : room + 1), -1);
        }
        const int defined = b.column();
        b.linear(kObjectiveRow, defined, 0.5);
        const int row = b.row(1, 1, "x2^4");
        b.linear(row, defined, number(-3, -1));
        b.quadratic(row, 1, 1, 1);
        const int singleton = b.row(-kInf, -2 * inside[2] + number(0, 0.5));
        b.linear(singleton, 2, -2);
        NonlinearPresolve presolve(b.build());
        ASSERT_EQ(presolve.verdict(), PresolveVerdict::kReduced);
        expect_optimal(presolve.given(), solve(presolve), 2e-5, "trial " + std::to_string(trial));
    }
}

TEST(StartPointTest, RuleAndRepair) {
    struct Case {
        const char* objective;
        double lower, upper, given;  // of x0
        double start;                // not a number: any, at which the objective is defined
        bool repaired;
    };
    const double any = std::nan("");
    const Case cases[] = {
        {"x0^2", -kInf, kInf, any, 0, false},     {"x0^2", 3, kInf, any, 3, false},
        {"x0^2", -4, 2, any, -1, false},          {"x0^2", -400, 2, any, 0, false},
        {"x0^2", 3, kInf, 2, 3, false},           {"log(x0)", 0, kInf, any, 1, false},
        {"sqrt(x0)", 0, 1e3, any, 1, false},      {"sqrt(x0 - 5)", -kInf, kInf, any, any, true},
        {"1/x0", -kInf, kInf, any, any, true},    {"log(x0)", 0, kInf, 0, any, true},
        {"log(x0^2 - 4)", 0, kInf, 1, any, true},
    };
    for (const Case& c : cases) {
        StatementBuilder b;
        b.column(c.lower, c.upper, c.given);
        b.objective(c.objective);
        const Statement s = b.build();
        NonlinearProgram program(s);
        const StartPoint start = find_start(s, program);
        ASSERT_TRUE(start.is_defined) << c.objective << ": " << start.complaint;
        EXPECT_EQ(start.is_repaired, c.repaired) << c.objective;
        if (!std::isnan(c.start)) {
            EXPECT_EQ(start.x[0], c.start) << c.objective;
        }
        double value = std::nan("");
        EXPECT_TRUE(program.objective(start.x, value)) << c.objective;
        EXPECT_GE(start.x[0], c.lower) << c.objective;
    }
    StatementBuilder b;
    b.column(-3, -2);
    b.row(0, 1, "log(x0 + 1)");
    const Statement s = b.build();
    NonlinearProgram program(s);
    const StartPoint start = find_start(s, program);
    EXPECT_FALSE(start.is_defined);
    EXPECT_NE(start.complaint.find("log"), std::string::npos) << start.complaint;
}

TEST(RaysTest, ClaimsOnlyWhatFallsForEver) {
    struct Case {
        const char* objective;
        const char* row;  // of x0 >= 0 and x1
        double lower, upper;
        bool unbounded;
    };
    const Case cases[] = {
        {"-x0", "x1", -1, 1, true},
        {"-x0", "x0 - x1", -kInf, 0, true},           // along (1, 1)
        {"x1 - 2*x0", "3*x0 - x1", -kInf, 0, false},  // blocked
        {"x1 - 4*x0", "3*x0 - x1", 0, 0, true},
        {"x1^3", "x0", -kInf, 5, true},
        {"-sqrt(x0)", "x1", 0, 0, true},
        {"-exp(x0)", "x1", 0, 0, true},
        {"x0 - x1^2", "x0", 0, 2, true},
        {"-atan(x0)", "x1", 0, 0, false},
        {"-1e13*atan(x0)", "x1", 0, 0, false},
        {"-1e20*x0/(1 + x0)", "x1", 0, 0, false},
        {"-x0/(1 + 1e-13*x0)", "x1", 0, 0, false},
        {"x0 + x1^2", "x1", -kInf, kInf, false},
        {"-x0", "log(x0 + 1)", -kInf, 60, false},
        {"-x0", "x0^2 + x1^2", -kInf, 1e6, false},
        {"-x0", "sqrt(x0 + 1) - x1", -kInf, 2, true},
        {"-x0 + log(1e20 - x0)", "x1", 0, 0, false},
        {"-1/x1", "x0", 0, 2, false},
        {"-x0", "x1 - x0^2", 0, 0, false},  // along a curve: nothing is said
    };
    for (const Case& c : cases) {
        StatementBuilder b;
        b.column(0, kInf);
        b.column();
        b.objective(c.objective);
        b.row(c.lower, c.upper, c.row);
        const Statement s = b.build();
        NonlinearProgram program(s);
        std::vector<double> x = {1, 1};
        StatementValues values(s);
        for (const double x1 : {0.0, 1.0, 3.0}) {
            x[1] = x1;
            const double row = values.value(0, x);
            if (row >= c.lower && row <= c.upper) break;
        }
        const std::vector<std::vector<double>> given = {{1, 1}};
        const RayVerdict verdict = test_rays(program, x, given);
        EXPECT_EQ(verdict.is_unbounded, c.unbounded) << c.objective << "; " << c.row;
        if (verdict.is_unbounded) {
            EXPECT_LT(verdict.objective, -1e12) << c.objective;
        }
    }
}

TEST(KinksTest, AreReplacedWhereTheProgramOnlyGainsBySmaller) {
    struct Case {
        const char* objective;
        const char* row;
        double lower, upper;
        int replaced, left;
    };
    const Case cases[] = {
        {"abs(x0)", "x1", 0, 1, 1, 0},
        {"-abs(x0)", "x1", 0, 1, 0, 1},
        {"-min(x0, x1, 2) + exp(abs(x0 - x1))", "x1", 0, 1, 2, 0},
        {"x0", "max(x0^2, x1) - 2*min(x0, x1)", -kInf, 4, 2, 0},
        {"x0", "max(x0^2, x1) - 2*min(x0, x1)", 1, kInf, 0, 2},
        {"x0", "max(x0^2, x1)", 1, 1, 0, 1},
        {"sqrt(1 + max(x0, abs(x1)))", "x1", 0, 1, 2, 0},
        {"abs(max(x0, x1))", "x1", 0, 1, 1, 1},  // abs rises and falls
        {"abs(x0 + 3)", "x1", 0, 1, 0, 0},       // x0 + 3 >= 1
        {"x0 * max(x0, x1)", "x1", 0, 1, 0, 1},  // x0 has both signs
        {"(x0 + 3) * max(x0, x1)", "sign(x1)", 0, 1, 1, 1},
    };
    for (const Case& c : cases) {
        StatementBuilder b;
        b.column(-2, 2);
        b.column(-2, 2);
        b.objective(c.objective);
        b.row(c.lower, c.upper, c.row);
        const Statement s = b.build();
        const KinkReformulation result = reformulate_kinks(s);
        EXPECT_EQ(result.replaced, c.replaced) << c.objective << "; " << c.row;
        EXPECT_EQ(result.left, c.left) << c.objective << "; " << c.row;
        EXPECT_EQ(result.statement.num_columns(), 2 + c.replaced);
    }
}

// The same optimum by new columns and by smoothing, of programs whose optima are at kinks.
TEST_F(NonlinearPresolveTest, KinksAreSolvedExactlyAndSmoothly) {
    struct Case {
        const char* objective;
        const char* row;
        double upper;
        double x0, x1;
    };
    const Case cases[] = {
        {"abs(x0 - 1) + (x1 - x0)^2 + abs(x1 - 1)", "x0 + x1", 10, 1, 1},
        {"max(x0^2, (x0 - 2)^2, 0.5 + x1) + x1^2", "x0", 5, 1, 0},
        {"x1", "max(abs(x0 - 0.5), -x1, 1 - x0 - x1) - 1", 0, 1.5, -0.5},
        {"exp(max(x0, -x0, x1 + 1)) - x1", "x0", 5, 0, -0.99},
    };
    for (const Case& c : cases) {
        StatementBuilder b;
        b.column(-3, 3, 0.2);
        b.column(-3, 3, 0.3);
        b.objective(c.objective);
        b.row(-kInf, c.upper, c.row);
        const Statement s = b.build();
        const KinkReformulation exact = reformulate_kinks(s);
        EXPECT_EQ(exact.left, 0);
        StatementValues values(s);
        double best = 0;
        for (const bool smooth : {false, true}) {
            const KinkReformulation smoothed = smooth_kinks(s, 1e-7);
            const Statement& stated = smooth ? smoothed.statement : exact.statement;
            NonlinearProgram program(stated);
            EXPECT_FALSE(program.has_kinks());
            const LocalAnswer answer = InteriorPointSolver().solve(program, {});
            EXPECT_TRUE(answer.status == LocalStatus::kSolved ||
                        answer.status == LocalStatus::kAcceptable);
            const std::vector<double> x(answer.x.begin(), answer.x.begin() + 2);
            const double value = values.value(kObjectiveRow, x);
            EXPECT_LE(values.value(0, x), c.upper + 1e-6) << c.objective;
            EXPECT_NEAR(value, answer.objective, 1e-5) << c.objective;
            if (smooth) {
                EXPECT_NEAR(value, best, 1e-5) << c.objective;
            }
            best = value;
        }
        EXPECT_LE(best, values.value(kObjectiveRow, std::vector<double>{c.x0, c.x1}) + 1e-5)
            << c.objective;
    }
}

}  // namespace
