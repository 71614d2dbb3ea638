// quilex.control and quilex.attribute: parameters by name, as attributes of an object.
#include "module/allocator.hpp"
#include "module/boundary.hpp"
#include "module/environment.hpp"
#include "module/library_error.hpp"
#include "module/live_counts.hpp"
#include "module/static_type.hpp"
#include "module/text.hpp"
#include "problem/access.hpp"
#include "problem/parameters/controls.hpp"

namespace quilex {

namespace {

ParameterObject* parameters(PyObject* self) noexcept {
    return reinterpret_cast<ParameterObject*>(self);
}

// What differs between the two types.
template <bool IsControl>
struct Kind {
    static constexpr Counted counted = IsControl ? Counted::kControl : Counted::kAttribute;
    static constexpr const char* noun = IsControl ? "control" : "attribute";
    static PyTypeObject* type() noexcept { return IsControl ? &control_type : &attribute_type; }
};

// The problem of a problem's object, ready for use; null for the module-wide one. Throws when it is
// gone.
Problem* problem_of(ParameterObject* self, const char* noun) {
    if (self->problem != nullptr) return reading(self->problem);
    if (self->of_problem) {
        raise_runtime_error("The problem of this %s object no longer exists", noun);
    }
    return nullptr;
}

// The entry of a dict (null allowed), or an empty reference without an exception.
Ref find(PyObject* dict, PyObject* name) {
    PyObject* const entry = dict == nullptr ? nullptr : PyDict_GetItemWithError(dict, name);
    if (entry == nullptr && PyErr_Occurred()) throw PythonFailure();
    return Ref::share(entry);
}

// The value of a name, or an empty reference where there is no such name.
Ref find_value(ParameterObject* self, Problem* problem, PyObject* name, bool is_control) {
    if (problem != nullptr) {
        ParameterTriple triple{};
        if (!read_triple(find(self->dict, name).get(), &triple)) return Ref();
        return problem_getInfo_single(problem, triple.id, triple.type, is_control, triple.solver);
    }
    if (Ref assigned = find(qlx_py_env.default_controls, name); assigned) {
        if (assigned.get() != Py_None) return assigned;
    }
    return find(self->dict, name);
}

template <bool IsControl>
Ref get_attribute(PyObject* object, PyObject* name) {
    constexpr const char* noun = Kind<IsControl>::noun;
    ParameterObject* const self = parameters(object);
    const Block<char> text = Block<char>::adopt(pyStrToStr(name));
    if (!text) raise_runtime_error("Bad %s request", noun);
    const std::string_view key = text.get();
    if (key == "__dict__" && self->dict != nullptr) return share(self->dict);
    if (key == "__class__") return share(Py_TYPE(object));
    require_environment();
    Problem* const problem = problem_of(self, noun);
    Ref value;
    if (!guarded([&] { value = find_value(self, problem, name, IsControl); }) || !value) {
        PyErr_Clear();
        raise_runtime_error("Incorrect %s name", noun);
    }
    return value;
}

int control_set_attribute(PyObject* object, PyObject* name, PyObject* value) {
    require_environment();
    ParameterObject* const self = parameters(object);
    Problem* const problem = problem_of(self, "control");
    ParameterTriple triple{};
    if (!PyUnicode_Check(name) || !read_triple(find(qlx_py_env.ctrl_table, name).get(), &triple)) {
        raise_runtime_error("Incorrect control name");
    }
    if (value == nullptr) raise_runtime_error("A control cannot be deleted");
    if (problem != nullptr) {
        const int status =
            problem_setControl_single(problem, triple.id, triple.type, triple.solver, value);
        if (status != 0) raise_library_error(as_object(problem));
        return 0;
    }
    require_status(check_setCtrl(triple.type, value));
    return require_status(PyDict_SetItem(qlx_py_env.default_controls, name, value));
}

int attribute_set_attribute(PyObject*, PyObject*, PyObject*) {
    raise_runtime_error("A problem's attribute cannot be set");
}

template <bool IsControl>
Ref represent(PyObject* object) {
    require_environment();
    ParameterObject* const self = parameters(object);
    if (Problem* const problem = problem_of(self, Kind<IsControl>::noun)) {
        const Ref values = getAllCtrlAttr(problem, IsControl);
        return require(PyUnicode_FromFormat("%S", values.get()));
    }
    return require(PyUnicode_FromFormat("%S", self->dict == nullptr ? Py_None : self->dict));
}

template <bool IsControl>
PyObject* parameters_new(PyTypeObject* type, PyObject*, PyObject*) noexcept {
    PyObject* const self = type->tp_alloc(type, 0);
    if (self != nullptr) count_created(Kind<IsControl>::counted);
    return self;
}

template <bool IsControl>
void parameters_dealloc(PyObject* self) noexcept {
    PyObject_GC_UnTrack(self);
    Py_CLEAR(parameters(self)->dict);
    count_destroyed(Kind<IsControl>::counted);
    Py_TYPE(self)->tp_free(self);
}

int parameters_traverse(PyObject* self, visitproc visit, void* arg) noexcept {
    Py_VISIT(parameters(self)->dict);
    return 0;
}

int parameters_clear(PyObject* self) noexcept {
    Py_CLEAR(parameters(self)->dict);
    return 0;
}

template <bool IsControl>
PyTypeObject make_type(const char* name, const char* doc, setattrofunc set_attribute) noexcept {
    PyTypeObject type = static_type(name, sizeof(ParameterObject), doc);
    type.tp_flags |= Py_TPFLAGS_HAVE_GC;
    type.tp_dealloc = parameters_dealloc<IsControl>;
    type.tp_repr = slot<represent<IsControl>>;
    type.tp_getattro = slot<get_attribute<IsControl>>;
    type.tp_setattro = set_attribute;
    type.tp_traverse = parameters_traverse;
    type.tp_clear = parameters_clear;
    type.tp_new = parameters_new<IsControl>;
    return type;
}

template <bool IsControl>
Owned<ParameterObject> make_object(PyObject* problem, Ref dict) {
    PyTypeObject* const type = Kind<IsControl>::type();
    Ref object = require(type->tp_new(type, nullptr, nullptr));
    ParameterObject* const self = parameters(object.get());
    self->problem = problem;
    self->of_problem = problem != nullptr;
    self->dict = dict.release();
    object.release();
    return Owned<ParameterObject>::steal(self);
}

}  // namespace

PyTypeObject control_type =
    make_type<true>("quilex.control",
                    "Control of an optimization problem. Can be read and changes both for a\n"
                    "single problem and for the module (which will define the control value\n"
                    "of the problems created afterward",
                    slot<control_set_attribute>);

PyTypeObject attribute_type = make_type<false>(
    "quilex.attribute", "Attribute of an optimization problem. Can be read but not modified",
    slot<attribute_set_attribute>);

Ref ctrl_base(PyObject* problem) {
    return make_object<true>(
        problem, problem == nullptr ? require(PyDict_New()) : share(qlx_py_env.ctrl_table));
}

Ref attr_base(PyObject* problem) {
    return make_object<false>(problem, share(qlx_py_env.attr_table));
}

Ref ctrl_copy(PyObject* controls, PyObject* problem) {
    return make_object<true>(problem, require(PyDict_Copy(parameters(controls)->dict)));
}

Ref attr_copy(PyObject* attributes, PyObject* problem) {
    return make_object<false>(problem, require(PyDict_Copy(parameters(attributes)->dict)));
}

void detach_from_problem(PyObject* object) noexcept {
    if (object == nullptr) return;
    if (Py_TYPE(object) != &control_type && Py_TYPE(object) != &attribute_type) return;
    parameters(object)->problem = nullptr;
}

}  // namespace quilex
