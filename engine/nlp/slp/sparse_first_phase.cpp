// Linear programs of the large path.
#include "engine/nlp/slp/sparse_first_phase.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "engine/nlp/slp/penalty.hpp"

namespace qlx::nlp::slp {

namespace {

constexpr double kTolerance = 1e-9;
constexpr double kLooseTolerance = 1e-7;
// Smaller coefficients are left out.
constexpr double kLeastCoefficient = 1e-12;
// Violation at which a linear row counts as satisfied.
constexpr double kHolds = 1e-9;

}  // namespace

void SparseFirstPhase::bind(const ScaledProblem& problem) {
    const int n = problem.num_columns(), m = problem.num_rows();
    options_.matrix_tolerance = kLeastCoefficient;
    basis_ = {};
    no_gradient_.setZero(n);
    numbers_.resize(at(n + 2 * m));
    std::iota(numbers_.begin(), numbers_.end(), 0);
    const RowStructure& rows = problem.rows;
    column_start_.assign(at(n) + 1, 0);
    for (int k = 0; k < rows.entries(); ++k) ++column_start_[at(rows.column(k)) + 1];
    std::partial_sum(column_start_.begin(), column_start_.end(), column_start_.begin());
    entry_row_.resize(at(rows.entries()));
    entry_place_.resize(at(rows.entries()));
    std::vector<int> next = column_start_;
    for (int i = 0; i < m; ++i)
        for (int k = rows.begin(i); k < rows.end(i); ++k) {
            const int slot = next[at(rows.column(k))]++;
            entry_row_[at(slot)] = i;
            entry_place_[at(slot)] = k;
        }
}

bool SparseFirstPhase::load(const Linearisation& model) {
    const ScaledProblem& problem = model.problem;
    const int n = problem.num_columns(), m = problem.num_rows();
    KernelModel lp;
    lp.num_cols = n + 2 * m;
    lp.num_rows = m;
    lp.cost.assign(at(lp.num_cols), 0.0);
    lp.lower.assign(at(lp.num_cols), 0.0);
    lp.upper.assign(at(lp.num_cols), 0.0);
    for (int i = 0; i < m; ++i) {
        lp.row_lower.push_back(problem.row_lower[i] - model.at.rows[i]);
        lp.row_upper.push_back(problem.row_upper[i] - model.at.rows[i]);
    }
    lp.start.reserve(at(lp.num_cols) + 1);
    lp.start.push_back(0);
    const auto end_column = [&] { lp.start.push_back(static_cast<int>(lp.row.size())); };
    for (int j = 0; j < n; ++j) {
        for (int k = column_start_[at(j)]; k < column_start_[at(j) + 1]; ++k) {
            const double value = model.at.jacobian[entry_place_[at(k)]];
            if (std::abs(value) < kLeastCoefficient) continue;
            lp.row.push_back(entry_row_[at(k)]);
            lp.value.push_back(value);
        }
        end_column();
    }
    for (const double sign : {1.0, -1.0})
        for (int i = 0; i < m; ++i) {
            lp.row.push_back(i);
            lp.value.push_back(sign);
            end_column();
        }
    if (!kernel_.load(std::move(lp), kLeastCoefficient)) return false;
    if (!basis_.columns.empty()) kernel_.set_basis(basis_, true);
    return true;
}

bool SparseFirstPhase::change_box(const Linearisation& model, double box) {
    const int n = model.problem.num_columns();
    lower_.resize(at(n));
    upper_.resize(at(n));
    for (int j = 0; j < n; ++j) {
        lower_[at(j)] = std::max(model.problem.lower[j] - model.at.x[j], -box * model.scale[j]);
        upper_[at(j)] = std::min(model.problem.upper[j] - model.at.x[j], box * model.scale[j]);
    }
    return kernel_.change_bounds(n, numbers_.data(), lower_.data(), upper_.data());
}

bool SparseFirstPhase::change_costs(const Vector& gradient, double violation_cost) {
    cost_.assign(numbers_.size(), violation_cost);
    std::copy(gradient.begin(), gradient.end(), cost_.begin());
    return kernel_.change_costs(static_cast<int>(cost_.size()), numbers_.data(), cost_.data());
}

bool SparseFirstPhase::change_elastic(const Linearisation& model, bool linear_rows_hold) {
    const ScaledProblem& problem = model.problem;
    const int n = problem.num_columns(), m = problem.num_rows();
    lower_.assign(at(2 * m), 0.0);
    upper_.assign(at(2 * m), std::numeric_limits<double>::infinity());
    for (int i = 0; linear_rows_hold && i < m; ++i) {
        const double missed = std::max(problem.row_lower[i] - model.at.rows[i],
                                       model.at.rows[i] - problem.row_upper[i]);
        if (problem.is_linear[at(i)] != 0 && missed <= kHolds)
            upper_[at(i)] = upper_[at(m + i)] = 0;
    }
    return kernel_.change_bounds(2 * m, numbers_.data() + n, lower_.data(), upper_.data());
}

// Linear rows that are satisfied stay so where they can. A program that HiGHS has no answer for is
// solved again from no basis, at last to a looser tolerance.
bool SparseFirstPhase::solve(const Linearisation& model, const FirstStepRequest& request,
                             LocalCounts& counts) {
    struct Attempt {
        bool linear_rows_hold;
        double tolerance;
        bool presolve;
    };
    for (const Attempt& attempt : {Attempt{true, kTolerance, false},
                                   {false, kTolerance, false},
                                   {false, kLooseTolerance, true}}) {
        if (!change_elastic(model, attempt.linear_rows_hold)) return false;
        options_.feasibility_tolerance = options_.optimality_tolerance = attempt.tolerance;
        options_.presolve = attempt.presolve;
        ++counts.linear_programs;
        Questions questions(request.stop);
        const SolveLimits limits{.seconds = std::min(request.stop.seconds_left(), 1e20)};
        const KernelResult result = kernel_.solve(options_, limits, questions);
        if (result.outcome == KernelOutcome::kOptimal) {
            basis_ = kernel_.basis();
            return true;
        }
        if (result.left_behind || request.stop.stop()) return false;
        kernel_.forget_basis();
    }
    return false;
}

double SparseFirstPhase::residue() const {
    const std::vector<double>& x = kernel_.col_value();
    return std::accumulate(x.begin() + no_gradient_.size(), x.end(), 0.0);
}

void SparseFirstPhase::read(const Linearisation& model, FirstStep& step) const {
    const int n = model.problem.num_columns(), m = model.problem.num_rows();
    step.d = Vector::Map(kernel_.col_value().data(), n);
    step.d = step.d.cwiseMax(model.problem.lower - model.at.x)
                 .cwiseMin(model.problem.upper - model.at.x);
    step.y = Vector::Map(kernel_.row_dual().data(), m);
    step.row_is_active.resize(at(m));
    step.column_is_active.resize(at(n));
    for (int i = 0; i < m; ++i)
        step.row_is_active[at(i)] = basis_.rows[at(i)] != BasisStatus::kBasic ? 1 : 0;
    for (int j = 0; j < n; ++j)
        step.column_is_active[at(j)] = basis_.columns[at(j)] != BasisStatus::kBasic ? 1 : 0;
    step.residue = residue();
}

// Whether no side of the box itself holds the step.
bool SparseFirstPhase::is_inside(const Linearisation& model, double box, const Vector& d) {
    for (int j = 0; j < d.size(); ++j) {
        const double side = box * model.scale[j];
        if ((d[j] <= -side && d[j] > model.problem.lower[j] - model.at.x[j]) ||
            (d[j] >= side && d[j] < model.problem.upper[j] - model.at.x[j]))
            return false;
        if (std::abs(d[j]) > side) return false;
    }
    return true;
}

bool SparseFirstPhase::first_step(const Linearisation& model, const FirstStepRequest& request,
                                  const WorkingSet&, double& penalty, FirstStep& step,
                                  LocalCounts& counts) {
    if (!request.is_new && is_inside(model, request.box, step.d)) return true;
    if ((request.is_new || !kernel_.is_loaded()) && !load(model)) return false;
    if (!change_box(model, request.box) || !change_costs(model.gradient, request.penalty) ||
        !solve(model, request, counts))
        return false;
    read(model, step);
    step.least_residue = std::nan("");
    if (request.restores) {
        step.least_residue = step.residue;
        return true;
    }
    if (step.residue <= negligible_residue(model.at.violation)) return true;
    if (!change_costs(no_gradient_, 1.0)) return false;
    if (!solve(model, request, counts)) return !request.stop.stop();
    step.least_residue = residue();
    penalty =
        steer_penalty(request.penalty, request.penalty_max, model.at.violation, step.residue,
                      step.least_residue, [&](double raised) {
                          if (change_costs(model.gradient, raised) && solve(model, request, counts))
                              read(model, step);
                          return step.residue;
                      });
    return true;
}

}  // namespace qlx::nlp::slp
