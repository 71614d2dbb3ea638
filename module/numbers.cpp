// Python numbers as C's.
#include "module/numbers.hpp"

#include <limits>

namespace quilex {

double double_value(PyObject* object, const char* noun) {
    if (PyFloat_CheckExact(object)) return PyFloat_AS_DOUBLE(object);
    const double value = PyFloat_AsDouble(object);
    if (value != -1.0 || PyErr_Occurred() == nullptr) return value;
    if (PyLong_Check(object) && PyErr_ExceptionMatches(PyExc_OverflowError)) {
        raise_runtime_error("%s is an int beyond the range of floats", noun);
    }
    throw PythonFailure();
}

int int_value(PyObject* object, const char* noun) {
    const Ref number = require(PyNumber_Index(object));
    int overflow = 0;
    const long long value = PyLong_AsLongLongAndOverflow(number.get(), &overflow);
    if (value == -1 && PyErr_Occurred()) throw PythonFailure();
    if (overflow != 0 || value < std::numeric_limits<int>::min() ||
        value > std::numeric_limits<int>::max()) {
        raise_runtime_error("%s is beyond the range of 32 bits", noun);
    }
    return static_cast<int>(value);
}

}  // namespace quilex
