// The HiGHS adapter: the only file that touches a Highs object, compiled with its string ABI.
#include <Highs.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>

#include "engine/base/live_counts.hpp"
#include "engine/lp/lp_kernel.hpp"

namespace qlx {

namespace {

bool accepted(HighsStatus status) {
    return status != HighsStatus::kError;
}

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

static_assert(static_cast<int>(BasisStatus::kLower) == static_cast<int>(HighsBasisStatus::kLower) &&
              static_cast<int>(BasisStatus::kBasic) == static_cast<int>(HighsBasisStatus::kBasic) &&
              static_cast<int>(BasisStatus::kUpper) == static_cast<int>(HighsBasisStatus::kUpper) &&
              static_cast<int>(BasisStatus::kFree) == static_cast<int>(HighsBasisStatus::kZero));

BasisStatus status_of(HighsBasisStatus status) {
    return status == HighsBasisStatus::kNonbasic ? BasisStatus::kLower
                                                 : static_cast<BasisStatus>(status);
}

HighsBasisStatus highs_status_of(BasisStatus status) {
    return static_cast<HighsBasisStatus>(status);
}

bool has_free_row(const HighsLp& lp) {
    for (std::size_t row = 0; row < lp.row_lower_.size(); ++row)
        if (lp.row_lower_[row] <= -kHighsInf && lp.row_upper_[row] >= kHighsInf) return true;
    return false;
}

template <class From, class To>
void translate(const std::vector<From>& from, std::vector<To>& to, To (*one)(From)) {
    to.resize(from.size());
    std::transform(from.begin(), from.end(), to.begin(), one);
}

KernelProgress progress_of(int event, const HighsCallbackOutput& output) {
    KernelProgress progress;
    progress.seconds = output.running_time;
    progress.tree = event == kCallbackMipInterrupt;
    progress.iterations = event == kCallbackIpmInterrupt ? output.ipm_iteration_count
                                                         : output.simplex_iteration_count;
    progress.objective = output.objective_function_value;
    progress.nodes = output.mip_node_count;
    progress.best_solution = output.mip_primal_bound;
    progress.best_bound = output.mip_dual_bound;
    return progress;
}

// The scheduler belongs to the thread that solves; it is made anew when the number of threads
// changes, and in a forked child, which has none of its parent's threads.
void prepare_scheduler(int threads) {
    static thread_local int current_threads = 0;
    static thread_local pid_t current_process = 0;
    if (current_process == getpid() && current_threads == threads) return;
    if (current_process != 0) Highs::resetGlobalScheduler(current_process == getpid());
    current_process = getpid();
    current_threads = threads;
}

}  // namespace

struct LpKernel::Live {
    Live();
    void apply(const KernelOptions& options);
    void call_back(int event, const HighsCallbackOutput* output, HighsCallbackInput* input);

