// Our own evaluation of points: no kernel's claim counts before it.
#pragma once

#include <vector>

#include "engine/data/model.hpp"

namespace qlx {

// Largest violations of a point. Those of rows and bounds are relative to the magnitude of what was
// added up and of the side, where that is above 1; those of types are distances.
struct PointCheck {
    double bounds = 0;
    double rows = 0;   // linear and quadratic, indicator rows only where they are active: where the
                       // switch is nearer to its active value than to the other one
    double types = 0;  // integer, semi-continuous and partial integer columns, sets
    [[nodiscard]] double feasibility() const noexcept { return bounds > rows ? bounds : rows; }
};

// Activities of all rows, quadratic terms included.
[[nodiscard]] std::vector<double> row_activities(Model& model, const double* x);
[[nodiscard]] double objective_value(const Model& model, const double* x);
// Moves values that are outside their bounds onto them.
void clamp_to_bounds(const Model& model, std::vector<double>& x);

// integral: also what makes the model an integer one (types, sets, indicators); without it
// indicator rows are left out and semi-continuous columns may take any value between 0 and their
// bounds.
[[nodiscard]] PointCheck check_point(Model& model, const double* x,
                                     const std::vector<double>& activities, bool integral);

}  // namespace qlx
