// A kernel's solves and their results.
#include <algorithm>
#include <cstdint>
#include <utility>

#include "engine/lp/kernel_state.hpp"

namespace qlx {

namespace {

// The ray that get(found, values) writes, empty where there is none. Asked for values that it does
// not have, HiGHS would solve once more, past our limits.
template <class Get>
std::vector<double> ray(HighsInt length, const Get& get) {
    bool found = false;
    if (!accepted(get(found, nullptr)) || !found) return {};
    std::vector<double> values(static_cast<std::size_t>(length));
    if (!accepted(get(found, values.data())) || !found) return {};
    return values;
}

KernelOutcome outcome_of(HighsModelStatus status) {
    switch (status) {
        case HighsModelStatus::kOptimal:
            return KernelOutcome::kOptimal;
        case HighsModelStatus::kInfeasible:
            return KernelOutcome::kInfeasible;
        case HighsModelStatus::kUnbounded:
            return KernelOutcome::kUnbounded;
        case HighsModelStatus::kUnboundedOrInfeasible:
            return KernelOutcome::kInfeasibleOrUnbounded;
        case HighsModelStatus::kObjectiveBound:
        case HighsModelStatus::kObjectiveTarget:
            return KernelOutcome::kCutoff;
        case HighsModelStatus::kTimeLimit:
            return KernelOutcome::kTimeLimit;
        case HighsModelStatus::kIterationLimit:
            return KernelOutcome::kIterationLimit;
        case HighsModelStatus::kSolutionLimit:
            return KernelOutcome::kSearchLimit;
        case HighsModelStatus::kInterrupt:
        case HighsModelStatus::kHighsInterrupt:
            return KernelOutcome::kInterrupted;
        case HighsModelStatus::kMemoryLimit:
            return KernelOutcome::kMemory;
        case HighsModelStatus::kModelError:
        case HighsModelStatus::kLoadError:
            return KernelOutcome::kError;
        default:
            return KernelOutcome::kUnknown;
    }
}

bool has_free_row(const HighsLp& lp) {
    for (std::size_t row = 0; row < lp.row_lower_.size(); ++row)
        if (lp.row_lower_[row] <= -kHighsInf && lp.row_upper_[row] >= kHighsInf) return true;
    return false;
}

const char* solver_of(KernelMethod method) {
    static const char* const kSolvers[] = {"choose", "simplex", "simplex", "ipm", "pdlp"};
    return kSolvers[static_cast<int>(method)];
}

HighsInt strategy_of(KernelMethod method) {
    return method == KernelMethod::kPrimalSimplex ? kSimplexStrategyPrimal : kSimplexStrategyDual;
}

// Whether a solve gets a thread of its own: where a phase without callbacks could last, or where
// several threads help. The smallest have nothing to share among threads.
bool needs_thread(const HighsLp& lp, const KernelOptions& options) {
    constexpr std::int64_t kTreeSize = 20'000;
    constexpr std::int64_t kLinearSize = 100'000;
    constexpr std::int64_t kParallelSize = 500;
    const std::int64_t size = std::int64_t{lp.num_col_} + lp.num_row_ + lp.a_matrix_.numNz();
    if (size < kParallelSize) return false;
    const bool is_tree = !options.relax && lp.isMip();
    const bool is_parallel = is_tree || options.method == KernelMethod::kInteriorPoint ||
                             options.method == KernelMethod::kFirstOrder;
    return (is_parallel && options.threads > 1) || size >= (is_tree ? kTreeSize : kLinearSize);
}

// What is known of a solve that went on without us.
KernelResult left_behind(const SolveEnd& end, bool maximises) {
    KernelResult result;
    result.left_behind = true;
    result.outcome = end.out_of_time ? KernelOutcome::kTimeLimit : KernelOutcome::kInterrupted;
    const bool of_tree = end.has_progress && end.progress.tree;
    result.best_bound = of_tree ? end.progress.best_bound : maximises ? kHighsInf : -kHighsInf;
    result.nodes = std::max<std::int64_t>(end.progress.nodes, 0);
    result.simplex_iterations = std::max<std::int64_t>(end.progress.iterations, 0);
    return result;
}

}  // namespace

void LpKernel::Live::renew() {
    session = HighsSession::make();
    session->set("large_matrix_value", 1e20);
    applied_once = loaded = false;
}

// HiGHS reads through its whole table of options to set one, so only those that changed are set.
void LpKernel::Live::apply(const KernelOptions& options, double new_objective_bound) {
    const bool first = !std::exchange(applied_once, true);
    const KernelOptions old = std::exchange(applied, options);
    const auto set = [&](auto field, const char* name, const auto& value_of) {
        if (first || old.*field != options.*field) session->set(name, value_of(options.*field));
    };
    const auto as_is = [](auto value) { return value; };
    using Options = KernelOptions;
    set(&Options::method, "solver", solver_of);
    set(&Options::method, "simplex_strategy", strategy_of);
    set(&Options::crossover, "run_crossover", [](bool on) { return on ? "on" : "off"; });
    set(&Options::relax, "solve_relaxation", as_is);
    set(&Options::iteration_limit, "simplex_iteration_limit", as_is);
    set(&Options::iteration_limit, "pdlp_iteration_limit", as_is);
    const int interior = std::min(options.iteration_limit, options.interior_limit);
    if (first || interior != std::min(old.iteration_limit, old.interior_limit))
        session->set("ipm_iteration_limit", HighsInt{interior});
    set(&Options::node_limit, "mip_max_nodes", as_is);
    set(&Options::solution_limit, "mip_max_improving_sols", as_is);
    set(&Options::seed, "random_seed", as_is);
    set(&Options::time_limit, "time_limit",
        [](double seconds) { return seconds >= 1e20 ? kHighsInf : seconds; });
    set(&Options::feasibility_tolerance, "primal_feasibility_tolerance", as_is);
    set(&Options::optimality_tolerance, "dual_feasibility_tolerance", as_is);
    set(&Options::integrality_tolerance, "mip_feasibility_tolerance", as_is);
    set(&Options::relative_gap, "mip_rel_gap", as_is);
    set(&Options::absolute_gap, "mip_abs_gap", as_is);
    set(&Options::matrix_tolerance, "small_matrix_value", as_is);
    if (first || objective_bound != new_objective_bound)
        session->set("objective_bound", new_objective_bound);
    objective_bound = new_objective_bound;
    // Its interior point method writes past its arrays where free rows reach it, and its tree
    // search calls feasible models infeasible; presolve takes these out.
    const bool is_tree = !options.relax && highs().getLp().isMip();
    const bool hides_free_rows =
        (is_tree || options.method == KernelMethod::kInteriorPoint) && has_free_row(highs().getLp());
    applied.presolve = options.presolve || hides_free_rows;
    if (first || old.presolve != applied.presolve)
        session->set("presolve", applied.presolve ? "choose" : "off");
}

LpKernel::LpKernel() : live_(std::make_unique<Live>()) {}
LpKernel::~LpKernel() = default;
LpKernel::LpKernel(LpKernel&&) noexcept = default;
LpKernel& LpKernel::operator=(LpKernel&&) noexcept = default;

bool LpKernel::is_loaded() const noexcept {
    return live_->loaded;
}

KernelResult LpKernel::solve(const KernelOptions& given, const SolveLimits& limits,
                             KernelEvents& events) {
    KernelOptions options = given;
    options.iteration_limit = std::min(options.iteration_limit, limits.iterations);
    options.time_limit = std::min(options.time_limit, limits.seconds);
    live_->apply(options, limits.objective_bound);
    Highs& highs = live_->highs();
    const bool maximises = highs.getLp().sense_ == ObjSense::kMaximize;
    highs.zeroAllClocks();
    const RunEnd end = live_->session->run(
        {options.threads, options.time_limit, needs_thread(highs.getLp(), options)}, events);
    if (end.left_behind) {
        live_->renew();
        return left_behind(end, maximises);
    }
    KernelResult result;
    result.outcome =
        end.status == HighsStatus::kError && highs.getModelStatus() == HighsModelStatus::kNotset
            ? KernelOutcome::kError
            : outcome_of(highs.getModelStatus());
    if (result.outcome == KernelOutcome::kInterrupted && end.out_of_time)
        result.outcome = KernelOutcome::kTimeLimit;
    const HighsInfo& info = highs.getInfo();
    const HighsSolution& solution = highs.getSolution();
    result.has_point = solution.value_valid && info.primal_solution_status != kSolutionStatusNone;
    result.has_duals = solution.dual_valid;
    // Without integer columns HiGHS solves an LP and leaves the tree's bound at its start value.
    result.best_bound = highs.getLp().isMip() ? info.mip_dual_bound : info.objective_function_value;
    result.nodes = std::max<std::int64_t>(info.mip_node_count, 0);
    result.simplex_iterations = std::max<HighsInt>(info.simplex_iteration_count, 0);
    result.interior_iterations = std::max<HighsInt>(info.ipm_iteration_count, 0);
    result.first_order_iterations = std::max<HighsInt>(info.pdlp_iteration_count, 0);
    return result;
}

const std::vector<double>& LpKernel::col_value() const {
    return live_->highs().getSolution().col_value;
}

const std::vector<double>& LpKernel::col_dual() const {
    return live_->highs().getSolution().col_dual;
}

const std::vector<double>& LpKernel::row_dual() const {
    return live_->highs().getSolution().row_dual;
}

std::vector<double> LpKernel::dual_ray() {
    Highs& highs = live_->highs();
    return ray(highs.getNumRow(),
               [&](bool& found, double* values) { return highs.getDualRay(found, values); });
}

std::vector<double> LpKernel::primal_ray() {
    Highs& highs = live_->highs();
    return ray(highs.getNumCol(),
               [&](bool& found, double* values) { return highs.getPrimalRay(found, values); });
}

}  // namespace qlx
