// The successive solver on problems with known answers, and on problems without one.
#include <gtest/gtest.h>
#include <qlx/codes.h>

#include <atomic>

#include "engine/nlp/slp/successive_solver.hpp"
#include "tests/engine/published_problems.hpp"

namespace qlx::nlp::test {
namespace {

// Both paths: dense algebra, and linear programs with sparse factors.
class SuccessiveSolverPaths : public testing::TestWithParam<int> {
  protected:
    SuccessiveSolver solver{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(DenseLimit, SuccessiveSolverPaths,
                         testing::Values(SuccessiveSolver::kDenseLimit, 0));

TEST_P(SuccessiveSolverPaths, FindPublishedOptimaWithDuals) {
    for (const SmoothModel& model : published_problems()) {
        SCOPED_TRACE(model.name);
        SmoothProblem problem(model);
        LocalOptions options;
        options.tolerance = 1e-8;
        const LocalAnswer answer = solver.solve(problem, options);
        EXPECT_EQ(answer.status, LocalStatus::kSolved) << answer.reason;
        EXPECT_LE(violation_of(problem, answer.x), options.constraint_violation);
        EXPECT_LE(answer.objective, model.optimum + 1e-6 * std::max(1.0, std::abs(model.optimum)));
        double value = 0;
        problem.objective(answer.x, value);
        EXPECT_DOUBLE_EQ(answer.objective, value);
        EXPECT_LE(condition_error(problem, answer), 1e-5);
        EXPECT_LE(answer.iterations, 120);
    }
}

struct EndCase {
    SmoothModel model;
    LocalStatus status;
};

std::vector<EndCase> special_ends() {
    const Function zero = [](Point) { return HyperDual(0); };
    return {
        {{"sum of squares below 0",
          all(2, -kInf),
          all(2, kInf),
          {3, 4},
          zero,
          {{-kInf, [](Point x) { return x[0] * x[0] + x[1] * x[1] + 1; }, 0}}},
         LocalStatus::kInfeasible},
        {{"linear rows that exclude each other",
          all(2, 0),
          all(2, kInf),
          {5, 5},
          [](Point x) { return x[0]; },
          {{-kInf, [](Point x) { return x[0] + x[1]; }, 1},
           {2, [](Point x) { return x[0] + x[1]; }, kInf}}},
         LocalStatus::kInfeasible},
        {{"bounds exclude the circle",
          all(2, 0),
          all(2, 1),
          {0.5, 0.5},
          [](Point x) { return x[0]; },
          {{9, [](Point x) { return x[0] * x[0] + x[1] * x[1]; }, kInf}}},
         LocalStatus::kInfeasible},
        {{"more equations than columns",
          {-kInf},
          {kInf},
          {0},
          zero,
          {{1, [](Point x) { return x[0]; }, 1}, {2, [](Point x) { return x[0]; }, 2}}},
         LocalStatus::kInfeasible},
        {{"linear objective without a bound",
          all(2, -kInf),
          all(2, kInf),
          {0, 0},
          [](Point x) { return x[0] + x[1]; },
          {{-kInf, [](Point x) { return x[0] - x[1]; }, 1}}},
         LocalStatus::kUnbounded},
        {{"concave", all(1, 0), all(1, kInf), {1}, [](Point x) { return -(x[0] * x[0]); }, {}},
         LocalStatus::kUnbounded},
        {{"undefined everywhere",
          all(1, -3),
          all(1, -1),
          {-2},
          [](Point x) { return log(x[0]); },
          {}},
         LocalStatus::kUndefinedValue},
        {{"bounds that cross", all(1, 2), all(1, 1), {0}, zero, {}},
         LocalStatus::kInconsistentBounds},
        {{"nothing to decide",
          {},
          {},
          {},
          [](Point) { return HyperDual(3); },
          {{0, [](Point) { return HyperDual(1); }, 2}}},
         LocalStatus::kSolved},
        {{"nothing to decide, and infeasible",
          {},
          {},
          {},
          zero,
          {{2, [](Point) { return HyperDual(1); }, 2}}},
         LocalStatus::kInfeasible},
        {{"all columns fixed",
          {1, 2},
          {1, 2},
          {7, 7},
          [](Point x) { return x[0] * x[1]; },
          {{3, [](Point x) { return x[0] + x[1]; }, 3}}},
         LocalStatus::kSolved},
        {{"the same equation three times",
          all(2, -kInf),
          all(2, kInf),
          {0, 3},
          [](Point x) { return square(x[0]) + square(x[1]); },
          {{2, [](Point x) { return x[0] + x[1]; }, 2},
           {2, [](Point x) { return x[0] + x[1]; }, 2},
           {4, [](Point x) { return 2 * x[0] + 2 * x[1]; }, 4}}},
         LocalStatus::kSolved},
        {{"free row",
          all(1, -kInf),
          all(1, kInf),
          {5},
          [](Point x) { return square(x[0]); },
          {{-kInf, [](Point x) { return exp(x[0]); }, kInf}}},
         LocalStatus::kSolved},
        {{"undefined start on a bound",
          all(2, 0),
          all(2, 9),
          {0, 0},
          [](Point x) { return x[0] - log(x[0]) + square(sqrt(x[1]) - 1); },
          {}},
         LocalStatus::kSolved},
        {{"start that is no number",
          all(1, 1),
          all(1, 9),
          {std::nan("")},
          [](Point x) { return square(x[0] - 4); },
          {}},
         LocalStatus::kSolved},
        {{"steps beyond the domain",
          {-kInf},
          {kInf},
          {1e-3},
          [](Point x) { return x[0] - log(x[0]); },
          {}},
         LocalStatus::kSolved},
        {{"stationary violation at a bound",
          all(2, 0),
          {10, 1},
          {0, 0},
          [](Point x) { return x[0]; },
          {{3, [](Point x) { return power(x[0], 1.5) + 1.5 * x[1]; }, kInf}}},
         LocalStatus::kSolved},
        {{"gradients of 1e13 at the start",
          {1e-3, 0},
          all(2, 200),
          {1e-3, 0},
          [](Point x) { return square(x[0]) + square(x[1]); },
          {{-12, [](Point x) { return square(x[1]) - power(x[0], -3.5); }, kInf}}},
         LocalStatus::kSolved},
        {{"start at a maximum",
          all(2, -2),
          all(2, 2),
          {0, 0},
          [](Point x) { return power(x[0], 4) - x[0] * x[0] - x[1] * x[1]; },
          {}},
         LocalStatus::kSolved},
    };
}

TEST_P(SuccessiveSolverPaths, SayHowTheyEnd) {
    for (const EndCase& item : special_ends()) {
        SCOPED_TRACE(item.model.name);
        SmoothProblem problem(item.model);
        const LocalAnswer answer = solver.solve(problem, {});
        EXPECT_EQ(answer.status, item.status) << answer.reason;
        EXPECT_FALSE(answer.reason.empty());
        ASSERT_EQ(answer.x.size(), item.model.start.size());
        ASSERT_EQ(answer.row_dual.size(), item.model.rows.size());
        if (item.status != LocalStatus::kSolved) continue;
        EXPECT_LE(violation_of(problem, answer.x), 1e-8);
        EXPECT_LE(condition_error(problem, answer), 1e-6);
    }
}

// Where derivatives are those of a piece, a minimum in a kink is not stationary: the solver may say
// that it is stuck, but not that a point besides the minimum is optimal.
TEST(SuccessiveSolver, EndsInKinksOrSaysThatItStalled) {
    class Kinked final : public SmoothProblem {
      public:
        using SmoothProblem::SmoothProblem;
        bool has_kinks() const override { return true; }
    };
    const std::vector<SmoothModel> models = {
        {"stationary on one side of a kink",
         all(1, -kInf),
         all(1, kInf),
         {0},
         [](Point x) { return x[0].a > 0 ? -x[0] + square(x[0]) : HyperDual(0); },
         {},
         -0.25},
        {"absolute value",
         all(1, -kInf),
         all(1, kInf),
         {3},
         [](Point x) { return abs(x[0] - 1); },
         {},
         0},
        {"beside a slope",
         all(2, -kInf),
         all(2, kInf),
         {3, -2},
         [](Point x) { return abs(x[0] - x[1]) + 0.1 * square(x[0] + x[1] - 1); },
         {},
         0},
        {"in a row",
         all(2, -kInf),
         all(2, kInf),
         {2, 2},
         [](Point x) { return x[1] + 0.1 * square(x[0]); },
         {{0, [](Point x) { return x[1] - abs(x[0]); }, kInf}},
         0}};
    for (const SmoothModel& model : models) {
        SCOPED_TRACE(model.name);
        Kinked problem(model);
        SuccessiveSolver solver;
        const LocalAnswer answer = solver.solve(problem, {});
        EXPECT_LE(violation_of(problem, answer.x), 1e-8);
        EXPECT_NEAR(answer.objective, model.optimum,
                    answer.status == LocalStatus::kSolved ? 1e-7 : 1e-2)
            << answer.reason;
    }
}

TEST_P(SuccessiveSolverPaths, KeepTheBestPointAtAnyIterationLimit) {
    for (const SmoothModel& model : published_problems()) {
        SCOPED_TRACE(model.name);
        SmoothProblem problem(model);
        for (const int limit : {0, 1, 2, 4, 7}) {
            LocalOptions options;
            options.iteration_limit = limit;
            double least = INFINITY;
            options.progress = [&](const LocalProgress& progress) {
                if (progress.infeasibility <= options.constraint_violation)
                    least = std::min(least, progress.objective);
            };
            const LocalAnswer answer = solver.solve(problem, options);
            if (answer.status == LocalStatus::kSolved) continue;
            EXPECT_EQ(answer.status, LocalStatus::kIterationLimit) << answer.reason;
            if (least == INFINITY) continue;
            EXPECT_LE(violation_of(problem, answer.x), options.constraint_violation);
            EXPECT_LE(answer.objective, least);
        }
    }
}

TEST_P(SuccessiveSolverPaths, ObeyTheStopRuleWithinAnIteration) {
    SmoothProblem problem(published_problems().front());
    for (const int after : {0, 3, 6}) {
        std::atomic<int> flag{after == 0 ? QLX_STOP_CTRLC : QLX_STOP_NONE};
        int calls = 0;
        LocalOptions options;
        options.stop.watch(flag);
        options.progress = [&](const LocalProgress&) {
            if (++calls == after) flag = QLX_STOP_CTRLC;
        };
        const LocalAnswer answer = solver.solve(problem, options);
        EXPECT_EQ(answer.status, LocalStatus::kStopped);
        EXPECT_EQ(calls, after);
        EXPECT_EQ(answer.x.size(), 2u);
    }
    LocalOptions options;
    options.stop.end_in(0);
    EXPECT_EQ(solver.solve(problem, options).status, LocalStatus::kTimeLimit);
}

}  // namespace
}  // namespace qlx::nlp::test
