// Events: lists of callbacks by prototype, and raising only what is marked as raised.
// REFUSED NO_POINTER: an event's prototype is a pointer to a function of a handle
// REFUSED WITHOUT_DATA: an event's prototype is a pointer to a function of a handle
// REFUSED OTHER_EVENT: invalid conversion
// REFUSED NOT_RAISED: mark the event as kRaised
// REFUSED OTHER_ARGUMENTS: invalid conversion
#include "engine/core/events.hpp"

void on_solution(QLXprob prob, void* data);
void on_message(QLXprob prob, void* data, const char* text, int length, int type);

void register_and_raise(qlx::Events& events, qlx::Problem& problem) {
    events.message.add(on_message, nullptr, 0);
    qlx::raise_event<qlx::Event::message>(problem, "text", 4, 1);
#ifdef NO_POINTER
    qlx::EventList<int>().empty();
#endif
#ifdef WITHOUT_DATA
    qlx::EventList<void (*)(QLXprob)>().empty();
#endif
#ifdef OTHER_EVENT
    events.message.add(on_solution, nullptr, 0);
#endif
#ifdef NOT_RAISED
    qlx::raise_event<qlx::Event::prenode>(problem, static_cast<int*>(nullptr));
#endif
#ifdef OTHER_ARGUMENTS
    qlx::raise_event<qlx::Event::message>(problem, 4, "text", 1);
#endif
}
