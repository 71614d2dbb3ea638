// Solving convex programs with quadratic rows by the barrier method.
#include "engine/quad/cone_program.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>

#include "engine/nlp/interior/interior_point_solver.hpp"
#include "engine/quad/cone_attempt.hpp"
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

std::size_t at(int i) noexcept {
    return static_cast<std::size_t>(i);
}

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
    void report(const Attempt& best);
    std::vector<double> normals_at(const Attempt& best) const;
    void add_gradient(std::size_t k, double factor, std::vector<double>& out) const;
    void evaluate_quadratic_rows();
    void price_held_columns();
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
    if (verdict.curvature == Curvature::convex) return true;
    if (verdict.curvature == Curvature::undecided) return !finish(ConvexStatus::numerical_failure);
    const std::vector<int>& kept = presolve_.reduction().kept_columns();
    result_.place.first_column = kept[at(verdict.first_column)];
    result_.place.second_column = kept[at(verdict.second_column)];
    return !finish(ConvexStatus::nonconvex);
}

std::vector<Rung> ConeSolver::rungs() const {
    bool cones = false;
    bool wide = false;
    for (const ConvexRow& row : program().rows) {
        cones = cones || row.shape == RowShape::cone;
        wide = wide || (row.shape == RowShape::cone && row.columns.size() > kWideCone);
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
    if (iterations_left() == 0) return finish(ConvexStatus::iteration_limit);
    Attempt next = attempt(program(), rung, iterations_left(), control_.stop);
    result_.iterations += next.iterations;
    const bool suspicious =
        next.claim == KernelClaim::infeasible || next.claim == KernelClaim::unbounded;
    if (!next.x.empty() &&
        (best_.x.empty() || next.evaluation.worst() < best_.evaluation.worst())) {
        best_ = std::move(next);
    }
    if (!best_.x.empty() && meets(best_.evaluation.residuals, control_)) {
        return finish(ConvexStatus::optimal);
    }
    if (control_.stop.stop()) return finish(stop_status(control_.stop));
    return suspicious && diagnose();
}

bool ConeSolver::climb() {
    ConeScaling scaling = find_scaling(program());
    if (scaling.spread() > 1.0) scaling_ = std::move(scaling);
    for (const Rung& rung : rungs()) {
        if (try_rung(rung)) return true;
    }
    const bool spent = iterations_left() == 0;
    finish(spent ? ConvexStatus::iteration_limit : ConvexStatus::numerical_failure);
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
            return finish(ConvexStatus::infeasible);
        }
        if (control_.stop.stop()) return finish(stop_status(control_.stop));
        if (!feasible_point.empty()) break;
    }
    if (feasible_point.empty()) return false;
    for (const ConeScaling* scaling : units) {
        if (!is_proven_unbounded(scaling)) continue;
        result_.x = presolve_.reduction().restore_columns(feasible_point);
        return finish(ConvexStatus::unbounded);
    }
    return false;
}

// out += factor * the gradient of quadratic row k at the result's point.
void ConeSolver::add_gradient(std::size_t k, double factor, std::vector<double>& out) const {
    if (factor == 0.0) return;
    const QuadraticRow& row = source_.quadratic_rows[k];
    for (const Triplet& e : row.hessian) {
        out[at(e.row)] += factor * e.value * result_.x[at(e.column)];
        if (e.row != e.column) out[at(e.column)] += factor * e.value * result_.x[at(e.row)];
    }
    for (std::size_t c = 0; c < row.columns.size(); ++c) {
        out[at(row.columns[c])] += factor * row.coefficients[c];
    }
}

// What the convex rows contribute to the balance of all columns: presolve takes fixed columns for
// constants, so theirs comes from the rows as they were given.
std::vector<double> ConeSolver::normals_at(const Attempt& best) const {
    std::vector<double> normals(source_.cost.size(), 0.0);
    for (std::size_t r = 0; r < best.row_dual.size(); ++r) {
        const int k = presolve_.convex_source()[r];
        add_gradient(at(k), program().rows[r].sign * best.row_dual[r], normals);
    }
    const std::vector<int>& kept = presolve_.reduction().kept_columns();
    for (std::size_t c = 0; c < kept.size(); ++c) normals[at(kept[c])] = best.normals[c];
    return normals;
}

