// Stopping solves, using problems from several threads, and where messages go.
#include <algorithm>
#include <atomic>
#include <thread>

#include "engine/core/problem.hpp"
#include "engine/solve/progress_log.hpp"
#include "tests/engine/support.hpp"

namespace {

using qlx::test::kInf;
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

void keep_text(QLXprob, void* data, const char* text, int, int) {
    static_cast<std::vector<std::string>*>(data)->emplace_back(text);
}

bool has(const std::vector<std::string>& lines, const std::string& text) {
    return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
        return line.find(text) != std::string::npos;
    });
}

TEST(Log, ATreeSearchShowsItsGapAndWhyItStopped) {
    TestProblem p;
    build_market_split(p);
    std::vector<std::string> lines;
    ASSERT_EQ(QLXaddcbmessage(p, keep_text, &lines, 0), 0);
    p.control("timelimit", 4);
    ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    EXPECT_TRUE(has(lines, "best bound            best solution        gap   seconds"));
    EXPECT_TRUE(has(lines, "(time limit)")) << lines.back();
    EXPECT_TRUE(has(lines, "gap"));
    lines.clear();
    p.control("timelimit", kInf);
    p.control("nodelimit", 1);
    ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    EXPECT_TRUE(has(lines, "(node limit)")) << lines.back();
    lines.clear();
    p.control("nodelimit", 1e6);
    p.control("sollimit", 1);
    ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    EXPECT_TRUE(has(lines, "(solution limit)")) << lines.back();
}

// Lines come on the thread of the solve alone, whoever reports; one that is due comes even where
// nothing was reported; numbers are shown whole.
TEST(Log, ProgressIsShownByTheThreadThatSolves) {
    TestProblem p;
    std::vector<std::string> lines;
    ASSERT_EQ(QLXaddcbmessage(p, keep_text, &lines, 0), 0);
    qlx::ProgressLog log(*static_cast<QLXprob>(p));
    log.tick(0.5);
    EXPECT_TRUE(lines.empty());
    log.tick(1.5);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find("before the first iteration"), std::string::npos);
    EXPECT_NE(lines[0].find("1.5"), std::string::npos);
    qlx::KernelProgress progress;
    progress.tree = true;
    progress.nodes = 12;
    progress.best_bound = 123456789.0625;
    progress.best_solution = 123456790.1875;
    std::thread([&] { log.report(progress, 3); }).join();
    EXPECT_EQ(lines.size(), 1U);
    log.tick(3.5);
    ASSERT_EQ(lines.size(), 3U);
    for (const char* text : {"123456789.0625 ", "123456790.1875 ", "9.11e-07%", "3.5"})
        EXPECT_NE(lines[2].find(text), std::string::npos) << lines[2];
    log.report(progress, 3.6);  // not yet due
    EXPECT_EQ(lines.size(), 3U);
    progress.best_solution = kInf;
    log.report(progress, 9);
    ASSERT_EQ(lines.size(), 4U);  // without another head
    EXPECT_NE(lines[3].find("123456789.0625                        -          -"),
              std::string::npos)
        << lines[3];
}

}  // namespace
