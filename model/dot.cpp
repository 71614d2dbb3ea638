// Dot: products of arrays of constants and modelling objects.
#include "model/dot.hpp"

#include "model/containers.hpp"
#include "model/dot_cells.hpp"
#include "model/operand.hpp"
#include "module/numpy.hpp"

namespace quilex {

namespace {

PyArrayObject* as_array(PyObject* object) noexcept {
    return reinterpret_cast<PyArrayObject*>(object);
}

// Whether the elements are of a kind that counts as a constant.
bool holds_constants(PyArrayObject* array) noexcept {
    const int type = PyArray_TYPE(array);
    return type == NPY_DOUBLE || type == NPY_FLOAT || type == NPY_INT || type == NPY_LONG ||
           (type == NPY_LONGLONG && sizeof(npy_longlong) == sizeof(npy_long));
}

// An argument as a factor. Masked elements count as 0, as in numpy's products of masked arrays.
Ref factor_of(PyObject* argument) {
    const Ref given = array_if_offered(argument);
    if (!is_numpy_array(given.get()))
        raise_runtime_error("Dot product can only occur between NumPy arrays");
    const Ref plain = with_masked_elements_as(0.0, given.get());
    Ref factor = small_numbers_as_doubles(plain.get());
    if (PyArray_TYPE(as_array(factor.get())) != NPY_OBJECT &&
        !holds_constants(as_array(factor.get())))
        raise_runtime_error("Dot product must be between long, double, and expressions/variables");
    return factor;
}

// A factor as rows whose elements are multiplied with those of the other factor's rows.
struct FactorRows {
    Ref array;  // C-contiguous doubles or objects, the summed axis last
    npy_intp rows;
    npy_intp length;
    bool is_constant;

