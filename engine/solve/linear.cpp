// Linear programs: the kernel's solve, our check of it, and the recovery ladder.
#include <algorithm>
#include <utility>

#include "engine/check/dual_check.hpp"
#include "engine/check/store_view.hpp"
#include "engine/lp/live_model.hpp"
#include "engine/solve/dense_simplex.hpp"
#include "engine/solve/kernel_options.hpp"
#include "engine/solve/linear_claims.hpp"
#include "engine/solve/recovery.hpp"
#include "engine/solve/refinement.hpp"
#include "engine/solve/solve.hpp"
#include "engine/solve/solve_session.hpp"

namespace qlx {

namespace {

// Largest violations that the duals of a point taken as optimal may have, relative as in the
// checks.
constexpr double kDualTolerance = 1e-6;
constexpr double kGapTolerance = 1e-6;

// Whether duals prove a point optimal.
bool are_optimal(SolveSession& session, const Solution& point, const std::vector<double>& duals,
                 const ReducedCosts& djs) {
    std::vector<double> activities = session.model().rhs();
    for (std::size_t row = 0; row < activities.size(); ++row) activities[row] -= point.slack[row];
    const DualCheck check =
        check_duals(session.model(), point.x, activities, point.objective, duals, djs);
    const double opttol = session.controls().opttol;
    return check.infeasibility <= std::max(kDualTolerance, 10 * opttol) &&
           check.gap <= std::max(kGapTolerance, 10 * opttol);
}

// Hands a point to the incumbents; true if its duals prove it optimal too, as they are or without
// what is rounding in them.
bool take_optimum(SolveSession& session, Solution point) {
    Model& model = session.model();
    drop_impossible_duals(model, point.dual);
    ReducedCosts djs = reduced_costs(model, point.dual);
    point.dj = djs.value;
    const auto taken = session.incumbents().take_relaxed(std::move(point));
    if (taken == nullptr) return false;
    if (are_optimal(session, *taken, taken->dual, djs)) return true;
    Solution cleared = *taken;
    if (!drop_rounding_duals(model, cleared.dual, djs)) return false;
    djs = reduced_costs(model, cleared.dual);
    if (!are_optimal(session, *taken, cleared.dual, djs)) return false;
    cleared.dj = djs.value;
    return session.incumbents().take_relaxed(std::move(cleared)) != nullptr;
}

// Hands the kernel's point to the incumbents; true if it is optimal too.
bool take_point(SolveSession& session, const LpKernel& kernel, const KernelResult& result) {
    if (!result.has_point) return false;
    Solution point;
    point.x = kernel.col_value();
    if (result.has_duals) point.dual = kernel.row_dual();
    if (result.has_duals && result.outcome == KernelOutcome::kOptimal)
        return take_optimum(session, std::move(point));
    if (result.has_duals) {
        drop_impossible_duals(session.model(), point.dual);
        point.dj = reduced_costs(session.model(), point.dual).value;
    }
    const auto taken = session.incumbents().take_relaxed(std::move(point));
    return taken != nullptr && result.outcome == KernelOutcome::kOptimal;
}

// Whether a limit that the caller knows of, or an interrupt, stopped a solve: limits of our own
// only say that another method is to be tried.
bool was_stopped(const KernelResult& result, const KernelOptions& asked) {
    if (result.outcome == KernelOutcome::kIterationLimit)
        return std::max({result.simplex_iterations, result.interior_iterations,
                         result.first_order_iterations}) >= asked.iteration_limit;
    return result.outcome == KernelOutcome::kTimeLimit ||
           result.outcome == KernelOutcome::kInterrupted;
}

// One solve by the kernel. True when its point is optimal by our check.
bool attempt(SolveSession& session, LpKernel& kernel, const KernelOptions& options,
             KernelResult& result) {
    result = session.run(kernel, options, session.events());
    return take_point(session, kernel, result);
}

// The solve as asked, then step by step up the ladder until an outcome stands our check. A claim
// that there is no optimum, which presolve makes without a proof, skips the steps with presolve;
// without presolve it is decided by programs of our own.
class Ladder {
  public:
    Ladder(SolveSession& session, const KernelOptions& asked)
        : session_(session), asked_(asked), kernel_(session.problem().live_model().kernel()) {}

