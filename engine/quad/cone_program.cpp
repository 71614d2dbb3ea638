// Solving convex programs with quadratic rows by the barrier method.
#include "engine/quad/cone_program.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/nlp/interior/interior_point_solver.hpp"
#include "engine/quad/barrier_kernel.hpp"
#include "engine/quad/cone_certificates.hpp"
#include "engine/quad/curvature.hpp"
#include "engine/quad/ladder.hpp"
#include "engine/quad/residuals.hpp"

namespace qlx::quad {

namespace {

// Measured at apexes: 6 to 17 steps, where the quadratic form takes about 50 and is off by 1e-6.
constexpr double kSmoothing = 1e-9;
constexpr double kCoarseSmoothing = 1e-7;
// The smoothed form of a cone has a dense Hessian, so wider cones begin with the quadratic form.
constexpr std::size_t kWideCone = 300;
// The proofs below want an optimum this sharp, and a direction this good.
constexpr double kRayTolerance = 1e-7;
constexpr double kRayFall = 1e-4;

std::size_t at(int i) noexcept {
    return static_cast<std::size_t>(i);
}

// One answer of the barrier method with its evaluation.
struct Attempt {
    KernelClaim claim = KernelClaim::failed;
    int iterations = 0;
    std::vector<double> x;
    std::vector<double> y;         // linear rows
    std::vector<double> row_dual;  // convex rows, as sides of their quadratic functions
    Evaluation evaluation;
};

// Duals of a cone's norm form are divided by the length of the axis to belong to the quadratic
// form; at the apex that has no limit, and this bounds it.
constexpr double kShortestAxis = 1e-6;

double quadratic_dual(const ConvexRow& row, double dual, std::span<const double> x) {
    double along = 0.0;
    for (std::size_t k = 0; k < row.columns.size(); ++k) {
        along += row.axis[k] * (x[at(row.columns[k])] - row.apex[k]);
    }
    return dual / std::max(along, kShortestAxis);
}

Attempt attempt(const ConeProgram& program, double smoothing, int iterations,
                const StopRule& rule) {
    BarrierProblem problem(program, smoothing);
    nlp::LocalAnswer answer =
        nlp::InteriorPointSolver().solve(problem, barrier_options(rule, iterations));
    Attempt out;
    out.claim = claim_of(answer.status);
    out.iterations = answer.iterations;
    if (answer.x.size() != program.model.cost.size()) return out;
    out.x = std::move(answer.x);
    const std::size_t linear = program.model.row_lower.size();
    out.y.assign(answer.row_dual.begin(),
                 answer.row_dual.begin() + static_cast<std::ptrdiff_t>(linear));
    std::vector<double> normals(out.x.size(), 0.0);
    for (std::size_t r = 0; r < program.rows.size(); ++r) {
        const ConvexRow& row = program.rows[r];
        const double dual = std::min(answer.row_dual[linear + r], 0.0);
        const std::vector<double> gradient = problem.row_gradient(row, out.x);
        for (std::size_t k = 0; k < gradient.size(); ++k) {
            normals[at(row.columns[k])] += dual * gradient[k];
        }
    }
    out.evaluation = evaluate(program.model, out.x, out.y, normals);
    // Cones are measured along their axis; ellipsoids, by their function's value.
    for (std::size_t r = 0; r < program.rows.size(); ++r) {
        const ConvexRow& row = program.rows[r];
        const double dual = std::min(answer.row_dual[linear + r], 0.0);
        add_condition(dual, 0.0, problem.row_value(row, out.x), -kInfiniteBound,
                      problem.row_upper(row), out.evaluation.objective, out.evaluation.residuals);
        out.row_dual.push_back(problem.is_smoothed(row) ? quadratic_dual(row, dual, out.x) : dual);
    }
    return out;
}

// The program with its quadratic rows sorted by what they are.
class ConeSolver {
  public:
    ConeSolver(const ConvexProgram& program, const ConvexControl& control)
        : source_(program), control_(control) {
        program_.model = linear_part(program);
    }
    ConvexResult solve();

