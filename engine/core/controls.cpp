// The table of controls as data.
#include "engine/core/controls.hpp"

#include <algorithm>
#include <cctype>

#include "engine/base/errors.hpp"
#include "engine/core/parameter_names.hpp"

namespace qlx {

const std::vector<ControlRow>& control_table() {
    static const std::vector<ControlRow> table = {
#define QLX_ROW_INTEGER(id, name, initial, least, largest, where, text) \
    {id, #name, &Controls::name, nullptr, nullptr, least, largest, where, text},
#define QLX_ROW_REAL(id, name, initial, least, largest, where, text) \
    {id, #name, nullptr, &Controls::name, nullptr, least, largest, where, text},
#define QLX_ROW_TEXT(id, name, initial, where, text) \
    {id, #name, nullptr, nullptr, &Controls::name, 0, 0, where, text},
        QLX_CONTROLS(QLX_ROW_INTEGER, QLX_ROW_REAL, QLX_ROW_TEXT)
#undef QLX_ROW_INTEGER
#undef QLX_ROW_REAL
#undef QLX_ROW_TEXT
    };
    return table;
}

const ControlRow* find_control(int id) {
    return find_row(control_table(), id);
}

const ControlRow* find_control(std::string_view name) {
    return find_row(control_table(), name);
}

void copy_control(const ControlRow& row, Controls& to, const Controls& from) {
    if (row.integer != nullptr) to.*row.integer = from.*row.integer;
    if (row.real != nullptr) to.*row.real = from.*row.real;
    if (row.text != nullptr) to.*row.text = from.*row.text;
}

std::string control_value(const Controls& controls, const ControlRow& row) {
    if (row.integer != nullptr) return join(controls.*row.integer);
    if (row.real != nullptr) return join(controls.*row.real);
    return controls.*row.text;
}

std::string control_range(const ControlRow& row) {
    return row.text != nullptr ? "" : join(row.least, " .. ", row.largest);
}

}  // namespace qlx
