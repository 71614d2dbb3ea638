// quilex.var: the decision variable.
#include "model/var.hpp"

#include "model/constraint.hpp"
#include "model/expression_object.hpp"
#include "model/operators.hpp"
#include "module/environment.hpp"

namespace quilex {

namespace {

constexpr double kDefaultLowerBound = 0.0;
constexpr double kNoThreshold = -kInfinity;

InstancePool<Variable> variable_pool;

void set_defaults(Variable* variable) noexcept {
    variable->index = qlx_py_env.var_counter++;
    variable->name = nullptr;
    variable->lb = kDefaultLowerBound;
    variable->ub = kInfinity;
    variable->threshold = kNoThreshold;
    variable->vartype = kContinuous;
    variable->stamp_position = 0;
    variable->stamp = 0;
    variable->may_close_cycle = 0;
}

// A variable of exactly the public type, one serial number taken.
Owned<Variable> new_variable() {
    Variable* variable = variable_pool.take(&var_type);
    count_created(Counted::kVariable);
    set_defaults(variable);
    return Owned<Variable>::steal(variable);
}

void restrict_to_binary(Variable* variable) noexcept {
    if (variable->vartype != kBinary) return;
    if (variable->lb < 0.0) variable->lb = 0.0;
    if (variable->ub > 1.0) variable->ub = 1.0;
}

// Keeps any object; one that could refer back to the variable makes it known to the collector.
void set_name(Variable* variable, PyObject* name) noexcept {
    if (name != nullptr && !PyUnicode_CheckExact(name) && !PyBytes_CheckExact(name) &&
        !variable->may_close_cycle) {
        variable->may_close_cycle = 1;
        PyObject_GC_Track(variable);
    }
    Py_XINCREF(name);
    Py_XSETREF(variable->name, name);
}

void set_checked_name(Variable* variable, PyObject* name) {
    if (!PyUnicode_Check(name) && !PyBytes_Check(name)) {
        raise_runtime_error("Invalid variable name (must be a string)");
    }
    set_name(variable, name);
}

PyObject* var_new(PyTypeObject* type, PyObject*, PyObject*) noexcept {
    PyObject* self = type->tp_alloc(type, 0);
    if (self == nullptr) {
        PyErr_SetString(PyExc_RuntimeError, "Could not allocate an object of type Variable");
        return nullptr;
    }
    count_created(Counted::kVariable);
    set_defaults(as_variable(self));
    // tp_alloc has tracked it, and its attributes may refer to anything.
    as_variable(self)->may_close_cycle = 1;
    return self;
}

int var_init(PyObject* self, PyObject* arguments, PyObject* keywords) {
    static const char* names[] = {"name", "lb", "ub", "threshold", "vartype", nullptr};
    Variable* variable = as_variable(self);
    variable->lb = kDefaultLowerBound;
    variable->ub = kInfinity;
    variable->index = qlx_py_env.var_counter++;
    PyObject* name = nullptr;
    long vartype = kContinuous;
    if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "|Odddl:var", const_cast<char**>(names),
                                     &name, &variable->lb, &variable->ub, &variable->threshold,
                                     &vartype)) {
        return -1;
    }
    variable->vartype = static_cast<int32_t>(vartype);
    restrict_to_binary(variable);
    if (name == nullptr) {
        set_name(variable, nullptr);  // the default name of the new serial number
    } else {
        set_checked_name(variable, name);
    }
    return 0;
}

// The constructor as the interpreter calls it: values straight into the fields. What it does not
// know (unusual values, wrong arguments) goes through var_init, which takes the same arguments.
class VariableCall {
  public:
    explicit VariableCall(Variable* variable) : variable_(variable) {}

    // Whether the argument could be stored; sets no error.
    bool store(size_t parameter, PyObject* value) noexcept {
        switch (parameter) {
            case 0:
                if (!PyUnicode_CheckExact(value) && !PyBytes_CheckExact(value)) return false;
                if (variable_->name != nullptr) return false;
                Py_INCREF(value);
                variable_->name = value;
                return true;
            case 1:
                return store_number(variable_->lb, value);
            case 2:
                return store_number(variable_->ub, value);
            case 3:
                return store_number(variable_->threshold, value);
            case 4: {
                double code = 0.0;
                if (!PyLong_CheckExact(value) || !store_number(code, value)) return false;
                variable_->vartype = static_cast<int32_t>(code);
                return true;
            }
            default:
                return false;
        }
    }

  private:
    static bool store_number(double& field, PyObject* value) noexcept {
        if (PyFloat_CheckExact(value)) {
            field = PyFloat_AS_DOUBLE(value);
            return true;
        }
        return PyLong_CheckExact(value) && small_int_value(value, field);
    }

    Variable* variable_;
};

size_t parameter_of_keyword(PyObject* keyword) noexcept {
    static PyObject* const names[] = {
        PyUnicode_InternFromString("name"), PyUnicode_InternFromString("lb"),
        PyUnicode_InternFromString("ub"), PyUnicode_InternFromString("threshold"),
        PyUnicode_InternFromString("vartype")};
    size_t parameter = 0;
    while (parameter < std::size(names) && names[parameter] != keyword) ++parameter;
    return parameter;
}

