// Which loop solves a problem, and from how many first boxes.
#include "engine/nlp/slp/successive_solver.hpp"

#include <algorithm>
#include <cmath>
#include <random>

#include "engine/base/index.hpp"
#include "engine/nlp/slp/dense_equality_phase.hpp"
#include "engine/nlp/slp/dense_first_phase.hpp"
#include "engine/nlp/slp/loop.hpp"
#include "engine/nlp/slp/sparse_equality_phase.hpp"
#include "engine/nlp/slp/sparse_first_phase.hpp"

namespace qlx::nlp {

namespace {

constexpr double kSmallBox = 0.2;
constexpr double kLargeBox = 0.8;
// Problems with no more columns are solved from both boxes where they are not convex.
constexpr std::size_t kFewColumns = 50;
// Starts of further runs after one that ended at a local minimum of the violation.
constexpr double kShifts[] = {0.1, 1.0};

void add_counts(const LocalCounts& from, LocalCounts& to) {
    to.functions += from.functions;
    to.gradients += from.gradients;
    to.hessians += from.hessians;
    to.linear_programs += from.linear_programs;
    to.quadratic_programs += from.quadratic_programs;
}

bool is_better(const LocalAnswer& a, const LocalAnswer& b) {
    if (a.status != LocalStatus::kSolved) return false;
    return b.status != LocalStatus::kSolved || a.objective < b.objective;
}

}  // namespace

// The point moved by random parts of the columns' sizes, away from bounds where it is at them.
std::vector<double> shifted(std::vector<double> x, double share, const LocalBounds& bounds) {
    std::mt19937 random(1);
    std::normal_distribution<double> normal;
    for (std::size_t j = 0; j < x.size(); ++j) {
        const double shift = share * std::max(1.0, std::abs(x[j])) * normal(random);
        const double moved = x[j] + shift;
        const bool is_out = moved < bounds.column_lower[j] || moved > bounds.column_upper[j];
        x[j] = is_out ? x[j] - shift : moved;
    }
    return x;
}

bool has_nonlinear_row(const LocalProblem& problem) {
    const auto rows = static_cast<int>(problem.bounds().row_lower.size());
    for (int i = 0; i < rows; ++i)
        if (!problem.is_linear_row(i)) return true;
    return false;
}

struct SuccessiveSolver::State {
    slp::DenseFirstPhase quadratic;
    slp::DenseEqualityPhase equality;
    slp::DenseEqualityPhase spare;
    slp::Loop dense_loop{quadratic, equality, spare};
    slp::SparseFirstPhase linear;
    slp::SparseEqualityPhase sparse_equality;
    slp::SparseEqualityPhase sparse_spare;
    slp::Loop sparse_loop{linear, sparse_equality, sparse_spare};
    int dense_limit = 0;
    bool was_dense = true;
    LocalWarmStart last;

    LocalAnswer run(LocalProblem& problem, const LocalOptions& options,
                    const slp::LoopStart& start) {
        const LocalBounds& bounds = problem.bounds();
        was_dense = bounds.column_lower.size() + bounds.row_lower.size() <= at(dense_limit);
        return (was_dense ? dense_loop : sparse_loop).run(problem, options, start);
    }
    // Another run, which counts on; its answer replaces one that is worse.
    void run_again(LocalProblem& problem, const LocalOptions& options, slp::LoopStart& start,
                   LocalAnswer& answer) {
        start.iterations = answer.iterations;
        LocalAnswer other = run(problem, options, start);
        add_counts(answer.counts, other.counts);
        if (is_better(other, answer)) {
            answer = std::move(other);
            remember(answer);
            return;
        }
        answer.counts = other.counts;
        answer.iterations = other.iterations;
    }
    void remember(const LocalAnswer& answer) {
        const slp::Loop& loop = was_dense ? dense_loop : sparse_loop;
        last = {};
        last.x = answer.x;
        last.row_dual = answer.row_dual;
        for (const slp::Side side : loop.working_set().rows) last.active_rows.push_back(side.index);
        for (const slp::Side side : loop.working_set().columns)
            last.active_columns.push_back(side.index);
        last.penalty = loop.penalty();
    }
};

SuccessiveSolver::SuccessiveSolver(int dense_limit) : state_(std::make_unique<State>()) {
    state_->dense_limit = dense_limit;
}
SuccessiveSolver::~SuccessiveSolver() = default;

LocalAnswer SuccessiveSolver::solve(LocalProblem& problem, const LocalOptions& options) {
    slp::LoopStart start;
    start.box = kSmallBox;
    LocalAnswer answer = state_->run(problem, options, start);
    state_->remember(answer);
    const bool is_small = state_->was_dense && problem.bounds().column_lower.size() <= kFewColumns;
    if (is_small && state_->quadratic.met_negative_curvature() && !options.stop.stop()) {
        start.box = kLargeBox;
        state_->run_again(problem, options, start, answer);
    }
    // The violation may have a saddle there, or a minimum beside a solution.
    for (const double share : kShifts) {
        if (answer.status != LocalStatus::kInfeasible || !has_nonlinear_row(problem)) break;
        start.x = shifted(answer.x, share, problem.bounds());
        state_->run_again(problem, options, start, answer);
    }
    return answer;
}

LocalAnswer SuccessiveSolver::solve(LocalProblem& problem, const LocalOptions& options,
                                    const LocalWarmStart& warm) {
    slp::LoopStart start;
    start.box = kLargeBox;
    start.x = warm.x;
    start.y = warm.row_dual;
    start.penalty = warm.penalty;
    for (const int row : warm.active_rows) start.working_set.rows.push_back({row, false});
    for (const int column : warm.active_columns)
        start.working_set.columns.push_back({column, false});
    LocalAnswer answer = state_->run(problem, options, start);
    state_->remember(answer);
    return answer;
}

LocalWarmStart SuccessiveSolver::warm_start() const {
    return state_->last;
}

}  // namespace qlx::nlp
