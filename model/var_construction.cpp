// How variables come and go.
#include "model/var_construction.hpp"

#include "model/expression_object.hpp"
#include "module/boundary.hpp"
#include "module/environment.hpp"
#include "module/live_counts.hpp"
#include "module/slabs.hpp"

namespace quilex {

namespace {

SlabPool<Variable> variable_pool;

void start(Variable* variable, Domain* domain) noexcept {
    variable->index = qlx_py_env.var_counter++;
    variable->stamp = 0;
    variable->stamp_position = 0;
    variable->may_close_cycle = 0;
    variable->domain = domain;
}

// A variable of exactly the public type, one serial number taken.
Owned<Variable> new_variable(Domain* domain) {
    Variable* variable = nullptr;
    try {
        variable = variable_pool.take(&var_type);
    } catch (...) {
        release_domain(domain);
        throw;
    }
    count_created(Counted::kVariable);
    start(variable, domain);
    return Owned<Variable>::steal(variable);
}

void replace_domain(Variable* variable, Domain* domain) noexcept {
    release_domain(std::exchange(variable->domain, domain));
}

bool may_refer_back(PyObject* name) noexcept {
    return name != nullptr && !PyUnicode_CheckExact(name) && !PyBytes_CheckExact(name);
}

// Makes a variable whose name could refer back to it known to the collector.
void show_to_collector(Variable* variable) noexcept {
    if (variable->may_close_cycle) return;
    variable->may_close_cycle = 1;
    PyObject_GC_Track(variable);
}

// An instance of the public type or of a subclass, which the collector sees from the start: its
// attributes may refer to anything.
Ref new_instance(PyTypeObject* type) {
    Domain* const domain = find_domain({});
    if (type == &var_type) return new_variable(domain);
    PyObject* const self = type->tp_alloc(type, 0);
    if (self == nullptr) {
        PyErr_Clear();
        release_domain(domain);
        throw std::bad_alloc();
    }
    count_created(Counted::kVariable);
    start(as_variable(self), domain);
    as_variable(self)->may_close_cycle = 1;
    return Ref::steal(self);
}

// Runs a constructor; memory that is lacking is reported in the type's own words.
template <class Construct>
PyObject* constructed(const Construct& construct) noexcept {
    try {
        return construct().release();
    } catch (const std::bad_alloc&) {
        PyErr_SetString(PyExc_RuntimeError, "Could not allocate an object of type Variable");
    } catch (...) {
        set_python_error_from_current_exception();
    }
    return nullptr;
}

}  // namespace

void require_variable_name(PyObject* name) {
    if (!PyUnicode_Check(name) && !PyBytes_Check(name)) {
        raise_runtime_error("Invalid variable name (must be a string)");
    }
}

void set_variable_name(Variable* variable, PyObject* name) {
    if (name == variable->domain->name) return;
    Domain* const domain = variable->domain = own_domain(variable->domain);
    if (may_refer_back(name)) show_to_collector(variable);
    Py_XINCREF(name);
    Py_XSETREF(domain->name, name);
}

PyObject* var_new(PyTypeObject* type, PyObject*, PyObject*) noexcept {
    return constructed([type] { return new_instance(type); });
}

int var_init(PyObject* self, PyObject* arguments, PyObject* keywords) {
    static const char* names[] = {"name", "lb", "ub", "threshold", "vartype", nullptr};
    Variable* variable = as_variable(self);
    variable->index = qlx_py_env.var_counter++;
    Domain domain;
    domain.threshold = variable->domain->threshold;
    PyObject* name = nullptr;
    long vartype = kContinuous;
    if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "|Odddl:var", const_cast<char**>(names),
                                     &name, &domain.lb, &domain.ub, &domain.threshold, &vartype)) {
        if (PyErr_ExceptionMatches(PyExc_OverflowError)) {
            raise_runtime_error("An argument of var() is an int beyond the range of its type");
        }
        return -1;
    }
    if (vartype != static_cast<int32_t>(vartype)) {
        raise_runtime_error("vartype is %ld, must be 0 .. 5", vartype);
    }
    domain.vartype = static_cast<int32_t>(vartype);
    restrict_to_binary(domain);
    if (name != nullptr) require_variable_name(name);
    replace_domain(variable, find_domain(domain));
    set_variable_name(variable, name);  // null: the default name of the new serial number
    return 0;
}

