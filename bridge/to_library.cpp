// Python containers as the library's flat arrays.
#include "bridge/conversion.hpp"
#include "bridge/integers.hpp"
#include "callbacks/handles.hpp"
#include "model/containers.hpp"
#include "module/boundary.hpp"
#include "module/numbers.hpp"
#include "module/pending_exception.hpp"
#include "module/text.hpp"
#include "problem/transfer/name_batch.hpp"

#include "module/numpy.hpp"

namespace quilex {

namespace {

constexpr size_t kFirstIteratorRoom = 256;

char character_of(PyObject* item) {
    if (!PyUnicode_Check(item) || PyUnicode_GET_LENGTH(item) != 1) {
        raise_runtime_error("Character expected, found %R", item);
    }
    const Py_UCS4 character = PyUnicode_ReadChar(item, 0);
    if (character > 0x7F) raise_runtime_error("ASCII character expected, found %R", item);
    return static_cast<char>(character);
}

double double_of(PyObject* item) {
    if (!PyUnicode_Check(item) && !PyBytes_Check(item)) return double_value(item, "An element");
    const Ref number = Ref::steal(PyNumber_Float(item));
    if (!number) raise_runtime_error("Number expected, found %R", item);
    return PyFloat_AS_DOUBLE(number.get());
}

void require_integer(PyObject* item) {
    if (!is_integer(item)) raise_runtime_error("Integer expected, found %R", item);
}

// A list or tuple, or any other sequence, through the function that fetches its items.
template <ElementKind Kind, class Fetch>
void append_items(Problem* problem, size_t length, ConvertedArray<Kind>& result, Fetch&& fetch) {
    result = ConvertedArray<Kind>(length);
    for (size_t i = 0; i < length; ++i) {
        const Ref item = fetch(static_cast<Py_ssize_t>(i));
        result.append(convert_element<Kind>(problem, item.get()));
    }
}

template <ElementKind Kind>
void append_iterated(Problem* problem, PyObject* object, ConvertedArray<Kind>& result) {
    const Ref iterator = Ref::steal(PyObject_GetIter(object));
    if (!iterator) raise_runtime_error("Invalid sequence of objects");
    size_t room = kFirstIteratorRoom;
    result = ConvertedArray<Kind>(room);
    while (const Ref item = Ref::steal(PyIter_Next(iterator.get()))) {
        if (result.size() == room) result.reserve(room *= 2);
        result.append(convert_element<Kind>(problem, item.get()));
    }
    if (PyErr_Occurred()) throw PythonFailure();
    if (result.size() > 0) result.reserve(result.size());
}

// An item of a list whose length may have changed since it was taken: conversions run Python code.
Ref list_item(PyObject* list, Py_ssize_t i) {
    if (i >= PyList_GET_SIZE(list)) raise_runtime_error("Invalid sequence of objects");
    return share(PyList_GET_ITEM(list, i));
}

Ref as_sequence(PyObject* object) {
    Ref sequence = array_if_offered(object);
    if (!PySequence_Check(sequence.get())) raise_runtime_error("Invalid sequence of objects");
    return sequence;
}

// An array's own length: a subclass may say another than what its buffer holds.
Py_ssize_t length_of(PyObject* sequence) {
    if (PyArray_Check(sequence)) {
        auto* const array = reinterpret_cast<PyArrayObject*>(sequence);
        if (PyArray_NDIM(array) > 0) return PyArray_DIM(array, 0);
    }
    const Py_ssize_t length = PySequence_Size(sequence);
    if (length < 0) raise_runtime_error("Invalid sequence of objects");
    return length;
}

template <ElementKind Kind>
void append_sequence(Problem* problem, int64_t* count, PyObject* object,
                     ConvertedArray<Kind>& result) {
    const Ref sequence = as_sequence(object);
    const Py_ssize_t length = length_of(sequence.get());
    check_length(count, length);
    if (PyArray_Check(sequence.get()) && convert_numpy_buffer<Kind>(sequence.get(), result)) return;
    try {
        append_items<Kind>(problem, static_cast<size_t>(length), result, [&](Py_ssize_t i) {
            return require(PySequence_GetItem(sequence.get(), i));
        });
    } catch (const PythonFailure&) {
        if (Kind != kRowIndex && Kind != kColumnIndex) throw;
        raise_with_hint(object);
    }
}

}  // namespace

void raise_with_hint(PyObject* container) {
    if (!PyUnicode_Check(container) || PyUnicode_GET_LENGTH(container) < 2 ||
        !PyErr_ExceptionMatches(PyExc_RuntimeError)) {
        throw PythonFailure();
    }
    const Ref exception = take_exception();
    raise_runtime_error("%S; the characters of a str are taken as names, for %R itself pass [%R]",
                        exception.get(), container, container);
}

void check_length(int64_t* count, Py_ssize_t length) {
    if (count == nullptr) return;
    if (*count >= 0 && *count != length) {
        raise_runtime_error("Mismatched lengths in arguments: expected %lld, found %zd",
                            static_cast<long long>(*count), length);
    }
    *count = length;
}

template <ElementKind Kind>
Element<Kind> convert_element(Problem* problem, PyObject* item) {
    if constexpr (Kind == kRowIndex || Kind == kColumnIndex) {
        return require_index(problem, item, Kind);
    } else if constexpr (Kind == kInt32) {
        require_integer(item);
        return int32_value(item);
    } else if constexpr (Kind == kInt64) {
        require_integer(item);
        return int64_value(item);
    } else if constexpr (Kind == kDouble) {
        return double_of(item);
    } else if constexpr (Kind == kCharacter) {
        return character_of(item);
    } else if constexpr (Kind == kInt8) {
        return int8_value(item);
    } else if constexpr (Kind == kString) {
        if (PyUnicode_Check(item) || PyBytes_Check(item)) require_valid_name(item, "row or column");
        char* const text = pyStrToStr(item);
        if (text != nullptr) return text;
        if (PyErr_Occurred()) throw PythonFailure();
        if (PyUnicode_Check(item) || PyBytes_Check(item)) throw std::bad_alloc();
        raise_runtime_error("String expected, found %R", item);
    } else if constexpr (Kind == kCutHandle) {
        return poolcut_getcut(item);
    } else {
        return qlxobject_getobject(item);
    }
}

template <ElementKind Kind>
ConvertedArray<Kind> convert_container(Problem* problem, int64_t* count, PyObject* object) {
    ConvertedArray<Kind> result;
    if (PyList_Check(object)) {
        const Py_ssize_t length = PyList_GET_SIZE(object);
        check_length(count, length);
        append_items<Kind>(problem, static_cast<size_t>(length), result,
                           [object](Py_ssize_t i) { return list_item(object, i); });
    } else if (PyTuple_Check(object)) {
        const Py_ssize_t length = PyTuple_GET_SIZE(object);
        check_length(count, length);
        append_items<Kind>(problem, static_cast<size_t>(length), result,
                           [object](Py_ssize_t i) { return share(PyTuple_GET_ITEM(object, i)); });
    } else if (PyIter_Check(object)) {
        append_iterated<Kind>(problem, object, result);
        if (count != nullptr) *count = static_cast<int64_t>(result.size());
    } else {
        append_sequence<Kind>(problem, count, object, result);
    }
    return result;
}

int conv_obj2arr(PyObject* problem, int64_t* count, PyObject* object, void** array,
                 int kind) noexcept {
    *array = nullptr;
    if (object == nullptr || object == Py_None) return 0;
    try {
        const bool converted = with_array_kind(kind, [&]<ElementKind Kind>() {
            *array = convert_container<Kind>(reinterpret_cast<Problem*>(problem), count, object)
                         .release();
        });
        if (converted) return 0;
        PyErr_Format(PyExc_RuntimeError, "Arrays of element kind %d are not converted", kind);
    } catch (const std::bad_alloc&) {
        // The caller sees a failed conversion; the allocator sets no exception of its own.
    } catch (...) {
        set_python_error_from_current_exception();
    }
    return -1;
}

template ConvertedArray<kRowIndex> convert_container(Problem*, int64_t*, PyObject*);
template ConvertedArray<kColumnIndex> convert_container(Problem*, int64_t*, PyObject*);
template ConvertedArray<kInt32> convert_container(Problem*, int64_t*, PyObject*);
template ConvertedArray<kInt64> convert_container(Problem*, int64_t*, PyObject*);
template ConvertedArray<kDouble> convert_container(Problem*, int64_t*, PyObject*);
template ConvertedArray<kCharacter> convert_container(Problem*, int64_t*, PyObject*);
template ConvertedArray<kInt8> convert_container(Problem*, int64_t*, PyObject*);
template ConvertedArray<kString> convert_container(Problem*, int64_t*, PyObject*);
template ConvertedArray<kCutHandle> convert_container(Problem*, int64_t*, PyObject*);
template ConvertedArray<kLibraryObjectHandle> convert_container(Problem*, int64_t*, PyObject*);

}  // namespace quilex
