// The table of controls as data, and reading and setting by it.
#include "engine/core/controls.hpp"

#include "engine/base/errors.hpp"
#include "engine/core/problem.hpp"

namespace qlx {

namespace {

double objective_sense(const Problem& problem) {
    return problem.model.sense();
}

void set_objective_sense(Problem& problem, double value) {
    if (value != 1 && value != -1)
        fail(QLX_ERROR_ARGUMENT, "control objsense cannot be ", value,
             ", must be 1 (minimise) or -1 (maximise)");
    if (problem.ownership.solving())
        fail(QLX_ERROR_STATE, "control objsense cannot be set while the problem is being solved");
    problem.model.set_sense(value < 0 ? -1 : 1);
}

constexpr ControlRow kTable[] = {
#define QLX_ROW_INTEGER(handle, id, name, initial, least, largest, where, text)  \
    {Handle::handle, id,    #name,   &Controls::name, nullptr, nullptr, nullptr, \
     nullptr,        least, largest, #initial,        where,   text},
#define QLX_ROW_REAL(handle, id, name, initial, least, largest, where, text)      \
    {Handle::handle, id,    #name,   nullptr,  &Controls::name, nullptr, nullptr, \
     nullptr,        least, largest, #initial, where,           text},
#define QLX_ROW_TEXT(handle, id, name, initial, where, text)                                  \
    {Handle::handle, id,    #name, nullptr, nullptr, &Controls::name, nullptr, nullptr, 0, 0, \
     initial,        where, text},
#define QLX_ROW_VIEW(handle, id, name, initial, least, largest, get, set, where, text) \
    {Handle::handle, id,      #name,    nullptr, nullptr, nullptr, get, set,           \
     least,          largest, #initial, where,   text},
    QLX_CONTROLS(QLX_ROW_INTEGER, QLX_ROW_REAL, QLX_ROW_TEXT, QLX_ROW_VIEW)
#undef QLX_ROW_INTEGER
#undef QLX_ROW_REAL
#undef QLX_ROW_TEXT
#undef QLX_ROW_VIEW
};
static_assert(rows_differ(std::span<const ControlRow>(kTable)));

const ControlRow& require_type(const ControlRow& row, bool is, const char* type) {
    if (!is)
        fail(QLX_ERROR_ARGUMENT, handle_prefix(row.handle), "control ", row.name, " (", row.id,
             ") is not ", type);
    return row;
}

void require_in_range(const ControlRow& row, double value) {
    if (value >= row.least && value <= row.largest) return;
    fail(QLX_ERROR_ARGUMENT, "control ", row.name, " cannot be ", value, ", must be ",
         control_range(row));
}

const ControlRow& integer_row(Handle handle, int id) {
    const ControlRow& row = control_of(handle, id);
    return require_type(row, row.integer != nullptr, "an integer");
}

const ControlRow& real_row(Handle handle, int id) {
    const ControlRow& row = control_of(handle, id);
    return require_type(row, row.is_real(), "a double");
}

const ControlRow& text_row(Handle handle, int id) {
    const ControlRow& row = control_of(handle, id);
    return require_type(row, row.text != nullptr, "a string");
}

std::string value_text(const Controls& controls, const ControlRow& row) {
    if (row.integer != nullptr) return join(controls.*row.integer);
    if (row.real != nullptr) return join(controls.*row.real);
    return controls.*row.text;
}

}  // namespace

std::span<const ControlRow> control_table() {
    return kTable;
}

const ControlRow* find_control(Handle handle, std::string_view name) {
    return find_row(control_table(), handle, name);
}

const ControlRow& control_of(Handle handle, int id) {
    const ControlRow* row = find_row(control_table(), id);
    if (row == nullptr || row->handle != handle)
        fail(QLX_ERROR_ARGUMENT, "there is no ", handle_prefix(handle), "control with id ", id);
    return *row;
}

int integer_control(const Problem& problem, Handle handle, int id) {
    return problem.controls.*integer_row(handle, id).integer;
}

double real_control(const Problem& problem, Handle handle, int id) {
    const ControlRow& row = real_row(handle, id);
    return row.get != nullptr ? row.get(problem) : problem.controls.*row.real;
}

const std::string& text_control(const Problem& problem, Handle handle, int id) {
    return problem.controls.*text_row(handle, id).text;
}

void set_integer_control(Problem& problem, Handle handle, int id, int value) {
    const ControlRow& row = integer_row(handle, id);
    require_in_range(row, value);
    problem.controls.*row.integer = value;
}

void set_real_control(Problem& problem, Handle handle, int id, double value) {
    const ControlRow& row = real_row(handle, id);
    require_in_range(row, value);
    if (row.set != nullptr)
        row.set(problem, value);
    else
        problem.controls.*row.real = value;
}

void set_text_control(Problem& problem, Handle handle, int id, const char* value) {
    const ControlRow& row = text_row(handle, id);
    if (value == nullptr) fail(QLX_ERROR_ARGUMENT, "value is null, must be a text");
    problem.controls.*row.text = value;
}

void copy_control(const ControlRow& row, Controls& to, const Controls& from) {
    if (row.integer != nullptr) to.*row.integer = from.*row.integer;
    if (row.real != nullptr) to.*row.real = from.*row.real;
    if (row.text != nullptr) to.*row.text = from.*row.text;
}

void copy_controls(Handle handle, Controls& to, const Controls& from) {
    for (const ControlRow& row : kTable)
        if (row.handle == handle) copy_control(row, to, from);
}

std::string control_value(const Problem& problem, const ControlRow& row) {
    return row.get != nullptr ? join(row.get(problem)) : value_text(problem.controls, row);
}

std::string control_default(const ControlRow& row) {
    return row.get != nullptr ? row.initial : value_text(Controls{}, row);
}

std::string control_range(const ControlRow& row) {
    return row.text != nullptr ? "" : join(row.least, " .. ", row.largest);
}

}  // namespace qlx
