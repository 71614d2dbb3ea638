// Units in which a program with convex rows is of about equal size everywhere.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/barrier_problem.hpp"

namespace qlx::quad {

// What the parts of a program are divided by; columns are column[j] times the scaled ones. All are
// powers of two, so that nothing is rounded.
struct ConeScaling {
    std::vector<double> column;
    std::vector<double> row;       // linear rows
    std::vector<double> cone_row;  // convex rows in the units of their seminorm: its root
    double objective = 1.0;

    // The largest factor by which it multiplies or divides.
    double spread() const noexcept;
    ConeProgram apply(const ConeProgram& program) const;

    // A linear row's dual, and a convex row's as a seminorm or as a quadratic function.
    double row_dual(std::size_t i, double dual) const { return dual * objective / row[i]; }
    double cone_dual(std::size_t r, double dual, bool seminorm) const {
        return dual * objective / (seminorm ? cone_row[r] : cone_row[r] * cone_row[r]);
    }
};

ConeScaling find_scaling(const ConeProgram& program);

}  // namespace qlx::quad
