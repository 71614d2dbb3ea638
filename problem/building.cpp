// addVariable and addConstraint, and the table of the methods that build the model.
#include "problem/building.hpp"

#include "module/boundary.hpp"
#include "module/pending_exception.hpp"
#include "problem/access.hpp"
#include "problem/transfer/column_batch.hpp"
#include "problem/transfer/row_batch.hpp"
#include "problem/transfer/walker.hpp"

namespace quilex {

namespace {

// Sends the pending batch when the walk ends, whichever way: what was collected before a failing
// leaf stays in the problem.
void walk_and_flush(Problem* problem, ArgumentWalker& walker, PyObject* const* arguments,
                    Py_ssize_t count) {
    try {
        walker.walk(arguments, count);
    } catch (const PythonFailure&) {
        const PendingException first;  // the one to report
        guarded([&] { flush_pending(problem); });
        throw;
    }
    flush_pending(problem);
}

class VariableWalker final : public ArgumentWalker {
  public:
    explicit VariableWalker(Problem* problem) noexcept
        : ArgumentWalker(kDepthOfVariables), problem_(problem), batch_(*problem->columns) {}

  private:
    void leaf(PyObject* object) override {
        batch_.collect(problem_, object);
        if (batch_.full()) flush_pending(problem_);
    }
    bool is_plain_leaf(PyTypeObject* type) const noexcept override { return type == &var_type; }

    Problem* problem_;
    ColumnBatch& batch_;
};

class ConstraintWalker final : public ArgumentWalker {
  public:
    explicit ConstraintWalker(Problem* problem) noexcept
        : ArgumentWalker(kDepthOfConstraints), problem_(problem), batch_(*problem->rows) {}

  private:
    void leaf(PyObject* object) override {
        batch_.collect(problem_, object);
        if (batch_.full()) flush_pending(problem_);
    }
    bool is_plain_leaf(PyTypeObject* type) const noexcept override {
        return type == &constraint_type;
    }

    Problem* problem_;
    RowBatch& batch_;
};

Ref problem_addVariable(PyObject* self, PyObject* const* arguments, Py_ssize_t count) {
    Problem* const problem = changing(self);
    VariableWalker walker(problem);
    walk_and_flush(problem, walker, arguments, count);
    return none();
}

Ref problem_addConstraint(PyObject* self, PyObject* const* arguments, Py_ssize_t count) {
    // The rows stay in the batch until it is full or another method is called, so that a loop of
    // single constraints pays for few library calls.
    ConstraintWalker(collecting(self)).walk(arguments, count);
    return none();
}

}  // namespace

PyMethodDef building_methods[] = {
    {"addVariable", method<problem_addVariable>, METH_FASTCALL,
     "addVariable($self, *variables)\n--\n\n"
     "Add variables as columns, in the order given. Takes variables, and lists, tuples, dicts\n"
     "(their values), sequences, iterators and numpy arrays of them, nested up to 32 deep. The\n"
     "first wrong object raises RuntimeError; the variables before it have been added."},
    {"addConstraint", method<problem_addConstraint>, METH_FASTCALL,
     "addConstraint($self, *constraints)\n--\n\n"
     "Add constraints as rows, in the order given. Takes constraints, nested as in addVariable\n"
     "up to 31 deep. The first wrong object raises RuntimeError; the constraints before it have\n"
     "been added."},
    {"addSOS", method<problem_addSOS>, METH_FASTCALL,
     "addSOS($self, *sets)\n--\n\n"
     "Add special ordered sets, nested as in addVariable. Their members are variables of this\n"
     "problem, or column indices; without weights the members count 1, 2, 3, ..."},
    {"addIndicator", method<problem_addIndicator>, METH_FASTCALL,
     "addIndicator(condition, constraint) or addIndicator(*pairs)\n\n"
     "Add constraints that hold only when a binary variable has a value. A condition is\n"
     "variable == 0 or variable == 1; pairs are tuples (condition, constraint)."},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quilex
