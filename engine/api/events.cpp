// Entry points: registering callbacks, two or one for each row of engine/core/event_table.hpp.
#include <qlx/qlx_callbacks.h>
#include <qlx/qslp.h>

#include "engine/api/boundary.hpp"
#include "engine/api/nonlinear_boundary.hpp"
#include "engine/core/events.hpp"

using namespace qlx;

namespace {

// An event that nothing raises would be waited for in vain.
void require_raised(Event event) {
    const EventRow& row = event_row(event);
    if (row.state != EventState::kRaised)
        fail(QLX_ERROR_NOT_AVAILABLE, "event ", row.name, " (", row.moment,
             ") is not available yet: nothing raises it");
}

template <Event kEvent, class Callback>
void add_callback(Problem& problem, Callback callback, void* data, int priority) {
    if (callback == nullptr) fail(QLX_ERROR_ARGUMENT, "callback is null, must be a function");
    require_raised(kEvent);
    list_of<kEvent>(problem.events).add(callback, data, priority);
}

template <Event kEvent, class Callback>
void remove_callback(Problem& problem, Callback callback, void* data) {
    if (!list_of<kEvent>(problem.events).remove(callback, data))
        fail(QLX_ERROR_ARGUMENT, "no such callback of event ", event_row(kEvent).name,
             " is registered");
}

template <Event kEvent, class Callback>
void set_callback(Problem& problem, Callback callback, void* data) {
    if (callback != nullptr) require_raised(kEvent);
    list_of<kEvent>(problem.events).set(callback, data);
}

}  // namespace

extern "C" {

#define QLX_EVENT(name, ...)                                                                      \
    int QLXaddcb##name(QLXprob prob, QLX##name##cb callback, void* data, int priority) {          \
        return read(prob, "QLXaddcb" #name,                                                       \
                    [&](Problem& p) { add_callback<Event::name>(p, callback, data, priority); }); \
    }                                                                                             \
    int QLXremovecb##name(QLXprob prob, QLX##name##cb callback, void* data) {                     \
        return read(prob, "QLXremovecb" #name,                                                    \
                    [&](Problem& p) { remove_callback<Event::name>(p, callback, data); });        \
    }
QLX_EVENTS(QLX_EVENT)
#undef QLX_EVENT

#define QSLP_EVENT(name, prototype, ...)                                          \
    int QSLPsetcb##name(QSLPprob prob, prototype callback, void* data) {          \
        return nonlinear_read(prob, "QSLPsetcb" #name, [&](NonlinearProblem& p) { \
            set_callback<Event::name>(p.linear, callback, data);                  \
        });                                                                       \
    }
QSLP_EVENTS(QSLP_EVENT)
#undef QSLP_EVENT

}  // extern "C"
