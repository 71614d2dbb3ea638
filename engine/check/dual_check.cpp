// Reduced costs and the dual objective, computed from the model store.
#include "engine/check/dual_check.hpp"

#include <cmath>
#include <cstddef>

namespace qlx {

std::vector<double> reduced_costs(Model& model, const std::vector<double>& duals) {
    std::vector<double> djs = model.obj();
    const auto& starts = model.matrix().starts();
    const auto& columns = model.matrix().columns();
    const auto& values = model.matrix().values();
    for (std::size_t row = 0; row < duals.size(); ++row) {
        const double dual = duals[row];
        if (dual == 0) continue;
        for (auto k = static_cast<std::size_t>(starts[row]);
             k < static_cast<std::size_t>(starts[row + 1]); ++k)
            djs[static_cast<std::size_t>(columns[k])] -= dual * values[k];
    }
    return djs;
}

DualCheck check_duals(const Model& model, double objective, const std::vector<double>& duals,
                      const std::vector<double>& djs) {
    DualCheck check;
    double dual_objective = model.constant();
    // Minimising, a multiplier above 0 pairs with the lower side, below 0 with the upper one.
    const double sign = model.sense() < 0 ? -1.0 : 1.0;
    const auto pair = [&](double multiplier, double lower, double upper) {
        if (multiplier == 0) return;
        const double side = sign * multiplier > 0 ? lower : upper;
        if (std::fabs(side) >= kInfinity)
            check.infeasibility = std::max(check.infeasibility, std::fabs(multiplier));
        else
            dual_objective += multiplier * side;
    };
    for (std::size_t row = 0; row < duals.size(); ++row) {
        const Sides sides = model.relaxed_sides(static_cast<int>(row));
        pair(duals[row], sides.lower, sides.upper);
    }
    double largest_cost = 0;
    for (std::size_t col = 0; col < djs.size(); ++col) {
        const Sides bounds = model.relaxed_bounds(static_cast<int>(col));
        pair(djs[col], bounds.lower, bounds.upper);
        largest_cost = std::max(largest_cost, std::fabs(model.obj()[col]));
    }
    check.infeasibility /= 1 + largest_cost;
    check.gap = std::fabs(objective - dual_objective) / (1 + std::fabs(objective));
    return check;
}

}  // namespace qlx
