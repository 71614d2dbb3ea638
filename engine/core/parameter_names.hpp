// What the tables of controls and attributes share: whose a row is, and finding rows.
#pragma once

#include <cctype>
#include <cstddef>
#include <span>
#include <string_view>

namespace qlx {

// The handle through which a parameter is read and set.
enum class Handle { kProblem, kNonlinearProblem };

// "", or "nonlinear " before the kind of a parameter in texts.
[[nodiscard]] constexpr const char* handle_prefix(Handle handle) noexcept {
    return handle == Handle::kProblem ? "" : "nonlinear ";
}

[[nodiscard]] inline bool same_name(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size()) return false;
    for (std::size_t k = 0; k < a.size(); ++k)
        if (std::tolower(static_cast<unsigned char>(a[k])) !=
            std::tolower(static_cast<unsigned char>(b[k])))
            return false;
    return true;
}

// Null when there is none.
template <class Row>
[[nodiscard]] const Row* find_row(std::span<const Row> table, int id) {
    for (const Row& row : table)
        if (row.id == id) return &row;
    return nullptr;
}

template <class Row>
[[nodiscard]] const Row* find_row(std::span<const Row> table, Handle handle,
                                  std::string_view name) {
    for (const Row& row : table)
        if (row.handle == handle && same_name(row.name, name)) return &row;
    return nullptr;
}

// Ids are unique over both handles' rows, names among one handle's.
template <class Row>
[[nodiscard]] constexpr bool rows_differ(std::span<const Row> table) noexcept {
    for (std::size_t k = 1; k < table.size(); ++k)
        for (std::size_t j = 0; j < k; ++j) {
            if (table[k].id == table[j].id) return false;
            if (table[k].handle == table[j].handle &&
                std::string_view(table[k].name) == table[j].name)
                return false;
        }
    return true;
}

}  // namespace qlx
