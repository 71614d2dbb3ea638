// Which parts of a shape's expressions are constants, and their values.
#include "engine/nlp/tape/shape_constants.hpp"

#include <algorithm>

namespace qlx::nlp {

std::vector<Varying> find_varying(const ExpressionGraph& graph) {
    std::vector<Varying> result(at(graph.size()), Varying::kNever);
    for (int index = 0; index < graph.size(); ++index) {
        const NodeKind kind = graph.node(index).kind;
        Varying& varying = result[at(index)];
        if (kind == NodeKind::kWeight) varying = Varying::kWithWeight;
        if (kind == NodeKind::kColumn || kind == NodeKind::kArgument || is_of_user(kind))
            varying = Varying::kWithColumns;
        graph.for_operands(index,
                           [&](int operand) { varying = std::max(varying, result[at(operand)]); });
    }
    return result;
}

std::vector<double> constant_values(const ExpressionGraph& graph, const ShapeGroup& group,
                                    const std::vector<int>& nodes) {
    std::vector<double> result(nodes.size() * group.count());
    if (nodes.empty()) return result;
    std::vector<double> value(at(graph.size()), 0.0);
    const std::vector<Varying> varying = find_varying(graph);
    for (std::size_t k = 0; k < group.count(); ++k) {
        for (int index = 0; index <= nodes.back(); ++index) {
            const Node& node = graph.node(index);
            if (varying[at(index)] != Varying::kNever) continue;
            double& to = value[at(index)];
            const auto of = [&](int operand) { return value[at(operand)]; };
            if (node.kind == NodeKind::kLiteral)
                to = node.value;
            else if (node.kind == NodeKind::kParameter)
                to = group.parameter(k, node.a);
            else if (is_of_one(node.kind))
                to = apply_one(node.kind, of(node.a), node.c);
            else if (is_of_two(node.kind))
                to = apply_two(node.kind, of(node.a), of(node.b));
            else if (is_of_three(node.kind))
                to = apply_three(node.kind, of(node.a), of(node.b), of(node.c));
        }
        for (std::size_t n = 0; n < nodes.size(); ++n)
            result[n * group.count() + k] = value[at(nodes[n])];
    }
    return result;
}

}  // namespace qlx::nlp
