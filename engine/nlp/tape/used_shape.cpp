// A shape's expressions with the places that their values and derivatives are added to.
#include "engine/nlp/tape/used_shape.hpp"

#include <algorithm>

namespace qlx::nlp {

UsedShape::UsedShape(const ShapeGroup& group,
                     const std::vector<std::span<const ExpressionUse>>& uses, double* x,
                     const std::vector<int>& place_of_part, UserCalls& user)
    : users_(group.users), needed_by_(group.needed_by), tape_(group, x, place_of_part, user) {
    if (users_ == 0) return;
    for (int slot = 0; slot < group.num_slots; ++slot) {
        std::vector<int> columns;
        for (std::size_t k = 0; k < group.count(); ++k) columns.push_back(group.column(k, slot));
        columns_.emplace_back(std::move(columns));
    }
    layer_uses(group, uses);
}

void UsedShape::layer_uses(const ShapeGroup& group,
                           const std::vector<std::span<const ExpressionUse>>& uses) {
    struct Lists {
        std::vector<int> expressions;
        std::vector<int> rows;
        std::vector<double> factors;
    };
    std::vector<Lists> layers;
    std::vector<double> objective;
    for (std::size_t k = 0; k < group.count(); ++k) {
        std::size_t depth = 0;
        for (const ExpressionUse& use : uses[at(group.expressions[k])]) {
            if (use.row == kObjectiveRow) {
                objective.push_back(use.coefficient);
                continue;
            }
            if (depth == layers.size()) layers.emplace_back();
            Lists& layer = layers[depth++];
            layer.expressions.push_back(static_cast<int>(k));
            layer.rows.push_back(use.row);
            layer.factors.push_back(use.coefficient);
        }
    }
    objective_factors_ = Factors(std::move(objective));
    for (Lists& lists : layers)
        layers_.push_back({Positions(std::move(lists.expressions)),
                           Positions(std::move(lists.rows)),
                           Factors(std::move(lists.factors)),
                           {}});
}

void UsedShape::add_entries(EntryIndex& jacobian, EntryIndex& hessian) const {
    for (const Layer& layer : layers_)
        for (const int slot : code().first_slots)
            for (std::size_t k = 0; k < layer.rows.size(); ++k)
                jacobian.add(layer.rows[k], columns_[at(slot)][at(layer.expressions[k])]);
    for (const SlotPair pair : code().second_slots) {
        const Positions& one = columns_[at(pair.i)];
        const Positions& other = columns_[at(pair.j)];
        for (std::size_t k = 0; k < one.size(); ++k)
            hessian.add(std::max(one[k], other[k]), std::min(one[k], other[k]));
    }
}

void UsedShape::find_positions(const EntryIndex& jacobian, const EntryIndex& hessian) {
    for (Layer& layer : layers_) {
        for (const int slot : code().first_slots) {
            std::vector<int> list;
            for (std::size_t k = 0; k < layer.rows.size(); ++k)
                list.push_back(
                    jacobian.position(layer.rows[k], columns_[at(slot)][at(layer.expressions[k])]));
            layer.jacobian.emplace_back(std::move(list));
        }
    }
    for (const SlotPair pair : code().second_slots) {
        const Positions& one = columns_[at(pair.i)];
        const Positions& other = columns_[at(pair.j)];
        std::vector<int> list;
        for (std::size_t k = 0; k < one.size(); ++k)
            list.push_back(
                hessian.position(std::max(one[k], other[k]), std::min(one[k], other[k])));
        hessian_.emplace_back(std::move(list));
    }
}

// Adds factor times value for the layer's uses of the expressions first .. first + n - 1; values
// begin with expression `first`.
void UsedShape::add_uses(const Layer& layer, const Positions& to, double* out, std::size_t first,
                         std::size_t n, const double* values) {
    const auto [begin, end] = layer.expressions.between(first, first + n);
    if (begin == end) return;
    if (layer.expressions.is_range()) {
        const double* used = values + (at(layer.expressions[begin]) - first);
        layer.factors.times(used, begin,
                            [&](auto value) { to.add(out, begin, end - begin, value); });
        return;
    }
    to.add(out, begin, end - begin, [&](std::size_t k) {
        return layer.factors[begin + k] * values[at(layer.expressions[begin + k]) - first];
    });
}

void UsedShape::add_values(double& objective, double* rows) {
    // A part of objective and rows is evaluated for whichever comes first.
    if (has_values_ && users_ == 0) return;
    has_values_ = true;
    tape_.run(code().value, [&](std::size_t first, std::size_t n, const double* const* outputs) {
        if (!objective_factors_.empty())
            objective_factors_.times(outputs[0], first,
                                     [&](auto value) { objective += sum_of(n, value); });
        for (const Layer& layer : layers_) add_uses(layer, layer.rows, rows, first, n, outputs[0]);
    });
}

void UsedShape::add_gradient(double* gradient) {
    has_first_ = true;
    tape_.run(code().first, [&](std::size_t first, std::size_t n, const double* const* outputs) {
        for (std::size_t s = 0; s < code().first_slots.size(); ++s)
            objective_factors_.times(outputs[s], first, [&](auto value) {
                columns_[at(code().first_slots[s])].add(gradient, first, n, value);
            });
    });
}

void UsedShape::add_jacobian(double* jacobian) {
    has_first_ = true;
    tape_.run(code().first, [&](std::size_t first, std::size_t n, const double* const* outputs) {
        for (const Layer& layer : layers_)
            for (std::size_t s = 0; s < layer.jacobian.size(); ++s)
                add_uses(layer, layer.jacobian[s], jacobian, first, n, outputs[s]);
    });
}

void UsedShape::prepare_hessian() {
    if (has_first_ || code().first_slots.empty()) return;
    has_first_ = true;
    tape_.run(code().first, [](std::size_t, std::size_t, const double* const*) {});
}

void UsedShape::weigh(double objective_factor, const double* multipliers) {
    std::vector<double>& weights = tape_.weights();
    for (std::size_t k = 0; k < weights.size(); ++k)
        weights[k] = objective_factors_.empty() ? 0 : objective_factor * objective_factors_[k];
    for (const Layer& layer : layers_)
        layer.expressions.add(weights.data(), 0, layer.rows.size(), [&](std::size_t k) {
            return layer.factors[k] * multipliers[layer.rows[k]];
        });
}

void UsedShape::add_hessian(double objective_factor, const double* multipliers, double* hessian) {
    if (code().second_slots.empty()) return;
    weigh(objective_factor, multipliers);
    tape_.run(code().second, [&](std::size_t first, std::size_t n, const double* const* outputs) {
        for (std::size_t s = 0; s < hessian_.size(); ++s)
            hessian_[s].add(hessian, first, n,
                            [values = outputs[s]](std::size_t k) { return values[k]; });
    });
}

void UsedShape::add_hessian_of_weighted(double* hessian) {
    if (code().second_slots.empty()) return;
    const double* weights = tape_.weights().data();
    tape_.run(code().second, [&](std::size_t first, std::size_t n, const double* const* outputs) {
        for (std::size_t s = 0; s < hessian_.size(); ++s)
            hessian_[s].add(hessian, first, n, [&, values = outputs[s]](std::size_t k) {
                return weights[first + k] != 0 ? values[k] : 0;
            });
    });
}

}  // namespace qlx::nlp
