// Geometric scaling to powers of 2.
#include "engine/check/equilibration.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qlx {

Scaling equilibrate(const MatrixView& matrix) {
    constexpr int kPasses = 6;
    Scaling scaling;
    scaling.rows.assign(at(matrix.num_rows), 1.0);
    scaling.columns.assign(at(matrix.num_columns), 1.0);
    for (int pass = 0; pass < kPasses; ++pass) {
        const bool by_row = pass % 2 == 0;
        std::vector<double>& scale = by_row ? scaling.rows : scaling.columns;
        std::vector<double> least(scale.size(), std::numeric_limits<double>::infinity());
        std::vector<double> most(scale.size(), 0.0);
        matrix.for_each_entry([&](int row, int column, double value) {
            const double size =
                std::fabs(value) * scaling.rows[at(row)] * scaling.columns[at(column)];
            const std::size_t line = at(by_row ? row : column);
            if (size > 0) least[line] = std::min(least[line], size);
            most[line] = std::max(most[line], size);
        });
        for (std::size_t line = 0; line < scale.size(); ++line)
            if (most[line] > 0) scale[line] /= std::sqrt(least[line]) * std::sqrt(most[line]);
    }
    for (std::vector<double>* scale : {&scaling.rows, &scaling.columns})
        for (double& factor : *scale) factor = std::exp2(std::round(std::log2(factor)));
    return scaling;
}

}  // namespace qlx
