// Nonlinear problems: presolve, local solvers, and what their answers prove.
#include <algorithm>
#include <cmath>
#include <optional>

#include "engine/base/index.hpp"
#include "engine/core/nonlinear_problem.hpp"
#include "engine/nlp/analysis/convexity.hpp"
#include "engine/nlp/presolve/kinks.hpp"
#include "engine/nlp/presolve/nonlinear_presolve.hpp"
#include "engine/nlp/presolve/start_point.hpp"
#include "engine/nlp/statement/statement.hpp"
#include "engine/nlp/tape/nonlinear_program.hpp"
#include "engine/solve/classify.hpp"
#include "engine/solve/kernel_options.hpp"
#include "engine/solve/local_attempts.hpp"
#include "engine/solve/solve.hpp"
#include "engine/solve/solve_session.hpp"

namespace qlx {

namespace {

// A nonlinear status with the reason of a stop and the words of the log.
struct Ending {
    int status;
    int stop;
    std::string text;
};

// What keeps a model from the local solvers: the tree takes it one day.
void refuse_discrete(Model& model) {
    const auto refuse = [](const auto&... what) {
        fail(QLX_ERROR_UNSUPPORTED, "no solver for nonlinear problems with ", what...,
             " yet; without it a local solver would take the problem");
    };
    for (int col = 0; col < model.num_cols(); ++col)
        if (const char type = model.col_type()[at(col)]; type != 'C')
            refuse("columns that are not continuous, as column ", col, " (",
                   model.col_names().name(col), ") of type '", type, "',");
    if (model.num_sets() > 0) refuse("special ordered sets, as set 0,");
    if (!model.indicators().empty())
        refuse("indicators, as that of row ", model.indicators().begin()->first, ",");
}

// States that a presolved form of the problem is being solved.
class PresolvedMark {
  public:
    explicit PresolvedMark(NonlinearProblem& problem) : problem_(problem) {
        problem_.presolve_state |= kPresolved;
    }
    ~PresolvedMark() { problem_.presolve_state &= ~kPresolved; }
    PresolvedMark(const PresolvedMark&) = delete;
    PresolvedMark& operator=(const PresolvedMark&) = delete;

  private:
    NonlinearProblem& problem_;
};

// A statement with its kinks smoothed, and the program of it.
class SmoothedProgram final : public nlp::LocalProblem {
  public:
    SmoothedProgram(const nlp::Statement& stated, double eps)
        : statement_(nlp::smooth_kinks(stated, eps).statement),
          program_(statement_, statement_.functions) {}

    const nlp::LocalBounds& bounds() const override { return program_.bounds(); }
    const nlp::SparsePattern& jacobian_pattern() const override {
        return program_.jacobian_pattern();
    }
    const nlp::SparsePattern& hessian_pattern() const override {
        return program_.hessian_pattern();
    }
    std::vector<double> start() const override { return program_.start(); }
    bool is_linear_row(int row) const override { return program_.is_linear_row(row); }
    bool has_kinks() const override { return program_.has_kinks(); }
    bool objective(std::span<const double> x, double& value) override {
        return program_.objective(x, value);
    }
    bool gradient(std::span<const double> x, std::span<double> out) override {
        return program_.gradient(x, out);
    }
    bool rows(std::span<const double> x, std::span<double> out) override {
        return program_.rows(x, out);
    }
    bool jacobian(std::span<const double> x, std::span<double> out) override {
        return program_.jacobian(x, out);
    }
    bool hessian(std::span<const double> x, double objective_factor,
                 std::span<const double> multipliers, std::span<double> out) override {
        return program_.hessian(x, objective_factor, multipliers, out);
    }

  private:
    nlp::Statement statement_;
    nlp::NonlinearProgram program_;
};

class LocalSolve {
  public:
    explicit LocalSolve(SolveSession& session)
        : session_(session),
          model_(session.model()),
          presolve_(nlp::state_model(model_), {session.controls().nlpfeastol}) {}

    Ending run() {
        if (presolve_.verdict() == nlp::PresolveVerdict::kInfeasible)
            return {QSLP_INFEASIBLE, QLX_STOP_NONE, "Infeasible: " + blame()};
        const PresolvedMark mark(*session_.problem().nonlinear);
        const nlp::Statement& reduced = presolve_.reduced();
        nlp::KinkReformulation kinks = nlp::reformulate_kinks(reduced);
        if (kinks.replaced > 0) {
            free_columns_from(reduced.column_lower.size(), kinks.statement);
            if (const auto ending = solve_stated(kinks.statement, true)) return *ending;
        }
        return *solve_stated(reduced, false);
    }

