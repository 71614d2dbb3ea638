// The library's form of a row's sides, and the way back.
#pragma once

#include "model/var.hpp"

namespace quilex {

// The library's form of lower <= body <= upper.
struct RowSide {
    char type;  // 'L', 'G', 'E', 'R' or 'N'
    double rhs;
    double range;  // of 'R' rows: upper - lower
};

struct RowBounds {
    double lower;
    double upper;
    bool operator==(const RowBounds&) const = default;
};

// Type, right-hand side and range of a row; `rhs` is minus the body's constant and gets the bound
// added.
inline RowSide getRhsSense(double lower, double upper, double rhs) noexcept {
    if (lower <= -kInfinity) {
        return upper < kInfinity ? RowSide{'L', rhs + upper, 0.0} : RowSide{'N', rhs, 0.0};
    }
    if (upper >= kInfinity) return {'G', rhs + lower, 0.0};
    if (upper == lower) return {'E', rhs + lower, 0.0};
    return {'R', rhs + upper, upper - lower};
}

// The bounds of a row whose body has no constant. Those of 'R' rows may differ in the last bit from
// the bounds that the row was made of.
inline RowBounds bounds_of(const RowSide& side) noexcept {
    switch (side.type) {
        case 'L':
            return {-kInfinity, side.rhs};
        case 'G':
            return {side.rhs, kInfinity};
        case 'E':
            return {side.rhs, side.rhs};
        case 'R':
            return {side.rhs - side.range, side.rhs};
        default:
            return {-kInfinity, kInfinity};
    }
}

}  // namespace quilex
