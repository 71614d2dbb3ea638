// The only file that meets Ipopt.
#include "engine/nlp/interior/interior_point_solver.hpp"

#ifdef QUILEX_WITH_IPOPT

#include <dlfcn.h>

#include <IpIpoptApplication.hpp>
#include <IpIpoptData.hpp>
#include <IpSolveStatistics.hpp>
#include <IpTNLP.hpp>
#include <algorithm>
#include <cstddef>
#include <exception>
#include <limits>
#include <mutex>

namespace qlx::nlp {

namespace {

using Ipopt::Index;
using Ipopt::Number;

std::span<const double> view(const Number* x, Index n) {
    return {x, static_cast<std::size_t>(n)};
}
std::span<double> view(Number* x, Index n) {
    return {x, static_cast<std::size_t>(n)};
}

// Hands a LocalProblem to Ipopt. Exceptions of the problem end the solve and are thrown again
// once Ipopt has returned.
class Bridge final : public Ipopt::TNLP {
  public:
    Bridge(LocalProblem& problem, const LocalOptions& options)
        : problem_(problem), options_(options) {}

    LocalAnswer answer;
    std::exception_ptr failure;

    bool get_nlp_info(Index& n, Index& m, Index& nnz_jac, Index& nnz_hess,
                      IndexStyleEnum& style) override {
        n = static_cast<Index>(problem_.bounds().column_lower.size());
        m = static_cast<Index>(problem_.bounds().row_lower.size());
        nnz_jac = static_cast<Index>(problem_.jacobian_pattern().rows.size());
        nnz_hess = static_cast<Index>(problem_.hessian_pattern().rows.size());
        style = C_STYLE;
        return true;
    }

    bool get_bounds_info(Index, Number* x_l, Number* x_u, Index, Number* g_l,
                         Number* g_u) override {
        const LocalBounds& bounds = problem_.bounds();
        std::copy(bounds.column_lower.begin(), bounds.column_lower.end(), x_l);
        std::copy(bounds.column_upper.begin(), bounds.column_upper.end(), x_u);
        std::copy(bounds.row_lower.begin(), bounds.row_lower.end(), g_l);
        std::copy(bounds.row_upper.begin(), bounds.row_upper.end(), g_u);
        return true;
    }

    bool get_starting_point(Index, bool, Number* x, bool, Number*, Number*, Index, bool,
                            Number*) override {
        return guarded([&] {
            const std::vector<double> start = problem_.start();
            std::copy(start.begin(), start.end(), x);
            return true;
        });
    }

    bool eval_f(Index n, const Number* x, bool, Number& value) override {
        ++answer.counts.functions;
        return guarded([&] { return problem_.objective(view(x, n), value); });
    }
    bool eval_grad_f(Index n, const Number* x, bool, Number* out) override {
        ++answer.counts.gradients;
        return guarded([&] { return problem_.gradient(view(x, n), view(out, n)); });
    }
    bool eval_g(Index n, const Number* x, bool, Index m, Number* out) override {
        return guarded([&] { return problem_.rows(view(x, n), view(out, m)); });
    }
    bool eval_jac_g(Index n, const Number* x, bool, Index, Index count, Index* rows, Index* columns,
                    Number* values) override {
        if (values == nullptr) return copy_pattern(problem_.jacobian_pattern(), rows, columns);
        return guarded([&] { return problem_.jacobian(view(x, n), view(values, count)); });
    }
    bool eval_h(Index n, const Number* x, bool, Number factor, Index m, const Number* multipliers,
                bool, Index count, Index* rows, Index* columns, Number* values) override {
        if (values == nullptr) return copy_pattern(problem_.hessian_pattern(), rows, columns);
        ++answer.counts.hessians;
        return guarded([&] {
            return problem_.hessian(view(x, n), factor, view(multipliers, m), view(values, count));
        });
    }

    bool intermediate_callback(Ipopt::AlgorithmMode, Index iteration, Number objective,
                               Number infeasibility, Number optimality, Number, Number step, Number,
                               Number, Number, Index, const Ipopt::IpoptData*,
                               Ipopt::IpoptCalculatedQuantities*) override {
        answer.iterations = iteration;
        if (failure) return false;
        return guarded([&] {
            if (options_.progress)
                options_.progress({iteration, objective, infeasibility, optimality, step,
                                   std::numeric_limits<double>::quiet_NaN()});
            return !options_.stop.stop();
        });
    }

    void finalize_solution(Ipopt::SolverReturn, Index n, const Number* x, const Number* z_l,
                           const Number* z_u, Index m, const Number*, const Number* lambda,
                           Number value, const Ipopt::IpoptData*,
                           Ipopt::IpoptCalculatedQuantities*) override {
        answer.objective = value;
        answer.x.assign(x, x + n);
        answer.lower_dual.assign(z_l, z_l + n);
        answer.upper_dual.assign(z_u, z_u + n);
        answer.row_dual.resize(static_cast<std::size_t>(m));
        std::transform(lambda, lambda + m, answer.row_dual.begin(), [](double l) { return -l; });
    }

  private:
    template <typename Call>
    bool guarded(Call call) noexcept {
        try {
            return call();
        } catch (...) {
            failure = std::current_exception();
            return false;
        }
    }

    static bool copy_pattern(const SparsePattern& pattern, Index* rows, Index* columns) {
        std::copy(pattern.rows.begin(), pattern.rows.end(), rows);
        std::copy(pattern.columns.begin(), pattern.columns.end(), columns);
        return true;
    }

