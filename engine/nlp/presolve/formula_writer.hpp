// Writes parts of a formula graph as formulas again, with other expressions in some places.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "engine/nlp/analysis/formula_graph.hpp"

namespace qlx::nlp {

// Formulas are written one after the other; they get their addresses at the end.
class FormulaWriter {
  public:
    explicit FormulaWriter(const FormulaGraph& graph) : graph_(graph) {}
    virtual ~FormulaWriter() = default;

    // The number of the formula.
    int write(int node);

    // All formulas, kept alive by the result as are those of `previous`.
    struct Written {
        std::shared_ptr<const FormulaArrays> arrays;
        std::vector<Formula> formulas;
    };
    [[nodiscard]] Written finish(std::shared_ptr<const FormulaArrays> previous);

  protected:
    // Writes something else for a node; false where it is written as it is.
    virtual bool replace(int node) = 0;

    void write_node(int node);
    void constant(double value);
    void column(int column);
    void apply(Operation operation, int argument = 0);
    [[nodiscard]] const FormulaGraph& graph() const noexcept { return graph_; }

  private:
    struct Place {
        std::size_t instruction;
        std::size_t constant;
    };

    const FormulaGraph& graph_;
    FormulaArrays arrays_;
    std::vector<Place> starts_;
};

}  // namespace qlx::nlp
