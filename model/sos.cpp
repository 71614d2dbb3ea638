// quilex.SOS: a special ordered set of variables.
#include "model/sos.hpp"
#include "model/operators.hpp"

#include "module/boundary.hpp"
#include "module/environment.hpp"
#include "module/live_counts.hpp"
#include "module/static_type.hpp"

namespace quilex {

namespace {

SpecialOrderedSet* as_sos(PyObject* object) noexcept {
    return reinterpret_cast<SpecialOrderedSet*>(object);
}

void sos_dealloc(PyObject* self) {
    PyObject_GC_UnTrack(self);
    Py_CLEAR(as_sos(self)->name);
    Py_CLEAR(as_sos(self)->indices);
    Py_CLEAR(as_sos(self)->weights);
    count_destroyed(Counted::kSos);
    Py_TYPE(self)->tp_free(self);
}

int sos_traverse(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(as_sos(self)->name);
    Py_VISIT(as_sos(self)->indices);
    Py_VISIT(as_sos(self)->weights);
    return 0;
}

int sos_clear(PyObject* self) {
    Py_CLEAR(as_sos(self)->name);
    Py_CLEAR(as_sos(self)->indices);
    Py_CLEAR(as_sos(self)->weights);
    return 0;
}

void replace(PyObject*& field, Ref value) noexcept {
    const Ref old = Ref::steal(std::exchange(field, value.release()));
}

unsigned long long number_of(const SpecialOrderedSet* set) noexcept {
    return set->index;
}

Ref sos_new(PyTypeObject* type, PyObject*, PyObject*) {
    Ref object = require(type->tp_alloc(type, 0));
    as_sos(object.get())->index = qlx_py_env.sos_counter++;
    as_sos(object.get())->type = 1;
    count_created(Counted::kSos);
    return object;
}

int checked_type(PyObject* type) {
    int overflow = 0;
    const long value = PyLong_AsLongAndOverflow(type, &overflow);
    if (value == -1 && PyErr_Occurred()) throw PythonFailure();
    if (overflow != 0 || (value != 1 && value != 2)) raise_runtime_error("SOS type must be 1 or 2");
    return static_cast<int>(value);
}

int sos_init(PyObject* self, PyObject* args, PyObject* keywords) {
    static const char* const names[] = {"indices", "weights", "type", "name", nullptr};
    SpecialOrderedSet* const set = as_sos(self);
    set->type = 1;
    replace(set->indices, Ref());
    replace(set->weights, Ref());
    set->index = qlx_py_env.sos_counter++;
    PyObject* indices = nullptr;
    PyObject* weights = nullptr;
    PyObject* type = nullptr;
    PyObject* name = nullptr;
    if (!PyArg_ParseTupleAndKeywords(args, keywords, "OO|OO", const_cast<char**>(names), &indices,
                                     &weights, &type, &name))
        throw PythonFailure();
    replace(set->name, name != nullptr ? share(name)
                                       : require(PyUnicode_FromFormat("sos%llu", number_of(set))));
    if (type != nullptr) set->type = checked_type(type);
    if (!PyList_Check(weights)) raise_runtime_error("SOS weights must be passed as a list");
    if (!PyList_Check(indices)) raise_runtime_error("SOS indices must be passed as a list");
    replace(set->indices, share(indices));
    replace(set->weights, share(weights));
    return 0;
}

Ref sos_name(PyObject* self, void*) {
    PyObject* const name = as_sos(self)->name;
    return name != nullptr ? share(name) : require(PyUnicode_FromString(""));
}

int set_sos_name(PyObject* self, PyObject* value, void*) {
    if (value == nullptr) raise(PyExc_TypeError, "the name of a set cannot be deleted");
    replace(as_sos(self)->name, share(value));
    return 0;
}

// The name itself; one that is no str prints as its own text.
Ref sos_str(PyObject* self) {
    Ref name = sos_name(self, nullptr);
    return PyUnicode_Check(name.get()) ? std::move(name) : require(PyObject_Str(name.get()));
}

Ref copied_list(PyObject* list) {
    if (list == nullptr) raise_runtime_error("Could not get a copy of a SOS");
    Ref copy = require(PyList_GetSlice(list, 0, PyList_GET_SIZE(list)));
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(copy.get()); ++i)
        if (PyList_GET_ITEM(copy.get(), i) == nullptr)
            raise_runtime_error("Could not get a copy of a SOS");
    return copy;
}

Ref sos_copy(PyObject* self, PyObject*) {
    const SpecialOrderedSet* const source = as_sos(self);
    Owned<SpecialOrderedSet> copy = sos_base();
    copy->type = source->type;
    copy->indices = copied_list(source->indices).release();
    copy->weights = copied_list(source->weights).release();
    const Ref source_name = sos_name(self, nullptr);
    replace(copy->name,
            require(PyUnicode_FromFormat("sos%llu_copy_%S", number_of(source), source_name.get())));
    return copy;
}

PyMethodDef sos_methods[] = {
    {"copy", method<sos_copy>, METH_NOARGS,
     "copy($self)\n--\n\nReturn a copy of the SOS as a new object"},
    QUILEX_REFUSED_PICKLING,
    {nullptr, nullptr, 0, nullptr},
};

PyGetSetDef sos_attributes[] = {
    {"name", slot<sos_name>, slot<set_sos_name>, "SOS's name", nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

constexpr const char* kDoc =
    "quilex.sos(indices, weights, type, name)\n\n"
    "A special ordered set: of its variables at most one (type 1) may be\n"
    "nonzero, or at most two, neighbours by weight (type 2).\n\n"
    "indices: list of the variables\n"
    "weights: list of as many numbers, which give the order\n"
    "type: 1 (the default) or 2\n"
    "name: the name; \"sos\" and the set's number by default";

}  // namespace

PyTypeObject sos_type = [] {
    PyTypeObject type = static_type("quilex.SOS", sizeof(SpecialOrderedSet), kDoc);
    type.tp_flags |= Py_TPFLAGS_HAVE_GC | Py_TPFLAGS_BASETYPE;
    type.tp_new = slot<sos_new>;
    type.tp_init = slot<sos_init>;
    type.tp_dealloc = sos_dealloc;
    type.tp_traverse = sos_traverse;
    type.tp_clear = sos_clear;
    type.tp_methods = sos_methods;
    type.tp_getset = sos_attributes;
    type.tp_str = slot<sos_str>;
    return type;
}();

Owned<SpecialOrderedSet> sos_base() {
    Ref object = sos_new(&sos_type, nullptr, nullptr);
    Owned<SpecialOrderedSet> set =
        Owned<SpecialOrderedSet>::steal(reinterpret_cast<SpecialOrderedSet*>(object.release()));
    return set;
}

}  // namespace quilex
