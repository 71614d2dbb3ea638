// Keeps results readable while the model changes after a solve.
#pragma once

#include <vector>

#include "engine/core/results.hpp"
#include "engine/data/model.hpp"

namespace qlx {

// new_index[i] is row or column i's new number, -1 when it goes.
void delete_rows_from_results(Results& results, const std::vector<int>& new_index);
void delete_columns_from_results(Results& results, const std::vector<int>& new_index);

// Gives columns added since the solve the value nearest to 0, rows added since their slack there,
// and both a multiplier of 0.
void extend_results(Results& results, Model& model);

}  // namespace qlx
