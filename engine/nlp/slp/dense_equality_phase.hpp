// Equality-constrained steps by null spaces, dense.
#pragma once

#include <optional>

#include "engine/nlp/slp/reduced_step.hpp"
#include "engine/nlp/slp/subproblems.hpp"
#include "engine/nlp/slp/working_set_factor.hpp"

namespace qlx::nlp::slp {

class DenseEqualityPhase final : public EqualityPhase {
  public:
    bool bind(const ScaledProblem&, const StopRule&) override { return true; }
    void factor(const Linearisation& model, const WorkingSet& set) override;
    void add_row(Side side) override;
    void add_column(Side side) override;
    void multipliers(const Vector& gradient, Vector& y) override;
    void step(const Vector& gradient, const Vector& hessian, double radius, Vector& d) override;
    void shortest(const Vector& change, Vector& d) override;
    bool is_convex_on_set(const Vector& hessian, double floor) override;

  private:
    // A row of the factor: a row of the model, or a column added later.
    struct Member {
        Side side;
        bool is_row;
    };

    void append(Member member);
    void load_row(int row);
    void load_hessian(const Vector& hessian);
    void range_step(double radius);

    std::optional<Linearisation> model_;
    WorkingSetFactor factor_;
    std::vector<Member> members_;
    std::vector<int> free_;   // columns, in order
    std::vector<int> place_;  // of a column among the free ones, -1: fixed
    Vector fixed_step_;       // of all columns, scaled; 0 where free
    Vector row_, work_, product_, scaled_, back_;
    Matrix hessian_;
    Matrix all_;
    const double* loaded_hessian_ = nullptr;  // in hessian_, reduced
    int reduced_rank_ = 0;
    ReducedStep reduced_;
};

}  // namespace qlx::nlp::slp
