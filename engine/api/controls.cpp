// Entry points: controls.
#include <qlx/qlx_controls.h>

#include <algorithm>
#include <cstring>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"
#include "engine/api/parameter_list.hpp"
#include "engine/core/attributes.hpp"
#include "engine/core/controls.hpp"

using namespace qlx;

namespace {

template <class Row>
int type_of(const Row& row) {
    if (row.integer != nullptr) return QLX_TYPE_INT;
    return row.is_real() ? QLX_TYPE_DOUBLE : QLX_TYPE_STRING;
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

ParameterText text_of_control(int id) {
    const ControlRow* row = find_row(control_table(), id);
    if (row == nullptr) fail(QLX_ERROR_ARGUMENT, "there is no control with id ", id);
    return {row->description, control_range(*row), control_default(*row)};
}

ParameterText text_of_attribute(int id) {
    const AttributeRow* row = find_row(attribute_table(), id);
    if (row == nullptr) fail(QLX_ERROR_ARGUMENT, "there is no attribute with id ", id);
    return {row->description, "", ""};
}

}  // namespace

extern "C" {

int QLXgetintcontrol(QLXprob prob, int id, int* value) {
    return read(prob, "QLXgetintcontrol", [&](Problem& p) {
        require_array(value, 1, "value");
        *value = integer_control(p, Handle::kProblem, id);
    });
}

int QLXgetdblcontrol(QLXprob prob, int id, double* value) {
    return read(prob, "QLXgetdblcontrol", [&](Problem& p) {
        require_array(value, 1, "value");
        *value = real_control(p, Handle::kProblem, id);
    });
}

int QLXgetstrcontrol(QLXprob prob, int id, char* value) {
    return QLXgetstringcontrol(prob, id, value, 512, nullptr);
}

int QLXgetstringcontrol(QLXprob prob, int id, char* value, int size, int* length) {
    return read(prob, "QLXgetstringcontrol", [&](Problem& p) {
        const std::string& text = text_control(p, Handle::kProblem, id);
        if (size > 0) give_text(value, static_cast<std::size_t>(size), text);
        if (length != nullptr) *length = static_cast<int>(text.size()) + 1;
    });
}

int QLXsetintcontrol(QLXprob prob, int id, int value) {
    return control(prob, "QLXsetintcontrol",
                   [&](Problem& p) { set_integer_control(p, Handle::kProblem, id, value); });
}

int QLXsetdblcontrol(QLXprob prob, int id, double value) {
    return control(prob, "QLXsetdblcontrol",
                   [&](Problem& p) { set_real_control(p, Handle::kProblem, id, value); });
}

int QLXsetstrcontrol(QLXprob prob, int id, const char* value) {
    return control(prob, "QLXsetstrcontrol",
                   [&](Problem& p) { set_text_control(p, Handle::kProblem, id, value); });
}

int QLXgetcalist_c(QLXprob, const char* const** names, const int** ids, const int** flags) {
    return call_environment("QLXgetcalist_c", [&] {
        static const ParameterList list(Handle::kProblem,
                                        {QLX_PARAM_INT, QLX_PARAM_DOUBLE, 0, QLX_PARAM_CONTROL});
        list.give(names, ids, flags);
    });
}

int QLXgetcontrolinfo(QLXprob prob, const char* name, int* id, int* type) {
    return read(prob, "QLXgetcontrolinfo", [&](Problem&) {
        require_array(name, 1, "name");
        give_info(find_control(Handle::kProblem, name), "control", name, id, type);
    });
}

int QLXgetattribinfo(QLXprob prob, const char* name, int* id, int* type) {
    return read(prob, "QLXgetattribinfo", [&](Problem&) {
        require_array(name, 1, "name");
        give_info(find_attribute(Handle::kProblem, name), "attribute", name, id, type);
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
    return control(dest, "QLXcopycontrols", [&](Problem& p) {
        if (src == nullptr) fail(QLX_ERROR_ARGUMENT, "src is null");
        const Use use(src->ownership, Access::kRead);
        copy_controls(Handle::kProblem, p.controls, src->controls);
    });
}

int QLXdumpcontrols(QLXprob prob) {
    return read(prob, "QLXdumpcontrols", [&](Problem& p) {
        for (const ControlRow& row : control_table()) {
            if (row.handle != Handle::kProblem) continue;
            const std::string value = control_value(p, row);
            if (value != control_default(row))
                p.send(QLX_MSG_INFORMATION, message::kControl, join(row.name, " = ", value));
        }
    });
}

int QLXsetdefaultcontrol(QLXprob prob, int id) {
    return control(prob, "QLXsetdefaultcontrol", [&](Problem& p) {
        copy_control(control_of(Handle::kProblem, id), p.controls, Controls{});
    });
}

int QLXsetdefaults(QLXprob prob) {
    return control(prob, "QLXsetdefaults",
                   [](Problem& p) { copy_controls(Handle::kProblem, p.controls, Controls{}); });
}

}  // extern "C"
