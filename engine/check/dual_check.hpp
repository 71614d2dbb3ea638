// Our own optimality test of a linear program's solution.
#pragma once

#include <vector>

#include "engine/data/model.hpp"

namespace qlx {

struct ReducedCosts {
    std::vector<double> value;
    std::vector<double> scale;  // sum of the sizes of what was added up
};

struct DualCheck {
    double infeasibility = 0;  // largest multiplier of an infinite side, over the largest cost
    double gap = 0;            // sum of |multiplier * distance from its side| / (1 + |objective|)
};

// Takes out duals whose side does not exist, of free rows for example: however small, times large
// coefficients they would hide reduced costs that are not 0.
void drop_impossible_duals(const Model& model, std::vector<double>& duals);

// Objective coefficient - sum of dual * coefficient, by column.
[[nodiscard]] ReducedCosts reduced_costs(Model& model, const std::vector<double>& duals);

// Complementarity of a feasible point, its activities, and duals: every multiplier's own side is
// where the point is. The gap bounds how far the objective is from the best one, whatever cancels
// in it. A multiplier or a distance that is rounding beside what it was added up from counts as 0:
// the far bound of a large column would make a gap of it.
[[nodiscard]] DualCheck check_duals(Model& model, const std::vector<double>& x,
                                    const std::vector<double>& activities, double objective,
                                    const std::vector<double>& duals, const ReducedCosts& djs);

}  // namespace qlx
