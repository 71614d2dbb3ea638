// getSolutionArray and its companions: results as numpy arrays.
#include <algorithm>

#include "bridge/integers.hpp"
#include "model/constraint.hpp"
#include "model/containers.hpp"
#include "model/var.hpp"
#include "module/boundary.hpp"
#include "module/numpy.hpp"
#include "module/pages.hpp"
#include "problem/access.hpp"
#include "problem/results/results.hpp"
#include "problem/results/selection.hpp"
#include "problem/transfer/walker.hpp"

namespace quilex {

namespace {

PyArrayObject* as_array(const Ref& object) noexcept {
    return reinterpret_cast<PyArrayObject*>(object.get());
}

double* data_of(const Ref& array) noexcept {
    return static_cast<double*>(PyArray_DATA(as_array(array)));
}

Ref new_array(int dimensions, const npy_intp* shape) {
    Ref array = require(PyArray_SimpleNew(dimensions, const_cast<npy_intp*>(shape), NPY_DOUBLE));
    fetch_pages(data_of(array), static_cast<size_t>(PyArray_NBYTES(as_array(array))));
    return array;
}

double checked_value(std::span<const double> values, int64_t index) {
    if (index < 0 || static_cast<size_t>(index) >= values.size()) {
        raise_runtime_error("Index %lld is out of range: there are %zu values",
                            static_cast<long long>(index), values.size());
    }
    return values[static_cast<size_t>(index)];
}

// The index of an element of an object array.
template <ResultKind Kind>
int64_t index_of(const Problem* problem, PyObject* object) {
    if (object != nullptr &&
        Py_TYPE(object) == (is_by_column(Kind) ? &var_type : &constraint_type)) {
        const int index =
            is_by_column(Kind)
                ? problem->var_index.find(reinterpret_cast<Variable*>(object)->index)
                : problem->con_index.find(reinterpret_cast<Constraint*>(object)->index);
        if (index != IndexMap::kMissing) return index;
    }
    bool known = false;
    const int index =
        object == nullptr ? IndexMap::kMissing : index_in_problem(problem, object, &known);
    if (index != IndexMap::kMissing) return index;
    if (known) raise_runtime_error("Object %S is not in the problem", object);
    raise_runtime_error("Incorrect object(s) passed: need index, variable, constraint, or SOS");
}

template <ResultKind Kind>
Ref values_of_objects(const Problem* problem, const Ref& objects, std::span<const double> values) {
    constexpr npy_intp kAhead = 32;  // objects lie anywhere in memory
    Ref result = new_array(PyArray_NDIM(as_array(objects)), PyArray_DIMS(as_array(objects)));
    auto* const* items = static_cast<PyObject* const*>(PyArray_DATA(as_array(objects)));
    double* const out = data_of(result);
    const npy_intp count = PyArray_SIZE(as_array(objects));
    for (npy_intp i = 0; i < count; ++i) {
        if (i + kAhead < count) __builtin_prefetch(items[i + kAhead]);
        out[i] = checked_value(values, index_of<Kind>(problem, items[i]));
    }
    return result;
}

Ref values_of_indices(const Ref& indices, std::span<const double> values) {
    Ref result = new_array(PyArray_NDIM(as_array(indices)), PyArray_DIMS(as_array(indices)));
    const auto* items = static_cast<const int64_t*>(PyArray_DATA(as_array(indices)));
    double* const out = data_of(result);
    const npy_intp count = PyArray_SIZE(as_array(indices));
    for (npy_intp i = 0; i < count; ++i) out[i] = checked_value(values, items[i]);
    return result;
}

// Arrays of objects or of whole numbers; the result has their shape.
template <ResultKind Kind>
Ref values_of_array(const Problem* problem, PyObject* array, std::span<const double> values) {
    const int type = PyArray_TYPE(reinterpret_cast<PyArrayObject*>(array));
    if (type == NPY_OBJECT) {
        const Ref objects = require(PyArray_FROM_OF(array, NPY_ARRAY_CARRAY_RO));
        return values_of_objects<Kind>(problem, objects, values);
    }
    if (!PyTypeNum_ISINTEGER(type)) {
        raise_runtime_error("Incorrect object(s) passed: need index, variable, constraint, or SOS");
    }
    const Ref indices = require(PyArray_FROM_OTF(
        array, NPY_INT64, NPY_ARRAY_CARRAY_RO | NPY_ARRAY_FORCECAST | NPY_ARRAY_NOTSWAPPED));
    return values_of_indices(indices, values);
}

// Anything else is walked; the result has one dimension.
template <ResultKind Kind>
class ArrayWalker final : public ArgumentWalker {
  public:
    explicit ArrayWalker(const Problem* problem) noexcept
        : ArgumentWalker(kDepthOfVariables), problem_(problem) {}

