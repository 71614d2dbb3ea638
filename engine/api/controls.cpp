// Entry points: controls.
#include <qlx/qlx_controls.h>

#include <algorithm>
#include <cstring>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"
#include "engine/api/parameter_list.hpp"
#include "engine/core/attributes.hpp"
#include "engine/core/controls.hpp"
#include "engine/core/nonlinear_controls.hpp"

using namespace qlx;

namespace {

const ControlRow& row_of(int id) {
    const ControlRow* row = find_control(id);
    if (row == nullptr) fail(QLX_ERROR_ARGUMENT, "there is no control with id ", id);
    return *row;
}

template <class Member>
const ControlRow& typed_row(int id, Member ControlRow::*member, const char* type) {
    const ControlRow& row = row_of(id);
    if (row.*member == nullptr)
        fail(QLX_ERROR_ARGUMENT, "control ", row.name, " (", id, ") is not ", type);
    return row;
}

void require_in_range(const ControlRow& row, double value) {
    if (value >= row.least && value <= row.largest) return;
    fail(QLX_ERROR_ARGUMENT, "control ", row.name, " cannot be ", value, ", must be ",
         control_range(row));
}

int type_of(const ControlRow& row) {
    if (row.integer != nullptr) return QLX_TYPE_INT;
    return row.real != nullptr ? QLX_TYPE_DOUBLE : QLX_TYPE_STRING;
}

int type_of(const AttributeRow& row) {
    if (row.integer != nullptr) return QLX_TYPE_INT;
    return row.real != nullptr ? QLX_TYPE_DOUBLE : QLX_TYPE_STRING;
}

template <class Row>
void give_info(const Row* row, const char* kind, const char* name, int* id, int* type) {
    if (row == nullptr) fail(QLX_ERROR_ARGUMENT, "there is no ", kind, " named \"", name, "\"");
    if (id != nullptr) *id = row->id;
    if (type != nullptr) *type = type_of(*row);
}

void give_text(char* target, std::size_t size, const std::string& text) {
    if (target == nullptr) return;
    const std::size_t length = std::min(text.size(), size - 1);
    std::memcpy(target, text.data(), length);
    target[length] = '\0';
}

struct ParameterText {
    std::string description;
    std::string range;
    std::string initial;
};

// The ids of the two solvers' parameters differ.
ParameterText text_of_control(int id) {
    if (const ControlRow* row = find_control(id))
        return {row->description, control_range(*row), control_value(Controls{}, *row)};
    for (const NonlinearControlRow& row : nonlinear_control_table()) {
        if (row.id != id) continue;
        const NonlinearControls initial;
        return {row.description, join(row.least, " .. ", row.largest),
                row.integer != nullptr ? join(initial.*row.integer) : join(initial.*row.real)};
    }
    fail(QLX_ERROR_ARGUMENT, "there is no control with id ", id);
}

ParameterText text_of_attribute(int id) {
    if (const AttributeRow* row = find_attribute(id)) return {row->description, "", ""};
    for (const NonlinearAttributeRow& row : nonlinear_attribute_table())
        if (row.id == id) return {row.description, "", ""};
    fail(QLX_ERROR_ARGUMENT, "there is no attribute with id ", id);
}

}  // namespace

