// Counts of live handles and blocks, for leak tests.
#pragma once

#include <atomic>
#include <cstdint>

namespace qlx {

struct LiveCounts {
    std::atomic<std::int64_t> problems{0};
    std::atomic<std::int64_t> branching_objects{0};
    std::atomic<std::int64_t> blocks{0};
};

[[nodiscard]] LiveCounts& live_counts() noexcept;

// A member of this type counts its owner for as long as it lives.
template <std::atomic<std::int64_t> LiveCounts::*Counter>
class Counted {
  public:
    Counted() noexcept { ++(live_counts().*Counter); }
    Counted(const Counted&) noexcept : Counted() {}
    Counted& operator=(const Counted&) noexcept = default;
    ~Counted() { --(live_counts().*Counter); }
};

}  // namespace qlx
