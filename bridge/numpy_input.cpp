// numpy arrays read through their buffers, without touching Python objects.
#include <cstring>
#include <limits>

#include "bridge/conversion.hpp"

#include "module/numpy.hpp"
#include "module/numpy_interface.hpp"

namespace quilex {

namespace {

// Copies the elements, of type From in memory, checking that integers fit.
template <class From, class To>
void copy_elements(PyArrayObject* array, size_t length, To* target) {
    const char* source = PyArray_BYTES(array);
    const npy_intp stride = PyArray_STRIDE(array, 0);
    if (std::is_same_v<From, To> && stride == static_cast<npy_intp>(sizeof(From))) {
        if (length > 0) std::memcpy(target, source, length * sizeof(From));
        return;
    }
    for (size_t i = 0; i < length; ++i, source += stride) {
        From value;
        std::memcpy(&value, source, sizeof(From));
        if constexpr (std::is_integral_v<To> && sizeof(To) < sizeof(From)) {
            if (value < std::numeric_limits<To>::min() || value > std::numeric_limits<To>::max()) {
                raise_runtime_error("Integer %lld is beyond the range of %d bits",
                                    static_cast<long long>(value),
                                    static_cast<int>(8 * sizeof(To)));
            }
        }
        target[i] = static_cast<To>(value);
    }
}

// Copies where the array's type is one that the kind takes as it stands.
template <ElementKind Kind>
bool copy_by_type(PyArrayObject* array, size_t length, Element<Kind>* target) {
    constexpr bool is_double = Kind == kDouble;
    constexpr bool is_integer =
        Kind == kRowIndex || Kind == kColumnIndex || Kind == kInt32 || Kind == kInt64;
    const int type = PyArray_TYPE(array);
    if constexpr (is_double || is_integer) {
        if (type == NPY_INT32) {
            copy_elements<npy_int32>(array, length, target);
            return true;
        }
        if (type == NPY_INT64 || (type == NPY_LONGLONG && sizeof(npy_longlong) == 8)) {
            copy_elements<npy_int64>(array, length, target);
            return true;
        }
    }
    if constexpr (is_double) {
        if (type == NPY_DOUBLE) {
            copy_elements<double>(array, length, target);
            return true;
        }
        if (type == NPY_FLOAT) {
            copy_elements<float>(array, length, target);
            return true;
        }
    }
    if constexpr (Kind == kInt8) {
        if (type == NPY_INT8) {
            copy_elements<npy_int8>(array, length, target);
            return true;
        }
    }
    return false;
}

}  // namespace

template <ElementKind Kind>
bool convert_numpy_buffer(PyObject* object, ConvertedArray<Kind>& result) {
    auto* const array = reinterpret_cast<PyArrayObject*>(object);
    if (PyArray_NDIM(array) != 1) {
        raise_runtime_error("Invalid sequence of objects: an array of %d dimensions",
                            PyArray_NDIM(array));
    }
    // The values under a mask must not reach the library as numbers.
    if (has_masked_elements(object)) raise_runtime_error("Masked elements in an array argument");
    if (PyArray_ISCOMPLEX(array)) {
        raise_runtime_error("Invalid sequence of objects: an array of complex numbers");
    }
    if constexpr (Kind == kString || Kind == kCharacter || Kind == kCutHandle ||
                  Kind == kLibraryObjectHandle) {
        return false;
    } else {
        if (!PyArray_ISNOTSWAPPED(array)) return false;
        const auto length = static_cast<size_t>(PyArray_DIM(array, 0));
        ConvertedArray<Kind> converted(length);
        if (!copy_by_type<Kind>(array, length, converted.get())) return false;
        converted.set_size(length);
        result = std::move(converted);
        return true;
    }
}

template bool convert_numpy_buffer(PyObject*, ConvertedArray<kRowIndex>&);
template bool convert_numpy_buffer(PyObject*, ConvertedArray<kColumnIndex>&);
template bool convert_numpy_buffer(PyObject*, ConvertedArray<kInt32>&);
template bool convert_numpy_buffer(PyObject*, ConvertedArray<kInt64>&);
template bool convert_numpy_buffer(PyObject*, ConvertedArray<kDouble>&);
template bool convert_numpy_buffer(PyObject*, ConvertedArray<kCharacter>&);
template bool convert_numpy_buffer(PyObject*, ConvertedArray<kInt8>&);
template bool convert_numpy_buffer(PyObject*, ConvertedArray<kString>&);
template bool convert_numpy_buffer(PyObject*, ConvertedArray<kCutHandle>&);
template bool convert_numpy_buffer(PyObject*, ConvertedArray<kLibraryObjectHandle>&);

}  // namespace quilex