namespace {

// The constructor as the interpreter calls it: values straight into the fields. What it does not
// know (unusual values, wrong arguments) goes through var_init, which takes the same arguments.
class VariableCall {
  public:
    // The domain that the arguments describe; its name is borrowed.
    Domain domain;

    // Whether the argument could be stored; sets no error.
    bool store(size_t parameter, PyObject* value) noexcept {
        switch (parameter) {
            case 0:
                if (!PyUnicode_CheckExact(value) && !PyBytes_CheckExact(value)) return false;
                if (domain.name != nullptr) return false;
                domain.name = value;
                return true;
            case 1:
                return store_number(domain.lb, value);
            case 2:
                return store_number(domain.ub, value);
            case 3:
                return store_number(domain.threshold, value);
            case 4: {
                double code = 0.0;
                if (!PyLong_CheckExact(value) || !store_number(code, value)) return false;
                domain.vartype = static_cast<int32_t>(code);
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

// Makes the variable by new and init, with the arguments of a vector call.
Ref construct_slowly(PyObject* const* arguments, Py_ssize_t positional, PyObject* keywords) {
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
    Ref variable = new_instance(&var_type);
    if (var_init(variable.get(), tuple.get(), dict.get()) < 0) throw PythonFailure();
    return variable;
}

Ref var_call(PyObject* const* arguments, size_t flagged_count, PyObject* keywords) {
    const Py_ssize_t positional = PyVectorcall_NARGS(flagged_count);
    const Py_ssize_t named = keywords == nullptr ? 0 : PyTuple_GET_SIZE(keywords);
    VariableCall call;
    bool stored = positional + named <= 5;
    for (Py_ssize_t i = 0; stored && i < positional; ++i) {
        stored = call.store(static_cast<size_t>(i), arguments[i]);
    }
    for (Py_ssize_t i = 0; stored && i < named; ++i) {
        const size_t parameter = parameter_of_keyword(PyTuple_GET_ITEM(keywords, i));
        stored = parameter >= static_cast<size_t>(positional) &&
                 call.store(parameter, arguments[positional + i]);
    }
    if (!stored) [[unlikely]]
        return construct_slowly(arguments, positional, keywords);
    ++qlx_py_env.var_counter;  // as new and init take one serial number each
    restrict_to_binary(call.domain);
    return var_base(call.domain);
}

}  // namespace

PyObject* var_vectorcall(PyObject*, PyObject* const* arguments, size_t flagged_count,
                         PyObject* keywords) noexcept {
    return constructed([&] { return var_call(arguments, flagged_count, keywords); });
}

void var_dealloc(PyObject* self) noexcept {
    Variable* variable = as_variable(self);
    if (variable->may_close_cycle) [[unlikely]]
        PyObject_GC_UnTrack(self);
    release_domain(variable->domain);
    count_destroyed(Counted::kVariable);
    if (Py_IS_TYPE(self, &var_type)) {
        variable_pool.give(variable);
    } else {
        Py_TYPE(self)->tp_free(self);
    }
}

void restrict_to_binary(Domain& domain) noexcept {
    if (domain.vartype != kBinary) return;
    if (domain.lb < 0.0) domain.lb = 0.0;
    if (domain.ub > 1.0) domain.ub = 1.0;
}

Owned<Variable> var_base(const Domain& domain) {
    Owned<Variable> variable = new_variable(find_domain(domain));
    if (may_refer_back(domain.name)) show_to_collector(variable.get());
    return variable;
}

}  // namespace quilex