  private:
    // The columns of kinks get no bounds, which would take the duals that belong to their rows.
    static void free_columns_from(std::size_t first, nlp::Statement& statement) {
        const auto begin = static_cast<std::ptrdiff_t>(first);
        std::fill(statement.column_lower.begin() + begin, statement.column_lower.end(), -kInfinity);
        std::fill(statement.column_upper.begin() + begin, statement.column_upper.end(), kInfinity);
    }

    // Nothing where kinks are stated by rows and the answer says nothing of the kinks themselves.
    std::optional<Ending> solve_stated(const nlp::Statement& stated, bool has_rows_of_kinks) {
        nlp::NonlinearProgram program(stated, stated.functions);
        nlp::StartPoint start = nlp::find_start(stated, program);
        report_start(start);
        const LocalOutcome outcome = solve_locally(
            session_, {program, std::move(start.x),
                       [&](double eps) { return std::make_unique<SmoothedProgram>(stated, eps); }});
        NonlinearProblem& problem = *session_.problem().nonlinear;
        problem.iterations += outcome.iterations;
        problem.evaluations += outcome.evaluations;
        if (has_rows_of_kinks && outcome.stop_reason == QLX_STOP_NONE && !outcome.is_unbounded &&
            outcome.is_feasible && !(outcome.is_optimal && is_tight(outcome)))
            return std::nullopt;
        return verdict(outcome, hold(outcome, program));
    }

    // Whether the columns of kinks are at the kinks' values, as far as the objective can tell: a
    // power of one that is beyond has stationary points of its own.
    bool is_tight(const LocalOutcome& outcome) const {
        const nlp::Statement& reduced = presolve_.reduced();
        nlp::NonlinearProgram program(reduced, reduced.functions);
        double value = 0;
        return program.objective(std::span(outcome.answer.x).first(reduced.moving.size()), value) &&
               std::fabs(value - outcome.answer.objective) <=
                   1e-6 * std::max(1.0, std::fabs(value));
    }

    // Whether the linear rows and bounds alone have no solution.
    bool linear_rows_contradict() {
        Problem part;
        part.model.copy_from(model_);
        Model& linear = part.model;
        for (std::size_t term = 0; term < linear.nonlinear().coefficients.num_terms(); ++term)
            linear.set_row_type(linear.nonlinear().coefficients.row(term), 'N', 0);
        linear.nonlinear().coefficients.clear();
        linear.clear_quadratic(-1);
        std::vector<int> quadratic;
        for (const auto& [row, form] : linear.quadratic_rows()) quadratic.push_back(row);
        for (const int row : quadratic) {
            linear.clear_quadratic(row);
            linear.set_row_type(row, 'N', 0);
        }
        for (int col = 0; col < linear.num_cols(); ++col) linear.set_cost(col, 0);
        SolveSession nested(session_, part);
        solve_part(nested, nullptr);
        return part.results.lp_status == QLX_LP_INFEAS;
    }

    void report_start(const nlp::StartPoint& start) {
        if (!start.is_defined)
            session_.send(
                QLX_MSG_WARNING, message::kProgress,
                join("No start was found at which all functions are defined: ", start.complaint));
        else if (start.is_repaired)
            session_.send(QLX_MSG_INFORMATION, message::kProgress,
                          "The start was moved to where all functions are defined");
    }

    std::string blame() const {
        const nlp::PresolveBlame& blame = presolve_.blame();
        std::string where;
        if (blame.row >= 0) {
            const int row = presolve_.given().model_row[at(blame.row)];
            where = join("row \"", model_.row_names().name(row), "\": ");
        } else if (blame.column >= 0 && blame.column < model_.num_cols()) {
            where = join("column \"", model_.col_names().name(blame.column), "\": ");
        }
        return where + blame.reason;
    }

