// Runs of HiGHS in any sequence: methods, numbers of threads, forks, and solves left behind.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "engine/lp/lp_kernel.hpp"
#include "engine/lp/quadratic_kernel.hpp"
#include "engine/lp/solver_thread.hpp"
#include "tests/engine/support.hpp"

namespace {

using namespace qlx;
using qlx::test::kInf;
using qlx::test::Random;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Events : KernelEvents {
    double stop_after = 1e9;  // seconds
    bool stop() noexcept override {
        ++looks;
        threads = std::max(threads, threads_now());
        on_caller &= std::this_thread::get_id() == caller;
        return seconds_since(start) >= stop_after;
    }
    void progress(const KernelProgress&) noexcept override { ++reports; }
    void solution(const double* x, int size) noexcept override {
        on_caller &= std::this_thread::get_id() == caller;
        last.assign(x, x + size);
    }
    static int threads_now() {
        const std::filesystem::directory_iterator tasks("/proc/self/task");
        return static_cast<int>(std::distance(tasks, {}));
    }

    const Clock::time_point start = Clock::now();
    const std::thread::id caller = std::this_thread::get_id();
    int looks = 0;
    int reports = 0;
    int threads = 0;
    bool on_caller = true;
    std::vector<double> last;
};

// min sum x_i over x_i + x_(i+1) >= 1: half of the number of rows, or all in a cycle of integers.
KernelModel cycle(int size, bool integer) {
    KernelModel model;
    model.num_cols = model.num_rows = size;
    model.cost.assign(static_cast<std::size_t>(size), 1.0);
    model.lower.assign(static_cast<std::size_t>(size), 0.0);
    model.upper.assign(static_cast<std::size_t>(size), 1.0);
    model.row_lower.assign(static_cast<std::size_t>(size), 1.0);
    model.row_upper.assign(static_cast<std::size_t>(size), kInf);
    model.start.push_back(0);
    for (int col = 0; col < size; ++col) {
        model.row.push_back(col);
        model.row.push_back((col + 1) % size);
        model.value.insert(model.value.end(), {1.0, 1.0});
        model.start.push_back(static_cast<int>(model.row.size()));
    }
    if (integer) model.integer.assign(static_cast<std::size_t>(size), 1);
    return model;
}

// Minimises the sum of (x_i - 1)^2 / 2 with neighbours that pull, sum x = size.
quad::QuadraticModel chain(int size) {
    quad::QuadraticModel model;
    const auto count = static_cast<std::size_t>(size);
    model.column_lower.assign(count, -10.0);
    model.column_upper.assign(count, 10.0);
    model.cost.assign(count, -1.0);
    model.row_lower = model.row_upper = {static_cast<double>(size)};
    std::vector<quad::Triplet> hessian;
    std::vector<quad::Triplet> rows;
    for (int col = 0; col < size; ++col) {
        hessian.push_back({col, col, 3.0});
        if (col > 0) hessian.push_back({col - 1, col, -1.0});
        rows.push_back({0, col, 1.0});
    }
    model.hessian = quad::compress(size, size, hessian);
    model.rows = quad::compress(1, size, rows);
    return model;
}

enum class Kind { kSimplex, kInterior, kTree, kHipo };

struct Step {
    Kind kind;
    int threads;
};

// Empty when the step ended as it should.
std::string fault_of(const Step& step) {
    Events events;
    if (step.kind == Kind::kHipo) {
        const quad::KernelAnswer answer =
            solve_large_quadratic(chain(40), StopRule{}, 100, step.threads);
        return answer.claim == quad::KernelClaim::kSolved ? "" : "HiPO failed";
    }
    LpKernel kernel;
    constexpr int kSize = 201;  // odd, and large enough for several threads
    if (!kernel.load(cycle(kSize, step.kind == Kind::kTree), 1e-12)) return "refused";
    KernelOptions options;
    options.threads = step.threads;
    if (step.kind == Kind::kInterior) options.method = KernelMethod::kInteriorPoint;
    const KernelResult result = kernel.solve(options, events);
    if (result.outcome != KernelOutcome::kOptimal) return "not optimal";
    double sum = 0;
    for (const double value : kernel.col_value()) sum += value;
    const double expected = step.kind == Kind::kTree ? (kSize + 1) / 2 : kSize / 2.0;
    if (std::fabs(sum - expected) > 1e-5) return "wrong objective";
    return events.on_caller ? "" : "called back on another thread";
}

std::string fault_of(const std::vector<Step>& steps) {
    for (std::size_t k = 0; k < steps.size(); ++k)
        if (const std::string fault = fault_of(steps[k]); !fault.empty())
            return fault + " at step " + std::to_string(k);
    return "";
}

// The exit status of a child that does `work`, or minus the signal that ended it: a hang ends by
// alarm.
template <class Work>
int in_child(unsigned seconds, const Work& work) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(seconds);
        work();
        std::_Exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

TEST(HighsSession, RunsInAnySequenceOfMethodsThreadsAndForks) {
    const std::vector<std::pair<std::vector<Step>, std::vector<Step>>> kCases = {
        {{{Kind::kHipo, 2}, {Kind::kSimplex, 3}}, {{Kind::kHipo, 1}}},
        {{{Kind::kInterior, 2}}, {{Kind::kHipo, 2}, {Kind::kSimplex, 1}}},
        {{{Kind::kTree, 4}, {Kind::kHipo, 3}}, {{Kind::kTree, 2}, {Kind::kInterior, 4}}},
        {{{Kind::kSimplex, 1}, {Kind::kTree, 2}}, {{Kind::kHipo, 4}, {Kind::kTree, 2}}},
    };
    for (std::size_t k = 0; k < kCases.size(); ++k) {
        const auto& [before, in_fork] = kCases[k];
        const int status = in_child(60, [&before = before, &in_fork = in_fork] {
            if (!fault_of(before).empty()) std::_Exit(1);
            if (in_child(30, [&] { std::_Exit(fault_of(in_fork).empty() ? 0 : 2); }) != 0)
                std::_Exit(3);
            std::_Exit(fault_of(in_fork).empty() ? 0 : 4);
        });
        EXPECT_EQ(status, 0) << "case " << k;
    }
    Random random(11);
    std::vector<Step> steps;
    for (int k = 0; k < 30; ++k)
        steps.push_back({static_cast<Kind>(random.whole(0, 3)), random.whole(1, 4)});
    EXPECT_EQ(fault_of(steps), "");
}

TEST(HighsSession, HipoTakesTheThreadsItIsGiven) {
    const int idle = Events::threads_now();
    for (const int threads : {1, 3}) {
        int most = 0;
        StopRule rule;
        const auto look = [](void* data) noexcept {
            int& seen = *static_cast<int*>(data);
            seen = std::max(seen, Events::threads_now());
            return 0;
        };
        rule.ask(look, &most);
        const quad::KernelAnswer answer = solve_large_quadratic(chain(20'000), rule, 100, threads);
        EXPECT_EQ(answer.claim, quad::KernelClaim::kSolved);
        EXPECT_EQ(most, idle + threads) << threads;
        EXPECT_EQ(Events::threads_now(), idle);
    }
}

// A job that does not look at its link for a while, as a presolve does not.
struct Deaf {
    std::shared_ptr<SolveLink> link = std::make_shared<SolveLink>();
    std::shared_ptr<std::vector<double>> owned = std::make_shared<std::vector<double>>(1000, 1.0);

    SolveEnd run(Events& events, milliseconds length, double limit = kInf) {
        const auto job = [link = link, owned = std::move(owned), length] {
            link->solution(owned->data(), 3);
            std::this_thread::sleep_for(length);
            link->progress({});
            link->solution(owned->data(), 4);
        };
        return SolveLink::run(link, job, events, limit);
    }
};

TEST(SolveLink, LeavesWhatDoesNotObeyAndWaitsForWhatDoes) {
    struct Case {
        int length;  // milliseconds
        double stop_after, limit;
        bool left, out_of_time;
    };
    for (const Case& c : std::vector<Case>{{1500, 0.1, kInf, true, false},
                                           {1500, 1e9, 0.1, true, true},
                                           {400, 0.1, kInf, false, false},
                                           {300, 1e9, kInf, false, false}}) {
        Deaf deaf;
        const std::weak_ptr<std::vector<double>> watched = deaf.owned;
        Events events;
        events.stop_after = c.stop_after;
        const SolveEnd end = deaf.run(events, milliseconds(c.length), c.limit);
        EXPECT_EQ(end.left_behind, c.left);
        EXPECT_EQ(end.out_of_time, c.out_of_time);
        EXPECT_LT(seconds_since(events.start), 0.95);
        EXPECT_TRUE(events.on_caller);
        EXPECT_EQ(events.last.size(), c.left ? 3U : 4U);
        const int looks = events.looks;
        if (c.left) {
            EXPECT_FALSE(watched.expired());
            std::this_thread::sleep_for(milliseconds(c.length));
        }
        // Nothing was told or asked any more, and what the job held is free.
        EXPECT_TRUE(watched.expired());
        EXPECT_EQ(events.looks, looks);
        EXPECT_EQ(events.last.size(), c.left ? 3U : 4U);
    }
}

TEST(SolveLink, FailuresOfTheJobReachTheCaller) {
    Events events;
    const auto link = std::make_shared<SolveLink>();
    EXPECT_THROW(SolveLink::run(
                     link, [] { throw std::bad_alloc(); }, events, kInf),
                 std::bad_alloc);
}

TEST(SolveLink, ProcessesEndAndForkWithSolvesLeftBehind) {
    const auto leave = [](milliseconds length) {
        Events events;
        events.stop_after = 0;
        if (!Deaf().run(events, length).left_behind) std::_Exit(9);
    };
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(in_child(20,
                       [&] {
                           leave(milliseconds(60'000));
                           std::exit(0);
                       }),
              0);
    EXPECT_LT(seconds_since(start), 1.6);  // patience and exit
    // A child has nothing to wait for, and solves.
    EXPECT_EQ(in_child(20,
                       [&] {
                           leave(milliseconds(60'000));
                           const Clock::time_point forked = Clock::now();
                           const int status = in_child(10, [] {
                               if (!fault_of({Kind::kHipo, 2}).empty()) std::_Exit(1);
                               std::exit(0);
                           });
                           std::_Exit(status == 0 && seconds_since(forked) < 0.45 ? 0 : 1);
                       }),
              0);
}

}  // namespace
