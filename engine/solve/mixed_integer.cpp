// Mixed-integer programs by the kernel's tree search, every incumbent checked.
#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/constructs/reformulation.hpp"
#include "engine/lp/live_model.hpp"
#include "engine/solve/construct_search.hpp"
#include "engine/solve/cutoff.hpp"
#include "engine/solve/kernel_options.hpp"
#include "engine/solve/linear_claims.hpp"
#include "engine/solve/recovery.hpp"
#include "engine/solve/second_look.hpp"
#include "engine/solve/solve.hpp"
#include "engine/solve/solve_session.hpp"

namespace qlx {

namespace {

// Coefficients up to this are stated with binaries whatever else there is; up to the larger one
// where all of them are that small, and what is claimed is verified without presolve.
constexpr double kSafeBigM = 1e4;
constexpr double kLargestBigM = 1e6;
// What a binary's distance from an integer, within tolerances, may let through.
constexpr double kLeastMeaningful = 1e-6;

Reformulation reformulation(SolveSession& session) {
    const double asked = session.controls().indbigm;
    Reformulation all(session.model(), std::min(asked, kLargestBigM));
    if (all.branched().empty() || all.big_m() <= kSafeBigM) return all;
    return {session.model(), std::min(asked, kSafeBigM)};
}

// A binary off by the tolerance times M must not matter.
void tighten_for(KernelOptions& options, double big_m) {
    const double tolerance = std::max(1e-10, kLeastMeaningful / big_m);
    options.integrality_tolerance = std::min(options.integrality_tolerance, tolerance);
    options.feasibility_tolerance = std::min(options.feasibility_tolerance, tolerance);
}

// The model as the kernel is to search it, the cutoff apart.
KernelModel stated_model(SolveSession& session) {
    Model& model = session.model();
    return needs_reformulation(model) ? reformulation(session).take() : kernel_model(model);
}

// Whether bound and objective are as far apart as an optimal result's may not be.
bool leaves_gap(const Results& results, const KernelOptions& options) {
    const double objective = results.mip.objective();
    const double size = std::fabs(objective);
    const double allowed =
        std::max({options.absolute_gap, options.relative_gap * size, 1e-6 * std::max(1.0, size)});
    return std::fabs(objective - results.best_bound) > 1.01 * allowed;
}

const char* describe(int status) {
    switch (status) {
        case QLX_MIP_OPTIMAL:
            return "Optimal";
        case QLX_MIP_INFEAS:
            return "Infeasible";
        case QLX_MIP_UNBOUNDED:
            return "Unbounded";
        case QLX_MIP_SOLUTION:
            return "Stopped with a solution";
        default:
            return "Stopped without a solution";
    }
}

// The kernel with the model in it: the live one, or one of its own for what has more rows or
// columns.
class LoadedKernel {
  public:
    LoadedKernel(SolveSession& session, double matrix_tolerance) {
        const Controls& controls = session.controls();
        if (!needs_reformulation(session.model()) && !has_cutoff(controls)) {
            session.problem().live_model().synchronise(session.model(), matrix_tolerance);
            kernel_ = &session.problem().live_model().kernel();
            return;
        }
        KernelModel model = stated_model(session);
        if (has_cutoff(controls)) add_cutoff_row(model, controls.mipabscutoff);
        if (!own_.load(std::move(model), matrix_tolerance))
            fail(QLX_ERROR_SOLVER, "the solver refused the reformulated model");
        kernel_ = &own_;
    }
    [[nodiscard]] LpKernel& get() noexcept { return *kernel_; }

  private:
    LpKernel own_;
    LpKernel* kernel_ = nullptr;
};

constexpr int kUndecided = -1;

// One step of the ladder.
class Attempt {
  public:
    Attempt(SolveSession& session, LpKernel& kernel, const KernelOptions& options)
        : session_(session), kernel_(kernel), options_(options), results_(session.results()) {}

    // The status, kUndecided where the next step is to be taken.
    int run() {
        KernelResult result = session_.run(kernel_, options_, session_.tree_events());
        if (result.outcome == KernelOutcome::kInfeasible && is_refuted(result) &&
            result.outcome == KernelOutcome::kSearchLimit)
            return kUndecided;  // the ladder's step without presolve goes on from here
        results_.stop_status = session_.reason_for(result);
        results_.best_bound = result.best_bound;
        return judge(result);
    }

  private:
    // HiGHS' presolve calls some feasible models infeasible, so its claim gets a second look
    // without presolve, of bounded effort. True when that look refutes the claim.
    bool is_refuted(KernelResult& result) {
        constexpr int kNodes = 2000;
        if (!options_.presolve || session_.stop_rule().stop()) return false;
        KernelOptions options = options_;
        options.presolve = false;
        options.method = KernelMethod::kAutomatic;
        options.node_limit = std::min(options.node_limit, kNodes);
        kernel_.forget_basis();
        const KernelResult second = session_.run(kernel_, options, session_.tree_events());
        if (!second.has_point) return false;
        result = second;
        return true;
    }

