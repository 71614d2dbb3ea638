// Convex quadratic programs and quadratically constrained ones: between the store and engine/quad.
#include <algorithm>
#include <cmath>

#include "engine/base/index.hpp"
#include "engine/lp/live_model.hpp"
#include "engine/lp/quadratic_kernel.hpp"
#include "engine/quad/convex_program.hpp"
#include "engine/solve/kernel_options.hpp"
#include "engine/solve/solve.hpp"
#include "engine/solve/solve_session.hpp"

namespace qlx {

namespace {

// Half x'Qx takes a square's coefficient twice and a product's once.
std::vector<quad::Triplet> hessian_of(const QuadraticForm& form, double factor) {
    std::vector<quad::Triplet> hessian;
    hessian.reserve(form.terms().size());
    for (const QuadraticTerm& term : form.terms()) {
        const double value = term.first == term.second ? 2 * term.coefficient : term.coefficient;
        hessian.push_back({term.second, term.first, factor * value});
    }
    return hessian;
}

// A power of two that lifts the objective's largest coefficient to 1 and above: tolerances are
// absolute, and beside variances of 1e-8 every portfolio would be optimal.
double lift_of(const Model& model) {
    constexpr int kLargestExponent = 200;
    double largest = 0;
    for (const double cost : model.obj()) largest = std::max(largest, std::fabs(cost));
    for (const QuadraticTerm& term : model.quadratic_objective().terms())
        largest = std::max(largest, std::fabs(term.coefficient));
    if (!(largest > 0) || largest >= 1) return 1;
    return std::ldexp(1.0, std::min(kLargestExponent, -std::ilogb(largest)));
}

// The model as a minimisation, with the way back from its rows to the model's.
class Statement {
  public:
    explicit Statement(Model& model) : model_(model), sense_(model.sense()) {
        state_columns();
        state_rows();
    }

    [[nodiscard]] const quad::ConvexProgram& program() const noexcept { return program_; }
    [[nodiscard]] int linear_row(int index) const { return linear_rows_[at(index)]; }
    [[nodiscard]] int quadratic_row(int index) const { return quadratic_rows_[at(index)]; }

    // Duals of the model's rows, in the model's own sense and scale.
    [[nodiscard]] std::vector<double> duals(const quad::ConvexResult& result) const {
        std::vector<double> duals(at(model_.num_rows()), 0.0);
        for (std::size_t k = 0; k < result.row_dual.size(); ++k)
            duals[at(linear_rows_[k])] = sense_ * result.row_dual[k] / lift_;
        for (std::size_t k = 0; k < result.quadratic_dual.size(); ++k)
            duals[at(quadratic_rows_[k])] = sense_ * result.quadratic_dual[k] / lift_;
        return duals;
    }
    [[nodiscard]] std::vector<double> reduced_costs(const quad::ConvexResult& result) const {
        std::vector<double> costs = result.reduced_cost;
        for (double& cost : costs) cost *= sense_ / lift_;
        return costs;
    }

  private:
    void state_columns() {
        lift_ = lift_of(model_);
        program_.cost = model_.obj();
        for (double& cost : program_.cost) cost *= sense_ * lift_;
        program_.constant = sense_ * model_.constant() * lift_;
        program_.hessian = hessian_of(model_.quadratic_objective(), sense_ * lift_);
        for (int col = 0; col < model_.num_cols(); ++col) {
            const Sides bounds = model_.relaxed_bounds(col);
            program_.column_lower.push_back(bounds.lower);
            program_.column_upper.push_back(bounds.upper);
        }
    }

    void state_rows() {
        const auto& starts = model_.matrix().starts();
        const auto& columns = model_.matrix().columns();
        const auto& values = model_.matrix().values();
        const auto& forms = model_.quadratic_rows();
        for (int row = 0; row < model_.num_rows(); ++row) {
            const Sides sides = model_.relaxed_sides(row);
            const std::int64_t first = starts[at(row)];
            const std::int64_t last = starts[at(row) + 1];
            if (const auto form = forms.find(row); form != forms.end()) {
                quadratic_rows_.push_back(row);
                program_.quadratic_rows.push_back(
                    {hessian_of(form->second, 1.0),
                     {columns.begin() + first, columns.begin() + last},
                     {values.begin() + first, values.begin() + last},
                     sides.lower,
                     sides.upper});
                continue;
            }
            const int index = program_.row_count();
            linear_rows_.push_back(row);
            program_.row_lower.push_back(sides.lower);
            program_.row_upper.push_back(sides.upper);
            for (std::int64_t k = first; k < last; ++k)
                program_.rows.push_back({index, columns[at(k)], values[at(k)]});
        }
    }

