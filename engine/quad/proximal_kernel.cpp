// The only file that meets PIQP.
#include "engine/quad/proximal_kernel.hpp"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <piqp/piqp.hpp>

#include "engine/base/index.hpp"
#include "engine/quad/sparse_factor.hpp"

namespace qlx::quad {

namespace {

using Vector = piqp::Vec<double>;
using Matrix = piqp::SparseMat<double, int>;
using System = piqp::KKTSystem<double, int, piqp::PIQP_SPARSE>;
using Factor = piqp::KKTSolverBase<double, int, piqp::PIQP_SPARSE>;
using Data = piqp::sparse::Data<double, int>;

// Stands before PIQP's factorisation and ends its loop, by way of the iteration limit, when the
// stop rule asks for it: PIQP itself has no time limit and no callback.
class StoppableFactor final : public Factor {
  public:
    StoppableFactor(std::unique_ptr<Factor> inner, const StopRule& rule,
                    piqp::Settings<double>& settings)
        : inner_(std::move(inner)), rule_(&rule), settings_(&settings) {}

    StoppableFactor(const StoppableFactor& other)
        : inner_(other.inner_->clone()), rule_(other.rule_), settings_(other.settings_) {}

    std::unique_ptr<Factor> clone() const override {
        return std::make_unique<StoppableFactor>(*this);
    }
    void update_data(const Data& data, int options) override { inner_->update_data(data, options); }

    bool update_scalings_and_factor(const Data& data, const double& delta, const Vector& x_reg,
                                    const Vector& z_reg) override {
        stopped_ = stopped_ || rule_->stop();
        if (stopped_) {
            settings_->max_iter = 1;
            return true;
        }
        return inner_->update_scalings_and_factor(data, delta, x_reg, z_reg);
    }
    void solve(const Data& data, const Vector& rhs_x, const Vector& rhs_y, const Vector& rhs_z,
               Vector& lhs_x, Vector& lhs_y, Vector& lhs_z) override {
        if (!stopped_) {
            inner_->solve(data, rhs_x, rhs_y, rhs_z, lhs_x, lhs_y, lhs_z);
            return;
        }
        lhs_x.setZero();
        lhs_y.setZero();
        lhs_z.setZero();
    }
    void eval_P_x(const Data& data, const double& alpha, const Vector& x, Vector& z) override {
        inner_->eval_P_x(data, alpha, x, z);
    }
    void eval_A_xn_and_AT_xt(const Data& data, const double& alpha_n, const double& alpha_t,
                             const Vector& xn, const Vector& xt, Vector& zn, Vector& zt) override {
        inner_->eval_A_xn_and_AT_xt(data, alpha_n, alpha_t, xn, xt, zn, zt);
    }
    void eval_G_xn_and_GT_xt(const Data& data, const double& alpha_n, const double& alpha_t,
                             const Vector& xn, const Vector& xt, Vector& zn, Vector& zt) override {
        inner_->eval_G_xn_and_GT_xt(data, alpha_n, alpha_t, xn, xt, zn, zt);
    }

