// Checks and conversions of column types and special ordered sets, shared by loading and adding.
#pragma once

#include <cstdint>

#include "engine/data/model.hpp"

namespace qlx {

[[nodiscard]] constexpr bool is_limited(char type) noexcept {
    return type == 'S' || type == 'R' || type == 'P';
}

// Throws Error for wrong sets: types, starts, columns, reference values that do not differ.
void require_sets(int count, const char* type, const std::int64_t* start, const int* columns,
                  const double* references, int num_cols);
// Adds checked sets, their members in the order of the reference values.
void add_sets(Model& model, int count, const char* type, const std::int64_t* start,
              const int* columns, const double* references);

}  // namespace qlx
