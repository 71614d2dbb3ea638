// What the arrays of a model may hold, whoever brings them: callers of the interface and readers of
// files. Each check throws Error naming array, position and value, and what would be right.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/base/errors.hpp"
#include "engine/base/index_stamps.hpp"

namespace qlx {

// One index in 0 .. limit-1.
void check_index(int index, int limit, const char* name);
// The same of an array's entries.
void check_indices(const int* array, std::int64_t count, int limit, const char* name);
// No NaN, and with `finite` no infinite value either.
void check_numbers(const double* array, std::int64_t count, const char* name, bool finite);
// Letters of a given alphabet.
void check_letters(const char* array, std::int64_t count, const char* alphabet, const char* name);
// lower[k] <= upper[k], neither on the wrong side of infinity nor NaN.
void check_bounds(const double* lower, const double* upper, int count);
// A right-hand side that the row type can have; k is its position in array rhs.
void check_row_side(char type, double rhs, int k);
// Row types, right-hand sides and ranges. range null is allowed when no row is 'R'.
void check_rows(int count, const char* type, const double* rhs, const double* range);
// first .. last within 0 .. count-1.
void check_range(int first, int last, int count);
// Starts that begin at 0, never descend and end at nelems.
template <class Start>
void check_starts(const Start* start, int count, std::int64_t nelems, const char* name = "start") {
    if (start[0] != 0) fail(QLX_ERROR_ARGUMENT, name, "[0] is ", start[0], ", must be 0");
    for (int k = 0; k < count; ++k)
        if (start[k + 1] < start[k])
            fail(QLX_ERROR_ARGUMENT, name, "[", k + 1, "] is ", start[k + 1], ", must be at least ",
                 name, "[", k, "] = ", start[k]);
    if (static_cast<std::int64_t>(start[count]) != nelems)
        fail(QLX_ERROR_ARGUMENT, name, "[", count, "] is ", start[count],
             ", must be the number of entries, ", nelems);
}
// No index twice within an item; `limit` is the number of possible indices.
void check_distinct(IndexStamps& stamps, const std::int64_t* start, const int* index, int count,
                    int limit, const char* name);
// The map old index -> new index (-1 gone) that deleting these indices makes; each at most once.
[[nodiscard]] std::vector<int> deletion_map(const int* indices, int count, int limit,
                                            const char* name);

}  // namespace qlx
