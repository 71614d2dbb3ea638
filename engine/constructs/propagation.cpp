// Activity-based bound tightening (Savelsbergh 1994, Fischetti and Salvagnin 2010).
#include "engine/constructs/propagation.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/constructs/construct.hpp"

namespace qlx {

namespace {

constexpr int kMaxRounds = 20;
// Implied bounds beyond this are of no use as coefficients.
constexpr double kLargestImplied = 1e15;
// What a point may be off by and still count as feasible.
constexpr double kTolerance = 1e-6;
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

bool infinite(double value) {
    return std::fabs(value) >= kInfinity;
}

// A finite sum with a bound on its rounding error, and the number of infinite terms left out of it.
struct Sum {
    double finite = 0;
    double magnitude = 0;
    int terms = 0;
    int infinite = 0;

    void add(double term) {
        ++terms;
        if (qlx::infinite(term)) {
            ++infinite;
            return;
        }
        finite += term;
        magnitude += std::fabs(term);
    }
    // Of adding up, and of the products that were added.
    [[nodiscard]] double error() const { return kEpsilon * (terms + 2) * magnitude; }
};

double product(double coefficient, double bound) {
    if (infinite(bound)) return coefficient * bound > 0 ? kInfinity : -kInfinity;
    return coefficient * bound;
}

// The terms of a row at the end of each column's range where the activity is least or largest.
class Terms {
  public:
    Terms(RowMatrix& matrix, int row, const BoundVectors& bounds)
        : columns_(matrix.row_columns(row)), values_(matrix.row_values(row)), bounds_(bounds) {}
    // A column that is fixed at a value for this row.
    void fix(int col, double value) {
        fixed_col_ = col;
        fixed_value_ = value;
    }

    [[nodiscard]] std::size_t size() const { return columns_.size(); }
    [[nodiscard]] int column(std::size_t k) const { return columns_[k]; }
    [[nodiscard]] double coefficient(std::size_t k) const { return values_[k]; }
    [[nodiscard]] double term(std::size_t k, bool largest) const {
        if (columns_[k] == fixed_col_) return values_[k] * fixed_value_;
        const bool upper = largest == (values_[k] > 0);
        return product(values_[k], (upper ? bounds_.upper : bounds_.lower)[at(columns_[k])]);
    }
    // All terms but one; `left_out` size(): all.
    [[nodiscard]] Sum sum(bool largest, std::size_t left_out) const {
        Sum sum;
        for (std::size_t k = 0; k < size(); ++k)
            if (k != left_out) sum.add(term(k, largest));
        return sum;
    }
    // The whole sum without one of its terms. A term that is most of the sum takes the digits of
    // the rest with it; there is at most one such, and without it the sum is made anew.
    [[nodiscard]] Sum without(const Sum& whole, std::size_t k, bool largest) const {
        const double gone = term(k, largest);
        if (!infinite(gone) && 2 * std::fabs(gone) > whole.magnitude) return sum(largest, k);
        Sum rest = whole;
        if (infinite(gone))
            --rest.infinite;
        else
            rest.finite -= gone;
        return rest;
    }

