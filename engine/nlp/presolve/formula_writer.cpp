// Writes parts of a formula graph as formulas again.
#include "engine/nlp/presolve/formula_writer.hpp"

#include <algorithm>
#include <utility>

#include "engine/base/index.hpp"

namespace qlx::nlp {

namespace {

// The new formulas and what they have been added to.
struct Holder {
    FormulaArrays arrays;
    std::shared_ptr<const FormulaArrays> previous;
};

}  // namespace

int FormulaWriter::write(int node) {
    starts_.push_back({arrays_.instructions.size(), arrays_.constants.size()});
    write_node(node);
    return static_cast<int>(starts_.size()) - 1;
}

FormulaWriter::Written FormulaWriter::finish(std::shared_ptr<const FormulaArrays> previous) {
    const auto holder = std::make_shared<Holder>(Holder{std::move(arrays_), std::move(previous)});
    const FormulaArrays& arrays = holder->arrays;
    Written written;
    for (std::size_t k = 0; k < starts_.size(); ++k) {
        const std::size_t first = starts_[k].instruction;
        const std::size_t end =
            k + 1 < starts_.size() ? starts_[k + 1].instruction : arrays.instructions.size();
        written.formulas.push_back({arrays.instructions.data() + first, end - first,
                                    arrays.constants.data() + starts_[k].constant});
        int depth = 0;
        for (std::size_t i = first; i < end; ++i) {
            depth += stack_change(arrays.instructions[i]);
            holder->arrays.stack_size = std::max(holder->arrays.stack_size, depth);
        }
    }
    written.arrays = std::shared_ptr<const FormulaArrays>(holder, &holder->arrays);
    return written;
}

void FormulaWriter::write_node(int node) {
    if (replace(node)) return;
    const GraphNode& made = graph_.node(node);
    switch (made.operation) {
        case Operation::kConstant:
            constant(made.constant);
            break;
        case Operation::kColumn:
            column(made.argument);
            break;
        default:
            for (const int operand : graph_.operands(node)) write_node(operand);
            if (made.operation == Operation::kUser) arrays_.constants.push_back(made.argument);
            apply(made.operation, made.operands);
    }
}

void FormulaWriter::constant(double value) {
    arrays_.constants.push_back(value);
    arrays_.instructions.push_back({Operation::kConstant, 0});
}

void FormulaWriter::column(int column) {
    arrays_.instructions.push_back({Operation::kColumn, column});
}

void FormulaWriter::apply(Operation operation, int argument) {
    arrays_.instructions.push_back({operation, argument});
}

}  // namespace qlx::nlp
