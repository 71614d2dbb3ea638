// Auxiliary programs behind proofs of infeasibility and unboundedness.
#include "engine/quad/certificates.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "engine/base/index.hpp"
#include "engine/quad/polish.hpp"
#include "engine/quad/residuals.hpp"

namespace qlx::quad {

namespace {

constexpr int kPolishRounds = 3;

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

// The columns at the bounds that they are beyond, and the row that is violated most.
void judge_point(const QuadraticModel& model, const ConvexControl& control, Feasibility& finding) {
    for (std::size_t j = 0; j < finding.x.size(); ++j) {
        finding.x[j] =
            std::min(std::max(finding.x[j], model.column_lower[j]), model.column_upper[j]);
    }
    const std::vector<double> none(model.row_lower.size(), 0.0);
    const Evaluation evaluation = evaluate(model, finding.x, none);
    if (evaluation.residuals.primal <= control.feasibility_tolerance) {
        finding.infeasible = Finding::kRefuted;
        return;
    }
    double worst = -1.0;
    for (std::size_t i = 0; i < none.size(); ++i) {
        const double activity = evaluation.activity[i];
        const double beyond =
            std::max(model.row_lower[i] - activity, activity - model.row_upper[i]);
        if (!(beyond <= worst)) {
            worst = beyond;
            finding.row = static_cast<int>(i);
        }
    }
}

// Entries of rows Qd = 0, each in units of its diagonal, from row number `next` on.
void add_flat_rows(const SparseColumns& hessian, std::span<const int> columns, int& next,
                   std::vector<Triplet>& entries) {
    const std::vector<double> diagonal = diagonal_of(hessian);
    std::vector<int> place(at(hessian.columns), -1);
    for (int j = 0; j < hessian.columns; ++j) {
        if (diagonal[at(j)] > 0.0) place[at(j)] = next++;
    }
    const auto column = [&](int j) { return columns.empty() ? j : columns[at(j)]; };
    for (int j = 0; j < hessian.columns; ++j) {
        for (int k = hessian.start[at(j)]; k < hessian.start[at(j) + 1]; ++k) {
            const int i = hessian.index[at(k)];
            const double q = hessian.value[at(k)];
            if (place[at(i)] < 0 || place[at(j)] < 0) continue;
            entries.push_back({place[at(i)], column(j), q / diagonal[at(i)]});
            if (i != j) entries.push_back({place[at(j)], column(i), q / diagonal[at(j)]});
        }
    }
}

}  // namespace

ProgramView view_of(const QuadraticModel& model) noexcept {
    ProgramView view;
    view.matrix.num_rows = model.row_count();
    view.matrix.num_columns = model.column_count();
    view.matrix.start = std::span<const int>(model.rows.start);
    view.matrix.index = model.rows.index;
    view.matrix.value = model.rows.value;
    view.cost = model.cost;
    view.lower = model.column_lower;
    view.upper = model.column_upper;
    view.row_lower = model.row_lower;
    view.row_upper = model.row_upper;
    return view;
}

QuadraticModel model_of(LinearStatement&& statement) {
    QuadraticModel out;
    const int columns = static_cast<int>(statement.cost.size());
    out.cost = std::move(statement.cost);
    out.column_lower = std::move(statement.lower);
    out.column_upper = std::move(statement.upper);
    out.row_lower = std::move(statement.row_lower);
    out.row_upper = std::move(statement.row_upper);
    out.rows.rows = out.row_count();
    out.rows.columns = columns;
    out.rows.start = std::move(statement.start);
    out.rows.index = std::move(statement.row);
    out.rows.value = std::move(statement.value);
    out.hessian.rows = out.hessian.columns = columns;
    out.hessian.start.assign(at(columns) + 1, 0);
    return out;
}

Feasibility find_feasibility(const QuadraticModel& model, const QuadraticKernel& kernel,
                             const ConvexControl& control) {
    Feasibility finding;
    const ProgramView program = view_of(model);
    const PolishedPoint answer = sharp_optimum(model_of(elastic_program(program)), kernel, control);
    if (answer.x.empty()) return finding;
    finding.x.assign(answer.x.begin(),
                     answer.x.begin() + static_cast<std::ptrdiff_t>(model.cost.size()));
    judge_point(model, control, finding);
    if (finding.infeasible == Finding::kUnknown && proves_infeasible(program, answer.y))
        finding.infeasible = Finding::kProven;
    return finding;
}

bool RecessionConditions::is_any_left() const noexcept {
    return std::any_of(ellipsoids.begin(), ellipsoids.end(), [&](const Rows& rows) {
        return is_finite_upper(model.row_upper[at(rows.last)]);
    });
}

bool RecessionConditions::drop(const Loosened& loosened) {
    for (std::size_t j = 0; j < loosened.columns.size(); ++j) {
        if (!loosened.columns[j]) continue;
        model.column_lower[j] = -kInfinity;
        model.column_upper[j] = kInfinity;
    }
    const auto drop_row = [&](int i) {
        model.row_lower[at(i)] = -kInfinity;
        model.row_upper[at(i)] = kInfinity;
    };
    for (std::size_t i = 0; i < loosened.rows.size(); ++i) {
        if (loosened.rows[i]) drop_row(static_cast<int>(i));
    }
    bool dropped = false;
    for (const Rows& rows : ellipsoids) {
        if (!loosened.rows[at(rows.last)]) continue;
        dropped = true;
        for (int i = rows.first; i < rows.last; ++i) drop_row(i);
    }
    return dropped;
}

RecessionConditions recession_conditions(const QuadraticModel& model,
                                         std::span<const ConvexRow> rows) {
    RecessionConditions out;
    QuadraticModel& to = out.model;
    to.cost = model.cost;
    to.column_lower = model.column_lower;
    to.column_upper = model.column_upper;
    to.row_lower = model.row_lower;
    to.row_upper = model.row_upper;
    std::vector<Triplet> entries;
    for (int j = 0; j < model.column_count(); ++j) {
        for (int k = model.rows.start[at(j)]; k < model.rows.start[at(j) + 1]; ++k)
            entries.push_back({model.rows.index[at(k)], j, model.rows.value[at(k)]});
    }
    int next = model.row_count();
    add_flat_rows(model.hessian, {}, next, entries);
    for (const ConvexRow& row : rows) {
        if (row.shape != RowShape::kEllipsoid) continue;
        const int first = next;
        add_flat_rows(row.hessian, row.columns, next, entries);
        for (std::size_t k = 0; k < row.columns.size(); ++k)
            entries.push_back({next, row.columns[k], row.linear[k]});
        out.ellipsoids.push_back({first, next++});
    }
    to.row_lower.resize(at(next), 0.0);
    to.row_upper.resize(at(next), 0.0);
    for (const RecessionConditions::Rows& ellipsoid : out.ellipsoids)
        to.row_lower[at(ellipsoid.last)] = -kInfinity;
    to.rows = compress(next, model.column_count(), entries);
    to.hessian.rows = to.hessian.columns = model.column_count();
    to.hessian.start.assign(at(model.column_count()) + 1, 0);
    return out;
}

Unboundedness find_descent(RecessionConditions conditions, const QuadraticKernel& kernel,
                           const ConvexControl& control) {
    Unboundedness finding;
    for (bool first = true; !control.stop.stop(); first = false) {
        const ProgramView program = view_of(conditions.model);
        const PolishedPoint steepest =
            sharp_optimum(model_of(recession_program(program)), kernel, control);
        if (std::vector<double> ray = improving_ray(program, steepest.x); !ray.empty()) {
            finding.unbounded = Finding::kProven;
            if (first) finding.ray = std::move(ray);
            return finding;
        }
        if (!conditions.is_any_left()) break;
        std::vector<double> way =
            sharp_optimum(model_of(loosening_program(program)), kernel, control).x;
        way.resize(std::min(way.size(), program.cost.size()));
        way = recession_direction(program, way);
        if (way.empty() || rises_along(program, way)) break;
        if (!conditions.drop(loosened_along(program, way))) break;
    }
    return finding;
}

}  // namespace qlx::quad
