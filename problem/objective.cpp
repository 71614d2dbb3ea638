// setObjective.
#include "model/operand.hpp"
#include "module/boundary.hpp"
#include "module/library_error.hpp"
#include "problem/access.hpp"
#include "problem/building.hpp"
#include "problem/nonlinear_objective.hpp"
#include "problem/object_list.hpp"
#include "problem/transfer/convert.hpp"

namespace quilex {

namespace {

enum Sense : long { kMinimize = 1, kMaximize = -1 };

void require_objective(PyObject* objective) {
    if (classify(objective) != kInvalid) return;
    if (is_numpy_array(objective) || PySequence_Check(objective)) {
        raise_runtime_error("Only one objective can be set, passed a sequence or NumPy array");
    }
    raise_runtime_error("Invalid object set as objective");
}

void change_objective(Problem* problem, std::span<const int> columns,
                      std::span<const double> coefficients) {
    require_library(as_object(problem), QLXchgobj(problem->prob, static_cast<int>(columns.size()),
                                                  columns.data(), coefficients.data()));
}

// Replaces all linear coefficients and the constant, touching only the columns that have, or get, a
// coefficient.
void set_linear_part(Problem* problem, const RowEntries& entries) {
    constexpr int kConstant = -1;  // the constant's place
    const int count = problem->variables.size();
    std::vector<double> values(static_cast<size_t>(count));
    if (count > 0) {
        require_library(as_object(problem), QLXgetobj(problem->prob, values.data(), 0, count - 1));
    }
    for (const int column : entries.columns) values[static_cast<size_t>(column)] = 0.0;
    std::vector<int> vacated;  // columns with an old coefficient and no new one
    for (int column = 0; column < count; ++column) {
        if (values[static_cast<size_t>(column)] != 0.0) vacated.push_back(column);
    }
    change_objective(problem, {&kConstant, 1}, {&entries.constant, 1});
    change_objective(problem, vacated, std::vector<double>(vacated.size()));
    change_objective(problem, entries.columns, entries.coefficients);
}

void set_quadratic_part(Problem* problem, const RowEntries& entries) {
    PyObject* const self = as_object(problem);
    require_library(self, QLXdelqmatrix(problem->prob, -1));
    if (entries.first_columns.empty()) return;
    require_library(self,
                    QLXchgmqobj64(problem->prob, static_cast<int64_t>(entries.first_columns.size()),
                                  entries.first_columns.data(), entries.second_columns.data(),
                                  entries.quadratic_coefficients.data()));
}

void convert_objective(Problem* problem, PyObject* objective, RowEntries& entries) {
    const ConversionScope conversion(problem);
    entries.clear();
    entries.begin_row(problem, nullptr);
    convertExpr(objective, 1.0, entries);
    entries.end_row();
}

void set_sense(Problem* problem, long sense) {
    PyObject* const self = as_object(problem);
    require_library(self, QLXchgobjsense(problem->prob, static_cast<int>(sense)));
    if (is_linear_or_quadratic(problem)) return;
    require_library(self, QSLPsetdblcontrol(problem->slpprob, QSLP_CONTROL_OBJSENSE,
                                            static_cast<double>(sense)));
}

Ref problem_setObjective(PyObject* self, PyObject* arguments, PyObject* keywords) {
    static const char* names[] = {"objective", "sense", nullptr};
    PyObject* objective = nullptr;
    long sense = kMinimize;
    if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "O|l", const_cast<char**>(names),
                                     &objective, &sense)) {
        // A number that no sense can be; other failures keep their own words.
        if (PyErr_ExceptionMatches(PyExc_OverflowError))
            raise_runtime_error("Invalid optimization sense");
        throw PythonFailure();
    }
    if (sense != kMinimize && sense != kMaximize) raise_runtime_error("Invalid optimization sense");
    Problem* const problem = changing(self);
    require_objective(objective);
    // Converted before anything is changed, so that a wrong objective leaves the old one in place.
    RowEntries entries;
    convert_objective(problem, objective, entries);
    if (problem->nl_obj != 0) {
        remove_objective_transfer(problem);
        convert_objective(problem, objective, entries);  // columns have moved
    }
    if (!entries.formulas.empty()) {
        add_objective_transfer(problem, objective, entries);
        PyObject* const variable = problem->variables[problem->objective_transfer_column];
        convert_objective(problem, variable, entries);
    }
    set_linear_part(problem, entries);
    set_quadratic_part(problem, entries);
    set_sense(problem, sense);
    return none();
}

}  // namespace

PyMethodDef objective_methods[] = {
    {"setObjective", method<problem_setObjective>, METH_VARARGS | METH_KEYWORDS,
     "setObjective($self, objective, sense=quilex.minimize)\n--\n\n"
     "Replace the objective by a number, variable, term or expression, to be minimised or\n"
     "maximised (quilex.minimize, quilex.maximize). A constant counts in getObjVal()."},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quilex
