// The ladder of kernels for convex quadratic programs.
#include "engine/quad/ladder.hpp"

#include <array>
#include <cstddef>
#include <limits>

#include "engine/quad/barrier_kernel.hpp"
#include "engine/quad/certificates.hpp"
#include "engine/quad/polish.hpp"
#include "engine/quad/proximal_kernel.hpp"
#include "engine/quad/residuals.hpp"

namespace qlx::quad {

namespace {

// Answers this accurate are not worth another factorisation.
constexpr double kSharpEnough = 1e-9;

class Ladder {
  public:
    Ladder(const QuadraticModel& model, const ConvexControl& control)
        : model_(model),
          control_(control),
          small_(!control.large_scale_qp || has_small_factor(model, control.work_limit)) {}

    ConvexResult climb();

  private:
    QuadraticKernel kernel_of(Kernel kernel) const;
    bool try_kernel(Kernel kernel);
    bool diagnose();
    void take_best();
    bool finish(ConvexStatus status) {
        result_.status = status;
        return true;
    }

    const QuadraticModel& model_;
    const ConvexControl& control_;
    const bool small_;
    bool diagnosed_ = false;
    PolishedPoint best_;
    ConvexResult result_;
};

QuadraticKernel Ladder::kernel_of(Kernel kernel) const {
    switch (kernel) {
        case Kernel::kProximal:
            return solve_proximal;
        case Kernel::kLargeScale:
            return control_.large_scale_qp;
        case Kernel::kBarrier:
            return barrier_kernel();
        case Kernel::kConic:
        case Kernel::kNone:
            break;
    }
    return {};
}

// Returns true where the outcome is settled.
bool Ladder::try_kernel(Kernel kernel) {
    const QuadraticKernel solve = kernel_of(kernel);
    if (!solve) return false;
    if (control_.stop.stop()) return finish(stop_status(control_.stop));
    const KernelAnswer answer =
        solve(model_, control_.stop, control_.iterations_left(result_.iterations));
    result_.iterations += answer.iterations;
    if (answer.x.size() == model_.cost.size() && answer.y.size() == model_.row_lower.size()) {
        PolishedPoint point{answer.x, answer.y, evaluate(model_, answer.x, answer.y)};
        bool polished = false;
        if (point.evaluation.worst() > kSharpEnough && answer.claim != KernelClaim::kStopped) {
            polished = polish(model_, control_.work_limit, point);
        }
        if (best_.x.empty() || point.evaluation.worst() < best_.evaluation.worst()) {
            best_ = std::move(point);
            result_.kernel = kernel;
            result_.polished = polished;
        }
        if (meets(best_.evaluation.residuals, control_)) return finish(ConvexStatus::kOptimal);
    }
    if (answer.claim == KernelClaim::kStopped) return finish(stop_status(control_.stop));
    const bool suspicious =
        answer.claim == KernelClaim::kInfeasible || answer.claim == KernelClaim::kUnbounded;
    if (suspicious && diagnose()) return true;
    const bool spent = control_.iterations_left(result_.iterations) == 0;
    return spent && finish(ConvexStatus::kIterationLimit);
}

// Decides by proof whether there is no feasible point or no finite minimum.
bool Ladder::diagnose() {
    if (diagnosed_) return false;
    diagnosed_ = true;
    const QuadraticKernel kernel = kernel_of(small_ ? Kernel::kProximal : Kernel::kLargeScale);
    const Feasibility feasibility = find_feasibility(model_, kernel, control_);
    if (feasibility.infeasible == Finding::kProven) {
        result_.place.row = feasibility.row;
        return finish(ConvexStatus::kInfeasible);
    }
    if (feasibility.infeasible == Finding::kUnknown) return false;
    Unboundedness unboundedness = find_descent(recession_conditions(model_, {}), kernel, control_);
    if (unboundedness.unbounded != Finding::kProven) return false;
    best_.x = feasibility.x;
    best_.y.assign(model_.row_lower.size(), 0.0);
    result_.ray = std::move(unboundedness.ray);
    return finish(ConvexStatus::kUnbounded);
}

void Ladder::take_best() {
    if (best_.x.empty()) return;
    result_.x = std::move(best_.x);
    result_.row_dual = std::move(best_.y);
}

ConvexResult Ladder::climb() {
    const std::array<Kernel, 3> order =
        small_ ? std::array{Kernel::kProximal, Kernel::kLargeScale, Kernel::kBarrier}
               : std::array{Kernel::kLargeScale, Kernel::kProximal, Kernel::kBarrier};
    bool settled = false;
    for (Kernel kernel : order) {
        settled = try_kernel(kernel);
        if (settled) break;
    }
    if (!settled && !diagnose()) {
        if (control_.stop.stop()) {
            finish(stop_status(control_.stop));
        } else {
            finish(ConvexStatus::kNumericalFailure);
        }
    }
    take_best();
    return std::move(result_);
}

}  // namespace

ConvexStatus stop_status(const StopRule& rule) noexcept {
    const int reason = rule.reason();
    const bool is_timed = reason == QLX_STOP_NONE || reason == QLX_STOP_TIMELIMIT;
    return is_timed ? ConvexStatus::kTimeLimit : ConvexStatus::kInterrupted;
}

ConvexResult climb(const QuadraticModel& model, const ConvexControl& control) {
    return Ladder(model, control).climb();
}

}  // namespace qlx::quad
