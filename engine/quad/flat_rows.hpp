// Convex rows that leave no interior, such as a sum of squares at most zero.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/quadratic_row.hpp"

namespace qlx::quad {

enum class Flatness {
    kSolid,       // the row has an interior, or that is not certain either way
    kFlat,        // its side is its least value: it holds where the equations do
    kImpossible,  // its side is below its least value
};

struct LinearEquation {
    std::vector<int> columns;
    std::vector<double> coefficients;  // the largest is 1 in size
    double value = 0.0;
};

struct FlatRow {
    Flatness flatness = Flatness::kSolid;
    std::vector<LinearEquation> equations;
};

// For rows of the shape ellipsoid.
FlatRow flatten(const ConvexRow& row, std::span<const double> column_lower,
                std::span<const double> column_upper);

}  // namespace qlx::quad
