// Presolve: takes fixed columns and the rows that they leave empty out of a model.
#pragma once

#include "engine/data/frozen_model.hpp"

namespace qlx {

// Removes columns whose bounds are equal (to an integer, if the column must be one) and that no
// set, indicator or quadratic term mentions, and linear rows without entries that 0 satisfies to
// 1e-9 of their side. Their values move into sides and constant; sides are rounded outwards, so
// that no point of the stated model is lost, the constant to nearest.
[[nodiscard]] PresolvedModel remove_fixed_columns(const ModelSnapshot& stated);

}  // namespace qlx
