// A linear program as the proofs read it, whoever stores it.
#pragma once

#include <cmath>
#include <cstdint>
#include <span>
#include <variant>
#include <vector>

#include "engine/base/index.hpp"
#include "engine/base/infinity.hpp"

namespace qlx {

[[nodiscard]] inline bool is_finite_side(double side) noexcept {
    return std::fabs(side) < kInfinity;
}

// A sparse matrix compressed by rows or by columns; start has one place more than there are of
// those. Entries of at most `dropped` in size count as 0.
struct MatrixView {
    int num_rows = 0;
    int num_columns = 0;
    bool by_rows = false;
    std::variant<std::span<const int>, std::span<const std::int64_t>> start;
    std::span<const int> index;  // columns where compressed by rows, else rows
    std::span<const double> value;
    double dropped = 0;

    template <class Act>
    void for_each_entry(Act&& act) const {
        std::visit(
            [&](const auto& starts) {
                const int lines = by_rows ? num_rows : num_columns;
                for (int line = 0; line < lines; ++line)
                    for (auto k = at(starts[at(line)]); k < at(starts[at(line) + 1]); ++k) {
                        if (std::fabs(value[k]) <= dropped) continue;
                        if (by_rows)
                            act(line, index[k], value[k]);
                        else
                            act(index[k], line, value[k]);
                    }
            },
            start);
    }
    // A copy compressed by columns, in arrays of int.
    void write_columns(std::vector<int>& starts, std::vector<int>& rows,
                       std::vector<double>& values) const;
};

// minimise cost'x, row_lower <= Ax <= row_upper, lower <= x <= upper; sides of 1e20 and beyond are
// infinite.
struct ProgramView {
    MatrixView matrix;
    std::span<const double> cost, lower, upper;
    std::span<const double> row_lower, row_upper;
};

// A linear program of its own arrays, by columns.
struct LinearStatement {
    std::vector<double> cost, lower, upper;
    std::vector<double> row_lower, row_upper;
    std::vector<int> start = {0};
    std::vector<int> row;
    std::vector<double> value;

    [[nodiscard]] ProgramView view() const noexcept;
};

}  // namespace qlx
