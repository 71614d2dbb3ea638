// Entry points: the life of nonlinear problems, their errors and pointer attributes.
#include <qlx/qslp.h>

#include "engine/api/arguments.hpp"
#include "engine/api/nonlinear_boundary.hpp"
#include "engine/core/nonlinear_problem.hpp"

using namespace qlx;

namespace {

// A copy of the problem below has as many rows, columns and coefficients as the source.
void require_copied(const Problem& to, const Problem& from) {
    const auto require_same = [](const char* what, auto here, auto there) {
        if (here != there)
            fail(QLX_ERROR_STATE, "the problem below dest has ", here, " ", what, ", that of src ",
                 there, "; copy it first with QLXcopyprob");
    };
    require_same("rows", to.model.num_rows(), from.model.num_rows());
    require_same("columns", to.model.num_cols(), from.model.num_cols());
    require_same("terms of nonlinear coefficients", to.model.nonlinear().coefficients.num_terms(),
                 from.model.nonlinear().coefficients.num_terms());
}

}  // namespace

extern "C" {

int QSLPinit(void) {
    return call_environment("QSLPinit", [] {
        require_initialised();
        environment().add_nonlinear_user();
    });
}

int QSLPfree(void) {
    return call_environment("QSLPfree", [] {
        if (!environment().remove_nonlinear_user())
            fail(QLX_ERROR_STATE, "the nonlinear solver is not initialised");
    });
}

int QSLPcreateprob(QSLPprob* prob, QLXprob linear) {
    return call_environment("QSLPcreateprob", [&] {
        require_array(prob, 1, "prob");
        if (linear == nullptr) fail(QLX_ERROR_ARGUMENT, "linear is null");
        if (!environment().nonlinear_initialised())
            fail(QLX_ERROR_STATE, "the nonlinear solver is not initialised, call QSLPinit first");
        const Use use(linear->ownership, Access::kChange);
        *prob = new NonlinearProblem(*linear);
    });
}

int QSLPdestroyprob(QSLPprob prob) {
    if (prob == nullptr) return QLX_OK;
    try {
        const Use use(prob->linear.ownership, Access::kSolve);
        delete prob;
        return QLX_OK;
    } catch (...) {
        return report_exception(prob, "QSLPdestroyprob");
    }
}

int QSLPcopyprob(QSLPprob dest, QSLPprob src, const char* name) {
    return nonlinear_change(dest, "QSLPcopyprob", [&](NonlinearProblem& to) {
        if (src == nullptr) fail(QLX_ERROR_ARGUMENT, "src is null");
        if (src == dest) fail(QLX_ERROR_ARGUMENT, "src is dest");
        const Use use(src->linear.ownership, Access::kRead);
        require_copied(to.linear, src->linear);
        to.linear.model.nonlinear() = src->linear.model.nonlinear();
        to.functions.copy(src->functions);
        if (name != nullptr && *name != '\0') to.linear.model.set_name(name);
        to.forget_results();
    });
}

int QSLPgetlasterror(QSLPprob prob, int* code, char* text) {
    if (prob == nullptr)
        return call_environment("QSLPgetlasterror",
                                [] { fail(QLX_ERROR_ARGUMENT, "prob is null"); });
    prob->error.read(code, text, static_cast<int>(LastError::kTextSize));
    return QLX_OK;
}

int QSLPgetptrattrib(QSLPprob prob, int id, void** value) {
    return nonlinear_read(prob, "QSLPgetptrattrib", [&](NonlinearProblem& p) {
        require_array(value, 1, "value");
        if (id == QSLP_POINTER_USEROBJECT)
            *value = p.user_object;
        else if (id == QSLP_POINTER_PROBLEM)
            *value = &p;
        else
            fail(QLX_ERROR_ARGUMENT, "there is no pointer attribute with id ", id);
    });
}

int QSLPsetptrattrib(QSLPprob prob, int id, void* value) {
    return nonlinear_read(prob, "QSLPsetptrattrib", [&](NonlinearProblem& p) {
        if (id != QSLP_POINTER_USEROBJECT)
            fail(QLX_ERROR_ARGUMENT, "pointer attribute ", id, " cannot be set, only ",
                 int{QSLP_POINTER_USEROBJECT});
        p.user_object = value;
    });
}

int QSLPinterrupt(QSLPprob prob, int reason) {
    if (prob != nullptr && reason >= 1 && reason <= 9) {
        prob->linear.interrupt(reason);
        return QLX_OK;
    }
    return call_environment("QSLPinterrupt", [&] {
        if (prob == nullptr) fail(QLX_ERROR_ARGUMENT, "prob is null");
        fail(QLX_ERROR_ARGUMENT, "reason is ", reason, ", must be 1 .. 9");
    });
}

}  // extern "C"
