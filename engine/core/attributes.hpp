// The attributes of a problem, stated once: id, name, how to read them, what they mean.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine/core/problem_fwd.hpp"

namespace qlx {

// A row of the table. Exactly one reader is set; it tells the type.
struct AttributeRow {
    int id;
    const char* name;
    std::int64_t (*integer)(Problem&);
    double (*real)(Problem&);
    std::string (*text)(Problem&);
    const char* description;
};

[[nodiscard]] const std::vector<AttributeRow>& attribute_table();
// Null when there is none.
[[nodiscard]] const AttributeRow* find_attribute(int id);
[[nodiscard]] const AttributeRow* find_attribute(std::string_view name);  // any case

}  // namespace qlx
