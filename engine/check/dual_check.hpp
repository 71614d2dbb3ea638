// Our own optimality test of a linear program's solution.
#pragma once

#include <vector>

#include "engine/data/model.hpp"

namespace qlx {

struct DualCheck {
    double infeasibility = 0;  // of reduced costs and duals at infinite bounds and sides
    double gap = 0;            // |primal - dual objective| / (1 + |primal objective|)
};

// dj = objective coefficient - sum of dual * coefficient, by column.
[[nodiscard]] std::vector<double> reduced_costs(Model& model, const std::vector<double>& duals);
// Weak duality: the dual objective of duals and reduced costs against the primal one.
[[nodiscard]] DualCheck check_duals(const Model& model, double objective,
                                    const std::vector<double>& duals,
                                    const std::vector<double>& djs);

}  // namespace qlx
