// Kinks as columns with rows, where that is exact.
#include "engine/nlp/presolve/kinks.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "engine/base/index.hpp"
#include "engine/nlp/analysis/calculus.hpp"
#include "engine/nlp/analysis/interval_analysis.hpp"
#include "engine/nlp/presolve/formula_writer.hpp"
#include "engine/nlp/presolve/limits.hpp"

namespace qlx::nlp {

namespace {

// By what a program gains: smaller values of an expression, larger ones, or either.
using Gain = std::uint8_t;
constexpr Gain kBySmaller = 1;
constexpr Gain kByLarger = 2;
constexpr Gain kByEither = 3;

constexpr Gain turned(Gain gain) noexcept {
    return static_cast<Gain>(((gain & 1U) << 1U) | (gain >> 1U));
}
Gain through(Gain gain, Interval slope) noexcept {
    if (slope.is_empty() || (slope.is_nonnegative() && slope.is_nonpositive())) return gain;
    if (slope.is_nonnegative()) return gain;
    return slope.is_nonpositive() ? turned(gain) : kByEither;
}

// What the program gains by, for all nodes, from the roots down.
class Gains {
  public:
    Gains(const Statement& statement, const FormulaGraph& graph, const IntervalAnalysis& ranges)
        : graph_(graph), ranges_(ranges), gains_(at(graph.num_nodes()), 0) {
        for (const GraphRoot& root : graph.roots()) {
            const Gain gain = root.row == kObjectiveRow ? kBySmaller : of_row(statement, root.row);
            gains_[at(root.node)] |= root.factor < 0 ? turned(gain) : gain;
        }
        for (int k = graph.num_nodes(); k-- > 0;) {
            if (gains_[at(k)] == 0) continue;
            const std::span<const int> operands = graph.operands(k);
            for (std::size_t i = 0; i < operands.size(); ++i)
                gains_[at(operands[i])] |= through(gains_[at(k)], slope(k, i));
        }
    }
    [[nodiscard]] Gain operator[](int node) const noexcept { return gains_[at(node)]; }

  private:
    static Gain of_row(const Statement& statement, int row) {
        Gain gain = 0;
        if (!is_plus_infinite(statement.row_upper[at(row)])) gain |= kBySmaller;
        if (!is_minus_infinite(statement.row_lower[at(row)])) gain |= kByLarger;
        return gain;
    }

    [[nodiscard]] const Interval& range(int node) const noexcept { return ranges_.node(node); }

    // By one operand; everything where it is not known.
    [[nodiscard]] Interval slope(int k, std::size_t i) const {
        const std::span<const int> operands = graph_.operands(k);
        const Operation operation = graph_.node(k).operation;
        const Interval& first = range(operands[0]);
        const Interval& last = range(operands.back());
        switch (operation) {
            case Operation::kAdd:
            case Operation::kMax:
            case Operation::kMin:
                return Interval::point(1);
            case Operation::kSubtract:
                return Interval::point(i == 0 ? 1 : -1);
            case Operation::kMultiply:
                return operands[0] == operands[1] ? first : range(operands[1 - i]);
            case Operation::kDivide:
                if (last.has_inside(0)) return {};
                return i == 0 ? Interval::point(1) / last : -first;
            case Operation::kPower:
                if (i == 0 && last.is_point()) return slopes_of_power(first, last.lower).first;
                return i == 1 ? slopes_of_exponential(first, last).first : Interval{};
            case Operation::kUser:
                return {};
            case Operation::kSign:
                return {0, std::numeric_limits<double>::infinity()};
            default:
                return slopes_of_function(operation, first).first;
        }
    }

    const FormulaGraph& graph_;
    const IntervalAnalysis& ranges_;
    std::vector<Gain> gains_;
};

// Writes the new columns for the nodes that they stand for.
class KinkWriter final : public FormulaWriter {
  public:
    KinkWriter(const FormulaGraph& graph, const std::vector<int>& column_of_node)
        : FormulaWriter(graph), column_of_node_(column_of_node) {}

  private:
    bool replace(int node) override {
        if (column_of_node_[at(node)] < 0) return false;
        column(column_of_node_[at(node)]);
        return true;
    }

    const std::vector<int>& column_of_node_;
};

class Reformulation {
  public:
    explicit Reformulation(const Statement& given)
        : given_(given),
          graph_(given),
          ranges_(given, graph_),
          column_of_node_(at(graph_.num_nodes()), -1),
          writer_(graph_, column_of_node_) {
        result_.statement = given;
    }