    Highs highs;
    KernelEvents* events = nullptr;
    KernelOptions applied;
    bool applied_once = false;
    Counted<&LiveCounts::blocks> counted;
};

LpKernel::Live::Live() {
    highs.setOptionValue("output_flag", false);
    highs.setOptionValue("log_to_console", false);
    highs.setOptionValue("large_matrix_value", 1e20);
    highs.setCallback([this](int event, const std::string&, const HighsCallbackOutput* output,
                             HighsCallbackInput* input,
                             void*) { call_back(event, output, input); });
    highs.startCallback(kCallbackSimplexInterrupt);
    highs.startCallback(kCallbackIpmInterrupt);
    highs.startCallback(kCallbackMipInterrupt);
    highs.startCallback(kCallbackMipImprovingSolution);
}

void LpKernel::Live::call_back(int event, const HighsCallbackOutput* output,
                               HighsCallbackInput* input) {
    if (events == nullptr || output == nullptr) return;
    if (event == kCallbackMipImprovingSolution) {
        events->solution(output->mip_solution.data(),
                         static_cast<int>(output->mip_solution.size()));
        return;
    }
    events->progress(progress_of(event, *output));
    // The flag keeps its value between calls, so it is assigned at every one.
    if (input != nullptr) input->user_interrupt = events->stop();
}

void LpKernel::Live::apply(const KernelOptions& options) {
    if (applied_once && options == applied) return;
    static const char* const kSolvers[] = {"choose", "simplex", "simplex", "ipm", "pdlp"};
    highs.setOptionValue("solver", kSolvers[static_cast<int>(options.method)]);
    highs.setOptionValue("simplex_strategy", options.method == KernelMethod::kPrimalSimplex
                                                 ? HighsInt{kSimplexStrategyPrimal}
                                                 : HighsInt{kSimplexStrategyDual});
    highs.setOptionValue("run_crossover", options.crossover ? "on" : "off");
    highs.setOptionValue("solve_relaxation", options.relax);
    highs.setOptionValue("simplex_iteration_limit", options.iteration_limit);
    highs.setOptionValue("ipm_iteration_limit",
                         std::min(options.iteration_limit, options.interior_limit));
    highs.setOptionValue("pdlp_iteration_limit", options.iteration_limit);
    highs.setOptionValue("mip_max_nodes", options.node_limit);
    highs.setOptionValue("mip_max_improving_sols", options.solution_limit);
    highs.setOptionValue("threads", options.threads);
    highs.setOptionValue("random_seed", options.seed);
    highs.setOptionValue("time_limit", options.time_limit >= 1e20 ? kHighsInf : options.time_limit);
    highs.setOptionValue("primal_feasibility_tolerance", options.feasibility_tolerance);
    highs.setOptionValue("dual_feasibility_tolerance", options.optimality_tolerance);
    highs.setOptionValue("mip_feasibility_tolerance", options.integrality_tolerance);
    highs.setOptionValue("mip_rel_gap", options.relative_gap);
    highs.setOptionValue("mip_abs_gap", options.absolute_gap);
    highs.setOptionValue("small_matrix_value", options.matrix_tolerance);
    applied = options;
    applied_once = true;
}

LpKernel::LpKernel() : live_(std::make_unique<Live>()) {}
LpKernel::~LpKernel() = default;
LpKernel::LpKernel(LpKernel&&) noexcept = default;
LpKernel& LpKernel::operator=(LpKernel&&) noexcept = default;

bool LpKernel::load(KernelModel&& model, double matrix_tolerance) {
    live_->highs.setOptionValue("small_matrix_value", matrix_tolerance);
    HighsLp lp;
    lp.num_col_ = model.num_cols;
    lp.num_row_ = model.num_rows;
    lp.col_cost_ = std::move(model.cost);
    lp.col_lower_ = std::move(model.lower);
    lp.col_upper_ = std::move(model.upper);
    lp.row_lower_ = std::move(model.row_lower);
    lp.row_upper_ = std::move(model.row_upper);
    lp.a_matrix_.format_ = MatrixFormat::kColwise;
    lp.a_matrix_.num_col_ = model.num_cols;
    lp.a_matrix_.num_row_ = model.num_rows;
    lp.a_matrix_.start_ = std::move(model.start);
    lp.a_matrix_.index_ = std::move(model.row);
    lp.a_matrix_.value_ = std::move(model.value);
    lp.offset_ = model.constant;
    lp.sense_ = model.maximise ? ObjSense::kMaximize : ObjSense::kMinimize;
    if (!model.integer.empty()) {
        lp.integrality_.resize(model.integer.size());
        std::transform(model.integer.begin(), model.integer.end(), lp.integrality_.begin(),
                       [](char flag) {
                           return flag != 0 ? HighsVarType::kInteger : HighsVarType::kContinuous;
                       });
    }
    if (model.hessian_start.empty()) return accepted(live_->highs.passModel(std::move(lp)));
    HighsModel whole;
    whole.lp_ = std::move(lp);
    whole.hessian_.dim_ = model.num_cols;
    whole.hessian_.format_ = HessianFormat::kTriangular;
    whole.hessian_.start_ = std::move(model.hessian_start);
    whole.hessian_.index_ = std::move(model.hessian_row);
    whole.hessian_.value_ = std::move(model.hessian_value);
    return accepted(live_->highs.passModel(std::move(whole)));
}

bool LpKernel::add_columns(int count, const double* cost, const double* lower, const double* upper,
                           const int* start, const int* row, const double* value) {
    return accepted(
        live_->highs.addCols(count, cost, lower, upper, start[count], start, row, value));
}

bool LpKernel::add_rows(int count, const double* lower, const double* upper, const int* start,
                        const int* col, const double* value) {
    return accepted(live_->highs.addRows(count, lower, upper, start[count], start, col, value));
}

bool LpKernel::change_bounds(int count, const int* cols, const double* lower, const double* upper) {
    return accepted(live_->highs.changeColsBounds(count, cols, lower, upper));
}

bool LpKernel::change_sides(int count, const int* rows, const double* lower, const double* upper) {
    return accepted(live_->highs.changeRowsBounds(count, rows, lower, upper));
}

bool LpKernel::change_costs(int count, const int* cols, const double* cost) {
    return accepted(live_->highs.changeColsCost(count, cols, cost));
}

bool LpKernel::change_coefficient(int row, int col, double value) {
    return accepted(live_->highs.changeCoeff(row, col, value));
}

bool LpKernel::change_objective(bool maximise, double constant) {
    return accepted(live_->highs.changeObjectiveSense(maximise ? ObjSense::kMaximize
                                                               : ObjSense::kMinimize)) &&
           accepted(live_->highs.changeObjectiveOffset(constant));
}

bool LpKernel::change_integrality(const std::vector<char>& integer) {
    std::vector<HighsVarType> types(integer.size());
    std::transform(integer.begin(), integer.end(), types.begin(), [](char flag) {
        return flag != 0 ? HighsVarType::kInteger : HighsVarType::kContinuous;
    });
    const auto last = static_cast<HighsInt>(types.size()) - 1;
    return last < 0 || accepted(live_->highs.changeColsIntegrality(0, last, types.data()));
}

bool LpKernel::set_start(const double* x, int num_cols) {
    HighsSolution solution;
    solution.col_value.assign(x, x + num_cols);
    solution.value_valid = true;
    return accepted(live_->highs.setSolution(solution));
}

KernelBasis LpKernel::basis() const {
    const Highs& highs = live_->highs;
    const HighsBasis& held = highs.getBasis();
    const bool was_tree = highs.getLp().isMip() && !live_->applied.relax;
    if (!held.valid || was_tree) return {};
    KernelBasis out;
    translate(held.col_status, out.columns, &status_of);
    translate(held.row_status, out.rows, &status_of);
    return out;
}

bool LpKernel::set_basis(const KernelBasis& basis) {
    HighsBasis wanted;
    wanted.valid = true;
    translate(basis.columns, wanted.col_status, &highs_status_of);
    translate(basis.rows, wanted.row_status, &highs_status_of);
    return accepted(live_->highs.setBasis(wanted));
}

void LpKernel::forget_basis() {
    live_->highs.clearSolver();
}

KernelResult LpKernel::solve(const KernelOptions& options, KernelEvents& events) {
    Highs& highs = live_->highs;
    live_->apply(options);
    // Its interior point method writes past its arrays where free rows reach it; presolve takes
    // these out.
    const bool hides_free_rows =
        options.method == KernelMethod::kInteriorPoint && has_free_row(highs.getLp());
    highs.setOptionValue("presolve", options.presolve || hides_free_rows ? "choose" : "off");
    prepare_scheduler(options.threads);
    highs.zeroAllClocks();
    live_->events = &events;
    const HighsStatus status = highs.run();
    live_->events = nullptr;

    KernelResult result;
    result.outcome =
        status == HighsStatus::kError && highs.getModelStatus() == HighsModelStatus::kNotset
            ? KernelOutcome::kError
            : outcome_of(highs.getModelStatus());
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
    return live_->highs.getSolution().col_value;
}

const std::vector<double>& LpKernel::col_dual() const {
    return live_->highs.getSolution().col_dual;
}

const std::vector<double>& LpKernel::row_dual() const {
    return live_->highs.getSolution().row_dual;
}

std::vector<double> LpKernel::dual_ray() {
    Highs& highs = live_->highs;
    return ray(highs.getNumRow(),
               [&](bool& found, double* values) { return highs.getDualRay(found, values); });
}

std::vector<double> LpKernel::primal_ray() {
    Highs& highs = live_->highs;
    return ray(highs.getNumCol(),
               [&](bool& found, double* values) { return highs.getPrimalRay(found, values); });
}

}  // namespace qlx
