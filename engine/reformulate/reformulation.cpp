// States a model's constructs one after the other.
#include "engine/reformulate/reformulation.hpp"

#include "engine/reformulate/builder.hpp"

namespace qlx {

bool needs_reformulation(const Model& model) {
    if (model.num_sets() > 0 || !model.indicators().empty()) return true;
    if (model.num_entities() == 0) return false;
    for (const char type : model.col_type())
        if (type == 'S' || type == 'R' || type == 'P') return true;
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
