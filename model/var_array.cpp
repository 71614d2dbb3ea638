// quilex.vararray: numpy arrays of new variables.
#include "model/var_array.hpp"

#include <algorithm>
#include <array>
#include <string>

#include "model/var.hpp"
#include "module/numpy.hpp"
#include "module/numpy_interface.hpp"
#include "module/pending_exception.hpp"

namespace quilex {

namespace {

PyArrayObject* as_array(const Ref& object) noexcept {
    return reinterpret_cast<PyArrayObject*>(object.get());
}

struct Shape {
    int dimensions = 0;
    std::array<npy_intp, NPY_MAXDIMS> lengths{};
    npy_intp size = 1;
};

Shape parse_shape(PyObject* object) {
    PyArray_Dims parsed{};
    if (PyArray_IntpConverter(object, &parsed) == 0) throw PythonFailure();
    Shape shape;
    shape.dimensions = parsed.len;
    if (parsed.len > 0) std::copy_n(parsed.ptr, parsed.len, shape.lengths.begin());
    PyDimMem_FREE(parsed.ptr);
    for (int k = 0; k < shape.dimensions; ++k) {
        const npy_intp length = shape.lengths[static_cast<size_t>(k)];
        if (length < 0) {
            raise(PyExc_ValueError, "shape[%d] is %zd, must be at least 0", k,
                  static_cast<Py_ssize_t>(length));
        }
        if (__builtin_mul_overflow(shape.size, length, &shape.size)) {
            raise(PyExc_ValueError, "an array of this shape has too many elements");
        }
    }
    return shape;
}

// Replaces numpy's refusal of a value by a ValueError that names the argument; other exceptions
// stay as they are.
[[noreturn]] void raise_for_argument(const char* name) {
    if (!PyErr_ExceptionMatches(PyExc_TypeError) && !PyErr_ExceptionMatches(PyExc_ValueError)) {
        throw PythonFailure();
    }
    const Ref exception = take_exception();
    raise(PyExc_ValueError, "argument '%s': %S", name, exception.get());
}

// An attribute's value for every element: one for all, or an array that broadcasts to the shape.
template <class T, int NumpyType>
class Attribute {
  public:
    Attribute(const char* name, T value) noexcept : name_(name), constant_(value) {}

    void parse(PyObject* argument, const Shape& shape) {
        if (argument == nullptr) return;
        // Values under a mask must not become bounds.
        if (has_masked_elements(argument))
            raise(PyExc_ValueError, "argument '%s': a masked array", name_);
        Ref given = Ref::steal(PyArray_FROM_OF(argument, NPY_ARRAY_ENSUREARRAY));
        // Numbers with a fraction are no types of variables; a cast would cut it off.
        if (given && std::is_integral_v<T> && !PyArray_ISINTEGER(as_array(given))) {
            raise(PyExc_ValueError, "argument '%s': must be whole numbers", name_);
        }
        if (given)
            given = Ref::steal(PyArray_FROM_OTF(given.get(), NumpyType, NPY_ARRAY_CARRAY_RO));
        if (!given) raise_for_argument(name_);
        if (PyArray_NDIM(as_array(given)) == 0) {
            constant_ = *static_cast<const T*>(PyArray_DATA(as_array(given)));
            return;
        }
        spread_ = require(PyArray_SimpleNew(
            shape.dimensions, const_cast<npy_intp*>(shape.lengths.data()), NumpyType));
        if (PyArray_CopyInto(as_array(spread_), as_array(given)) != 0) raise_for_argument(name_);
        values_ = static_cast<const T*>(PyArray_DATA(as_array(spread_)));
    }
    T operator[](npy_intp element) const noexcept {
        return values_ == nullptr ? constant_ : values_[element];
    }

