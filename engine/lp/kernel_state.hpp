// What an LpKernel holds; for its own sources.
#pragma once

#include "engine/base/live_counts.hpp"
#include "engine/lp/highs_session.hpp"
#include "engine/lp/lp_kernel.hpp"

namespace qlx {

struct LpKernel::Live {
    Live() { renew(); }
    // An empty object in place of one that a solve was left behind with.
    void renew();
    void apply(const KernelOptions& options, double new_objective_bound);
    [[nodiscard]] Highs& highs() const noexcept { return session->highs(); }

    std::shared_ptr<HighsSession> session;
    KernelOptions applied;
    bool applied_once = false;
    double objective_bound = 0;
    bool loaded = false;
    Counted<&LiveCounts::blocks> counted;
};

}  // namespace qlx
