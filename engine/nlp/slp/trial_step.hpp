// The step of an iteration: from a Cauchy point towards equality-constrained steps.
#pragma once

#include "engine/nlp/slp/penalty_model.hpp"
#include "engine/nlp/slp/subproblems.hpp"

namespace qlx::nlp::slp {

struct TrialStep {
    Vector d;
    double decrease = 0;       // of the model
    double cauchy_factor = 1;  // share of the first step that the Cauchy point takes
    double cauchy_length = 0;  // in the maximum norm, scaled
    double length = 0;         // of d in the 2-norm, scaled
    double longest_entry = 0;  // of d in the maximum norm, scaled
};

// Rows that the first step leaves violated, as +1 (below) and -1 (above); 0 for the others.
using ViolatedRows = std::vector<signed char>;

// Byrd, Gould, Nocedal, Waltz (2004), section 4, with more than one equality-constrained step: a
// side that blocks the way joins the working set.
class TrialStepFinder {
  public:
    // `set` has been factored by `phase` and is extended by what blocks.
    void find(const Linearisation& model, const Vector& hessian, double penalty,
              const FirstStep& first, const ViolatedRows& violated, double radius,
              EqualityPhase& phase, WorkingSet& set, TrialStep& out);

  private:
    struct Block {
        Side side{-1, false};
        bool is_row = false;
        double share = 1;         // of the way
        double column_share = 1;  // to the first bound of a column
    };

    void find_column_block(const Linearisation& model, Block& block) const;
    void find_row_block(const Linearisation& model, const ViolatedRows& violated,
                        Block& block) const;
    void consider(const Linearisation& model, const PenaltyModel& value, double share,
                  TrialStep& out);

    Vector cauchy_, way_, newton_, candidate_;
    Vector rows_at_cauchy_, row_way_;
    Vector gradient_;
    Vector violated_duals_;
    std::vector<char> in_set_;
    Vector scratch_columns_, scratch_rows_;
    double best_ = 0;
};

}  // namespace qlx::nlp::slp
