// The main loop of the successive method: a first step by a linear or quadratic program, an
// equality-constrained step on the sides that it finds active, a filter, penalty steering,
// second-order correction and restoration.
#pragma once

#include <optional>
#include <string>

#include "engine/nlp/slp/acceptance.hpp"
#include "engine/nlp/slp/multipliers.hpp"
#include "engine/nlp/slp/trial_step.hpp"

namespace qlx::nlp::slp {

// What a loop begins with, beside the problem and its options.
struct LoopStart {
    int iterations = 0;      // of another loop that went before: they count
    double box = 0.2;        // of the first step, as a share of the columns' lengths
    std::vector<double> x;   // empty: the problem's start
    std::vector<double> y;   // duals of the rows as they were stated; empty: 0
    WorkingSet working_set;  // where curvature does not matter in the first model
    double penalty = 0;      // at least that; 0: the option's
};

class Loop {
  public:
    // The phases must outlive the loop. Those of equality-constrained steps are of one kind.
    Loop(FirstPhase& first, EqualityPhase& equality, EqualityPhase& spare)
        : first_phase_(first), equality_(equality), spare_(spare) {}

    LocalAnswer run(LocalProblem& problem, const LocalOptions& options, const LoopStart& start);

    // Of the last run.
    [[nodiscard]] const WorkingSet& working_set() const noexcept { return last_set_; }
    [[nodiscard]] double penalty() const noexcept { return penalty_; }

  private:
    struct End {
        LocalStatus status;
        std::string reason;
    };

    // loop_start.cpp
    std::optional<End> begin(LocalProblem& problem, const LoopStart& start);
    bool evaluate_all(Iterate& iterate);
    // loop.cpp
    std::optional<End> iterate();
    void set_lengths();
    bool first_step();
    std::optional<End> judge_residue();
    void choose_working_set();
    void estimate();
    bool update_hessian();
    // loop_steps.cpp
    void try_step();
    Verdict correct(const Prediction& prediction, bool& is_defined);
    void shortest_correction();
    void count_idle();
    void accept(const Prediction& prediction, double ratio);
    void reject(bool is_defined);
    void rescale();
    void enter_restoration();
    // loop_optimality.cpp
    std::optional<End> test_optimality();
    bool probe();
    bool probe_other_pieces();
    bool moves_to_better();
    bool follow_negative_curvature();
    // loop_end.cpp
    std::optional<End> interrupted() const;
    [[nodiscard]] bool is_unbounded() const;
    [[nodiscard]] End stalled() const;
    void report();
    void keep_best();
    LocalAnswer answer(const End& end);

    [[nodiscard]] Linearisation model() const {
        return {problem_, current_, restores_ ? no_gradient_ : current_.gradient, lengths_};
    }

    FirstPhase& first_phase_;
    EqualityPhase& equality_;
    EqualityPhase& spare_;
    ScaledProblem problem_;
    const LocalOptions* options_ = nullptr;
    Acceptance acceptance_;

    Iterate current_;
    Iterate trial_;
    int iteration_ = 0;
    double penalty_ = 0;
    double radius_ = 1;  // of equality-constrained steps, 2-norm
    double box_ = 0.2;   // of first steps, maximum norm
    Vector lengths_;     // of columns: radii are relative to them
    Vector no_gradient_;

    FirstStep first_;
    ViolatedRows violated_;
    bool any_violated_ = false;
    WorkingSet set_;       // of the equality-constrained step
    WorkingSet last_set_;  // the one that the last first step found
    TrialStep step_;
    TrialStepFinder finder_;

    Vector y_;  // multipliers of the rows
    Vector hessian_;
    bool hessian_is_current_ = false;  // belongs to the current x and y_
    bool linearisation_is_new_ = true;

    bool restores_ = false;
    double restoration_start_ = 0;  // violation
    int rejections_ = 0;
    bool has_kinks_ = false;
    int rescalings_ = 0;
    int idle_ = 0;
    double least_residual_ = 0;
    int stuck_ = 0;  // iterations in which the linearised rows saw no way to less violation
    int curvature_steps_ = 0;  // times that a stationary point was left along negative curvature
    int moved_at_ = 0;         // iteration up to which only probes have moved the point
    bool was_accepted_ = true;

    double start_objective_ = 0;  // unscaled
    Residuals residuals_;
    Vector residual_y_;  // the multipliers that the residuals belong to
    double last_length_ = 0;

    struct Best {
        Vector x;
        double objective = 0;
        double violation = 0;  // unscaled
        bool is_feasible = false;
    } best_;
    bool has_best_ = false;

    Vector scratch_, gradient_, y_at_x_, reduced_, change_, correction_;
    WorkingSet active_;
};

}  // namespace qlx::nlp::slp
