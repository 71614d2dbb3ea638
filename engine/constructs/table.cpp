// The table of constructs: a new one is a row here and a file of its own.
#include "engine/constructs/construct.hpp"

namespace qlx {

const std::vector<const Construct*>& construct_table() {
    static const auto& table = *new std::vector<const Construct*>{
        &semicontinuous(), &partial_integer(), &ordered_sets(), &indicators()};
    return table;
}

std::vector<ConstructItem> construct_items(const Model& model) {
    std::vector<ConstructItem> all;
    for (const Construct* construct : construct_table())
        for (const int item : construct->items(model)) all.push_back({construct, item});
    return all;
}

bool has_constructs(const Model& model) {
    for (const Construct* construct : construct_table())
        if (!construct->items(model).empty()) return true;
    return false;
}

}  // namespace qlx