    int judge(const KernelResult& result) {
        const bool passed = !result.has_point || kernel_.col_value().empty() ||
                            session_.offer(kernel_.col_value()) != Verdict::kRejected;
        const bool found = !results_.mip.empty();
        switch (result.outcome) {
            case KernelOutcome::kOptimal:
                if (!passed) return kUndecided;
                if (!found) return has_cutoff(session_.controls()) ? beaten() : kUndecided;
                if (is_unbounded()) return QLX_MIP_UNBOUNDED;
                return leaves_gap(results_, options_) ? kUndecided : QLX_MIP_OPTIMAL;
            case KernelOutcome::kInfeasible:
                return has_cutoff(session_.controls()) ? infeasible_or_beaten() : QLX_MIP_INFEAS;
            case KernelOutcome::kCutoff:
                return beaten();
            case KernelOutcome::kUnbounded:
                return QLX_MIP_UNBOUNDED;
            case KernelOutcome::kInfeasibleOrUnbounded:
                return infeasible_or_unbounded();
            case KernelOutcome::kTimeLimit:
            case KernelOutcome::kIterationLimit:
            case KernelOutcome::kSearchLimit:
            case KernelOutcome::kInterrupted:
                return found ? QLX_MIP_SOLUTION : QLX_MIP_NO_SOL_FOUND;
            default:
                return kUndecided;
        }
    }

    // HiGHS calls some problems optimal whose relaxation is unbounded. One with a solution is
    // unbounded then (Meyer 1974), as its data are rational; that holds for integers alone.
    bool is_unbounded() {
        return !needs_reformulation(session_.model()) && has_improving_ray(session_, options_);
    }

    // Nothing is better than the cutoff.
    int beaten() {
        results_.stop_status = QLX_STOP_CUTOFF;
        results_.best_bound = session_.controls().mipabscutoff;
        return QLX_MIP_NO_SOL_FOUND;
    }

    enum class Points { kNone, kSome, kUnknown };

    // Whether the model without its objective and cutoff has a point.
    Points look_for_any_point(const KernelOptions& options) {
        KernelModel model = stated_model(session_);
        std::fill(model.cost.begin(), model.cost.end(), 0.0);
        model.constant = 0;
        LpKernel kernel;
        if (!kernel.load(std::move(model), options.matrix_tolerance))
            fail(QLX_ERROR_SOLVER, "the solver refused the model without its objective");
        const KernelResult result = session_.run(kernel, options, session_.events());
        if (result.outcome == KernelOutcome::kOptimal || result.has_point) return Points::kSome;
        // Nothing is unbounded without an objective.
        return result.outcome == KernelOutcome::kInfeasible ||
                       result.outcome == KernelOutcome::kInfeasibleOrUnbounded
                   ? Points::kNone
                   : Points::kUnknown;
    }

    // Where a limit ends the solve without an objective the question stays open.
    int infeasible_or_unbounded() {
        const Points points = look_for_any_point(options_);
        if (points == Points::kSome) return QLX_MIP_UNBOUNDED;
        return points == Points::kNone ? QLX_MIP_INFEAS : QLX_MIP_NO_SOL_FOUND;
    }

    // The kernel has seen the cutoff as a row: is it to blame? That is worth as much time as the
    // proof took, some seconds at least; a step of another solve leaves the question to that.
    int infeasible_or_beaten() {
        if (session_.is_nested()) return beaten();
        KernelOptions options = options_;
        options.time_limit = std::max(10.0, session_.seconds());
        return look_for_any_point(options) == Points::kNone ? QLX_MIP_INFEAS : beaten();
    }

