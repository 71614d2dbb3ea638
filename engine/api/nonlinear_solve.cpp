// Entry points: solving nonlinear problems.
#include <qlx/qslp.h>

#include "engine/api/nonlinear_boundary.hpp"
#include "engine/solve/kernel_options.hpp"
#include "engine/solve/solve.hpp"

using namespace qlx;

extern "C" {

int QSLPnlpoptimize(QSLPprob prob, const char* flags) {
    return call(prob, "QSLPnlpoptimize", Access::kSolve, [&](NonlinearProblem& p) {
        refuse_unknown_flags(flags);
        refuse_nonlinear(p.linear);
        fail(QLX_ERROR_NOT_AVAILABLE, "the nonlinear solver is not available yet");
    });
}

}  // extern "C"
