// Entry points: user functions, their definitions and what a running one may ask.
#include <qlx/qslp.h>

#include <cstring>

#include "engine/api/nonlinear_arguments.hpp"
#include "engine/api/nonlinear_boundary.hpp"

using namespace qlx;

namespace {

// What a running function asks; from its context, and so on any thread, whoever has the problem.
template <class Body>
int ask_call(void* context, const char* name, Body&& body) {
    return call_environment(name, [&] {
        if (context == nullptr) fail(QLX_ERROR_ARGUMENT, "context is null");
        body(*static_cast<const UserFunctionCall*>(context));
    });
}

}  // namespace

extern "C" {

int QSLPsetstring(QSLPprob prob, int* index, const char* text) {
    return nonlinear_change(prob, "QSLPsetstring", [&](NonlinearProblem& p) {
        require_array(index, 1, "index");
        require_array(text, 1, "text");
        *index = p.functions.index_of_text(text);
    });
}

int QSLPadduserfuncs(QSLPprob prob, int nfuncs, const int* type, const double* value) {
    return nonlinear_change(prob, "QSLPadduserfuncs", [&](NonlinearProblem& p) {
        require_count(nfuncs, "nfuncs");
        require_array(type, nfuncs, "type");
        require_array(value, nfuncs, "value");
        p.functions.define(nfuncs, type, value);
    });
}

int QSLPaddnames(QSLPprob prob, int type, const char* names, int first, int last) {
    return nonlinear_change(prob, "QSLPaddnames", [&](NonlinearProblem& p) {
        if (type != QSLP_NAMES_USERFUNCTION)
            fail(QLX_ERROR_ARGUMENT, "type is ", type, ", must be ", int{QSLP_NAMES_USERFUNCTION},
                 " (user functions); QLXaddnames names the rest");
        require_array(names, 1, "names");
        if (first > last)
            fail(QLX_ERROR_ARGUMENT, "first is ", first, ", must be at most last = ", last);
        p.functions.require(first);
        p.functions.require(last);
        for (int number = first; number <= last; ++number) {
            p.functions.function(number).name = names;
            names += std::strlen(names) + 1;
        }
    });
}

int QSLPchguserfuncaddress(QSLPprob prob, int function, QSLPuserfunction address) {
    return nonlinear_change(prob, "QSLPchguserfuncaddress", [&](NonlinearProblem& p) {
        p.functions.function(function).address = address;
    });
}

int QSLPchguserfuncinputs(QSLPprob prob, int function, int ninputs) {
    return nonlinear_change(prob, "QSLPchguserfuncinputs", [&](NonlinearProblem& p) {
        p.functions.set_inputs(function, ninputs);
    });
}

int QSLPsetuserfuncobject(QSLPprob prob, int function, void* object) {
    return nonlinear_change(prob, "QSLPsetuserfuncobject", [&](NonlinearProblem& p) {
        p.functions.function(function).object = object;
    });
}

// Without taking the problem, as running functions of several threads ask. Objects change only
// while none runs.
int QSLPgetuserfuncobject(QSLPprob prob, int function, void** object) {
    if (prob == nullptr)
        return call_environment("QSLPgetuserfuncobject",
                                [] { fail(QLX_ERROR_ARGUMENT, "prob is null"); });
    try {
        require_array(object, 1, "object");
        *object = prob->functions.function(function).object;
        return QLX_OK;
    } catch (...) {
        return report_exception(prob, "QSLPgetuserfuncobject");
    }
}

int QSLPgetfuncobject(void* context, int code, void** object) {
    return ask_call(context, "QSLPgetfuncobject", [&](const UserFunctionCall& running) {
        require_array(object, 1, "object");
        if (code == QSLP_POINTER_PROBLEM)
            *object = running.problem;
        else if (code == QSLP_POINTER_USEROBJECT)
            *object = running.problem->user_object;
        else
            fail(QLX_ERROR_ARGUMENT, "code is ", code, ", must be ", int{QSLP_POINTER_USEROBJECT},
                 " (the caller's object) or ", int{QSLP_POINTER_PROBLEM}, " (the problem)");
    });
}

int QSLPgetfuncinfo(void* context, int* ninputs, int* wantsvalue, int* wantsderivatives,
                    int* function) {
    return ask_call(context, "QSLPgetfuncinfo", [&](const UserFunctionCall& running) {
        if (ninputs != nullptr) *ninputs = running.inputs;
        if (wantsvalue != nullptr) *wantsvalue = running.wants_value;
        if (wantsderivatives != nullptr) *wantsderivatives = running.wants_derivatives ? 1 : 0;
        if (function != nullptr) *function = running.function;
    });
}

}  // extern "C"
