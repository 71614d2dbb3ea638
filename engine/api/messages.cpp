// Entry points: message callbacks, log files and message numbers.
#include <qlx/qlx_callbacks.h>
#include <qlx/qlx_controls.h>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"

using namespace qlx;

extern "C" {

int QLXaddcbmessage(QLXprob prob, QLXmessagecb callback, void* data, int priority) {
    return read(prob, "QLXaddcbmessage", [&](Problem& p) {
        if (callback == nullptr) fail(QLX_ERROR_ARGUMENT, "callback is null");
        p.messages.add(callback, data, priority);
    });
}

int QLXremovecbmessage(QLXprob prob, QLXmessagecb callback, void* data) {
    return read(prob, "QLXremovecbmessage", [&](Problem& p) {
        if (!p.messages.remove(callback, data))
            fail(QLX_ERROR_ARGUMENT, "no such message callback is registered");
    });
}

int QLXsetlogfile(QLXprob prob, const char* filename) {
    return change(prob, "QLXsetlogfile", [&](Problem& p) { p.messages.set_log_file(filename); });
}

int QLXgetmessagestatus(QLXprob prob, int number, int* status) {
    return read(prob, "QLXgetmessagestatus", [&](Problem& p) {
        require_array(status, 1, "status");
        *status = p.messages.enabled(number) ? 1 : 0;
    });
}

int QLXsetmessagestatus(QLXprob prob, int number, int status) {
    return change(prob, "QLXsetmessagestatus",
                  [&](Problem& p) { p.messages.set_enabled(number, status != 0); });
}

}  // extern "C"
