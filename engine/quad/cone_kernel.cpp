// Runs the method for cone programs and judges its answer in the units of the program.
#include "engine/quad/cone_kernel.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "engine/base/index.hpp"

namespace qlx::quad {

namespace {

// Lengths along a cone's axis over 1 or its terms.
constexpr double kNearApex = 1e-5;
// Duals of quadratic rows multiply their gradients to the digits that the cones' duals have.
constexpr int kCenteringSteps = 4;

KernelClaim claim_of(conic::Status status) noexcept {
    switch (status) {
        case conic::Status::kSolved:
            return KernelClaim::kSolved;
        case conic::Status::kInfeasible:
            return KernelClaim::kInfeasible;
        case conic::Status::kUnbounded:
            return KernelClaim::kUnbounded;
        case conic::Status::kIterationLimit:
            return KernelClaim::kIterationLimit;
        case conic::Status::kStopped:
            return KernelClaim::kStopped;
        case conic::Status::kStalled:
            break;
    }
    return KernelClaim::kFailed;
}

// An ellipsoid's quadratic function, or a cone's seminorm minus the length along its axis.
double value_of(const ConvexRow& row, std::span<const double> x) {
    const bool cone = row.shape == RowShape::kCone;
    std::vector<double> local(row.columns.size());
    double linear = 0.0;
    for (std::size_t k = 0; k < local.size(); ++k) {
        local[k] = x[at(row.columns[k])] - (cone ? row.apex[k] : 0.0);
        linear += (cone ? -row.axis[k] : row.linear[k]) * local[k];
    }
    if (!cone) return linear + 0.5 * quadratic_form(row.hessian, local);
    return linear + std::sqrt(std::max(quadratic_form(row.spread, local) + row.offset, 0.0));
}

// Whether the cone's gradient, its axis' length being 1, is lost in its quadratic form.
bool is_near_apex(const ConvexRow& row, std::span<const double> x) {
    double along = 0.0;
    double size = 1.0;
    for (std::size_t k = 0; k < row.columns.size(); ++k) {
        along += row.axis[k] * (x[at(row.columns[k])] - row.apex[k]);
        size = std::max(size, std::abs(row.axis[k] * row.apex[k]));
    }
    return along <= kNearApex * size;
}

}  // namespace

ConeKernel::ConeKernel(const ConeProgram& program, const ConeScaling* units)
    : program_(program),
      units_(units != nullptr ? *units : no_scaling(program)),
      scaled_(units != nullptr ? units->apply(program) : ConeProgram{}),
      posed_(units != nullptr ? scaled_ : program),
      statement_(posed_) {}

void ConeKernel::restate_near(std::span<const double> x) {
    std::vector<double> near(x.begin(), x.end());
    for (std::size_t j = 0; j < near.size(); ++j) near[j] /= units_.column[j];
    statement_ = conic::Statement(posed_, near);
}

// A convex row's dual, and the part of its gradient in the balance of the columns. At a cone's apex
// there is no gradient: what the cone's own dual says holds there.
void ConeKernel::add_row(std::size_t r, std::span<const double> z, Attempt& out) const {
    const ConvexRow& row = program_.rows[r];
    const bool cone = row.shape == RowShape::kCone;
    const double dual = -units_.cone_dual(r, statement_.multiplier(r, z), cone);
    out.rows.push_back({dual, value_of(row, out.x), cone ? 0.0 : row.upper});
    out.row_dual.push_back(cone ? quadratic_dual(row, dual, out.x) : dual);
    if (cone && is_near_apex(row, out.x)) {
        const std::vector<double> normals = statement_.normals(r, z);
        for (const int j : row.columns) {
            out.normals[at(j)] += normals[at(j)] * units_.objective / units_.column[at(j)];
        }
        return;
    }
    std::vector<double> local(row.columns.size());
    for (std::size_t k = 0; k < local.size(); ++k) local[k] = out.x[at(row.columns[k])];
    std::vector<double> gradient = row.linear;
    add_symmetric_product(row.hessian, 1.0, local, gradient);
    for (std::size_t k = 0; k < local.size(); ++k) {
        out.normals[at(row.columns[k])] += out.row_dual.back() * gradient[k];
    }
}

void ConeKernel::evaluate_point(const conic::Answer& answer, Attempt& out) const {
    out.x = answer.x;
    for (std::size_t j = 0; j < out.x.size(); ++j) out.x[j] *= units_.column[j];
    out.y = statement_.row_duals(answer.z);
    for (std::size_t i = 0; i < out.y.size(); ++i) out.y[i] = units_.row_dual(i, out.y[i]);
    out.normals.assign(out.x.size(), 0.0);
    for (std::size_t r = 0; r < program_.rows.size(); ++r) add_row(r, answer.z, out);
    out.evaluation = evaluate(program_.model, out.x, out.y, out.normals);
    add_conditions(out.rows, out.evaluation.objective_size, out.evaluation.residuals);
}

ConicOutcome ConeKernel::run(const conic::Program& posed, const ConicRung& rung, int iterations,
                             const StopRule& rule) const {
    conic::Control control;
    control.tolerance = rung.tolerance;
    control.iteration_limit = std::min(iterations, control.iteration_limit);
    control.equilibrate = rung.equilibrate;
    control.regularization = rung.regularization;
    control.centering_steps = kCenteringSteps;
    control.stop = rule;
    const conic::Answer answer = conic::solve(posed, control);
    ConicOutcome out;
    out.attempt.kernel = Kernel::kConic;
    out.attempt.claim = claim_of(answer.status);
    out.attempt.iterations = answer.iterations;
    if (answer.status == conic::Status::kInfeasible) {
        out.row = statement_.largest_part(answer.z);
    } else if (answer.status == conic::Status::kUnbounded) {
        out.ray = answer.x;
        for (std::size_t j = 0; j < out.ray.size(); ++j) out.ray[j] *= units_.column[j];
    } else if (!answer.x.empty()) {
        evaluate_point(answer, out.attempt);
    }
    return out;
}

ConicOutcome ConeKernel::solve(const ConicRung& rung, int iterations, const StopRule& rule) const {
    return run(statement_.program(), rung, iterations, rule);
}

ConicOutcome ConeKernel::find_point(const ConicRung& rung, int iterations,
                                    const StopRule& rule) const {
    conic::Program posed = statement_.program();
    std::fill(posed.cost.begin(), posed.cost.end(), 0.0);
    posed.hessian = compress(posed.hessian.rows, posed.hessian.columns, {});
    return run(posed, rung, iterations, rule);
}

}  // namespace qlx::quad
