// Objects that the garbage collector need not see as long as they cannot be part of a cycle.
#include "model/lazy_tracking.hpp"

#include "model/expression.hpp"
#include "model/linterm.hpp"
#include "model/quadterm.hpp"
#include "nonlinear/node.hpp"

namespace quilex {

namespace {

// An operand that was made for this one use has a reference of its caller's and one of the holder
// or of the frame in between. With more, somebody else has it and may grow it.
constexpr Py_ssize_t kReferencesOfPassedOperand = 2;

// Whether in-place operators may add operands to the object itself.
bool grows_in_place(PyObject* object) noexcept {
    if (Py_TYPE(object) == &expression_type) return true;
    return Py_TYPE(object) == &nonlinear_type && nonlin_grows_in_place(object);
}

}  // namespace

bool may_close_cycle(PyObject* object) noexcept {
    PyTypeObject* const type = Py_TYPE(object);
    if (!PyType_IS_GC(type)) return false;
    const bool tracked_when_needed = type == &var_type || type == &linterm_type ||
                                     type == &quadterm_type || type == &expression_type ||
                                     type == &nonlinear_type;
    if (!tracked_when_needed || PyObject_GC_IsTracked(object)) return true;
    return Py_REFCNT(object) > kReferencesOfPassedOperand && grows_in_place(object);
}

}  // namespace quilex
