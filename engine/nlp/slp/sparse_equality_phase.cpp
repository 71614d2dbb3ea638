// Projected conjugate gradients, least-squares multipliers and corrections on sparse factors.
#include "engine/nlp/slp/sparse_equality_phase.hpp"

#include <algorithm>
#include <cmath>
#include <random>

namespace qlx::nlp::slp {

namespace {

constexpr double kRangeShare = 0.8;
constexpr int kMostIterations = 300;
constexpr double kAccuracy = 1e-8;
// Curvature along a direction, relative to the Hessian: as good as none, and clearly negative.
constexpr double kFlat = 1e-12;
constexpr double kNearlySemidefinite = 1e-2;
constexpr double kLeastShift = 1e-8;
constexpr double kFirstShift = 1e-4;
constexpr double kShiftGrowth = 8;
constexpr int kMostShifts = 12;

}  // namespace

bool SparseEqualityPhase::bind(const ScaledProblem& problem, const StopRule& stop) {
    shift_ = 0;
    stop_ = &stop;
    preconditioner_is_analysed_ = projection_is_current_ = false;
    return projection_.analyze(problem, false);
}

bool SparseEqualityPhase::analyse_preconditioner() {
    if (preconditioner_is_analysed_) return preconditioner_fits_;
    preconditioner_is_analysed_ = true;
    preconditioner_fits_ =
        preconditioner_.analyze(model_->problem, true) && definiteness_.analyze(model_->problem);
    return preconditioner_fits_;
}

void SparseEqualityPhase::factor(const Linearisation& model, const WorkingSet& set) {
    model_.emplace(model);
    projection_is_current_ = false;
    fixed_.assign(at(model.problem.num_columns()), 0);
    in_set_.assign(at(model.problem.num_rows()), 0);
    fixed_step_.setZero(model.problem.num_columns());
    rows_.clear();
    for (const Side side : set.columns) add_column(side);
    for (const Side side : set.rows) add_row(side);
}

void SparseEqualityPhase::add_row(Side side) {
    projection_is_current_ = false;
    if (in_set_[at(side.index)] != 0) return;
    in_set_[at(side.index)] = 1;
    rows_.push_back(side);
}

void SparseEqualityPhase::add_column(Side side) {
    projection_is_current_ = false;
    fixed_[at(side.index)] = 1;
    fixed_step_[side.index] = model_->column_gap(side) / model_->scale[side.index];
}

void SparseEqualityPhase::update_projection() {
    if (projection_is_current_) return;
    projection_.factor(*model_, nullptr, 1.0, fixed_, in_set_);
    projection_is_current_ = true;
}

void SparseEqualityPhase::drop_fixed(Vector& v) const {
    for (std::size_t j = 0; j < fixed_.size(); ++j)
        if (fixed_[j] != 0) v[static_cast<Eigen::Index>(j)] = 0;
}

void SparseEqualityPhase::multipliers(const Vector& gradient, Vector& y) {
    update_projection();
    work_ = gradient.cwiseProduct(model_->scale);
    drop_fixed(work_);
    y.setZero(model_->problem.num_rows());
    projection_.solve(work_, y);
    for (int i = 0; i < y.size(); ++i)
        if (in_set_[at(i)] == 0) y[i] = 0;
}

void SparseEqualityPhase::shortest(const Vector& change, Vector& d) {
    update_projection();
    d.setZero(model_->problem.num_columns());
    multipliers_.setZero(model_->problem.num_rows());
    for (const Side side : rows_) multipliers_[side.index] = change[side.index];
    projection_.solve(d, multipliers_);
    d.array() *= model_->scale.array();
}

// The shortest step onto the sides, of all columns, in step_. Returns what is left of the radius.
double SparseEqualityPhase::range_step(double radius) {
    update_projection();
    step_.setZero(model_->problem.num_columns());
    multipliers_.setZero(model_->problem.num_rows());
    scaled_ = fixed_step_.cwiseProduct(model_->scale);
    for (const Side side : rows_)
        multipliers_[side.index] =
            model_->row_gap(side) -
            model_->problem.rows.row_product(model_->at.jacobian, side.index, scaled_);
    projection_.solve(step_, multipliers_);
    step_ += fixed_step_;
    const double length = step_.norm();
    if (length > kRangeShare * radius) step_ *= kRangeShare * radius / length;
    return std::sqrt(std::max(radius * radius - step_.squaredNorm(), 0.0));
}

// The product with the Hessian relative to the columns' lengths, on free columns.
void SparseEqualityPhase::multiply(const Vector& hessian, const Vector& scaled, Vector& out) {
    scaled_ = scaled.cwiseProduct(model_->scale);
    model_->problem.curvature.multiply(hessian, scaled_, out);
    out.array() *= model_->scale.array();
    drop_fixed(out);
}

void SparseEqualityPhase::update_preconditioner(const Vector& hessian) {
    hessian_size_ = 1;
    const SymmetricStructure& entries = model_->problem.curvature;
    for (int k = 0; k < entries.entries(); ++k)
        hessian_size_ =
            std::max(hessian_size_, std::abs(hessian[k]) * model_->scale[entries.row(k)] *
                                        model_->scale[entries.column(k)]);
    if (!analyse_preconditioner()) return;
    double shift = kLeastShift;
    for (int k = 0; k < kMostShifts; ++k) {
        if (definiteness_.is_definite(*model_, hessian, shift, fixed_)) break;
        shift = std::max({kShiftGrowth * shift, kFirstShift * hessian_size_,
                          k == 0 ? shift_ / kShiftGrowth : 0.0});
    }
    shift_ = shift > kLeastShift ? shift : 0;
    preconditioner_.factor(*model_, &hessian, shift, fixed_, in_set_);
}

void SparseEqualityPhase::step(const Vector& gradient, const Vector& hessian, double radius,
                               Vector& d) {
    const double left = range_step(radius);
    multiply(hessian, step_, product_);
    residual_ = gradient.cwiseProduct(model_->scale) + product_;
    drop_fixed(residual_);
    update_preconditioner(hessian);
    total_.setZero(step_.size());
    conjugate_gradients(hessian, left);
    d = (step_ + total_).cwiseProduct(model_->scale);
}

// Minimises residual_'u + u'Hu/2 in the null space of the set within |u| <= radius, in total_.
void SparseEqualityPhase::conjugate_gradients(const Vector& hessian, double radius) {
    const auto to_boundary = [&] {
        const double a = direction_.squaredNorm(), b = total_.dot(direction_);
        const double c = radius * radius - total_.squaredNorm();
        return (std::sqrt(std::max(b * b + a * c, 0.0)) - b) / std::max(a, 1e-300);
    };
    const auto precondition = [&] {
        conjugate_ = residual_;
        multipliers_.setZero(model_->problem.num_rows());
        (preconditioner_fits_ ? preconditioner_ : projection_).solve(conjugate_, multipliers_);
        drop_fixed(conjugate_);
        // What the rows' normals take of the residual is rounding waiting to grow.
        work_.setZero(residual_.size());
        model_->problem.rows.add_transposed(model_->at.jacobian, multipliers_, -1.0, work_);
        residual_ += work_.cwiseProduct(model_->scale);
        drop_fixed(residual_);
        return residual_.dot(conjugate_);
    };
    double size = precondition();
    const double first = size;
    direction_ = -conjugate_;
    for (int k = 0; k < kMostIterations && size > kAccuracy * kAccuracy * first && size > 0; ++k) {
        if (stop_->stop()) return;
        multiply(hessian, direction_, product_);
        const double curvature = direction_.dot(product_), squared = direction_.squaredNorm();
        if (curvature <= kFlat * hessian_size_ * squared) {
            // Nearly semidefinite: the shifted Newton step, or what has been reached already.
            const bool is_clear = curvature < -kNearlySemidefinite * hessian_size_ * squared;
            if (is_clear)
                total_ += to_boundary() * direction_;
            else if (k == 0)
                total_ += std::min(1.0, to_boundary()) * direction_;
            return;
        }
        const double length = size / curvature, longest = to_boundary();
        total_ += std::min(length, longest) * direction_;
        if (length >= longest) return;
        residual_ += length * product_;
        const double next = precondition();
        direction_ = (next / size) * direction_ - conjugate_;
        size = next;
    }
}

bool SparseEqualityPhase::is_convex_on_set(const Vector& hessian, double floor) {
    if (analyse_preconditioner() && definiteness_.is_definite(*model_, hessian, floor, fixed_))
        return true;
    // Conjugate gradients from a random slope meet negative curvature where there is some.
    update_projection();
    std::mt19937 random(1);
    std::normal_distribution<double> normal;
    residual_ = Vector::NullaryExpr(static_cast<Eigen::Index>(fixed_.size()),
                                    [&] { return normal(random); });
    const auto project = [&] {
        conjugate_ = residual_;
        drop_fixed(conjugate_);
        multipliers_.setZero(model_->problem.num_rows());
        projection_.solve(conjugate_, multipliers_);
        drop_fixed(conjugate_);
        return conjugate_.squaredNorm();
    };
    double size = project();
    direction_ = -conjugate_;
    const double first = size;
    for (int k = 0; k < kMostIterations && size > 1e-16 * first; ++k) {
        if (stop_->stop()) return true;
        multiply(hessian, direction_, product_);
        product_ += floor * direction_;
        const double curvature = direction_.dot(product_);
        if (curvature <= 0) return false;
        residual_ = conjugate_ + (size / curvature) * product_;
        const double next = project();
        direction_ = (next / size) * direction_ - conjugate_;
        size = next;
    }
    return true;
}

}  // namespace qlx::nlp::slp
