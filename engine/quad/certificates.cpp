// Proofs of infeasibility and unboundedness by auxiliary programs.
#include "engine/quad/certificates.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/base/index.hpp"
#include "engine/quad/polish.hpp"
#include "engine/quad/residuals.hpp"

namespace qlx::quad {

namespace {

constexpr double kProofMargin = 1e-8;   // of the size of the terms summed
constexpr double kZeroGradient = 1e-9;  // of the size of the terms summed
constexpr double kRayTolerance = 1e-7;  // of a direction of length 1, rows scaled to 1

// Kernels end at a gap of about 1e-8, so squares of weight 1 leave violations of 1e-4 and heavier
// ones less; large violations are proven best with the light ones.
constexpr double kViolationWeights[] = {1.0, 1e6, 1e10};

constexpr int kPolishRounds = 3;

std::vector<double> row_sizes(const SparseColumns& rows) {
    std::vector<double> size(at(rows.rows), 0.0);
    for (std::size_t k = 0; k < rows.value.size(); ++k) {
        double& s = size[at(rows.index[k])];
        s = std::max(s, std::abs(rows.value[k]));
    }
    for (double& s : size) s = s > 0.0 ? s : 1.0;
    return size;
}

// Whether y'Ax cannot reach the least value that the rows' sides ask of it.
bool proves_infeasible(const QuadraticModel& model, std::span<const double> y) {
    double demanded = 0.0;
    double size = 0.0;
    for (std::size_t i = 0; i < y.size(); ++i) {
        if (y[i] == 0.0) continue;
        const double side = y[i] > 0.0 ? model.row_lower[i] : model.row_upper[i];
        demanded += y[i] * side;
        size += std::abs(y[i] * side);
    }
    double reachable = 0.0;
    for (std::size_t j = 0; j < model.cost.size(); ++j) {
        double gradient = 0.0;
        double terms = 0.0;
        for (int k = model.rows.start[j]; k < model.rows.start[j + 1]; ++k) {
            const double term = model.rows.value[at(k)] * y[at(model.rows.index[at(k)])];
            gradient += term;
            terms += std::abs(term);
        }
        if (gradient == 0.0) continue;
        const double bound = gradient > 0.0 ? model.column_upper[j] : model.column_lower[j];
        if (!is_finite_lower(bound) || !is_finite_upper(bound)) {
            if (std::abs(gradient) > kZeroGradient * terms) return false;
            continue;
        }
        reachable += gradient * bound;
        size += std::abs(gradient * bound);
    }
    return demanded - reachable > kProofMargin * size && demanded > reachable;
}

QuadraticModel least_violation(const QuadraticModel& model, std::span<const double> size,
                               double weight) {
    QuadraticModel phase = model;
    const int columns = model.column_count();
    const int rows = model.row_count();
    phase.cost.assign(at(columns + rows), 0.0);
    phase.constant = 0.0;
    phase.hessian = SparseColumns{};
    phase.hessian.rows = phase.hessian.columns = phase.rows.columns = columns + rows;
    phase.hessian.start.assign(at(columns) + 1, 0);
    for (int i = 0; i < rows; ++i) {
        phase.column_lower.push_back(-kInfiniteBound);
        phase.column_upper.push_back(kInfiniteBound);
        phase.hessian.index.push_back(columns + i);
        phase.hessian.value.push_back(weight);
        phase.hessian.start.push_back(i + 1);
        phase.rows.index.push_back(i);
        phase.rows.value.push_back(size[at(i)]);
        phase.rows.start.push_back(static_cast<int>(phase.rows.index.size()));
    }
    return phase;
}

// Clears the sides that a dual must not have, so that the proof is not spoilt by rounding.
void clean_duals(const QuadraticModel& model, std::vector<double>& y) {
    double largest = 0.0;
    for (double v : y) largest = std::max(largest, std::abs(v));
    for (std::size_t i = 0; i < y.size(); ++i) {
        const bool admitted =
            y[i] > 0.0 ? is_finite_lower(model.row_lower[i]) : is_finite_upper(model.row_upper[i]);
        if (!admitted || std::abs(y[i]) < 1e-9 * largest) y[i] = 0.0;
    }
}

QuadraticModel ray_model(const QuadraticModel& model) {
    QuadraticModel out;
    const int columns = model.column_count();
    const int rows = model.row_count();
    const std::vector<double> size = row_sizes(model.rows);
    double cost_size = 0.0;
    for (double c : model.cost) cost_size = std::max(cost_size, std::abs(c));
    for (int j = 0; j < columns; ++j) {
        out.cost.push_back(model.cost[at(j)] / cost_size);
        out.column_lower.push_back(is_finite_lower(model.column_lower[at(j)]) ? 0.0 : -1.0);
        out.column_upper.push_back(is_finite_upper(model.column_upper[at(j)]) ? 0.0 : 1.0);
    }
    for (int i = 0; i < rows; ++i) {
        out.row_lower.push_back(is_finite_lower(model.row_lower[at(i)]) ? 0.0 : -kInfiniteBound);
        out.row_upper.push_back(is_finite_upper(model.row_upper[at(i)]) ? 0.0 : kInfiniteBound);
    }
    std::vector<Triplet> entries;
    for (int j = 0; j < columns; ++j) {
        for (int k = model.rows.start[at(j)]; k < model.rows.start[at(j) + 1]; ++k) {
            const int i = model.rows.index[at(k)];
            entries.push_back({i, j, model.rows.value[at(k)] / size[at(i)]});
        }
    }
    // Rows Qd = 0, scaled by the root of the diagonal.
    const std::vector<double> diagonal = diagonal_of(model.hessian);
    std::vector<int> place(at(columns), -1);
    int count = rows;
    for (int j = 0; j < columns; ++j) {
        if (!(diagonal[at(j)] > 0.0)) continue;
        place[at(j)] = count++;
        out.row_lower.push_back(0.0);
        out.row_upper.push_back(0.0);
    }
    for (int j = 0; j < columns; ++j) {
        for (int k = model.hessian.start[at(j)]; k < model.hessian.start[at(j) + 1]; ++k) {
            const int i = model.hessian.index[at(k)];
            if (place[at(i)] < 0 || place[at(j)] < 0) continue;
            const double scaled = model.hessian.value[at(k)];
            entries.push_back({place[at(i)], j, scaled / diagonal[at(i)]});
            if (i != j) entries.push_back({place[at(j)], i, scaled / diagonal[at(j)]});
        }
    }
    out.rows = compress(count, columns, entries);
    out.hessian.rows = out.hessian.columns = columns;
    out.hessian.start.assign(at(columns) + 1, 0);
    return out;
}

// Proofs are by evaluation, so the auxiliary optima have to be sharp. Empty where there is none.
PolishedPoint sharp_optimum(const QuadraticModel& model, const QuadraticKernel& kernel,
                            const ConvexControl& control) {
    KernelAnswer answer = kernel(model, control.stop, control.iteration_limit);
    if (answer.x.size() != model.cost.size() || answer.y.size() != model.row_lower.size())
        return {};
    Evaluation evaluation = evaluate(model, answer.x, answer.y);
    PolishedPoint point{std::move(answer.x), std::move(answer.y), std::move(evaluation)};
    for (int round = 0; round < kPolishRounds; ++round) {
        if (!polish(model, control.work_limit, point)) break;
    }
    return point;
}

Feasibility look_for_feasibility(const QuadraticModel& model, double weight,
                                 const QuadraticKernel& kernel, const ConvexControl& control) {
    Feasibility finding;
    const std::vector<double> size = row_sizes(model.rows);
    const PolishedPoint answer =
        sharp_optimum(least_violation(model, size, weight), kernel, control);
    if (answer.x.empty()) return finding;
    finding.x.assign(answer.x.begin(),
                     answer.x.begin() + static_cast<std::ptrdiff_t>(model.cost.size()));
    for (std::size_t j = 0; j < finding.x.size(); ++j) {
        finding.x[j] =
            std::min(std::max(finding.x[j], model.column_lower[j]), model.column_upper[j]);
    }
    std::vector<double> activity(model.row_lower.size(), 0.0);
    add_product(model.rows, 1.0, finding.x, activity);
    double worst = 0.0;
    for (std::size_t i = 0; i < activity.size(); ++i) {
        KktResiduals violation;
        add_condition(0.0, 0.0, activity[i], model.row_lower[i], model.row_upper[i], 0.0,
                      violation);
        if (!(violation.primal <= worst)) {
            worst = violation.primal;
            finding.row = static_cast<int>(i);
        }
    }
    if (worst <= control.feasibility_tolerance) {
        finding.infeasible = Finding::kRefuted;
        return finding;
    }
    std::vector<double> y = answer.y;
    clean_duals(model, y);
    if (proves_infeasible(model, y)) finding.infeasible = Finding::kProven;
    return finding;
}

}  // namespace

Feasibility find_feasibility(const QuadraticModel& model, const QuadraticKernel& kernel,
                             const ConvexControl& control) {
    Feasibility finding;
    for (const double weight : kViolationWeights) {
        finding = look_for_feasibility(model, weight, kernel, control);
        if (finding.infeasible != Finding::kUnknown || control.stop.stop()) break;
    }
    return finding;
}

Unboundedness find_ray(const QuadraticModel& model, const QuadraticKernel& kernel,
                       const ConvexControl& control) {
    Unboundedness finding;
    if (std::all_of(model.cost.begin(), model.cost.end(), [](double c) { return c == 0.0; })) {
        finding.unbounded = Finding::kRefuted;
        return finding;
    }
    const QuadraticModel rays = ray_model(model);
    const PolishedPoint answer = sharp_optimum(rays, kernel, control);
    if (answer.x.empty()) return finding;
    const Evaluation& evaluation = answer.evaluation;
    if (!meets(evaluation.residuals, control)) return finding;
    double length = 0.0;
    for (double d : answer.x) length = std::max(length, std::abs(d));
    const bool falls = evaluation.objective < -1e3 * kRayTolerance * std::max(length, 1e-3);
    if (!falls) {
        finding.unbounded = Finding::kRefuted;
        return finding;
    }
    if (evaluation.residuals.primal > kRayTolerance * length) return finding;
    finding.unbounded = Finding::kProven;
    finding.ray = answer.x;
    for (double& d : finding.ray) d /= length;
    return finding;
}

}  // namespace qlx::quad
