// Phase one and the search for recession directions, as linear programs.
#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/check/proof.hpp"

namespace qlx {

namespace {

// The largest entries of the rows; 1 for rows without any.
std::vector<double> row_sizes(const MatrixView& matrix) {
    std::vector<double> sizes(at(matrix.num_rows), 0.0);
    matrix.for_each_entry([&](int row, int, double value) {
        sizes[at(row)] = std::max(sizes[at(row)], std::fabs(value));
    });
    for (double& size : sizes) size = size > 0 ? size : 1;
    return sizes;
}

// The view's matrix by columns; rows are divided by what is given for them.
void take_matrix(const MatrixView& matrix, std::span<const double> divisors, LinearStatement& out) {
    matrix.write_columns(out.start, out.row, out.value);
    for (std::size_t k = 0; k < out.row.size(); ++k) out.value[k] /= divisors[at(out.row[k])];
}

void add_column(LinearStatement& out, double cost, double lower, double upper) {
    out.cost.push_back(cost);
    out.lower.push_back(lower);
    out.upper.push_back(upper);
    out.start.push_back(static_cast<int>(out.row.size()));
}

void add_entry(LinearStatement& out, int row, double value) {
    out.row.push_back(row);
    out.value.push_back(value);
}

std::vector<double> cone_sides(std::span<const double> sides, double reach) {
    std::vector<double> out;
    out.reserve(sides.size());
    for (const double side : sides) out.push_back(is_finite_side(side) ? 0.0 : reach);
    return out;
}

// -1, 1 or 0: which of the two sides is the only finite one.
int single_side(double lower, double upper) {
    return static_cast<int>(is_finite_side(upper)) - static_cast<int>(is_finite_side(lower));
}

}  // namespace

ProgramView LinearStatement::view() const noexcept {
    ProgramView out;
    out.matrix.num_rows = static_cast<int>(row_lower.size());
    out.matrix.num_columns = static_cast<int>(cost.size());
    out.matrix.start = std::span<const int>(start);
    out.matrix.index = row;
    out.matrix.value = value;
    out.cost = cost;
    out.lower = lower;
    out.upper = upper;
    out.row_lower = row_lower;
    out.row_upper = row_upper;
    return out;
}

LinearStatement elastic_program(const ProgramView& program) {
    LinearStatement out;
    out.cost.assign(program.cost.size(), 0.0);
    out.lower.assign(program.lower.begin(), program.lower.end());
    out.upper.assign(program.upper.begin(), program.upper.end());
    out.row_lower.assign(program.row_lower.begin(), program.row_lower.end());
    out.row_upper.assign(program.row_upper.begin(), program.row_upper.end());
    take_matrix(program.matrix, std::vector<double>(out.row_lower.size(), 1.0), out);
    const std::vector<double> sizes = row_sizes(program.matrix);
    for (int row = 0; row < program.matrix.num_rows; ++row) {
        const auto add_violation = [&](double entry) {
            add_entry(out, row, entry);
            add_column(out, 1, 0, kInfinity);
        };
        if (is_finite_side(program.row_lower[at(row)])) add_violation(sizes[at(row)]);
        if (is_finite_side(program.row_upper[at(row)])) add_violation(-sizes[at(row)]);
    }
    return out;
}

LinearStatement recession_program(const ProgramView& program) {
    LinearStatement out;
    double largest = 0;
    for (const double cost : program.cost) largest = std::max(largest, std::fabs(cost));
    for (const double cost : program.cost) out.cost.push_back(largest > 0 ? cost / largest : 0.0);
    out.lower = cone_sides(program.lower, -1);
    out.upper = cone_sides(program.upper, 1);
    out.row_lower = cone_sides(program.row_lower, -kInfinity);
    out.row_upper = cone_sides(program.row_upper, kInfinity);
    take_matrix(program.matrix, row_sizes(program.matrix), out);
    return out;
}

LinearStatement loosening_program(const ProgramView& program) {
    const LinearStatement cone = recession_program(program);
    LinearStatement out;
    out.row_lower = cone.row_lower;
    out.row_upper = cone.row_upper;
    const int cost_row = static_cast<int>(out.row_lower.size());
    out.row_lower.push_back(-kInfinity);
    out.row_upper.push_back(0);
    // Columns as they are, with the cost as a row.
    for (std::size_t j = 0; j < cone.cost.size(); ++j) {
        for (auto k = at(cone.start[j]); k < at(cone.start[j + 1]); ++k)
            add_entry(out, cone.row[k], cone.value[k]);
        if (cone.cost[j] != 0) add_entry(out, cost_row, cone.cost[j]);
        add_column(out, 0, cone.lower[j], cone.upper[j]);
        // A bound that the direction can leave behind counts by the step itself.
        if (const int side = single_side(program.lower[j], program.upper[j]); side != 0)
            out.cost.back() = side;
    }
    for (int row = 0; row < program.matrix.num_rows; ++row) {
        const int side = single_side(program.row_lower[at(row)], program.row_upper[at(row)]);
        if (side == 0) continue;
        add_entry(out, row, side);
        add_column(out, -1, 0, 1);
    }
    return out;
}

}  // namespace qlx
