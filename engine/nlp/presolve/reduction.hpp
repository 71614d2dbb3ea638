// The reductions of presolve, applied until none is left.
#pragma once

#include <memory>
#include <vector>

#include "engine/check/enclosed_sum.hpp"
#include "engine/nlp/analysis/interval_analysis.hpp"
#include "engine/nlp/presolve/nonlinear_presolve.hpp"

namespace qlx::nlp {

class Reduction {
  public:
    Reduction(const Statement& given, const NonlinearPresolveOptions& options);

    // False where the statement is found infeasible.
    bool run();
    // Takes the result out; the work is over then.
    [[nodiscard]] Statement result();

    PresolveBlame blame;
    std::vector<int> kept_rows;
    std::vector<Removal> removals;
    std::vector<BoundOwners> owners;

  private:
    // Occurrences of moving columns and rows in what is left.
    struct Counts {
        std::vector<int> linear_of_row;
        std::vector<int> curved_of_row;   // quadratic entries and nonlinear terms
        std::vector<int> rows_of_column;  // linear entries outside the objective
        std::vector<int> curved_of_column;
        std::vector<int> entry_of_row;     // a linear entry
        std::vector<int> entry_of_column;  // one outside the objective
        std::vector<double> cost;
    };

    bool fix_columns();
    void fix(int column, double value);
    void settle_unused_columns();
    void fold_constants();
    void fold_linear();
    void fold_quadratic();
    void fold_nonlinear();
    void merge_linear();
    void count();
    bool drop_rows();
    bool drop_empty_row(int row);
    bool drop_singleton_row(int row);
    bool tighten(int row, int column, double lower, double upper, double coefficient);
    void substitute_columns();
    bool substitute(int column);
    bool implies_bounds(const LinearEntry& entry, double side);
    const IntervalAnalysis& ranges();
    [[nodiscard]] bool is_free(int column) const noexcept;
    void move_rows_to_objective();

    [[nodiscard]] bool moves(int column) const noexcept;
    [[nodiscard]] double tolerance(double side) const noexcept;
    [[nodiscard]] EnclosedSum& constant(int row) noexcept;
    [[nodiscard]] double lower_side(int row) noexcept;
    [[nodiscard]] double upper_side(int row) noexcept;
    [[nodiscard]] bool is_constant(const Formula& formula) const noexcept;
    bool infeasible(int row, int column, std::string reason);

    NonlinearPresolveOptions options_;
    Statement work_;
    std::vector<char> moves_;
    std::vector<char> alive_;            // rows
    std::vector<EnclosedSum> constant_;  // of every row, the objective's first
    std::vector<double> to_objective_;   // factor by which a row joins the objective
    std::vector<char> joins_objective_;
    Counts counts_;
    // Of the work while columns are substituted, once asked for.
    std::unique_ptr<FormulaGraph> graph_;
    std::unique_ptr<IntervalAnalysis> ranges_;
    bool changed_ = false;
    bool has_constants_ = true;  // not folded yet
};

}  // namespace qlx::nlp
