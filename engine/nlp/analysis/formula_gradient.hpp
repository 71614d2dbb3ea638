// Values and gradients of single formulas, for work done once a solve: solvers evaluate by tapes.
#pragma once

#include <span>
#include <vector>

#include "engine/nlp/formula/instruction.hpp"
#include "engine/nlp/formula/user_functions.hpp"

namespace qlx::nlp {

// Reverse differentiation; keeps its memory from call to call. Where a function has a kink, the
// derivative is that of the active piece, the first where several are.
class FormulaGradient {
  public:
    // `functions` are those that formulas name; null: none, and calls have no value.
    explicit FormulaGradient(UserFunctions* functions = nullptr) noexcept : functions_(functions) {}

    // out[column] += scale * derivative at x; returns the formula's value. Both x and out have one
    // place for every column. Not a number, or infinite, where the formula or a derivative is so.
    double add(const Formula& formula, double scale, std::span<const double> x,
               std::span<double> out);

  private:
    struct Node {
        Operation operation;
        int column;
        int first_operand;
        int operands;
        double value;
        double adjoint;
    };

    void record(const Formula& formula, std::span<const double> x);
    void push(Operation operation, int operands, double value);
    double value_of_top(Operation operation, int operands) const;
    void push_call(double number, int operands);
    void send_back(const Node& node);

    UserFunctions* functions_;
    std::vector<Node> nodes_;
    std::vector<int> operands_;
    std::vector<double> partials_;  // of calls, by place in operands_
    std::vector<int> stack_;
};

// The derivatives of an operator by its operands, `value` being what it gives.
struct OperatorDerivatives {
    double first;
    double second;
};
[[nodiscard]] double derivative_of_function(Operation function, double x, double value) noexcept;
[[nodiscard]] OperatorDerivatives derivatives_of_operator(Operation operation, double a, double b,
                                                          double value) noexcept;

}  // namespace qlx::nlp
