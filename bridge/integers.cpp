// The Python values that count as integers.
#include "bridge/integers.hpp"

#include <limits>

#include "module/numpy.hpp"

namespace quilex {

namespace {

template <class T>
T value_within(PyObject* object) {
    const Ref number = require(PyNumber_Long(object));
    int overflow = 0;
    const long long value = PyLong_AsLongLongAndOverflow(number.get(), &overflow);
    if (value == -1 && PyErr_Occurred()) throw PythonFailure();
    if (overflow != 0 || value < std::numeric_limits<T>::min() ||
        value > std::numeric_limits<T>::max()) {
        raise_runtime_error("Integer %S is beyond the range of %d bits", object,
                            static_cast<int>(8 * sizeof(T)));
    }
    return static_cast<T>(value);
}

}  // namespace

bool is_integer(PyObject* object) noexcept {
    if (PyLong_Check(object)) return true;
    if (PyArray_IsScalar(object, Int) || PyArray_IsScalar(object, Long)) return true;
    return sizeof(npy_longlong) == sizeof(npy_long) && PyArray_IsScalar(object, LongLong);
}

bool is_index(PyObject* object) noexcept {
    return PyLong_Check(object) || PyArray_IsScalar(object, Integer);
}

int int32_value(PyObject* object) {
    return value_within<int>(object);
}
int64_t int64_value(PyObject* object) {
    return value_within<int64_t>(object);
}
signed char int8_value(PyObject* object) {
    return value_within<signed char>(object);
}

}  // namespace quilex
