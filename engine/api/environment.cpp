// Entry points: the environment, and the life of problems.
#include <qlx/qlx_environment.h>

#include <cstring>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"

using namespace qlx;

namespace {

constexpr const char* kVersion = "33.01.00";
constexpr const char* kBanner =
    "Quilex optimizer library 33.01.00\n"
    "Linear and mixed-integer programs by HiGHS (MIT licence)";

}  // namespace

extern "C" {

int QLXinit(const char*) {
    environment().add_user();
    return QLX_OK;
}

int QLXfree(void) {
    return call_environment("QLXfree", [] {
        if (!environment().remove_user()) fail(QLX_ERROR_STATE, "the library is not initialised");
    });
}

int QLXgetversion(char* version) {
    return call_environment("QLXgetversion", [&] {
        require_array(version, 32, "version");
        std::strcpy(version, kVersion);
    });
}

int QLXgetbanner(char* banner) {
    return call_environment("QLXgetbanner", [&] {
        require_array(banner, 536, "banner");
        std::strcpy(banner, kBanner);
    });
}

int QLXgetcheckedmode(int* checked_mode) {
    return call_environment("QLXgetcheckedmode", [&] {
        require_array(checked_mode, 1, "checked_mode");
        *checked_mode = environment().checked ? 1 : 0;
    });
}

int QLXsetcheckedmode(int checked_mode) {
    environment().checked = checked_mode != 0;
    return QLX_OK;
}

int QLXenablemessages(int enabled) {
    environment().messages_enabled = enabled != 0;
    return QLX_OK;
}

int QLXcreateprob(QLXprob* prob) {
    return call_environment("QLXcreateprob", [&] {
        require_array(prob, 1, "prob");
        require_initialised();
        *prob = new Problem;
    });
}

int QLXdestroyprob(QLXprob prob) {
    if (prob == nullptr) return QLX_OK;
    try {
        {
            const Use use(prob->ownership, Access::kSolve);
            if (prob->nonlinear != nullptr)
                fail(QLX_ERROR_STATE, "a nonlinear problem is built on it, destroy that first");
        }
        delete prob;
        return QLX_OK;
    } catch (...) {
        return report_exception(prob, "QLXdestroyprob");
    }
}

int QLXcopyprob(QLXprob dest, QLXprob src, const char* name) {
    return change(dest, "QLXcopyprob", [&](Problem& to) {
        if (src == nullptr) fail(QLX_ERROR_ARGUMENT, "src is null");
        if (src == dest) fail(QLX_ERROR_ARGUMENT, "src is dest");
        const Use use(src->ownership, Access::kRead);
        to.model.copy_from(src->model);
        if (name != nullptr && *name != '\0') to.model.set_name(name);
        to.forget_results();
    });
}

int QLXgetlasterror(QLXprob prob, char* text) {
    if (prob == nullptr || text == nullptr)
        return call_environment("QLXgetlasterror", [&] {
            if (prob == nullptr) fail(QLX_ERROR_ARGUMENT, "prob is null");
            require_array(text, 512, "text");
        });
    prob->error.read(nullptr, text, static_cast<int>(LastError::kTextSize));
    return QLX_OK;
}

int QLXgetprobname(QLXprob prob, char* name) {
    return read(prob, "QLXgetprobname", [&](Problem& p) {
        require_array(name, 1, "name");
        std::strcpy(name, p.model.name().c_str());
    });
}

int QLXsetprobname(QLXprob prob, const char* name) {
    return change(prob, "QLXsetprobname",
                  [&](Problem& p) { p.model.set_name(name == nullptr ? "" : name); });
}

int QLXinterrupt(QLXprob prob, int reason) {
    // No lock and no text on the good path: this may run in a signal handler.
    if (prob != nullptr && reason >= 1 && reason <= 9) {
        prob->interrupt(reason);
        return QLX_OK;
    }
    return call_environment("QLXinterrupt", [&] {
        if (prob == nullptr) fail(QLX_ERROR_ARGUMENT, "prob is null");
        fail(QLX_ERROR_ARGUMENT, "reason is ", reason, ", must be 1 .. 9");
    });
}

int QLXsetinterruptcheck(QLXprob prob, int (*check)(QLXprob prob, void* data), void* data,
                         int milliseconds) {
    return change(prob, "QLXsetinterruptcheck", [&](Problem& p) {
        if (check != nullptr && milliseconds < 1)
            fail(QLX_ERROR_ARGUMENT, "milliseconds is ", milliseconds, ", must be at least 1");
        p.interrupt_check.set(check, data, milliseconds);
    });
}

}  // extern "C"
