// What the subproblems of one iteration are made of, and the sets of sides they work on.
#pragma once

#include <cmath>
#include <vector>

#include "engine/base/index.hpp"
#include "engine/nlp/slp/scaled_problem.hpp"

namespace qlx::nlp::slp {

// A side of a row, or a bound of a column.
struct Side {
    int index;
    bool upper;
};

// Sides that the equality-constrained step keeps to.
struct WorkingSet {
    std::vector<Side> rows;
    std::vector<Side> columns;

    void clear() noexcept {
        rows.clear();
        columns.clear();
    }
};

struct Linearisation {
    const ScaledProblem& problem;
    const Iterate& at;
    const Vector& gradient;  // of what is minimised beside the violation: 0 in a restoration
    const Vector& scale;     // lengths of columns; steps are measured after division by them

    // What the step to a side has to be.
    [[nodiscard]] double row_gap(Side side) const {
        return (side.upper ? problem.row_upper : problem.row_lower)[side.index] -
               at.rows[side.index];
    }
    [[nodiscard]] double column_gap(Side side) const {
        return (side.upper ? problem.upper : problem.lower)[side.index] - at.x[side.index];
    }
};

// The step of a linear or convex quadratic model in a box, with the rows' violation as a penalty.
struct FirstStep {
    Vector d;
    Vector y;  // duals of the rows
    std::vector<char> row_is_active;
    std::vector<char> column_is_active;
    double residue = 0;  // violation that the linearised rows are left with
    // The least violation of the linearised rows in the box; not a number where nobody asked.
    double least_residue = std::nan("");
};

}  // namespace qlx::nlp::slp
