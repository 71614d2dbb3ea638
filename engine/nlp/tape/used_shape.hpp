// A shape's expressions with the places that their values and derivatives are added to.
#pragma once

#include <span>
#include <vector>

#include "engine/nlp/tape/expression_set.hpp"
#include "engine/nlp/tape/positions.hpp"
#include "engine/nlp/tape/shape_tape.hpp"
#include "engine/nlp/tape/split_statement.hpp"

namespace qlx::nlp {

class UsedShape final : public ExpressionSet {
  public:
    // uses[e] are the uses of expression e; the others as in ShapeTape.
    UsedShape(const ShapeGroup& group, const std::vector<std::span<const ExpressionUse>>& uses,
              double* x, const std::vector<int>& place_of_part, UserCalls& user);

    void add_entries(EntryIndex& jacobian, EntryIndex& hessian) const override;
    void find_positions(const EntryIndex& jacobian, const EntryIndex& hessian) override;

  protected:
    void run_values(double& objective, double* rows) override;
    void run_first(double* gradient, double* jacobian) override;
    void run_second(double objective_factor, const double* multipliers, bool only_weighted,
                    double* hessian) override;

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
    [[nodiscard]] const ShapeCode& code() const noexcept { return tape_.code(); }
    void weigh(double objective_factor, const double* multipliers);
    static void add_uses(const Layer& layer, const Positions& to, double* out, std::size_t first,
                         std::size_t n, const double* values);

    ShapeTape tape_;
    std::vector<Positions> columns_;  // by slot
    Factors objective_factors_;       // empty: not used there
    std::vector<Layer> layers_;
    std::vector<Positions> hessian_;  // by second derivative
};

}  // namespace qlx::nlp
