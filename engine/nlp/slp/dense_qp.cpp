// The dual active-set method for elastic quadratic programs.
#include "engine/nlp/slp/dense_qp.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/base/index.hpp"

namespace qlx::nlp::slp {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
// Relative to 1 + |side|.
constexpr double kFeasible = 1e-10;
constexpr double kHolds = 1e-9;
// Squared length of the part of a normal that the active ones do not span, relative to the whole.
constexpr double kDependent = 1e-20;

double magnitude(double side) {
    return 1 + std::abs(side);
}

}  // namespace

void DenseQp::resize(int columns, int rows) {
    columns_ = columns;
    rows_ = rows;
    normals.resize(columns, rows);
    lower.resize(rows + columns);
    upper.resize(rows + columns);
    cap.resize(rows);
    step_.resize(columns);
    multiplier_.resize(rows + columns);
    state_.resize(at(rows + columns));
    active_.reserve(at(columns));
    transformed_.resize(columns);
    rates_.resize(columns);
    direction_.resize(columns);
}

double DenseQp::activity(int constraint) const {
    return constraint < rows_ ? normals.col(constraint).dot(step_) : step_[constraint - rows_];
}

double DenseQp::cap_of(int constraint) const {
    return constraint < rows_ ? cap[constraint] : kInfinity;
}

// How the multiplier of a constraint would have to move, and how far the constraint is off,
// relative to its side; 0 where nothing has to move.
DenseQp::Entering DenseQp::entering(int constraint, double& violation) const {
    const double low = lower[constraint], high = upper[constraint];
    const bool is_equation = low == high;
    const double limit = cap_of(constraint), value = activity(constraint);
    const auto off = [&](double gap, double side) {
        violation = gap > kFeasible * magnitude(side) ? gap / magnitude(side) : 0;
    };
    violation = 0;
    switch (state(constraint)) {
        case kInactive:
            if (value < low) {
                off(low - value, low);
                return {constraint, 1, low, limit};
            }
            if (value > high) {
                off(value - high, high);
                return {constraint, -1, high, -limit};
            }
            return {};
        case kBelow:
            off(value - low, low);
            return {constraint, -1, low, is_equation ? -limit : 0};
        case kAbove:
            off(high - value, high);
            return {constraint, 1, high, is_equation ? limit : 0};
        default:
            return {};
    }
}

// Equations come first, as they would enter in any case.
DenseQp::Entering DenseQp::most_violated() const {
    Entering chosen;
    double worst = 0;
    bool has_equation = false;
    for (int i = 0; i < rows_ + columns_; ++i) {
        double violation = 0;
        const Entering in = entering(i, violation);
        if (violation == 0) continue;
        const bool is_equation = lower[i] == upper[i] && state(i) == kInactive;
        if (is_equation == has_equation ? violation > worst : is_equation) {
            worst = violation;
            chosen = in;
            has_equation = is_equation;
        }
    }
    return chosen;
}

void DenseQp::transform(int constraint) {
    if (constraint < rows_)
        factor_.transform(normals.col(constraint), transformed_);
    else
        factor_.transform_unit(constraint - rows_, transformed_);
}

void DenseQp::drop(int position) {
    const int constraint = active_[at(position)];
    const double limit = cap_of(constraint);
    double& y = multiplier_[constraint];
    if (std::isfinite(limit) && std::abs(y) > limit / 2) {
        state_[at(constraint)] = y > 0 ? kBelow : kAbove;
        y = y > 0 ? limit : -limit;
    } else {
        state_[at(constraint)] = kInactive;
        y = 0;
    }
    factor_.remove(position);
    if (has_redundant_) std::replace(state_.begin(), state_.end(), kRedundant, kInactive);
    has_redundant_ = false;
    active_.erase(active_.begin() + position);
}

// The multiplier of the entering constraint has come to its limit.
DenseQp::Move DenseQp::settle(const Entering& in) {
    multiplier_[in.constraint] = in.limit;
    state_[at(in.constraint)] = in.limit == 0 ? kInactive : in.limit > 0 ? kBelow : kAbove;
    return Move::kSettled;
}

