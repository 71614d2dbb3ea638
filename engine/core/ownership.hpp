// Which thread may use a problem now, and for what.
#pragma once

#include <atomic>
#include <mutex>

namespace qlx {

struct EventRow;

// What a call does with a problem: reads, sets controls, states cuts of a node, changes the model,
// or solves.
enum class Access { kRead, kControl, kCut, kChange, kSolve };

// A problem belongs to one thread at a time; the owner may nest calls, but only read what is being
// solved. For the length of one event it belongs to the thread that raises it, which may call what
// the event allows.
class Ownership {
  public:
    // Throws Error when another thread uses the problem or the access is not possible now.
    void acquire(Access access);
    void release(Access access) noexcept;
    [[nodiscard]] bool solving() const noexcept { return solving_.load(std::memory_order_relaxed); }

  private:
    friend class Lent;

    void require_possible(Access access) const;

    std::atomic<const void*> owner_{nullptr};
    std::atomic<bool> solving_{false};
    int depth_ = 0;
    const EventRow* event_ = nullptr;  // the innermost one that runs
    std::recursive_mutex turn_;        // of the thread whose event runs; see events.hpp
};

// Lends a problem to the calling thread while the callbacks of one event run. Waits until those of
// another thread have returned. Events nest: a call from a callback may raise another.
class Lent {
  public:
    Lent(Ownership& ownership, const EventRow& event);
    ~Lent();
    Lent(const Lent&) = delete;
    Lent& operator=(const Lent&) = delete;

  private:
    const std::lock_guard<std::recursive_mutex> turn_;
    Ownership& ownership_;
    const EventRow* outer_;
    const void* owner_;
};

// Holds a problem for the duration of one call.
class Use {
  public:
    Use(Ownership& ownership, Access access) : ownership_(ownership), access_(access) {
        ownership_.acquire(access_);
    }
    ~Use() { ownership_.release(access_); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

  private:
    Ownership& ownership_;
    Access access_;
};

}  // namespace qlx
