// Constraints that nobody but their problem holds.
#include "problem/transfer/dormant_constraints.hpp"

#include "module/library_error.hpp"

namespace quilex {

namespace {

RowSide side_of(Problem* problem, int row) {
    PyObject* const self = as_object(problem);
    RowSide side{};
    require_library(self, QLXgetrowtype(problem->prob, &side.type, row, row));
    require_library(self, QLXgetrhs(problem->prob, &side.rhs, row, row));
    if (side.type == 'R')
        require_library(self, QLXgetrhsrange(problem->prob, &side.range, row, row));
    return side;
}

}  // namespace

void put_to_sleep_if_alone(Problem* problem, int row, const RowSide& side) noexcept {
    PyObject* const object = problem->constraints[row];
    // A subclass may have more to it; a tracked constraint has an odd name.
    if (Py_REFCNT(object) != 1 || Py_TYPE(object) != &constraint_type ||
        PyObject_GC_IsTracked(object)) {
        return;
    }
    const auto* constraint = reinterpret_cast<const Constraint*>(object);
    if (constraint->name != nullptr ||
        constraint->problem_slot != reinterpret_cast<uintptr_t>(problem)) {
        return;
    }
    if (bounds_of(side) != RowBounds{constraint->lb, constraint->ub}) return;
    problem->constraints.put_to_sleep(row, constraint->index);
}

Constraint* constraint_at(Problem* problem, int row) {
    ObjectList& constraints = problem->constraints;
    while (constraints.is_dormant(row)) {
        const uint64_t serial = constraints.dormant_serial(row);
        const RowBounds bounds = bounds_of(side_of(problem, row));
        Owned<Constraint> constraint = constraint_with_index(serial);
        // A new object may run the collector, and that Python code.
        if (row >= constraints.size()) {
            raise_runtime_error("The problem changed while its constraints were read");
        }
        if (!constraints.is_dormant(row) || constraints.dormant_serial(row) != serial) continue;
        constraint->lb = bounds.lower;
        constraint->ub = bounds.upper;
        constraint->problem_slot = reinterpret_cast<uintptr_t>(problem);
        constraints.wake(row, std::move(constraint));
    }
    return reinterpret_cast<Constraint*>(constraints[row]);
}

}  // namespace quilex
