// The pairs of violation and objective that new iterates must improve upon.
#pragma once

#include <vector>

namespace qlx::nlp::slp {

// Fletcher, Leyffer (2002); margins after Chin, Fletcher (2003).
class Filter {
  public:
    static constexpr double kViolationMargin = 1 - 1e-5;
    static constexpr double kObjectiveMargin = 1e-5;

    void clear() noexcept { pairs_.clear(); }
    // Whether the pair improves on (violation, objective) of one other in either.
    [[nodiscard]] static bool improves(double violation, double objective, double on_violation,
                                       double on_objective) noexcept {
        return violation <= kViolationMargin * on_violation ||
               objective <= on_objective - kObjectiveMargin * violation;
    }
    [[nodiscard]] bool accepts(double violation, double objective) const noexcept {
        for (const Pair& pair : pairs_)
            if (!improves(violation, objective, pair.violation, pair.objective)) return false;
        return true;
    }
    // Drops the pairs that the new one dominates.
    void add(double violation, double objective) {
        std::erase_if(pairs_, [&](const Pair& pair) {
            return pair.violation >= violation && pair.objective >= objective;
        });
        pairs_.push_back({violation, objective});
    }
    [[nodiscard]] std::size_t size() const noexcept { return pairs_.size(); }

  private:
    struct Pair {
        double violation;
        double objective;
    };
    std::vector<Pair> pairs_;
};

}  // namespace qlx::nlp::slp
