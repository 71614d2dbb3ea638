// Whether a trial point becomes the next iterate.
#pragma once

#include "engine/nlp/slp/filter.hpp"
#include "engine/nlp/slp/scaled_problem.hpp"

namespace qlx::nlp::slp {

// Promises of the model for a step.
struct Prediction {
    double merit;      // decrease of objective + penalty * violation
    double objective;  // decrease of the quadratic model of the Lagrangian
    double penalty;
    bool restores;  // the objective does not count
};

struct Verdict {
    bool accepted = false;
    double ratio = -1;  // of the merit function's decrease to the promised one
};

class Acceptance {
  public:
    // Forgets everything. `violation` is that of the start, `feasible` one that counts as none. At
    // kinks the filter would wander between pieces: with `merit_only` the merit function decides.
    void start(double violation, double feasible, bool merit_only);
    [[nodiscard]] Verdict judge(const Iterate& from, const Iterate& trial,
                                const Prediction& prediction) const;
    // Tells that the iterate is left for an accepted trial point.
    void leave(const Iterate& from, const Iterate& to, const Prediction& prediction);
    // The iterate is left for a restoration.
    void leave(const Iterate& from) { filter_.add(from.violation, from.objective); }
    [[nodiscard]] bool filter_accepts(const Iterate& iterate) const noexcept {
        return filter_.accepts(iterate.violation, iterate.objective);
    }

  private:
    [[nodiscard]] static bool is_switching(const Iterate& from, const Prediction& prediction) {
        constexpr double kSwitch = 1e-4;
        return prediction.objective > kSwitch * from.violation * from.violation;
    }

    Filter filter_;
    double violation_limit_ = 0;
    double feasible_ = 0;
    bool merit_only_ = false;
};

}  // namespace qlx::nlp::slp