    KinkReformulation run() {
        find();
        if (result_.replaced == 0) return std::move(result_);
        for (int k = 0; k < graph_.num_nodes(); ++k)
            if (column_of_node_[at(k)] >= 0) add_rows(k);
        rewrite_terms();
        set_formulas();
        return std::move(result_);
    }

  private:
    void find() {
        const Gains gains(given_, graph_, ranges_);
        for (int k = 0; k < graph_.num_nodes(); ++k) {
            const Operation operation = graph_.node(k).operation;
            if (gains[k] == 0 || !has_kink(k)) continue;
            if (gains[k] == (operation == Operation::kMin ? kByLarger : kBySmaller) &&
                operation != Operation::kSign) {
                add_column(k);
                ++result_.replaced;
            } else {
                ++result_.left;
            }
        }
    }

    [[nodiscard]] bool has_kink(int k) const {
        const Operation operation = graph_.node(k).operation;
        if (operation == Operation::kMax || operation == Operation::kMin)
            return graph_.operands(k).size() > 1;
        return (operation == Operation::kAbs || operation == Operation::kSign) &&
               ranges_.node(graph_.operands(k)[0]).has_inside(0);
    }

    // Its bounds keep it where the slopes are known.
    void add_column(int k) {
        Statement& s = result_.statement;
        const int column = s.num_columns();
        column_of_node_[at(k)] = column;
        s.column_lower.push_back(ranges_.node(k).lower);
        s.column_upper.push_back(ranges_.node(k).upper);
        s.moving.push_back(column);
        s.fixed_value.push_back(0);
        s.start.push_back(std::numeric_limits<double>::quiet_NaN());
    }

    void add_rows(int k) {
        const Operation operation = graph_.node(k).operation;
        for (const int operand : graph_.operands(k)) {
            const int formula = writer_.write(operand);
            add_row(k, 1, formula);
            if (operation == Operation::kAbs) add_row(k, -1, formula);
        }
    }

    // factor * formula - t <= 0, or >= 0 for min.
    void add_row(int k, double factor, int formula) {
        constexpr double kInfinity = std::numeric_limits<double>::infinity();
        const bool is_min = graph_.node(k).operation == Operation::kMin;
        Statement& s = result_.statement;
        const int row = s.num_rows();
        s.row_lower.push_back(is_min ? 0 : -kInfinity);
        s.row_upper.push_back(is_min ? kInfinity : 0);
        s.model_row.push_back(-1);
        s.linear.push_back({row, column_of_node_[at(k)], -1});
        s.nonlinear.push_back({row, kNoColumn, factor, {}});
        formula_of_term_.push_back({s.nonlinear.size() - 1, formula});
    }

    void rewrite_terms() {
        std::vector<char> contains(column_of_node_.size(), 0);
        for (int k = 0; k < graph_.num_nodes(); ++k) {
            contains[at(k)] =
                static_cast<char>(column_of_node_[at(k)] >= 0 ||
                                  std::ranges::any_of(graph_.operands(k), [&](int operand) {
                                      return contains[at(operand)] != 0;
                                  }));
        }
        for (std::size_t k = 0; k < graph_.roots().size(); ++k) {
            const GraphRoot& root = graph_.roots()[k];
            if (contains[at(root.node)] == 0) continue;
            result_.statement.nonlinear[k].column = kNoColumn;
            formula_of_term_.push_back({k, writer_.write(root.node)});
        }
    }

    void set_formulas() {
        Statement& s = result_.statement;
        const FormulaWriter::Written written = writer_.finish(given_.own_formulas);
        for (const auto& [term, formula] : formula_of_term_)
            s.nonlinear[term].formula = written.formulas[at(formula)];
        s.own_formulas = written.arrays;
    }

    struct TermFormula {
        std::size_t term;
        int formula;
    };

    const Statement& given_;
    FormulaGraph graph_;
    IntervalAnalysis ranges_;
    std::vector<int> column_of_node_;
    KinkWriter writer_;
    std::vector<TermFormula> formula_of_term_;
    KinkReformulation result_;
};

}  // namespace

KinkReformulation reformulate_kinks(const Statement& given) {
    return Reformulation(given).run();
}

}  // namespace qlx::nlp
