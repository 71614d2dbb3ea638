// A local problem with its objective and rows scaled by their gradients at the start.
#pragma once

#include "engine/nlp/local_solver.hpp"
#include "engine/nlp/slp/sparse_forms.hpp"

namespace qlx::nlp::slp {

// A point with the values and first derivatives there, scaled.
struct Iterate {
    Vector x;
    double objective = 0;
    Vector rows;
    double violation = 0;  // sum over the rows
    Vector gradient;
    Vector jacobian;
};

class ScaledProblem {
  public:
    // Reads sizes, bounds and patterns. The problem must outlive its use here; all scales are 1.
    void bind(LocalProblem& problem);
    // Scales such that no gradient at the iterate is longer than 100 in the maximum norm, and
    // scales the iterate.
    void scale_at(Iterate& iterate);
    // Whether a row's gradient has become so short that its scale hides its violation.
    [[nodiscard]] bool hides_rows(const Iterate& iterate) const;
    // Scales rows anew by the gradients at the iterate, and the iterate and multipliers with them.
    void rescale_rows(Iterate& iterate, Vector& y);

    [[nodiscard]] int num_columns() const noexcept { return static_cast<int>(lower.size()); }
    [[nodiscard]] int num_rows() const noexcept { return static_cast<int>(row_lower.size()); }
    [[nodiscard]] bool is_equation(int row) const noexcept {
        return row_lower[row] == row_upper[row];
    }
    [[nodiscard]] LocalProblem& unscaled() const noexcept { return *problem_; }

    // False where a value is undefined or not finite.
    [[nodiscard]] bool evaluate(Iterate& iterate);
    [[nodiscard]] bool differentiate(Iterate& iterate);
    // Of objective_factor * f - y'rows.
    [[nodiscard]] bool hessian(const Vector& x, double objective_factor, const Vector& y,
                               Vector& out);

    // Sum over the rows of what they miss their sides by.
    [[nodiscard]] double violation(const Vector& rows) const;
    // Largest violation of the rows as they were stated.
    [[nodiscard]] double unscaled_violation(const Vector& rows) const;
    void clip(Vector& x) const { x = x.cwiseMax(lower).cwiseMin(upper); }

    RowStructure rows;
    SymmetricStructure curvature;
    // Infinite where there is none.
    Vector lower, upper, row_lower, row_upper;
    std::vector<char> is_linear;
    double objective_scale = 1;
    Vector row_scale;
    LocalCounts counts;

  private:
    [[nodiscard]] double longest_entry(const Iterate& iterate, int row) const;

    LocalProblem* problem_ = nullptr;
    Vector pattern_values_;
    Vector multipliers_;
    bool has_constant_hessian_ = false;
    Vector constant_hessian_;  // of the unscaled objective of a quadratic problem; empty: unknown
};

}  // namespace qlx::nlp::slp