    int climb() {
        for (std::size_t step = 0; step < recovery_ladder().size(); step = next(step)) {
            const int status = take(step);
            if (status == QLX_LP_INFEAS || status == QLX_LP_UNBOUNDED)
                session_.incumbents().forget();
            if (status >= 0) return status;
        }
        session_.send(QLX_MSG_WARNING, message::kRecovery,
                      "no result of the solver stood the check");
        session_.results().stop_status = QLX_STOP_NUMERICS;
        return QLX_LP_UNSOLVED;
    }

  private:
    [[nodiscard]] std::size_t next(std::size_t step) const {
        return claimed_ && step < kWithoutPresolve ? kWithoutPresolve : step + 1;
    }

    // -1 when the next step is to be taken.
    int take(std::size_t step) {
        const Recovery& recovery = recovery_ladder()[step];
        KernelOptions options = asked_;
        recovery.adjust(options);
        if (step > 0) {
            announce(recovery);
            kernel_.forget_basis();
        }
        KernelResult result;
        if (attempt(session_, kernel_, options, result)) return QLX_LP_OPTIMAL;
        if (was_stopped(result, asked_)) return QLX_LP_UNFINISHED;
        session_.results().stop_status = QLX_STOP_NONE;
        claimed_ = claims_no_optimum(result.outcome);
        if (claimed_) {
            const int status =
                status_by_rays(session_, result.outcome,
                               {kernel_.dual_ray(), kernel_.primal_ray(), kernel_.col_value()},
                               options.matrix_tolerance);
            if (status >= 0) return status;
        }
        // On a model without an optimum the solver may also end without a word.
        if (step < kWithoutPresolve || decided_) return -1;
        decided_ = true;
        const int status = refine(options);
        return status >= 0 ? status : status_by_phase_one(session_, options);
    }

    // To more digits, which also tells apart what the tolerances blur. -1 when nothing is proven.
    int refine(const KernelOptions& options) {
        const StoreView store(session_.model(), options.matrix_tolerance);
        const ProgramView& program = store.view();
        if (fits_dense_simplex(program)) {
            const DenseAnswer answer = solve_dense(program, session_.stop_rule());
            const int status = take_dense(answer, options.matrix_tolerance);
            if (status >= 0) return status;
        }
        Refinement refined(session_, program, options);
        while (refined.advance()) {
            if (claims_no_optimum(refined.outcome()))
                return status_by_rays(session_, refined.outcome(),
                                      {refined.dual_ray(), refined.primal_ray(), refined.x()},
                                      options.matrix_tolerance);
            if (take_minimum(refined.x(), refined.duals())) return QLX_LP_OPTIMAL;
        }
        return session_.results().stop_status != QLX_STOP_NONE ? QLX_LP_UNFINISHED : -1;
    }

    int take_dense(const DenseAnswer& answer, double matrix_tolerance) {
        switch (answer.status) {
            case DenseAnswer::Status::kOptimal:
                return take_minimum(answer.x, answer.duals) ? int{QLX_LP_OPTIMAL} : -1;
            case DenseAnswer::Status::kInfeasible:
                return status_by_rays(session_, KernelOutcome::kInfeasible, {answer.duals, {}, {}},
                                      matrix_tolerance);
            case DenseAnswer::Status::kUnbounded:
                return status_by_rays(session_, KernelOutcome::kUnbounded,
                                      {{}, answer.ray, answer.x}, matrix_tolerance);
            default:
                return -1;
        }
    }

    // Of the program as minimised.
    bool take_minimum(std::vector<double> x, std::vector<double> duals) {
        Solution point;
        point.x = std::move(x);
        point.dual = std::move(duals);
        for (double& dual : point.dual) dual *= session_.model().sense();
        return take_optimum(session_, std::move(point));
    }

    void announce(const Recovery& recovery) {
        if (claimed_)
            session_.send(
                QLX_MSG_INFORMATION, message::kRecovery,
                join("no optimum according to the solver; looking for a proof ", recovery.name));
        else
            session_.send(
                QLX_MSG_WARNING, message::kRecovery,
                join("the solver's result did not stand the check; solving again ", recovery.name));
    }

