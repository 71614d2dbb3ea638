// Entry points: what the nonlinear solver knows about columns.
#include <qlx/qslp.h>

#include "engine/api/nonlinear_arguments.hpp"
#include "engine/api/nonlinear_boundary.hpp"
#include "engine/base/index.hpp"

using namespace qlx;

namespace {

void require_unused(const void* argument, const char* name) {
    if (argument != nullptr)
        fail(QLX_ERROR_NOT_AVAILABLE, name,
             " is not available yet and must be null; initvalue and value are");
}

void make_room(std::vector<double>& values, int col) {
    const auto needed = static_cast<std::size_t>(col) + 1;
    if (values.size() < needed) values.resize(needed, kNoValue);
}

}  // namespace

extern "C" {

int QSLPchgvar(QSLPprob prob, int col, const int* detrow, const double* initstepbound,
               const double* stepbound, const double* penalty, const double* damp,
               const double* initvalue, const double* value, const int* tolset, const int* history,
               const int* converged, const int* vartype) {
    return nonlinear_change(prob, "QSLPchgvar", [&](NonlinearProblem& p) {
        check_index(col, p.linear.model.num_cols(), "col");
        require_unused(detrow, "detrow");
        require_unused(initstepbound, "initstepbound");
        require_unused(stepbound, "stepbound");
        require_unused(penalty, "penalty");
        require_unused(damp, "damp");
        require_unused(tolset, "tolset");
        require_unused(history, "history");
        require_unused(converged, "converged");
        require_unused(vartype, "vartype");
        if (initvalue != nullptr) check_column_value(*initvalue, "initvalue");
        if (value != nullptr) check_column_value(*value, "value");
        ColumnValues& values = p.linear.model.nonlinear().values;
        if (initvalue != nullptr) make_room(values.initial, col);
        if (value != nullptr) make_room(values.current, col);
        if (initvalue != nullptr) values.initial[at(col)] = *initvalue;
        // A value from before would hide the new beginning.
        if (initvalue != nullptr && at(col) < values.current.size())
            values.current[at(col)] = kNoValue;
        if (value != nullptr) values.current[at(col)] = *value;
    });
}

}  // extern "C"