    Model& model_;
    const int sense_;
    double lift_ = 1;
    quad::ConvexProgram program_;
    std::vector<int> linear_rows_;
    std::vector<int> quadratic_rows_;
};

quad::ConvexControl control_of(const SolveSession& session) {
    quad::ConvexControl control;
    control.feasibility_tolerance = session.controls().feastol;
    control.optimality_tolerance = session.controls().opttol;
    control.iteration_budget = session.controls().lpiterlimit;
    control.stop = session.stop_rule();
    control.large_scale_qp = [threads = kernel_options(session.controls(), nullptr).threads](
                                 const quad::QuadraticModel& model, const StopRule& rule,
                                 int iterations) {
        return solve_large_quadratic(model, rule, iterations, threads);
    };
    return control;
}

std::string column_pair(Problem& problem, const quad::ModelPlace& place) {
    if (place.first_column < 0) return "";
    Names& names = problem.model.col_names();
    const std::string first = names.name(place.first_column);
    if (place.second_column < 0 || place.second_column == place.first_column)
        return join(" in column \"", first, "\"");
    return join(" in columns \"", first, "\" and \"", names.name(place.second_column), "\"");
}

void send_nonconvex(SolveSession& session, const Statement& statement,
                    const quad::ModelPlace& place) {
    Problem& problem = session.problem();
    std::string where = "the objective";
    if (place.quadratic_row >= 0) {
        const int row = statement.quadratic_row(place.quadratic_row);
        where = join("row \"", problem.model.row_names().name(row), "\"");
    }
    session.send(QLX_MSG_ERROR, message::kNonconvex,
                 join("The problem is not convex: ", where, " has negative curvature",
                      column_pair(problem, place)));
}

// Hands the point to the incumbents; true if they take it.
bool take_point(SolveSession& session, const Statement& statement,
                const quad::ConvexResult& result) {
    const Model& model = session.model();
    if (result.x.size() != at(model.num_cols())) return false;
    Solution point;
    point.x = result.x;
    point.dual = statement.duals(result);
    point.dj = statement.reduced_costs(result);
    return session.incumbents().take_relaxed(std::move(point)) != nullptr;
}

struct Outcome {
    int status;
    int stop;
    const char* text;
};

Outcome outcome_of(const SolveSession& session, quad::ConvexStatus status) {
    switch (status) {
        case quad::ConvexStatus::kOptimal:
            return {QLX_LP_OPTIMAL, QLX_STOP_NONE, "Optimal"};
        case quad::ConvexStatus::kInfeasible:
            return {QLX_LP_INFEAS, QLX_STOP_NONE, "Infeasible"};
        case quad::ConvexStatus::kUnbounded:
            return {QLX_LP_UNBOUNDED, QLX_STOP_NONE, "Unbounded"};
        case quad::ConvexStatus::kNonconvex:
            return {QLX_LP_NONCONVEX, QLX_STOP_NONE, "Not convex"};
        case quad::ConvexStatus::kIterationLimit:
            return {QLX_LP_UNFINISHED, QLX_STOP_ITERLIMIT, "Stopped early"};
        case quad::ConvexStatus::kTimeLimit:
            return {QLX_LP_UNFINISHED, QLX_STOP_TIMELIMIT, "Stopped early"};
        case quad::ConvexStatus::kInterrupted: {
            const int reason = session.stop_rule().reason();
            return {QLX_LP_UNFINISHED, reason != QLX_STOP_NONE ? reason : QLX_STOP_USER,
                    "Stopped early"};
        }
        default:
            return {QLX_LP_UNSOLVED, QLX_STOP_NUMERICS, "Not solved to the tolerances"};
    }
}

}  // namespace

void solve_quadratic(SolveSession& session) {
    Problem& problem = session.problem();
    session.send_start(problem.model.quadratic_rows().empty() ? "QP" : "QCQP");
    Results& results = session.results();
    if (session.controls().lpiterlimit == 0) {
        // The caller wants the model handed over and nothing solved.
        problem.live_model().hand_over_quadratic(problem.model, session.controls().matrixtol);
        results.lp_status = QLX_LP_UNFINISHED;
        results.stop_status = QLX_STOP_ITERLIMIT;
        return session.send_end("Stopped early", kNoValue);
    }
    const Statement statement(problem.model);
    const quad::ConvexResult result = quad::solve_convex(statement.program(), control_of(session));
    Outcome outcome = outcome_of(session, result.status);
    KernelResult work;
    work.interior_iterations = result.iterations;
    session.count(work);
    if (outcome.status == QLX_LP_NONCONVEX) send_nonconvex(session, statement, result.place);
    const bool has_answer = outcome.status == QLX_LP_OPTIMAL || outcome.status == QLX_LP_UNFINISHED;
    if (has_answer && !take_point(session, statement, result) && outcome.status == QLX_LP_OPTIMAL)
        outcome = outcome_of(session, quad::ConvexStatus::kNumericalFailure);
    results.lp_status = outcome.status;
    results.stop_status = outcome.stop;
    session.send_end(outcome.text, results.lp.objective());
}

}  // namespace qlx
