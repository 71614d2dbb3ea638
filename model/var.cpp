// quilex.var: the decision variable.
#include "model/var.hpp"

#include <cmath>
#include <cstring>

#include "model/constraint.hpp"
#include "model/expression_object.hpp"
#include "model/operators.hpp"
#include "model/var_construction.hpp"
#include "module/numbers.hpp"

namespace quilex {

namespace {

// The variable's domain, to be changed.
Domain* own_domain(Variable* variable) {
    return variable->domain = own_domain(variable->domain);
}

int var_traverse(PyObject* self, visitproc visit, void* arg) noexcept {
    Py_VISIT(as_variable(self)->domain->name);
    return 0;
}

int var_clear(PyObject* self) noexcept {
    // A shared domain has no name.
    Domain* const domain = as_variable(self)->domain;
    if (domain->name != nullptr) Py_CLEAR(domain->name);
    return 0;
}

Py_hash_t var_hash(PyObject* self) {
    return static_cast<Py_hash_t>(as_variable(self)->index);
}

Ref get_name(PyObject* self, void*) {
    return variable_name(as_variable(self));
}

// Deleting the name brings the default name back.
int assign_name(PyObject* self, PyObject* value, void*) {
    set_variable_name(as_variable(self), value);
    return 0;
}

// The domain's plain fields, read and written by the rules of Python's own members.
PyMemberDef domain_members[] = {
    {"lb", T_DOUBLE, offsetof(Domain, lb), 0, nullptr},
    {"ub", T_DOUBLE, offsetof(Domain, ub), 0, nullptr},
    {"threshold", T_DOUBLE, offsetof(Domain, threshold), 0, nullptr},
    {"vartype", T_INT, offsetof(Domain, vartype), 0, nullptr},
};

Ref get_member(PyObject* self, void* member) {
    return require(PyMember_GetOne(reinterpret_cast<const char*>(as_variable(self)->domain),
                                   static_cast<PyMemberDef*>(member)));
}

// What is wanted of a field by Python's own members, but for what no bound can be.
int set_member(PyObject* self, PyObject* value, void* closure) {
    const auto* const member = static_cast<const PyMemberDef*>(closure);
    if (value == nullptr) raise(PyExc_TypeError, "%s cannot be deleted", member->name);
    // The conversion may run any code, which may share the domain: it comes first.
    const bool is_type = member->type == T_INT;
    const int type = is_type ? int_value(value, member->name) : 0;
    const double number = is_type ? 0.0 : double_value(value, member->name);
    if (std::isnan(number)) {
        const Ref name = variable_name(as_variable(self));
        raise_runtime_error("%s of variable %S cannot be nan", member->name, name.get());
    }
    char* const field = reinterpret_cast<char*>(own_domain(as_variable(self))) + member->offset;
    if (is_type) {
        std::memcpy(field, &type, sizeof type);
    } else {
        std::memcpy(field, &number, sizeof number);
    }
    return 0;
}

PyGetSetDef var_attributes[] = {
    {"name", slot<get_name>, slot<assign_name>, "Variable name", nullptr},
    {"lb", slot<get_member>, slot<set_member>, "Lower bound", &domain_members[0]},
    {"ub", slot<get_member>, slot<set_member>, "Upper bound", &domain_members[1]},
    {"threshold", slot<get_member>, slot<set_member>, "Threshold (for partially integers)",
     &domain_members[2]},
    {"vartype", slot<get_member>, slot<set_member>,
     "Type of the variable: continuous (0), integer (1), semi-continuous (2), partially integer "
     "(3)",
     &domain_members[3]},
    QUILEX_ARRAY_PRIORITY,
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

}  // namespace

PyTypeObject var_type = {
    .ob_base = {PyObject_HEAD_INIT(nullptr) 0},
    .tp_name = "quilex.var",
    .tp_basicsize = sizeof(Variable),
    .tp_dealloc = var_dealloc,
    .tp_repr = slot<var_str>,
    .tp_as_number = &modelling_number_methods,
    .tp_hash = slot<var_hash>,
    .tp_str = slot<var_str>,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE | Py_TPFLAGS_HAVE_GC,
    .tp_doc =
        "The class quilex.var allows for creating optimization variables. Its constructor is\n"
        "\n"
        "quilex.var (name, lb, ub, threshold, vartype)\n"
        "\n"
        "All parameters are optional:\n"
        "name: a str or bytes object; the default is C followed by a serial number;\n"
        "lb: lower bound, 0 by default; -quilex.infinity for none;\n"
        "ub: upper bound, quilex.infinity (none) by default;\n"
        "threshold: for semi-continuous, semi-integer and partially integer variables: the\n"
        "smallest nonzero value, or the limit up to which a partially integer variable is\n"
        "integer;\n"
        "vartype: quilex.continuous (default), quilex.binary, quilex.integer,\n"
        "quilex.semicontinuous, quilex.semiinteger or quilex.partiallyinteger. The bounds of a\n"
        "binary variable are cut to [0, 1].\n"
        "\n"
        "Bounds are checked when the variable is added to a problem, which then has what it read:\n"
        "attributes that are changed later are for problems to come. Columns that are there are\n"
        "changed by chgbounds, chgcoltype and chgglblimit.",
    .tp_traverse = var_traverse,
    .tp_clear = var_clear,
    .tp_richcompare = slot<make_constraint>,
    .tp_methods = modelling_methods,
    .tp_getset = var_attributes,
    .tp_init = slot<var_init>,
    .tp_new = var_new,
    .tp_free = PyObject_GC_Del,
    .tp_vectorcall = var_vectorcall,
};

Ref variable_name(const Variable* variable) {
    PyObject* const name = variable->domain->name;
    if (name != nullptr) return Ref::share(name);
    return require(PyUnicode_FromFormat("C%llu", static_cast<unsigned long long>(variable->index)));
}

Ref var_copy(Variable* variable, double scale) {
    if (scale == 1.0) return share(variable);
    return linterm_fill(variable, scale);
}

}  // namespace quilex
