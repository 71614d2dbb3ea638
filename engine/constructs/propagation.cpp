// Activity-based bound tightening (Savelsbergh 1994, Fischetti and Salvagnin 2010).
#include "engine/constructs/propagation.hpp"
#include "engine/base/index.hpp"

#include <algorithm>
#include <cmath>

namespace qlx {

namespace {

constexpr int kMaxRounds = 20;
// Implied bounds beyond this are of no use as coefficients.
constexpr double kLargestImplied = 1e15;

bool infinite(double value) {
    return std::fabs(value) >= kInfinity;
}

// An activity bound: a finite sum and the number of infinite terms left out of it.
struct Sum {
    double finite = 0;
    int infinite = 0;

    void add(double term) {
        if (qlx::infinite(term))
            ++infinite;
        else
            finite += term;
    }
    // The sum without one of its terms; `limit` when it is infinite.
    [[nodiscard]] double without(double term, double limit) const {
        const int left = infinite - (qlx::infinite(term) ? 1 : 0);
        if (left > 0) return limit;
        return qlx::infinite(term) ? finite : finite - term;
    }
};

double product(double coefficient, double bound) {
    if (infinite(bound)) return coefficient * bound > 0 ? kInfinity : -kInfinity;
    return coefficient * bound;
}

struct Term {
    double least;
    double largest;
};

Term term_range(double coefficient, double lower, double upper) {
    const double a = product(coefficient, lower);
    const double b = product(coefficient, upper);
    return coefficient > 0 ? Term{a, b} : Term{b, a};
}

class Propagation {
  public:
    Propagation(Model& model, BoundVectors& bounds) : model_(model), bounds_(bounds) {}

    // True when a bound became tighter.
    bool round() {
        changed_ = false;
        for (int row = 0; row < model_.num_rows(); ++row)
            if (model_.indicators().count(row) == 0 && model_.quadratic_rows().count(row) == 0)
                tighten_by(row);
        return changed_;
    }

  private:
    void tighten_by(int row) {
        const Sides sides = model_.sides(row);
        const auto columns = model_.matrix().row_columns(row);
        const auto values = model_.matrix().row_values(row);
        Sum least;
        Sum largest;
        for (std::size_t k = 0; k < columns.size(); ++k) {
            const auto col = at(columns[k]);
            const Term term = term_range(values[k], bounds_.lower[col], bounds_.upper[col]);
            least.add(term.least);
            largest.add(term.largest);
        }
        for (std::size_t k = 0; k < columns.size(); ++k) {
            const auto col = at(columns[k]);
            const Term term = term_range(values[k], bounds_.lower[col], bounds_.upper[col]);
            // coefficient * x <= upper - least of the rest, and >= lower - largest of the rest.
            const double rest_least = least.without(term.least, -kInfinity);
            const double rest_largest = largest.without(term.largest, kInfinity);
            if (sides.upper < kInfinity && !infinite(rest_least))
                limit(columns[k], values[k], sides.upper - rest_least, true);
            if (sides.lower > -kInfinity && !infinite(rest_largest))
                limit(columns[k], values[k], sides.lower - rest_largest, false);
        }
    }

    // Takes coefficient * x <= value (from_above) or >= value as a bound on x.
    void limit(int col, double coefficient, double value, bool from_above) {
        double bound = value / coefficient;
        if (std::fabs(bound) > kLargestImplied) return;
        const double margin = 1e-7 * std::max(1.0, std::fabs(bound));
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

    Model& model_;
    BoundVectors& bounds_;
    bool changed_ = false;
};

}  // namespace

Sides activity_range(RowMatrix& matrix, int row, const BoundVectors& bounds, int fixed_col,
                     double fixed_value) {
    Sum least;
    Sum largest;
    const auto columns = matrix.row_columns(row);
    const auto values = matrix.row_values(row);
    for (std::size_t k = 0; k < columns.size(); ++k) {
        const auto col = at(columns[k]);
        const bool fixed = columns[k] == fixed_col;
        const Term term = term_range(values[k], fixed ? fixed_value : bounds.lower[col],
                                     fixed ? fixed_value : bounds.upper[col]);
        least.add(term.least);
        largest.add(term.largest);
    }
    return {least.infinite > 0 ? -kInfinity : least.finite,
            largest.infinite > 0 ? kInfinity : largest.finite};
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
    Propagation propagation(model, bounds);
    for (int round = 0; round < kMaxRounds && propagation.round(); ++round) {
    }
    return bounds;
}

}  // namespace qlx
