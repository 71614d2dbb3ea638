// quilex.constraint: a body between a lower and an upper bound.
#include "model/constraint.hpp"

#include <cmath>

#include "model/constraint_arguments.hpp"
#include "model/general_operations.hpp"
#include "model/lazy_tracking.hpp"
#include "model/numpy_model_ufuncs.hpp"
#include "model/operators.hpp"
#include "model/var.hpp"
#include "module/boundary.hpp"
#include "module/environment.hpp"
#include "module/free_list.hpp"
#include "module/live_counts.hpp"
#include "module/numbers.hpp"
#include "module/static_type.hpp"

namespace quilex {

namespace {

InstancePool<Constraint, 1024> pool;

Constraint* as_constraint(PyObject* object) noexcept {
    return reinterpret_cast<Constraint*>(object);
}

void set_new_fields(Constraint* constraint, uint64_t index) noexcept {
    constraint->index = index;
    constraint->name = nullptr;
    constraint->body = nullptr;
    constraint->lb = -kInfinity;
    constraint->ub = kInfinity;
    constraint->problem_slot = 0;
    count_created(Counted::kConstraint);
}

void release_fields(Constraint* constraint) noexcept {
    Py_CLEAR(constraint->name);
    Py_CLEAR(constraint->body);
    count_destroyed(Counted::kConstraint);
}

void constraint_dealloc(PyObject* self) {
    PyTypeObject* const type = Py_TYPE(self);
    // An untracked constraint holds nothing that could be a long chain of constraints.
    if (type == &constraint_type && !PyObject_GC_IsTracked(self)) {
        release_fields(as_constraint(self));
        pool.give(as_constraint(self));
        return;
    }
    PyObject_GC_UnTrack(self);
    Py_TRASHCAN_BEGIN(self, constraint_dealloc);
    release_fields(as_constraint(self));
    if (type == &constraint_type) {
        pool.give(as_constraint(self));
    } else {
        type->tp_free(self);
    }
    Py_TRASHCAN_END;
}

int constraint_traverse(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(as_constraint(self)->name);
    Py_VISIT(as_constraint(self)->body);
    return 0;
}

int constraint_clear(PyObject* self) {
    Py_CLEAR(as_constraint(self)->name);
    Py_CLEAR(as_constraint(self)->body);
    return 0;
}

// Replaces the name or the body; the constraint is tracked from the first object on that may lead
// back to it.
void set_field(Constraint* constraint, PyObject*& field, PyObject* value) {
    if (value != nullptr && may_close_cycle(value)) track(as_object(constraint));
    const Ref old = Ref::steal(std::exchange(field, Ref::share(value).release()));
}

Ref constraint_new(PyTypeObject* type, PyObject*, PyObject*) {
    if (type == &constraint_type) return constraint_base();
    Ref object = require(type->tp_alloc(type, 0));
    set_new_fields(as_constraint(object.get()), qlx_py_env.con_counter++);
    return object;
}

int constraint_init(PyObject* self, PyObject* args, PyObject* keywords) {
    Constraint* const constraint = as_constraint(self);
    constraint->index = qlx_py_env.con_counter++;
    const ConstraintArguments arguments = parse_constraint_arguments(args, keywords);
    set_field(constraint, constraint->name, arguments.name);
    constraint->problem_slot = 0;
    set_field(constraint, constraint->body, arguments.body.get());
    constraint->lb = arguments.lb;
    constraint->ub = arguments.ub;
    return 0;
}

// The name itself; one that is no str prints as its own text.
Ref constraint_str(PyObject* self) {
    Ref name = constraint_name(as_constraint(self));
    return PyUnicode_Check(name.get()) ? std::move(name) : require(PyObject_Str(name.get()));
}

Ref copy_method(PyObject* self, PyObject*) {
    return constraint_copy(self);
}

// A constraint is a statement, not a truth. Were it true like other objects, `1 <= x <= 3` would
// silently keep only `x <= 3`, `x in [y]` would hold for any two variables, and numpy would turn
// arrays of constraints into arrays of True.
int constraint_bool(PyObject*) {
    ++constraint_truth_requests;
    raise_runtime_error(
        "A constraint has no truth value: it cannot be used in a chained comparison "
        "(1 <= x <= 3), nor with if, and, or, not, in. For a range use "
        "quilex.constraint(body=..., lb=..., ub=...).");
}

struct Bound {
    const char* name;
    double Constraint::*field;
};
Bound bounds[] = {{"lb", &Constraint::lb}, {"ub", &Constraint::ub}};

Ref get_name(PyObject* self, void*) {
    return constraint_name(as_constraint(self));
}

Ref get_body(PyObject* self, void*) {
    Ref body = constraint_body(as_constraint(self));
    return body ? std::move(body) : none();
}

int set_name(PyObject* self, PyObject* value, void*) {
    if (value == nullptr) raise(PyExc_TypeError, "the name of a constraint cannot be deleted");
    set_field(as_constraint(self), as_constraint(self)->name, value);
    return 0;
}

int set_body(PyObject* self, PyObject* value, void*) {
    if (value == nullptr) raise(PyExc_TypeError, "the body of a constraint cannot be deleted");
    as_constraint(self)->problem_slot = 0;
    set_field(as_constraint(self), as_constraint(self)->body, value);
    return 0;
}

Ref get_bound(PyObject* self, void* bound) {
    return require(
        PyFloat_FromDouble(as_constraint(self)->*static_cast<const Bound*>(bound)->field));
}

int set_bound(PyObject* self, PyObject* value, void* closure) {
    const Bound& bound = *static_cast<const Bound*>(closure);
    if (value == nullptr) raise(PyExc_TypeError, "%s cannot be deleted", bound.name);
    const double number = double_value(value, bound.name);
    if (std::isnan(number)) {
        const Ref name = constraint_name(as_constraint(self));
        raise_runtime_error("%s of constraint %S cannot be nan", bound.name, name.get());
    }
    as_constraint(self)->*bound.field = number;
    return 0;
}

PyNumberMethods constraint_number = [] {
    PyNumberMethods number{};
    number.nb_bool = slot<constraint_bool>;
    return number;
}();

PyMethodDef constraint_methods[] = {
    {"copy", method<copy_method>, METH_NOARGS,
     "copy($self)\n--\n\nReturn a copy of the constraint as a new object"},
    QUILEX_REFUSED_PICKLING,
    {nullptr, nullptr, 0, nullptr},
};

PyGetSetDef constraint_attributes[] = {
    {"name", slot<get_name>, slot<set_name>, "Constraint name", nullptr},
    {"body", slot<get_body>, slot<set_body>, "Constraint body", nullptr},
    {"lb", slot<get_bound>, slot<set_bound>, "Lower bound", &bounds[0]},
    {"ub", slot<get_bound>, slot<set_bound>, "Upper bound", &bounds[1]},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

constexpr const char* kDoc =
    "quilex.constraint(constraint, body, lb, ub, sense, rhs, name)\n\n"
    "The constraint lb <= body <= ub. All arguments are optional, but either\n"
    "`constraint`, or `body` with `lb` and/or `ub`, or `body` with `sense` and\n"
    "`rhs` must be given.\n\n"
    "constraint: a constraint whose body and bounds are taken\n"
    "body: a number, variable, term, expression or nonlinear expression\n"
    "lb, ub: the bounds; a missing one is infinite\n"
    "sense, rhs: quilex.leq, quilex.geq or quilex.eq and the right-hand side\n"
    "name: the name; \"R\" and the constraint's number by default\n\n"
    "A problem has what it read when the constraint was added: attributes that are changed later\n"
    "are for problems to come. Rows that are there are changed by chgrhs, chgrhsrange, chgrowtype\n"
    "and chgcoef.";

}  // namespace

PyTypeObject constraint_type = [] {
    PyTypeObject type = static_type("quilex.constraint", sizeof(Constraint), kDoc);
    type.tp_flags |= Py_TPFLAGS_HAVE_GC | Py_TPFLAGS_BASETYPE;
    type.tp_new = slot<constraint_new>;
    type.tp_init = slot<constraint_init>;
    type.tp_dealloc = constraint_dealloc;
    type.tp_traverse = constraint_traverse;
    type.tp_clear = constraint_clear;
    type.tp_as_number = &constraint_number;
    type.tp_methods = constraint_methods;
    type.tp_getset = constraint_attributes;
    type.tp_str = slot<constraint_str>;
    type.tp_repr = slot<constraint_str>;
    return type;
}();

void clear_constraint_pool() noexcept {
    pool.clear();
}

Owned<Constraint> constraint_with_index(uint64_t index) {
    Constraint* const constraint = pool.take(&constraint_type);
    set_new_fields(constraint, index);
    return Owned<Constraint>::steal(constraint);
}

Owned<Constraint> constraint_base() {
    Owned<Constraint> constraint = constraint_with_index(qlx_py_env.con_counter);
    ++qlx_py_env.con_counter;
    return constraint;
}

Ref constraint_name(Constraint* constraint) {
    if (constraint->name == nullptr)
        constraint->name = require(PyUnicode_FromFormat(
                                       "R%llu", static_cast<unsigned long long>(constraint->index)))
                               .release();
    return share(constraint->name);
}

void constraint_set_body(Constraint* constraint, Ref body) noexcept {
    assert(constraint->body == nullptr);
    if (may_close_cycle(body.get())) track(as_object(constraint));
    constraint->body = body.release();
}

Ref constraint_copy(PyObject* object) {
    Constraint* const source = as_constraint(object);
    Owned<Constraint> copy = constraint_base();
    copy->lb = source->lb;
    copy->ub = source->ub;
    const Ref body = constraint_body(source);
    if (body) constraint_set_body(copy.get(), general_copy(body.get(), 1.0));
    const Ref source_name = constraint_name(source);
    copy->name =
        require(PyUnicode_FromFormat("R%llu_copy_%S", static_cast<unsigned long long>(copy->index),
                                     source_name.get()))
            .release();
    return copy;
}

}  // namespace quilex
