// Builds the reformulated model.
#include "engine/reformulate/reformulation.hpp"

#include "engine/core/errors.hpp"

namespace qlx {

bool needs_reformulation(const Model& model) {
    if (model.num_sets() > 0 || !model.indicators().empty()) return true;
    for (const char type : model.col_type())
        if (type == 'S' || type == 'R' || type == 'P') return true;
    return false;
}

KernelModel reformulate(Model&, double) {
    fail(QLX_ERROR_UNSUPPORTED, "no solver for this class of problem yet");
}

}  // namespace qlx
