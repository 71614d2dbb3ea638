// The solves that this process runs, so that it ends after them.
#pragma once

namespace qlx {

// Counts a solve for as long as it lives. At the process's end those that are left, on daemon
// threads or left behind by their callers, are told to stop and waited for, a second at most: what
// they read is destroyed next. Thread-safe; a forked child has none of its parent's solves.
class RunningSolve {
  public:
    RunningSolve() noexcept;
    ~RunningSolve();
    RunningSolve(const RunningSolve&) = delete;
    RunningSolve& operator=(const RunningSolve&) = delete;

    // Whether the process ends, and every solve is to stop.
    [[nodiscard]] static bool process_ends() noexcept;
};

}  // namespace qlx
