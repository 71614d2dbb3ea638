// Which loop solves a problem, and from how many first boxes.
#include "engine/nlp/slp/successive_solver.hpp"

#include <algorithm>

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
    if (problem.bounds().column_lower.size() > kFewColumns || !state_->was_dense ||
        !state_->quadratic.met_negative_curvature() || options.stop.stop())
        return answer;
    start.box = kLargeBox;
    start.iterations = answer.iterations;
    LocalAnswer other = state_->run(problem, options, start);
    LocalCounts counts = answer.counts;
    add_counts(other.counts, counts);
    const int iterations = other.iterations;
    if (is_better(other, answer)) {
        answer = std::move(other);
        state_->remember(answer);
    }
    answer.counts = counts;
    answer.iterations = iterations;
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
