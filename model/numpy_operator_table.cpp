// The comparisons under numpy 1: callables in numpy's table of numeric operators.
//
// A callable, not a ufunc with changed loops: such a copy of a ufunc breaks the comparison of
// strings and dates, and turns comparisons of plain object arrays into object arrays.
#include "model/numpy_comparison_ways.hpp"
#include "model/numpy_model_ufuncs.hpp"
#include "module/boundary.hpp"
#include "module/numpy.hpp"
#include "module/pending_exception.hpp"

namespace quilex {

namespace {

// Stands in for one of numpy's ufuncs: operands with modelling objects go to our ufunc, all else
// to numpy's own.
struct Dispatcher {
    PyObject_HEAD
    vectorcallfunc call;
    PyObject* original;  // owned
    int index;           // in model_comparisons
};

Dispatcher* as_dispatcher(PyObject* object) noexcept {
    return reinterpret_cast<Dispatcher*>(object);
}

PyObject* dispatcher_call(PyObject* self, PyObject* const* arguments, size_t flags,
                          PyObject* keywords) noexcept {
    const Dispatcher* const dispatcher = as_dispatcher(self);
    const bool is_comparison = PyVectorcall_NARGS(flags) == 2 && keywords == nullptr;
    const auto model_result = [&]() noexcept -> PyObject* {
        PyObject* result = nullptr;
        guarded([&] {
            result = call_model_ufunc(dispatcher->index, arguments[0], arguments[1]).release();
        });
        return result;
    };
    if (is_comparison && has_model_ufuncs() &&
        (carries_model_object(arguments[0]) || carries_model_object(arguments[1])))
        return model_result();
    const uint64_t requests = constraint_truth_requests;
    PyObject* const result = PyObject_Vectorcall(dispatcher->original, arguments, flags, keywords);
    if (result != nullptr || requests == constraint_truth_requests || !is_comparison ||
        !has_model_ufuncs())
        return result;
    PyErr_Clear();
    return model_result();
}

void dispatcher_dealloc(PyObject* self) {
    Py_CLEAR(as_dispatcher(self)->original);
    PyObject_Free(self);
}

// numpy may ask the table's entries for a ufunc's methods.
PyObject* dispatcher_attribute(PyObject* self, PyObject* name) {
    return PyObject_GetAttr(as_dispatcher(self)->original, name);
}

PyTypeObject dispatcher_type = [] {
    PyTypeObject type =
        static_type("quilex._comparison", sizeof(Dispatcher), "A comparison of arrays.");
    type.tp_flags |= Py_TPFLAGS_HAVE_VECTORCALL;
    type.tp_vectorcall_offset = offsetof(Dispatcher, call);
    type.tp_call = PyVectorcall_Call;
    type.tp_dealloc = dispatcher_dealloc;
    type.tp_getattro = dispatcher_attribute;
    return type;
}();

// numpy 2's headers do not declare these two any more; their places in the interface are empty
// under numpy 2.
PyObject* get_numeric_operators() {
    return reinterpret_cast<PyObject* (*)()>(PyArray_API[41])();
}
int set_numeric_operators(PyObject* table) {
    return reinterpret_cast<int (*)(PyObject*)>(PyArray_API[40])(table);
}

// Both functions are deprecated and say so; the program that imports this module cannot help it.
class WarningsIgnored {
  public:
    WarningsIgnored() {
        const Ref warnings = require(PyImport_ImportModule("warnings"));
        context_ = require(PyObject_CallMethod(warnings.get(), "catch_warnings", nullptr));
        require(PyObject_CallMethod(context_.get(), "__enter__", nullptr));
        require(PyObject_CallMethod(warnings.get(), "simplefilter", "s", "ignore"));
    }
    ~WarningsIgnored() {
        const PendingException kept;
        const Ref result = Ref::steal(
            PyObject_CallMethod(context_.get(), "__exit__", "OOO", Py_None, Py_None, Py_None));
        if (!result) PyErr_WriteUnraisable(nullptr);
    }
    WarningsIgnored(const WarningsIgnored&) = delete;
    WarningsIgnored& operator=(const WarningsIgnored&) = delete;

  private:
    Ref context_;
};

Ref new_dispatcher(int index, PyObject* original) {
    Ref object = require(dispatcher_type.tp_alloc(&dispatcher_type, 0));
    Dispatcher* const dispatcher = as_dispatcher(object.get());
    dispatcher->call = dispatcher_call;
    dispatcher->original = Ref::share(original).release();
    dispatcher->index = index;
    return object;
}

[[noreturn]] void raise_instead(const char* message) {
    PyErr_Clear();
    raise_runtime_error("%s", message);
}

}  // namespace

bool has_operator_table() noexcept {
    return PyArray_RUNTIME_VERSION < 0x12 && PyArray_API[40] != nullptr &&
           PyArray_API[41] != nullptr;
}

void install_in_operator_table() {
    require_status(PyType_Ready(&dispatcher_type));
    const WarningsIgnored ignored;
    const Ref current = Ref::steal(get_numeric_operators());
    if (!current) raise_instead("Numeric operators unavailable, can't set up NumPy operations");
    Ref table = Ref::steal(PyDict_New());
    if (!table) raise_instead("Could not set up NumPy usage");
    for (int i = 0; i < kModelComparisonCount; ++i) {
        PyObject* const original = PyDict_GetItemString(current.get(), model_comparisons[i].name);
        if (original == nullptr)
            raise_instead("Numeric operators unavailable, can't set up NumPy operations");
        if (PyDict_SetItemString(table.get(), model_comparisons[i].name,
                                 new_dispatcher(i, original).get()) < 0)
            raise_instead("Could not set up NumPy usage");
    }
    if (set_numeric_operators(table.get()) < 0) raise_instead("Can't set up NumPy operations");
}

void restore_operator_table() {
    const WarningsIgnored ignored;
    const Ref table = Ref::steal(PyDict_New());
    if (!table) raise_instead("Could not restore NumPy usage");
    const Ref current = Ref::steal(get_numeric_operators());
    for (const ModelComparison& comparison : model_comparisons) {
        PyObject* const entry =
            current ? PyDict_GetItemString(current.get(), comparison.name) : nullptr;
        if (entry == nullptr)
            raise_instead(
                "Could not retrieve modified numerical operators, can't revert to old NumPy "
                "operations");
        // Another package's replacement of ours is left where it is.
        if (Py_TYPE(entry) != &dispatcher_type) continue;
        if (PyDict_SetItemString(table.get(), comparison.name, as_dispatcher(entry)->original) < 0)
            raise_instead("Could not restore NumPy usage");
    }
    if (set_numeric_operators(table.get()) < 0) raise_instead("Could not restore NumPy operations");
}

}  // namespace quilex
