// Expressions that are evaluated together, with the places that their results are added to.
#pragma once

#include "engine/nlp/tape/entry_index.hpp"

namespace qlx::nlp {

class ExpressionSet {
  public:
    ExpressionSet(unsigned users, unsigned needed_by) noexcept
        : users_(users), needed_by_(needed_by) {}
    ExpressionSet(const ExpressionSet&) = delete;
    ExpressionSet& operator=(const ExpressionSet&) = delete;
    virtual ~ExpressionSet() = default;

    // By objective or rows, as terms; and as terms or parts of terms.
    [[nodiscard]] bool is_used_by(unsigned users) const noexcept { return (users_ & users) != 0; }
    [[nodiscard]] bool is_needed_by(unsigned users) const noexcept {
        return (needed_by_ & users) != 0;
    }
    [[nodiscard]] bool has_kinks() const noexcept { return has_kinks_; }
    [[nodiscard]] bool has_constant_curvature() const noexcept { return has_constant_curvature_; }

    virtual void add_entries(EntryIndex& jacobian, EntryIndex& hessian) const = 0;
    virtual void find_positions(const EntryIndex& jacobian, const EntryIndex& hessian) = 0;

    void forget_point() noexcept { has_values_ = has_first_ = false; }
    // At a new point values come first, then first derivatives, then second ones. Each adds to its
    // results.
    void add_values(double& objective, double* rows) {
        // A part of objective and rows is evaluated for whichever comes first.
        if (has_values_ && users_ == 0) return;
        has_values_ = true;
        run_values(objective, rows);
    }
    void add_gradient(double* gradient) {
        has_first_ = true;
        run_first(gradient, nullptr);
    }
    void add_jacobian(double* jacobian) {
        has_first_ = true;
        run_first(nullptr, jacobian);
    }
    // Weighted by the factor and multipliers of the expressions' users. Those of weight 0 are left
    // out where `only_weighted`, as they may be infinite.
    void add_hessian(double objective_factor, const double* multipliers, bool only_weighted,
                     double* hessian) {
        if (!has_first_) run_first(nullptr, nullptr);
        has_first_ = true;
        run_second(objective_factor, multipliers, only_weighted, hessian);
    }

  protected:
    virtual void run_values(double& objective, double* rows) = 0;
    // Null: not wanted.
    virtual void run_first(double* gradient, double* jacobian) = 0;
    virtual void run_second(double objective_factor, const double* multipliers, bool only_weighted,
                            double* hessian) = 0;

    const unsigned users_;
    const unsigned needed_by_;
    bool has_kinks_ = false;
    bool has_constant_curvature_ = true;

  private:
    bool has_values_ = false;
    bool has_first_ = false;
};

}  // namespace qlx::nlp
