// Proofs that a program has no optimum, checked by our own arithmetic, and the programs whose
// optima are such proofs.
//
// One policy of tolerances holds for all of them. Multipliers and directions come from solvers that
// work to about 1e-9, so a sum counts as 0 where it is at most 1e-9 of the sizes of the terms that
// it was summed from; nothing is compared to a figure of absolute size, so that the units of
// columns and rows do not matter. What a direction is said to do, to let the cost fall or to leave
// a condition behind, has to be 1e-7 of the terms, well above what is neglected. Such a zero is
// harmless within a radius only: a proof of infeasibility must hold for all |x| <= 1e7 in spite of
// what it neglects.
#pragma once

#include <cmath>
#include <span>
#include <vector>

#include "engine/check/matrix_view.hpp"

namespace qlx {

// A sum of terms, with the sum of their sizes.
struct Tally {
    double sum = 0;
    double size = 0;
    void add(double term) noexcept {
        sum += term;
        size += std::fabs(term);
    }
    // Beyond rounding.
    [[nodiscard]] bool is_positive() const noexcept;
    [[nodiscard]] bool is_negative() const noexcept;
};

// Farkas: multipliers y of the rows prove infeasibility when the least value of y'(Ax) that the
// rows' sides allow is above the largest value of (A'y)'x that the columns' bounds allow. Either
// sign of the multipliers is tried; those that need an infinite side count as 0.
[[nodiscard]] bool proves_infeasible(const ProgramView& program,
                                     std::span<const double> multipliers);

// The direction, without what rounding left in it, if no bound or row ends the way of a feasible
// point along it; else empty.
[[nodiscard]] std::vector<double> recession_direction(const ProgramView& program,
                                                      std::span<const double> direction);
// Whether the cost falls, or rises, along the direction.
[[nodiscard]] bool falls_along(const ProgramView& program, std::span<const double> direction);
[[nodiscard]] bool rises_along(const ProgramView& program, std::span<const double> direction);

// A recession direction along which the cost falls, from the one given or its opposite; else empty.
// With a feasible point it proves unboundedness.
[[nodiscard]] std::vector<double> improving_ray(const ProgramView& program,
                                                std::span<const double> direction);

// The rows' and the columns' conditions that the direction leaves ever further behind: one flag
// each. What is true of a point far enough along it is not decided by them.
struct Loosened {
    std::vector<bool> rows, columns;
    [[nodiscard]] bool any() const noexcept;
};
[[nodiscard]] Loosened loosened_along(const ProgramView& program,
                                      std::span<const double> direction);

// Phase one: the program's columns, then one for every finite side of a row that is its violation,
// in units of the row's largest entry; the cost is their sum. Where the optimum is above 0, the
// duals of the rows are Farkas multipliers.
[[nodiscard]] LinearStatement elastic_program(const ProgramView& program);

// The directions of entries within -1 .. 1 that no bound or row ends; the cost is the program's in
// units of its largest entry, and rows are in units of theirs.
[[nodiscard]] LinearStatement recession_program(const ProgramView& program);

// The same directions without a rise of the cost, and beyond them one column a condition with one
// side, at most 1, that says how far the direction leaves it behind; their sum is maximised.
[[nodiscard]] LinearStatement loosening_program(const ProgramView& program);

}  // namespace qlx
