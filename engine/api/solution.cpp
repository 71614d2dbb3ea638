// Entry points: reading solutions, and evaluating points.
#include <qlx/qlx_solve.h>

#include <algorithm>
#include <cmath>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"
#include "engine/check/dual_check.hpp"
#include "engine/check/point_check.hpp"
#include "engine/core/result_edits.hpp"

using namespace qlx;

namespace {

void give(const std::vector<double>& values, double* out) {
    if (out != nullptr) std::copy(values.begin(), values.end(), out);
}

const Solution& lp_solution(Problem& p) {
    if (p.results.lp.empty())
        fail(QLX_ERROR_STATE, p.results.lp_status == QLX_LP_UNSTARTED
                                  ? "there is no solution: the problem has not been solved"
                                  : "there is no solution: the last solve found none");
    extend_results(p.results, p.model);
    return *p.results.lp.view();
}

const Solution& mip_solution(Problem& p) {
    if (p.results.mip.empty())
        fail(QLX_ERROR_STATE, p.results.mip_status == QLX_MIP_NOT_LOADED
                                  ? "there is no integer solution: the problem has not been solved"
                                  : "there is no integer solution: the last solve found none");
    extend_results(p.results, p.model);
    return *p.results.mip.view();
}

void refuse_nonlinear_gradients(const Model& model) {
    if (!model.nonlinear().empty())
        fail(QLX_ERROR_NOT_AVAILABLE,
             "reduced costs of problems with nonlinear coefficients are not available yet");
}

// Gradients of the rows' quadratic terms times their duals, taken off the reduced costs.
std::vector<double> reduced_costs_at(Model& model, const double* duals, const double* x) {
    refuse_nonlinear_gradients(model);
    std::vector<double> djs =
        reduced_costs(model, std::vector<double>(duals, duals + model.num_rows())).value;
    const bool quadratic = !model.quadratic_objective().empty() || !model.quadratic_rows().empty();
    if (!quadratic) return djs;
    require_array(x, model.num_cols(), "solution");
    model.quadratic_objective().add_gradient(x, 1.0, djs.data());
    for (const auto& [row, form] : model.quadratic_rows())
        form.add_gradient(x, -duals[row], djs.data());
    return djs;
}

// Largest violation of the sign that a reduced cost or dual must have at the point.
double dual_infeasibility(Model& model, const double* x, const double* duals) {
    const std::vector<double> djs = reduced_costs_at(model, duals, x);
    const double sign = model.sense() < 0 ? -1.0 : 1.0;
    double worst = 0;
    const auto measure = [&](double multiplier, double from_lower, double from_upper) {
        const double away = sign * multiplier > 0 ? from_lower : from_upper;
        worst = std::max(worst, std::min(std::fabs(multiplier), std::max(away, 0.0)));
    };
    for (std::size_t col = 0; col < djs.size(); ++col)
        measure(djs[col], x[col] - model.lb()[col], model.ub()[col] - x[col]);
    const std::vector<double> activities = row_activities(model, x);
    for (int row = 0; row < model.num_rows(); ++row) {
        const Sides sides = model.sides(row);
        const double activity = activities[static_cast<std::size_t>(row)];
        measure(duals[row], activity - sides.lower, sides.upper - activity);
    }
    return worst;
}

double absolute_primal_infeasibility(Model& model, const double* x) {
    double worst = 0;
    for (std::size_t col = 0; col < model.lb().size(); ++col)
        worst = std::max({worst, model.lb()[col] - x[col], x[col] - model.ub()[col]});
    const std::vector<double> activities = row_activities(model, x);
    for (int row = 0; row < model.num_rows(); ++row) {
        const Sides sides = model.sides(row);
        const double activity = activities[static_cast<std::size_t>(row)];
        worst = std::max({worst, sides.lower - activity, activity - sides.upper});
    }
    return worst;
}

double largest_cost(const Model& model) {
    double largest = 0;
    for (const double cost : model.obj()) largest = std::max(largest, std::fabs(cost));
    return largest;
}

}  // namespace

