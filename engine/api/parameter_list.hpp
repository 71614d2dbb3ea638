// Controls and attributes of one handle as the parallel arrays that the interface hands out.
#pragma once

#include <vector>

#include "engine/core/attributes.hpp"
#include "engine/core/controls.hpp"

namespace qlx {

// The descriptor bits of an entry's type and of controls.
struct DescriptorBits {
    int integer;
    int real;
    int text;
    int control;
};

struct ParameterList {
    std::vector<const char*> names;
    std::vector<int> ids;
    std::vector<int> flags;

    // Ended by an empty name with id 0.
    ParameterList(Handle handle, const DescriptorBits& bits) {
        const auto add = [&](const auto& row, int kind) {
            if (row.handle != handle) return;
            names.push_back(row.name);
            ids.push_back(row.id);
            flags.push_back(kind | (row.integer != nullptr ? bits.integer
                                    : row.is_real()        ? bits.real
                                                           : bits.text));
        };
        for (const ControlRow& row : control_table()) add(row, bits.control);
        for (const AttributeRow& row : attribute_table()) add(row, 0);
        names.push_back("");
        ids.push_back(0);
        flags.push_back(0);
    }
    // Null targets are not wanted.
    void give(const char* const** names_out, const int** ids_out, const int** flags_out) const {
        if (names_out != nullptr) *names_out = names.data();
        if (ids_out != nullptr) *ids_out = ids.data();
        if (flags_out != nullptr) *flags_out = flags.data();
    }
};

}  // namespace qlx
