// Objects that the garbage collector need not see as long as they cannot be part of a cycle.
#include "model/lazy_tracking.hpp"

#include "model/expression.hpp"
#include "model/linterm.hpp"
#include "model/quadterm.hpp"
#include "nonlinear/node.hpp"

namespace quilex {

bool may_close_cycle(PyObject* object) noexcept {
    PyTypeObject* const type = Py_TYPE(object);
    if (!PyType_IS_GC(type)) return false;
    const bool tracked_when_needed = type == &var_type || type == &linterm_type ||
                                     type == &quadterm_type || type == &expression_type ||
                                     type == &nonlinear_type;
    return !tracked_when_needed || PyObject_GC_IsTracked(object);
}

}  // namespace quilex
