// The subproblems of the successive method as the main loop sees them: dense and sparse ones.
#pragma once

#include "engine/base/stop_rule.hpp"
#include "engine/nlp/slp/linearisation.hpp"

namespace qlx::nlp::slp {

struct FirstStepRequest {
    double box;      // |d_j| <= box * scale_j
    double penalty;  // of a unit of violation
    double penalty_max;
    bool restores;          // the violation alone counts: the penalty stays as it is
    bool is_new;            // the linearisation is not that of the last request
    const Vector& hessian;  // for methods with a quadratic model
    const StopRule& stop;
};

// The first step of an iteration. It tells which sides are active.
class FirstPhase {
  public:
    virtual ~FirstPhase() = default;
    // Whether first_step reads the Hessian.
    [[nodiscard]] virtual bool uses_hessian() const noexcept = 0;
    virtual void bind(const ScaledProblem& problem) = 0;
    // Sets step and raises the penalty (penalty steering). `last` is the working set before, which
    // tells where curvature does not matter. False where the subproblem could not be solved.
    virtual bool first_step(const Linearisation& model, const FirstStepRequest& request,
                            const WorkingSet& last, double& penalty, FirstStep& step,
                            LocalCounts& counts) = 0;
};

// Factors of a working set and what is solved with them.
class EqualityPhase {
  public:
    virtual ~EqualityPhase() = default;
    // Both must outlive the use. False where the factors would not fit into memory.
    [[nodiscard]] virtual bool bind(const ScaledProblem& problem, const StopRule& stop) = 0;
    // Columns of the set are fixed at their bounds, rows are kept to their sides. The
    // linearisation must stay as it is until the next call.
    virtual void factor(const Linearisation& model, const WorkingSet& set) = 0;
    // Sides beyond those of the set.
    virtual void add_row(Side side) = 0;
    virtual void add_column(Side side) = 0;
    // Multipliers of all rows such that gradient - J'y is least on the columns that are not fixed;
    // 0 for rows not in the set.
    virtual void multipliers(const Vector& gradient, Vector& y) = 0;
    // Minimises gradient'd + d'Hd/2 on the set within |d / scale| <= radius.
    virtual void step(const Vector& gradient, const Vector& hessian, double radius, Vector& d) = 0;
    // The shortest d that changes the rows of the set by `change` (by row number) and no column of
    // the set.
    virtual void shortest(const Vector& change, Vector& d) = 0;
    // Whether d'Hd is at least -floor times |d / scale|^2 for the d that change no side of the set.
    virtual bool is_convex_on_set(const Vector& hessian, double floor) = 0;
};

}  // namespace qlx::nlp::slp