  private:
    bool sort_rows();
    bool has_convex_objective();
    bool has_consistent_bounds();
    void add_linear_rows(const std::vector<std::pair<int, ConvexRow>>& rows);
    bool climb();
    bool diagnose();
    bool is_proven_infeasible(std::vector<double>& feasible_point);
    bool is_proven_unbounded();
    void report(const Attempt& best);
    void evaluate_quadratic_rows();
    void price_fixed_columns();
    void restore_linear_rows();
    bool finish(ConvexStatus status) {
        result_.status = status;
        return true;
    }

    const ConvexProgram& source_;
    const ConvexControl& control_;
    ConeProgram program_;
    std::vector<int> convex_source_;  // quadratic row behind each convex row
    std::vector<int> linear_source_;  // and behind each linear row added
    ConvexResult result_;
};

// Rows without a quadratic part join the linear ones. Returns false where the status is settled.
bool ConeSolver::sort_rows() {
    std::vector<std::pair<int, ConvexRow>> linear;
    for (int k = 0; k < static_cast<int>(source_.quadratic_rows.size()); ++k) {
        ConvexRow row =
            recognise(source_.quadratic_rows[at(k)], source_.column_lower, source_.column_upper);
        switch (row.shape) {
            case RowShape::free:
                break;
            case RowShape::linear:
                linear.emplace_back(k, std::move(row));
                break;
            case RowShape::ellipsoid:
            case RowShape::cone:
                convex_source_.push_back(k);
                program_.rows.push_back(std::move(row));
                break;
            case RowShape::nonconvex:
                result_.place = {-1, k, row.first_column, row.second_column};
                return !finish(ConvexStatus::nonconvex);
            case RowShape::undecided:
                result_.place.quadratic_row = k;
                return !finish(ConvexStatus::numerical_failure);
        }
    }
    add_linear_rows(linear);
    return true;
}

void ConeSolver::add_linear_rows(const std::vector<std::pair<int, ConvexRow>>& rows) {
    if (rows.empty()) return;
    QuadraticModel& model = program_.model;
    std::vector<Triplet> entries = source_.rows;
    for (const auto& [k, row] : rows) {
        linear_source_.push_back(k);
        const int place = model.row_count();
        for (std::size_t c = 0; c < row.columns.size(); ++c) {
            entries.push_back({place, row.columns[c], row.linear[c]});
        }
        const QuadraticRow& source = source_.quadratic_rows[at(k)];
        const bool below = is_finite_lower(source.lower);
        const bool above = is_finite_upper(source.upper);
        model.row_lower.push_back(below ? source.lower - row.upper : -kInfiniteBound);
        model.row_upper.push_back(above ? source.upper - row.upper : kInfiniteBound);
    }
    model.rows = compress(model.row_count(), model.column_count(), entries);
}

bool ConeSolver::has_consistent_bounds() {
    const QuadraticModel& model = program_.model;
    for (int j = 0; j < model.column_count(); ++j) {
        if (model.column_lower[at(j)] <= model.column_upper[at(j)]) continue;
        result_.place.first_column = j;
        return !finish(ConvexStatus::infeasible);
    }
    for (int i = 0; i < model.row_count(); ++i) {
        if (model.row_lower[at(i)] <= model.row_upper[at(i)]) continue;
        result_.place.row = i;
        return !finish(ConvexStatus::infeasible);
    }
    return true;
}

// Products with fixed columns are linear, so they do not count.
bool ConeSolver::has_convex_objective() {
    std::vector<Triplet> moving;
    for (const Triplet& entry : source_.hessian) {
        auto fixed = [&](int j) {
            return source_.column_lower[at(j)] == source_.column_upper[at(j)];
        };
        if (!fixed(entry.row) && !fixed(entry.column)) moving.push_back(entry);
    }
    const CurvatureVerdict verdict =
        test_curvature(compress_symmetric(source_.column_count(), moving));
    if (verdict.curvature == Curvature::convex) return true;
    if (verdict.curvature == Curvature::undecided) return !finish(ConvexStatus::numerical_failure);
    result_.place.first_column = verdict.first_column;
    result_.place.second_column = verdict.second_column;
    return !finish(ConvexStatus::nonconvex);
}

// Returns true where the outcome is settled.
bool ConeSolver::climb() {
    bool cones = false;
    bool wide = false;
    for (const ConvexRow& row : program_.rows) {
        cones = cones || row.shape == RowShape::cone;
        wide = wide || (row.shape == RowShape::cone && row.columns.size() > kWideCone);
    }
    std::vector<double> rungs{0.0};
    if (cones) rungs = {kSmoothing, kCoarseSmoothing, 0.0};
    if (wide) rungs = {0.0, kCoarseSmoothing};
    Attempt best;
    bool out_of_iterations = false;
    for (const double smoothing : rungs) {
        Attempt next = attempt(program_, smoothing, control_.iteration_limit, control_.stop);
        result_.iterations += next.iterations;
        out_of_iterations = next.claim == KernelClaim::iteration_limit;
        if (!next.x.empty() &&
            (best.x.empty() || next.evaluation.worst() < best.evaluation.worst())) {
            best = std::move(next);
        }
        if (control_.stop.stop() ||
            (!best.x.empty() && meets(best.evaluation.residuals, control_))) {
            break;
        }
    }
    if (!best.x.empty()) report(best);
    if (!best.x.empty() && meets(best.evaluation.residuals, control_)) {
        return finish(ConvexStatus::optimal);
    }
    if (control_.stop.stop()) return finish(stop_status(control_.stop));
    finish(out_of_iterations ? ConvexStatus::iteration_limit : ConvexStatus::numerical_failure);
    return false;
}

bool ConeSolver::is_proven_infeasible(std::vector<double>& feasible_point) {
    const Attempt least =
        attempt(least_violation(program_), kSmoothing, control_.iteration_limit, control_.stop);
    result_.iterations += least.iterations;
    if (least.x.empty()) return false;
    const std::size_t columns = program_.model.cost.size();
    feasible_point.assign(least.x.begin(), least.x.begin() + static_cast<std::ptrdiff_t>(columns));
    double worst = 0.0;
    BarrierProblem problem(program_, kSmoothing);
    const std::size_t linear = program_.model.row_lower.size();
    std::vector<double> activity(linear + program_.rows.size());
    problem.rows(feasible_point, activity);
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
    if (worst <= control_.feasibility_tolerance) return false;
    const bool feasible_least = least.evaluation.residuals.primal <= control_.feasibility_tolerance;
    feasible_point.clear();
    // The duality gap of a convex optimum bounds the least violation away from zero.
    const double gap =
        least.evaluation.residuals.complementarity * (1.0 + least.evaluation.objective);
    const bool sharp = feasible_least &&
                       least.evaluation.residuals.dual <= control_.optimality_tolerance &&
                       gap < 0.5 * least.evaluation.objective;
    if (!sharp) return false;
    result_.place = {};
    if (place < at(source_.row_count())) {
        result_.place.row = static_cast<int>(place);
    } else if (place < linear) {
        result_.place.quadratic_row = linear_source_[place - at(source_.row_count())];
    } else {
        result_.place.quadratic_row = convex_source_[place - linear];
    }
    return true;
}

bool ConeSolver::is_proven_unbounded() {
    const ConeProgram rays = recession(program_);
    if (std::all_of(rays.model.cost.begin(), rays.model.cost.end(),
                    [](double c) { return c == 0.0; })) {
        return false;
    }
    const Attempt steepest = attempt(rays, kSmoothing, control_.iteration_limit, control_.stop);
    result_.iterations += steepest.iterations;
    if (steepest.x.empty() || !meets(steepest.evaluation.residuals, control_) ||
        steepest.evaluation.residuals.primal > kRayTolerance ||
        steepest.evaluation.objective > -kRayFall) {
        return false;
    }
    result_.ray = steepest.x;
    return true;
}

bool ConeSolver::diagnose() {
    std::vector<double> feasible_point;
    if (is_proven_infeasible(feasible_point)) return finish(ConvexStatus::infeasible);
    if (control_.stop.stop()) return finish(stop_status(control_.stop));
    if (feasible_point.empty() || !is_proven_unbounded()) return false;
    result_.x = std::move(feasible_point);
    return finish(ConvexStatus::unbounded);
}

void ConeSolver::report(const Attempt& best) {
    result_.kernel = Kernel::barrier;
    result_.x = best.x;
    result_.objective = best.evaluation.objective;
    result_.residuals = best.evaluation.residuals;
    result_.row_activity = best.evaluation.activity;
    result_.row_dual = best.y;
    result_.reduced_cost = best.evaluation.reduced_cost;
    result_.quadratic_dual.assign(source_.quadratic_rows.size(), 0.0);
    for (std::size_t r = 0; r < program_.rows.size(); ++r) {
        result_.quadratic_dual[at(convex_source_[r])] = program_.rows[r].sign * best.row_dual[r];
    }
}

void ConeSolver::evaluate_quadratic_rows() {
    result_.quadratic_activity.clear();
    for (const QuadraticRow& row : source_.quadratic_rows) {
        double value = 0.0;
        for (const Triplet& entry : row.hessian) {
            const double half = entry.row == entry.column ? 0.5 : 1.0;
            value += half * entry.value * result_.x[at(entry.row)] * result_.x[at(entry.column)];
        }
        for (std::size_t k = 0; k < row.columns.size(); ++k) {
            value += row.coefficients[k] * result_.x[at(row.columns[k])];
        }
        result_.quadratic_activity.push_back(value);
    }
}

// Recognition takes fixed columns for constants, so the rows' terms in them are missing so far.
void ConeSolver::price_fixed_columns() {
    if (result_.reduced_cost.empty()) return;
    std::vector<double> price = source_.cost;
    auto add_hessian = [&](const std::vector<Triplet>& hessian, double factor) {
        for (const Triplet& e : hessian) {
            price[at(e.row)] += factor * e.value * result_.x[at(e.column)];
            if (e.row != e.column) price[at(e.column)] += factor * e.value * result_.x[at(e.row)];
        }
    };
    add_hessian(source_.hessian, 1.0);
    for (const Triplet& e : source_.rows) {
        price[at(e.column)] -= e.value * result_.row_dual[at(e.row)];
    }
    for (std::size_t k = 0; k < source_.quadratic_rows.size(); ++k) {
        const QuadraticRow& row = source_.quadratic_rows[k];
        add_hessian(row.hessian, -result_.quadratic_dual[k]);
        for (std::size_t c = 0; c < row.columns.size(); ++c) {
            price[at(row.columns[c])] -= row.coefficients[c] * result_.quadratic_dual[k];
        }
    }
    for (std::size_t j = 0; j < price.size(); ++j) {
        if (source_.column_lower[j] == source_.column_upper[j]) result_.reduced_cost[j] = price[j];
    }
}

// Takes the rows that were linear after all out of the linear ones again.
void ConeSolver::restore_linear_rows() {
    const std::size_t own = at(source_.row_count());
    if (result_.quadratic_dual.empty()) {
        result_.quadratic_dual.assign(source_.quadratic_rows.size(), 0.0);
    }
    if (result_.row_dual.size() > own) {
        for (std::size_t k = 0; k < linear_source_.size(); ++k) {
            result_.quadratic_dual[at(linear_source_[k])] = result_.row_dual[own + k];
        }
        result_.row_dual.resize(own);
        result_.row_activity.resize(std::min(own, result_.row_activity.size()));
    }
    if (result_.place.row >= static_cast<int>(own)) {
        result_.place.quadratic_row = linear_source_[at(result_.place.row) - own];
        result_.place.row = -1;
    }
}

ConvexResult ConeSolver::solve() {
    if (!sort_rows() || !has_consistent_bounds()) return std::move(result_);
    if (program_.rows.empty()) {
        result_ = solve_quadratic(program_.model, control_);
    } else {
        if (!has_convex_objective()) return std::move(result_);
        if (!nlp::InteriorPointSolver::is_available()) {
            finish(ConvexStatus::unsupported);
            return std::move(result_);
        }
        if (!climb()) diagnose();
    }
    restore_linear_rows();
    if (!result_.x.empty()) {
        evaluate_quadratic_rows();
        price_fixed_columns();
    }
    return std::move(result_);
}

}  // namespace

ConvexResult solve_with_quadratic_rows(const ConvexProgram& program, const ConvexControl& control) {
    return ConeSolver(program, control).solve();
}

}  // namespace qlx::quad
