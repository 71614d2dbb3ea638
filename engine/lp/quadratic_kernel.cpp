// HiPO on HiGHS. Compiled with HiGHS' string ABI; no std::string crosses this file's interface.
#include "engine/lp/quadratic_kernel.hpp"

#include <Highs.h>

#include <algorithm>
#include <string>

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
            if (bound >= quad::kInfiniteBound) bound = kHighsInf;
            if (bound <= -quad::kInfiniteBound) bound = -kHighsInf;
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

}  // namespace

quad::KernelAnswer solve_large_quadratic(const quad::QuadraticModel& model,
                                         const StopRule& rule, int iterations) {
    quad::KernelAnswer answer;
    Highs highs;
    highs.setOptionValue("output_flag", false);
    highs.setOptionValue("solver", std::string("hipo"));
    highs.setOptionValue("run_crossover", std::string("off"));
    highs.setOptionValue("small_matrix_value", 1e-12);
    highs.setOptionValue("ipm_iteration_limit", iterations);
    if (rule.has_deadline())
        highs.setOptionValue("time_limit", std::max(rule.seconds_left(), 1e-3));
    highs.setCallback([&rule](int, const std::string&, const HighsCallbackOutput*,
                              HighsCallbackInput* input, void*) {
        if (input != nullptr) input->user_interrupt = rule.stop();
    });
    highs.startCallback(kCallbackIpmInterrupt);
    HighsModel whole;
    whole.lp_ = linear_part(model);
    whole.hessian_ = hessian_of(model);
    if (highs.passModel(std::move(whole)) == HighsStatus::kError) return answer;
    highs.run();
    answer.claim = claim_of(highs.getModelStatus());
    answer.iterations = static_cast<int>(highs.getInfo().ipm_iteration_count);
    const HighsSolution& solution = highs.getSolution();
    if (solution.value_valid) answer.x = solution.col_value;
    if (solution.dual_valid) answer.y = solution.row_dual;
    return answer;
}

}  // namespace qlx
