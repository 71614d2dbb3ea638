// A node's problem as a tree search sees it, whatever solves it.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <vector>

#include "engine/lp/lp_kernel.hpp"

namespace qlx {

// New bounds of one column.
struct BoundChange {
    int column;
    double lower, upper;
};

// Rows to add, with starts one longer than there are rows.
struct CutRows {
    std::vector<double> lower, upper;
    std::vector<std::int64_t> starts = {0};
    std::vector<int> columns;
    std::vector<double> values;

    void add(double least, double most, std::span<const int> cols,
             std::span<const double> entries) {
        lower.push_back(least);
        upper.push_back(most);
        columns.insert(columns.end(), cols.begin(), cols.end());
        values.insert(values.end(), entries.begin(), entries.end());
        starts.push_back(static_cast<std::int64_t>(columns.size()));
    }
};

// Names an added row for as long as it is there; never used again.
using CutId = std::int64_t;

enum class NodeStatus : char {
    kOptimal,     // the point satisfies rows and bounds, and the bound agrees where it is finite
    kInfeasible,  // proved
    kCutoff,      // proved: the bound reaches the objective bound of the limits
    kUnbounded,   // as the kernel claims
    kIterationLimit,
    kTimeLimit,
    kInterrupted,
    kUndecided  // no claim stood the check, also not after solving anew
};

// Objectives are those of minimisation, constant included: a model's own times its sense.
struct NodeAnswer {
    NodeStatus status = NodeStatus::kUndecided;
    double objective = std::numeric_limits<double>::infinity();  // of the point, where there is one
    // Holds for every point of the node in exact arithmetic, whatever the status.
    double bound = -std::numeric_limits<double>::infinity();
    std::int64_t iterations = 0;
};

// Row of a basis: for every point of the linear rows, sum of coefficients * x equals sum of weights
// * row activities.
struct TableauRow {
    std::vector<double> weights;  // by row, cuts after the model's: of the inverse of the basis
    std::vector<double>
        coefficients;  // by column; those of other basic columns are 0 but for rounding
};

// What a later solve starts from; immutable, so that nodes and threads share it.
class WarmStart {
  public:
    virtual ~WarmStart() = default;
};

// The relaxation of a frozen model's presolved form, in that form's numbers, under the bounds and
// cuts of a node. One thread at a time uses it. What it is told stays until it is told otherwise.
class Relaxation {
  public:
    virtual ~Relaxation() = default;

    // Bounds may cross: then the next solve says infeasible.
    virtual void set_bounds(std::span<const BoundChange> changes) = 0;
    [[nodiscard]] virtual std::span<const double> lower() const noexcept = 0;
    [[nodiscard]] virtual std::span<const double> upper() const noexcept = 0;

    // Returns the first row's id, the others follow.
    virtual CutId add_cuts(const CutRows& cuts) = 0;
    virtual void delete_cuts(std::span<const CutId> ids) = 0;
    // Of the rows behind the model's own, in their order.
    [[nodiscard]] virtual std::span<const CutId> cuts() const noexcept = 0;

    // Limits are of this solve alone.
    virtual NodeAnswer solve(const SolveLimits& limits) = 0;
    // What a solve within the limits says under one more change, which is then taken back. Point,
    // duals and warm start stay as they are.
    virtual NodeAnswer look_ahead(const BoundChange& change, const SolveLimits& limits) = 0;

    // Of the last solve; empty where it has none. The duals are a proof's multipliers where it said
    // infeasible.
    [[nodiscard]] virtual const std::vector<double>& point() const noexcept = 0;
    [[nodiscard]] virtual const std::vector<double>& duals() const noexcept = 0;
    // Of minimisation: cost - sum of dual * coefficient.
    [[nodiscard]] virtual const std::vector<double>& reduced_costs() const noexcept = 0;

    // What the next solve starts from: where the last one ended. Null before the first.
    [[nodiscard]] virtual std::shared_ptr<const WarmStart> warm_start() = 0;
    // Starts the next solve from what a relaxation of the same model gave, with whatever cuts: then
    // it depends on that, bounds and cuts alone, not on what was solved before. Null: from scratch.
    virtual void restore(std::shared_ptr<const WarmStart> start) = 0;

    // The row in which a column is basic. False where it is not, or where the last solve did not
    // end with a basis or something was restored, looked ahead at, added or deleted since.
    [[nodiscard]] virtual bool tableau_row(int column, TableauRow& row) = 0;
};

}  // namespace qlx
