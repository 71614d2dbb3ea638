// The one place that accepts points: no kernel's claim counts before its check.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <span>

#include "engine/core/controls.hpp"
#include "engine/core/results.hpp"
#include "engine/data/model.hpp"

namespace qlx {

enum class Verdict {
    kRejected,   // not feasible to the stated tolerances, or refused by the events
    kNotBetter,  // feasible, but no better than the best one or the cutoff
    kKept
};

// What is told of an integer point that is better than the best one. Neither is called under the
// lock, so points may be offered from both; where several threads offer at once, a point that was
// told of before it was kept may lose to another one.
struct IncumbentEvents {
    std::function<bool(const Solution&)> before;  // false refuses the point
    std::function<void(const Solution&)> after;
};

// Evaluates points of a model by our own arithmetic at the tolerances of its controls, and keeps
// the best ones in the results. Thread-safe: the model is only read, what is kept changes under one
// mutex, and a solution is never changed once it is kept. The model must not change meanwhile.
class Incumbents {
  public:
    Incumbents(Model& model, const Controls& controls, Results& results);
    Incumbents(const Incumbents&) = delete;
    Incumbents& operator=(const Incumbents&) = delete;

    // Set before points come in.
    void tell(IncumbentEvents events) { events_ = std::move(events); }

    // A point of the relaxation with its duals and reduced costs (empty: zeros); slacks and
    // objective are computed. It replaces the one held. Null when it is not feasible.
    std::shared_ptr<const Solution> take_relaxed(Solution point);
    // Where a local solver ended that has no solution: held so that it can be read, as a relaxed
    // one.
    void hold_unproved(Solution point);
    // A point of all columns, of which there may be more than the model's. Integers are rounded
    // where that keeps it feasible.
    Verdict offer(std::span<const double> x);
    // Whether a point of the model's columns is feasible with its integers rounded, its rows and
    // bounds to this tolerance, too.
    [[nodiscard]] bool holds_rounded(const std::vector<double>& x, double tolerance) const;
    // Takes what was kept back, as of a problem that turns out to have no optimum.
    void forget() noexcept;

    // Times the sense, so that less is better: what a point has to be below to be kept; infinite
    // without an incumbent and a control mipabscutoff.
    [[nodiscard]] double cutoff() const noexcept { return cutoff_.load(std::memory_order_relaxed); }
    // Times the sense; infinite where none was asked for.
    [[nodiscard]] double asked_cutoff() const noexcept { return asked_cutoff_; }
    // Null where there is none.
    [[nodiscard]] std::shared_ptr<const Solution> best() const { return results_.mip.get(); }
    // Whether as many improving solutions came in as control sollimit asks for.
    [[nodiscard]] bool is_full() const;

  private:
    [[nodiscard]] bool complete(Solution& solution, bool integral) const;
    std::shared_ptr<const Solution> put_relaxed(Solution point);
    [[nodiscard]] bool keep(std::shared_ptr<const Solution> solution);

    Model& model_;
    const Controls& controls_;
    Results& results_;
    IncumbentEvents events_;
    const double feasibility_tolerance_;
    const double asked_cutoff_;
    std::atomic<double> cutoff_;
    mutable std::mutex mutex_;
};

// Whether control mipabscutoff asks for solutions better than it.
[[nodiscard]] bool has_cutoff(const Controls& controls) noexcept;

}  // namespace qlx
