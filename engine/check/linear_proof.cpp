// Checks of Farkas multipliers and improving rays.
#include "engine/check/linear_proof.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qlx {

namespace {

constexpr double kRounding = 1e-9;  // relative to the magnitude of what was added up
constexpr double kRadius = 1e7;     // of the columns without bounds

bool is_finite(double side) {
    return std::fabs(side) < kInfinity;
}

double largest(const std::vector<double>& values) {
    double result = 0;
    for (const double value : values) result = std::max(result, std::fabs(value));
    return result;
}

// A sum with the magnitude of its terms.
struct Tally {
    double sum = 0;
    double magnitude = 0;
    void add(double term) {
        sum += term;
        magnitude += std::fabs(term);
    }
};

// A'y with the magnitude of each sum.
std::vector<Tally> combine_rows(Model& model, const std::vector<double>& multipliers,
                                double matrix_tolerance) {
    std::vector<Tally> combined(model.lb().size());
    for (int row = 0; row < model.num_rows(); ++row) {
        const double multiplier = multipliers[static_cast<std::size_t>(row)];
        if (multiplier == 0) continue;
        const auto columns = model.matrix().row_columns(row);
        const auto values = model.matrix().row_values(row);
        for (std::size_t k = 0; k < columns.size(); ++k)
            if (std::fabs(values[k]) > matrix_tolerance)
                combined[static_cast<std::size_t>(columns[k])].add(multiplier * values[k]);
    }
    return combined;
}

// The multipliers whose row has the side that they need; sums up the least activity they allow.
std::vector<double> usable_multipliers(const Model& model, const std::vector<double>& given,
                                       double factor, Tally& least) {
    std::vector<double> multipliers(given.size(), 0.0);
    for (std::size_t row = 0; row < given.size(); ++row) {
        const Sides sides = model.relaxed_sides(static_cast<int>(row));
        const double multiplier = factor * given[row];
        const double side = multiplier > 0 ? sides.lower : sides.upper;
        if (multiplier == 0 || !is_finite(side)) continue;
        multipliers[row] = multiplier;
        least.add(multiplier * side);
    }
    return multipliers;
}

bool proves_infeasible_with(Model& model, const std::vector<double>& given, double factor,
                            double matrix_tolerance) {
    Tally gap;
    const std::vector<double> multipliers = usable_multipliers(model, given, factor, gap);
    const std::vector<Tally> combined = combine_rows(model, multipliers, matrix_tolerance);
    double neglected = 0;
    for (std::size_t col = 0; col < combined.size(); ++col) {
        const double coefficient = combined[col].sum;
        if (coefficient == 0) continue;
        const Sides bounds = model.relaxed_bounds(static_cast<int>(col));
        const double bound = coefficient > 0 ? bounds.upper : bounds.lower;
        if (is_finite(bound))
            gap.add(-coefficient * bound);
        else if (std::fabs(coefficient) <= kRounding * combined[col].magnitude)
            neglected += std::fabs(coefficient);
        else
            return false;
    }
    return gap.sum > kRounding * gap.magnitude && gap.sum > kRadius * neglected;
}

// Whether a movement of this size is impossible, given what was added up to it.
bool leaves(double movement, double noise, double lower, double upper) {
    if (std::fabs(movement) <= kRounding * noise) return false;
    return movement > 0 ? is_finite(upper) : is_finite(lower);
}

bool improves_forever(Model& model, const std::vector<double>& given, double factor,
                      double matrix_tolerance) {
    const double longest = largest(given);
    std::vector<double> direction(given.size(), 0.0);
    Tally progress;
    for (std::size_t col = 0; col < given.size(); ++col) {
        const Sides bounds = model.relaxed_bounds(static_cast<int>(col));
        const double step = factor * given[col];
        if (leaves(step, longest, bounds.lower, bounds.upper)) return false;
        // What rounding left against a bound is taken out, so that bounds hold exactly.
        if (is_finite(step > 0 ? bounds.upper : bounds.lower)) continue;
        direction[col] = step;
        progress.add(model.sense() * model.obj()[col] * step);
    }
    if (!(progress.sum < -kRounding * progress.magnitude)) return false;
    for (int row = 0; row < model.num_rows(); ++row) {
        const auto columns = model.matrix().row_columns(row);
        const auto values = model.matrix().row_values(row);
        Tally movement;
        for (std::size_t k = 0; k < columns.size(); ++k)
            if (std::fabs(values[k]) > matrix_tolerance)
                movement.add(values[k] * direction[static_cast<std::size_t>(columns[k])]);
        const Sides sides = model.relaxed_sides(row);
        if (leaves(movement.sum, movement.magnitude, sides.lower, sides.upper)) return false;
    }
    return true;
}

}  // namespace

bool proves_infeasible(Model& model, const std::vector<double>& multipliers,
                       double matrix_tolerance) {
    if (multipliers.size() != model.rhs().size()) return false;
    return proves_infeasible_with(model, multipliers, 1, matrix_tolerance) ||
           proves_infeasible_with(model, multipliers, -1, matrix_tolerance);
}

bool proves_improving_ray(Model& model, const std::vector<double>& direction,
                          double matrix_tolerance) {
    if (direction.size() != model.lb().size()) return false;
    return improves_forever(model, direction, 1, matrix_tolerance) ||
           improves_forever(model, direction, -1, matrix_tolerance);
}

}  // namespace qlx
