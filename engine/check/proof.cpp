// Checks of Farkas multipliers and recession directions.
#include "engine/check/proof.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace qlx {

namespace {

constexpr double kRounding = 1e-9;  // of the sizes of the terms
constexpr double kProgress = 1e-7;  // the same, of what a direction is said to do
constexpr double kRadius = 1e7;     // of the columns without bounds

// Which part of the largest entry is rounding in a direction or in multipliers: each is tried, and
// what is left without entries up to it is checked as a whole.
constexpr std::array kShortest = {0.0, 1e-12, 1e-9, 1e-7};

std::vector<Tally> transposed_product(const MatrixView& matrix, std::span<const double> rows) {
    std::vector<Tally> out(at(matrix.num_columns));
    matrix.for_each_entry([&](int row, int column, double value) {
        if (rows[at(row)] != 0) out[at(column)].add(value * rows[at(row)]);
    });
    return out;
}

std::vector<Tally> product(const MatrixView& matrix, std::span<const double> columns) {
    std::vector<Tally> out(at(matrix.num_rows));
    matrix.for_each_entry([&](int row, int column, double value) {
        if (columns[at(column)] != 0) out[at(row)].add(value * columns[at(column)]);
    });
    return out;
}

std::vector<double> without_rounding(std::span<const double> given, double shortest) {
    double largest = 0;
    for (const double entry : given) largest = std::max(largest, std::fabs(entry));
    std::vector<double> out(given.begin(), given.end());
    for (double& entry : out)
        if (std::fabs(entry) <= shortest * largest) entry = 0;
    return out;
}

// The multipliers whose row has the side that they need; sums up the least activity they allow.
std::vector<double> usable_multipliers(const ProgramView& program, std::span<const double> given,
                                       double factor, Tally& least) {
    std::vector<double> multipliers(given.size(), 0.0);
    for (std::size_t row = 0; row < given.size(); ++row) {
        const double multiplier = factor * given[row];
        const double side = multiplier > 0 ? program.row_lower[row] : program.row_upper[row];
        if (multiplier == 0 || !is_finite_side(side)) continue;
        multipliers[row] = multiplier;
        least.add(multiplier * side);
    }
    return multipliers;
}

bool proves_infeasible_with(const ProgramView& program, std::span<const double> given,
                            double factor) {
    Tally gap;
    const std::vector<double> multipliers = usable_multipliers(program, given, factor, gap);
    const std::vector<Tally> combined = transposed_product(program.matrix, multipliers);
    double neglected = 0;
    for (std::size_t column = 0; column < combined.size(); ++column) {
        const Tally& coefficient = combined[column];
        if (coefficient.sum == 0) continue;
        const double bound = coefficient.sum > 0 ? program.upper[column] : program.lower[column];
        if (is_finite_side(bound))
            gap.add(-coefficient.sum * bound);
        else if (coefficient.is_positive() || coefficient.is_negative())
            return false;
        else
            neglected += std::fabs(coefficient.sum);
    }
    return gap.is_positive() && gap.sum > kRadius * neglected;
}

bool leaves(const Tally& movement, double lower, double upper) {
    return (movement.is_positive() && is_finite_side(upper)) ||
           (movement.is_negative() && is_finite_side(lower));
}

bool meets_rows(const ProgramView& program, std::span<const double> direction) {
    const std::vector<Tally> movement = product(program.matrix, direction);
    for (std::size_t row = 0; row < movement.size(); ++row)
        if (leaves(movement[row], program.row_lower[row], program.row_upper[row])) return false;
    return true;
}

Tally cost_along(const ProgramView& program, std::span<const double> direction) {
    Tally slope;
    for (std::size_t column = 0; column < direction.size(); ++column)
        slope.add(program.cost[column] * direction[column]);
    return slope;
}

// Bounds hold exactly: what is against one is taken out if it is rounding, and else it is no way.
bool clear_against_bounds(const ProgramView& program, double longest,
                          std::vector<double>& direction) {
    for (std::size_t column = 0; column < direction.size(); ++column) {
        double& step = direction[column];
        if (step == 0) continue;
        const double bound = step > 0 ? program.upper[column] : program.lower[column];
        if (!is_finite_side(bound)) continue;
        if (std::fabs(step) > kShortest.back() * longest) return false;
        step = 0;
    }
    return true;
}

}  // namespace

bool Tally::is_positive() const noexcept {
    return sum > kRounding * size;
}

bool Tally::is_negative() const noexcept {
    return sum < -kRounding * size;
}

bool proves_infeasible(const ProgramView& program, std::span<const double> multipliers) {
    if (multipliers.size() != program.row_lower.size()) return false;
    for (const double shortest : kShortest) {
        const std::vector<double> cleared = without_rounding(multipliers, shortest);
        if (proves_infeasible_with(program, cleared, 1) ||
            proves_infeasible_with(program, cleared, -1))
            return true;
    }
    return false;
}

std::vector<double> recession_direction(const ProgramView& program,
                                        std::span<const double> direction) {
    if (direction.size() != program.lower.size()) return {};
    double longest = 0;
    for (const double step : direction) longest = std::max(longest, std::fabs(step));
    for (const double shortest : kShortest) {
        std::vector<double> cleared = without_rounding(direction, shortest);
        if (!clear_against_bounds(program, longest, cleared)) return {};
        if (meets_rows(program, cleared)) return cleared;
    }
    return {};
}

bool falls_along(const ProgramView& program, std::span<const double> direction) {
    const Tally slope = cost_along(program, direction);
    return slope.sum < -kProgress * slope.size;
}

bool rises_along(const ProgramView& program, std::span<const double> direction) {
    return cost_along(program, direction).is_positive();
}

std::vector<double> improving_ray(const ProgramView& program, std::span<const double> direction) {
    std::vector<double> turned(direction.begin(), direction.end());
    for (int sign = 0; sign < 2; ++sign) {
        std::vector<double> ray = recession_direction(program, turned);
        if (!ray.empty() && falls_along(program, ray)) return ray;
        for (double& step : turned) step = -step;
    }
    return {};
}

bool Loosened::any() const noexcept {
    return std::find(rows.begin(), rows.end(), true) != rows.end() ||
           std::find(columns.begin(), columns.end(), true) != columns.end();
}

Loosened loosened_along(const ProgramView& program, std::span<const double> direction) {
    const auto is_loosened = [](const Tally& movement, double lower, double upper) {
        if (is_finite_side(lower) == is_finite_side(upper)) return false;
        const double least = kProgress * movement.size;
        return is_finite_side(lower) ? movement.sum > least : movement.sum < -least;
    };
    Loosened out;
    const std::vector<Tally> movement = product(program.matrix, direction);
    for (std::size_t row = 0; row < movement.size(); ++row)
        out.rows.push_back(
            is_loosened(movement[row], program.row_lower[row], program.row_upper[row]));
    for (std::size_t column = 0; column < direction.size(); ++column) {
        Tally step;
        step.add(direction[column]);
        out.columns.push_back(is_loosened(step, program.lower[column], program.upper[column]));
    }
    return out;
}

}  // namespace qlx
