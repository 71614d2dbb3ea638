// A point of a model, and how far it violates a row.
#pragma once

#include <vector>

#include "engine/data/model.hpp"

namespace qlx {

struct Point {
    const double* x;
    const std::vector<double>& activities;  // of all rows, quadratic terms included
};

// How far a value is outside an interval; infinite ends are +-1e20.
[[nodiscard]] double outside(double value, double lower, double upper) noexcept;
[[nodiscard]] double distance_to_integer(double value) noexcept;
// What a distance from a number is measured by: 1, or what of the number is lost to rounding.
[[nodiscard]] double rounding_unit(double value) noexcept;
// Violation of a row's sides, relative to 1 + the magnitude of what was added up.
[[nodiscard]] double row_violation(Model& model, int row, const Point& point);

}  // namespace qlx
