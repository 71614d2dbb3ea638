// Entry points: the environment's error, message handlers and live counts.
#include <qlx/qlx_global.h>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"

using namespace qlx;

extern "C" {

int QLX_ge_getlasterror(int* code, char* text, int size, int* length) {
    const int full = environment_error().read(code, text, size);
    if (length != nullptr) *length = full;
    return QLX_OK;
}

int QLX_ge_addcbmsghandler(QLXmsghandler handler, void* data, int priority) {
    return call_environment("QLX_ge_addcbmsghandler", [&] {
        if (handler == nullptr) fail(QLX_ERROR_ARGUMENT, "handler is null");
        require_initialised();
        environment().handlers.add(handler, data, priority);
        handler(nullptr, data, nullptr, nullptr, -1, 0);
    });
}

int QLX_ge_removecbmsghandler(QLXmsghandler handler, void* data) {
    return call_environment("QLX_ge_removecbmsghandler", [&] {
        require_initialised();
        if (!environment().handlers.remove(handler, data))
            fail(QLX_ERROR_ARGUMENT, "no such message handler is registered");
    });
}

int QLX_ge_getlivecounts(int64_t* problems, int64_t* branching_objects, int64_t* blocks) {
    const LiveCounts& counts = live_counts();
    if (problems != nullptr) *problems = counts.problems;
    if (branching_objects != nullptr) *branching_objects = counts.branching_objects;
    if (blocks != nullptr) *blocks = counts.blocks;
    return QLX_OK;
}

}  // extern "C"
