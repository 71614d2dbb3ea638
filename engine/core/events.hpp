// The callbacks of one problem, and raising events.
//
// Locks. Calls for one problem never overlap: whoever raises an event first waits for the problem's
// turn (Ownership::Lent), which lasts as long as the callbacks run. Within it a callback may take
// the caller's own lock, such as an interpreter's: the turn comes first, that lock second, never
// the reverse. So a caller who holds its lock must not make calls that wait for a turn; of all
// calls only those that solve can, and they are made without the lock. The lists' own locks are
// innermost and never held while anything is called (event_list.hpp).
#pragma once

#include <type_traits>

#include "engine/core/event_list.hpp"
#include "engine/core/event_table.hpp"
#include "engine/core/ownership.hpp"
#include "engine/core/problem_fwd.hpp"

namespace qlx {

struct Events {
#define QLX_EVENT(name, ...) EventList<QLX##name##cb> name;
#define QSLP_EVENT(name, prototype, ...) EventList<prototype> name;
    QLX_EVENTS(QLX_EVENT)
    QSLP_EVENTS(QSLP_EVENT)
#undef QLX_EVENT
#undef QSLP_EVENT
};

// The list of an event: list_of<Event::intsol>(events).
template <Event kEvent>
[[nodiscard]] constexpr auto& list_of(Events& events) noexcept {
#define QLX_EVENT(name, ...) \
    if constexpr (kEvent == Event::name) return events.name;
    QLX_EVENTS(QLX_EVENT)
    QSLP_EVENTS(QLX_EVENT)
#undef QLX_EVENT
}

// What raising needs of a problem; problem.hpp includes this file.
[[nodiscard]] Events& events_of(Problem& problem) noexcept;
[[nodiscard]] Ownership& ownership_of(Problem& problem) noexcept;
[[nodiscard]] bool stopping(const Problem& problem) noexcept;
void stop_by_callback(Problem& problem) noexcept;
void give_handle(Problem& problem, Problem*& handle) noexcept;
void give_handle(Problem& problem, NonlinearProblem*& handle) noexcept;

namespace detail {
template <class Result, class Handle, class... Arguments>
Handle handle_type(Result (*)(Handle, void*, Arguments...));
}  // namespace detail

// Calls the event's callbacks, none after an interrupt was asked for. A callback whose result is a
// number other than 0 stops the solve. `arguments` are the event's own; outputs are pointers, which
// all callbacks share.
template <Event kEvent, class... Arguments>
void raise_event(Problem& problem, Arguments... arguments) {
    static_assert(event_row(kEvent).state == EventState::kRaised,
                  "mark the event as kRaised in engine/core/event_table.hpp");
    auto& list = list_of<kEvent>(events_of(problem));
    if (list.empty() || stopping(problem)) return;
    const auto registrations = list.snapshot();
    if (registrations == nullptr) return;
    const Lent lent(ownership_of(problem), event_row(kEvent));
    using Callback = decltype(registrations->front().call);
    decltype(detail::handle_type(Callback())) handle;
    give_handle(problem, handle);
    for (const auto& registration : *registrations) {
        if (stopping(problem)) return;
        if constexpr (std::is_void_v<decltype(registration.call(handle, nullptr, arguments...))>)
            registration.call(handle, registration.data, arguments...);
        else if (registration.call(handle, registration.data, arguments...) != 0)
            stop_by_callback(problem);
    }
}

}  // namespace qlx
