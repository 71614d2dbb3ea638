// Nonlinear objectives: modelled by a row objective - column == 0 whose column is minimised or
// maximised in the objective's place.
#include "problem/nonlinear_objective.hpp"

#include <algorithm>

#include "model/constraint.hpp"
#include "module/boundary.hpp"
#include "module/library_error.hpp"
#include "module/pending_exception.hpp"
#include "nonlinear/node_internal.hpp"
#include "problem/access.hpp"
#include "problem/deletion.hpp"
#include "problem/transfer/column_batch.hpp"
#include "problem/transfer/nonlinear_part.hpp"

namespace quilex {

namespace {

constexpr char kRowName[] = "objtransferrow";
constexpr char kColumnName[] = "objtransfercol";

Owned<Variable> new_transfer_variable() {
    const Ref name = require(PyUnicode_FromString(kColumnName));
    return var_base({.lb = -kInfinity, .ub = kInfinity, .name = name.get()});
}

Owned<Constraint> new_transfer_constraint(PyObject* objective, Variable* variable) {
    Owned<Constraint> constraint = constraint_base();
    constraint->name = require(PyUnicode_FromString(kRowName)).release();
    constraint_set_body(constraint.get(), make_pair(kDifference, objective, as_object(variable)));
    constraint->lb = 0.0;
    constraint->ub = 0.0;
    return constraint;
}

void send_row(Problem* problem, RowEntries& entries, int row) {
    PyObject* const self = as_object(problem);
    QLXprob prob = problem->prob;
    const auto count = static_cast<int64_t>(entries.columns.size());
    const int64_t starts[] = {0, count};
    const char type = 'E';
    const double rhs = -entries.constant;
    const double range = 0.0;
    require_library(self, QLXaddrows64(prob, 1, count, &type, &rhs, &range, starts,
                                       entries.columns.data(), entries.coefficients.data()));
    require_library(self, QLXaddnames(prob, QLX_NAMES_ROW, kRowName, row, row));
    if (!entries.first_columns.empty()) {
        require_library(
            self, QLXaddqmatrix64(prob, row, static_cast<int64_t>(entries.first_columns.size()),
                                  entries.first_columns.data(), entries.second_columns.data(),
                                  entries.quadratic_coefficients.data()));
    }
    require_library(self, add_coefficients(problem, entries.formulas));
}

int next_row(Problem* problem) {
    const ConversionScope conversion(problem);
    return rows_to_append_to(problem);
}

// Takes back what was added from these sizes on; the pending exception stays.
void take_back(Problem* problem, int rows, int columns) noexcept {
    const PendingException kept;
    guarded([&] {
        int row_count = 0;
        QLXgetintattrib(problem->prob, QLX_ATTRIB_ROWS, &row_count);
        if (row_count > rows) QLXdelrows(problem->prob, 1, &rows);
        if (problem->variables.size() > columns) delete_columns(problem, {&columns, 1});
    });
}

}  // namespace

void add_objective_transfer(Problem* problem, PyObject* objective, RowEntries& entries) {
    const int row = next_row(problem);
    const int column = problem->variables.size();
    const Owned<Variable> variable = new_transfer_variable();
    const Owned<Constraint> constraint = new_transfer_constraint(objective, variable.get());
    try {
        problem->columns->collect(problem, as_object(variable.get()));
        problem->has_pending = true;
        flush_pending(problem);
        entries.add_linear(variable.get(), -1.0);
        entries.end_row();
        entries.formulas.end_row(row);
        send_row(problem, entries, row);
        problem->con_index.insert(constraint->index, row);
        problem->constraints.append(as_object(constraint.get()));
    } catch (...) {
        problem->con_index.erase_serial(constraint->index);
        take_back(problem, row, column);
        throw;
    }
    problem->nl_obj = 1;
    Py_XSETREF(problem->nl_objexpr, share(objective).release());
    problem->objective_transfer_row = row;
    problem->objective_transfer_column = column;
}

void remove_objective_transfer(Problem* problem) {
    if (problem->nl_obj == 0) return;
    const int row = std::exchange(problem->objective_transfer_row, -1);
    const int column = std::exchange(problem->objective_transfer_column, -1);
    problem->nl_obj = 0;
    Py_CLEAR(problem->nl_objexpr);
    delete_rows(problem, {&row, 1});
    delete_columns(problem, {&column, 1});
}

void require_no_transfer_row(const Problem* problem, std::span<const int> rows) {
    if (problem->nl_obj == 0) return;
    if (std::find(rows.begin(), rows.end(), problem->objective_transfer_row) == rows.end()) return;
    raise_runtime_error(
        "Constraint %s belongs to the nonlinear objective and cannot be deleted: set another "
        "objective",
        kRowName);
}

void require_no_transfer_column(const Problem* problem, std::span<const int> columns) {
    if (problem->nl_obj == 0) return;
    if (std::find(columns.begin(), columns.end(), problem->objective_transfer_column) ==
        columns.end()) {
        return;
    }
    raise_runtime_error(
        "Variable %s belongs to the nonlinear objective and cannot be deleted: set another "
        "objective",
        kColumnName);
}

int index_after_deletion(int index, std::span<const int> deleted) noexcept {
    return index - static_cast<int>(std::count_if(deleted.begin(), deleted.end(),
                                                  [index](int gone) { return gone < index; }));
}

}  // namespace quilex
