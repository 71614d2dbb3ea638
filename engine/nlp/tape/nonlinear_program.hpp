// A statement as solvers evaluate it: compiled once, then evaluated at many points.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/nlp/formula/user_functions.hpp"
#include "engine/nlp/local_solver.hpp"
#include "engine/nlp/statement/statement.hpp"
#include "engine/nlp/tape/constant_parts.hpp"
#include "engine/nlp/tape/expression_set.hpp"
#include "engine/nlp/tape/kernels.hpp"

namespace qlx::nlp {

// Columns are the statement's moving ones in their order, rows its rows. The statement has to
// outlive the program and to keep its formulas; its bounds may change through set_column_bounds().
// Patterns are sorted by row, then by column, without repetition. At one point all evaluations
// share what they have in common. No evaluation allocates memory, user functions aside.
//
// Second derivatives of user functions are central differences of their partial derivatives.
class NonlinearProgram final : public LocalProblem {
  public:
    explicit NonlinearProgram(const Statement& statement, UserFunctions* user = nullptr);
    NonlinearProgram(const NonlinearProgram&) = delete;
    NonlinearProgram& operator=(const NonlinearProgram&) = delete;

    [[nodiscard]] int num_columns() const noexcept { return num_columns_; }
    [[nodiscard]] int num_rows() const noexcept { return static_cast<int>(row_values_.size()); }

    const LocalBounds& bounds() const override { return bounds_; }
    // By moving column.
    void set_column_bounds(std::span<const double> lower, std::span<const double> upper);
    const SparsePattern& jacobian_pattern() const override { return jacobian_pattern_; }
    const SparsePattern& hessian_pattern() const override { return hessian_pattern_; }
    // Clipped into the bounds as they are now; 0, clipped, where the statement knows nothing.
    std::vector<double> start() const override;
    bool is_quadratic() const override { return is_quadratic_; }
    bool is_linear_row(int row) const override { return is_linear_row_[at(row)] != 0; }
    bool has_kinks() const override { return has_kinks_; }

    bool objective(std::span<const double> x, double& value) override;
    bool gradient(std::span<const double> x, std::span<double> out) override;
    bool rows(std::span<const double> x, std::span<double> out) override;
    bool jacobian(std::span<const double> x, std::span<double> out) override;
    bool hessian(std::span<const double> x, double objective_factor,
                 std::span<const double> multipliers, std::span<double> out) override;

    // Points at which functions and first derivatives were evaluated, and Hessians.
    [[nodiscard]] const LocalCounts& counts() const noexcept { return counts_; }
    void reset_counts() noexcept { counts_ = {}; }
    // Why the functions or their derivatives are undefined at the last point: "row 3: log of -1.2",
    // "objective: derivative of sqrt at 0". Empty where nothing is.
    [[nodiscard]] std::string complaint() const;

  private:
    void state_bounds();
    void compile(SplitStatement& split);
    void make_sets(const std::vector<ShapeGroup>& groups,
                   const std::vector<std::span<const ExpressionUse>>& uses,
                   const std::vector<int>& place_of_part);
    void classify(const SplitStatement& split);
    void set_point(std::span<const double> x);
    void evaluate_functions(unsigned users);
    void note_first();

    const Statement& statement_;
    UserFunctions* user_;
    LocalBounds bounds_;
    int num_columns_;
    std::vector<double> x_;  // the last point, then values that expressions share
    UserCalls user_calls_;
    std::vector<std::unique_ptr<ExpressionSet>> sets_;  // by level
    std::unique_ptr<ConstantParts> constant_;
    SparsePattern jacobian_pattern_;
    SparsePattern hessian_pattern_;
    std::vector<char> is_linear_row_;
    // Whether a term of the objective is a term or part of one of a row, or the other way round: to
    // evaluate one means to evaluate both then.
    bool is_coupled_ = false;
    bool is_quadratic_ = false;
    bool has_kinks_ = false;

    // At the last point.
    bool has_point_ = false;
    unsigned has_functions_ = 0;  // ExpressionUsers
    bool has_first_ = false;
    double objective_value_ = 0;
    std::vector<double> row_values_;
    LocalCounts counts_;
};

}  // namespace qlx::nlp
