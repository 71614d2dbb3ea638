// The successive solver on large problems, and on problems that change little.
#include <gtest/gtest.h>

#include <chrono>

#include "engine/base/index.hpp"
#include "engine/nlp/slp/successive_solver.hpp"
#include "tests/engine/published_problems.hpp"

namespace qlx::nlp::test {
namespace {

// A sum of squares that ties neighbours together, under rows that do so too: n columns, n - 1 rows.
// The solution is all ones.
class Chain final : public LocalProblem {
  public:
    explicit Chain(int n) : n_(n) {
        bounds_.column_lower = all(at(n), -10);
        bounds_.column_upper = all(at(n), 10);
        bounds_.row_lower = all(at(n - 1), 2);
        bounds_.row_upper = all(at(n - 1), 2);
        for (int i = 0; i + 1 < n; ++i)
            for (const int j : {i, i + 1}) {
                jacobian_.rows.push_back(i);
                jacobian_.columns.push_back(j);
            }
        for (int j = 0; j < n; ++j) {
            hessian_.rows.push_back(j);
            hessian_.columns.push_back(j);
        }
    }
    const LocalBounds& bounds() const override { return bounds_; }
    const SparsePattern& jacobian_pattern() const override { return jacobian_; }
    const SparsePattern& hessian_pattern() const override { return hessian_; }
    std::vector<double> start() const override { return all(at(n_), 3); }
    bool objective(std::span<const double> x, double& value) override {
        value = 0;
        for (const double v : x) value += power4(v - 1) + (v - 1) * (v - 1);
        return true;
    }
    bool gradient(std::span<const double> x, std::span<double> out) override {
        for (std::size_t j = 0; j < x.size(); ++j)
            out[j] = 4 * (x[j] - 1) * (x[j] - 1) * (x[j] - 1) + 2 * (x[j] - 1);
        return true;
    }
    bool rows(std::span<const double> x, std::span<double> out) override {
        for (std::size_t i = 0; i < out.size(); ++i) out[i] = x[i] * x[i] + x[i + 1] * x[i + 1];
        return true;
    }
    bool jacobian(std::span<const double> x, std::span<double> out) override {
        for (std::size_t i = 0; i + 1 < x.size(); ++i) {
            out[2 * i] = 2 * x[i];
            out[2 * i + 1] = 2 * x[i + 1];
        }
        return true;
    }
    bool hessian(std::span<const double> x, double factor, std::span<const double> multipliers,
                 std::span<double> out) override {
        for (std::size_t j = 0; j < x.size(); ++j) {
            out[j] = factor * (12 * (x[j] - 1) * (x[j] - 1) + 2);
            if (j > 0) out[j] += 2 * multipliers[j - 1];
            if (j + 1 < x.size()) out[j] += 2 * multipliers[j];
        }
        return true;
    }

  private:
    static double power4(double v) { return v * v * v * v; }
    int n_;
    LocalBounds bounds_;
    SparsePattern jacobian_, hessian_;
};

TEST(SuccessiveSolver, SolvesLargeProblemsAndCanBeInterruptedThere) {
    Chain small(30), large(400), huge(20000);
    for (Chain* problem : {&small, &large}) {
        const LocalAnswer answer = SuccessiveSolver().solve(*problem, {});
        EXPECT_EQ(answer.status, LocalStatus::kSolved) << answer.reason;
        EXPECT_NEAR(answer.objective, 0, 1e-12);
        for (const double x : answer.x) EXPECT_NEAR(x, 1, 1e-6);
    }
    LocalOptions options;
    options.stop.end_in(0.2);
    const auto begin = std::chrono::steady_clock::now();
    const LocalAnswer answer = SuccessiveSolver().solve(huge, options);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    EXPECT_TRUE(answer.status == LocalStatus::kSolved || answer.status == LocalStatus::kTimeLimit)
        << answer.reason;
    EXPECT_LE(taken.count(), 2);
}

TEST(SuccessiveSolver, WarmStartsAfterChangedBounds) {
    SmoothModel model = published_problems()[6];
    SuccessiveSolver solver;
    SmoothProblem problem(model);
    solver.solve(problem, {});
    const LocalWarmStart warm = solver.warm_start();
    for (const double bound : {1.0, 1.1, 1.3}) {
        model.lower[0] = bound;
        SmoothProblem changed(model);
        const LocalAnswer cold = SuccessiveSolver().solve(changed, {});
        const LocalAnswer again = solver.solve(changed, {}, warm);
        EXPECT_EQ(again.status, LocalStatus::kSolved) << again.reason;
        EXPECT_NEAR(again.objective, cold.objective, 1e-7 * std::abs(cold.objective));
        EXPECT_LE(again.iterations, cold.iterations);
    }
}

}  // namespace
}  // namespace qlx::nlp::test
