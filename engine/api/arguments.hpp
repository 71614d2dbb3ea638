// Checks of arguments, shared by the entry points. Each throws Error naming argument, index and
// value.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/base/errors.hpp"
#include "engine/base/index_stamps.hpp"
#include "engine/core/environment.hpp"
#include "engine/data/model.hpp"

namespace qlx {

inline void require_count(std::int64_t count, const char* name) {
    if (count < 0) fail(QLX_ERROR_ARGUMENT, name, " is ", count, ", must be at least 0");
}

template <class T>
void require_array(const T* array, std::int64_t count, const char* name) {
    if (array == nullptr && count > 0)
        fail(QLX_ERROR_ARGUMENT, name, " is null, must have ", count, " entries");
}

// One index in 0 .. limit-1.
void require_index(int index, int limit, const char* name);
// Indices in 0 .. limit-1; checked mode only.
void require_indices(const int* array, std::int64_t count, int limit, const char* name);
// No NaN, and with `finite` no infinite value either; checked mode only.
void require_numbers(const double* array, std::int64_t count, const char* name, bool finite);
// Letters of a given alphabet; checked mode only.
void require_letters(const char* array, std::int64_t count, const char* alphabet, const char* name);
// lower[k] <= upper[k], and neither on the wrong side of infinity.
void require_bounds(const double* lower, const double* upper, int count);
// Row types, right-hand sides and ranges. range null is allowed when no row is 'R'.
void require_rows(int count, const char* type, const double* rhs, const double* range);
// first .. last within 0 .. count-1.
void require_range(int first, int last, int count);
// Starts that begin at 0, never descend and end at nelems.
template <class Start>
void require_starts(const Start* start, int count, std::int64_t nelems) {
    require_array(start, std::int64_t{count} + 1, "start");
    if (start[0] != 0) fail(QLX_ERROR_ARGUMENT, "start[0] is ", start[0], ", must be 0");
    for (int k = 0; k < count; ++k)
        if (start[k + 1] < start[k])
            fail(QLX_ERROR_ARGUMENT, "start[", k + 1, "] is ", start[k + 1],
                 ", must be at least start[", k, "] = ", start[k]);
    if (static_cast<std::int64_t>(start[count]) != nelems)
        fail(QLX_ERROR_ARGUMENT, "start[", count, "] is ", start[count],
             ", must be the number of entries, ", nelems);
}
// No index twice within an item; `limit` is the number of possible indices.
void require_distinct(IndexStamps& stamps, const std::int64_t* start, const int* index, int count,
                      int limit, const char* name);
// The map old index -> new index (-1 gone) that deleting these indices makes; each at most once.
[[nodiscard]] std::vector<int> deletion_map(const int* indices, int count, int limit,
                                            const char* name);

}  // namespace qlx
