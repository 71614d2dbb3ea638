// Linear programs: statuses, values, multipliers, limits.
#include <cmath>

#include "tests/engine/support.hpp"

namespace {

using qlx::test::kInf;
using qlx::test::Random;
using qlx::test::TestProblem;

// max 3x + 2y, x + y <= 4, x + 3y <= 6, x <= 3: optimum 11 at (3, 1).
void build_small(const TestProblem& p) {
    p.column(3, 0, 3);
    p.column(2, 0, kInf);
    p.row('L', 4, {0, 1}, {1, 1});
    p.row('L', 6, {0, 1}, {1, 3});
    ASSERT_EQ(QLXchgobjsense(p, -1), 0);
}

TEST(Lp, EveryMethodGivesTheSameOptimum) {
    for (const char* flags : {"", "d", "p", "b", "n"}) {
        TestProblem p;
        build_small(p);
        ASSERT_EQ(QLXlpoptimize(p, flags), 0) << p.error();
        EXPECT_EQ(p.integer(QLX_ATTRIB_LPSTATUS), QLX_LP_OPTIMAL) << flags;
        EXPECT_NEAR(p.real(QLX_ATTRIB_LPOBJVAL), 11, 1e-5) << flags;
        EXPECT_NEAR(p.lp_x()[0], 3, 1e-5) << flags;
    }
}

// HiGHS' interior point method cannot take free rows; repeated, as it would write past its arrays.
TEST(Lp, FreeRowsBesideRangeRowsByEveryMethod) {
    for (const char* flags : {"", "d", "p", "b"}) {
        for (int round = 0; round < 10; ++round) {
            TestProblem p;
            for (int col = 0; col < 3; ++col) p.column(1, 0, 3);
            for (int row = 0; row < 10; ++row)
                p.row(row % 2 == 0 ? 'R' : 'N', 8, {0, 1, 2}, {1, 1, 1}, 7);
            p.control("presolve", 0);
            ASSERT_EQ(QLXlpoptimize(p, flags), 0) << p.error();
            EXPECT_NEAR(p.real(QLX_ATTRIB_LPOBJVAL), 1, 1e-6) << flags;
        }
    }
}

TEST(Lp, SmallCoefficientsOfLargeColumnsCount) {
    TestProblem p;
    p.column(1, 0, 1e12);
    p.column(0, 0, 1);
    p.row('L', 1, {0, 1}, {1e-10, 1});
    ASSERT_EQ(QLXchgobjsense(p, -1), 0);
    ASSERT_EQ(QLXlpoptimize(p, ""), 0) << p.error();
    EXPECT_EQ(p.integer(QLX_ATTRIB_LPSTATUS), QLX_LP_OPTIMAL);
    EXPECT_NEAR(p.real(QLX_ATTRIB_LPOBJVAL), 1e10, 1e3);
}

TEST(Lp, MultipliersAreDerivativesOfTheOptimum) {
    for (const int sense : {1, -1}) {
        SCOPED_TRACE(sense);
        TestProblem p;
        build_small(p);
        const int cols[] = {0, 1};
        const double obj[] = {-3.0 * sense, -2.0 * sense};
        ASSERT_EQ(QLXchgobj(p, 2, cols, obj), 0);
        ASSERT_EQ(QLXchgobjsense(p, sense), 0);
        ASSERT_EQ(QLXlpoptimize(p, ""), 0) << p.error();
        double slack[2];
        double dual[2];
        double dj[2];
        ASSERT_EQ(QLXgetlpsol(p, nullptr, slack, dual, dj), 0);
        const double base = p.real(QLX_ATTRIB_LPOBJVAL);
        EXPECT_NEAR(slack[0], 0, 1e-9);
        EXPECT_NEAR(slack[1], 0, 1e-9);
        for (int row = 0; row < 2; ++row) {
            const double rhs = (row == 0 ? 4 : 6) + 1e-3;
            const double old = row == 0 ? 4 : 6;
            ASSERT_EQ(QLXchgrhs(p, 1, &row, &rhs), 0);
            ASSERT_EQ(QLXlpoptimize(p, ""), 0);
            // The vertex is degenerate: one of the two sides' derivatives.
            EXPECT_LE(std::fabs((p.real(QLX_ATTRIB_LPOBJVAL) - base) / 1e-3),
                      std::fabs(dual[row]) + 1e-6);
            ASSERT_EQ(QLXchgrhs(p, 1, &row, &old), 0);
        }
        for (int col = 0; col < 2; ++col) {
            const double sum = col == 0 ? dual[0] + dual[1] : dual[0] + 3 * dual[1];
            EXPECT_NEAR(dj[col], obj[col] - sum, 1e-9);
        }
    }
}

TEST(Lp, SlackHasTheSignOfItsRow) {
    TestProblem p;
    p.column(1, 0, 10);
    p.row('L', 7, {0}, {1});
    p.row('G', 2, {0}, {1});
    p.row('R', 9, {0}, {1}, 8);
    p.row('N', 3, {0}, {1});
    ASSERT_EQ(QLXlpoptimize(p, ""), 0);
    double slack[4];
    ASSERT_EQ(QLXgetlpsol(p, nullptr, slack, nullptr, nullptr), 0);
    EXPECT_EQ(std::vector<double>(slack, slack + 4), (std::vector<double>{5, 0, 7, 1}));
}

struct StatusCase {
    const char* name;
    double lb, ub, cost;  // of both columns
    char type;
    double rhs;  // of x + y, and of -x - y
    int status;
};

TEST(Lp, InfeasibleAndUnboundedAreToldApart) {
    const std::vector<StatusCase> cases = {
        {"optimal", 0, 10, 1, 'G', 3, QLX_LP_OPTIMAL},
        {"infeasible by bounds", 0, 1, 1, 'G', 3, QLX_LP_INFEAS},
        {"unbounded below", -kInf, kInf, 1, 'L', 3, QLX_LP_UNBOUNDED},
        {"infeasible with a ray in the costs", 0, kInf, -1, 'L', -3, QLX_LP_INFEAS},
    };
    for (const StatusCase& c : cases)
        for (const char* flags : {"", "d", "p", "b"})
            for (const int presolve : {0, 1}) {
                TestProblem p;
                p.control("presolve", presolve);
                p.column(c.cost, c.lb, c.ub);
                p.column(c.cost, c.lb, c.ub);
                p.row(c.type, c.rhs, {0, 1}, {1, 1});
                ASSERT_EQ(QLXlpoptimize(p, flags), 0) << p.error();
                EXPECT_EQ(p.integer("lpstatus"), c.status) << c.name << " " << flags << presolve;
            }
}

TEST(Lp, DegenerateShapes) {
    TestProblem empty;
    EXPECT_EQ(QLXlpoptimize(empty, ""), QLX_ERROR_STATE);
    EXPECT_NE(empty.error().find("empty"), std::string::npos);

    TestProblem rows;  // 0 <= 1 and 0 >= 2
    rows.row('L', 1, {}, {});
    ASSERT_EQ(QLXlpoptimize(rows, ""), 0) << rows.error();
    EXPECT_EQ(rows.integer("lpstatus"), QLX_LP_OPTIMAL);
    rows.row('G', 2, {}, {});
    ASSERT_EQ(QLXlpoptimize(rows, ""), 0) << rows.error();
    EXPECT_EQ(rows.integer("lpstatus"), QLX_LP_INFEAS);

    TestProblem columns;
    columns.column(1, -2, 5);
    columns.column(-1, -2, 5);
    const int constant = -1;
    const double value = 10;
    ASSERT_EQ(QLXchgobj(columns, 1, &constant, &value), 0);
    ASSERT_EQ(QLXlpoptimize(columns, ""), 0) << columns.error();
    EXPECT_EQ(columns.real(QLX_ATTRIB_LPOBJVAL), 3);
    EXPECT_EQ(columns.lp_x(), (std::vector<double>{-2, 5}));
}

TEST(Lp, IterationLimitZeroStopsAfterTheHandOver) {
    TestProblem p;
    build_small(p);
    p.control("lpiterlimit", 0);
    ASSERT_EQ(QLXlpoptimize(p, ""), 0);
    EXPECT_EQ(p.integer("lpstatus"), QLX_LP_UNFINISHED);
    EXPECT_EQ(p.integer("stopstatus"), QLX_STOP_ITERLIMIT);
    std::int64_t blocks = 0;
    QLX_ge_getlivecounts(nullptr, nullptr, &blocks);
    EXPECT_EQ(blocks, 1);
    p.control("lpiterlimit", 1000);
    ASSERT_EQ(QLXlpoptimize(p, ""), 0);
    EXPECT_NEAR(p.real(QLX_ATTRIB_LPOBJVAL), 11, 1e-9);
    EXPECT_EQ(p.integer("stopstatus"), QLX_STOP_NONE);
}

TEST(Lp, ResultsFollowTheModelsEdits) {
    TestProblem p;
    build_small(p);
    ASSERT_EQ(QLXlpoptimize(p, ""), 0);
    p.column(0, 2, 5);
    p.row('L', 100, {0, 2}, {1, 1});
    EXPECT_EQ(p.lp_x(), (std::vector<double>{3, 1, 2}));
    double slack[3];
    ASSERT_EQ(QLXgetlpsol(p, nullptr, slack, nullptr, nullptr), 0);
    EXPECT_EQ(slack[2], 95);
    const int first = 0;
    ASSERT_EQ(QLXdelcols(p, 1, &first), 0);
    EXPECT_EQ(p.lp_x(), (std::vector<double>{1, 2}));
    const double* view = nullptr;
    int count = 0;
    ASSERT_EQ(QLXviewsol(p, 0, QLX_VECTOR_X, &view, &count), 0);
    EXPECT_EQ(std::vector<double>(view, view + count), p.lp_x());
}

}  // namespace