  private:
    std::unique_ptr<Factor> inner_;
    const StopRule* rule_;
    piqp::Settings<double>* settings_;
    bool stopped_ = false;
};

class Solver : public piqp::SparseSolver<double, int> {
  public:
    void watch(const StopRule& rule) {
        struct Opened : System {
            using System::kkt_solver;
        };
        std::unique_ptr<Factor>& factor = m_kkt_system.*(&Opened::kkt_solver);
        if (factor) factor = std::make_unique<StoppableFactor>(std::move(factor), rule, settings());
    }
    bool is_ready() const { return m_setup_done; }
};

// The rows split into equations and inequalities, as PIQP wants them.
struct SplitRows {
    std::vector<int> place;  // of a row among its kind; equations are counted by -1 - place
    Matrix equations;
    Matrix inequalities;
    Vector right_hand_side;
    Vector lower;
    Vector upper;
};

SplitRows split(const QuadraticModel& model) {
    SplitRows out;
    const int rows = model.row_count();
    out.place.resize(at(rows));
    int equations = 0;
    int inequalities = 0;
    for (int i = 0; i < rows; ++i) {
        const bool equation = model.row_lower[at(i)] == model.row_upper[at(i)];
        out.place[at(i)] = equation ? -1 - equations++ : inequalities++;
    }
    out.right_hand_side.resize(equations);
    out.lower.resize(inequalities);
    out.upper.resize(inequalities);
    for (int i = 0; i < rows; ++i) {
        const int p = out.place[at(i)];
        if (p < 0) {
            out.right_hand_side[-1 - p] = model.row_lower[at(i)];
            continue;
        }
        out.lower[p] = is_finite_lower(model.row_lower[at(i)]) ? model.row_lower[at(i)] : -PIQP_INF;
        out.upper[p] = is_finite_upper(model.row_upper[at(i)]) ? model.row_upper[at(i)] : PIQP_INF;
    }
    auto reset = [&](Matrix& matrix, int height) {
        matrix.resize(height, model.column_count());
        matrix.reserve(model.rows.entries());
    };
    reset(out.equations, equations);
    reset(out.inequalities, inequalities);
    for (int j = 0; j < model.column_count(); ++j) {
        out.equations.startVec(j);
        out.inequalities.startVec(j);
        for (int k = model.rows.start[at(j)]; k < model.rows.start[at(j) + 1]; ++k) {
            const int p = out.place[at(model.rows.index[at(k)])];
            Matrix& matrix = p < 0 ? out.equations : out.inequalities;
            matrix.insertBack(p < 0 ? -1 - p : p, j) = model.rows.value[at(k)];
        }
    }
    out.equations.finalize();
    out.inequalities.finalize();
    return out;
}

KernelClaim claim_of(piqp::Status status) {
    switch (status) {
        case piqp::PIQP_SOLVED:
            return KernelClaim::kSolved;
        case piqp::PIQP_PRIMAL_INFEASIBLE:
            return KernelClaim::kInfeasible;
        case piqp::PIQP_DUAL_INFEASIBLE:
            return KernelClaim::kUnbounded;
        case piqp::PIQP_MAX_ITER_REACHED:
            return KernelClaim::kIterationLimit;
        default:
            return KernelClaim::kFailed;
    }
}

void set_up(Solver& solver, const QuadraticModel& model, const SplitRows& rows) {
    const int columns = model.column_count();
    const SparseColumns& q = model.hessian;
    const Eigen::Map<const Matrix> hessian(columns, columns, q.entries(), q.start.data(),
                                           q.index.data(), q.value.data());
    const Eigen::Map<const Vector> cost(model.cost.data(), columns);
    Vector lower(columns);
    Vector upper(columns);
    for (int j = 0; j < columns; ++j) {
        const bool below = is_finite_lower(model.column_lower[at(j)]);
        const bool above = is_finite_upper(model.column_upper[at(j)]);
        lower[j] = below ? model.column_lower[at(j)] : -PIQP_INF;
        upper[j] = above ? model.column_upper[at(j)] : PIQP_INF;
    }
    using Rows = piqp::optional<piqp::CSparseMatRef<double, int>>;
    using Values = piqp::optional<piqp::CVecRef<double>>;
    const bool equations = rows.equations.rows() > 0;
    const bool inequalities = rows.inequalities.rows() > 0;
    solver.setup(hessian, cost, equations ? Rows(rows.equations) : Rows(),
                 equations ? Values(rows.right_hand_side) : Values(),
                 inequalities ? Rows(rows.inequalities) : Rows(),
                 inequalities ? Values(rows.lower) : Values(),
                 inequalities ? Values(rows.upper) : Values(), Values(lower), Values(upper));
}

}  // namespace

KernelAnswer solve_proximal(const QuadraticModel& model, const StopRule& rule, int iterations) {
    const SplitRows rows = split(model);
    Solver solver;
    solver.settings().kkt_solver = piqp::KKTSolver::sparse_ldlt;
    solver.settings().max_iter = iterations;
    set_up(solver, model, rows);
    KernelAnswer answer;
    if (!solver.is_ready()) return answer;
    solver.watch(rule);
    answer.claim = claim_of(solver.solve());
    if (answer.claim == KernelClaim::kIterationLimit && rule.stop()) {
        answer.claim = KernelClaim::kStopped;
    }
    const auto& result = solver.result();
    answer.iterations = static_cast<int>(result.info.iter);
    answer.x.assign(result.x.data(), result.x.data() + result.x.size());
    answer.y.resize(rows.place.size());
    for (std::size_t i = 0; i < rows.place.size(); ++i) {
        const int p = rows.place[i];
        answer.y[i] = p < 0 ? -result.y[-1 - p] : result.z_l[p] - result.z_u[p];
    }
    return answer;
}

bool has_small_factor(const QuadraticModel& model, std::int64_t work_limit) {
    const int columns = model.column_count();
    const std::int64_t order = columns + model.row_count();
    if (order * order * order / 3 <= work_limit) return true;
    // The pattern of the Karush-Kuhn-Tucker matrix, its upper triangle by columns.
    SparseColumns pattern;
    const SparseColumns by_row = transpose(model.rows);
    pattern.rows = pattern.columns = static_cast<int>(order);
    pattern.start = model.hessian.start;
    pattern.index = model.hessian.index;
    for (int i = 0; i < by_row.columns; ++i) {
        pattern.index.insert(pattern.index.end(), by_row.index.begin() + by_row.start[at(i)],
                             by_row.index.begin() + by_row.start[at(i) + 1]);
        pattern.start.push_back(static_cast<int>(pattern.index.size()));
    }
    pattern.value.assign(pattern.index.size(), 1.0);
    // A column with k entries takes k^2 multiplications, so the entries bound the work from below.
    SparseFactor factor;
    return factor.analyze(pattern, work_limit) && factor.work() <= work_limit;
}

}  // namespace qlx::quad
