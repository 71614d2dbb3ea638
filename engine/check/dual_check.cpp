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

// In how many of the columns that it takes part in a row's dual is rounding.
std::size_t columns_of_rounding(Model& model, int row, double dual, const ReducedCosts& djs) {
    const auto columns = model.matrix().row_columns(row);
    const auto values = model.matrix().row_values(row);
    std::size_t count = 0;
    for (std::size_t k = 0; k < columns.size(); ++k)
        if (std::fabs(dual * values[k]) <= kRounding * djs.scale[at(columns[k])]) ++count;
    return count;
}

bool is_negligible(Model& model, int row, double dual, const ReducedCosts& djs) {
    return columns_of_rounding(model, row, dual, djs) == model.matrix().row_columns(row).size();
}

// The side that a multiplier belongs to: minimising, one above 0 holds the lower side, one below 0
// the upper one.
double own_side(const Model& model, double multiplier, const Sides& sides) {
    const double sign = model.sense() < 0 ? -1.0 : 1.0;
    return sign * multiplier > 0 ? sides.lower : sides.upper;
}

}  // namespace

void drop_impossible_duals(const Model& model, std::vector<double>& duals) {
    for (std::size_t row = 0; row < duals.size(); ++row)
        if (duals[row] != 0 &&
            std::fabs(own_side(model, duals[row], model.relaxed_sides(static_cast<int>(row)))) >=
                kInfinity)
            duals[row] = 0;
}

bool drop_rounding_duals(Model& model, std::vector<double>& duals, const ReducedCosts& djs) {
    bool dropped = false;
    for (std::size_t k = 0; k < duals.size(); ++k) {
        if (duals[k] == 0 || columns_of_rounding(model, static_cast<int>(k), duals[k], djs) == 0)
            continue;
        duals[k] = 0;
        dropped = true;
    }
    return dropped;
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
    const auto pair = [&](double multiplier, double side, double value, const auto& scale) {
        const double distance = std::fabs(value - side);
        if (!(distance <= kRounding * scale())) check.gap += std::fabs(multiplier) * distance;
    };
    for (std::size_t k = 0; k < duals.size(); ++k) {
        const int row = static_cast<int>(k);
        if (duals[k] == 0 || is_negligible(model, row, duals[k], djs)) continue;
        const double side = own_side(model, duals[k], model.relaxed_sides(row));
        if (std::fabs(side) >= kInfinity)
            check.infeasibility = 1;
        else
            pair(duals[k], side, activities[k], [&] { return row_scale(model, row, x); });
    }
    for (std::size_t k = 0; k < x.size(); ++k) {
        if (std::fabs(djs.value[k]) <= kRounding * djs.scale[k]) continue;
        const double side =
            own_side(model, djs.value[k], model.relaxed_bounds(static_cast<int>(k)));
        if (std::fabs(side) >= kInfinity)
            check.infeasibility =
                std::max(check.infeasibility, std::fabs(djs.value[k]) / djs.scale[k]);
        else
            pair(djs.value[k], side, x[k], [&] { return std::fabs(x[k]); });
    }
    check.gap /= 1 + std::fabs(objective);
    return check;
}

}  // namespace qlx
