// Our own evaluation of a kernel's answer to a quadratic program.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/convex_program.hpp"

namespace qlx::quad {

struct Evaluation {
    double objective = 0.0;
    double objective_size = 0.0;  // the sum of the sizes of its terms, the constant left out
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

// A value between two sides, and its dual; each with the size of the terms that it was summed from,
// as no sum is better than its terms.
struct Condition {
    double dual;
    double dual_size;
    double value;
    double value_size;
    double lower;
    double upper;
};

void add_condition(const Condition& condition, double objective_size,
                   KktResiduals& residuals) noexcept;

bool meets(const KktResiduals& residuals, const ConvexControl& control) noexcept;

// Makes the evaluation the result's; `optimal` stays only where it meets the tolerances.
void take_evaluation(Evaluation evaluation, const ConvexControl& control, ConvexResult& result);

}  // namespace qlx::quad
