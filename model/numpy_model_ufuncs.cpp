// The ufuncs that compare arrays element by element into constraints.
#include "model/numpy_model_ufuncs.hpp"

#include "model/constraint.hpp"
#include "model/operand.hpp"
#include "module/boundary.hpp"
#include "module/numpy.hpp"

namespace quilex {

const ModelComparison model_comparisons[kModelComparisonCount] = {
    {Py_LE, "less_equal", "Return constraint lhs <= rhs"},
    {Py_GE, "greater_equal", "Return constraint lhs >= rhs"},
    {Py_EQ, "equal", "Return constraint lhs == rhs"},
};

uint64_t constraint_truth_requests = 0;

namespace {

PyObject* model_ufuncs[kModelComparisonCount];

// Elements looked at before an array is left to numpy: few enough that plain object arrays do not
// feel it.
constexpr Py_ssize_t kElementsLookedAt = 8;
constexpr int kNestingLookedAt = 4;

PyObject* none_if_missing(PyObject* object) noexcept {
    return object == nullptr ? Py_None : object;
}

void compare_elements(char** operands, const npy_intp count, const npy_intp* steps, int op) {
    char* left = operands[0];
    char* right = operands[1];
    char* output = operands[2];
    for (npy_intp i = 0; i < count; ++i) {
        Ref constraint =
            make_one_constraint(none_if_missing(*reinterpret_cast<PyObject**>(left)),
                                none_if_missing(*reinterpret_cast<PyObject**>(right)), op);
        // The new element is in place before the old one's end can run any code.
        const Ref old =
            Ref::steal(std::exchange(*reinterpret_cast<PyObject**>(output), constraint.release()));
        left += steps[0];
        right += steps[1];
        output += steps[2];
    }
}

// numpy learns of a failure from the Python exception that is then set.
template <int Op>
void comparison_loop(char** operands, npy_intp const* dimensions, npy_intp const* steps, void*) {
    guarded([&] { compare_elements(operands, dimensions[0], steps, Op); });
}

constexpr auto leq_con = comparison_loop<Py_LE>;
constexpr auto geq_con = comparison_loop<Py_GE>;
constexpr auto eq_con = comparison_loop<Py_EQ>;

PyUFuncGenericFunction loops[kModelComparisonCount] = {leq_con, geq_con, eq_con};
void* loop_data[1] = {nullptr};
char loop_types[3] = {NPY_OBJECT, NPY_OBJECT, NPY_OBJECT};

bool is_model_object(PyObject* object) noexcept {
    if (object == nullptr) return false;
    const OperandKind kind = quick_kind(object);
    return kind > kConstant || (kind == kInvalid && classify(object) > kConstant);
}

bool carries(PyObject* operand, int nesting) noexcept;

bool items_carry(PyObject* container, int nesting) noexcept {
    const Py_ssize_t size = PySequence_Fast_GET_SIZE(container);
    for (Py_ssize_t i = 0; i < size && i < kElementsLookedAt; ++i)
        if (carries(PySequence_Fast_GET_ITEM(container, i), nesting - 1)) return true;
    return false;
}

bool elements_carry(PyArrayObject* array) noexcept {
    if (PyArray_TYPE(array) != NPY_OBJECT) return false;
    const int axes = PyArray_NDIM(array);
    for (int axis = 0; axis < axes; ++axis)
        if (PyArray_DIM(array, axis) == 0) return false;
    const npy_intp count = axes == 0 ? 1 : PyArray_DIM(array, axes - 1);
    const npy_intp step = axes == 0 ? 0 : PyArray_STRIDE(array, axes - 1);
    const char* element = PyArray_BYTES(array);
    for (npy_intp i = 0; i < count && i < kElementsLookedAt; ++i, element += step)
        if (is_model_object(*reinterpret_cast<PyObject* const*>(element))) return true;
    return false;
}

bool carries(PyObject* operand, int nesting) noexcept {
    PyTypeObject* const type = Py_TYPE(operand);
    if (type == &PyArray_Type) return elements_carry(reinterpret_cast<PyArrayObject*>(operand));
    if (type == &PyLong_Type || type == &PyFloat_Type || type == &PyUnicode_Type) return false;
    if (PyList_Check(operand) || PyTuple_Check(operand))
        return nesting > 0 && items_carry(operand, nesting);
    if (is_model_object(operand)) return true;
    return PyArray_Check(operand) && elements_carry(reinterpret_cast<PyArrayObject*>(operand));
}

// A modelling object as an array without dimensions, so that numpy does not look into a subclass
// that happens to be a sequence.
Ref as_array_operand(PyObject* operand) {
    if (!is_model_object(operand)) return Ref::share(operand);
    Ref array = require(PyArray_SimpleNew(0, nullptr, NPY_OBJECT));
    PyArrayObject* const zero_dimensional = reinterpret_cast<PyArrayObject*>(array.get());
    require_status(PyArray_SETITEM(zero_dimensional, PyArray_BYTES(zero_dimensional), operand));
    return array;
}

}  // namespace

int model_comparison_index(int op) noexcept {
    for (int i = 0; i < kModelComparisonCount; ++i)
        if (model_comparisons[i].op == op) return i;
    return -1;
}

bool carries_model_object(PyObject* operand) noexcept {
    return carries(operand, kNestingLookedAt);
}

void create_model_ufuncs() {
    for (int i = 0; i < kModelComparisonCount; ++i)
        model_ufuncs[i] =
            require(PyUFunc_FromFuncAndData(&loops[i], loop_data, loop_types, 1, 2, 1, PyUFunc_None,
                                            model_comparisons[i].name, model_comparisons[i].doc, 0))
                .release();
}

void release_model_ufuncs() noexcept {
    for (PyObject*& ufunc : model_ufuncs) Py_CLEAR(ufunc);
}

bool has_model_ufuncs() noexcept {
    return model_ufuncs[kModelComparisonCount - 1] != nullptr;
}

Ref call_model_ufunc(int index, PyObject* a, PyObject* b) {
    const Ref left = as_array_operand(a);
    const Ref right = as_array_operand(b);
    return require(
        PyObject_CallFunctionObjArgs(model_ufuncs[index], left.get(), right.get(), nullptr));
}

}  // namespace quilex
