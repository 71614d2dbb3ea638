// The events of problems and nonlinear problems, stated once.
#pragma once

#include <cstddef>

#include <qlx/qlx_types.h>
#include <qlx/qslp.h>

namespace qlx {

// What may be called, on the handle given, from a callback of an event; each allows what is before
// it too. QLXinterrupt may be called from all of them. Nothing may change or solve the model.
enum class EventCalls {
    kNone,
    kRead,     // model, controls, attributes, solutions; registering and removing callbacks
    kControl,  // setting controls
    kCut       // cuts, bounds and branching objects of the current node
};

// Whether a built part of the engine raises the event. Others are refused when they are registered.
enum class EventState { kRaised, kNotYet };

// Events of problems: name, prototype (QLX...cb), state, what may be called, when it is raised.
// clang-format off
#define QLX_EVENTS(EVENT) \
    EVENT(bariteration, kNotYet, kRead, "an iteration of an interior point method") \
    EVENT(barlog, kNotYet, kRead, "a log line of an interior point method is due") \
    EVENT(chgbranchobject, kNotYet, kCut, "a branching object was chosen") \
    EVENT(cutlog, kNotYet, kRead, "a round of cuts ended") \
    EVENT(destroymt, kNotYet, kRead, "a worker's problem is about to be destroyed") \
    EVENT(gapnotify, kNotYet, kControl, "a gap target was reached") \
    EVENT(globallog, kNotYet, kRead, "a log line of the tree search is due") \
    EVENT(infnode, kNotYet, kRead, "the current node is infeasible") \
    EVENT(intsol, kNotYet, kRead, "an integer solution was accepted") \
    EVENT(lplog, kNotYet, kRead, "a log line of the simplex method is due") \
    EVENT(message, kRaised, kRead, "a message was sent") \
    EVENT(mipthread, kNotYet, kControl, "a worker started") \
    EVENT(newnode, kNotYet, kRead, "a node was made") \
    EVENT(nodecutoff, kNotYet, kRead, "a node was cut off by the incumbent") \
    EVENT(optnode, kNotYet, kCut, "the relaxation of the current node is optimal") \
    EVENT(preintsol, kNotYet, kRead, "an integer solution was found and not yet accepted") \
    EVENT(prenode, kNotYet, kCut, "the relaxation of the current node is about to be solved") \
    EVENT(usersolnotify, kNotYet, kRead, "a solution given by the caller was tried")

// Events of nonlinear problems: as above, with the prototype after the name.
#define QSLP_EVENTS(EVENT) \
    EVENT(cascadeend, QSLPplaincb, kNotYet, kRead, "a cascade ended") \
    EVENT(cascadestart, QSLPplaincb, kNotYet, kRead, "a cascade is about to start") \
    EVENT(cascadevar, QSLPcolumncb, kNotYet, kRead, "a determined column was set") \
    EVENT(cascadevarfail, QSLPcolumncb, kNotYet, kRead, "a determined column could not be set") \
    EVENT(coefevalerror, QSLPcoefevalerrorcb, kNotYet, kRead, "a coefficient could not be evaluated") \
    EVENT(construct, QSLPplaincb, kNotYet, kRead, "the augmented problem was built") \
    EVENT(destroy, QSLPplaincb, kNotYet, kNone, "the nonlinear problem is about to be destroyed") \
    EVENT(drcol, QSLPdrcolcb, kNotYet, kRead, "a determined column is about to be set") \
    EVENT(formula, QSLPformulacb, kNotYet, kNone, "a formula was evaluated") \
    EVENT(iterend, QSLPplaincb, kNotYet, kRead, "an iteration ended") \
    EVENT(iterstart, QSLPplaincb, kNotYet, kControl, "an iteration is about to start") \
    EVENT(itervar, QSLPcolumncb, kNotYet, kRead, "a column was updated") \
    EVENT(msjobend, QSLPmsjobcb, kNotYet, kRead, "a multistart job ended") \
    EVENT(msjobstart, QSLPmsjobcb, kNotYet, kControl, "a multistart job is about to start") \
    EVENT(mswinner, QSLPmswinnercb, kNotYet, kRead, "the best multistart job was chosen") \
    EVENT(slpend, QSLPplaincb, kNotYet, kRead, "a solve is about to end") \
    EVENT(slpnode, QSLPplaincb, kNotYet, kRead, "a node of the mixed-integer search is about to be solved") \
    EVENT(slpstart, QSLPplaincb, kNotYet, kControl, "a solve is about to start")
// clang-format on

struct EventRow {
    const char* name;
    EventState state;
    EventCalls calls;
    const char* moment;
};

enum class Event : std::size_t {
#define QLX_EVENT(name, ...) name,
    QLX_EVENTS(QLX_EVENT) QSLP_EVENTS(QLX_EVENT)
#undef QLX_EVENT
};

inline constexpr EventRow kEventRows[] = {
#define QLX_EVENT(name, state, calls, moment) {#name, EventState::state, EventCalls::calls, moment},
#define QSLP_EVENT(name, prototype, state, calls, moment) \
    {#name, EventState::state, EventCalls::calls, moment},
    QLX_EVENTS(QLX_EVENT) QSLP_EVENTS(QSLP_EVENT)
#undef QLX_EVENT
#undef QSLP_EVENT
};

[[nodiscard]] constexpr const EventRow& event_row(Event event) noexcept {
    return kEventRows[static_cast<std::size_t>(event)];
}

}  // namespace qlx
