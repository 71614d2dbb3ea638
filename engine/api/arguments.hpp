// Checks of arguments by the entry points: null pointers and counts, always; what the arrays hold
// (engine/data/checks.hpp) only in checked mode, as that costs a pass over them.
#pragma once

#include <cstdint>

#include "engine/core/environment.hpp"
#include "engine/data/checks.hpp"
#include "engine/data/model_checks.hpp"

namespace qlx {

inline void require_count(std::int64_t count, const char* name) {
    if (count < 0) fail(QLX_ERROR_ARGUMENT, name, " is ", count, ", must be at least 0");
}

template <class T>
void require_array(const T* array, std::int64_t count, const char* name) {
    if (array == nullptr && count > 0)
        fail(QLX_ERROR_ARGUMENT, name, " is null, must have ", count, " entries");
}

[[nodiscard]] inline bool checked_mode() noexcept {
    return environment().checked.load(std::memory_order_relaxed);
}

inline void require_indices(const int* array, std::int64_t count, int limit, const char* name) {
    require_array(array, count, name);
    if (checked_mode()) check_indices(array, count, limit, name);
}

inline void require_numbers(const double* array, std::int64_t count, const char* name,
                            bool finite) {
    require_array(array, count, name);
    if (checked_mode()) check_numbers(array, count, name, finite);
}

inline void require_letters(const char* array, std::int64_t count, const char* alphabet,
                            const char* name) {
    require_array(array, count, name);
    if (checked_mode()) check_letters(array, count, alphabet, name);
}

inline void require_bounds(const double* lower, const double* upper, int count) {
    require_array(lower, count, "lb");
    require_array(upper, count, "ub");
    if (checked_mode()) check_bounds(lower, upper, count);
}

inline void require_rows(int count, const char* type, const double* rhs, const double* range) {
    require_array(type, count, "rowtype");
    require_array(rhs, count, "rhs");
    if (checked_mode()) check_rows(count, type, rhs, range);
}

// Starts are needed to find one's way, so they are checked in every mode.
template <class Start>
void require_starts(const Start* start, int count, std::int64_t nelems) {
    require_array(start, std::int64_t{count} + 1, "start");
    check_starts(start, count, nelems);
}

inline void require_distinct(IndexStamps& stamps, const std::int64_t* start, const int* index,
                             int count, int limit, const char* name) {
    if (checked_mode()) check_distinct(stamps, start, index, count, limit, name);
}

[[nodiscard]] inline std::vector<int> require_deletion_map(const int* indices, int count, int limit,
                                                           const char* name) {
    require_count(count, join("n", name).c_str());
    require_array(indices, count, name);
    return deletion_map(indices, count, limit, name);
}

// Pairs of columns with their coefficients.
inline void require_pairs(std::int64_t count, const int* col1, const int* col2,
                          const double* values, int num_cols) {
    require_count(count, "the number of quadratic terms");
    require_indices(col1, count, num_cols, "qcol1");
    require_indices(col2, count, num_cols, "qcol2");
    require_numbers(values, count, "qvalues", true);
}

inline void require_sets(int count, const char* type, const std::int64_t* start, const int* columns,
                         const double* references, int num_cols) {
    require_count(count, "nsets");
    if (count == 0) return;
    require_array(type, count, "settype");
    require_array(start, std::int64_t{count} + 1, "setstart");
    check_starts(start, count, start[count], "setstart");
    require_array(columns, start[count], "colind");
    require_array(references, start[count], "refval");
    if (checked_mode()) check_sets(count, type, start, columns, references, num_cols);
}

}  // namespace qlx
