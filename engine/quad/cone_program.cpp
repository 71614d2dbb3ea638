// Solving convex programs with quadratic rows by the barrier method.
#include "engine/quad/cone_program.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>

#include "engine/base/index.hpp"
#include "engine/nlp/interior/interior_point_solver.hpp"
#include "engine/quad/cone_answer.hpp"
#include "engine/quad/cone_certificates.hpp"
#include "engine/quad/cone_presolve.hpp"
#include "engine/quad/curvature.hpp"
#include "engine/quad/ladder.hpp"

namespace qlx::quad {

namespace {

// Measured at apexes: 6 to 17 steps, where the quadratic form takes about 50 and is off by 1e-6.
constexpr double kSmoothing = 1e-9;
constexpr double kCoarseSmoothing = 1e-7;
// The smoothed form of a cone has a dense Hessian, so wider cones begin with the quadratic form.
constexpr std::size_t kWideCone = 300;
// A program whose sizes differ by this much is solved in units of its own first.
constexpr double kWideSpread = 1e3;
constexpr double kSharpTolerance = 1e-13;
// The proofs below want an optimum this sharp, and a direction this good.
constexpr double kRayTolerance = 1e-7;
constexpr double kRayFall = 1e-4;

class ConeSolver {
  public:
    ConeSolver(const ConvexProgram& program, const ConvexControl& control)
        : source_(program), control_(control), presolve_(program) {}
    ConvexResult solve();

  private:
    bool has_convex_objective();
    std::vector<Rung> rungs() const;
    bool try_rung(const Rung& rung);
    bool climb();
    bool diagnose();
    bool is_proven_infeasible(const ConeScaling* scaling, std::vector<double>& feasible_point);
    ModelPlace worst_row(std::span<const double> x, double& worst) const;
    bool is_proven_unbounded(const ConeScaling* scaling);
    void solve_with_cones();
    std::vector<double> whole_ray(std::span<const double> ray) const;
    const ConeProgram& program() const noexcept { return presolve_.program(); }
    int iterations_left() const { return control_.iterations_left(result_.iterations); }
    bool finish(ConvexStatus status) {
        result_.status = status;
        return true;
    }

