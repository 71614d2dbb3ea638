// Where the kernels' controls are honoured.
#include "engine/solve/kernel_options.hpp"

#include <algorithm>
#include <string_view>
#include <thread>

#include "engine/base/errors.hpp"

namespace qlx {

namespace {

KernelMethod method_of(const Controls& controls, const char* flags) {
    refuse_unknown_flags(flags);
    auto method = static_cast<KernelMethod>(controls.lpmethod);
    for (const char* flag = flags == nullptr ? "" : flags; *flag != '\0'; ++flag) {
        switch (*flag) {
            case 'd':
                method = KernelMethod::kDualSimplex;
                break;
            case 'p':
                method = KernelMethod::kPrimalSimplex;
                break;
            case 'b':
                method = KernelMethod::kInteriorPoint;
                break;
            case 'n':
                method = KernelMethod::kFirstOrder;
                break;
            default:
                break;
        }
    }
    return method;
}

}  // namespace

void refuse_unknown_flags(const char* flags) {
    constexpr std::string_view kKnown = "dpbn";
    const std::string_view given = flags == nullptr ? "" : flags;
    const std::size_t unknown = given.find_first_not_of(kKnown);
    if (unknown == std::string_view::npos) return;
    fail(QLX_ERROR_ARGUMENT, "flags contains '", given[unknown],
         "', must be of 'd' (dual simplex), 'p' (primal simplex), 'b' (interior point), 'n' "
         "(first-order method)");
}

KernelOptions kernel_options(const Controls& controls, const char* flags) {
    KernelOptions options;
    options.method = method_of(controls, flags);
    options.presolve = controls.presolve != 0;
    options.crossover = controls.crossover != 0;
    options.iteration_limit = controls.lpiterlimit;
    options.node_limit = controls.nodelimit;
    options.solution_limit = controls.sollimit;
    options.threads = controls.threads > 0
                          ? controls.threads
                          : static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    options.seed = controls.seed;
    options.time_limit = controls.timelimit;
    options.feasibility_tolerance = controls.feastol;
    options.optimality_tolerance = controls.opttol;
    // HiGHS' tree search has one tolerance for integers and rows.
    options.integrality_tolerance = std::min(controls.inttol, controls.feastol);
    options.relative_gap = controls.miprelgap;
    options.absolute_gap = controls.mipabsgap;
    options.matrix_tolerance = controls.matrixtol;
    return options;
}

}  // namespace qlx