// The answer in the columns and rows of the presolve's model. The last word on `optimal` is its
// evaluation there.
void ConeSolver::report(const Attempt& best) {
    const Reduction& reduction = presolve_.reduction();
    result_.kernel = Kernel::barrier;
    result_.x = reduction.restore_columns(best.x);
    const std::vector<double> normals = normals_at(best);
    result_.row_dual = reduction.restore_duals(result_.x, best.y, normals);
    result_.quadratic_dual.assign(source_.quadratic_rows.size(), 0.0);
    for (std::size_t r = 0; r < best.row_dual.size(); ++r) {
        result_.quadratic_dual[at(presolve_.convex_source()[r])] =
            program().rows[r].sign * best.row_dual[r];
    }
    Evaluation evaluation = evaluate(presolve_.model(), result_.x, result_.row_dual, normals);
    add_conditions(best.rows, evaluation.objective, evaluation.residuals);
    result_.objective = evaluation.objective;
    result_.residuals = evaluation.residuals;
    result_.row_activity = std::move(evaluation.activity);
    result_.reduced_cost = std::move(evaluation.reduced_cost);
    if (result_.status == ConvexStatus::optimal && !meets(result_.residuals, control_)) {
        finish(ConvexStatus::numerical_failure);
    }
}

void ConeSolver::evaluate_quadratic_rows() {
    result_.quadratic_activity.clear();
    for (std::size_t k = 0; k < source_.quadratic_rows.size(); ++k) {
        const QuadraticRow& row = source_.quadratic_rows[k];
        double value = 0.0;
        double size = 1.0;
        auto add = [&](double term) {
            value += term;
            size = std::max(size, std::abs(term));
        };
        for (const Triplet& entry : row.hessian) {
            const double half = entry.row == entry.column ? 0.5 : 1.0;
            add(half * entry.value * result_.x[at(entry.row)] * result_.x[at(entry.column)]);
        }
        for (std::size_t c = 0; c < row.columns.size(); ++c) {
            add(row.coefficients[c] * result_.x[at(row.columns[c])]);
        }
        result_.quadratic_activity.push_back(value);
        // The equations stood for the row; the row itself has the last word.
        const double beyond = std::max(row.lower - value, value - row.upper) / size;
        if (presolve_.is_flat()[k] && result_.status == ConvexStatus::optimal &&
            !(beyond <= control_.feasibility_tolerance)) {
            finish(ConvexStatus::numerical_failure);
        }
    }
}

// Columns that are fixed, or held by equations in place of a row, answer for all that is left.
void ConeSolver::price_held_columns() {
    if (result_.reduced_cost.empty()) return;
    std::vector<double> price = source_.cost;
    for (const Triplet& e : source_.hessian) {
        price[at(e.row)] += e.value * result_.x[at(e.column)];
        if (e.row != e.column) price[at(e.column)] += e.value * result_.x[at(e.row)];
    }
    for (const Triplet& e : source_.rows) {
        price[at(e.column)] -= e.value * result_.row_dual[at(e.row)];
    }
    std::vector<bool> held(price.size(), false);
    for (std::size_t k = 0; k < source_.quadratic_rows.size(); ++k) {
        add_gradient(k, -result_.quadratic_dual[k], price);
        if (!presolve_.is_flat()[k]) continue;
        const QuadraticRow& row = source_.quadratic_rows[k];
        for (const Triplet& e : row.hessian) held[at(e.row)] = held[at(e.column)] = true;
        for (const int j : row.columns) held[at(j)] = true;
    }
    for (std::size_t j = 0; j < price.size(); ++j) {
        const bool fixed = source_.column_lower[j] == source_.column_upper[j];
        if (fixed || held[j]) result_.reduced_cost[j] = price[j];
    }
}

void ConeSolver::solve_with_cones() {
    if (!has_convex_objective()) return;
    if (!nlp::InteriorPointSolver::is_available()) {
        finish(ConvexStatus::unsupported);
        return;
    }
    const bool settled = climb();
    const bool proven =
        result_.status == ConvexStatus::infeasible || result_.status == ConvexStatus::unbounded;
    if (!proven && !best_.x.empty()) report(best_);
    if (!settled || result_.status == ConvexStatus::numerical_failure) diagnose();
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
    presolve_.restore_duals(result_);
    if (!result_.x.empty()) {
        evaluate_quadratic_rows();
        price_held_columns();
    }
    return std::move(result_);
}

}  // namespace

ConvexResult solve_with_quadratic_rows(const ConvexProgram& program, const ConvexControl& control) {
    return ConeSolver(program, control).solve();
}

}  // namespace qlx::quad
