// Comparisons of numpy arrays that hold modelling objects.
#include "module/numpy_comparisons.hpp"

namespace quilex {

int install_numpy_comparisons() noexcept {
    return 0;
}
int restore_numpy_comparisons() noexcept {
    return 0;
}

}  // namespace quilex