    std::span<const double> numbers(npy_intp row) const noexcept {
        return {static_cast<const double*>(PyArray_DATA(as_array(array.get()))) + row * length,
                static_cast<size_t>(length)};
    }
    PyObject* const* objects(npy_intp row) const noexcept {
        return static_cast<PyObject* const*>(PyArray_DATA(as_array(array.get()))) + row * length;
    }
};

FactorRows factor_rows(PyObject* factor) {
    const bool is_constant = holds_constants(as_array(factor));
    Ref array = require(PyArray_FROM_OTF(factor, is_constant ? NPY_DOUBLE : NPY_OBJECT,
                                         NPY_ARRAY_CARRAY_RO | NPY_ARRAY_ENSUREARRAY));
    const npy_intp length = PyArray_DIM(as_array(array.get()), PyArray_NDIM(as_array(factor)) - 1);
    const npy_intp size = PyArray_MultiplyList(PyArray_DIMS(as_array(array.get())),
                                               PyArray_NDIM(as_array(factor)) - 1);
    return {std::move(array), size, length, is_constant};
}

// The right factor with its last two axes exchanged, so that the summed one is the last.
Ref summed_axis_last(PyObject* right) {
    const int axes = PyArray_NDIM(as_array(right));
    if (axes < 2) return Ref::share(right);
    return require(PyArray_SwapAxes(as_array(right), axes - 2, axes - 1));
}

Ref cell(const FactorRows& left, npy_intp row, const FactorRows& right, npy_intp column) {
    if (left.is_constant) return sum_of_multiples(left.numbers(row), right.objects(column));
    if (right.is_constant) return sum_of_multiples(right.numbers(column), left.objects(row));
    return sum_of_products(left.objects(row), right.objects(column), left.length);
}

// The product's shape: all axes but the summed ones, the left factor's first.
Ref new_product(PyObject* left, PyObject* right_by_columns) {
    const int left_axes = PyArray_NDIM(as_array(left)) - 1;
    const int right_axes = PyArray_NDIM(as_array(right_by_columns)) - 1;
    std::vector<npy_intp> shape(PyArray_DIMS(as_array(left)),
                                PyArray_DIMS(as_array(left)) + left_axes);
    shape.insert(shape.end(), PyArray_DIMS(as_array(right_by_columns)),
                 PyArray_DIMS(as_array(right_by_columns)) + right_axes);
    return require(PyArray_SimpleNew(left_axes + right_axes, shape.data(), NPY_OBJECT));
}

// The product of two factors by numpy's rules: the left one's last axis against the right one's
// second-to-last, or only, axis.
Ref product_of_two(PyObject* left, PyObject* right) {
    const int left_axes = PyArray_NDIM(as_array(left));
    const int right_axes = PyArray_NDIM(as_array(right));
    if (left_axes == 0 || right_axes == 0) return require(PyNumber_Multiply(left, right));
    if (PyArray_DIM(as_array(left), left_axes - 1) !=
        PyArray_DIM(as_array(right), right_axes < 2 ? 0 : right_axes - 2))
        raise_runtime_error("Dot product must have matching sizes in the multiplying dimension");
    if (holds_constants(as_array(left)) && holds_constants(as_array(right)))
        return require(PyArray_MatrixProduct(left, right));
    const Ref by_columns = summed_axis_last(right);
    const FactorRows rows = factor_rows(left);
    const FactorRows columns = factor_rows(by_columns.get());
    Ref product = new_product(left, by_columns.get());
    PyObject** element = static_cast<PyObject**>(PyArray_DATA(as_array(product.get())));
    for (npy_intp row = 0; row < rows.rows; ++row) {
        require_status(PyErr_CheckSignals());
        for (npy_intp column = 0; column < columns.rows; ++column, ++element) {
            Ref value = cell(rows, row, columns, column);
            const Ref old = Ref::steal(std::exchange(*element, value.release()));
        }
    }
    return product;
}

bool takes_elements_of(PyArrayObject* out, PyArrayObject* product) noexcept {
    const bool is_known = PyArray_TYPE(out) == NPY_OBJECT || holds_constants(out);
    return is_known && PyArray_ISWRITEABLE(out) &&
           PyArray_CanCastArrayTo(product, PyArray_DESCR(out), NPY_SAME_KIND_CASTING);
}

Ref store(PyObject* out, const Ref& product) {
    if (!takes_elements_of(as_array(out), as_array(product.get())))
        raise_runtime_error("Output argument set with wrong type");
    if (!PyArray_SAMESHAPE(as_array(out), as_array(product.get())))
        raise_runtime_error("Output argument set with wrong shape");
    require_status(PyArray_CopyInto(as_array(out), as_array(product.get())));
    return Ref::share(out);
}

PyObject* output_argument(PyObject* const* values, PyObject* keywords) {
    const Py_ssize_t count = keywords == nullptr ? 0 : PyTuple_GET_SIZE(keywords);
    PyObject* out = Py_None;
    for (Py_ssize_t i = 0; i < count; ++i) {
        PyObject* const keyword = PyTuple_GET_ITEM(keywords, i);
        if (PyUnicode_CompareWithASCIIString(keyword, "out") != 0)
            raise(PyExc_TypeError, "Dot() got an unexpected keyword argument '%U'", keyword);
        out = values[i];
    }
    return out;
}

}  // namespace

Ref quilexmod_Dot(PyObject*, PyObject* const* arguments, Py_ssize_t count, PyObject* keywords) {
    PyObject* const out = output_argument(arguments + count, keywords);
    if (out != Py_None && !is_numpy_array(out))
        raise_runtime_error("Output argument set with wrong type");
    if (count < 2) raise_runtime_error("Dot product requires at least two NumPy arrays");
    std::vector<Ref> factors;
    for (Py_ssize_t i = 0; i < count; ++i) factors.push_back(factor_of(arguments[i]));
    Ref product = Ref::share(factors[0].get());
    for (size_t i = 1; i < factors.size(); ++i) {
        product = product_of_two(product.get(), factors[i].get());
        // numpy's product of arrays without axes is no array.
        if (!is_numpy_array(product.get())) product = require(PyArray_FROM_O(product.get()));
    }
    if (out != Py_None) return store(out, product);
    // An array without axes is returned as its element.
    return require(PyArray_Return(as_array(product.release())));
}

}  // namespace quilex
