// Which thread may use a problem now.
#pragma once

#include <atomic>

namespace qlx {

// What a call does with a problem: reads, changes the model or its settings, or solves.
enum class Access { kRead, kChange, kSolve };

// A problem belongs to one thread at a time; the owner may nest calls (from inside callbacks), but
// not change what is being solved.
class Ownership {
  public:
    // Throws Error when another thread uses the problem or the access is not possible now.
    void acquire(Access access);
    void release(Access access) noexcept;
    [[nodiscard]] bool solving() const noexcept { return solving_.load(std::memory_order_relaxed); }

  private:
    std::atomic<const void*> owner_{nullptr};
    int depth_ = 0;
    std::atomic<bool> solving_{false};
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
