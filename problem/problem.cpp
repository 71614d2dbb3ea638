// quilex.problem: creation, release and the type object.
#include "problem/problem.hpp"

#include "module/boundary.hpp"
#include "module/library_error.hpp"
#include "module/live_counts.hpp"
#include "module/pending_exception.hpp"
#include "module/static_type.hpp"
#include "problem/access.hpp"
#include "problem/interrupt.hpp"
#include "problem/parameters/controls.hpp"
#include "problem/results/results.hpp"
#include "problem/row_gate.hpp"
#include "problem/transfer/column_batch.hpp"
#include "problem/transfer/row_batch.hpp"
#include "problem/user_functions.hpp"

namespace quilex {

namespace {

Problem* as_problem(PyObject* self) noexcept {
    return reinterpret_cast<Problem*>(self);
}

Ref problem_new(PyTypeObject* type, PyObject*, PyObject*) {
    Ref self = require(type->tp_alloc(type, 0));
    count_created(Counted::kProblem);
    Problem* const problem = as_problem(self.get());
    for (ObjectList* list : {&problem->variables, &problem->constraints, &problem->sos}) {
        new (list) ObjectList();
    }
    new (&problem->var_index) IndexMap();
    new (&problem->con_index) IndexMap();
    new (&problem->sos_index) IndexMap();
    problem->objective_transfer_row = -1;
    problem->objective_transfer_column = -1;
    problem->formula_column = kUnreadColumn;
    problem->rows = new RowBatch();
    problem->columns = new ColumnBatch();
    problem->results = new Results();
    problem->user_functions = new UserFunctions();
    return self;
}

// Destroys what there is. A refusal of the library is reported on standard error and the handle
// given up.
void destroy_library_problems(Problem* problem) noexcept {
    int status = 0;
    qlx_py_env.deferred_exceptions.disown(problem->prob);
    if (problem->slpprob != nullptr) status = QSLPdestroyprob(problem->slpprob);
    if (status == 0 && problem->prob != nullptr) status = QLXdestroyprob(problem->prob);
    if (status != 0) {
        const PendingException kept;
        set_library_error(as_object(problem));
        PyErr_WriteUnraisable(as_object(&problem_type));
    }
    problem->slpprob = nullptr;
    problem->prob = nullptr;
}

// Loads the empty model under the problem's name, without the line that loading writes.
void load_empty_model(QLXprob prob, const char* name) {
    int load_log = 0;
    require_library(nullptr, QLXgetintcontrol(prob, QLX_CONTROL_LOADLOG, &load_log));
    require_library(nullptr, QLXsetintcontrol(prob, QLX_CONTROL_LOADLOG, 0));
    const int status = QLXloadlp(prob, name, 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, nullptr, nullptr, nullptr, nullptr);
    require_library(nullptr, QLXsetintcontrol(prob, QLX_CONTROL_LOADLOG, load_log));
    require_library(nullptr, status);
}

void create_library_problems(Problem* problem, const char* name) {
    require_library(nullptr, QLXcreateprob(&problem->prob));
    qlx_py_env.deferred_exceptions.own(problem->prob);
    if (qlx_py_env.nonlinear_state > 0) {
        require_library(nullptr, QSLPcreateprob(&problem->slpprob, problem->prob));
        require_library(nullptr, QSLPsetintcontrol(problem->slpprob, QSLP_CONTROL_AUTOSAVE, 0));
        // What callbacks find the problem by; on the problem's workers it is the same.
        require_library(nullptr,
                        QSLPsetptrattrib(problem->slpprob, QSLP_POINTER_USEROBJECT, problem));
    }
    load_empty_model(problem->prob, name);
    watch_signals_during_solves(problem);
}

int problem_init(PyObject* self, PyObject* arguments, PyObject* keywords) {
    static const char* names[] = {"name", nullptr};
    const char* name = nullptr;
    if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "|z", const_cast<char**>(names), &name)) {
        throw PythonFailure();
    }
    Problem* const problem = as_problem(self);
    if (problem->prob != nullptr) raise_runtime_error("The problem has already been created");
    require_library_on();
    try {
        create_library_problems(problem, name == nullptr ? "noname" : name);
        problem->controls = ctrl_base(self).release();
        problem->attributes = attr_base(self).release();
        const int status = apply_default_controls(problem);
        if (status > 0) raise_library_error(self);
        if (status != 0) throw PythonFailure();
    } catch (...) {
        destroy_library_problems(problem);
        throw;
    }
    return 0;
}

// Sees to it that no constraint refers to the problem any more.
void part_from_constraints(Problem* problem) noexcept {
    if (!guarded([&] { settle_rows(problem, RowChange::kEnd); })) {
        // Not the problem itself: to a report it would be alive again, and die once more after it.
        PyErr_WriteUnraisable(as_object(&problem_type));
    }
}

