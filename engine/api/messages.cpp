// Entry points: log files and message numbers.
#include <qlx/qlx_controls.h>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"

using namespace qlx;

extern "C" {

int QLXsetlogfile(QLXprob prob, const char* filename) {
    return control(prob, "QLXsetlogfile", [&](Problem& p) { p.messages.set_log_file(filename); });
}

int QLXgetmessagestatus(QLXprob prob, int number, int* status) {
    return read(prob, "QLXgetmessagestatus", [&](Problem& p) {
        require_array(status, 1, "status");
        *status = p.messages.enabled(number) ? 1 : 0;
    });
}

int QLXsetmessagestatus(QLXprob prob, int number, int status) {
    return control(prob, "QLXsetmessagestatus",
                   [&](Problem& p) { p.messages.set_enabled(number, status != 0); });
}

}  // extern "C"
