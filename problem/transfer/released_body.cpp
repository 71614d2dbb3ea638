// Bodies of constraints whose rows the library holds.
#include "problem/transfer/released_body.hpp"

#include "module/library_error.hpp"
#include "problem/access.hpp"
#include "problem/transfer/row_batch.hpp"

namespace quilex {

namespace {

bool is_released_to(const Constraint* constraint, const Problem* problem) noexcept {
    return constraint->problem_slot == reinterpret_cast<uintptr_t>(problem);
}

void fill_from_library(Expression* body, Problem* problem, int row) {
    require_usable(problem);
    PyObject* const self = as_object(problem);
    int64_t count = 0;
    require_library(self,
                    QLXgetrows64(problem->prob, nullptr, nullptr, nullptr, 0, &count, row, row));
    const auto size = static_cast<size_t>(count);
    std::vector<int> columns(size);
    std::vector<double> coefficients(size);
    require_library(self, QLXgetrows64(problem->prob, nullptr, columns.data(), coefficients.data(),
                                       count, &count, row, row));
    fill_body(body, problem, columns, coefficients);
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

void fill_body(Expression* body, const Problem* problem, std::span<const int> columns,
               std::span<const double> coefficients) {
    for (size_t i = 0; i < columns.size(); ++i) {
        auto* variable = reinterpret_cast<Variable*>(problem->variables[columns[i]]);
        require_status(expression_addToLinTerm(body, variable, coefficients[i]));
    }
}

Ref constraint_body(Constraint* constraint) {
    if (has_released_body(constraint)) {
        auto* const problem = reinterpret_cast<Problem*>(constraint->problem_slot);
        // The constraint does not own the problem, which may be about to end.
        const Ref held = Py_REFCNT(as_object(problem)) > 0 ? share(problem) : Ref();
        restore_body(problem, constraint);
    }
    return Ref::share(constraint->body);
}

void restore_body(Problem* problem, Constraint* constraint) {
    // A new object may run the collector, and that Python code: it is made before anything is read.
    Owned<Expression> body = expression_base();
    if (!is_released_to(constraint, problem)) return;
    const int row = problem->con_index.find(constraint->index);
    if (row == IndexMap::kMissing) {
        raise_runtime_error("The body of constraint %R was lost with its row",
                            as_object(constraint));
    }
    if (problem->rows->holds(row)) {
        problem->rows->fill_body_of(body.get(), problem, row);
    } else {
        fill_from_library(body.get(), problem, row);
    }
    constraint->body = body.release();
    constraint->problem_slot = 0;
}

}  // namespace quilex
