// Finding rows of parameter tables by id or name.
#pragma once

#include <cctype>
#include <string_view>
#include <vector>

namespace qlx {

[[nodiscard]] inline bool same_name(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size()) return false;
    for (std::size_t k = 0; k < a.size(); ++k)
        if (std::tolower(static_cast<unsigned char>(a[k])) !=
            std::tolower(static_cast<unsigned char>(b[k])))
            return false;
    return true;
}

template <class Row>
[[nodiscard]] const Row* find_row(const std::vector<Row>& table, int id) {
    for (const Row& row : table)
        if (row.id == id) return &row;
    return nullptr;
}

template <class Row>
[[nodiscard]] const Row* find_row(const std::vector<Row>& table, std::string_view name) {
    for (const Row& row : table)
        if (same_name(row.name, name)) return &row;
    return nullptr;
}

}  // namespace qlx