  private:
    std::span<const int> columns_;
    std::span<const double> values_;
    const BoundVectors& bounds_;
    int fixed_col_ = -1;
    double fixed_value_ = 0;
};

Sides range_of(const Terms& terms) {
    const Sum least = terms.sum(false, terms.size());
    const Sum largest = terms.sum(true, terms.size());
    return {least.infinite > 0 ? -kInfinity : least.finite - least.error(),
            largest.infinite > 0 ? kInfinity : largest.finite + largest.error()};
}

}  // namespace

bool Domains::is_nonzero(int col) const {
    return lower(col) > kTolerance || upper(col) < -kTolerance;
}

bool Domains::is_empty() const {
    for (std::size_t col = 0; col < bounds_.lower.size(); ++col)
        if (bounds_.lower[col] > bounds_.upper[col]) return true;
    return false;
}

void Domains::limit_to(int col, double lower, double upper) {
    double& current_lower = bounds_.lower[at(col)];
    double& current_upper = bounds_.upper[at(col)];
    if (lower <= current_lower && upper >= current_upper) return;
    current_lower = std::max(current_lower, lower);
    current_upper = std::min(current_upper, upper);
    changed_ = true;
}

void Domains::tighten_by_row(int row) {
    const Sides sides = model_.sides(row);
    const Terms terms(model_.matrix(), row, bounds_);
    for (const bool from_above : {true, false}) {
        const double side = from_above ? sides.upper : sides.lower;
        if (infinite(side)) continue;
        const Sum whole = terms.sum(!from_above, terms.size());
        if (whole.infinite > 1) continue;
        for (std::size_t k = 0; k < terms.size(); ++k) {
            // coefficient * x <= upper - least of the rest, and >= lower - largest of the rest.
            const Sum rest = terms.without(whole, k, !from_above);
            if (rest.infinite > 0) continue;
            const double error = rest.error() + kEpsilon * (std::fabs(side) + rest.magnitude);
            tighten(terms.column(k), terms.coefficient(k), side - rest.finite, error, from_above);
        }
    }
}

// Takes coefficient * x <= value (from_above) or >= value as a bound on x.
void Domains::tighten(int col, double coefficient, double value, double error, bool from_above) {
    double bound = value / coefficient;
    if (!(std::fabs(bound) <= kLargestImplied)) return;
    const double margin = 1e-7 * std::max(1.0, std::fabs(bound)) + error / std::fabs(coefficient);
    const bool upper = from_above == (coefficient > 0);
    const char type = model_.col_type()[at(col)];
    const bool integer = type == 'I' || type == 'B';
    double& current = upper ? bounds_.upper[at(col)] : bounds_.lower[at(col)];
    bound = upper ? bound + margin : bound - margin;
    if (integer) bound = upper ? std::floor(bound) : std::ceil(bound);
    // Only clear progress counts, else two rows may halve each other's bounds for ever.
    const double progress = upper ? current - bound : bound - current;
    if (!infinite(current) && progress < 0.1 * std::max(1.0, std::fabs(current))) return;
    if (progress <= 0) return;
    current = bound;
    changed_ = true;
}

bool Domains::excludes_row(int row, int fixed_col, double fixed_value) {
    Terms terms(model_.matrix(), row, bounds_);
    terms.fix(fixed_col, fixed_value);
    const Sides sides = model_.sides(row);
    const Sum least = terms.sum(false, terms.size());
    const Sum largest = terms.sum(true, terms.size());
    const auto beyond = [](const Sum& sum, double distance) {
        return sum.infinite == 0 &&
               distance > sum.error() + kTolerance * std::max(1.0, sum.magnitude);
    };
    return (sides.upper < kInfinity && beyond(least, least.finite - sides.upper)) ||
           (sides.lower > -kInfinity && beyond(largest, sides.lower - largest.finite));
}

Sides activity_range(RowMatrix& matrix, int row, const BoundVectors& bounds, int fixed_col,
                     double fixed_value) {
    Terms terms(matrix, row, bounds);
    terms.fix(fixed_col, fixed_value);
    return range_of(terms);
}

BoundVectors stated_bounds(const Model& model) {
    BoundVectors bounds{model.lb(), model.ub()};
    if (model.num_entities() == 0) return bounds;
    for (int col = 0; col < model.num_cols(); ++col) {
        const Sides own = model.relaxed_bounds(col);
        bounds.lower[at(col)] = own.lower;
        bounds.upper[at(col)] = own.upper;
    }
    return bounds;
}

BoundVectors propagate_bounds(Model& model) {
    BoundVectors bounds = stated_bounds(model);
    Domains domains(model, bounds);
    const std::vector<ConstructItem> items = construct_items(model);
    for (int round = 0; round < kMaxRounds; ++round) {
        for (int row = 0; row < model.num_rows(); ++row)
            if (model.indicators().count(row) == 0 && model.quadratic_rows().count(row) == 0)
                domains.tighten_by_row(row);
        for (const ConstructItem& one : items) one.construct->tighten(domains, one.item);
        if (domains.is_empty()) return stated_bounds(model);
        if (!domains.take_changed()) break;
    }
    return bounds;
}

}  // namespace qlx
