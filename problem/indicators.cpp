// addIndicator: rows that hold only when a binary variable has a value.
#include "model/constraint.hpp"
#include "model/expression.hpp"
#include "module/boundary.hpp"
#include "module/library_error.hpp"
#include "module/pending_exception.hpp"
#include "problem/access.hpp"
#include "problem/building.hpp"
#include "problem/deletion.hpp"
#include "problem/number_text.hpp"
#include "problem/transfer/row_batch.hpp"

namespace quilex {

namespace {

struct Condition {
    int column;
    int complement;  // 1: the row holds when the column is 1; -1: when it is 0
};

// The single entry of a condition's body.
LinearEntry condition_entry(PyObject* body) {
    if (body != nullptr && is_variable(body)) return {reinterpret_cast<Variable*>(body), 1.0};
    if (body == nullptr || !is_expression(body)) {
        raise_runtime_error(
            "Invalid indicator expression. Must be var==0 or var==1, where var is a binary "
            "variable");
    }
    auto* const expression = reinterpret_cast<Expression*>(body);
    if (expression_constant(expression) != 0.0) {
        raise_runtime_error("Invalid condition for indicator constraints: must be a variable");
    }
    const std::span<const LinearEntry> entries = expression_linear_entries(expression);
    if (entries.size() != 1) {
        raise_runtime_error(
            "Invalid condition for indicator constraints: there must be exactly one variable");
    }
    if (expression_has_quadratic_part(expression)) {
        raise_runtime_error(
            "Invalid condition for indicator constraints: it cannot contain a quadratic "
            "expression");
    }
    return entries.front();
}

// Checked as soon as the condition is stated; a type that is changed later is refused by the solve.
void require_binary(const Problem* problem, const Variable* variable, int column) {
    PyObject* const self = as_object(const_cast<Problem*>(problem));
    char type = 0;
    double lower = 0.0;
    double upper = 0.0;
    require_library(self, QLXgetcoltype(problem->prob, &type, column, column));
    require_library(self, QLXgetlb(problem->prob, &lower, column, column));
    require_library(self, QLXgetub(problem->prob, &upper, column, column));
    if ((type == 'B' || type == 'I') && lower >= 0.0 && upper <= 1.0) return;
    const Ref name = variable_name(variable);
    raise_runtime_error(
        "Indicator variable %S must be binary, or integer with bounds within 0 .. 1: its column is "
        "of type '%c' with bounds %s .. %s",
        name.get(), type, number_text(lower).c_str(), number_text(upper).c_str());
}

Condition read_condition(const Problem* problem, PyObject* object) {
    auto* const constraint = reinterpret_cast<Constraint*>(object);
    const Ref body = constraint_body(constraint);
    const LinearEntry entry = condition_entry(body.get());
    const int column = problem->var_index.find(entry.variable->index);
    if (column == IndexMap::kMissing) {
        raise_runtime_error("Indicator variable has not been added to problem yet");
    }
    if (entry.coefficient != 1.0) {
        raise_runtime_error("Indicator variable must have coefficient 1");
    }
    const double value = constraint->lb;
    if (constraint->ub != value || (value != 0.0 && value != 1.0)) {
        raise_runtime_error(
            "Invalid condition for indicator constraints: must be <variable_name> == 0 or "
            "<variable_name> == 1");
    }
    require_binary(problem, entry.variable, column);
    return {column, value == 0.0 ? -1 : 1};
}

void add_indicator(Problem* problem, PyObject* condition_object, PyObject* constraint) {
    const Condition condition = read_condition(problem, condition_object);
    problem->rows->collect(problem, constraint);
    flush_pending(problem);
    const int row = problem->con_index.find(reinterpret_cast<Constraint*>(constraint)->index);
    if (QLXsetindicators(problem->prob, 1, &row, &condition.column, &condition.complement) == 0) {
        return;
    }
    // A row without its condition would be another model: it goes.
    set_library_error(as_object(problem));
    {
        const PendingException kept;
        guarded([&] { delete_rows(problem, {&row, 1}); });
    }
    throw PythonFailure();
}

bool is_pair(PyObject* object) noexcept {
    return PyTuple_Check(object) && PyTuple_GET_SIZE(object) == 2 &&
           is_constraint(PyTuple_GET_ITEM(object, 0)) && is_constraint(PyTuple_GET_ITEM(object, 1));
}

[[noreturn]] void raise_invalid_declaration() {
    raise_runtime_error("Invalid declaration of indicator constraints.");
}

}  // namespace

Ref problem_addIndicator(PyObject* self, PyObject* const* arguments, Py_ssize_t count) {
    Problem* const problem = changing(self);
    if (count == 2 && is_constraint(arguments[0]) && is_constraint(arguments[1])) {
        add_indicator(problem, arguments[0], arguments[1]);
        return none();
    }
    for (Py_ssize_t i = 0; i < count; ++i) {
        if (!is_pair(arguments[i])) raise_invalid_declaration();
    }
    for (Py_ssize_t i = 0; i < count; ++i) {
        add_indicator(problem, PyTuple_GET_ITEM(arguments[i], 0),
                      PyTuple_GET_ITEM(arguments[i], 1));
    }
    return none();
}

}  // namespace quilex
