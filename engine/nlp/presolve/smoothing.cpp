// Smooth functions in the place of kinks.
#include <algorithm>
#include <cstddef>

#include "engine/base/index.hpp"
#include "engine/nlp/presolve/formula_writer.hpp"
#include "engine/nlp/presolve/kinks.hpp"

namespace qlx::nlp {

namespace {

// Instructions of one formula; max writes its arguments twice.
constexpr double kLongest = 1e5;

bool is_kink(Operation operation) noexcept {
    return operation == Operation::kAbs || operation == Operation::kSign ||
           operation == Operation::kMax || operation == Operation::kMin;
}

class SmoothWriter final : public FormulaWriter {
  public:
    SmoothWriter(const FormulaGraph& graph, double eps) : FormulaWriter(graph), eps_(eps) {}

  private:
    bool replace(int node) override {
        const Operation operation = graph().node(node).operation;
        const std::span<const int> operands = graph().operands(node);
        if (!is_kink(operation)) return false;
        if (operation == Operation::kMax || operation == Operation::kMin) {
            write_extremum(operation, operands);
            return true;
        }
        if (operation == Operation::kSign) write_node(operands[0]);
        write_node(operands[0]);
        apply_size();
        if (operation == Operation::kSign) apply(Operation::kDivide);
        return true;
    }

    // By halves, so that the length grows with the square of the number of operands.
    void write_extremum(Operation operation, std::span<const int> operands) {
        if (operands.size() == 1) {
            write_node(operands[0]);
            return;
        }
        const std::span<const int> first = operands.first(operands.size() / 2);
        const std::span<const int> second = operands.subspan(operands.size() / 2);
        constant(0.5);
        write_extremum(operation, first);
        write_extremum(operation, second);
        apply(Operation::kAdd);
        write_extremum(operation, first);
        write_extremum(operation, second);
        apply(Operation::kSubtract);
        apply_size();
        apply(operation == Operation::kMax ? Operation::kAdd : Operation::kSubtract);
        apply(Operation::kMultiply);
    }

    // sqrt(x^2 + eps^2) of the value on top.
    void apply_size() {
        constant(2);
        apply(Operation::kPower);
        constant(eps_ * eps_);
        apply(Operation::kAdd);
        apply(Operation::kSqrt, 1);
    }

    double eps_;
};

// How long the formula of every node would be, and whether it has kinks.
struct Extent {
    double length = 1;
    bool has_kink = false;
};
std::vector<Extent> extents_of(const FormulaGraph& graph) {
    std::vector<Extent> extents(at(graph.num_nodes()));
    for (int k = 0; k < graph.num_nodes(); ++k) {
        const Operation operation = graph.node(k).operation;
        Extent& extent = extents[at(k)];
        extent.has_kink = is_kink(operation);
        for (const int operand : graph.operands(k)) {
            extent.length += extents[at(operand)].length;
            extent.has_kink = extent.has_kink || extents[at(operand)].has_kink;
        }
        if (!is_kink(operation)) continue;
        // Two more for every time that the operands are halved, and at least one.
        double times = 2;
        for (std::size_t n = 2; n < graph.operands(k).size(); n *= 2) times *= 2;
        extent.length = times * (extent.length + 8);
    }
    return extents;
}

}  // namespace

KinkReformulation smooth_kinks(const Statement& given, double eps) {
    const FormulaGraph graph(given);
    const std::vector<Extent> extents = extents_of(graph);
    KinkReformulation result;
    result.statement = given;
    SmoothWriter writer(graph, eps);
    std::vector<std::size_t> terms;
    for (std::size_t k = 0; k < graph.roots().size(); ++k) {
        const Extent& extent = extents[at(graph.roots()[k].node)];
        if (!extent.has_kink) continue;
        if (extent.length > kLongest) {
            ++result.left;
            continue;
        }
        writer.write(graph.roots()[k].node);
        terms.push_back(k);
    }
    result.replaced = static_cast<int>(terms.size());
    if (terms.empty()) return result;
    const FormulaWriter::Written written = writer.finish(given.own_formulas);
    for (std::size_t k = 0; k < terms.size(); ++k) {
        NonlinearTerm& term = result.statement.nonlinear[terms[k]];
        term.column = kNoColumn;
        term.formula = written.formulas[k];
    }
    result.statement.own_formulas = written.arrays;
    return result;
}

}  // namespace qlx::nlp