    LocalProblem& problem_;
    const LocalOptions& options_;
};

// MUMPS' fronts are small here: a second BLAS thread costs more than it gives, and the threads of
// the caller are the caller's to divide. The function is looked up among what Ipopt itself needs,
// as a process may hold several copies of the library.
void use_one_blas_thread() {
    static std::once_flag once;
    std::call_once(once, [] {
        Dl_info info{};
        const auto anchor = reinterpret_cast<void*>(&IpoptApplicationFactory);
        if (dladdr(anchor, &info) == 0) return;
        void* const library = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
        if (library == nullptr) return;
        using Setter = void (*)(int);
        if (const auto set = reinterpret_cast<Setter>(dlsym(library, "openblas_set_num_threads"))) {
            set(1);
        }
    });
}

void set_options(Ipopt::OptionsList& list, const LocalProblem& problem,
                 const LocalOptions& options) {
    list.SetStringValue("sb", "yes");
    list.SetIntegerValue("print_level", 0);
    list.SetStringValue("linear_solver", "mumps");
    list.SetIntegerValue("mumps_pivot_order", 0);  // METIS would be 4 or 5
    list.SetNumericValue("bound_relax_factor", 0.0);
    list.SetNumericValue("nlp_lower_bound_inf", -1e20);
    list.SetNumericValue("nlp_upper_bound_inf", 1e20);
    list.SetNumericValue("tol", options.tolerance);
    list.SetNumericValue("constr_viol_tol", options.constraint_violation);
    list.SetIntegerValue("max_iter", options.iteration_limit);
    if (problem.is_quadratic()) {
        list.SetStringValue("hessian_constant", "yes");
        list.SetStringValue("jac_c_constant", "yes");
        list.SetStringValue("jac_d_constant", "yes");
    }
    if (options.stop.has_deadline())
        list.SetNumericValue("max_wall_time", std::max(options.stop.seconds_left(), 1e-3));
}

LocalStatus status_of(Ipopt::ApplicationReturnStatus status) {
    switch (status) {
        case Ipopt::Solve_Succeeded:
            return LocalStatus::kSolved;
        case Ipopt::Solved_To_Acceptable_Level:
        case Ipopt::Feasible_Point_Found:
        case Ipopt::Search_Direction_Becomes_Too_Small:
            return LocalStatus::kAcceptable;
        case Ipopt::Infeasible_Problem_Detected:
            return LocalStatus::kInfeasible;
        case Ipopt::Diverging_Iterates:
            return LocalStatus::kUnbounded;
        case Ipopt::User_Requested_Stop:
            return LocalStatus::kStopped;
        case Ipopt::Maximum_Iterations_Exceeded:
            return LocalStatus::kIterationLimit;
        case Ipopt::Maximum_CpuTime_Exceeded:
        case Ipopt::Maximum_WallTime_Exceeded:
            return LocalStatus::kTimeLimit;
        case Ipopt::Not_Enough_Degrees_Of_Freedom:
            return LocalStatus::kTooManyEquations;
        case Ipopt::Invalid_Problem_Definition:
            return LocalStatus::kInconsistentBounds;
        case Ipopt::Invalid_Number_Detected:
            return LocalStatus::kUndefinedValue;
        default:
            return LocalStatus::kFailed;
    }
}

const char* reason_of(LocalStatus status) {
    switch (status) {
        case LocalStatus::kSolved:
            return "the optimality conditions hold";
        case LocalStatus::kAcceptable:
            return "the optimality conditions hold to a looser tolerance";
        case LocalStatus::kInfeasible:
            return "the violation is locally least";
        case LocalStatus::kUnbounded:
            return "the iterates diverge";
        case LocalStatus::kIterationLimit:
            return "iteration limit";
        case LocalStatus::kTimeLimit:
            return "time limit";
        case LocalStatus::kStopped:
            return "interrupted";
        case LocalStatus::kTooManyEquations:
            return "more equations than columns that can move";
        case LocalStatus::kInconsistentBounds:
            return "bounds or sides cross";
        case LocalStatus::kUndefinedValue:
            return "a function or derivative is not a number";
        default:
            return "the method failed";
    }
}

}  // namespace

bool InteriorPointSolver::is_available() noexcept {
    return true;
}

LocalAnswer InteriorPointSolver::solve(LocalProblem& problem, const LocalOptions& options) {
    use_one_blas_thread();
    // The second argument keeps Ipopt from a console of its own, the empty name from ipopt.opt.
    Ipopt::SmartPtr<Ipopt::IpoptApplication> application =
        new Ipopt::IpoptApplication(false, false);
    set_options(*application->Options(), problem, options);
    LocalAnswer none;
    if (application->Initialize("") != Ipopt::Solve_Succeeded) return none;
    Ipopt::SmartPtr<Bridge> bridge = new Bridge(problem, options);
    const LocalStatus status =
        status_of(application->OptimizeTNLP(Ipopt::SmartPtr<Ipopt::TNLP>(GetRawPtr(bridge))));
    if (bridge->failure) std::rethrow_exception(bridge->failure);
    LocalAnswer answer = std::move(bridge->answer);
    answer.status = status;
    answer.reason = reason_of(status);
    return answer;
}

}  // namespace qlx::nlp

#else

namespace qlx::nlp {

bool InteriorPointSolver::is_available() noexcept {
    return false;
}

LocalAnswer InteriorPointSolver::solve(LocalProblem&, const LocalOptions&) {
    LocalAnswer answer;
    answer.status = LocalStatus::kUnavailable;
    answer.reason = "this build has no interior point method";
    return answer;
}

}  // namespace qlx::nlp

#endif
