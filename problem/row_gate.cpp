// The one gate for what happens to rows.
#include "problem/row_gate.hpp"

#include "module/environment.hpp"
#include "module/library_error.hpp"
#include "problem/transfer/dormant_constraints.hpp"
#include "problem/transfer/released_body.hpp"

namespace quilex {

namespace {

bool is_row(const Problem* problem, int row) noexcept {
    return row >= 0 && row < problem->constraints.size();
}

// Makes the constraint of a row as an object of its own, with its bounds.
void settle_sides(Problem* problem, int row) {
    if (is_row(problem, row)) constraint_at(problem, row);
}

void settle_wholly(Problem* problem, int row) {
    if (!is_row(problem, row)) return;
    Constraint* const constraint = constraint_at(problem, row);
    if (constraint->problem_slot != reinterpret_cast<uintptr_t>(problem)) return;
    const Ref held = share(constraint);
    restore_body(problem, constraint);
}

// The same where somebody else has the constraint.
void settle_if_held(Problem* problem, int row) {
    if (!is_row(problem, row) || problem->constraints.is_dormant(row)) return;
    if (Py_REFCNT(problem->constraints[row]) > 1) settle_wholly(problem, row);
}

std::vector<int> rows_with_columns(Problem* problem, std::span<const int> columns) {
    std::vector<int> rows;
    PyObject* const self = as_object(problem);
    for (const int column : columns) {
        if (column < 0 || column >= problem->variables.size()) continue;
        int64_t count = 0;
        require_library(self, QLXgetcols64(problem->prob, nullptr, nullptr, nullptr, 0, &count,
                                           column, column));
        const size_t old_size = rows.size();
        rows.resize(old_size + static_cast<size_t>(count));
        require_library(self, QLXgetcols64(problem->prob, nullptr, rows.data() + old_size, nullptr,
                                           count, &count, column, column));
    }
    return rows;
}

// Cuts the link of every constraint whose body is still released: nobody can ask for it any more.
void forget_released_bodies(Problem* problem) noexcept {
    for (int row = 0; row < problem->constraints.size(); ++row) {
        if (problem->constraints.is_dormant(row)) continue;
        auto* const constraint = reinterpret_cast<Constraint*>(problem->constraints[row]);
        if (constraint->problem_slot == reinterpret_cast<uintptr_t>(problem)) {
            constraint->problem_slot = 0;
        }
    }
}

void settle_held_rows(Problem* problem) {
    for (int row = 0; row < problem->constraints.size(); ++row) settle_if_held(problem, row);
}

}  // namespace

void settle_rows(Problem* problem, RowChange change, std::span<const int> indices) {
    switch (change) {
        case RowChange::kSides:
            for (const int row : indices) settle_sides(problem, row);
            return;
        case RowChange::kCoefficients:
            for (const int row : indices) settle_wholly(problem, row);
            return;
        case RowChange::kDeletion:
            for (const int row : indices) settle_if_held(problem, row);
            return;
        case RowChange::kColumnDeletion:
            for (const int row : rows_with_columns(problem, indices)) settle_wholly(problem, row);
            return;
        case RowChange::kSolve:
            return settle_held_rows(problem);
        case RowChange::kEnd:
            try {
                // Once the library is off, at the interpreter's end, nobody asks for a body.
                if (qlx_py_env.initialised != 0) settle_held_rows(problem);
            } catch (...) {
                forget_released_bodies(problem);
                throw;
            }
            return forget_released_bodies(problem);
    }
}

}  // namespace quilex
