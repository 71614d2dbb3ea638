// Entry points: nonlinear problems, their controls, attributes and errors.
#include <qlx/qslp.h>

#include <cstring>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"
#include "engine/api/nonlinear_boundary.hpp"
#include "engine/api/parameter_list.hpp"
#include "engine/core/nonlinear_problem.hpp"
#include "engine/core/parameter_names.hpp"

using namespace qlx;

namespace {

template <class Row, class Member>
const Row& typed_row(const std::vector<Row>& table, int id, Member Row::*member, const char* kind,
                     const char* type) {
    const Row* row = find_row(table, id);
    if (row == nullptr) fail(QLX_ERROR_ARGUMENT, "there is no nonlinear ", kind, " with id ", id);
    if (row->*member == nullptr)
        fail(QLX_ERROR_ARGUMENT, kind, " ", row->name, " (", id, ") is not ", type);
    return *row;
}

const NonlinearControlRow& integer_control(int id) {
    return typed_row(nonlinear_control_table(), id, &NonlinearControlRow::integer, "control",
                     "an integer");
}

const NonlinearControlRow& real_control(int id) {
    return typed_row(nonlinear_control_table(), id, &NonlinearControlRow::real, "control",
                     "a double");
}

// The sense is the model's: the control shows it and sets it.
bool is_sense(const NonlinearControlRow& row) noexcept {
    return row.real == &NonlinearControls::objsense;
}

void require_in_range(const NonlinearControlRow& row, double value) {
    if (is_sense(row) && value != 1 && value != -1)
        fail(QLX_ERROR_ARGUMENT, "control ", row.name, " cannot be ", value,
             ", must be 1 (minimise) or -1 (maximise)");
    if (!(value >= row.least && value <= row.largest))
        fail(QLX_ERROR_ARGUMENT, "control ", row.name, " cannot be ", value, ", must be ",
             row.least, " .. ", row.largest);
}

[[noreturn]] void refuse_text(int id, const char* kind) {
    fail(QLX_ERROR_ARGUMENT, "there is no nonlinear ", kind, " of type string with id ", id);
}

ParameterList nonlinear_list() {
    ParameterList list;
    for (const NonlinearControlRow& row : nonlinear_control_table())
        list.add(
            row.name, row.id,
            QSLP_PARAM_CONTROL | (row.integer != nullptr ? QSLP_PARAM_INT : QSLP_PARAM_DOUBLE));
    for (const NonlinearAttributeRow& row : nonlinear_attribute_table())
        list.add(row.name, row.id, row.integer != nullptr ? QSLP_PARAM_INT : QSLP_PARAM_DOUBLE);
    list.add("", 0, 0);
    return list;
}

const ParameterList& list_of_all() {
    static const ParameterList list = nonlinear_list();
    return list;
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

int QSLPgetlasterror(QSLPprob prob, int* code, char* text) {
    if (prob == nullptr)
        return call_environment("QSLPgetlasterror",
                                [] { fail(QLX_ERROR_ARGUMENT, "prob is null"); });
    prob->error.read(code, text, static_cast<int>(LastError::kTextSize));
    return QLX_OK;
}

int QSLPgetintcontrol(QSLPprob prob, int id, int* value) {
    return nonlinear_read(prob, "QSLPgetintcontrol", [&](NonlinearProblem& p) {
        require_array(value, 1, "value");
        *value = p.controls.*integer_control(id).integer;
    });
}

int QSLPgetdblcontrol(QSLPprob prob, int id, double* value) {
    return nonlinear_read(prob, "QSLPgetdblcontrol", [&](NonlinearProblem& p) {
        require_array(value, 1, "value");
        const NonlinearControlRow& row = real_control(id);
        *value = is_sense(row) ? p.linear.model.sense() : p.controls.*row.real;
    });
}

int QSLPgetstrcontrol(QSLPprob prob, int id, char*) {
    return nonlinear_read(prob, "QSLPgetstrcontrol",
                          [&](NonlinearProblem&) { refuse_text(id, "control"); });
}

int QSLPsetintcontrol(QSLPprob prob, int id, int value) {
    return nonlinear_change(prob, "QSLPsetintcontrol", [&](NonlinearProblem& p) {
        const NonlinearControlRow& row = integer_control(id);
        require_in_range(row, value);
        p.controls.*row.integer = value;
    });
}

int QSLPsetdblcontrol(QSLPprob prob, int id, double value) {
    return nonlinear_change(prob, "QSLPsetdblcontrol", [&](NonlinearProblem& p) {
        const NonlinearControlRow& row = real_control(id);
        require_in_range(row, value);
        if (is_sense(row)) p.linear.model.set_sense(static_cast<int>(value));
        p.controls.*row.real = value;
    });
}

int QSLPsetstrcontrol(QSLPprob prob, int id, const char*) {
    return nonlinear_change(prob, "QSLPsetstrcontrol",
                            [&](NonlinearProblem&) { refuse_text(id, "control"); });
}

int QSLPgetintattrib(QSLPprob prob, int id, int* value) {
    return nonlinear_read(prob, "QSLPgetintattrib", [&](NonlinearProblem& p) {
        require_array(value, 1, "value");
        const auto& row = typed_row(nonlinear_attribute_table(), id,
                                    &NonlinearAttributeRow::integer, "attribute", "an integer");
        *value = static_cast<int>(row.integer(p));
    });
}

int QSLPgetdblattrib(QSLPprob prob, int id, double* value) {
    return nonlinear_read(prob, "QSLPgetdblattrib", [&](NonlinearProblem& p) {
        require_array(value, 1, "value");
        *value = typed_row(nonlinear_attribute_table(), id, &NonlinearAttributeRow::real,
                           "attribute", "a double")
                     .real(p);
    });
}

int QSLPgetstrattrib(QSLPprob prob, int id, char*) {
    return nonlinear_read(prob, "QSLPgetstrattrib",
                          [&](NonlinearProblem&) { refuse_text(id, "attribute"); });
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

int QSLPcopycontrols(QSLPprob dest, QSLPprob src) {
    return nonlinear_change(dest, "QSLPcopycontrols", [&](NonlinearProblem& p) {
        if (src == nullptr) fail(QLX_ERROR_ARGUMENT, "src is null");
        const Use use(src->linear.ownership, Access::kRead);
        p.controls = src->controls;
    });
}

int QSLPgetcalist(QSLPprob, const char* const** names, const int** ids, const int** flags) {
    return call_environment("QSLPgetcalist", [&] {
        const ParameterList& list = list_of_all();
        if (names != nullptr) *names = list.names.data();
        if (ids != nullptr) *ids = list.ids.data();
        if (flags != nullptr) *flags = list.flags.data();
    });
}

int QSLPcontrolname(QSLPprob, int id, char* name, int* flags) {
    return call_environment("QSLPcontrolname", [&] {
        const ParameterList& list = list_of_all();
        for (std::size_t k = 0; k + 1 < list.ids.size(); ++k) {
            if (list.ids[k] != id) continue;
            if (name != nullptr) std::strcpy(name, list.names[k]);
            if (flags != nullptr) *flags = list.flags[k];
            return;
        }
        fail(QLX_ERROR_ARGUMENT, "there is no nonlinear control or attribute with id ", id);
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
