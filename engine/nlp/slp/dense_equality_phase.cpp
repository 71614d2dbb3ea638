// Null-space steps and least-squares multipliers of a working set.
#include "engine/nlp/slp/dense_equality_phase.hpp"

#include <algorithm>
#include <cmath>

namespace qlx::nlp::slp {

namespace {

// Share of the radius that the step onto the rows may take.
constexpr double kRangeShare = 0.8;

}  // namespace

void DenseEqualityPhase::factor(const Linearisation& model, const WorkingSet& set) {
    model_.emplace(model);
    const int n = model.problem.num_columns();
    place_.assign(at(n), 0);
    fixed_step_.setZero(n);
    for (const Side side : set.columns) {
        place_[at(side.index)] = -1;
        fixed_step_[side.index] = model.column_gap(side) / model.scale[side.index];
    }
    free_.clear();
    for (int j = 0; j < n; ++j) {
        if (place_[at(j)] < 0) continue;
        place_[at(j)] = static_cast<int>(free_.size());
        free_.push_back(j);
    }
    const auto size = static_cast<int>(free_.size());
    row_.resize(size);
    work_.resize(size);
    factor_.start(size);
    members_.clear();
    loaded_hessian_ = nullptr;
    for (const Side side : set.rows) add_row(side);
}

// The part of a row on the free columns, scaled.
void DenseEqualityPhase::load_row(int row) {
    row_.setZero();
    const RowStructure& rows = model_->problem.rows;
    for (int k = rows.begin(row); k < rows.end(row); ++k) {
        const int j = rows.column(k);
        if (place_[at(j)] >= 0) row_[place_[at(j)]] = model_->at.jacobian[k] * model_->scale[j];
    }
}

void DenseEqualityPhase::append(Member member) {
    if (factor_.add(row_)) members_.push_back(member);
}

void DenseEqualityPhase::add_row(Side side) {
    load_row(side.index);
    append({side, true});
}

void DenseEqualityPhase::add_column(Side side) {
    if (place_[at(side.index)] < 0) return;
    row_.setZero();
    row_[place_[at(side.index)]] = model_->scale[side.index];
    append({side, false});
}

void DenseEqualityPhase::multipliers(const Vector& gradient, Vector& y) {
    for (std::size_t k = 0; k < free_.size(); ++k) {
        const int j = free_[k];
        work_[static_cast<Eigen::Index>(k)] = gradient[j] * model_->scale[j];
    }
    factor_.rotate(work_);
    factor_.solve(work_);
    y.setZero(model_->problem.num_rows());
    for (int k = 0; k < factor_.rank(); ++k)
        if (members_[at(k)].is_row) y[members_[at(k)].side.index] = work_[k];
}

// The shortest step onto the sides, of all columns and scaled, in product_.
void DenseEqualityPhase::range_step(double radius) {
    work_.setZero();
    for (int k = 0; k < factor_.rank(); ++k) {
        const Member& member = members_[at(k)];
        if (!member.is_row) {
            work_[k] = model_->column_gap(member.side);
            continue;
        }
        work_[k] = model_->row_gap(member.side);
        const RowStructure& rows = model_->problem.rows;
        for (int e = rows.begin(member.side.index); e < rows.end(member.side.index); ++e) {
            const int j = rows.column(e);
            work_[k] -= model_->at.jacobian[e] * model_->scale[j] * fixed_step_[j];
        }
    }
    factor_.solve_transposed(work_);
    factor_.rotate_back(work_);
    product_ = fixed_step_;
    for (std::size_t k = 0; k < free_.size(); ++k)
        product_[free_[k]] = work_[static_cast<Eigen::Index>(k)];
    const double length = product_.norm();
    if (length > kRangeShare * radius) product_ *= kRangeShare * radius / length;
}

// What the factor's rows leave of the Hessian, on the free columns and scaled.
void DenseEqualityPhase::load_hessian(const Vector& hessian) {
    if (loaded_hessian_ == nullptr) {
        const auto size = static_cast<Eigen::Index>(free_.size());
        const int n = model_->problem.num_columns();
        if (hessian_.rows() != size) hessian_.resize(size, size);
        if (size == n) {
            model_->problem.curvature.scatter(hessian, model_->scale, hessian_);
        } else {
            if (all_.rows() != n) all_.resize(n, n);
            model_->problem.curvature.scatter(hessian, model_->scale, all_);
            for (Eigen::Index b = 0; b < size; ++b)
                for (Eigen::Index a = 0; a < size; ++a)
                    hessian_(a, b) = all_(free_[static_cast<std::size_t>(a)],
                                          free_[static_cast<std::size_t>(b)]);
        }
        loaded_hessian_ = hessian.data();
        reduced_rank_ = 0;
    }
    factor_.reduce(hessian_, reduced_rank_);
    reduced_rank_ = factor_.rank();
}

void DenseEqualityPhase::step(const Vector& gradient, const Vector& hessian, double radius,
                              Vector& d) {
    range_step(radius);
    const int rest = factor_.size() - factor_.rank();
    if (rest > 0) {
        load_hessian(hessian);
        const double left = std::sqrt(std::max(radius * radius - product_.squaredNorm(), 0.0));
        scaled_ = product_.cwiseProduct(model_->scale);
        model_->problem.curvature.multiply(hessian, scaled_, back_);
        for (std::size_t k = 0; k < free_.size(); ++k) {
            const int j = free_[k];
            work_[static_cast<Eigen::Index>(k)] = (gradient[j] + back_[j]) * model_->scale[j];
        }
        factor_.rotate(work_);
        work_.head(factor_.rank()).setZero();
        reduced_.solve(hessian_.bottomRightCorner(rest, rest), work_.tail(rest), left);
        factor_.rotate_back(work_);
        for (std::size_t k = 0; k < free_.size(); ++k)
            product_[free_[k]] += work_[static_cast<Eigen::Index>(k)];
    }
    d = product_.cwiseProduct(model_->scale);
}

void DenseEqualityPhase::shortest(const Vector& change, Vector& d) {
    work_.setZero();
    for (int k = 0; k < factor_.rank(); ++k)
        if (members_[at(k)].is_row) work_[k] = change[members_[at(k)].side.index];
    factor_.solve_transposed(work_);
    factor_.rotate_back(work_);
    d.setZero(model_->problem.num_columns());
    for (std::size_t k = 0; k < free_.size(); ++k)
        d[free_[k]] = work_[static_cast<Eigen::Index>(k)] * model_->scale[free_[k]];
}

bool DenseEqualityPhase::is_convex_on_set(const Vector& hessian, double floor) {
    const int rest = factor_.size() - factor_.rank();
    if (rest == 0) return true;
    load_hessian(hessian);
    Matrix shifted = hessian_.bottomRightCorner(rest, rest);
    shifted.diagonal().array() += floor;
    return factor_definite(shifted, 0.0);
}

}  // namespace qlx::nlp::slp
