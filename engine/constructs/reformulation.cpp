// States a model's constructs one after the other.
#include "engine/constructs/reformulation.hpp"

#include <cmath>

#include "engine/constructs/builder.hpp"

namespace qlx {

namespace {

bool is_fractional(double bound) {
    return std::fabs(bound) < kInfinity && bound != std::floor(bound);
}

}  // namespace

bool needs_reformulation(const Model& model) {
    if (model.num_sets() > 0 || !model.indicators().empty()) return true;
    if (model.num_entities() == 0) return false;
    for (std::size_t col = 0; col < model.col_type().size(); ++col) {
        const char type = model.col_type()[col];
        if (type == 'C') continue;
        if (type == 'S' || type == 'R' || type == 'P') return true;
        if (is_fractional(model.lb()[col]) || is_fractional(model.ub()[col])) return true;
    }
    return false;
}

KernelModel reformulate(Model& model, double largest_bound) {
    Builder builder(model, largest_bound);
    state_semicontinuous(builder);
    state_partial_integers(builder);
    state_ordered_sets(builder);
    state_indicators(builder);
    return builder.take();
}

}  // namespace qlx
