// Quadratic programs of the small path, and how they steer the penalty.
#include "engine/nlp/slp/dense_first_phase.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/nlp/slp/penalty.hpp"

namespace qlx::nlp::slp {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
// Violation at which a linear row counts as satisfied.
constexpr double kHolds = 1e-9;
// The least violation is the limit of |d|^2/2 + weight * violation: exact beyond some weight.
constexpr double kViolationWeight = 1e6;

}  // namespace

void DenseFirstPhase::bind(const ScaledProblem& problem) {
    const int n = problem.num_columns();
    qp_.resize(n, problem.num_rows());
    if (identity_.rows() != n) {
        hessian_.resize(n, n);
        identity_.setIdentity(n, n);
        zero_.setZero(n);
    }
    met_negative_curvature_ = false;
}

void DenseFirstPhase::load_model(const Linearisation& model, const FirstStepRequest& request,
                                 const WorkingSet& last) {
    const ScaledProblem& problem = model.problem;
    qp_.normals.setZero();
    for (int i = 0; i < problem.num_rows(); ++i)
        for (int k = problem.rows.begin(i); k < problem.rows.end(i); ++k) {
            const int j = problem.rows.column(k);
            qp_.normals(j, i) = model.at.jacobian[k] * model.scale[j];
        }
    qp_.lower.head(problem.num_rows()) = problem.row_lower - model.at.rows;
    qp_.upper.head(problem.num_rows()) = problem.row_upper - model.at.rows;
    gradient_ = model.gradient.cwiseProduct(model.scale);
    problem.curvature.scatter(request.hessian, model.scale, hessian_);
    set_normals_.setZero(problem.num_columns(),
                         static_cast<Eigen::Index>(last.rows.size() + last.columns.size()));
    Eigen::Index k = 0;
    for (const Side side : last.rows) set_normals_.col(k++) = qp_.normals.col(side.index);
    for (const Side side : last.columns) set_normals_(side.index, k++) = model.scale[side.index];
    if (!convexified_.compute(hessian_, set_normals_)) met_negative_curvature_ = true;
}

void DenseFirstPhase::load_box(const Linearisation& model, double box) {
    const int m = model.problem.num_rows();
    for (int j = 0; j < model.problem.num_columns(); ++j) {
        const double low = (model.problem.lower[j] - model.at.x[j]) / model.scale[j];
        const double high = (model.problem.upper[j] - model.at.x[j]) / model.scale[j];
        qp_.lower[m + j] = std::max(low, -box);
        qp_.upper[m + j] = std::min(high, box);
    }
}

void DenseFirstPhase::set_caps(const Linearisation& model, double cap, bool linear_rows_hold) {
    for (int i = 0; i < model.problem.num_rows(); ++i) {
        const double missed = std::max(qp_.lower[i], -qp_.upper[i]);
        qp_.cap[i] = linear_rows_hold && model.problem.is_linear[at(i)] != 0 && missed <= kHolds
                         ? kInfinity
                         : cap;
    }
}

bool DenseFirstPhase::solve(const Matrix& factor, const Vector& gradient, LocalCounts& counts) {
    ++counts.quadratic_programs;
    return qp_.solve(factor, gradient) == DenseQp::End::kOptimal;
}

bool DenseFirstPhase::solve_elastic(const Linearisation& model, double cap, const Matrix& factor,
                                    const Vector& gradient, LocalCounts& counts) {
    for (const bool linear_rows_hold : {true, false}) {
        set_caps(model, cap, linear_rows_hold);
        if (solve(factor, gradient, counts)) return true;
    }
    return false;
}

double DenseFirstPhase::residue() const {
    double sum = 0;
    for (int i = 0; i < qp_.num_rows(); ++i) {
        if (qp_.state(i) != DenseQp::kBelow && qp_.state(i) != DenseQp::kAbove) continue;
        const double value = qp_.normals.col(i).dot(qp_.step());
        sum += std::max({qp_.lower[i] - value, value - qp_.upper[i], 0.0});
    }
    return sum;
}

double DenseFirstPhase::least_residue(const Linearisation& model, double box, LocalCounts& counts) {
    const double cap = kViolationWeight * std::max(box, 1e-3);
    return solve_elastic(model, cap, identity_, zero_, counts) ? residue() : kInfinity;
}

void DenseFirstPhase::read(const Linearisation& model, FirstStep& step) const {
    const int m = qp_.num_rows(), n = qp_.num_columns();
    step.d = qp_.step().cwiseProduct(model.scale);
    step.d = step.d.cwiseMax(model.problem.lower - model.at.x)
                 .cwiseMin(model.problem.upper - model.at.x);
    step.y = qp_.multipliers().head(m);
    step.row_is_active.resize(at(m));
    step.column_is_active.resize(at(n));
    const auto is_active = [&](int constraint) {
        return qp_.state(constraint) == DenseQp::kAtLower ||
               qp_.state(constraint) == DenseQp::kAtUpper;
    };
    for (int i = 0; i < m; ++i) step.row_is_active[at(i)] = is_active(i) ? 1 : 0;
    for (int j = 0; j < n; ++j) step.column_is_active[at(j)] = is_active(m + j) ? 1 : 0;
}

bool DenseFirstPhase::first_step(const Linearisation& model, const FirstStepRequest& request,
                                 const WorkingSet& last, double& penalty, FirstStep& step,
                                 LocalCounts& counts) {
    load_model(model, request, last);
    load_box(model, request.box);
    step.residue = 0;
    step.least_residue = std::nan("");
    if (!request.restores) {
        qp_.cap.setConstant(kInfinity);
        if (solve(convexified_.factor(), gradient_, counts)) {
            read(model, step);
            return true;
        }
    }
    step.least_residue = least_residue(model, request.box, counts);
    const auto again = [&](double cap) {
        const bool done = solve_elastic(model, cap, convexified_.factor(), gradient_, counts);
        return done ? residue() : 0.0;
    };
    if (!solve_elastic(model, request.penalty, convexified_.factor(), gradient_, counts))
        return false;
    step.residue = residue();
    if (!request.restores) {
        penalty = steer_penalty(request.penalty, request.penalty_max, model.at.violation,
                                step.residue, step.least_residue, again);
        step.residue = residue();
    }
    read(model, step);
    return true;
}

}  // namespace qlx::nlp::slp
