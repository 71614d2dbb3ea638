// The steps of the recovery ladder.
#include "engine/solve/recovery.hpp"

#include <algorithm>

namespace qlx {

namespace {

void tighten(KernelOptions& options) {
    options.feasibility_tolerance = std::max(options.feasibility_tolerance / 100, 1e-10);
    options.optimality_tolerance = std::max(options.optimality_tolerance / 100, 1e-10);
    options.integrality_tolerance = std::max(options.integrality_tolerance / 100, 1e-10);
}

const std::array<Recovery, 5> kLadder = {{
    {"as asked", [](KernelOptions&) {}},
    {"with tighter tolerances", tighten},
    {"without presolve",
     [](KernelOptions& options) {
         tighten(options);
         options.presolve = false;
         options.method = KernelMethod::kDualSimplex;
     }},
    {"by primal simplex",
     [](KernelOptions& options) {
         options.presolve = false;
         options.method = KernelMethod::kPrimalSimplex;
     }},
    {"by interior point",
     [](KernelOptions& options) {
         tighten(options);
         options.crossover = true;
         options.method = KernelMethod::kInteriorPoint;
     }},
}};

}  // namespace

const std::array<Recovery, 5>& recovery_ladder() {
    return kLadder;
}

}  // namespace qlx
