// Presolve of a program with quadratic rows: what its linear rows, its fixed columns and rows
// without an interior decide before the barrier method.
#pragma once

#include <utility>
#include <vector>

#include "engine/quad/barrier_problem.hpp"
#include "engine/quad/flat_rows.hpp"
#include "engine/quad/reduction.hpp"

namespace qlx::quad {

class ConePresolve {
  public:
    // `source` has to outlive the presolve.
    explicit ConePresolve(const ConvexProgram& source);
    ConePresolve(const ConePresolve&) = delete;
    ConePresolve& operator=(const ConePresolve&) = delete;

    // Returns false where the status is settled; status() and place() then say it.
    bool run();
    ConvexStatus status() const noexcept { return status_; }
    const ModelPlace& place() const noexcept { return place_; }

    // The linear rows: the source's, quadratic ones that are linear after all, and equations in
    // place of rows without an interior.
    const QuadraticModel& model() const noexcept { return model_; }
    const Reduction& reduction() const noexcept { return reduction_; }
    // Reduced columns and linear rows, and the convex rows that are left.
    const ConeProgram& program() const noexcept { return program_; }
    // The quadratic row behind each convex one.
    const std::vector<int>& convex_source() const noexcept { return convex_source_; }

    // Turns a place among model()'s rows into one among the source's.
    ModelPlace source_place(ModelPlace place) const;
    // Moves the duals of rows that are linear after all to their quadratic rows, drops those of
    // equations.
    void restore_duals(ConvexResult& result) const;
    // Which quadratic rows became equations.
    const std::vector<bool>& is_flat() const noexcept { return is_flat_; }

  private:
    bool settle(ConvexStatus status, const ModelPlace& place) {
        status_ = status;
        place_ = place;
        return false;
    }
    bool reduce();
    bool sort_rows(bool& changed);
    void add_linear_row(int k, const ConvexRow& row);
    bool add_flat_row(int k, const ConvexRow& row, bool& changed);
    void map_columns();

    const ConvexProgram& source_;
    std::vector<int> held_;  // columns of the quadratic rows
    std::vector<bool> is_settled_;
    std::vector<bool> is_flat_;
    std::vector<Triplet> entries_;  // of the source's linear rows and of those added
    std::vector<int> added_;        // the quadratic row behind each linear one added
    std::vector<bool> is_equation_;
    QuadraticModel model_;
    Reduction reduction_;
    ConeProgram program_;
    std::vector<int> convex_source_;
    ConvexStatus status_ = ConvexStatus::kNumericalFailure;
    ModelPlace place_;
};

}  // namespace qlx::quad
