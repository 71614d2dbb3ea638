// Solving a convex program: presolve, convexity, kernels, and the way back.
#include "engine/quad/convex_program.hpp"

#include <cstddef>

#include "engine/base/index.hpp"
#include "engine/quad/cone_program.hpp"
#include "engine/quad/curvature.hpp"
#include "engine/quad/ladder.hpp"
#include "engine/quad/reduction.hpp"
#include "engine/quad/residuals.hpp"

namespace qlx::quad {

namespace {

// Takes the objective's columns that can move; positions are the reduced model's.
bool has_convex_objective(const Reduction& reduction, ConvexResult& result) {
    const CurvatureVerdict verdict = test_curvature(reduction.reduced().hessian);
    if (verdict.curvature == Curvature::kConvex) return true;
    if (verdict.curvature == Curvature::kUndecided) {
        result.status = ConvexStatus::kNumericalFailure;
        return false;
    }
    result.status = ConvexStatus::kNonconvex;
    result.place.first_column = reduction.kept_columns()[at(verdict.first_column)];
    result.place.second_column = reduction.kept_columns()[at(verdict.second_column)];
    return false;
}

void restore(const QuadraticModel& model, const Reduction& reduction, ConvexResult& result) {
    if (result.place.row >= 0) result.place.row = reduction.kept_rows()[at(result.place.row)];
    if (result.x.size() == reduction.kept_columns().size()) {
        result.x = reduction.restore_columns(result.x);
        result.row_dual = reduction.restore_duals(result.x, result.row_dual);
    }
    if (!result.ray.empty()) {
        std::vector<double> ray(model.cost.size(), 0.0);
        for (std::size_t k = 0; k < result.ray.size(); ++k) {
            ray[at(reduction.kept_columns()[k])] = result.ray[k];
        }
        result.ray = std::move(ray);
    }
}

// The last word on `optimal` is an evaluation of the model as it was given.
void judge(const QuadraticModel& model, const ConvexControl& control, ConvexResult& result) {
    if (result.x.size() != model.cost.size()) return;
    take_evaluation(evaluate(model, result.x, result.row_dual), control, result);
}

}  // namespace

QuadraticModel linear_part(const ConvexProgram& program) {
    QuadraticModel model;
    model.column_lower = program.column_lower;
    model.column_upper = program.column_upper;
    model.cost = program.cost;
    model.constant = program.constant;
    model.hessian = compress_symmetric(program.column_count(), program.hessian);
    model.row_lower = program.row_lower;
    model.row_upper = program.row_upper;
    model.rows = compress(program.row_count(), program.column_count(), program.rows);
    return model;
}

ConvexResult solve_quadratic(const QuadraticModel& model, const ConvexControl& control) {
    ConvexResult result;
    Reduction reduction;
    if (!reduction.reduce(model)) {
        result.status = ConvexStatus::kInfeasible;
        result.place = reduction.place();
        return result;
    }
    if (!has_convex_objective(reduction, result)) return result;
    if (reduction.reduced().column_count() == 0) {
        result.status = ConvexStatus::kOptimal;
    } else {
        result = climb(reduction.reduced(), control);
    }
    restore(model, reduction, result);
    judge(model, control, result);
    return result;
}

ConvexResult solve_convex(const ConvexProgram& program, const ConvexControl& control) {
    if (control.stop.stop()) {
        ConvexResult result;
        result.status = stop_status(control.stop);
        return result;
    }
    if (!program.quadratic_rows.empty()) return solve_with_quadratic_rows(program, control);
    return solve_quadratic(linear_part(program), control);
}

}  // namespace qlx::quad
