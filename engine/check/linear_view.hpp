// A linear program as checks read it, whoever owns its arrays.
#pragma once

#include <cstdint>
#include <span>

namespace qlx {

// Rows that lie together; arrays are by row, starts has one entry more.
struct RowsView {
    std::span<const double> lower, upper;
    std::span<const std::int64_t> starts;
    std::span<const int> columns;
    std::span<const double> values;
};

// Minimise cost'x + constant over rows, which are numbered through all blocks, and bounds. Numbers
// of 1e20 and beyond are infinite.
struct LinearView {
    std::span<const double> cost, lower, upper;
    double constant = 0;
    std::span<const RowsView> rows;
};

}  // namespace qlx
