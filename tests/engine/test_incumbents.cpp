// The one place that accepts points: tolerances, rounding, cutoffs, threads, and what a reader
// holds.
#include <atomic>
#include <cmath>
#include <thread>

#include "engine/core/problem.hpp"
#include "engine/solve/incumbents.hpp"
#include "engine/solve/solve_session.hpp"
#include "tests/engine/support.hpp"

namespace qlx::test {
namespace {

// min x + y: x + y >= 2, x integer and y continuous in 0 .. 10.
void build_pair(const TestProblem& p) {
    p.column(1, 0, 10, 'I');
    p.column(1, 0, 10);
    p.row('G', 2, {0, 1}, {1, 1});
}

Problem& inside(const TestProblem& p) {
    return *static_cast<QLXprob>(p);
}

TEST(Incumbents, TheTolerancesAreTheStatedOnes) {
    struct Case {
        double feastol, inttol;
        std::vector<double> x;
        Verdict verdict;
    };
    const Case cases[] = {
        {1e-7, 1e-6, {1, 1 - 0.9e-7}, Verdict::kKept},
        {1e-7, 1e-6, {1, 1 - 3e-7}, Verdict::kRejected},  // within ten times the tolerance
        {1e-9, 1e-6, {1, 1 - 5e-9}, Verdict::kRejected},  // below 1e-6, but not below the stated
        {1e-2, 1e-6, {1, 0.99}, Verdict::kKept},
        {1e-7, 1e-6, {10 + 3e-6, 1}, Verdict::kKept},  // rounded, a bound holds again
        {1e-7, 1e-6, {1, 10 + 3e-6}, Verdict::kRejected},
        {1e-7, 1e-2, {1 + 5e-3, 1 - 5e-3}, Verdict::kKept},  // rounding it costs the row: as given
        {1e-7, 1e-6, {1 + 5e-6, 1 - 5e-6}, Verdict::kRejected},
        {1e-2, 1e-6, {1.005, 2}, Verdict::kKept},  // rounded to a point that is feasible
        {1e-7, 1e-6, {1, std::nan("")}, Verdict::kRejected},
        {1e-7, 1e-6, {1}, Verdict::kRejected},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.feastol << " " << c.inttol << " " << c.x[0]);
        TestProblem p;
        build_pair(p);
        p.control("feastol", c.feastol);
        p.control("inttol", c.inttol);
        SolveSession session(inside(p));
        EXPECT_EQ(session.offer(c.x), c.verdict);
        EXPECT_EQ(session.results().solutions_found, c.verdict == Verdict::kKept ? 1 : 0);
        EXPECT_LE(session.results().primal_infeasibility(),
                  c.verdict == Verdict::kKept ? c.feastol * (1 + 1e-6) : 0.0);
    }
}

// row 0 holds where b is 1; a switch beside its values does not leave it unchecked.
TEST(Incumbents, AnIndicatorRowIsCheckedWhateverTheSwitchLacks) {
    TestProblem p;
    p.column(0, 0, 1, 'B');
    p.column(-1, 0, 10);
    p.row('L', 3, {1}, {1});
    const int row = 0;
    const int col = 0;
    const int complement = 1;
    ASSERT_EQ(QLXsetindicators(p, 1, &row, &col, &complement), 0) << p.error();
    for (const double inttol : {1e-9, 1e-6, 1e-2}) {
        p.control("inttol", inttol);
        for (const double away : {0.0, 1e-9, 1e-7, 1e-5, 1e-3, 0.1, 0.5}) {
            SCOPED_TRACE(testing::Message() << inttol << " " << away);
            SolveSession session(inside(p));
            EXPECT_EQ(session.offer(std::vector<double>{1 - away, 9}), Verdict::kRejected);
        }
    }
}

TEST(Incumbents, OnlyBetterPointsThanTheCutoffInEitherSense) {
    for (const int sense : {1, -1}) {
        SCOPED_TRACE(sense);
        TestProblem p;
        p.column(1, 0, 10, 'I');
        ASSERT_EQ(QLXchgobjsense(p, sense), 0);
        p.control("mipabscutoff", 5);
        SolveSession session(inside(p));
        const auto offer = [&](double x) { return session.offer(std::vector<double>{x}); };
        EXPECT_EQ(session.incumbents().cutoff(), 5.0 * sense);
        EXPECT_EQ(offer(5), Verdict::kNotBetter);
        EXPECT_EQ(offer(5 + sense), Verdict::kNotBetter);
        EXPECT_EQ(offer(5 - sense), Verdict::kKept);
        EXPECT_EQ(offer(5 - sense), Verdict::kNotBetter);
        EXPECT_EQ(offer(5 - 3 * sense), Verdict::kKept);
        EXPECT_EQ(session.incumbents().cutoff(), 5.0 * sense - 3);
        EXPECT_EQ(session.results().mip.objective(), 5 - 3 * sense);
        session.incumbents().forget();
        EXPECT_TRUE(session.results().mip.empty());
        EXPECT_EQ(session.incumbents().cutoff(), 5.0 * sense);
    }
}

TEST(Incumbents, EventsMayRefuseAndMayOfferInTurn) {
    TestProblem p;
    p.column(1, 0, 10, 'I');
    SolveSession session(inside(p));
    std::vector<double> told;
    session.incumbents().tell({[](const Solution& point) { return point.objective != 7; },
                               [&](const Solution& point) {
                                   told.push_back(point.objective);
                                   const double next = point.objective - 1;
                                   session.offer(std::vector<double>{next});
                               }});
    EXPECT_EQ(session.offer(std::vector<double>{7.0}), Verdict::kRejected);
    EXPECT_TRUE(session.results().mip.empty());
    EXPECT_EQ(session.offer(std::vector<double>{3.0}), Verdict::kKept);
    EXPECT_EQ(told, (std::vector<double>{3, 2, 1, 0}));
    EXPECT_EQ(session.results().mip.objective(), 0);
}

// Threads offer points that get better and better while a reader holds views of them.
TEST(Incumbents, ConcurrentOffersKeepTheBestAndViewsStayWhole) {
    constexpr int kThreads = 4;
    constexpr int kPoints = 2000;
    constexpr int kCols = 40;
    TestProblem p;
    for (int col = 0; col < kCols; ++col) p.column(1, 0, 1e6, 'I');
    SolveSession session(inside(p));
    std::atomic<bool> done{false};
    std::vector<const double*> views;
    std::vector<double> seen;
    std::thread reader([&] {
        for (bool last = false; !last;) {
            last = done;
            const Solution* solution = session.results().mip.view();
            if (solution == nullptr || (!seen.empty() && solution->x[0] == seen.back())) continue;
            views.push_back(solution->x.data());
            seen.push_back(solution->x[0]);
        }
    });
    std::atomic<int> kept{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([&, thread] {
            for (int k = kPoints; k > 0; --k) {
                const double value = kThreads * k + thread;
                const std::vector<double> x(kCols, value);
                if (session.offer(x) == Verdict::kKept) ++kept;
            }
        });
    for (std::thread& thread : threads) thread.join();
    done = true;
    reader.join();
    EXPECT_EQ(session.results().mip.objective(), kCols * kThreads);
    EXPECT_EQ(session.results().solutions_found, kept);
    ASSERT_FALSE(views.empty());
    for (std::size_t k = 0; k < views.size(); ++k) {
        for (int col = 0; col < kCols; ++col) ASSERT_EQ(views[k][col], seen[k]);
        if (k > 0) {
            EXPECT_LT(seen[k], seen[k - 1]);
        }
    }
}

TEST(Incumbents, AViewOutlivesWhatReplacesIt) {
    TestProblem p;
    build_pair(p);
    SolveSession session(inside(p));
    ASSERT_EQ(session.offer(std::vector<double>{5, 1}), Verdict::kKept);
    const double* x = nullptr;
    int count = 0;
    ASSERT_EQ(QLXviewsol(p, 1, QLX_VECTOR_X, &x, &count), 0) << p.error();
    for (const double better : {4.0, 3.0, 2.0})
        ASSERT_EQ(session.offer(std::vector<double>{better, 1}), Verdict::kKept);
    ASSERT_EQ(count, 2);
    EXPECT_EQ(x[0], 5);
    EXPECT_EQ(p.mip_x()[0], 2);
}

// A session inside another one stops with it, alone, and counts for it.
TEST(SolveSession, ANestedOneTakesStopAndCountsFromTheOuterOne) {
    TestProblem whole;
    build_pair(whole);
    TestProblem part;
    build_pair(part);
    whole.control("timelimit", 1000);
    SolveSession outer(inside(whole));
    KernelResult work;
    work.nodes = 3;
    work.simplex_iterations = 7;
    {
        SolveSession nested(outer, inside(part));
        EXPECT_LE(nested.seconds_left(), 1000);
        nested.count(work);
        nested.stop(QLX_STOP_USER);
        EXPECT_EQ(nested.stop_rule().reason(), QLX_STOP_USER);
        EXPECT_EQ(outer.stop_rule().reason(), QLX_STOP_NONE);
    }
    EXPECT_EQ(outer.results().nodes, 3);
    EXPECT_EQ(outer.results().simplex_iterations, 7);
    inside(part).controls.timelimit = 0;
    SolveSession nested(outer, inside(part));
    EXPECT_EQ(nested.stop_rule().reason(), QLX_STOP_TIMELIMIT);
    EXPECT_EQ(nested.seconds_left(), 0);
    EXPECT_GT(outer.seconds_left(), 900);
}

}  // namespace
}  // namespace qlx::test
