// The attributes of problems and of nonlinear problems, stated once: whose, id, name, how to read
// them, what they mean.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "engine/core/parameter_names.hpp"
#include "engine/core/problem_fwd.hpp"

namespace qlx {

// A row of the table. Exactly one reader is set; it tells the type. The nonlinear rows' readers are
// called for problems on which a nonlinear one is built.
struct AttributeRow {
    Handle handle;
    int id;
    const char* name;
    std::int64_t (*integer)(Problem&);
    double (*real)(Problem&);
    std::string (*text)(Problem&);
    const char* description;

    [[nodiscard]] constexpr bool is_real() const noexcept { return real != nullptr; }
};

[[nodiscard]] std::span<const AttributeRow> attribute_table();
// Null when there is none.
[[nodiscard]] const AttributeRow* find_attribute(Handle handle, std::string_view name);  // any case

// Reading by id, for the entry points of both handles. Errors: no such attribute of the handle,
// another type.
[[nodiscard]] const AttributeRow& attribute_of(Handle handle, int id);
[[nodiscard]] std::int64_t integer_attribute(Problem& problem, Handle handle, int id);
[[nodiscard]] double real_attribute(Problem& problem, Handle handle, int id);
[[nodiscard]] std::string text_attribute(Problem& problem, Handle handle, int id);

}  // namespace qlx
