// Runs the auxiliary programs and checks what they find.
#include "engine/quad/cone_diagnosis.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "engine/base/index.hpp"
#include "engine/quad/cone_attempt.hpp"
#include "engine/quad/cone_certificates.hpp"
#include "engine/quad/proximal_kernel.hpp"
#include "engine/quad/residuals.hpp"

namespace qlx::quad {

namespace {

constexpr double kSmoothing = 1e-9;
// Tangents at the points that the tangents before admitted; each round about doubles the digits.
constexpr int kTangentRounds = 10;
// Within these cones first; directions on the border of one are found by the second.
constexpr double kNarrower[] = {1.0 + 1e-5, 1.0};

}  // namespace

// The answer's first columns, in the units of the program; empty where there is none.
std::vector<double> ConeDiagnosis::solve_in(const ConeScaling* units, const ConeProgram& posed) {
    const Attempt answer = attempt(posed, {nullptr, kSmoothing}, iterations_left(), control_.stop);
    iterations_ += answer.iterations;
    std::vector<double> x = answer.x;
    x.resize(std::min(x.size(), program_.model.cost.size()));
    for (std::size_t j = 0; units != nullptr && j < x.size(); ++j) x[j] *= units->column[j];
    return x;
}

// Returns whether the point is feasible; finds the row with the largest violation.
bool ConeDiagnosis::judge(Feasibility& finding) const {
    const QuadraticModel& model = program_.model;
    for (std::size_t j = 0; j < finding.x.size(); ++j)
        finding.x[j] =
            std::min(std::max(finding.x[j], model.column_lower[j]), model.column_upper[j]);
    BarrierProblem problem(program_, kSmoothing);
    std::vector<double> activity(model.row_lower.size() + program_.rows.size());
    problem.rows(finding.x, activity);
    double worst = 0.0;
    for (std::size_t i = 0; i < activity.size(); ++i) {
        KktResiduals violation;
        add_condition({0.0, 0.0, activity[i], 0.0, problem.bounds().row_lower[i],
                       problem.bounds().row_upper[i]},
                      0.0, violation);
        if (!(violation.primal <= worst)) {
            worst = violation.primal;
            finding.row = static_cast<int>(i);
        }
    }
    if (!(worst <= control_.feasibility_tolerance)) return false;
    finding.infeasible = Finding::kRefuted;
    return true;
}

void ConeDiagnosis::approximate(Feasibility& finding) const {
    QuadraticModel outer = program_.model;
    Feasibility next{Finding::kUnknown, -1, finding.x};
    for (int round = 0; round < kTangentRounds && !control_.stop.stop(); ++round) {
        add_tangents(program_, next.x, outer);
        next = quad::find_feasibility(outer, solve_proximal, control_);
        if (next.infeasible == Finding::kProven) finding.infeasible = Finding::kProven;
        if (next.infeasible != Finding::kRefuted) return;
        Feasibility point{Finding::kUnknown, -1, next.x};
        if (judge(point)) {
            finding = std::move(point);
            return;
        }
    }
}

Feasibility ConeDiagnosis::find_feasibility() {
    Feasibility finding;
    for (const ConeScaling* units : units_) {
        if (control_.stop.stop() || iterations_left() == 0) break;
        finding = {};
        finding.x = solve_in(
            units, elastic_cone_program(units != nullptr ? units->apply(program_) : program_));
        if (finding.x.empty()) continue;
        if (!judge(finding)) approximate(finding);
        if (finding.infeasible != Finding::kUnknown) break;
    }
    return finding;
}

bool ConeDiagnosis::has_cones() const noexcept {
    return std::any_of(program_.rows.begin(), program_.rows.end(),
                       [](const ConvexRow& row) { return row.shape == RowShape::kCone; });
}

Unboundedness ConeDiagnosis::find_ray() {
    const RecessionConditions conditions = recession_conditions(program_.model, program_.rows);
    if (!has_cones()) return find_descent(conditions, solve_proximal, control_);
    const ProgramView linear = view_of(conditions.model);
    Unboundedness finding;
    for (const ConeScaling* units : units_) {
        for (const double narrower : kNarrower) {
            if (control_.stop.stop() || iterations_left() == 0) return finding;
            const ConeProgram posed = units != nullptr ? units->apply(program_) : program_;
            const RecessionConditions own = recession_conditions(posed.model, posed.rows);
            std::vector<double> ray = improving_ray(
                linear, solve_in(units, recession_cone_program(posed, own, narrower)));
            if (ray.empty() || !meets_cones(program_, ray)) continue;
            finding.unbounded = Finding::kProven;
            finding.ray = std::move(ray);
            return finding;
        }
    }
    return finding;
}

}  // namespace qlx::quad
