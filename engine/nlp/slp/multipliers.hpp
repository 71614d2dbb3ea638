// Least-squares estimates of the rows' multipliers, and how well they prove a point optimal.
#pragma once

#include "engine/nlp/slp/subproblems.hpp"

namespace qlx::nlp::slp {

// Multipliers of the rows of `set` that make gradient - J'y least on the columns that the set does
// not fix; rows whose multiplier has the wrong sign for the nearer side of `rows` are taken out and
// the rest solved again. `phase` has factored `set`; `spare` is used where rows go.
void estimate_multipliers(const Linearisation& model, const Vector& gradient, const Vector& rows,
                          const WorkingSet& set, EqualityPhase& phase, EqualityPhase& spare,
                          Vector& y);

struct Residuals {
    double conditions = 0;  // largest of stationarity and complementarity
    double relative = 0;    // the same, less where multipliers are large
};
// Natural residuals min(|multiplier|, slack) at the iterate; `reduced` receives gradient - J'y.
[[nodiscard]] Residuals optimality_residuals(const Linearisation& model, const Vector& y,
                                             Vector& reduced);

// Rows and columns that are active at the iterate itself, to a distance of 1e-6.
void find_active_sides(const Linearisation& model, WorkingSet& set);

}  // namespace qlx::nlp::slp
