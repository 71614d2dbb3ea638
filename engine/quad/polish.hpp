// Sharpens an interior point answer: solves the equations of the active set it points to.
#pragma once

#include <vector>

#include "engine/quad/convex_program.hpp"
#include "engine/quad/residuals.hpp"

namespace qlx::quad {

struct PolishedPoint {
    std::vector<double> x;
    std::vector<double> y;
    Evaluation evaluation;
};

// Replaces the point where the result's worst residual is smaller; returns whether it was.
// Nothing is done where the factorisation takes more than `work_limit` multiplications.
bool polish(const QuadraticModel& model, std::int64_t work_limit, PolishedPoint& point);

}  // namespace qlx::quad
