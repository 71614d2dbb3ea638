// Callbacks: registration, priorities, who owns the problem while one runs, and from where events
// come.
#include <atomic>
#include <mutex>
#include <thread>

#include "engine/core/events.hpp"
#include "engine/core/problem.hpp"
#include "tests/engine/support.hpp"

namespace {

using qlx::Access;
using qlx::Event;
using qlx::EventList;
using qlx::EventRow;
using qlx::EventState;
using qlx::test::TestProblem;

struct Calls {
    std::vector<int> order;
    QLXprob prob = nullptr;
    int result = 0;
};

template <int kNumber>
void note(QLXprob prob, void* data, const char*, int, int) {
    auto* calls = static_cast<Calls*>(data);
    calls->order.push_back(kNumber);
    calls->prob = prob;
}

void send_line(const TestProblem& p) {
    static_cast<QLXprob>(p)->send(QLX_MSG_INFORMATION, 1, "line");
}

TEST(EventList, CallsByPriorityThenByOrderAndRemovesByIdentity) {
    TestProblem p;
    Calls a;
    Calls b;
    ASSERT_EQ(QLXaddcbmessage(p, note<1>, &a, 0), 0);
    ASSERT_EQ(QLXaddcbmessage(p, note<2>, &a, 5), 0);
    ASSERT_EQ(QLXaddcbmessage(p, note<3>, &a, 0), 0);
    ASSERT_EQ(QLXaddcbmessage(p, note<1>, &b, -1), 0);
    ASSERT_EQ(QLXaddcbmessage(p, note<1>, &a, 9), 0);
    send_line(p);
    EXPECT_EQ(a.order, (std::vector<int>{1, 2, 1, 3}));
    EXPECT_EQ(a.prob, static_cast<QLXprob>(p));
    EXPECT_EQ(b.order, (std::vector<int>{1}));

    EXPECT_EQ(QLXremovecbmessage(p, note<3>, &b), QLX_ERROR_ARGUMENT);
    EXPECT_NE(p.error().find("no such callback of event message"), std::string::npos) << p.error();
    ASSERT_EQ(QLXremovecbmessage(p, note<1>, &a), 0);  // both of them
    a = b = {};
    send_line(p);
    EXPECT_EQ(a.order, (std::vector<int>{2, 3}));
    EXPECT_EQ(b.order, (std::vector<int>{1}));
    ASSERT_EQ(QLXremovecbmessage(p, nullptr, &a), 0);
    ASSERT_EQ(QLXremovecbmessage(p, nullptr, nullptr), 0);
    EXPECT_EQ(QLXremovecbmessage(p, nullptr, nullptr), QLX_ERROR_ARGUMENT);
    a = b = {};
    send_line(p);
    EXPECT_TRUE(a.order.empty() && b.order.empty());
}

// Removes itself and adds another: the running walk is that of a snapshot.
void replace_itself(QLXprob prob, void* data, const char*, int, int) {
    auto* calls = static_cast<Calls*>(data);
    calls->order.push_back(0);
    calls->result |= QLXremovecbmessage(prob, replace_itself, data);
    calls->result |= QLXaddcbmessage(prob, note<7>, data, 100);
}

TEST(EventList, ACallbackMayRegisterAndRemove) {
    TestProblem p;
    Calls calls;
    ASSERT_EQ(QLXaddcbmessage(p, replace_itself, &calls, 1), 0);
    ASSERT_EQ(QLXaddcbmessage(p, note<2>, &calls, 0), 0);
    send_line(p);
    EXPECT_EQ(calls.result, 0) << p.error();
    EXPECT_EQ(calls.order, (std::vector<int>{0, 2}));
    calls.order.clear();
    send_line(p);
    EXPECT_EQ(calls.order, (std::vector<int>{7, 2}));
}

TEST(EventList, ChangesFromManyThreadsLoseNothing) {
    EventList<QLXmessagecb> list;
    constexpr int kThreads = 4;
    constexpr int kRounds = 200;
    std::vector<std::thread> threads;
    std::atomic<bool> wrong{false};
    Calls data[kThreads];
    for (int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([&, thread] {
            for (int round = 0; round < kRounds; ++round) {
                list.add(note<1>, &data[thread], round);
                if (const auto walked = list.snapshot(); walked != nullptr)
                    for (std::size_t k = 1; k < walked->size(); ++k)
                        wrong = wrong || (*walked)[k - 1].priority < (*walked)[k].priority;
                if (round % 2 == 1) wrong = wrong || !list.remove(note<1>, &data[thread]);
            }
            list.add(note<2>, &data[thread], 0);
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_FALSE(wrong);
    ASSERT_NE(list.snapshot(), nullptr);
    EXPECT_EQ(list.snapshot()->size(), std::size_t{kThreads});
}

// Every event of the table has entry points; one that nothing raises is refused by its name, and
// removing what is not there is refused too.
TEST(Events, ThoseThatNothingRaisesAreRefusedByName) {
    TestProblem p;
    QSLPprob slp = nullptr;
    ASSERT_EQ(QSLPinit(), 0);
    ASSERT_EQ(QSLPcreateprob(&slp, p), 0);
    const auto refused = [&](Event event, int rc) {
        const EventRow& row = qlx::event_row(event);
        if (row.state == EventState::kRaised) return;
        EXPECT_EQ(rc, QLX_ERROR_NOT_AVAILABLE) << row.name;
        EXPECT_NE(p.error().find(std::string("event ") + row.name + " "), std::string::npos)
            << p.error();
    };
#define QLX_EVENT(name, ...)                                                     \
    refused(Event::name, QLXaddcb##name(p, QLX##name##cb(note<1>), nullptr, 0)); \
    EXPECT_EQ(QLXaddcb##name(p, nullptr, nullptr, 0), QLX_ERROR_ARGUMENT);       \
    static_cast<void>(QLXremovecb##name(p, nullptr, nullptr));                   \
    EXPECT_EQ(QLXremovecb##name(p, nullptr, nullptr), QLX_ERROR_ARGUMENT) << #name;
#define QSLP_EVENT(name, prototype, ...)                                     \
    refused(Event::name, QSLPsetcb##name(slp, prototype(note<1>), nullptr)); \
    EXPECT_EQ(QSLPsetcb##name(slp, nullptr, nullptr), 0) << #name;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wcast-function-type"  // nothing is called
    QLX_EVENTS(QLX_EVENT)
    QSLP_EVENTS(QSLP_EVENT)
#pragma GCC diagnostic pop
#undef QLX_EVENT
#undef QSLP_EVENT
    EXPECT_EQ(QSLPdestroyprob(slp), 0);
    EXPECT_EQ(QSLPfree(), 0);
}

// Tries one call of each kind from inside the event.
struct Tried {
    int read, control, change, solve;
    std::string text;
};

void try_calls(QLXprob prob, void* data, const char*, int, int) {
    auto* tried = static_cast<Tried*>(data);
    int rows = 0;
    tried->read = QLXgetintattrib(prob, QLX_ATTRIB_ROWS, &rows);
    tried->control = QLXsetdefaults(prob);
    tried->change = QLXchgobjsense(prob, 1);
    tried->solve = QLXlpoptimize(prob, "");
    char text[512];
    QLXgetlasterror(prob, text);
    tried->text = text;
}

// The message of a load comes from within a call that changes the model, and so must not change it
// either.
TEST(Ownership, AnEventTellsWhatMayBeCalledFromIt) {
    TestProblem p;
    p.column(1, 0, 1);
    p.control("loadlog", 1);
    for (const bool solving : {false, true}) {
        Tried tried{-1, -1, -1, -1, ""};
        ASSERT_EQ(QLXaddcbmessage(p, try_calls, &tried, 0), 0);
        const int rc = solving ? QLXlpoptimize(p, "")
                               : QLXloadlp(p, "", 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, nullptr, nullptr, nullptr, nullptr);
        ASSERT_EQ(rc, 0) << p.error();
        EXPECT_EQ(tried.read, 0);
        EXPECT_EQ(tried.control, QLX_ERROR_STATE);
        EXPECT_EQ(tried.change, QLX_ERROR_STATE);
        EXPECT_EQ(tried.solve, QLX_ERROR_STATE);
        EXPECT_NE(tried.text.find("event message, from which the problem may only be read"),
                  std::string::npos)
            << tried.text;
        ASSERT_EQ(QLXremovecbmessage(p, try_calls, &tried), 0);
        p.column(1, 0, 1);
        EXPECT_EQ(QLXchgobjsense(p, 1), 0) << "the problem was not given back";
    }
}

// What each access class allows, on the innermost event.
TEST(Ownership, ClassesAllowWhatIsBeforeThemAndEventsNest) {
    const struct {
        Event event;
        int allowed;  // of read, control, cut, change, solve
    } cases[] = {
        {Event::destroy, 0}, {Event::intsol, 1}, {Event::gapnotify, 2}, {Event::optnode, 3}};
    constexpr Access kAll[] = {Access::kRead, Access::kControl, Access::kCut, Access::kChange,
                               Access::kSolve};
    const auto count = [&](qlx::Ownership& ownership) {
        int allowed = 0;
        for (const Access access : kAll) {
            try {
                const qlx::Use use(ownership, access);
                ++allowed;
            } catch (const qlx::Error&) {
                break;
            }
        }
        return allowed;
    };
    for (const auto& [event, allowed] : cases) {
        qlx::Ownership ownership;
        const qlx::Use solve(ownership, Access::kSolve);
        const qlx::Lent lent(ownership, qlx::event_row(event));
        EXPECT_EQ(count(ownership), allowed) << qlx::event_row(event).name;
        {
            const qlx::Lent inner(ownership, qlx::event_row(Event::destroy));
            EXPECT_EQ(count(ownership), 0);
        }
        EXPECT_EQ(count(ownership), allowed) << qlx::event_row(event).name;
    }
}

// Workers of one solve raise events: each has the problem for itself while its callbacks run, the
// solving thread has it back at the end, and other threads never get it.
struct Overlap {
    std::atomic<int> inside{0};
    std::atomic<int> calls{0};
    std::atomic<bool> overlapped{false};
    std::atomic<bool> refused{false};
};

void watch_overlap(QLXprob prob, void* data, const char*, int, int) {
    auto* overlap = static_cast<Overlap*>(data);
    if (++overlap->inside != 1) overlap->overlapped = true;
    int rows = 0;
    if (QLXgetintattrib(prob, QLX_ATTRIB_ROWS, &rows) != 0) overlap->refused = true;
    ++overlap->calls;
    --overlap->inside;
}

TEST(Ownership, EventsOfWorkersNeverOverlapAndOwnTheProblem) {
    TestProblem p;
    Overlap overlap;
    ASSERT_EQ(QLXaddcbmessage(p, watch_overlap, &overlap, 0), 0);
    qlx::Problem& problem = *static_cast<QLXprob>(p);
    constexpr int kWorkers = 4;
    constexpr int kEvents = 300;
    std::atomic<bool> stranger_got_it{false};
    {
        const qlx::Use solve(problem.ownership, Access::kSolve);
        std::vector<std::thread> workers;
        for (int worker = 0; worker < kWorkers; ++worker)
            workers.emplace_back([&] {
                for (int k = 0; k < kEvents; ++k) problem.send(QLX_MSG_INFORMATION, 1, "line");
            });
        std::thread stranger([&] {
            int rows = 0;
            for (int k = 0; k < kEvents; ++k)
                if (QLXgetintattrib(p, QLX_ATTRIB_ROWS, &rows) == 0) stranger_got_it = true;
        });
        for (std::thread& worker : workers) worker.join();
        stranger.join();
        int rows = 0;
        EXPECT_EQ(QLXgetintattrib(p, QLX_ATTRIB_ROWS, &rows), 0) << p.error();
        EXPECT_EQ(QLXchgobjsense(p, 1), QLX_ERROR_STATE);
    }
    EXPECT_FALSE(overlap.overlapped);
    EXPECT_FALSE(overlap.refused);
    EXPECT_FALSE(stranger_got_it);
    EXPECT_EQ(overlap.calls, kWorkers * kEvents);
    EXPECT_EQ(QLXchgobjsense(p, 1), 0) << p.error();
}

void stop_at_first(QLXprob prob, void* data, const char*, int, int) {
    ++*static_cast<int*>(data);
    QLXinterrupt(prob, QLX_STOP_USER);
}

TEST(Events, NoCallbackAfterAnInterrupt) {
    TestProblem p;
    p.column(1, 0, 1);
    int first = 0;
    Calls second;
    ASSERT_EQ(QLXaddcbmessage(p, stop_at_first, &first, 1), 0);
    ASSERT_EQ(QLXaddcbmessage(p, note<2>, &second, 0), 0);
    ASSERT_EQ(QLXlpoptimize(p, ""), 0) << p.error();
    EXPECT_EQ(first, 1);
    EXPECT_TRUE(second.order.empty());
}

}  // namespace
