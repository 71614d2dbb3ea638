// Integer programs: what a search may claim under cutoffs and limits.
#include "tests/engine/support.hpp"

namespace {

using qlx::test::kInf;
using qlx::test::Random;
using qlx::test::TestProblem;

// max or min +-(6a + 8b + 3c + 10d + 4.5e): the optimum is 43 away from 0, with 5a + 7b + ...
// <= 37.
void build_knapsack(const TestProblem& p, int sense) {
    for (const double profit : {6.0, 8.0, 3.0, 10.0, 4.5}) p.column(-sense * profit, 0, 4, 'I');
    p.row('L', 37, {0, 1, 2, 3, 4}, {5, 7, 3, 9, 4});
    ASSERT_EQ(QLXchgobjsense(p, sense), 0);
}

TEST(MipClaims, OnlySolutionsBetterThanTheCutoff) {
    struct Case {
        double cutoff;  // in terms of the profit
        int status;
    };
    for (const int sense : {1, -1}) {
        for (const Case c : {Case{50, QLX_MIP_NO_SOL_FOUND}, Case{43, QLX_MIP_NO_SOL_FOUND},
                             Case{42.5, QLX_MIP_OPTIMAL}, Case{0, QLX_MIP_OPTIMAL}}) {
            SCOPED_TRACE(sense * c.cutoff);
            TestProblem p;
            build_knapsack(p, sense);
            p.control("mipabscutoff", -sense * c.cutoff);
            ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
            EXPECT_EQ(p.integer("mipstatus"), c.status);
            EXPECT_EQ(p.integer("stopstatus") == QLX_STOP_CUTOFF, c.status != QLX_MIP_OPTIMAL);
            EXPECT_EQ(p.integer("mipsols") > 0, c.status == QLX_MIP_OPTIMAL);
            if (c.status == QLX_MIP_OPTIMAL) {
                EXPECT_NEAR(p.real(QLX_ATTRIB_MIPOBJVAL), -43.0 * sense, 1e-9);
            }
            p.control("mipabscutoff", sense * kInf);  // and without it again
            ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
            EXPECT_NEAR(p.real(QLX_ATTRIB_MIPOBJVAL), -43.0 * sense, 1e-9);
        }
    }
}

// Infeasible, unbounded and optimal models: a cutoff only takes optimal ones that do not beat it.
TEST(MipClaims, ACutoffChangesNoOtherClaim) {
    int seen[8] = {};
    for (unsigned seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        TestProblem p;
        std::vector<int> cols;
        for (int col = 0; col < 4; ++col) {
            p.column(random.whole(-3, 3), random.chance(0.2) ? -kInf : 0,
                     random.chance(0.4) ? kInf : random.whole(1, 9),
                     random.chance(0.6) ? 'I' : 'C');
            cols.push_back(col);
        }
        for (int row = 0; row < 3; ++row) {
            std::vector<double> values;
            for (int col = 0; col < 4; ++col) values.push_back(random.whole(-2, 4));
            p.row("LGE"[random.whole(0, 2)], random.whole(-4, 12), cols, values);
        }
        const int sense = random.chance(0.5) ? 1 : -1;
        ASSERT_EQ(QLXchgobjsense(p, sense), 0);
        p.control("presolve", random.whole(0, 1));
        ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
        const int status = p.integer("mipstatus");
        const bool optimal = status == QLX_MIP_OPTIMAL;
        ++seen[status];
        const double best = optimal ? p.real(QLX_ATTRIB_MIPOBJVAL) : 0;
        for (const double room : {-3.0, 3.0}) {
            p.control("mipabscutoff", best + sense * room);
            ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
            const bool beaten = optimal && room < 0;
            EXPECT_EQ(p.integer("mipstatus"), beaten ? QLX_MIP_NO_SOL_FOUND : status);
            EXPECT_EQ(p.integer("stopstatus") == QLX_STOP_CUTOFF, beaten);
            if (optimal && room > 0) {
                EXPECT_NEAR(p.real(QLX_ATTRIB_MIPOBJVAL), best, 1e-6);
            }
        }
    }
    for (const int status : {QLX_MIP_OPTIMAL, QLX_MIP_INFEAS, QLX_MIP_UNBOUNDED})
        EXPECT_GT(seen[status], 10);
}

TEST(MipClaims, ASolutionLimitStopsTheSearch) {
    Random random(3);
    TestProblem p;
    std::vector<int> cols;
    for (int col = 0; col < 40; ++col) {
        p.column(random.whole(10, 90), 0, 3, 'I');
        cols.push_back(col);
    }
    for (int row = 0; row < 5; ++row) {
        std::vector<double> weights;
        for (int col = 0; col < 40; ++col) weights.push_back(random.whole(10, 90));
        p.row('L', 1400, cols, weights);
    }
    ASSERT_EQ(QLXchgobjsense(p, -1), 0);
    p.control("sollimit", 1);
    ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    EXPECT_EQ(p.integer("mipstatus"), QLX_MIP_SOLUTION);
    EXPECT_EQ(p.integer("stopstatus"), QLX_STOP_SOLLIMIT);
}

// Equal-sum rows with a planted point, and a column that improves forever.
TEST(MipClaims, ALimitLeavesInfeasibleOrUnboundedOpen) {
    Random random(1);
    TestProblem p;
    std::vector<int> cols;
    std::vector<int> planted;
    for (int col = 0; col < 50; ++col) {
        p.column(0, 0, 1, 'B');
        cols.push_back(col);
        planted.push_back(random.whole(0, 1));
    }
    p.column(-1, 0, kInf);
    for (int row = 0; row < 4; ++row) {
        std::vector<double> weights;
        double sum = 0;
        for (int col = 0; col < 50; ++col) {
            weights.push_back(random.whole(0, 99));
            sum += weights.back() * planted[static_cast<std::size_t>(col)];
        }
        p.row('E', sum, cols, weights);
    }
    p.control("nodelimit", 1);
    ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    EXPECT_NE(p.integer("mipstatus"), QLX_MIP_INFEAS);
    if (p.integer("mipstatus") == QLX_MIP_NO_SOL_FOUND) {
        EXPECT_EQ(p.integer("stopstatus"), QLX_STOP_NODELIMIT);
    }
}

TEST(MipClaims, DeletedSetsLeaveTheOthersWhole) {
    for (const int deleted : {0, 1, 2}) {
        SCOPED_TRACE(deleted);
        TestProblem p;
        for (int col = 0; col < 6; ++col) p.column(1, 0, 3);
        const std::int64_t start[] = {0, 2, 4, 6};
        const int cols[] = {0, 1, 2, 3, 4, 5};
        const double weights[] = {1, 2, 1, 2, 1, 2};
        ASSERT_EQ(QLXaddsets64(p, 3, 6, "111", start, cols, weights), 0) << p.error();
        ASSERT_EQ(QLXdelsets(p, 1, &deleted), 0) << p.error();
        EXPECT_EQ(p.integer("setmembers"), 4);
        ASSERT_EQ(QLXchgobjsense(p, -1), 0);
        ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
        EXPECT_NEAR(p.real(QLX_ATTRIB_MIPOBJVAL), 12, 1e-9);
    }
}

TEST(MipClaims, APartialIntegerThatRowsKeepBelowItsLimit) {
    for (const double upper : {20.0, 1e6, 1e9, kInf}) {
        SCOPED_TRACE(upper);
        TestProblem p;
        p.column(1, 0, upper, 'P', 9.5);
        p.row('L', 7.5, {0}, {2});
        ASSERT_EQ(QLXchgobjsense(p, -1), 0);
        ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
        ASSERT_EQ(p.integer("mipstatus"), QLX_MIP_OPTIMAL);
        EXPECT_NEAR(p.real(QLX_ATTRIB_MIPOBJVAL), 3, 1e-9);
    }
}

// x <= 1e5 b costs 1000 once b is 1: a tolerance that b may use would give x for nothing.
TEST(MipClaims, RowsHoldToTheStatedToleranceNotToThatOfIntegers) {
    for (const double feastol : {1e-9, 1e-8, 1e-7}) {
        SCOPED_TRACE(feastol);
        TestProblem p;
        p.column(-1, 0, 10);
        p.column(1000, 0, 1, 'B');
        p.row('L', 0, {0, 1}, {1, -1e5});
        p.control("feastol", feastol);
        ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
        ASSERT_EQ(p.integer("mipstatus"), QLX_MIP_OPTIMAL);
        EXPECT_LE(p.mip_x()[0], 1e5 * feastol * (1 + 1e-6));
    }
}

// Whatever the tolerances, what is held stands the check at them, and an end that is neither
// optimal nor a proof has a reason.
TEST(MipClaims, EveryEndHasItsReasonAndItsPointTheTolerance) {
    int seen[8] = {};
    for (unsigned seed = 1; seed <= 120; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        TestProblem p;
        std::vector<int> cols;
        for (int col = 0; col < 6; ++col) {
            p.column(random.real(-3, 3), 0, random.whole(1, 9), random.chance(0.6) ? 'I' : 'C');
            cols.push_back(col);
        }
        for (int row = 0; row < 4; ++row) {
            std::vector<double> values;
            for (int col = 0; col < 6; ++col)
                values.push_back(random.real(-2, 4) * (random.chance(0.2) ? 1e4 : 1));
            p.row("LGE"[random.whole(0, 2)], random.real(-4, 30), cols, values);
        }
        const double tolerances[] = {1e-10, 1e-8, 1e-6, 1e-4, 1e-2};
        const double feastol = tolerances[random.whole(0, 4)];
        p.control("feastol", feastol);
        p.control("inttol", tolerances[random.whole(0, 4)]);
        if (random.chance(0.5)) p.control("mipabscutoff", random.real(-20, 20));
        ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
        const int status = p.integer("mipstatus");
        ++seen[status];
        EXPECT_LE(p.real(2105), feastol * (1 + 1e-6));
        if (status == QLX_MIP_SOLUTION || status == QLX_MIP_NO_SOL_FOUND) {
            EXPECT_NE(p.integer("stopstatus"), QLX_STOP_NONE);
        }
        if (status == QLX_MIP_INFEAS) {
            EXPECT_EQ(p.integer("mipsols"), 0);
            EXPECT_EQ(p.real(2105), 0);
        }
    }
    EXPECT_GT(seen[QLX_MIP_OPTIMAL], 30);
    EXPECT_GT(seen[QLX_MIP_NO_SOL_FOUND], 3);
}

// HiGHS calls it optimal: x1 grows with -x2 for ever.
TEST(MipClaims, AnUnboundedRelaxationWithASolutionIsUnbounded) {
    for (const int presolve : {0, 1}) {
        TestProblem p;
        p.column(2, 0, 5, 'I');
        p.column(3, 0, kInf);
        p.column(-1, -kInf, 8);
        p.column(1, 0, 8);
        p.row('G', 4, {0, 1, 2, 3}, {3, 2, -1, -2});
        p.row('L', 3, {1, 2, 3}, {3, 4, 4});
        p.row('G', 2, {0, 1, 2, 3}, {4, 4, 1, 1});
        ASSERT_EQ(QLXchgobjsense(p, -1), 0);
        p.control("presolve", presolve);
        ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
        EXPECT_EQ(p.integer("mipstatus"), QLX_MIP_UNBOUNDED);
        EXPECT_EQ(p.real(2105), 0);  // no point is held, so none is measured
    }
}

}  // namespace
