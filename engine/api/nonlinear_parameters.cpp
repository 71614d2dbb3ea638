// Entry points: controls and attributes of nonlinear problems.
#include <qlx/qslp.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "engine/api/arguments.hpp"
#include "engine/api/nonlinear_boundary.hpp"
#include "engine/api/parameter_list.hpp"

using namespace qlx;

namespace {

constexpr Handle kHandle = Handle::kNonlinearProblem;

// Texts have no length here: at most 511 characters and NUL.
void give_text(char* target, const std::string& text) {
    require_array(target, 1, "value");
    const std::size_t length = std::min<std::size_t>(text.size(), 511);
    std::memcpy(target, text.data(), length);
    target[length] = '\0';
}

const ParameterList& list_of_all() {
    static const ParameterList list(
        kHandle, {QSLP_PARAM_INT, QSLP_PARAM_DOUBLE, QSLP_PARAM_STRING, QSLP_PARAM_CONTROL});
    return list;
}

}  // namespace

extern "C" {

int QSLPgetintcontrol(QSLPprob prob, int id, int* value) {
    return nonlinear_read(prob, "QSLPgetintcontrol", [&](NonlinearProblem& p) {
        require_array(value, 1, "value");
        *value = integer_control(p.linear, kHandle, id);
    });
}

int QSLPgetdblcontrol(QSLPprob prob, int id, double* value) {
    return nonlinear_read(prob, "QSLPgetdblcontrol", [&](NonlinearProblem& p) {
        require_array(value, 1, "value");
        *value = real_control(p.linear, kHandle, id);
    });
}

int QSLPgetstrcontrol(QSLPprob prob, int id, char* value) {
    return nonlinear_read(prob, "QSLPgetstrcontrol", [&](NonlinearProblem& p) {
        give_text(value, text_control(p.linear, kHandle, id));
    });
}

int QSLPsetintcontrol(QSLPprob prob, int id, int value) {
    return nonlinear_control(prob, "QSLPsetintcontrol", [&](NonlinearProblem& p) {
        set_integer_control(p.linear, kHandle, id, value);
    });
}

int QSLPsetdblcontrol(QSLPprob prob, int id, double value) {
    return nonlinear_control(prob, "QSLPsetdblcontrol", [&](NonlinearProblem& p) {
        set_real_control(p.linear, kHandle, id, value);
    });
}

int QSLPsetstrcontrol(QSLPprob prob, int id, const char* value) {
    return nonlinear_control(prob, "QSLPsetstrcontrol", [&](NonlinearProblem& p) {
        set_text_control(p.linear, kHandle, id, value);
    });
}

int QSLPgetintattrib(QSLPprob prob, int id, int* value) {
    return nonlinear_read(prob, "QSLPgetintattrib", [&](NonlinearProblem& p) {
        require_array(value, 1, "value");
        const std::int64_t full = integer_attribute(p.linear, kHandle, id);
        *value = static_cast<int>(std::min<std::int64_t>(full, std::numeric_limits<int>::max()));
    });
}

int QSLPgetdblattrib(QSLPprob prob, int id, double* value) {
    return nonlinear_read(prob, "QSLPgetdblattrib", [&](NonlinearProblem& p) {
        require_array(value, 1, "value");
        *value = real_attribute(p.linear, kHandle, id);
    });
}

int QSLPgetstrattrib(QSLPprob prob, int id, char* value) {
    return nonlinear_read(prob, "QSLPgetstrattrib", [&](NonlinearProblem& p) {
        give_text(value, text_attribute(p.linear, kHandle, id));
    });
}

int QSLPcopycontrols(QSLPprob dest, QSLPprob src) {
    return nonlinear_control(dest, "QSLPcopycontrols", [&](NonlinearProblem& p) {
        if (src == nullptr) fail(QLX_ERROR_ARGUMENT, "src is null");
        const Use use(src->linear.ownership, Access::kRead);
        copy_controls(kHandle, p.linear.controls, src->linear.controls);
    });
}

int QSLPgetcalist(QSLPprob, const char* const** names, const int** ids, const int** flags) {
    return call_environment("QSLPgetcalist", [&] { list_of_all().give(names, ids, flags); });
}

int QSLPcontrolname(QSLPprob, int id, char* name, int* flags) {
    return call_environment("QSLPcontrolname", [&] {
        const ParameterList& list = list_of_all();
        for (std::size_t k = 0; k + 1 < list.ids.size(); ++k) {
            if (list.ids[k] != id) continue;
            if (name != nullptr) std::strcpy(name, list.names[k]);
            if (flags != nullptr) *flags = list.flags[k];
            return;
        }
        fail(QLX_ERROR_ARGUMENT, "there is no nonlinear control or attribute with id ", id);
    });
}

}  // extern "C"
