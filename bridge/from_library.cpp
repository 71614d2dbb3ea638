// The library's flat arrays as elements of the caller's lists.
#include "bridge/conversion.hpp"
#include "callbacks/handles.hpp"
#include "module/boundary.hpp"
#include "problem/results/selection.hpp"

namespace quilex {

namespace {

// The modelling object at an index of the problem's list; -1 for a negative index.
Ref object_at(Problem* problem, ObjectKind kind, int index) {
    if (index < 0) return require(PyLong_FromLong(-1));
    return Ref::share(checked_object_of(problem, kind, index));
}

template <ElementKind Kind>
Ref element_as_object(Problem* problem, Element<Kind> element) {
    if constexpr (Kind == kRowIndex) {
        return object_at(problem, ObjectKind::kConstraint, element);
    } else if constexpr (Kind == kColumnIndex) {
        return object_at(problem, ObjectKind::kVariable, element);
    } else if constexpr (Kind == kInt32 || Kind == kInt64) {
        return require(PyLong_FromLongLong(element));
    } else if constexpr (Kind == kDouble) {
        return require(PyFloat_FromDouble(element));
    } else if constexpr (Kind == kCharacter) {
        return require(PyUnicode_DecodeLatin1(&element, 1, nullptr));
    } else if constexpr (Kind == kInt8) {
        return require(PyUnicode_FromFormat("%d", static_cast<int>(element)));
    } else if constexpr (Kind == kString) {
        return require(PyUnicode_FromString(element));
    } else if constexpr (Kind == kCutHandle) {
        return poolcut_create(element);
    } else {
        return qlxobject_create(element);
    }
}

void store(PyObject* list, Py_ssize_t position, Ref value) {
    const int status = position < PyList_GET_SIZE(list)
                           ? PyList_SetItem(list, position, value.release())
                           : PyList_Append(list, value.get());
    if (status < 0) raise_runtime_error("Could not amend list of items");
}

template <ElementKind Kind>
void fill(Problem* problem, Py_ssize_t count, const Element<Kind>* elements, PyObject* list) {
    for (Py_ssize_t i = 0; i < count; ++i) {
        Ref value;
        if (!guarded([&] { value = element_as_object<Kind>(problem, elements[i]); })) {
            raise_runtime_error("Wrong item returned from API call, type %d", Kind);
        }
        store(list, i, std::move(value));
    }
}

void fill_list(Problem* problem, Py_ssize_t count, const void* array, PyObject* list, int kind) {
    if (!PyList_Check(list)) raise_runtime_error("Argument of type List required");
    if (PyList_GET_SIZE(list) > count &&
        PyList_SetSlice(list, count, PyList_GET_SIZE(list), nullptr) < 0) {
        raise_runtime_error("Could not amend list of items");
    }
    const bool known = with_array_kind(kind, [&]<ElementKind Kind>() {
        fill<Kind>(problem, count, static_cast<const Element<Kind>*>(array), list);
    });
    if (!known) raise_runtime_error("Wrong item returned from API call, type %d", kind);
}

}  // namespace

int conv_arr2obj(PyObject* problem, int64_t count, const void* array, PyObject** list,
                 int kind) noexcept {
    if (array == nullptr || list == nullptr || *list == nullptr || *list == Py_None) return 0;
    return guarded([&] {
        fill_list(reinterpret_cast<Problem*>(problem), static_cast<Py_ssize_t>(count), array, *list,
                  kind);
    })
               ? 0
               : -1;
}

}  // namespace quilex
