// Cauchy points, equality-constrained steps and the sides that block them.
#include "engine/nlp/slp/trial_step.hpp"

#include <algorithm>
#include <cmath>

namespace qlx::nlp::slp {

namespace {

constexpr int kMoreSteps = 5;
constexpr double kBoundRounding = 1e-14;
constexpr double kRowRounding = 1e-12;

}  // namespace

// The first bound on the way from the Cauchy point to the Newton point.
void TrialStepFinder::find_column_block(const Linearisation& model, Block& block) const {
    for (int j = 0; j < model.problem.num_columns(); ++j) {
        const double low = model.problem.lower[j] - model.at.x[j];
        const double high = model.problem.upper[j] - model.at.x[j];
        double share = 1;
        bool upper = false;
        if (way_[j] < 0 && newton_[j] < low - kBoundRounding) {
            share = (low - cauchy_[j]) / way_[j];
        } else if (way_[j] > 0 && newton_[j] > high + kBoundRounding) {
            share = (high - cauchy_[j]) / way_[j];
            upper = true;
        } else {
            continue;
        }
        if (share < block.share) {
            block.share = std::max(share, 0.0);
            block.side = {j, upper};
            block.is_row = false;
        }
    }
    block.column_share = block.share;
}

// The first side of a row on the way, or a violated row that turns feasible: the penalty has a kink
// there.
void TrialStepFinder::find_row_block(const Linearisation& model, const ViolatedRows& violated,
                                     Block& block) const {
    const ScaledProblem& problem = model.problem;
    for (int i = 0; i < problem.num_rows(); ++i) {
        if (in_set_[at(i)] != 0) continue;
        const double from = rows_at_cauchy_[i], change = row_way_[i];
        const double low = problem.row_lower[i], high = problem.row_upper[i];
        double share = 1;
        bool upper = false;
        if (violated[at(i)] != 0) {
            if (std::abs(change) <= kBoundRounding) continue;
            upper = violated[at(i)] < 0;
            share = ((upper ? high : low) - from) / change;
            if (share < 0) continue;
        } else if (change < 0 && from + change < low - kRowRounding && from >= low - kRowRounding) {
            share = (low - from) / change;
        } else if (change > 0 && from + change > high + kRowRounding &&
                   from <= high + kRowRounding) {
            share = (high - from) / change;
            upper = true;
        } else {
            continue;
        }
        if (share < block.share) {
            block.share = std::max(share, 0.0);
            block.side = {i, upper};
            block.is_row = true;
        }
    }
}

// Takes the point at this share of the way where the model is least there so far.
void TrialStepFinder::consider(const Linearisation& model, const PenaltyModel& value, double share,
                               TrialStep& out) {
    candidate_ = cauchy_ + share * way_;
    candidate_ = candidate_.cwiseMax(model.problem.lower - model.at.x)
                     .cwiseMin(model.problem.upper - model.at.x);
    const double at_candidate = value.value(candidate_);
    if (!(at_candidate < best_ - 1e-14 * std::abs(best_))) return;
    best_ = at_candidate;
    out.d.swap(candidate_);
}

void TrialStepFinder::find(const Linearisation& model, const Vector& hessian, double penalty,
                           const FirstStep& first, const ViolatedRows& violated, double radius,
                           EqualityPhase& phase, WorkingSet& set, TrialStep& out) {
    const ScaledProblem& problem = model.problem;
    const PenaltyModel value(model, hessian, penalty, scratch_columns_, scratch_rows_);
    const PenaltyModel::Shortened cauchy = value.shorten(first.d);
    cauchy_ = cauchy.factor * first.d;
    out.cauchy_factor = cauchy.factor;
    out.cauchy_length = (cauchy_.array() / model.scale.array()).matrix().lpNorm<Eigen::Infinity>();
    out.d = cauchy_;
    best_ = cauchy.value;
    violated_duals_.setZero(problem.num_rows());
    in_set_.assign(at(problem.num_rows()), 0);
    for (const Side side : set.rows) in_set_[at(side.index)] = 1;
    for (int i = 0; i < problem.num_rows(); ++i) violated_duals_[i] = penalty * violated[at(i)];
    problem.rows.multiply(model.at.jacobian, cauchy_, rows_at_cauchy_);
    rows_at_cauchy_ += model.at.rows;
    for (int round = 0; round <= kMoreSteps; ++round) {
        gradient_ = model.gradient;
        problem.rows.add_transposed(model.at.jacobian, violated_duals_, -1.0, gradient_);
        phase.step(gradient_, hessian, radius, newton_);
        way_ = newton_ - cauchy_;
        problem.rows.multiply(model.at.jacobian, way_, row_way_);
        Block block;
        find_column_block(model, block);
        find_row_block(model, violated, block);
        consider(model, value, block.share, out);
        if (block.column_share > block.share) consider(model, value, block.column_share, out);
        if (block.column_share < 1) consider(model, value, 1.0, out);
        if (block.side.index < 0) break;
        if (block.is_row) {
            set.rows.push_back(block.side);
            in_set_[at(block.side.index)] = 1;
            violated_duals_[block.side.index] = 0;
            phase.add_row(block.side);
        } else {
            set.columns.push_back(block.side);
            phase.add_column(block.side);
        }
    }
    out.decrease = -best_;
    candidate_ = out.d.array() / model.scale.array();
    out.length = candidate_.norm();
    out.longest_entry = candidate_.lpNorm<Eigen::Infinity>();
}

}  // namespace qlx::nlp::slp
