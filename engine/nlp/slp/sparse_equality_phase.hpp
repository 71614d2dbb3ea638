// Equality-constrained steps by projected conjugate gradients on sparse factors.
#pragma once

#include <optional>

#include "engine/nlp/slp/augmented_system.hpp"
#include "engine/nlp/slp/subproblems.hpp"

namespace qlx::nlp::slp {

// Gould, Hribar, Nocedal (2001). The preconditioner is the Hessian itself, shifted until it is
// definite: where it is definite one iteration is Newton's step.
class SparseEqualityPhase final : public EqualityPhase {
  public:
    bool bind(const ScaledProblem& problem, const StopRule& stop) override;
    void factor(const Linearisation& model, const WorkingSet& set) override;
    void add_row(Side side) override;
    void add_column(Side side) override;
    void multipliers(const Vector& gradient, Vector& y) override;
    void step(const Vector& gradient, const Vector& hessian, double radius, Vector& d) override;
    void shortest(const Vector& change, Vector& d) override;
    bool is_convex_on_set(const Vector& hessian, double floor) override;

  private:
    bool analyse_preconditioner();
    void update_projection();
    void update_preconditioner(const Vector& hessian);
    double range_step(double radius);
    void conjugate_gradients(const Vector& hessian, double radius);
    void multiply(const Vector& hessian, const Vector& scaled, Vector& out);
    void drop_fixed(Vector& v) const;

    std::optional<Linearisation> model_;
    std::vector<char> fixed_, in_set_;
    std::vector<Side> rows_;
    Vector fixed_step_;
    AugmentedSystem projection_, preconditioner_;
    ShiftedHessian definiteness_;
    bool projection_is_current_ = false;
    bool preconditioner_is_analysed_ = false;
    bool preconditioner_fits_ = false;  // else the projection is the preconditioner
    const StopRule* stop_ = nullptr;
    double shift_ = 0;
    double hessian_size_ = 0;
    Vector step_, residual_, direction_, conjugate_, product_, work_, multipliers_, scaled_, total_;
};

}  // namespace qlx::nlp::slp