    // Puts the point into the results; false where it is not feasible for the model.
    bool hold(const LocalOutcome& outcome, nlp::LocalProblem& program) {
        const nlp::LocalAnswer& answer = outcome.answer;
        const std::vector<double> costs = reduced_costs(program, answer.x, answer.row_dual).value;
        // Columns and rows of kinks come last.
        const std::size_t columns = presolve_.reduced().moving.size();
        const std::size_t rows = presolve_.reduced().row_lower.size();
        nlp::FullPoint full = presolve_.postsolve(std::span(answer.x).first(columns),
                                                  std::span(answer.row_dual).first(rows),
                                                  std::span(costs).first(columns));
        Solution point;
        point.x.assign(full.x.begin(), full.x.begin() + model_.num_cols());
        point.dj = std::move(full.column_dual);
        point.dj.resize(at(model_.num_cols()));
        point.dual.assign(at(model_.num_rows()), 0.0);
        for (std::size_t row = 0; row < full.row_dual.size(); ++row)
            if (const int stated = presolve_.given().model_row[row]; stated >= 0)
                point.dual[at(stated)] = model_.sense() * full.row_dual[row];
        for (double& dj : point.dj) dj *= model_.sense();
        if (session_.incumbents().take_relaxed(point) != nullptr) return true;
        session_.incumbents().hold_unproved(std::move(point));
        return false;
    }

    Ending verdict(const LocalOutcome& outcome, bool kept) {
        if (outcome.is_optimal && kept) {
            if (nlp::is_convex_program(presolve_.reduced()))
                return {QSLP_GLOBALLY_OPTIMAL, QLX_STOP_NONE, "Globally optimal"};
            return {QSLP_LOCALLY_OPTIMAL, QLX_STOP_NONE, "Locally optimal"};
        }
        if (outcome.is_unbounded) return {QSLP_UNBOUNDED, QLX_STOP_NONE, "Unbounded"};
        if (outcome.stop_reason != QLX_STOP_NONE)
            return {QSLP_UNFINISHED, outcome.stop_reason, "Stopped early"};
        if (outcome.answer.status == nlp::LocalStatus::kInfeasible && !outcome.is_feasible) {
            if (linear_rows_contradict())
                return {QSLP_INFEASIBLE, QLX_STOP_NONE, "Infeasible: the linear rows contradict"};
            return {QSLP_LOCALLY_INFEASIBLE, QLX_STOP_NONE, "Locally infeasible"};
        }
        return {QSLP_UNFINISHED, QLX_STOP_NUMERICS, "Not solved to the tolerances"};
    }

    SolveSession& session_;
    Model& model_;
    nlp::NonlinearPresolve presolve_;
};

// Of a problem without nonlinear coefficients, solved as what it is.
Ending translated(const Results& results) {
    switch (results.lp_status) {
        case QLX_LP_OPTIMAL:
            return {QSLP_GLOBALLY_OPTIMAL, results.stop_status, ""};
        case QLX_LP_INFEAS:
            return {QSLP_INFEASIBLE, results.stop_status, ""};
        case QLX_LP_UNBOUNDED:
            return {QSLP_UNBOUNDED, results.stop_status, ""};
        default:
            return {QSLP_UNFINISHED, results.stop_status, ""};
    }
}

Ending solve_as_is(SolveSession& session, ProblemClass problem_class, const char* flags) {
    if (problem_class == ProblemClass::kLp) {
        solve_lp(session, flags);
        return translated(session.results());
    }
    solve_quadratic(session);
    if (session.results().lp_status != QLX_LP_NONCONVEX) return translated(session.results());
    session.send_start(class_name(ProblemClass::kNlp));
    return LocalSolve(session).run();
}

}  // namespace

void solve_nonlinear(NonlinearProblem& problem, const char* flags) {
    Model& model = problem.linear.model;
    if (model.num_cols() == 0 && model.num_rows() == 0)
        fail(QLX_ERROR_STATE, "the problem is empty: add columns or rows before solving it");
    refuse_unknown_flags(flags);
    refuse_discrete(model);
    problem.forget_results();
    SolveSession session(problem.linear);
    const ProblemClass problem_class = classify(model, false);
    Ending ending;
    if (problem_class == ProblemClass::kNlp) {
        session.send_start(class_name(problem_class));
        ending = LocalSolve(session).run();
    } else {
        ending = solve_as_is(session, problem_class, flags);
    }
    problem.status = ending.status;
    problem.objective = session.results().lp.objective();
    session.results().stop_status = ending.stop;
    if (!ending.text.empty()) session.send_end(ending.text.c_str(), problem.objective);
}

}  // namespace qlx