extern "C" {

int QLXgetintcontrol(QLXprob prob, int id, int* value) {
    return read(prob, "QLXgetintcontrol", [&](Problem& p) {
        require_array(value, 1, "value");
        *value = p.controls.*typed_row(id, &ControlRow::integer, "an integer").integer;
    });
}

int QLXgetdblcontrol(QLXprob prob, int id, double* value) {
    return read(prob, "QLXgetdblcontrol", [&](Problem& p) {
        require_array(value, 1, "value");
        *value = p.controls.*typed_row(id, &ControlRow::real, "a double").real;
    });
}

int QLXgetstrcontrol(QLXprob prob, int id, char* value) {
    return QLXgetstringcontrol(prob, id, value, 512, nullptr);
}

int QLXgetstringcontrol(QLXprob prob, int id, char* value, int size, int* length) {
    return read(prob, "QLXgetstringcontrol", [&](Problem& p) {
        const std::string& text = p.controls.*typed_row(id, &ControlRow::text, "a string").text;
        if (size > 0) give_text(value, static_cast<std::size_t>(size), text);
        if (length != nullptr) *length = static_cast<int>(text.size()) + 1;
    });
}

int QLXsetintcontrol(QLXprob prob, int id, int value) {
    return change(prob, "QLXsetintcontrol", [&](Problem& p) {
        const ControlRow& row = typed_row(id, &ControlRow::integer, "an integer");
        require_in_range(row, value);
        p.controls.*row.integer = value;
    });
}

int QLXsetdblcontrol(QLXprob prob, int id, double value) {
    return change(prob, "QLXsetdblcontrol", [&](Problem& p) {
        const ControlRow& row = typed_row(id, &ControlRow::real, "a double");
        require_in_range(row, value);
        p.controls.*row.real = value;
    });
}

int QLXsetstrcontrol(QLXprob prob, int id, const char* value) {
    return change(prob, "QLXsetstrcontrol", [&](Problem& p) {
        const ControlRow& row = typed_row(id, &ControlRow::text, "a string");
        require_array(value, 1, "value");
        p.controls.*row.text = value;
    });
}

int QLXgetcalist_c(QLXprob, const char* const** names, const int** ids, const int** flags) {
    return call_environment("QLXgetcalist_c", [&] {
        static const ParameterList list =
            parameter_list(QLX_PARAM_INT, QLX_PARAM_DOUBLE, 0, QLX_PARAM_CONTROL);
        if (names != nullptr) *names = list.names.data();
        if (ids != nullptr) *ids = list.ids.data();
        if (flags != nullptr) *flags = list.flags.data();
    });
}

int QLXgetcontrolinfo(QLXprob prob, const char* name, int* id, int* type) {
    return read(prob, "QLXgetcontrolinfo", [&](Problem&) {
        require_array(name, 1, "name");
        give_info(find_control(std::string_view(name)), "control", name, id, type);
    });
}

int QLXgetattribinfo(QLXprob prob, const char* name, int* id, int* type) {
    return read(prob, "QLXgetattribinfo", [&](Problem&) {
        require_array(name, 1, "name");
        give_info(find_attribute(std::string_view(name)), "attribute", name, id, type);
    });
}

int QLXgetparamdoc(int control, int id, char* description, char* range, char* initial) {
    return call_environment("QLXgetparamdoc", [&] {
        const ParameterText text = control != 0 ? text_of_control(id) : text_of_attribute(id);
        give_text(description, 256, text.description);
        give_text(range, 128, text.range);
        give_text(initial, 64, text.initial);
    });
}

int QLXcopycontrols(QLXprob dest, QLXprob src) {
    return change(dest, "QLXcopycontrols", [&](Problem& p) {
        if (src == nullptr) fail(QLX_ERROR_ARGUMENT, "src is null");
        const Use use(src->ownership, Access::kRead);
        p.controls = src->controls;
    });
}

int QLXdumpcontrols(QLXprob prob) {
    return read(prob, "QLXdumpcontrols", [&](Problem& p) {
        const Controls initial;
        for (const ControlRow& row : control_table()) {
            const std::string value = control_value(p.controls, row);
            if (value != control_value(initial, row))
                p.send(QLX_MSG_INFORMATION, message::kControl, join(row.name, " = ", value));
        }
    });
}

int QLXsetdefaultcontrol(QLXprob prob, int id) {
    return change(prob, "QLXsetdefaultcontrol", [&](Problem& p) {
        const ControlRow& row = row_of(id);
        copy_control(row, p.controls, Controls{});
    });
}

int QLXsetdefaults(QLXprob prob) {
    return change(prob, "QLXsetdefaults", [](Problem& p) { p.controls = {}; });
}

}  // extern "C"
