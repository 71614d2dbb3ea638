// Which rows are convex or concave within the bounds, by rules of composition.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/nlp/analysis/calculus.hpp"
#include "engine/nlp/analysis/interval_analysis.hpp"

namespace qlx::nlp {

enum class Curvature : std::uint8_t {
    kUnknown = 0,
    kConvex = 1,
    kConcave = 2,
    kAffine = 3,  // both
};
[[nodiscard]] constexpr bool is_convex(Curvature c) noexcept {
    return (static_cast<unsigned>(c) & 1U) != 0;
}
[[nodiscard]] constexpr bool is_concave(Curvature c) noexcept {
    return (static_cast<unsigned>(c) & 2U) != 0;
}

// The rules are those of disciplined convex programming with monotonicity and sign taken from
// intervals (Fourer, Maheshwari, Neumaier, Orban, Schichl, "Convexity and concavity detection in
// computational graphs", 2010), and beyond them: functions of a single column or of a single
// affine expression by the sign of their second derivative over its interval, norms, log-sum-exp,
// negative and relative entropy, squares over affine expressions, geometric means, products and
// quotients that are log-convex. A row's squares and products of columns count together, by the
// test of their matrix that the quadratic solvers use, with its tolerance.
//
// The box is that of the columns' bounds after propagation over all rows, so that what is said of a
// row holds for the program as a whole and need not hold for the row alone. Convex includes that
// the points of the box where the function is defined form a convex set.
class ConvexityAnalysis {
  public:
    explicit ConvexityAnalysis(const Statement& statement);

    // Of a row or the objective.
    [[nodiscard]] Curvature row(int row) const;
    // Whether every local optimum is a global one for this reason: the objective is convex, rows
    // are convex where they have an upper side and concave where they have a lower one.
    [[nodiscard]] bool is_convex_program() const;

  private:
    // What is known of a node.
    struct Knowledge {
        Curvature curvature = Curvature::kUnknown;
        bool is_constant = false;
        // Its logarithm is convex, or concave; implies that it is not negative.
        bool is_log_convex = false;
        bool is_log_concave = false;
        // A sum of squares of affine or of convex nonnegative expressions, and constants.
        bool is_sum_of_squares = false;
        // The column or affine expression that the node is a smooth function of, and how; -1: none.
        int pivot = -1;
        Jet jet;
    };
    // A node that is a multiple of another one.
    struct Multiple {
        int node;
        double factor;
    };

    // factor * first * second, a square included; negative columns for what is neither.
    struct ColumnProduct {
        int first;
        int second;
        double factor;
    };

    [[nodiscard]] Curvature row_by_parts(int row, bool takes_all_apart) const;
    [[nodiscard]] ColumnProduct columns_of_product(int k) const;
    void learn(int k);
    [[nodiscard]] bool is_constant(int k) const;
    void learn_jet(int k, Knowledge& known) const;
    [[nodiscard]] Curvature rule(int k) const;
    [[nodiscard]] Curvature rule_of_product(int k) const;
    [[nodiscard]] Curvature rule_of_entropy(int factor, int logarithm) const;
    [[nodiscard]] Curvature rule_of_perspective(int factor, int exponential) const;
    [[nodiscard]] Curvature rule_of_quotient(int k) const;
    [[nodiscard]] Curvature rule_of_power(int k) const;
    [[nodiscard]] Curvature rule_of_extremum(int k) const;
    [[nodiscard]] Curvature rule_of_function(int k) const;
    [[nodiscard]] Curvature composed(int argument, const Slopes& slopes,
                                     bool is_convex_anyway) const;
    [[nodiscard]] bool has_convex_domain(int k) const;
    [[nodiscard]] bool is_log_convex(int k) const;
    [[nodiscard]] bool is_log_concave(int k) const;
    [[nodiscard]] bool is_sum_of_squares(int k) const;
    [[nodiscard]] Jet jet_of(int k, int pivot) const;
    [[nodiscard]] Multiple without_factor(int k) const;

    [[nodiscard]] const Knowledge& at_node(int k) const noexcept {
        return known_[static_cast<std::size_t>(k)];
    }
    [[nodiscard]] const Interval& range(int k) const noexcept { return ranges_.node(k); }

    const Statement& statement_;
    FormulaGraph graph_;
    std::vector<Interval> box_;
    IntervalAnalysis ranges_;
    EntriesByRow entries_;
    std::vector<Knowledge> known_;
};

[[nodiscard]] Curvature curvature_of_row(const Statement& statement, int row);
[[nodiscard]] bool is_convex_program(const Statement& statement);

}  // namespace qlx::nlp
