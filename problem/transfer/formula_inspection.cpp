// Test aids: formulas as they are written, kept and evaluated.
#include "problem/transfer/formula_inspection.hpp"

#include "module/boundary.hpp"
#include "module/library_error.hpp"
#include "problem/access.hpp"
#include "problem/transfer/convert.hpp"

namespace quilex {

namespace {

Problem* problem_of(PyObject* object) {
    if (!is_problem(object)) raise_runtime_error("The first argument must be a problem");
    return reading(object);
}

Ref list_of_tokens(std::span<const int> types, std::span<const double> values) {
    Ref list = require(PyList_New(0));
    for (size_t i = 0; i < types.size(); ++i) {
        const Ref token = require(Py_BuildValue("(id)", types[i], values[i]));
        require_status(PyList_Append(list.get(), token.get()));
    }
    return list;
}

Ref quilexmod_formula_tokens(PyObject*, PyObject* arguments) {
    PyObject* object = nullptr;
    PyObject* operand = nullptr;
    if (!PyArg_ParseTuple(arguments, "OO", &object, &operand)) throw PythonFailure();
    RowEntries entries;
    entries.begin_row(problem_of(object), nullptr);
    convertExpr(operand, 1.0, entries);
    const FormulaEntries& formulas = entries.formulas;
    Ref list = require(PyList_New(0));
    for (size_t k = 0; k < formulas.columns.size(); ++k) {
        const auto first = static_cast<size_t>(formulas.starts[k]);
        const size_t count = static_cast<size_t>(formulas.starts[k + 1]) - first;
        const Ref tokens = list_of_tokens(std::span(formulas.types).subspan(first, count),
                                          std::span(formulas.values).subspan(first, count));
        const Ref item =
            require(Py_BuildValue("(idO)", formulas.columns[k], formulas.factors[k], tokens.get()));
        require_status(PyList_Append(list.get(), item.get()));
    }
    return list;
}

Ref kept_coefficient(const Problem* problem, int row, int column) {
    int count = 0;
    double factor = 0.0;
    PyObject* const self = as_object(const_cast<Problem*>(problem));
    require_library(self, QSLPgetcoefformula(problem->slpprob, row, column, &factor, 1, 0, &count,
                                             nullptr, nullptr));
    std::vector<int> types(static_cast<size_t>(count));
    std::vector<double> values(static_cast<size_t>(count));
    require_library(self, QSLPgetcoefformula(problem->slpprob, row, column, &factor, 1, count,
                                             &count, types.data(), values.data()));
    const Ref tokens = list_of_tokens(types, values);
    return require(Py_BuildValue("(iidO)", row, column, factor, tokens.get()));
}

Ref quilexmod_formulas(PyObject*, PyObject* object) {
    const Problem* problem = problem_of(object);
    int count = 0;
    require_library(object, QSLPgetcoefs(problem->slpprob, &count, nullptr, nullptr));
    std::vector<int> rows(static_cast<size_t>(count));
    std::vector<int> columns(static_cast<size_t>(count));
    require_library(object, QSLPgetcoefs(problem->slpprob, &count, rows.data(), columns.data()));
    Ref list = require(PyList_New(0));
    for (size_t k = 0; k < rows.size(); ++k) {
        const Ref item = kept_coefficient(problem, rows[k], columns[k]);
        require_status(PyList_Append(list.get(), item.get()));
    }
    return list;
}

void set_values(Problem* problem, PyObject* point) {
    for (Py_ssize_t column = 0; column < PyList_GET_SIZE(point); ++column) {
        const double value = PyFloat_AsDouble(PyList_GET_ITEM(point, column));
        if (PyErr_Occurred()) throw PythonFailure();
        require_library(
            as_object(problem),
            QSLPchgvar(problem->slpprob, static_cast<int>(column), nullptr, nullptr, nullptr,
                       nullptr, nullptr, nullptr, &value, nullptr, nullptr, nullptr, nullptr));
    }
}

Ref quilexmod_formula_value(PyObject*, PyObject* arguments) {
    PyObject* object = nullptr;
    PyObject* tokens = nullptr;
    PyObject* point = nullptr;
    if (!PyArg_ParseTuple(arguments, "OO!|O!", &object, &PyList_Type, &tokens, &PyList_Type,
                          &point)) {
        throw PythonFailure();
    }
    Problem* const problem = problem_of(object);
    std::vector<int> types(static_cast<size_t>(PyList_GET_SIZE(tokens)));
    std::vector<double> values(types.size());
    for (size_t i = 0; i < types.size(); ++i) {
        PyObject* const token = PyList_GET_ITEM(tokens, static_cast<Py_ssize_t>(i));
        if (!PyArg_ParseTuple(token, "id", &types[i], &values[i])) throw PythonFailure();
    }
    if (point != nullptr) set_values(problem, point);
    double result = 0.0;
    require_library(object,
                    QSLPevaluateformula(problem->slpprob, 1, types.data(), values.data(), &result));
    return require(PyFloat_FromDouble(result));
}

}  // namespace

PyMethodDef formula_inspection_methods[] = {
    {"_formula_tokens", method<quilexmod_formula_tokens>, METH_VARARGS,
     "_formula_tokens(problem, operand)\n--\n\n"
     "The nonlinear coefficients that an operand makes as the body of a row, for tests:\n"
     "[(column, factor, [(type, value), ...]), ...]."},
    {"_formulas", method<quilexmod_formulas>, METH_O,
     "_formulas(problem)\n--\n\n"
     "The nonlinear coefficients that the library holds, for tests:\n"
     "[(row, column, factor, [(type, value), ...]), ...]."},
    {"_formula_value", method<quilexmod_formula_value>, METH_VARARGS,
     "_formula_value(problem, tokens, point=None)\n--\n\n"
     "The value of a formula, ended by (0, 0.0), at a list of the columns' values, or at the\n"
     "values given before, for tests."},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quilex
