// What a running solve reports and asks.
#pragma once

#include <cstdint>

namespace qlx {

// Where a running solve stands.
struct KernelProgress {
    double seconds = 0;
    bool tree = false;  // of a tree search, else of an LP
    std::int64_t iterations = 0;
    double objective = 0;  // of the LP
    std::int64_t nodes = 0;
    double best_solution = 0;
    double best_bound = 0;
};

// What a solve calls back, always on the thread that called it.
class KernelEvents {
  public:
    virtual ~KernelEvents() = default;
    // True stops the solve. Asked at least every 50 ms where the solve has a thread of its own.
    virtual bool stop() noexcept = 0;
    virtual void progress(const KernelProgress& progress) noexcept = 0;
    // A new best integer point.
    virtual void solution(const double* x, int num_cols) noexcept = 0;
};

}  // namespace qlx
