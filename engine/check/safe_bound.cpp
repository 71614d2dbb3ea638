// Weak duality in enclosed arithmetic, and bounds that rows imply.
#include "engine/check/safe_bound.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/base/index.hpp"
#include "engine/check/enclosed_sum.hpp"
#include "engine/data/model.hpp"

namespace qlx {

namespace {

constexpr double kNone = -std::numeric_limits<double>::infinity();

bool is_finite(double value) {
    return std::fabs(value) < kInfinity;
}

// Calls visit(number, lower, upper, columns, values) for every row.
template <class Visit>
void for_each_row(const LinearView& problem, const Visit& visit) {
    std::size_t number = 0;
    for (const RowsView& block : problem.rows) {
        for (std::size_t row = 0; row < block.lower.size(); ++row, ++number) {
            const auto first = at(block.starts[row]);
            const auto length = at(block.starts[row + 1]) - first;
            visit(number, block.lower[row], block.upper[row], block.columns.subspan(first, length),
                  block.values.subspan(first, length));
        }
    }
}

// Adds a product that is at most z * x for all z and x within their limits, of which those of z are
// finite. False where there is none.
bool add_least_product(EnclosedSum& sum, double z_lower, double z_upper, double lower,
                       double upper) {
    if (z_lower == 0 && z_upper == 0) return true;
    if ((z_upper > 0 && !is_finite(lower)) || (z_lower < 0 && !is_finite(upper))) return false;
    const double at_lower = lower >= 0 ? z_lower : z_upper;
    const double at_upper = upper >= 0 ? z_lower : z_upper;
    const auto is_less = [](double a, double b, double c, double d) {
        const double left = a * b;
        const double right = c * d;
        return left != right ? left < right : std::fma(a, b, -left) < std::fma(c, d, -right);
    };
    if (z_lower >= 0 || (z_upper > 0 && is_less(at_lower, lower, at_upper, upper)))
        sum.add_product(at_lower, lower);
    else
        sum.add_product(at_upper, upper);
    return true;
}

// The least value of the Lagrangian of factor * duals over the columns' bounds.
double least_lagrangian(const LinearView& problem, std::span<const double> costs, double constant,
                        std::span<const double> duals, double factor) {
    EnclosedSum least(constant);
    std::vector<EnclosedSum> reduced(problem.lower.size());
    for (std::size_t col = 0; col < costs.size(); ++col) reduced[col] = EnclosedSum(costs[col]);
    for_each_row(problem, [&](std::size_t row, double lower, double upper, const auto& columns,
                              const auto& values) {
        const double dual = factor * duals[row];
        const double side = dual > 0 ? lower : upper;
        if (dual == 0 || !std::isfinite(dual) || !is_finite(side)) return;
        least.add_product(dual, side);
        for (std::size_t k = 0; k < columns.size(); ++k)
            reduced[at(columns[k])].add_product(-dual, values[k]);
    });
    for (std::size_t col = 0; col < reduced.size(); ++col) {
        const double z_lower = reduced[col].below();
        const double z_upper = reduced[col].above();
        if (!std::isfinite(z_lower) || !std::isfinite(z_upper) ||
            !add_least_product(least, z_lower, z_upper, problem.lower[col], problem.upper[col]))
            return kNone;
    }
    return least.below();
}

// What is left of a row's upper side (sign 1) or negated lower one (sign -1) when every column is
// at the bound where it takes least; columns without that bound are counted, not summed up.
struct Room {
    EnclosedSum left;
    int unbounded = 0;
    int last = -1;  // such a column
};

Room room_of(double side, double sign, std::span<const int> columns, std::span<const double> values,
             std::span<const double> lower, std::span<const double> upper) {
    Room room{EnclosedSum(sign * side)};
    for (std::size_t k = 0; k < columns.size(); ++k) {
        const double coefficient = sign * values[k];
        const double bound = coefficient > 0 ? lower[at(columns[k])] : upper[at(columns[k])];
        if (is_finite(bound)) {
            room.left.add_product(-coefficient, bound);
        } else {
            ++room.unbounded;
            room.last = columns[k];
        }
    }
    return room;
}

// Gives columns the bound that one side of a row implies, where they have none.
bool imply_from_side(double side, double sign, std::span<const int> columns,
                     std::span<const double> values, std::vector<double>& lower,
                     std::vector<double>& upper) {
    if (!is_finite(side)) return false;
    const Room room = room_of(side, sign, columns, values, lower, upper);
    if (room.unbounded > 1) return false;
    bool found = false;
    for (std::size_t k = 0; k < columns.size(); ++k) {
        const auto col = at(columns[k]);
        const double coefficient = sign * values[k];
        double& wanted = coefficient > 0 ? upper[col] : lower[col];
        if (is_finite(wanted) || (room.unbounded == 1 && room.last != columns[k])) continue;
        EnclosedSum left = room.left;
        if (room.unbounded == 0)
            left.add_product(coefficient, coefficient > 0 ? lower[col] : upper[col]);
        const double bound = left.above() / coefficient;
        if (!(std::fabs(bound) < 1e15)) continue;
        wanted = std::nextafter(bound, coefficient > 0 ? kInfinity : -kInfinity);
        found = true;
    }
    return found;
}

}  // namespace

double safe_bound(const LinearView& problem, std::span<const double> duals) {
    return least_lagrangian(problem, problem.cost, problem.constant, duals, 1);
}

bool safely_infeasible(const LinearView& problem, std::span<const double> multipliers) {
    return least_lagrangian(problem, {}, 0, multipliers, 1) > 0 ||
           least_lagrangian(problem, {}, 0, multipliers, -1) > 0;
}

bool has_impossible_row(const LinearView& problem) {
    for (std::size_t col = 0; col < problem.lower.size(); ++col)
        if (problem.lower[col] > problem.upper[col]) return true;
    bool impossible = false;
    for_each_row(problem, [&](std::size_t, double row_lower, double row_upper, const auto& columns,
                              const auto& values) {
        for (const double sign : {1.0, -1.0}) {
            const double side = sign > 0 ? row_upper : row_lower;
            if (!is_finite(side)) continue;
            const Room room = room_of(side, sign, columns, values, problem.lower, problem.upper);
            impossible |= room.unbounded == 0 && room.left.above() < 0;
        }
    });
    return impossible;
}

void imply_bounds(const LinearView& problem, std::vector<double>& lower,
                  std::vector<double>& upper) {
    bool found = true;
    for (int sweep = 0; sweep < 10 && found; ++sweep) {
        found = false;
        for_each_row(problem, [&](std::size_t, double row_lower, double row_upper,
                                  const auto& columns, const auto& values) {
            found |= imply_from_side(row_upper, 1, columns, values, lower, upper);
            found |= imply_from_side(row_lower, -1, columns, values, lower, upper);
        });
    }
}

}  // namespace qlx
