// quilex.nonlinear: expression trees for everything that is neither linear nor quadratic.
#pragma once

#include "model/operand.hpp"

namespace quilex {

// Operator codes of nodes.
enum NodeCode : int32_t {
    kSum = 0,
    kDifference = 1,
    kNegation = 2,
    kProduct = 3,
    kQuotient = 4,
    kPower = 5,
    kExp = 6,
    kLog = 7,
    kLog10 = 8,
    kSin = 9,
    kCos = 10,
    kTan = 11,
    kAsin = 12,
    kAcos = 13,
    kAtan = 14,
    kMax = 15,
    kMin = 16,
    kAbs = 17,
    kSign = 18,
    kErf = 19,
    kErfc = 20,
    kSqrt = 21,
    kUser = 22,
};

struct NonlinearNode {
    PyObject_HEAD
    PyObject* args;        // one operand, a tuple, or (sum and product) a list; null when new
    PyObject* shared;      // a sum's operands before those of args (nonlinear/shared_operands.hpp)
    int32_t op;            // a NodeCode; -1 when new
    int32_t shared_count;  // how many of the items of `shared` are this sum's
};

extern PyTypeObject nonlinear_type;

inline bool is_nonlinear(PyObject* object) noexcept {
    return Py_TYPE(object) == &nonlinear_type;
}

// Gives the memory of unused nodes back.
void clear_node_pool() noexcept;

Ref nonlin_instantiate_unary(int op, PyObject* operand);
Ref nonlin_instantiate_binary(int op, PyObject* a, PyObject* b);
// The general builder: `nary` false for one operand, true for a tuple or list of operands.
Ref nonlin_build_node(bool nary, int op, PyObject* args);

// Whether in-place operators may add operands to the node itself.
bool nonlin_grows_in_place(PyObject* node) noexcept;

// Argument iteration: the number of operands (-1 for an object that is not a node), the operand at
// a position (null beyond the end), the first and the next one (null at the end, or with an
// exception set); all borrowed.
Py_ssize_t nonlin_arg_size(PyObject* object) noexcept;
PyObject* nonlin_arg_at(PyObject* node, Py_ssize_t position) noexcept;
PyObject* nonlin_arg_first(PyObject* object, Py_ssize_t* cursor) noexcept;
PyObject* nonlin_arg_next(PyObject* object, Py_ssize_t* cursor) noexcept;

// A body without the constant that was one of its operands, and the bound that the constant makes.
struct SplitBody {
    Ref body;
    double bound = 0.0;
    bool reversed = false;  // the body was subtracted from the constant
};

// Takes the constant out of a sum or difference that is compared with 0. The node itself loses it,
// unless it is `operand`, the user's own.
SplitBody nonlin_split(Ref node, PyObject* operand);

Ref nonlin_copy(PyObject* node, double scale);
Ref nonlin_alg_sum(PyObject* a, PyObject* b, double scale);
Ref nonlin_incremental_alg_sum(PyObject* a, PyObject* b, double scale);

Ref nonlin_add(PyObject* a, PyObject* b);
Ref nonlin_sub(PyObject* a, PyObject* b);
Ref nonlin_mul(PyObject* a, PyObject* b);
Ref nonlin_div(PyObject* a, PyObject* b);
Ref nonlin_pow(PyObject* a, PyObject* b, PyObject* modulus);
Ref nonlin_neg(PyObject* a);
Ref nonlin_iadd(PyObject* a, PyObject* b);
Ref nonlin_isub(PyObject* a, PyObject* b);
Ref nonlin_imul(PyObject* a, PyObject* b);
Ref nonlin_idiv(PyObject* a, PyObject* b);
Ref nonlin_ipow(PyObject* a, PyObject* b, PyObject* modulus);
Ref nonlin_str(PyObject* a);

}  // namespace quilex
