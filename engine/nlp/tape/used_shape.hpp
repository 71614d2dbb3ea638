// A shape's expressions with the places that their values and derivatives are added to.
#pragma once

#include <span>
#include <vector>

#include "engine/nlp/tape/entry_index.hpp"
#include "engine/nlp/tape/positions.hpp"
#include "engine/nlp/tape/shape_tape.hpp"
#include "engine/nlp/tape/split_statement.hpp"

namespace qlx::nlp {

class UsedShape {
  public:
    // uses[e] are the uses of expression e; the others as in ShapeTape.
    UsedShape(const ShapeGroup& group, const std::vector<std::span<const ExpressionUse>>& uses,
              double* x, const std::vector<int>& place_of_part, UserCalls& user);

    // As a term, and as that or a part of a term.
    [[nodiscard]] bool is_used_by(unsigned users) const noexcept { return (users_ & users) != 0; }
    [[nodiscard]] bool is_needed_by(unsigned users) const noexcept {
        return (needed_by_ & users) != 0;
    }
    [[nodiscard]] const ShapeCode& code() const noexcept { return tape_.code(); }

    void add_entries(EntryIndex& jacobian, EntryIndex& hessian) const;
    void find_positions(const EntryIndex& jacobian, const EntryIndex& hessian);

    // At a new point values come first, then first derivatives, then second ones. Each adds to its
    // results.
    void add_values(double& objective, double* rows);
    void add_gradient(double* gradient);
    void add_jacobian(double* jacobian);
    void prepare_hessian();
    void add_hessian(double objective_factor, const double* multipliers, double* hessian);
    // The same without expressions of weight 0, which may be infinite.
    void add_hessian_of_weighted(double* hessian);
    void forget_point() noexcept { has_values_ = has_first_ = false; }

  private:
    // One use by a row of each expression, or of some of them, in their order.
    struct Layer {
        Positions expressions;
        Positions rows;
        Factors factors;
        std::vector<Positions> jacobian;  // by first derivative
    };

    void layer_uses(const ShapeGroup& group,
                    const std::vector<std::span<const ExpressionUse>>& uses);
    void weigh(double objective_factor, const double* multipliers);
    static void add_uses(const Layer& layer, const Positions& to, double* out, std::size_t first,
                         std::size_t n, const double* values);

    unsigned users_;
    unsigned needed_by_;
    ShapeTape tape_;
    std::vector<Positions> columns_;  // by slot
    Factors objective_factors_;       // empty: not used there
    std::vector<Layer> layers_;
    std::vector<Positions> hessian_;  // by second derivative
    bool has_values_ = false;
    bool has_first_ = false;
};

}  // namespace qlx::nlp
