// Bounds that rows and constructs imply: activity-based tightening, round after round.
#pragma once

#include <utility>
#include <vector>

#include "engine/base/index.hpp"
#include "engine/data/model.hpp"

namespace qlx {

struct BoundVectors {
    std::vector<double> lower;
    std::vector<double> upper;
};

// Least and largest activity of a row over the bounds, rounded outwards; infinite ones are +-1e20.
// One column may be fixed at a value instead (-1: none).
[[nodiscard]] Sides activity_range(RowMatrix& matrix, int row, const BoundVectors& bounds,
                                   int fixed_col, double fixed_value);

// The columns' bounds, with 0 included for semi-continuous ones.
[[nodiscard]] BoundVectors stated_bounds(const Model& model);

// Bounds that only ever tighten.
class Domains {
  public:
    Domains(Model& model, BoundVectors& bounds) : model_(model), bounds_(bounds) {}

    [[nodiscard]] Model& model() noexcept { return model_; }
    [[nodiscard]] double lower(int col) const { return bounds_.lower[at(col)]; }
    [[nodiscard]] double upper(int col) const { return bounds_.upper[at(col)]; }
    // Whether a column has no value left.
    [[nodiscard]] bool is_empty() const;
    // Whether all points but those within tolerances of 0 are on one side of it.
    [[nodiscard]] bool is_nonzero(int col) const;
    [[nodiscard]] bool is_fixed_at(int col, double value) const {
        return lower(col) == value && upper(col) == value;
    }
    // Exact bounds; what is not tighter than the present ones is ignored.
    void limit_to(int col, double lower, double upper);
    // By a row, as if it held.
    void tighten_by_row(int row);
    // Whether no point within the bounds with a column at a value satisfies a row, rounding and
    // tolerances apart.
    [[nodiscard]] bool excludes_row(int row, int fixed_col, double fixed_value);
    // Whether a bound became tighter since the last call.
    [[nodiscard]] bool take_changed() noexcept { return std::exchange(changed_, false); }

  private:
    void tighten(int col, double coefficient, double value, double error, bool from_above);

    Model& model_;
    BoundVectors& bounds_;
    bool changed_ = false;
};

// The stated bounds tightened by the rows that always hold and by the constructs.
// Implied bounds are widened a little, so that no feasible point is lost to rounding or tolerances;
// where they leave a column no value, which is for a solver to prove, they are the stated ones.
[[nodiscard]] BoundVectors propagate_bounds(Model& model);

}  // namespace qlx