    std::vector<int64_t> indices;

  private:
    void leaf(PyObject* object) override {
        if (is_index(object)) {
            // A value beyond the range is clipped, and so still out of range.
            const Py_ssize_t index = PyNumber_AsSsize_t(object, nullptr);
            if (index == -1 && PyErr_Occurred()) throw PythonFailure();
            indices.push_back(index);
        } else {
            indices.push_back(index_of<Kind>(problem_, object));
        }
    }
    bool is_plain_leaf(PyTypeObject* type) const noexcept override {
        return type == &var_type || type == &constraint_type;
    }

    const Problem* problem_;
};

Ref copy_of(std::span<const double> values) {
    const auto count = static_cast<npy_intp>(values.size());
    Ref result = new_array(1, &count);
    std::copy(values.begin(), values.end(), data_of(result));
    return result;
}

template <ResultKind Kind>
Ref array_method(PyObject* self, PyObject* const* arguments, Py_ssize_t count) {
    if (count > 1) {
        raise(PyExc_TypeError, "expected at most 1 argument: an array or a nested list of objects");
    }
    Problem* const problem = reading(self);
    if (count == 0 || arguments[0] == Py_None) return copy_of(result_vector(problem, Kind));
    const Ref objects = array_if_offered(arguments[0]);
    if (PyArray_Check(objects.get())) {
        return values_of_array<Kind>(problem, objects.get(), result_vector(reading(self), Kind));
    }
    ArrayWalker<Kind> walker(problem);
    walker.walk(arguments, 1);
    // Looked up after the walk, which may have run any Python code.
    const std::span<const double> values = result_vector(reading(self), Kind);
    const auto length = static_cast<npy_intp>(walker.indices.size());
    Ref result = new_array(1, &length);
    std::transform(walker.indices.begin(), walker.indices.end(), data_of(result),
                   [&](int64_t index) { return checked_value(values, index); });
    return result;
}

}  // namespace

PyMethodDef result_array_methods[] = {
    {"getSolutionArray", method<array_method<ResultKind::kSolution>>, METH_FASTCALL,
     "getSolutionArray($self, variables=None, /)\n--\n\n"
     "Values in the solution of the last solve as a numpy array of float64: of the shape of an\n"
     "array of variables or of column indices; one-dimensional, in walking order, for nested\n"
     "lists and the like; of all columns without an argument. Refused where getSolution is."},
    {"getSlackArray", method<array_method<ResultKind::kSlack>>, METH_FASTCALL,
     "getSlackArray($self, constraints=None, /)\n--\n\n"
     "Slacks of constraints or rows as a numpy array, as in getSolutionArray."},
    {"getDualArray", method<array_method<ResultKind::kDual>>, METH_FASTCALL,
     "getDualArray($self, constraints=None, /)\n--\n\n"
     "Duals of constraints or rows as a numpy array, as in getSolutionArray."},
    {"getRCostArray", method<array_method<ResultKind::kReducedCost>>, METH_FASTCALL,
     "getRCostArray($self, variables=None, /)\n--\n\n"
     "Reduced costs of variables or columns as a numpy array, as in getSolutionArray."},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quilex
