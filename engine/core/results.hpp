// What the last solve of a problem found.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <vector>

#include <qlx/codes.h>

namespace qlx {

inline constexpr double kNoValue = std::numeric_limits<double>::quiet_NaN();

// A point with what belongs to it; vectors are as long as the model was when it was solved.
struct Solution {
    double objective = kNoValue;
    double infeasibility = 0;  // largest violation of a bound or row, by our own check
    std::vector<double> x;
    std::vector<double> slack;
    std::vector<double> dual;
    std::vector<double> dj;
};

// Where a solve keeps a solution that others read meanwhile. Thread-safe: a solution is never
// changed, only replaced, so whoever holds one keeps it whole.
class SolutionSlot {
  public:
    SolutionSlot() = default;
    SolutionSlot(const SolutionSlot& other) : held_(other.get()) {}
    SolutionSlot& operator=(const SolutionSlot& other) {
        auto held = other.get();
        const std::lock_guard lock(mutex_);
        held_ = std::move(held);
        viewed_.clear();
        return *this;
    }

    // Null where there is none.
    [[nodiscard]] std::shared_ptr<const Solution> get() const {
        const std::lock_guard lock(mutex_);
        return held_;
    }
    [[nodiscard]] bool empty() const { return get() == nullptr; }
    // Not a number where there is none.
    [[nodiscard]] double objective() const {
        const auto held = get();
        return held != nullptr ? held->objective : kNoValue;
    }
    // While a solve runs: what was viewed stays.
    void put(std::shared_ptr<const Solution> solution) {
        const std::lock_guard lock(mutex_);
        held_ = std::move(solution);
    }
    // After a change of the model: what was viewed goes.
    void replace(std::shared_ptr<const Solution> solution) {
        const std::lock_guard lock(mutex_);
        held_ = std::move(solution);
        viewed_.clear();
    }
    // The solution, which then stays in memory, whatever is put in its place, until the slot is
    // replaced or assigned. Null where there is none.
    [[nodiscard]] const Solution* view() {
        const std::lock_guard lock(mutex_);
        if (held_ != nullptr && (viewed_.empty() || viewed_.back() != held_))
            viewed_.push_back(held_);
        return held_.get();
    }

  private:
    mutable std::mutex mutex_;
    std::shared_ptr<const Solution> held_;
    std::vector<std::shared_ptr<const Solution>> viewed_;
};

struct Results {
    int lp_status = QLX_LP_UNSTARTED;
    int mip_status = QLX_MIP_NOT_LOADED;
    int stop_status = QLX_STOP_NONE;
    SolutionSlot lp;
    SolutionSlot mip;
    double best_bound = kNoValue;
    std::int64_t nodes = 0;
    std::int64_t simplex_iterations = 0;
    std::int64_t barrier_iterations = 0;
    std::int64_t first_order_iterations = 0;
    std::int64_t solutions_found = 0;
    double seconds = 0;

    // Largest violation by the point that is held, the integer one where there are two; 0 without.
    [[nodiscard]] double primal_infeasibility() const {
        auto held = mip.get();
        if (held == nullptr) held = lp.get();
        return held != nullptr ? held->infeasibility : 0.0;
    }
};

}  // namespace qlx
