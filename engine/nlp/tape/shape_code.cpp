// Programs that compute the value and derivatives of all expressions of one shape.
#include "engine/nlp/tape/shape_code.hpp"

#include <algorithm>
#include <limits>

#include "engine/nlp/tape/derivatives.hpp"
#include "engine/nlp/tape/shape_constants.hpp"

namespace qlx::nlp {

namespace {

constexpr int kNoPlace = -1;

// Whether a value is worth a place in memory between the programs.
bool is_expensive(NodeKind kind) noexcept {
    return kind == NodeKind::kReciprocal || kind == NodeKind::kDivide ||
           (kind >= NodeKind::kHalfPower && kind <= NodeKind::kAtan) || kind == NodeKind::kErf ||
           kind == NodeKind::kErfc || kind == NodeKind::kPower || kind == NodeKind::kPowerBelow ||
           kind == NodeKind::kPowerTimesLog || kind == NodeKind::kUser ||
           kind == NodeKind::kUserPartials || kind == NodeKind::kUserCurvatures;
}

class Compiler {
  public:
    explicit Compiler(const ShapeGroup& group) : group_(group) {}

    ShapeCode run() {
        state_expression();
        if (group_.users != 0)
            choose_outputs(differentiate(graph_, root_, weight_, group_.num_slots));
        place_.assign(at(graph_.size()), kNoPlace);
        saved_.assign(at(graph_.size()), 0);
        varies_ = find_varying(graph_);
        place_constants();
        choose_saved();
        code_.value = emit({root_});
        code_.first = emit(first_);
        code_.second = emit(second_);
        return std::move(code_);
    }

  private:
    void state_expression() {
        // Columns come first, as differentiation wants the leaves before all operations.
        for (int slot = 0; slot < group_.num_slots; ++slot)
            (void)graph_.leaf(NodeKind::kColumn, slot);
        std::vector<int> node_of(group_.nodes.size());
        for (std::size_t k = 0; k < group_.nodes.size(); ++k) {
            const Node& node = group_.nodes[k];
            code_.has_kinks |= has_kink(node.kind);
            node_of[k] = state(node, node_of);
        }
        root_ = node_of.back();
        for (const int node : group_.nodes_of_parts) parts_.push_back(node_of[at(node)]);
        graph_.set_drop_zeros(true);
        weight_ = graph_.leaf(NodeKind::kWeight, 0);
    }

    int state(const Node& node, const std::vector<int>& node_of) {
        const auto operand = [&](int index) { return index < 0 ? kNoNode : node_of[at(index)]; };
        switch (node.kind) {
            case NodeKind::kColumn:
                return graph_.leaf(NodeKind::kColumn, node.a);
            case NodeKind::kParameter:
                return state_parameter(node.a);
            case NodeKind::kIntegerPower:
                return graph_.integer_power(operand(node.a), node.c);
            case NodeKind::kHalfPower:
                return graph_.half_power(operand(node.a), node.c);
            case NodeKind::kArgument:
                return graph_.raw(node.kind, operand(node.a), operand(node.b), kNoNode);
            case NodeKind::kUser:
                return graph_.raw(node.kind, operand(node.a), node.b, node.c);
            default:
                return is_of_one(node.kind)
                           ? graph_.apply(node.kind, operand(node.a))
                           : graph_.apply(node.kind, operand(node.a), operand(node.b));
        }
    }

    // A constant that all expressions agree on is part of the shape.
    int state_parameter(int number) {
        const double value = group_.parameter(0, number);
        for (std::size_t k = 1; k < group_.count(); ++k)
            if (!(group_.parameter(k, number) == value))
                return graph_.leaf(NodeKind::kParameter, number);
        return graph_.literal(value);
    }

    void choose_outputs(const Derivatives& derivatives) {
        for (int slot = 0; slot < group_.num_slots; ++slot) {
            if (derivatives.first[at(slot)] == kNoNode) continue;
            code_.first_slots.push_back(slot);
            first_.push_back(derivatives.first[at(slot)]);
        }
        for (const SecondDerivative& entry : derivatives.second) {
            code_.second_slots.push_back({entry.i, entry.j});
            second_.push_back(entry.node);
        }
    }

