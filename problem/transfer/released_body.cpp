// Bodies of constraints whose rows the library holds.
#include "problem/transfer/released_body.hpp"

#include "module/library_error.hpp"
#include "problem/access.hpp"
#include "problem/transfer/dormant_constraints.hpp"

namespace quilex {

namespace {

bool is_released_to(const Constraint* constraint, const Problem* problem) noexcept {
    return constraint->problem_slot == reinterpret_cast<uintptr_t>(problem);
}

void rebuild(Problem* problem, Constraint* constraint, int row) {
    PyObject* const self = as_object(problem);
    int64_t count = 0;
    require_library(self,
                    QLXgetrows64(problem->prob, nullptr, nullptr, nullptr, 0, &count, row, row));
    const auto size = static_cast<size_t>(count);
    std::vector<int> columns(size);
    std::vector<double> coefficients(size);
    require_library(self, QLXgetrows64(problem->prob, nullptr, columns.data(), coefficients.data(),
                                       count, &count, row, row));
    constraint->body = body_from_entries(problem, columns, coefficients).release();
    constraint->problem_slot = 0;
}

}  // namespace

bool is_releasable(const Constraint* constraint) noexcept {
    PyObject* const body = constraint->body;
    if (body == nullptr || Py_REFCNT(body) != 1 || !is_expression(body)) return false;
    const auto* expression = reinterpret_cast<const Expression*>(body);
    return !expression_has_quadratic_part(expression) && expression_constant(expression) == 0.0;
}

void release_body(Problem* problem, Constraint* constraint) noexcept {
    constraint->problem_slot = reinterpret_cast<uintptr_t>(problem);
    Py_CLEAR(constraint->body);
}

Owned<Expression> body_from_entries(const Problem* problem, std::span<const int> columns,
                                    std::span<const double> coefficients) {
    Owned<Expression> body = expression_base();
    for (size_t i = 0; i < columns.size(); ++i) {
        auto* variable = reinterpret_cast<Variable*>(problem->variables[columns[i]]);
        require_status(expression_addToLinTerm(body.get(), variable, coefficients[i]));
    }
    return body;
}

Ref constraint_body(Constraint* constraint) {
    if (has_released_body(constraint)) {
        auto* problem = reinterpret_cast<Problem*>(constraint->problem_slot);
        restore_body(reading(as_object(problem)), constraint);
    }
    return Ref::share(constraint->body);
}

void restore_body(Problem* problem, Constraint* constraint) {
    if (!is_released_to(constraint, problem)) return;
    const int row = problem->con_index.find(constraint->index);
    if (row == IndexMap::kMissing) {
        raise_runtime_error("The body of constraint %R was lost with its row",
                            as_object(constraint));
    }
    rebuild(problem, constraint, row);
}

void restore_bodies(Problem* problem, std::span<const int> rows, bool only_held) {
    for (const int row : rows) {
        if (only_held && problem->constraints.is_dormant(row)) continue;
        Constraint* const constraint = constraint_at(problem, row);
        if (!is_released_to(constraint, problem)) continue;
        if (only_held && Py_REFCNT(as_object(constraint)) == 1) continue;
        rebuild(problem, constraint, row);
    }
}

void settle_constraints(Problem* problem, std::span<const int> rows, bool coefficients) {
    for (const int row : rows) {
        if (row < 0 || row >= problem->constraints.size()) continue;
        Constraint* const constraint = constraint_at(problem, row);
        if (coefficients && is_released_to(constraint, problem)) rebuild(problem, constraint, row);
    }
}

void restore_bodies_with_columns(Problem* problem, std::span<const int> columns) {
    std::vector<int> rows;
    for (const int column : columns) {
        int64_t count = 0;
        PyObject* const self = as_object(problem);
        require_library(self, QLXgetcols64(problem->prob, nullptr, nullptr, nullptr, 0, &count,
                                           column, column));
        const size_t old_size = rows.size();
        rows.resize(old_size + static_cast<size_t>(count));
        require_library(self, QLXgetcols64(problem->prob, nullptr, rows.data() + old_size, nullptr,
                                           count, &count, column, column));
    }
    restore_bodies(problem, rows, false);
}

void restore_all_held_bodies(Problem* problem) {
    const int count = problem->constraints.size();
    for (int row = 0; row < count; ++row) {
        if (problem->constraints.is_dormant(row)) continue;
        Constraint* const constraint = constraint_at(problem, row);
        if (!is_released_to(constraint, problem)) continue;
        if (Py_REFCNT(as_object(constraint)) == 1) continue;
        require_library_on();  // it may have been freed while the problem lived
        rebuild(problem, constraint, row);
    }
}

void forget_released_bodies(Problem* problem) noexcept {
    const int count = problem->constraints.size();
    for (int row = 0; row < count; ++row) {
        if (problem->constraints.is_dormant(row)) continue;
        auto* const constraint = reinterpret_cast<Constraint*>(problem->constraints[row]);
        if (is_released_to(constraint, problem)) constraint->problem_slot = 0;
    }
}

}  // namespace quilex
