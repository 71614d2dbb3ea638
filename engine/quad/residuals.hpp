// Our own evaluation of a kernel's answer to a quadratic program.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/convex_program.hpp"

namespace qlx::quad {

struct Evaluation {
    double objective = 0.0;
    std::vector<double> activity;
    std::vector<double> reduced_cost;
    KktResiduals residuals;

    // One figure for comparing two answers.
    double worst() const noexcept;
};

// `normals`, if given, is what other rows than the model's contribute to the gradient's balance:
// the sum of their gradients times their duals, one value a column.
Evaluation evaluate(const QuadraticModel& model, std::span<const double> x,
                    std::span<const double> y, std::span<const double> normals = {});

// Adds one dual and its two sides to the residuals: `scale` is the size of the terms that the dual
// was summed from, `value` the activity that the sides bound.
void add_condition(double dual, double scale, double value, double lower, double upper,
                   double objective, KktResiduals& residuals) noexcept;

bool meets(const KktResiduals& residuals, const ConvexControl& control) noexcept;

// Makes the evaluation the result's; `optimal` stays only where it meets the tolerances.
void take_evaluation(Evaluation evaluation, const ConvexControl& control, ConvexResult& result);

}  // namespace qlx::quad
