// HiPO on HiGHS. Compiled with HiGHS' string ABI; no std::string crosses this file's interface.
#include "engine/lp/quadratic_kernel.hpp"

#include <algorithm>
#include <chrono>

#include "engine/lp/highs_session.hpp"

namespace qlx {

namespace {

HighsLp linear_part(const quad::QuadraticModel& model) {
    HighsLp lp;
    lp.num_col_ = model.column_count();
    lp.num_row_ = model.row_count();
    lp.offset_ = model.constant;
    lp.col_cost_ = model.cost;
    auto bounds = [](const std::vector<double>& from) {
        std::vector<double> to(from);
        for (double& bound : to) {
            if (bound >= kInfinity) bound = kHighsInf;
            if (bound <= -kInfinity) bound = -kHighsInf;
        }
        return to;
    };
    lp.col_lower_ = bounds(model.column_lower);
    lp.col_upper_ = bounds(model.column_upper);
    lp.row_lower_ = bounds(model.row_lower);
    lp.row_upper_ = bounds(model.row_upper);
    lp.a_matrix_.format_ = MatrixFormat::kColwise;
    lp.a_matrix_.start_.assign(model.rows.start.begin(), model.rows.start.end());
    lp.a_matrix_.index_.assign(model.rows.index.begin(), model.rows.index.end());
    lp.a_matrix_.value_ = model.rows.value;
    return lp;
}

// HiGHS wants the lower triangle by columns, which is the upper one by rows.
HighsHessian hessian_of(const quad::QuadraticModel& model) {
    const quad::SparseColumns lower = quad::transpose(model.hessian);
    HighsHessian hessian;
    hessian.dim_ = model.column_count();
    hessian.format_ = HessianFormat::kTriangular;
    hessian.start_.assign(lower.start.begin(), lower.start.end());
    hessian.index_.assign(lower.index.begin(), lower.index.end());
    hessian.value_ = lower.value;
    return hessian;
}

quad::KernelClaim claim_of(HighsModelStatus status) {
    switch (status) {
        case HighsModelStatus::kOptimal:
            return quad::KernelClaim::kSolved;
        case HighsModelStatus::kInfeasible:
            return quad::KernelClaim::kInfeasible;
        case HighsModelStatus::kUnbounded:
        case HighsModelStatus::kUnboundedOrInfeasible:
            return quad::KernelClaim::kUnbounded;
        case HighsModelStatus::kIterationLimit:
            return quad::KernelClaim::kIterationLimit;
        case HighsModelStatus::kTimeLimit:
        case HighsModelStatus::kInterrupt:
            return quad::KernelClaim::kStopped;
        default:
            return quad::KernelClaim::kFailed;
    }
}

// The rule as events of a run.
class RuleEvents final : public KernelEvents {
  public:
    explicit RuleEvents(const StopRule& rule) : rule_(rule) {}
    bool stop() noexcept override { return rule_.stop(); }
    void progress(const KernelProgress&) noexcept override {}
    void solution(const double*, int) noexcept override {}

  private:
    const StopRule& rule_;
};

}  // namespace

quad::KernelAnswer solve_large_quadratic(const quad::QuadraticModel& model, const StopRule& rule,
                                         int iterations, int threads) {
    const std::shared_ptr<HighsSession> session = HighsSession::make();
    session->set("solver", "hipo");
    session->set("run_crossover", "off");
    session->set("small_matrix_value", 1e-12);
    session->set("ipm_iteration_limit", HighsInt{iterations});
    RunLimits limits{threads, 1e20, true};
    if (rule.has_deadline()) {
        limits.seconds = std::max(rule.seconds_left(), 1e-3);
        session->set("time_limit", limits.seconds);
    }
    HighsModel whole;
    whole.lp_ = linear_part(model);
    whole.hessian_ = hessian_of(model);
    quad::KernelAnswer answer;
    Highs& highs = session->highs();
    if (!accepted(highs.passModel(std::move(whole)))) return answer;
    RuleEvents events(rule);
    if (session->run(limits, events).left_behind) {
        answer.claim = quad::KernelClaim::kStopped;
        return answer;
    }
    answer.claim = claim_of(highs.getModelStatus());
    answer.iterations = static_cast<int>(highs.getInfo().ipm_iteration_count);
    const HighsSolution& solution = highs.getSolution();
    if (solution.value_valid) answer.x = solution.col_value;
    if (solution.dual_valid) answer.y = solution.row_dual;
    return answer;
}

}  // namespace qlx
