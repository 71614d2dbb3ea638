// Scaling of matrices.
#pragma once

#include <vector>

#include "engine/check/matrix_view.hpp"

namespace qlx {

struct Scaling {
    std::vector<double> rows, columns;  // factors, powers of 2
};

// Geometric means of the least and the largest entries, rows and columns in turns.
[[nodiscard]] Scaling equilibrate(const MatrixView& matrix);

}  // namespace qlx
