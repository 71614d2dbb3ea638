// Runs the barrier method in scaled units and judges the answer in those of the program.
#include "engine/quad/cone_attempt.hpp"

#include <algorithm>
#include <cstddef>

#include "engine/base/index.hpp"
#include "engine/nlp/interior/interior_point_solver.hpp"
#include "engine/quad/barrier_kernel.hpp"

namespace qlx::quad {

namespace {

// Duals of a cone's norm form are divided by the length of the axis to belong to the quadratic
// form; at the apex that has no limit, and this bounds it.
constexpr double kShortestAxis = 1e-6;

}  // namespace

ConeScaling no_scaling(const ConeProgram& program) {
    ConeScaling scaling;
    scaling.column.assign(program.model.cost.size(), 1.0);
    scaling.row.assign(program.model.row_lower.size(), 1.0);
    scaling.cone_row.assign(program.rows.size(), 1.0);
    return scaling;
}

double quadratic_dual(const ConvexRow& row, double dual, std::span<const double> x) {
    double along = 0.0;
    for (std::size_t k = 0; k < row.columns.size(); ++k) {
        along += row.axis[k] * (x[at(row.columns[k])] - row.apex[k]);
    }
    return dual / std::max(along, kShortestAxis);
}

void add_conditions(const std::vector<RowState>& rows, double objective_size,
                    KktResiduals& residuals) {
    for (const RowState& row : rows) {
        add_condition({row.dual, 0.0, row.value, 0.0, -kInfinity, row.upper}, objective_size,
                      residuals);
    }
}

Attempt attempt(const ConeProgram& program, const Rung& rung, int iterations,
                const StopRule& rule) {
    const ConeScaling* const scaling = rung.scaling;
    const ConeProgram scaled = scaling != nullptr ? scaling->apply(program) : ConeProgram{};
    const ConeProgram& posed = scaling != nullptr ? scaled : program;
    const ConeScaling units = scaling != nullptr ? *scaling : no_scaling(program);
    BarrierProblem problem(posed, rung.smoothing);
    nlp::LocalOptions options = barrier_options(rule, iterations);
    options.tolerance = rung.tolerance;
    nlp::LocalAnswer answer = nlp::InteriorPointSolver().solve(problem, options);
    Attempt out;
    out.claim = claim_of(answer.status);
    out.iterations = answer.iterations;
    if (answer.x.size() != program.model.cost.size()) return out;
    out.x = answer.x;
    for (std::size_t j = 0; j < out.x.size(); ++j) out.x[j] *= units.column[j];
    const std::size_t linear = program.model.row_lower.size();
    for (std::size_t i = 0; i < linear; ++i) {
        out.y.push_back(units.row_dual(i, answer.row_dual[i]));
    }
    out.normals.assign(out.x.size(), 0.0);
    const BarrierProblem own(program, rung.smoothing);
    for (std::size_t r = 0; r < program.rows.size(); ++r) {
        const ConvexRow& row = program.rows[r];
        const double dual = std::min(answer.row_dual[linear + r], 0.0);
        const std::vector<double> gradient = problem.row_gradient(posed.rows[r], answer.x);
        for (std::size_t k = 0; k < gradient.size(); ++k) {
            const std::size_t j = at(row.columns[k]);
            out.normals[j] += dual * gradient[k] * units.objective / units.column[j];
        }
        // Cones are measured along their axis; ellipsoids, by their function's value.
        const bool seminorm = own.is_smoothed(row);
        const double own_dual = units.cone_dual(r, dual, seminorm);
        out.rows.push_back({own_dual, own.row_value(row, out.x), own.row_upper(row)});
        out.row_dual.push_back(seminorm ? quadratic_dual(row, own_dual, out.x) : own_dual);
    }
    out.evaluation = evaluate(program.model, out.x, out.y, out.normals);
    add_conditions(out.rows, out.evaluation.objective_size, out.evaluation.residuals);
    return out;
}

}  // namespace qlx::quad
