// Proofs that a quadratic program has no feasible point, or no finite minimum: finds by auxiliary
// linear programs what engine/check/proof.hpp checks.
#pragma once

#include <span>
#include <vector>

#include "engine/check/proof.hpp"
#include "engine/quad/convex_program.hpp"
#include "engine/quad/quadratic_row.hpp"

namespace qlx::quad {

enum class Finding { kProven, kRefuted, kUnknown };

// The linear part: the Hessian is left out.
ProgramView view_of(const QuadraticModel& model) noexcept;
QuadraticModel model_of(LinearStatement&& statement);

struct Feasibility {
    Finding infeasible = Finding::kUnknown;
    int row = -1;           // where infeasible: the row with the largest violation
    std::vector<double> x;  // the point of least violation
};

// Infeasible is proven by the duals of phase one, refuted by a feasible point.
Feasibility find_feasibility(const QuadraticModel& model, const QuadraticKernel& kernel,
                             const ConvexControl& control);

// Which directions a feasible point may take forever, without the objective's quadratic part
// noticing: the model's linear rows, Qd = 0, and for every ellipsoid Q_k d = 0 and a_k'd <= 0.
struct RecessionConditions {
    QuadraticModel model;  // cost, bounds and rows count; sides only by being finite
    // Rows of the model that belong to an ellipsoid: first the equations, last the inequality.
    struct Rows {
        int first;
        int last;
    };
    std::vector<Rows> ellipsoids;

    bool is_any_left() const noexcept;  // an ellipsoid that loosening has not taken out
    // Takes out what the direction leaves behind; returns whether an ellipsoid was among it.
    bool drop(const Loosened& loosened);
};

RecessionConditions recession_conditions(const QuadraticModel& model,
                                         std::span<const ConvexRow> rows);

struct Unboundedness {
    Finding unbounded = Finding::kUnknown;
    std::vector<double> ray;  // empty where a feasible point falls along parabolas only
};

// Looks for a direction along which the cost falls. Where ellipsoids leave none, such as in
// minimise -x over x^2 <= y, it takes out what a direction without a rise of the cost leaves ever
// further behind, here the row itself, as that cannot hold a point far enough along it, and looks
// again (Luo and Zhang 1999, on extensions of the theorem of Frank and Wolfe).
Unboundedness find_descent(RecessionConditions conditions, const QuadraticKernel& kernel,
                           const ConvexControl& control);

}  // namespace qlx::quad
