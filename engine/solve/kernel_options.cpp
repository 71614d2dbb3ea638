// Where the kernels' controls are honoured.
#include "engine/solve/kernel_options.hpp"

#include <algorithm>
#include <thread>

#include "engine/base/errors.hpp"

namespace qlx {

namespace {

KernelMethod method_of(const Controls& controls, const char* flags) {
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
                fail(QLX_ERROR_ARGUMENT, "flags contains '", *flag,
                     "', must be of 'd', 'p', 'b', 'n'");
        }
    }
    return method;
}

}  // namespace

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
    options.integrality_tolerance = controls.inttol;
    options.relative_gap = controls.miprelgap;
    options.absolute_gap = controls.mipabsgap;
    options.matrix_tolerance = controls.matrixtol;
    return options;
}

}  // namespace qlx