    void place_constants() {
        code_.has_constant_curvature = true;
        for (const int index : graph_.below(second_, [](int) { return false; }))
            if (varies_[at(index)] == Varying::kWithColumns) code_.has_constant_curvature = false;
        std::vector<int> roots = first_;
        roots.insert(roots.end(), second_.begin(), second_.end());
        roots.push_back(root_);
        for (std::size_t k = 0; k < parts_.size(); ++k)
            place_[at(parts_[k])] =
                new_place({PlaceKind::kSlot, group_.num_slots + static_cast<int>(k), 0});
        std::vector<int> computed;
        const auto is_constant = [&](int index) { return varies_[at(index)] == Varying::kNever; };
        for (const int index : graph_.below(roots, is_constant)) {
            const Node& node = graph_.node(index);
            if (node.kind == NodeKind::kColumn)
                place_[at(index)] = new_place({PlaceKind::kSlot, node.a, 0});
            else if (node.kind == NodeKind::kWeight)
                place_[at(index)] = new_place({PlaceKind::kWeight, 0, 0});
            else if (node.kind == NodeKind::kLiteral)
                place_[at(index)] = new_place({PlaceKind::kLiteral, 0, node.value});
            else if (is_constant(index) && node.kind != NodeKind::kArgument)
                computed.push_back(index);
        }
        for (const int index : computed)
            place_[at(index)] = new_place({PlaceKind::kParameter, code_.num_parameters++, 0});
        code_.parameters = constant_values(graph_, group_, computed);
    }

    int new_place(Place place) {
        code_.places.push_back(place);
        return static_cast<int>(code_.places.size()) - 1;
    }

    // What one program computes with effort and a later one reads too is kept.
    void choose_saved() {
        std::vector<char> known(at(graph_.size()), 0);
        for (const std::vector<int>& outputs : {std::vector<int>{root_}, first_, second_}) {
            const auto stops = [&](int index) {
                return place_[at(index)] != kNoPlace || known[at(index)] != 0;
            };
            const std::vector<int> reached = graph_.below(outputs, stops);
            for (const int index : reached) saved_[at(index)] |= known[at(index)];
            for (const int index : reached)
                if (place_[at(index)] == kNoPlace && is_expensive(graph_.node(index).kind))
                    known[at(index)] = 1;
        }
    }

    // Where a value is to be found that takes no operation here; kNoPlace where it takes one.
    int settled_place(int index) {
        int& place = place_[at(index)];
        const Node& node = graph_.node(index);
        if (place == kNoPlace &&
            (node.kind == NodeKind::kUserPartial || node.kind == NodeKind::kUserCurvature) &&
            place_[at(node.a)] != kNoPlace)
            place = place_[at(node.a)] + node.b;
        return place;
    }

    ShapeProgram emit(const std::vector<int>& outputs) {
        ShapeProgram program;
        const std::vector<int> order =
            graph_.below(outputs, [&](int index) { return settled_place(index) != kNoPlace; });
        fuse(order, outputs);
        find_last_uses(order, outputs);
        free_registers_ = registers_;
        std::vector<int> borrowed;  // nodes with a register of this program
        for (std::size_t k = 0; k < order.size(); ++k) {
            const int index = order[k];
            const Node& node = graph_.node(index);
            if (const int place = settled_place(index); place != kNoPlace) {
                if (code_.places[at(place)].kind == PlaceKind::kSlot)
                    program.slots.push_back(code_.places[at(place)].number);
                continue;
            }
            if (node.kind == NodeKind::kArgument || fused_[at(index)] != 0) continue;
            Code code = code_of(node);
            release_registers(k);
            code.out = result_place(index, node, borrowed);
            program.codes.push_back(code);
        }
        for (const int output : outputs) program.outputs.push_back(place_[at(output)]);
        for (const int index : borrowed) place_[at(index)] = kNoPlace;
        return program;
    }

    // Products that only one sum reads are computed with it.
    void fuse(const std::vector<int>& order, const std::vector<int>& outputs) {
        std::vector<int> readers(at(graph_.size()), 0);
        for (const int index : order)
            if (settled_place(index) == kNoPlace)
                graph_.for_operands(index, [&](int operand) { ++readers[at(operand)]; });
        for (const int output : outputs) readers[at(output)] = 2;
        fused_.assign(at(graph_.size()), 0);
        for (const int index : order) {
            const Node& node = graph_.node(index);
            if (settled_place(index) != kNoPlace || !is_sum(node.kind)) continue;
            for (const int operand : {node.b, node.a}) {
                const NodeKind kind = graph_.node(operand).kind;
                const bool is_product = kind == NodeKind::kMultiply || kind == NodeKind::kSquare;
                if (!is_product || readers[at(operand)] != 1 || saved_[at(operand)] != 0 ||
                    settled_place(operand) != kNoPlace)
                    continue;
                fused_[at(operand)] = 1;
                break;
            }
        }
    }

    static bool is_sum(NodeKind kind) noexcept {
        return kind == NodeKind::kAdd || kind == NodeKind::kSubtract;
    }

    void find_last_uses(const std::vector<int>& order, const std::vector<int>& outputs) {
        constexpr int kForever = std::numeric_limits<int>::max();
        last_use_.assign(at(graph_.size()), 0);
        for (std::size_t k = 0; k < order.size(); ++k) note_uses(order[k], static_cast<int>(k));
        for (const int output : outputs) last_use_[at(output)] = kForever;
        ends_.assign(order.size(), {});
        for (const int index : order)
            if (const int last = last_use_[at(index)]; last != kForever && last > 0)
                ends_[at(last)].push_back(index);
    }