    SolveSession& session_;
    LpKernel& kernel_;
    const KernelOptions options_;
    Results& results_;
};

// An ordinary search looks for integers to inttol alone and relies on the check of its points for
// feastol: at 1e-7 HiGHS takes twice the time on some models, and its points are mostly better than
// asked for. What does not stand the check is searched for again with tighter tolerances.
void loosen(KernelOptions& options, const SolveSession& session) {
    constexpr double kOrdinary = 1e-7, kLoosest = 1e-6;
    const Controls& controls = session.controls();
    if (controls.feastol >= kOrdinary)
        options.integrality_tolerance =
            std::max(options.integrality_tolerance, std::min(controls.inttol, kLoosest));
}

// Step by step, until a result stands our check.
int climb(SolveSession& session, const KernelOptions& asked) {
    LoadedKernel kernel(session, asked.matrix_tolerance);
    if (asked.iteration_limit == 0) {
        session.results().stop_status = QLX_STOP_ITERLIMIT;
        return QLX_MIP_NO_SOL_FOUND;
    }
    for (const Recovery& recovery : recovery_ladder()) {
        KernelOptions options = asked;
        recovery.adjust(options);
        if (&recovery == &recovery_ladder().front() && !has_constructs(session.model()))
            loosen(options, session);
        options.iteration_limit = std::numeric_limits<int>::max();
        if (&recovery != &recovery_ladder().front())
            session.send(
                QLX_MSG_WARNING, message::kRecovery,
                join("the solver's result did not stand the check; solving again ", recovery.name));
        const int status = Attempt(session, kernel.get(), options).run();
        if (status != kUndecided) return status;
    }
    session.send(QLX_MSG_WARNING, message::kRecovery, "no result of the solver stood the check");
    session.results().stop_status = QLX_STOP_NUMERICS;
    session.results().best_bound = kNoValue;  // no claim of a result that was rejected counts
    return session.results().mip.empty() ? QLX_MIP_NO_SOL_FOUND : QLX_MIP_SOLUTION;
}

// Looks for a better point than the incumbent, or for any, without presolve. That is worth ten
// times the time that the claim took.
KernelResult doubt(SolveSession& session, KernelOptions options) {
    KernelModel model = stated_model(session);
    const Results& results = session.results();
    if (!results.mip.empty()) {
        const double objective = results.mip.objective();
        const double size = std::fabs(objective);
        const double gap = std::max(
            {options.absolute_gap, options.relative_gap * size, 1e-6 * std::max(1.0, size)});
        add_cutoff_row(model, objective - session.model().sense() * gap);
    }
    LpKernel kernel;
    if (!kernel.load(std::move(model), options.matrix_tolerance))
        fail(QLX_ERROR_SOLVER, "the solver refused the model with a cutoff");
    options.presolve = false;
    options.iteration_limit = std::numeric_limits<int>::max();
    options.time_limit = std::max(5.0, 10 * session.seconds());
    return session.run(kernel, options, session.tree_events());
}

// The status that may be claimed of a model that is stated with coefficients up to big_m, where
// `status` was found; kUndecided: none.
int proven_status(SolveSession& session, const KernelOptions& asked, double big_m, int status) {
    Results& results = session.results();
    if (results.stop_status == QLX_STOP_NUMERICS) return kUndecided;
    if (big_m <= kSafeBigM || results.stop_status != QLX_STOP_NONE) return status;
    if (status == QLX_MIP_UNBOUNDED) return kUndecided;
    if (!asked.presolve) return status;
    const KernelResult result = doubt(session, asked);
    if (result.outcome == KernelOutcome::kInfeasible) return status;
    if (!session.stop_rule().stop()) return kUndecided;
    results.best_bound = result.best_bound;
    return results.mip.empty() ? QLX_MIP_NO_SOL_FOUND : QLX_MIP_SOLUTION;
}

void finish(SolveSession& session, int status) {
    Results& results = session.results();
    results.mip_status = status;
    if (status == QLX_MIP_INFEAS || status == QLX_MIP_UNBOUNDED) {
        session.incumbents().forget();
        results.best_bound = kNoValue;
        results.stop_status = QLX_STOP_NONE;
    }
    if (std::fabs(results.best_bound) >= kInfinity) results.best_bound = kNoValue;
    const double objective = results.mip.objective();
    if (status == QLX_MIP_OPTIMAL &&
        std::fabs(objective - results.best_bound) > 1e-9 * std::max(1.0, std::fabs(objective)))
        results.stop_status = QLX_STOP_MIPGAP;
    session.send_end(describe(status), objective);
}

// The status as the kernel's tree search has it, with binaries or branches for the constructs.
int searched_status(SolveSession& session, const char* flags) {
    KernelOptions asked = kernel_options(session.controls(), flags);
    double big_m = 1;
    if (has_constructs(session.model())) {
        const Reformulation statement = reformulation(session);
        if (const auto& items = statement.branched(); !items.empty())
            return search_constructs(session, flags, items);
        big_m = statement.big_m();
        tighten_for(asked, big_m);
    }
    const int status = climb(session, asked);
    const int proven = big_m > 1 ? proven_status(session, asked, big_m, status) : status;
    if (proven != kUndecided) return proven;
    session.send(QLX_MSG_WARNING, message::kRecovery,
                 "the solver's result with large coefficients did not stand the check; "
                 "branching on constructs instead");
    const Reformulation plain(session.model(), 1);
    return search_constructs(session, flags, plain.branched());
}

}  // namespace

void solve_mip(SolveSession& session, const char* flags) {
    session.send_start("MIP");
    const int status = searched_status(session, flags);
    finish(session, is_open(session, status) || is_doubtful(session, status)
                        ? second_look(session, flags, status)
                        : status);
}

}  // namespace qlx