    SolveSession& session_;
    KernelOptions asked_;
    LpKernel& kernel_;
    bool claimed_ = false;  // by the last step: that there is no optimum
    bool decided_ = false;  // our own programs have been asked
};

// What the first-order method gets before another takes over: iterations, which cost about as much
// as two products with the matrix, within an amount of work in entries, and within several times
// what random models took (at most 960 with 5 rows and columns, 2,640 with 90, 23,520 with 500), as
// on some of the smallest it never reaches the tolerances.
std::int64_t first_order_iterations(Model& model) {
    constexpr double kWork = 1e9;
    constexpr std::int64_t kLeast = 10'000;
    constexpr std::int64_t kPerRowOrColumn = 200;
    const std::int64_t lines = std::int64_t{model.num_cols()} + model.num_rows();
    const double entries = static_cast<double>(model.matrix().num_entries() + lines);
    return std::min(kLeast + kPerRowOrColumn * lines,
                    1000 + static_cast<std::int64_t>(kWork / entries));
}

// As asked, then with tighter tolerances: the method's own are relative to the norms of the model,
// ours to single rows. -1 when neither stands our check: the method has then claimed nothing.
int solve_by_first_order(SolveSession& session, const KernelOptions& asked) {
    const std::int64_t share = first_order_iterations(session.model());
    LpKernel& kernel = session.problem().live_model().kernel();
    Results& results = session.results();
    for (const std::size_t step : {std::size_t{0}, kWithTighterTolerances}) {
        KernelOptions options = asked;
        recovery_ladder()[step].adjust(options);
        options.iteration_limit = static_cast<int>(
            std::min<std::int64_t>(asked.iteration_limit, share - results.first_order_iterations));
        KernelResult result;
        if (attempt(session, kernel, options, result)) return QLX_LP_OPTIMAL;
        if (was_stopped(result, asked)) return QLX_LP_UNFINISHED;
        if (result.outcome != KernelOutcome::kOptimal || results.first_order_iterations >= share)
            break;
    }
    results.stop_status = QLX_STOP_NONE;
    session.incumbents().forget();
    kernel.forget_basis();
    session.send(QLX_MSG_WARNING, message::kRecovery,
                 join("the first-order method did not reach the tolerances in ",
                      results.first_order_iterations, " iterations; solving by another"));
    return -1;
}

// Without columns there is one point.
int solve_without_columns(SolveSession& session) {
    return session.incumbents().take_relaxed({}) != nullptr ? QLX_LP_OPTIMAL : QLX_LP_INFEAS;
}

const char* describe(int status) {
    switch (status) {
        case QLX_LP_OPTIMAL:
            return "Optimal";
        case QLX_LP_INFEAS:
            return "Infeasible";
        case QLX_LP_UNBOUNDED:
            return "Unbounded";
        case QLX_LP_UNSOLVED:
            return "Not solved";
        default:
            return "Stopped early";
    }
}

// The solve of the live model.
int solve_loaded(SolveSession& session, KernelOptions options) {
    if (options.iteration_limit == 0) {
        session.results().stop_status = QLX_STOP_ITERLIMIT;
        return QLX_LP_UNFINISHED;
    }
    if (options.method == KernelMethod::kFirstOrder) {
        const int status = solve_by_first_order(session, options);
        if (status >= 0) return status;
        options.method = KernelMethod::kAutomatic;
    }
    return Ladder(session, options).climb();
}

}  // namespace

void solve_lp(SolveSession& session, const char* flags) {
    KernelOptions options = kernel_options(session.controls(), flags);
    options.relax = true;
    session.send_start("LP");
    Results& results = session.results();
    if (session.model().num_cols() == 0) {
        results.lp_status = solve_without_columns(session);
    } else {
        session.problem().live_model().synchronise(session.model(), options.matrix_tolerance);
        results.lp_status = solve_loaded(session, options);
    }
    session.send_end(describe(results.lp_status), results.lp.objective());
}

}  // namespace qlx