    void note_uses(int index, int position) {
        const NodeKind kind = graph_.node(index).kind;
        if (kind == NodeKind::kArgument || settled_place(index) != kNoPlace) return;
        if (fused_[at(index)] != 0) return;
        graph_.for_operands(index, [&](int operand) {
            if (fused_[at(operand)] != 0)
                graph_.for_operands(operand, [&](int factor) { last_use_[at(factor)] = position; });
            // Arguments are read where the function is called.
            for (int list = operand; list != kNoNode; list = graph_.node(list).a) {
                const bool is_list = graph_.node(list).kind == NodeKind::kArgument;
                last_use_[at(is_list ? graph_.node(list).b : list)] = position;
                if (!is_list) break;
            }
        });
    }

    // A result may take the place of an operand that is not read again.
    void release_registers(std::size_t position) {
        for (const int index : ends_[position]) {
            const int place = place_[at(index)];
            if (place != kNoPlace && code_.places[at(place)].kind == PlaceKind::kRegister)
                free_registers_.push_back(place);
        }
    }

    static NodeKind fused_kind(NodeKind sum, bool product_is_first) noexcept {
        if (sum == NodeKind::kAdd) return NodeKind::kMultiplyAdd;
        return product_is_first ? NodeKind::kMultiplySubtract : NodeKind::kSubtractProduct;
    }

    Code code_of(const Node& node) {
        if (is_of_user(node.kind)) {
            const int first = static_cast<int>(code_.arguments.size());
            for (int list = node.a; list != kNoNode; list = graph_.node(list).a)
                code_.arguments.push_back(place_[at(graph_.node(list).b)]);
            std::reverse(code_.arguments.begin() + first, code_.arguments.end());
            return {node.kind, kNoPlace, first, node.b, node.c};
        }
        const auto place = [&](int operand) { return operand < 0 ? 0 : place_[at(operand)]; };
        if (is_sum(node.kind))
            for (const bool is_first : {false, true})
                if (const int operand = is_first ? node.a : node.b; fused_[at(operand)] != 0) {
                    const Node& factors = graph_.node(operand);
                    const bool is_square = factors.kind == NodeKind::kSquare;
                    return {fused_kind(node.kind, is_first), kNoPlace, place(factors.a),
                            place(is_square ? factors.a : factors.b),
                            place(is_first ? node.b : node.a)};
                }
        if (is_of_three(node.kind))
            return {node.kind, kNoPlace, place(node.a), place(node.b), place(node.c)};
        return {node.kind, kNoPlace, place(node.a), is_of_two(node.kind) ? place(node.b) : 0,
                node.c};
    }

    int result_place(int index, const Node& node, std::vector<int>& borrowed) {
        int& place = place_[at(index)];
        if (node.kind == NodeKind::kUserPartials || node.kind == NodeKind::kUserCurvatures) {
            const int count =
                node.kind == NodeKind::kUserPartials ? node.b : node.b * (node.b + 1) / 2;
            place = new_place({PlaceKind::kSaved, code_.num_saved++, 0});
            for (int k = 1; k < count; ++k)
                (void)new_place({PlaceKind::kSaved, code_.num_saved++, 0});
        } else if (index == root_ && group_.is_part) {
            place = new_place({PlaceKind::kPart, 0, 0});
        } else if (saved_[at(index)] != 0) {
            place = new_place({PlaceKind::kSaved, code_.num_saved++, 0});
        } else {
            if (free_registers_.empty()) {
                registers_.push_back(new_place({PlaceKind::kRegister, code_.num_registers++, 0}));
                free_registers_.push_back(registers_.back());
            }
            place = free_registers_.back();
            free_registers_.pop_back();
            borrowed.push_back(index);
        }
        return place;
    }

    const ShapeGroup& group_;
    ExpressionGraph graph_;
    int root_ = kNoNode;
    int weight_ = kNoNode;
    std::vector<int> parts_;  // nodes that are read
    std::vector<int> first_;
    std::vector<int> second_;
    std::vector<Varying> varies_;
    std::vector<int> place_;  // by node
    std::vector<char> saved_;
    std::vector<char> fused_;
    std::vector<int> last_use_;           // by node: the position of its last user
    std::vector<std::vector<int>> ends_;  // by position: nodes used last there
    std::vector<int> registers_;          // their places
    std::vector<int> free_registers_;
    ShapeCode code_;
};

}  // namespace

ShapeCode compile(const ShapeGroup& group) {
    return Compiler(group).run();
}

}  // namespace qlx::nlp
