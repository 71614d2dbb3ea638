// Matrices turned from rows to columns.
#include "engine/check/matrix_view.hpp"

namespace qlx {

void MatrixView::write_columns(std::vector<int>& starts, std::vector<int>& rows,
                               std::vector<double>& values) const {
    starts.assign(at(num_columns) + 1, 0);
    for_each_entry([&](int, int column, double) { ++starts[at(column) + 1]; });
    for (std::size_t column = 1; column < starts.size(); ++column)
        starts[column] += starts[column - 1];
    rows.resize(at(starts.back()));
    values.resize(rows.size());
    std::vector<int> next(starts.begin(), starts.end() - 1);
    for_each_entry([&](int row, int column, double entry) {
        const std::size_t place = at(next[at(column)]++);
        rows[place] = row;
        values[place] = entry;
    });
}

}  // namespace qlx