DenseQp::Move DenseQp::move(const Entering& in) {
    transform(in.constraint);
    const int q = factor_.count();
    const Eigen::Index tail = columns_ - q;
    const double slope = transformed_.tail(tail).squaredNorm();
    const bool depends = slope <= kDependent * transformed_.squaredNorm() || tail == 0;
    const double gap = std::abs(activity(in.constraint) - in.target);
    if (depends && gap <= kHolds * magnitude(in.target) && state(in.constraint) == kInactive &&
        multiplier_[in.constraint] == 0) {
        state_[at(in.constraint)] = kRedundant;
        has_redundant_ = true;
        return Move::kSettled;
    }
    rates_.head(q) = transformed_.head(q);
    factor_.solve(rates_);
    double length = std::abs(in.limit - multiplier_[in.constraint]);
    int leaving = -1;
    for (int k = 0; k < q; ++k) {
        const double rate = -in.sign * rates_[k];
        if (std::abs(rate) <= 1e-14) continue;
        const int i = active_[at(k)];
        const double y = multiplier_[i], limit = cap_of(i);
        const bool both = lower[i] == upper[i];
        const double end = rate > 0 ? (both || state(i) == kAtLower ? limit : 0)
                                    : (both || state(i) == kAtUpper ? -limit : 0);
        const double room = std::max((end - y) / rate, 0.0);
        if (room < length) {
            length = room;
            leaving = k;
        }
    }
    const double full = depends ? kInfinity : gap / slope;
    const bool enters = full <= length;
    length = std::min(length, full);
    if (length == kInfinity) return Move::kBlocked;
    if (!depends) {
        direction_.noalias() = factor_.inverse().rightCols(tail) * transformed_.tail(tail);
        step_ += (in.sign * length) * direction_;
    }
    for (int k = 0; k < q; ++k) multiplier_[active_[at(k)]] -= in.sign * length * rates_[k];
    multiplier_[in.constraint] += in.sign * length;
    if (enters) {
        factor_.add(transformed_);
        state_[at(in.constraint)] = in.target == lower[in.constraint] ? kAtLower : kAtUpper;
        active_.push_back(in.constraint);
        return Move::kEntered;
    }
    if (leaving < 0) return settle(in);
    drop(leaving);
    return Move::kDropped;
}

// Moves the step back onto the active sides, off which rounding has taken it. False where it was
// on them.
bool DenseQp::refine() {
    const int q = factor_.count();
    bool is_off = false;
    for (int k = 0; k < q; ++k) {
        const int i = active_[at(k)];
        const double side = state(i) == kAtLower ? lower[i] : upper[i];
        rates_[k] = side - activity(i);
        is_off = is_off || std::abs(rates_[k]) > 1e-3 * kFeasible * magnitude(side);
    }
    if (!is_off) return false;
    factor_.solve_transposed(rates_);
    step_.noalias() += factor_.inverse().leftCols(q) * rates_.head(q);
    return true;
}

DenseQp::End DenseQp::solve(const Matrix& factor, const Vector& gradient) {
    factor_.start(factor);
    active_.clear();
    std::fill(state_.begin(), state_.end(), kInactive);
    multiplier_.setZero();
    has_redundant_ = false;
    transformed_.noalias() = factor_.inverse().transpose() * gradient;
    step_.noalias() = -(factor_.inverse() * transformed_);
    int refinements = 0;
    for (int moves = 0, limit = 20 * (rows_ + columns_ + 10); moves < limit; ++moves) {
        const Entering in = most_violated();
        if (in.constraint < 0) {
            if (++refinements > 2 || !refine()) return End::kOptimal;
            continue;
        }
        Move last = Move::kDropped;
        while (last == Move::kDropped && ++moves < limit) last = move(in);
        if (last == Move::kBlocked) return End::kInfeasible;
    }
    return End::kLimit;
}

}  // namespace qlx::nlp::slp