extern "C" {

int QLXgetlpsol(QLXprob prob, double* x, double* slack, double* dual, double* dj) {
    return read(prob, "QLXgetlpsol", [&](Problem& p) {
        const Solution& solution = lp_solution(p);
        give(solution.x, x);
        give(solution.slack, slack);
        give(solution.dual, dual);
        give(solution.dj, dj);
    });
}

int QLXgetmipsol(QLXprob prob, double* x, double* slack) {
    return read(prob, "QLXgetmipsol", [&](Problem& p) {
        const Solution& solution = mip_solution(p);
        give(solution.x, x);
        give(solution.slack, slack);
    });
}

int QLXviewsol(QLXprob prob, int mip, int vector, const double** values, int* count) {
    return read(prob, "QLXviewsol", [&](Problem& p) {
        const Solution& solution = mip != 0 ? mip_solution(p) : lp_solution(p);
        if (vector < QLX_VECTOR_X || vector > (mip != 0 ? QLX_VECTOR_SLACK : QLX_VECTOR_DJ))
            fail(QLX_ERROR_ARGUMENT, "vector is ", vector, ", must be 0 .. ", mip != 0 ? 1 : 3);
        const std::vector<double>* const vectors[] = {&solution.x, &solution.slack, &solution.dual,
                                                      &solution.dj};
        if (values != nullptr) *values = vectors[vector]->data();
        if (count != nullptr) *count = static_cast<int>(vectors[vector]->size());
    });
}

int QLXcalcobjective(QLXprob prob, const double* solution, double* value) {
    return read(prob, "QLXcalcobjective", [&](Problem& p) {
        require_numbers(solution, p.model.num_cols(), "solution", false);
        require_array(value, 1, "value");
        *value = objective_value(p.model, solution);
    });
}

int QLXcalcslacks(QLXprob prob, const double* solution, double* slacks) {
    return read(prob, "QLXcalcslacks", [&](Problem& p) {
        require_numbers(solution, p.model.num_cols(), "solution", false);
        require_array(slacks, p.model.num_rows(), "slacks");
        const std::vector<double> activities = row_activities(p.model, solution);
        for (std::size_t row = 0; row < activities.size(); ++row)
            slacks[row] = p.model.rhs()[row] - activities[row];
    });
}

int QLXcalcreducedcosts(QLXprob prob, const double* duals, const double* solution, double* djs) {
    return read(prob, "QLXcalcreducedcosts", [&](Problem& p) {
        require_numbers(duals, p.model.num_rows(), "duals", false);
        if (solution != nullptr) require_numbers(solution, p.model.num_cols(), "solution", false);
        require_array(djs, p.model.num_cols(), "djs");
        give(reduced_costs_at(p.model, duals, solution), djs);
    });
}

int QLXcalcsolinfo(QLXprob prob, const double* solution, const double* duals, int property,
                   double* value) {
    return read(prob, "QLXcalcsolinfo", [&](Problem& p) {
        require_numbers(solution, p.model.num_cols(), "solution", false);
        require_array(value, 1, "value");
        switch (property) {
            case QLX_SOLINFO_ABSPRIMALINFEAS:
                *value = absolute_primal_infeasibility(p.model, solution);
                return;
            case QLX_SOLINFO_RELPRIMALINFEAS:
                *value = check_point(p.model, solution, row_activities(p.model, solution), false)
                             .feasibility();
                return;
            case QLX_SOLINFO_ABSDUALINFEAS:
            case QLX_SOLINFO_RELDUALINFEAS:
                require_numbers(duals, p.model.num_rows(), "duals", false);
                *value = dual_infeasibility(p.model, solution, duals);
                if (property == QLX_SOLINFO_RELDUALINFEAS) *value /= 1 + largest_cost(p.model);
                return;
            case QLX_SOLINFO_MAXMIPFRACTIONAL:
                *value =
                    check_point(p.model, solution, row_activities(p.model, solution), true).types;
                return;
            default:
                fail(QLX_ERROR_ARGUMENT, "property is ", property, ", must be 0 .. 4");
        }
    });
}

}  // extern "C"
