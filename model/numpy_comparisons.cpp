// Comparisons of numpy arrays that hold modelling objects give arrays of constraints.
#include "model/numpy_comparisons.hpp"

#include "model/numpy_comparison_ways.hpp"
#include "model/numpy_model_ufuncs.hpp"
#include "module/boundary.hpp"

namespace quilex {

namespace {

bool installed = false;

void install() {
    create_model_ufuncs();
    if (has_operator_table()) {
        install_in_operator_table();
    } else {
        install_in_array_types();
    }
    installed = true;
}

void restore() {
    if (has_operator_table()) {
        restore_operator_table();
    } else {
        restore_array_types();
    }
}

}  // namespace

int install_numpy_comparisons() noexcept {
    if (installed) return 0;
    if (guarded(install)) return 0;
    release_model_ufuncs();
    return -1;
}

int restore_numpy_comparisons() noexcept {
    if (!std::exchange(installed, false)) return 0;
    const bool restored = guarded(restore);
    release_model_ufuncs();
    return restored ? 0 : -1;
}

Ref compare_with_array(PyObject* object, PyObject* array, int op) {
    const int index = model_comparison_index(op);
    if (index < 0 || !has_model_ufuncs()) return Ref::share(Py_NotImplemented);
    return call_model_ufunc(index, object, array);
}

}  // namespace quilex
