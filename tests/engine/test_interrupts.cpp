// Stopping solves, using problems from several threads, and where messages go.
#include <atomic>
#include <thread>

#include "tests/engine/support.hpp"

namespace {

using qlx::test::Random;
using qlx::test::TestProblem;

// A market split problem: equality knapsacks that no tree search ends in seconds.
void build_market_split(const TestProblem& p) {
    Random random(7);
    std::vector<int> cols;
    for (int col = 0; col < 40; ++col) {
        p.column(0, 0, 1, 'B');
        cols.push_back(col);
    }
    for (int row = 0; row < 5; ++row) {
        std::vector<double> values;
        double sum = 0;
        for (int col = 0; col < 40; ++col) {
            values.push_back(random.whole(0, 99));
            sum += values.back();
        }
        cols.resize(40);
        p.column(1, 0, 1e4);
        p.column(1, 0, 1e4);
        const int plus = 40 + 2 * row;
        cols.push_back(plus);
        cols.push_back(plus + 1);
        values.push_back(1);
        values.push_back(-1);
        p.row('E', static_cast<int>(sum / 2), cols, values);
    }
}

TEST(Interrupt, StopsATreeSearchFromAnotherThreadAndLeavesTheProblemUsable) {
    TestProblem p;
    build_market_split(p);
    std::atomic<bool> done{false};
    std::thread stopper([&] {
        while (!done) {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            QLXinterrupt(p, QLX_STOP_CTRLC);
        }
    });
    p.control("timelimit", 60);
    EXPECT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    done = true;
    stopper.join();
    EXPECT_EQ(p.integer("stopstatus"), QLX_STOP_CTRLC);
    EXPECT_LT(p.real(2104), 30.0);
    const int status = p.integer("mipstatus");
    EXPECT_TRUE(status == QLX_MIP_SOLUTION || status == QLX_MIP_NO_SOL_FOUND) << status;
    if (status == QLX_MIP_SOLUTION) {
        EXPECT_EQ(p.mip_x().size(), 50U);
    }
    // What was asked for during one solve does not stop the next.
    ASSERT_EQ(QLXlpoptimize(p, ""), 0) << p.error();
    EXPECT_EQ(p.integer("lpstatus"), QLX_LP_OPTIMAL);
}

TEST(Threads, ASecondConcurrentCallIsAnErrorText) {
    TestProblem p;
    build_market_split(p);
    p.control("timelimit", 60);
    std::atomic<bool> started{false};
    const auto note_start = [](QLXprob, void* data, const char*, int, int) {
        *static_cast<std::atomic<bool>*>(data) = true;
    };
    ASSERT_EQ(QLXaddcbmessage(p, note_start, &started, 0), 0);
    std::thread solver([&] { EXPECT_EQ(QLXmipoptimize(p, ""), 0) << p.error(); });
    while (!started) std::this_thread::yield();
    int rows = 0;
    const int refused = QLXgetintattrib(p, QLX_ATTRIB_ROWS, &rows);
    EXPECT_EQ(refused, QLX_ERROR_STATE);
    EXPECT_NE(p.error().find("in use by another thread"), std::string::npos) << p.error();
    EXPECT_EQ(QLXmipoptimize(p, ""), QLX_ERROR_STATE);
    EXPECT_EQ(QLXdestroyprob(p), QLX_ERROR_STATE);
    QLXinterrupt(p, QLX_STOP_USER);
    solver.join();
    EXPECT_EQ(p.integer("stopstatus"), QLX_STOP_USER);
}

TEST(Threads, TwoThreadsSolveTwoProblems) {
    const auto work = [] {
        for (int round = 0; round < 20; ++round) {
            TestProblem p;
            p.column(-1, 0, 7, 'I');
            p.column(-1, 0, 7, 'I');
            p.row('L', 9.5, {0, 1}, {1, 2});
            EXPECT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
            EXPECT_EQ(p.real(QLX_ATTRIB_MIPOBJVAL), -8);
        }
    };
    std::thread other(work);
    work();
    other.join();
}

struct Log {
    std::vector<std::string> lines;
    int change_result = 0;
};

void keep_line(QLXprob prob, void* data, const char* text, int length, int) {
    auto* log = static_cast<Log*>(data);
    log->lines.emplace_back(text, static_cast<std::size_t>(length));
    // Reading is allowed inside a callback, changing what is being solved is not.
    int rows = 0;
    EXPECT_EQ(QLXgetintattrib(prob, QLX_ATTRIB_ROWS, &rows), 0);
    log->change_result = QLXchgobjsense(prob, 1);
}

int count_messages(QLXobject, void* data, void*, const char*, int, int) {
    ++*static_cast<int*>(data);
    return 0;
}

TEST(Messages, ReachCallbacksAndHandlersUntilRemoved) {
    TestProblem p;
    p.column(1, 0, 1);
    p.row('G', 0.5, {0}, {1});
    Log log;
    int handled = 0;
    ASSERT_EQ(QLXaddcbmessage(p, keep_line, &log, 0), 0);
    ASSERT_EQ(QLX_ge_addcbmsghandler(count_messages, &handled, 0), 0);
    EXPECT_EQ(handled, 1);  // the call that announces the registration
    ASSERT_EQ(QLXlpoptimize(p, ""), 0);
    ASSERT_EQ(log.lines.size(), 2U);
    EXPECT_NE(log.lines[1].find("Optimal: objective 0.5"), std::string::npos) << log.lines[1];
    EXPECT_EQ(log.change_result, QLX_ERROR_STATE);
    EXPECT_EQ(handled, 3);
    ASSERT_EQ(QLXremovecbmessage(p, keep_line, nullptr), 0);
    EXPECT_NE(QLXremovecbmessage(p, keep_line, nullptr), 0);
    ASSERT_EQ(QLX_ge_removecbmsghandler(count_messages, &handled), 0);
    ASSERT_EQ(QLXlpoptimize(p, ""), 0);
    EXPECT_EQ(log.lines.size(), 2U);
    EXPECT_EQ(handled, 3);
}

}  // namespace