// Calls var_init with the arguments of a vector call.
Ref initialise_slowly(Variable* variable, PyObject* const* arguments, Py_ssize_t positional,
                      PyObject* keywords) {
    const Ref tuple = require(PyTuple_New(positional));
    for (Py_ssize_t i = 0; i < positional; ++i) {
        PyTuple_SET_ITEM(tuple.get(), i, Ref::share(arguments[i]).release());
    }
    Ref dict;
    if (keywords != nullptr) {
        dict = require(PyDict_New());
        for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(keywords); ++i) {
            require_status(PyDict_SetItem(dict.get(), PyTuple_GET_ITEM(keywords, i),
                                          arguments[positional + i]));
        }
    }
    if (var_init(as_object(variable), tuple.get(), dict.get()) < 0) throw PythonFailure();
    return share(variable);
}

Ref var_call(PyObject*, PyObject* const* arguments, size_t flagged_count, PyObject* keywords) {
    const Py_ssize_t positional = PyVectorcall_NARGS(flagged_count);
    const Py_ssize_t named = keywords == nullptr ? 0 : PyTuple_GET_SIZE(keywords);
    Owned<Variable> variable = new_variable();
    VariableCall call(variable.get());
    bool stored = positional + named <= 5;
    for (Py_ssize_t i = 0; stored && i < positional; ++i) {
        stored = call.store(static_cast<size_t>(i), arguments[i]);
    }
    for (Py_ssize_t i = 0; stored && i < named; ++i) {
        const size_t parameter = parameter_of_keyword(PyTuple_GET_ITEM(keywords, i));
        stored = parameter >= static_cast<size_t>(positional) &&
                 call.store(parameter, arguments[positional + i]);
    }
    if (!stored) [[unlikely]] {
        variable->threshold = kNoThreshold;
        return initialise_slowly(variable.get(), arguments, positional, keywords);
    }
    variable->index = qlx_py_env.var_counter++;
    restrict_to_binary(variable.get());
    return variable;
}

PyObject* var_vectorcall(PyObject* type, PyObject* const* arguments, size_t flagged_count,
                         PyObject* keywords) noexcept {
    try {
        return var_call(type, arguments, flagged_count, keywords).release();
    } catch (const std::bad_alloc&) {
        PyErr_SetString(PyExc_RuntimeError, "Could not allocate an object of type Variable");
    } catch (...) {
        set_python_error_from_current_exception();
    }
    return nullptr;
}

void var_dealloc(PyObject* self) noexcept {
    Variable* variable = as_variable(self);
    if (variable->may_close_cycle) [[unlikely]]
        PyObject_GC_UnTrack(self);
    Py_CLEAR(variable->name);
    count_destroyed(Counted::kVariable);
    if (Py_IS_TYPE(self, &var_type)) {
        variable_pool.give(variable);
    } else {
        Py_TYPE(self)->tp_free(self);
    }
}

int var_traverse(PyObject* self, visitproc visit, void* arg) noexcept {
    Py_VISIT(as_variable(self)->name);
    return 0;
}

int var_clear(PyObject* self) noexcept {
    Py_CLEAR(as_variable(self)->name);
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
    set_name(as_variable(self), value);
    return 0;
}

PyMemberDef var_members[] = {
    {"lb", T_DOUBLE, offsetof(Variable, lb), 0, "Lower bound"},
    {"ub", T_DOUBLE, offsetof(Variable, ub), 0, "Upper bound"},
    {"threshold", T_DOUBLE, offsetof(Variable, threshold), 0, "Threshold (for partially integers)"},
    {"vartype", T_INT, offsetof(Variable, vartype), 0,
     "Type of the variable: continuous (0), integer (1), semi-continuous (2), partially integer "
     "(3)"},
    {nullptr, 0, 0, 0, nullptr},
};

PyGetSetDef var_attributes[] = {
    {"name", slot<get_name>, slot<assign_name>, "Variable name", nullptr},
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
        "Bounds are checked when the variable is added to a problem.",
    .tp_traverse = var_traverse,
    .tp_clear = var_clear,
    .tp_richcompare = slot<make_constraint>,
    .tp_methods = modelling_methods,
    .tp_members = var_members,
    .tp_getset = var_attributes,
    .tp_init = slot<var_init>,
    .tp_new = var_new,
    .tp_free = PyObject_GC_Del,
    .tp_vectorcall = var_vectorcall,
};

Owned<Variable> var_base() {
    return new_variable();
}

Ref variable_name(Variable* variable) {
    if (variable->name == nullptr) {
        variable->name =
            require(PyUnicode_FromFormat("C%llu", static_cast<unsigned long long>(variable->index)))
                .release();
    }
    return Ref::share(variable->name);
}

Ref var_copy(Variable* variable, double scale) {
    if (scale == 1.0) return share(variable);
    return linterm_fill(variable, scale);
}

}  // namespace quilex
