// The linear relaxation of a node on a warm dual simplex kernel, with every claim checked.
#pragma once

#include <array>
#include <memory>
#include <span>
#include <vector>

#include "engine/check/linear_view.hpp"
#include "engine/data/frozen_model.hpp"
#include "engine/tree/relaxation.hpp"

namespace qlx {

// Leaves out what is not linear: types, sets, indicators' rows, quadratic terms; semi-continuous
// columns may be 0. Bounds and proofs are those of safe_bound.hpp over the presolved model, with
// bounds that rows imply in the place of infinite ones. A kernel's claim that its duals or its
// point do not bear out is solved once more from scratch.
class LinearRelaxation final : public Relaxation {
  public:
    // Of the options the tolerances, the seed and the matrix tolerance count. The events live as
    // long as this does. Throws Error when the kernel refuses the model.
    LinearRelaxation(std::shared_ptr<const FrozenModel> model, const KernelOptions& options,
                     KernelEvents& events);

    void set_bounds(std::span<const BoundChange> changes) override;
    [[nodiscard]] std::span<const double> lower() const noexcept override { return lower_; }
    [[nodiscard]] std::span<const double> upper() const noexcept override { return upper_; }
    CutId add_cuts(const CutRows& cuts) override;
    void delete_cuts(std::span<const CutId> ids) override;
    [[nodiscard]] std::span<const CutId> cuts() const noexcept override { return cut_ids_; }
    NodeAnswer solve(const SolveLimits& limits) override;
    NodeAnswer look_ahead(const BoundChange& change, const SolveLimits& limits) override;
    [[nodiscard]] const std::vector<double>& point() const noexcept override { return last_.point; }
    [[nodiscard]] const std::vector<double>& duals() const noexcept override { return last_.duals; }
    [[nodiscard]] const std::vector<double>& reduced_costs() const noexcept override {
        return last_.reduced_costs;
    }
    [[nodiscard]] std::shared_ptr<const WarmStart> warm_start() override;
    void restore(std::shared_ptr<const WarmStart> start) override;
    [[nodiscard]] bool tableau_row(int column, TableauRow& row) override;

  private:
    struct Outcome {
        NodeAnswer answer;
        bool stands = false;  // the check bears the kernel's claim out
        std::vector<double> point, duals, reduced_costs;
    };
    struct LinearStart;

    [[nodiscard]] const ModelSnapshot& model() const noexcept { return model_->presolved(); }
    [[nodiscard]] LinearView view();
    void state_rows_and_costs();
    void load();
    void hand_over_cuts(int first);
    void apply(const LinearStart& start);
    void be_at_start();

    [[nodiscard]] Outcome solve_once(const SolveLimits& limits);
    void judge_optimum(Outcome& outcome);
    void judge_infeasibility(Outcome& outcome);
    void judge_duals(Outcome& outcome);
    // May shift the duals, so that columns without a bound have none of the reduced costs that
    // would need it.
    [[nodiscard]] double bound_of(std::vector<double>& duals);
    [[nodiscard]] std::vector<double> shift_of_duals(double size);
    [[nodiscard]] bool is_met(const std::vector<double>& point);

    std::shared_ptr<const FrozenModel> model_;
    KernelOptions options_;
    KernelEvents& events_;
    LpKernel kernel_;
    bool loaded_ = false;
    std::vector<double> cost_;  // of minimisation
    std::vector<double> row_lower_, row_upper_;
    std::vector<double> lower_, upper_;                  // of the node
    std::vector<double> implied_lower_, implied_upper_;  // of the model, for safe bounds
    std::vector<double> safe_lower_, safe_upper_;        // the node's, else implied ones
    std::vector<int> crossed_;                           // columns whose bounds cross
    CutRows cuts_;
    std::vector<CutId> cut_ids_;  // ascend
    CutId next_id_ = 0;
    std::array<RowsView, 2> blocks_;  // the model's, the cuts
    Outcome last_;
    std::shared_ptr<const LinearStart> start_;  // null: where the kernel is
    bool kernel_is_at_start_ = true;
    bool has_factor_ = false;  // of the last solve
    std::vector<int> basic_;   // by position in the factor; row r as -1 - r; empty: not yet asked
};

}  // namespace qlx
