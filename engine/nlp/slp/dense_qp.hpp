// A dense, strictly convex quadratic program whose rows may be elastic.
//
//   minimise  g'd + d'Bd/2 + sum over rows of cap * (what the row misses its sides by)
//   subject to  lower <= normal'd <= upper for the rows,  and for the columns themselves
//
// A row with an infinite cap must hold, and so must the bounds of columns.
#pragma once

#include <vector>

#include "engine/nlp/slp/dual_factor.hpp"

namespace qlx::nlp::slp {

// The dual method of Goldfarb and Idnani (1983), with a multiplier of a row held to [-cap, cap]: a
// multiplier that reaches the cap stays there and its row is violated from then on, as in the
// penalty method of Fletcher (1987), section 12.3. Both sides of a row share one multiplier.
class DenseQp {
  public:
    enum class End {
        kOptimal,
        kInfeasible,  // rows or bounds that must hold cannot
        kLimit,       // no end in sight, by rounding
    };
    enum State : char {
        kInactive,
        kAtLower,
        kAtUpper,
        kBelow,      // multiplier +cap
        kAbove,      // multiplier -cap
        kRedundant,  // depends on active rows and holds
    };

    // Makes room for rows + columns constraints. Normals are columns of `normals`; sides are of
    // rows first, then of columns.
    void resize(int columns, int rows);
    Matrix normals;
    Vector lower, upper;
    Vector cap;  // of rows

    // `factor` is the lower Cholesky factor of B.
    End solve(const Matrix& factor, const Vector& gradient);

    // Of the last solve: the step; multipliers with g + Bd = sum of multipliers * normals, positive
    // on lower sides; states; both of rows first, then of columns.
    [[nodiscard]] const Vector& step() const noexcept { return step_; }
    [[nodiscard]] const Vector& multipliers() const noexcept { return multiplier_; }
    [[nodiscard]] State state(int constraint) const noexcept {
        return state_[static_cast<std::size_t>(constraint)];
    }
    [[nodiscard]] int num_columns() const noexcept { return columns_; }
    [[nodiscard]] int num_rows() const noexcept { return rows_; }

  private:
    // A constraint whose multiplier is to move, in the direction of `sign`, until its activity is
    // `target` or its multiplier `limit`.
    struct Entering {
        int constraint = -1;
        double sign = 0;
        double target = 0;
        double limit = 0;
    };
    enum class Move { kEntered, kSettled, kDropped, kBlocked };

    [[nodiscard]] double activity(int constraint) const;
    [[nodiscard]] double cap_of(int constraint) const;
    [[nodiscard]] Entering entering(int constraint, double& violation) const;
    [[nodiscard]] Entering most_violated() const;
    void transform(int constraint);
    Move move(const Entering& in);
    Move settle(const Entering& in);
    void drop(int position);
    bool refine();

    int columns_ = 0;
    int rows_ = 0;
    DualFactor factor_;
    Vector step_;
    Vector multiplier_;
    std::vector<State> state_;
    std::vector<int> active_;
    bool has_redundant_ = false;
    Vector transformed_, rates_, direction_;
};

}  // namespace qlx::nlp::slp
