// A shape's expressions with the places that their values and derivatives are added to.
#include "engine/nlp/tape/used_shape.hpp"

#include <algorithm>

namespace qlx::nlp {

UsedShape::UsedShape(const ShapeGroup& group,
                     const std::vector<std::span<const ExpressionUse>>& uses, double* x,
                     const std::vector<int>& place_of_part, UserCalls& user)
    : users_(group.users),
      needed_by_(group.needed_by),
      tape_(group, x, place_of_part, user),
      num_slots_(group.num_slots) {
    columns_.resize(at(num_slots_) * group.count());
    for (std::size_t k = 0; k < group.count(); ++k)
        for (int slot = 0; slot < num_slots_; ++slot)
            columns_[at(slot) * group.count() + k] = group.column(k, slot);
    if ((group.users & kUsedByObjective) != 0) objective_coefficients_.resize(group.count());
    for (std::size_t k = 0; k < group.count() && users_ != 0; ++k) {
        std::size_t depth = 0;
        for (const ExpressionUse& use : uses[at(group.expressions[k])]) {
            if (use.row == kObjectiveRow) {
                objective_coefficients_[k] = use.coefficient;
                continue;
            }
            if (depth == layers_.size()) layers_.emplace_back();
            Layer& layer = layers_[depth++];
            layer.expressions.push_back(static_cast<int>(k));
            layer.rows.push_back(use.row);
            layer.coefficients.push_back(use.coefficient);
        }
    }
    for (Layer& layer : layers_)
        if (layer.expressions.size() == group.count()) layer.expressions.clear();
}

void UsedShape::add_entries(EntryIndex& jacobian, EntryIndex& hessian) const {
    for (const Layer& layer : layers_)
        for (const int slot : code().first_slots)
            for (std::size_t k = 0; k < layer.rows.size(); ++k)
                jacobian.add(layer.rows[k],
                             columns_[at(slot) * tape_.count() + expression(layer, k)]);
    for (const SlotPair pair : code().second_slots) {
        const int* one = columns_.data() + at(pair.i) * tape_.count();
        const int* other = columns_.data() + at(pair.j) * tape_.count();
        for (std::size_t k = 0; k < tape_.count(); ++k)
            hessian.add(std::max(one[k], other[k]), std::min(one[k], other[k]));
    }
}

void UsedShape::find_positions(const EntryIndex& jacobian, const EntryIndex& hessian) {
    for (Layer& layer : layers_) {
        for (const int slot : code().first_slots) {
            std::vector<int>& positions = layer.positions.emplace_back();
            for (std::size_t k = 0; k < layer.rows.size(); ++k)
                positions.push_back(jacobian.position(
                    layer.rows[k], columns_[at(slot) * tape_.count() + expression(layer, k)]));
        }
    }
    for (const SlotPair pair : code().second_slots) {
        const int* one = columns_.data() + at(pair.i) * tape_.count();
        const int* other = columns_.data() + at(pair.j) * tape_.count();
        std::vector<int>& positions = hessian_positions_.emplace_back();
        for (std::size_t k = 0; k < tape_.count(); ++k)
            positions.push_back(
                hessian.position(std::max(one[k], other[k]), std::min(one[k], other[k])));
    }
}

// add(use, expression counted from the block's first) for the layer's uses in a block.
template <class Add>
void UsedShape::for_block(const Layer& layer, std::size_t first, std::size_t n, Add&& add) const {
    if (layer.expressions.empty()) {
        for (std::size_t k = 0; k < n; ++k) add(first + k, k);
        return;
    }
    const auto begin = layer.expressions.begin();
    const auto place = std::lower_bound(begin, layer.expressions.end(), static_cast<int>(first));
    for (auto k = static_cast<std::size_t>(place - begin);
         k < layer.expressions.size() && at(layer.expressions[k]) < first + n; ++k)
        add(k, at(layer.expressions[k]) - first);
}

void UsedShape::add_values(double& objective, double* rows) {
    // A part of objective and rows is evaluated for whichever comes first.
    if (has_values_ && users_ == 0) return;
    has_values_ = true;
    tape_.run(code().value, [&](std::size_t first, std::size_t n, const double* const* outputs) {
        const double* value = outputs[0];
        if (!objective_coefficients_.empty()) {
            const double* coefficient = objective_coefficients_.data() + first;
            double sum = 0;
            for (std::size_t k = 0; k < n; ++k) sum += coefficient[k] * value[k];
            objective += sum;
        }
        for (const Layer& layer : layers_)
            for_block(layer, first, n, [&](std::size_t use, std::size_t k) {
                rows[layer.rows[use]] += layer.coefficients[use] * value[k];
            });
    });
}

void UsedShape::add_gradient(double* gradient) {
    has_first_ = true;
    tape_.run(code().first, [&](std::size_t first, std::size_t n, const double* const* outputs) {
        const double* coefficient = objective_coefficients_.data() + first;
        for (std::size_t s = 0; s < code().first_slots.size(); ++s) {
            const int* to = columns_.data() + at(code().first_slots[s]) * tape_.count() + first;
            const double* slope = outputs[s];
            for (std::size_t k = 0; k < n; ++k) gradient[to[k]] += coefficient[k] * slope[k];
        }
    });
}

void UsedShape::add_jacobian(double* jacobian) {
    has_first_ = true;
    tape_.run(code().first, [&](std::size_t first, std::size_t n, const double* const* outputs) {
        for (const Layer& layer : layers_) {
            for (std::size_t s = 0; s < layer.positions.size(); ++s) {
                const int* to = layer.positions[s].data();
                const double* slope = outputs[s];
                for_block(layer, first, n, [&](std::size_t use, std::size_t k) {
                    jacobian[to[use]] += layer.coefficients[use] * slope[k];
                });
            }
        }
    });
}

void UsedShape::prepare_hessian() {
    if (has_first_ || code().first_slots.empty()) return;
    has_first_ = true;
    tape_.run(code().first, [](std::size_t, std::size_t, const double* const*) {});
}

void UsedShape::weigh(double objective_factor, const double* multipliers) {
    std::vector<double>& weights = tape_.weights();
    if (objective_coefficients_.empty())
        std::fill(weights.begin(), weights.end(), 0.0);
    else
        for (std::size_t k = 0; k < weights.size(); ++k)
            weights[k] = objective_factor * objective_coefficients_[k];
    for (const Layer& layer : layers_)
        for_block(layer, 0, weights.size(), [&](std::size_t use, std::size_t k) {
            weights[k] += layer.coefficients[use] * multipliers[layer.rows[use]];
        });
}

void UsedShape::add_hessian(double objective_factor, const double* multipliers, double* hessian) {
    if (code().second_slots.empty()) return;
    weigh(objective_factor, multipliers);
    tape_.run(code().second, [&](std::size_t first, std::size_t n, const double* const* outputs) {
        for (std::size_t s = 0; s < hessian_positions_.size(); ++s) {
            const int* to = hessian_positions_[s].data() + first;
            const double* curvature = outputs[s];
            for (std::size_t k = 0; k < n; ++k) hessian[to[k]] += curvature[k];
        }
    });
}

void UsedShape::add_hessian_of_weighted(double* hessian) {
    if (code().second_slots.empty()) return;
    tape_.run(code().second, [&](std::size_t first, std::size_t n, const double* const* outputs) {
        for (std::size_t s = 0; s < hessian_positions_.size(); ++s) {
            const int* to = hessian_positions_[s].data() + first;
            const double* weight = tape_.weights().data() + first;
            for (std::size_t k = 0; k < n; ++k)
                if (weight[k] != 0) hessian[to[k]] += outputs[s][k];
        }
    });
}

}  // namespace qlx::nlp
