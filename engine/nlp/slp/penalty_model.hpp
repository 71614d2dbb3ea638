// The model of an iteration: quadratic in the Lagrangian, with the linearised rows' violation as a
// penalty.
#pragma once

#include "engine/nlp/slp/linearisation.hpp"

namespace qlx::nlp::slp {

// m(d) = g'd + d'Hd/2 + penalty * (violation of c + Jd  -  violation of c)
class PenaltyModel {
  public:
    PenaltyModel(const Linearisation& model, const Vector& hessian, double penalty,
                 Vector& scratch_h, Vector& scratch_j)
        : model_(model),
          hessian_(hessian),
          penalty_(penalty),
          product_(scratch_h),
          rows_(scratch_j) {}

    [[nodiscard]] double value(const Vector& d) const {
        model_.problem.rows.multiply(model_.at.jacobian, d, rows_);
        model_.problem.curvature.multiply(hessian_, d, product_);
        return model_.gradient.dot(d) + 0.5 * product_.dot(d) + penalty_ * violation_change(1.0);
    }

    struct Shortened {
        double factor;
        double value;
    };
    // Halves d until the model takes a tenth of the decrease that its linear part promises.
    [[nodiscard]] Shortened shorten(const Vector& d) const {
        constexpr double kShare = 0.1, kShortest = 1e-8;
        model_.problem.rows.multiply(model_.at.jacobian, d, rows_);
        model_.problem.curvature.multiply(hessian_, d, product_);
        const double slope = model_.gradient.dot(d), bend = product_.dot(d);
        const double promised = slope + penalty_ * violation_change(1.0);
        const auto along = [&](double a) {
            return a * slope + 0.5 * a * a * bend + penalty_ * violation_change(a);
        };
        double a = 1;
        while (a > kShortest && along(a) > kShare * a * promised) a *= 0.5;
        return {a, along(a)};
    }

  private:
    // With J d in rows_.
    [[nodiscard]] double violation_change(double factor) const {
        double sum = 0;
        const ScaledProblem& problem = model_.problem;
        for (int i = 0; i < problem.num_rows(); ++i) {
            const double value = model_.at.rows[i] + factor * rows_[i];
            sum += std::max({problem.row_lower[i] - value, value - problem.row_upper[i], 0.0});
        }
        return sum - model_.at.violation;
    }

    const Linearisation& model_;
    const Vector& hessian_;
    double penalty_;
    Vector& product_;
    Vector& rows_;
};

}  // namespace qlx::nlp::slp