  private:
    const char* name_;
    T constant_;
    Ref spread_;
    const T* values_ = nullptr;
};

// The names of the elements, "x(2,0)" for an array named x; an array without axes has the name
// itself.
class ElementNames {
  public:
    ElementNames(PyObject* name, const Shape& shape) : shape_(shape) {
        if (name == nullptr || name == Py_None) return;
        if (!PyUnicode_Check(name)) raise_runtime_error("Invalid variable name (must be a string)");
        const char* const text = PyUnicode_AsUTF8(name);
        if (text == nullptr) throw PythonFailure();
        prefix_ = text;
        named_ = true;
    }

    bool named() const noexcept { return named_; }
    Ref next() {
        std::string text = prefix_;
        for (int k = 0; k < shape_.dimensions; ++k) {
            text += k == 0 ? '(' : ',';
            text += std::to_string(position_[static_cast<size_t>(k)]);
        }
        if (shape_.dimensions > 0) text += ')';
        advance();
        return require(
            PyUnicode_FromStringAndSize(text.data(), static_cast<Py_ssize_t>(text.size())));
    }

  private:
    void advance() noexcept {
        for (int k = shape_.dimensions - 1; k >= 0; --k) {
            const auto axis = static_cast<size_t>(k);
            if (++position_[axis] < shape_.lengths[axis]) return;
            position_[axis] = 0;
        }
    }

    const Shape& shape_;
    bool named_ = false;
    std::string prefix_;
    std::array<npy_intp, NPY_MAXDIMS> position_{};
};

struct Attributes {
    Attribute<double, NPY_DOUBLE> lb{"lb", 0.0};
    Attribute<double, NPY_DOUBLE> ub{"ub", kInfinity};
    Attribute<double, NPY_DOUBLE> threshold{"threshold", -kInfinity};
    Attribute<npy_int64, NPY_INT64> vartype{"vartype", kContinuous};
};

int32_t checked_type(npy_int64 code) {
    if (code < kContinuous || code > kPartiallyInteger) {
        raise(PyExc_ValueError,
              "argument 'vartype': %lld is no type of variables (quilex.continuous, "
              "quilex.binary, quilex.integer, ...)",
              static_cast<long long>(code));
    }
    return static_cast<int32_t>(code);
}

Ref new_element(const Attributes& attributes, npy_intp element, ElementNames& names) {
    Domain domain;
    domain.vartype = checked_type(attributes.vartype[element]);
    domain.lb = attributes.lb[element];
    domain.ub = attributes.ub[element];
    domain.threshold = attributes.threshold[element];
    restrict_to_binary(domain);
    const Ref name = names.named() ? names.next() : Ref();
    domain.name = name.get();
    return var_base(domain);
}

}  // namespace

Ref quilexmod_vararray(PyObject*, PyObject* arguments, PyObject* keywords) {
    static const char* parameters[] = {"shape",     "name",    "lb",   "ub",
                                       "threshold", "vartype", nullptr};
    PyObject* shape_argument = nullptr;
    PyObject* name = nullptr;
    PyObject* given[4] = {};
    if (!PyArg_ParseTupleAndKeywords(arguments, keywords, "O|OOOOO:vararray",
                                     const_cast<char**>(parameters), &shape_argument, &name,
                                     &given[0], &given[1], &given[2], &given[3])) {
        throw PythonFailure();
    }
    const Shape shape = parse_shape(shape_argument);
    Attributes attributes;
    attributes.lb.parse(given[0], shape);
    attributes.ub.parse(given[1], shape);
    attributes.threshold.parse(given[2], shape);
    attributes.vartype.parse(given[3], shape);
    ElementNames names(name, shape);
    Ref result = require(PyArray_SimpleNew(
        shape.dimensions, const_cast<npy_intp*>(shape.lengths.data()), NPY_OBJECT));
    auto** const elements = static_cast<PyObject**>(PyArray_DATA(as_array(result)));
    for (npy_intp i = 0; i < shape.size; ++i) {
        Ref variable = new_element(attributes, i, names);
        // An element that was not filled yet is a null pointer or None.
        Py_XDECREF(std::exchange(elements[i], variable.release()));
    }
    return result;
}

}  // namespace quilex
