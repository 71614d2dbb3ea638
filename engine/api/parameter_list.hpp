// Controls and attributes as the parallel arrays that the interface hands out.
#pragma once

#include <vector>

#include "engine/core/attributes.hpp"
#include "engine/core/controls.hpp"

namespace qlx {

struct ParameterList {
    std::vector<const char*> names;
    std::vector<int> ids;
    std::vector<int> flags;

    void add(const char* name, int id, int bits) {
        names.push_back(name);
        ids.push_back(id);
        flags.push_back(bits);
    }
};

// Ended by an empty name with id 0; the arguments are the descriptor bits.
inline ParameterList parameter_list(int integer, int real, int text, int control) {
    ParameterList list;
    const auto type_bits = [&](const auto& row) {
        if (row.integer != nullptr) return integer;
        return row.real != nullptr ? real : text;
    };
    for (const ControlRow& row : control_table())
        list.add(row.name, row.id, control | type_bits(row));
    for (const AttributeRow& row : attribute_table()) list.add(row.name, row.id, type_bits(row));
    list.add("", 0, 0);
    return list;
}

}  // namespace qlx