int problem_traverse(PyObject* self, visitproc visit, void* arg) noexcept {
    Problem* const problem = as_problem(self);
    for (const ObjectList* list : {&problem->variables, &problem->constraints, &problem->sos}) {
        const int status = list->traverse(visit, arg);
        if (status != 0) return status;
    }
    Py_VISIT(problem->controls);
    Py_VISIT(problem->attributes);
    for (PyObject* registrations : problem->callbacks) Py_VISIT(registrations);
    Py_VISIT(problem->nl_objexpr);
    return problem->user_functions->traverse(visit, arg);
}

// Lets go of everything that may lead back to the problem. A problem cleared by the collector has
// no library problem any more, so that its methods refuse to run.
int problem_clear(PyObject* self) noexcept {
    Problem* const problem = as_problem(self);
    part_from_constraints(problem);
    destroy_library_problems(problem);
    detach_from_problem(problem->controls);
    detach_from_problem(problem->attributes);
    Py_CLEAR(problem->controls);
    Py_CLEAR(problem->attributes);
    for (PyObject*& registrations : problem->callbacks) Py_CLEAR(registrations);
    Py_CLEAR(problem->nl_objexpr);
    problem->user_functions->clear();
    problem->var_index.clear();
    problem->con_index.clear();
    problem->sos_index.clear();
    problem->constraints.clear();
    problem->variables.clear();
    problem->sos.clear();
    return 0;
}

void problem_dealloc(PyObject* self) noexcept {
    Problem* const problem = as_problem(self);
    PyTypeObject* const type = Py_TYPE(self);
    PyObject_GC_UnTrack(self);
    if (problem->weak_references != nullptr) PyObject_ClearWeakRefs(self);
    {
        const PendingException kept;
        problem_clear(self);
    }
    delete problem->rows;
    delete problem->columns;
    delete problem->results;
    delete problem->user_functions;
    problem->variables.~ObjectList();
    problem->constraints.~ObjectList();
    problem->sos.~ObjectList();
    problem->var_index.~IndexMap();
    problem->con_index.~IndexMap();
    problem->sos_index.~IndexMap();
    count_destroyed(Counted::kProblem);
    type->tp_free(self);
}

Ref problem_repr(PyObject* self) {
    Problem* const problem = as_problem(self);
    if (problem->prob == nullptr) {
        return require(PyUnicode_FromFormat("<%s, not created>", Py_TYPE(self)->tp_name));
    }
    return require(PyUnicode_FromFormat("<%s with %d variables, %d constraints, %d sets>",
                                        Py_TYPE(self)->tp_name, problem->variables.size(),
                                        problem->constraints.size(), problem->sos.size()));
}

Ref problem_name(PyObject* self, PyObject*) {
    Problem* const problem = reading(self);
    int length = 0;
    require_library(self, QLXgetintattrib(problem->prob, QLX_ATTRIB_PROBNAMELENGTH, &length));
    std::string name(static_cast<size_t>(length), '\0');
    require_library(self, QLXgetprobname(problem->prob, name.data()));
    return require(PyUnicode_FromString(name.c_str()));
}

Ref problem_reduce(PyObject*, PyObject*) {
    raise(PyExc_TypeError,
          "a quilex.problem cannot be pickled; write it to a file with write() instead");
}

PyMemberDef problem_members[] = {
    {"controls", T_OBJECT_EX, offsetof(Problem, controls), READONLY, "Problem's controls"},
    {"attributes", T_OBJECT_EX, offsetof(Problem, attributes), READONLY, "Problem's attributes"},
    {nullptr, 0, 0, 0, nullptr}};

constexpr char kDoc[] =
    "quilex.problem(name=None)\n\n"
    "An optimisation problem: variables, constraints, special ordered sets and an\n"
    "objective. Problems created later start with the values given to quilex.controls.\n"
    "A problem belongs to one thread at a time; while one thread solves it, calls from\n"
    "others raise RuntimeError.";

PyTypeObject make_problem_type() noexcept {
    PyTypeObject type = static_type("quilex.problem", sizeof(Problem), kDoc);
    type.tp_flags |= Py_TPFLAGS_HAVE_GC | Py_TPFLAGS_BASETYPE;
    type.tp_new = slot<problem_new>;
    type.tp_init = slot<problem_init>;
    type.tp_dealloc = problem_dealloc;
    type.tp_traverse = problem_traverse;
    type.tp_clear = problem_clear;
    type.tp_repr = slot<problem_repr>;
    type.tp_members = problem_members;
    type.tp_weaklistoffset = offsetof(Problem, weak_references);
    return type;
}

}  // namespace

PyTypeObject problem_type = make_problem_type();

PyMethodDef identity_methods[] = {
    {"name", method<problem_name>, METH_NOARGS,
     "name($self)\n--\n\nThe problem's name; 'noname' when none was given."},
    {"__reduce__", method<problem_reduce>, METH_NOARGS, "Problems cannot be pickled."},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quilex
