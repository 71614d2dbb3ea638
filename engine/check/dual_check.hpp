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
    // Largest multiplier of an infinite side, over the sizes of its own summands: beside the costs
    // of other columns nothing can be said of it, as their units are others.
    double infeasibility = 0;
    double gap = 0;  // sum of |multiplier * distance from its side| / (1 + |objective|)
};

// Takes out duals whose side does not exist, of free rows for example: however small, times large
// coefficients they would hide reduced costs that are not 0.
void drop_impossible_duals(const Model& model, std::vector<double>& duals);

// Takes out duals that are rounding in some column that they take part in; false where there are
// none. Where they were computed from other columns they are none, so this is worth a try only.
bool drop_rounding_duals(Model& model, std::vector<double>& duals, const ReducedCosts& djs);

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