    const ConvexProgram& source_;
    const ConvexControl& control_;
    ConePresolve presolve_;
    std::optional<ConeScaling> scaling_;  // absent where it would change nothing
    bool diagnosed_ = false;
    Attempt best_;
    ConvexResult result_;
};

// Takes the objective's columns that can move.
bool ConeSolver::has_convex_objective() {
    const CurvatureVerdict verdict = test_curvature(program().model.hessian);
    if (verdict.curvature == Curvature::kConvex) return true;
    if (verdict.curvature == Curvature::kUndecided) return !finish(ConvexStatus::kNumericalFailure);
    const std::vector<int>& kept = presolve_.reduction().kept_columns();
    result_.place.first_column = kept[at(verdict.first_column)];
    result_.place.second_column = kept[at(verdict.second_column)];
    return !finish(ConvexStatus::kNonconvex);
}

std::vector<Rung> ConeSolver::rungs() const {
    bool cones = false;
    bool wide = false;
    for (const ConvexRow& row : program().rows) {
        cones = cones || row.shape == RowShape::kCone;
        wide = wide || (row.shape == RowShape::kCone && row.columns.size() > kWideCone);
    }
    std::vector<double> smoothings{0.0};
    if (wide) smoothings = {0.0, kCoarseSmoothing};
    if (cones && !wide) smoothings = {kSmoothing, kCoarseSmoothing, 0.0};
    std::vector<const ConeScaling*> units{nullptr};
    if (scaling_) units.push_back(&*scaling_);
    if (scaling_ && scaling_->spread() >= kWideSpread) std::swap(units.front(), units.back());
    std::vector<Rung> rungs;
    for (const ConeScaling* scaling : units) {
        for (const double smoothing : smoothings) rungs.push_back({scaling, smoothing});
        // Large duals of rows with hardly an interior loosen the method's own test.
        rungs.push_back({scaling, 0.0, kSharpTolerance});
    }
    return rungs;
}

// Returns true where the outcome is settled.
bool ConeSolver::try_rung(const Rung& rung) {
    if (iterations_left() == 0) return finish(ConvexStatus::kIterationLimit);
    Attempt next = attempt(program(), rung, iterations_left(), control_.stop);
    result_.iterations += next.iterations;
    // Where there is no optimum, the method often wanders until its limit.
    const bool suspicious = next.claim == KernelClaim::kInfeasible ||
                            next.claim == KernelClaim::kUnbounded ||
                            next.claim == KernelClaim::kIterationLimit;
    if (!next.x.empty() &&
        (best_.x.empty() || next.evaluation.worst() < best_.evaluation.worst())) {
        best_ = std::move(next);
    }
    if (!best_.x.empty() && meets(best_.evaluation.residuals, control_)) {
        return finish(ConvexStatus::kOptimal);
    }
    if (control_.stop.stop()) return finish(stop_status(control_.stop));
    return suspicious && iterations_left() > 0 && diagnose();
}

bool ConeSolver::climb() {
    ConeScaling scaling = find_scaling(program());
    if (scaling.spread() > 1.0) scaling_ = std::move(scaling);
    for (const Rung& rung : rungs()) {
        if (try_rung(rung)) return true;
    }
    const bool spent = iterations_left() == 0;
    finish(spent ? ConvexStatus::kIterationLimit : ConvexStatus::kNumericalFailure);
    return spent;
}

// The row with the largest violation, in the units of the program.
ModelPlace ConeSolver::worst_row(std::span<const double> x, double& worst) const {
    BarrierProblem problem(program(), kSmoothing);
    const std::size_t linear = program().model.row_lower.size();
    std::vector<double> activity(linear + program().rows.size());
    problem.rows(x, activity);
    std::size_t place = 0;
    for (std::size_t i = 0; i < activity.size(); ++i) {
        KktResiduals violation;
        add_condition(0.0, 0.0, activity[i], problem.bounds().row_lower[i],
                      problem.bounds().row_upper[i], 0.0, violation);
        if (violation.primal > worst) {
            worst = violation.primal;
            place = i;
        }
    }
    if (place >= linear) return {-1, presolve_.convex_source()[place - linear], -1, -1};
    return presolve_.source_place({presolve_.reduction().kept_rows()[place], -1, -1, -1});
}

bool ConeSolver::is_proven_infeasible(const ConeScaling* scaling,
                                      std::vector<double>& feasible_point) {
    const ConeProgram posed = scaling != nullptr ? scaling->apply(program()) : program();
    const Attempt least =
        attempt(least_violation(posed), {nullptr, kSmoothing}, iterations_left(), control_.stop);
    result_.iterations += least.iterations;
    if (least.x.empty()) return false;
    const std::size_t columns = program().model.cost.size();
    std::vector<double> x(least.x.begin(), least.x.begin() + static_cast<std::ptrdiff_t>(columns));
    for (std::size_t j = 0; scaling != nullptr && j < columns; ++j) x[j] *= scaling->column[j];
    double worst = 0.0;
    const ModelPlace place = worst_row(x, worst);
    if (worst <= control_.feasibility_tolerance) {
        feasible_point = std::move(x);
        return false;
    }
    const bool feasible_least = least.evaluation.residuals.primal <= control_.feasibility_tolerance;
    // The duality gap of a convex optimum bounds the least violation away from zero.
    const double gap =
        least.evaluation.residuals.complementarity * (1.0 + least.evaluation.objective);
    const bool sharp = feasible_least &&
                       least.evaluation.residuals.dual <= control_.optimality_tolerance &&
                       gap < 0.5 * least.evaluation.objective;
    if (sharp) result_.place = place;
    return sharp;
}

std::vector<double> ConeSolver::whole_ray(std::span<const double> ray) const {
    std::vector<double> out(source_.cost.size(), 0.0);
    const std::vector<int>& kept = presolve_.reduction().kept_columns();
    for (std::size_t c = 0; c < kept.size(); ++c) out[at(kept[c])] = ray[c];
    return out;
}

bool ConeSolver::is_proven_unbounded(const ConeScaling* scaling) {
    const ConeProgram rays = recession(scaling != nullptr ? scaling->apply(program()) : program());
    if (std::all_of(rays.model.cost.begin(), rays.model.cost.end(),
                    [](double c) { return c == 0.0; })) {
        return false;
    }
    Attempt steepest = attempt(rays, {nullptr, kSmoothing}, iterations_left(), control_.stop);
    result_.iterations += steepest.iterations;
    if (steepest.x.empty() || !meets(steepest.evaluation.residuals, control_) ||
        steepest.evaluation.residuals.primal > kRayTolerance ||
        steepest.evaluation.objective > -kRayFall) {
        return false;
    }
    for (std::size_t j = 0; scaling != nullptr && j < steepest.x.size(); ++j) {
        steepest.x[j] *= scaling->column[j];
    }
    result_.ray = whole_ray(steepest.x);
    return true;
}

// Decides by proof whether there is no feasible point or no finite minimum.
bool ConeSolver::diagnose() {
    if (diagnosed_) return false;
    diagnosed_ = true;
    std::vector<const ConeScaling*> units{nullptr};
    if (scaling_) units.push_back(&*scaling_);
    std::vector<double> feasible_point;
    for (const ConeScaling* scaling : units) {
        if (is_proven_infeasible(scaling, feasible_point)) {
            return finish(ConvexStatus::kInfeasible);
        }
        if (control_.stop.stop()) return finish(stop_status(control_.stop));
        if (!feasible_point.empty()) break;
    }
    if (feasible_point.empty()) return false;
    for (const ConeScaling* scaling : units) {
        if (!is_proven_unbounded(scaling)) continue;
        result_.x = presolve_.reduction().restore_columns(feasible_point);
        return finish(ConvexStatus::kUnbounded);
    }
    return false;
}

void ConeSolver::solve_with_cones() {
    if (!has_convex_objective()) return;
    if (!nlp::InteriorPointSolver::is_available()) {
        finish(ConvexStatus::kUnsupported);
        return;
    }
    const bool settled = climb();
    const bool proven =
        result_.status == ConvexStatus::kInfeasible || result_.status == ConvexStatus::kUnbounded;
    if (!proven && !best_.x.empty())
        AnswerWriter(source_, presolve_, control_, result_).report(best_);
    if (!settled || result_.status == ConvexStatus::kNumericalFailure) diagnose();
}

ConvexResult ConeSolver::solve() {
    if (!presolve_.run()) {
        finish(presolve_.status());
        result_.place = presolve_.place();
        return std::move(result_);
    }
    if (program().rows.empty()) {
        result_ = solve_quadratic(presolve_.model(), control_);
        result_.place = presolve_.source_place(result_.place);
    } else {
        solve_with_cones();
    }
    AnswerWriter(source_, presolve_, control_, result_).complete();
    return std::move(result_);
}

}  // namespace

ConvexResult solve_with_quadratic_rows(const ConvexProgram& program, const ConvexControl& control) {
    return ConeSolver(program, control).solve();
}

}  // namespace qlx::quad
