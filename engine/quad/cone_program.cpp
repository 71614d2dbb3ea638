// Solving convex programs with quadratic rows: the method for cone programs first, the barrier
// last.
#include "engine/quad/cone_program.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>

#include "engine/base/index.hpp"
#include "engine/nlp/interior/interior_point_solver.hpp"
#include "engine/quad/cone_answer.hpp"
#include "engine/quad/cone_certificates.hpp"
#include "engine/quad/cone_diagnosis.hpp"
#include "engine/quad/cone_kernel.hpp"
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

// As it is meant first; then for the last digits, and in the program's own units with more
// regularisation.
constexpr ConicRung kConicRungs[] = {{true, 1e-8, 1e-9}, {true, 1e-8, 1e-12}, {false, 1e-6, 1e-9}};
// Where an answer is off by more, another rung tries for a better one.
constexpr double kSharpEnough = 1e-8;

class ConeSolver {
  public:
    ConeSolver(const ConvexProgram& program, const ConvexControl& control)
        : source_(program), control_(control), presolve_(program) {}
    ConvexResult solve();

  private:
    bool has_convex_objective();
    std::vector<const ConeScaling*> units() const;
    std::vector<Rung> rungs() const;
    bool try_conic();
    bool take_outcome(ConicOutcome outcome, const ConeKernel& kernel, const ConicRung& rung);
    bool try_rung(const Rung& rung);
    void take_best(Attempt next);
    bool is_optimal() const noexcept {
        return !best_.x.empty() && meets(best_.evaluation.residuals, control_);
    }
    bool climb();
    bool diagnose();
    ModelPlace place_of(int row) const;
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

// Null units are the program's own.
std::vector<const ConeScaling*> ConeSolver::units() const {
    if (!scaling_) return {nullptr};
    if (scaling_->spread() >= kWideSpread) return {&*scaling_, nullptr};
    return {nullptr, &*scaling_};
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
    std::vector<Rung> rungs;
    for (const ConeScaling* scaling : units()) {
        for (const double smoothing : smoothings) rungs.push_back({scaling, smoothing});
        // Large duals of rows with hardly an interior loosen the method's own test.
        rungs.push_back({scaling, 0.0, kSharpTolerance});
    }
    return rungs;
}

void ConeSolver::take_best(Attempt next) {
    if (next.x.empty()) return;
    if (best_.x.empty() || next.evaluation.worst() < best_.evaluation.worst()) {
        best_ = std::move(next);
    }
}

// The method for cone programs; returns true where the outcome is settled.
bool ConeSolver::try_conic() {
    for (const ConeScaling* scaling : units()) {
        ConeKernel kernel(program(), scaling);
        for (const ConicRung& rung : kConicRungs) {
            if (iterations_left() == 0) return finish(ConvexStatus::kIterationLimit);
            ConicOutcome outcome = kernel.solve(rung, iterations_left(), control_.stop);
            result_.iterations += outcome.attempt.iterations;
            if (take_outcome(std::move(outcome), kernel, rung)) return true;
            if (control_.stop.stop()) return finish(stop_status(control_.stop));
            if (!best_.x.empty()) kernel.restate_near(best_.x);
        }
        if (is_optimal()) return finish(ConvexStatus::kOptimal);
    }
    return false;
}

bool ConeSolver::take_outcome(ConicOutcome outcome, const ConeKernel& kernel,
                              const ConicRung& rung) {
    if (outcome.attempt.claim == KernelClaim::kInfeasible) {
        if (outcome.row >= 0) result_.place = place_of(outcome.row);
        return finish(ConvexStatus::kInfeasible);
    }
    if (outcome.attempt.claim == KernelClaim::kUnbounded) {
        const RecessionConditions conditions =
            recession_conditions(program().model, program().rows);
        const std::vector<double> ray = improving_ray(view_of(conditions.model), outcome.ray);
        if (ray.empty() || !meets_cones(program(), ray)) return false;
        ConicOutcome point = kernel.find_point(rung, iterations_left(), control_.stop);
        result_.iterations += point.attempt.iterations;
        if (point.attempt.claim == KernelClaim::kInfeasible) {
            return take_outcome(std::move(point), kernel, rung);
        }
        const bool feasible =
            !point.attempt.x.empty() &&
            point.attempt.evaluation.residuals.primal <= control_.feasibility_tolerance;
        if (!feasible) return false;
        result_.ray = whole_ray(ray);
        result_.x = presolve_.reduction().restore_columns(point.attempt.x);
        return finish(ConvexStatus::kUnbounded);
    }
    take_best(std::move(outcome.attempt));
    return is_optimal() && best_.evaluation.worst() <= kSharpEnough &&
           finish(ConvexStatus::kOptimal);
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
    take_best(std::move(next));
    if (is_optimal()) return finish(ConvexStatus::kOptimal);
    if (control_.stop.stop()) return finish(stop_status(control_.stop));
    return suspicious && iterations_left() > 0 && diagnose();
}

bool ConeSolver::climb() {
    ConeScaling scaling = find_scaling(program());
    if (scaling.spread() > 1.0) scaling_ = std::move(scaling);
    if (try_conic()) return true;
    if (!nlp::InteriorPointSolver::is_available()) {
        return !finish(ConvexStatus::kNumericalFailure);
    }
    for (const Rung& rung : rungs()) {
        if (try_rung(rung)) return true;
    }
    const bool spent = iterations_left() == 0;
    finish(spent ? ConvexStatus::kIterationLimit : ConvexStatus::kNumericalFailure);
    return spent;
}

std::vector<double> ConeSolver::whole_ray(std::span<const double> ray) const {
    if (ray.empty()) return {};
    std::vector<double> out(source_.cost.size(), 0.0);
    const std::vector<int>& kept = presolve_.reduction().kept_columns();
    for (std::size_t c = 0; c < kept.size(); ++c) out[at(kept[c])] = ray[c];
    return out;
}

ModelPlace ConeSolver::place_of(int row) const {
    const int linear = program().model.row_count();
    if (row >= linear) return {-1, presolve_.convex_source()[at(row - linear)], -1, -1};
    return presolve_.source_place({presolve_.reduction().kept_rows()[at(row)], -1, -1, -1});
}

// Decides by proof whether there is no feasible point or no finite minimum.
bool ConeSolver::diagnose() {
    if (diagnosed_) return false;
    diagnosed_ = true;
    std::vector<const ConeScaling*> units{nullptr};
    if (scaling_) units.push_back(&*scaling_);
    ConeDiagnosis diagnosis(program(), std::move(units), result_.iterations, control_);
    const Feasibility feasibility = diagnosis.find_feasibility();
    Unboundedness unboundedness;
    if (feasibility.infeasible == Finding::kRefuted) unboundedness = diagnosis.find_ray();
    result_.iterations = diagnosis.iterations();
    if (feasibility.infeasible == Finding::kProven) {
        if (feasibility.row >= 0) result_.place = place_of(feasibility.row);
        return finish(ConvexStatus::kInfeasible);
    }
    if (unboundedness.unbounded == Finding::kProven) {
        result_.ray = whole_ray(unboundedness.ray);
        result_.x = presolve_.reduction().restore_columns(feasibility.x);
        return finish(ConvexStatus::kUnbounded);
    }
    return control_.stop.stop() && finish(stop_status(control_.stop));
}

void ConeSolver::solve_with_cones() {
    if (!has_convex_objective()) return;
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
