// Reduced costs and complementarity, computed from the model store.
#include "engine/check/dual_check.hpp"

#include <algorithm>
#include <cmath>

#include "engine/base/index.hpp"

namespace qlx {

namespace {

// What the coefficients' own rounding and that of a factor's solves can leave of a number that is
// 0, beside what it was added up from. A true one of this size could not be told from it.
constexpr double kRounding = 1e-12;

double row_scale(Model& model, int row, const std::vector<double>& x) {
    const auto columns = model.matrix().row_columns(row);
    const auto values = model.matrix().row_values(row);
    double scale = 0;
    for (std::size_t k = 0; k < columns.size(); ++k)
        scale += std::fabs(values[k] * x[at(columns[k])]);
    return scale;
}

// Whether a row's dual is rounding in every column that it takes part in.
bool is_negligible(Model& model, int row, double dual, const ReducedCosts& djs) {
    const auto columns = model.matrix().row_columns(row);
    const auto values = model.matrix().row_values(row);
    for (std::size_t k = 0; k < columns.size(); ++k)
        if (std::fabs(dual * values[k]) > kRounding * djs.scale[at(columns[k])]) return false;
    return true;
}

}  // namespace

void drop_impossible_duals(const Model& model, std::vector<double>& duals) {
    const double sign = model.sense() < 0 ? -1.0 : 1.0;
    for (std::size_t row = 0; row < duals.size(); ++row) {
        if (duals[row] == 0) continue;
        const Sides sides = model.relaxed_sides(static_cast<int>(row));
        const double side = sign * duals[row] > 0 ? sides.lower : sides.upper;
        if (std::fabs(side) >= kInfinity) duals[row] = 0;
    }
}

ReducedCosts reduced_costs(Model& model, const std::vector<double>& duals) {
    ReducedCosts djs;
    djs.value = djs.scale = model.obj();
    for (double& size : djs.scale) size = std::fabs(size);
    const auto& starts = model.matrix().starts();
    const auto& columns = model.matrix().columns();
    const auto& values = model.matrix().values();
    for (std::size_t row = 0; row < duals.size(); ++row) {
        const double dual = duals[row];
        if (dual == 0) continue;
        for (auto k = at(starts[row]); k < at(starts[row + 1]); ++k) {
            const double term = dual * values[k];
            djs.value[at(columns[k])] -= term;
            djs.scale[at(columns[k])] += std::fabs(term);
        }
    }
    return djs;
}

DualCheck check_duals(Model& model, const std::vector<double>& x,
                      const std::vector<double>& activities, double objective,
                      const std::vector<double>& duals, const ReducedCosts& djs) {
    DualCheck check;
    // Minimising, a multiplier above 0 pairs with the lower side, below 0 with the upper one.
    const double sign = model.sense() < 0 ? -1.0 : 1.0;
    const auto pair = [&](double multiplier, double value, const Sides& sides, const auto& scale) {
        const double side = sign * multiplier > 0 ? sides.lower : sides.upper;
        const double distance = std::fabs(value - side);
        if (std::fabs(side) >= kInfinity)
            check.infeasibility = std::max(check.infeasibility, std::fabs(multiplier));
        else if (!(distance <= kRounding * scale()))
            check.gap += std::fabs(multiplier) * distance;
    };
    for (std::size_t k = 0; k < duals.size(); ++k) {
        const int row = static_cast<int>(k);
        if (duals[k] != 0 && !is_negligible(model, row, duals[k], djs))
            pair(duals[k], activities[k], model.relaxed_sides(row),
                 [&] { return row_scale(model, row, x); });
    }
    double largest_cost = 0;
    for (std::size_t k = 0; k < x.size(); ++k) {
        largest_cost = std::max(largest_cost, std::fabs(model.obj()[k]));
        if (!(std::fabs(djs.value[k]) <= kRounding * djs.scale[k]))
            pair(djs.value[k], x[k], model.relaxed_bounds(static_cast<int>(k)),
                 [&] { return std::fabs(x[k]); });
    }
    check.infeasibility /= largest_cost > 0 ? largest_cost : 1;
    check.gap /= 1 + std::fabs(objective);
    return check;
}

}  // namespace qlx
