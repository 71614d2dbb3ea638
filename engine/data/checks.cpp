// Checks of arrays. The scans over whole arrays are plain loops that the compiler turns into vector
// code; only when one fails is the culprit looked for.
#include "engine/data/checks.hpp"

#include <cmath>

#include "engine/data/model.hpp"

namespace qlx {

namespace {

bool all_numbers(const double* array, std::int64_t count) {
    bool good = true;
    for (std::int64_t k = 0; k < count; ++k) good &= array[k] == array[k];
    return good;
}

bool all_finite(const double* array, std::int64_t count) {
    bool good = true;
    for (std::int64_t k = 0; k < count; ++k) good &= std::fabs(array[k]) < kInfinity;
    return good;
}

}  // namespace

void check_index(int index, int limit, const char* name) {
    if (index >= 0 && index < limit) return;
    if (limit == 0) fail(QLX_ERROR_ARGUMENT, name, " is ", index, ", but there are none");
    fail(QLX_ERROR_ARGUMENT, name, " is ", index, ", must be 0 .. ", limit - 1);
}

void check_indices(const int* array, std::int64_t count, int limit, const char* name) {
    bool good = true;
    for (std::int64_t k = 0; k < count; ++k)
        good &= static_cast<unsigned>(array[k]) < static_cast<unsigned>(limit);
    if (good) return;
    for (std::int64_t k = 0; k < count; ++k)
        if (static_cast<unsigned>(array[k]) >= static_cast<unsigned>(limit))
            check_index(array[k], limit, join(name, "[", k, "]").c_str());
}

void check_numbers(const double* array, std::int64_t count, const char* name, bool finite) {
    if (finite ? all_finite(array, count) : all_numbers(array, count)) return;
    for (std::int64_t k = 0; k < count; ++k) {
        if (std::isnan(array[k]))
            fail(QLX_ERROR_ARGUMENT, name, "[", k, "] is not a number, must be one");
        if (finite && std::fabs(array[k]) >= kInfinity)
            fail(QLX_ERROR_ARGUMENT, name, "[", k, "] is ", array[k], ", must be below 1e20");
    }
}

void check_letters(const char* array, std::int64_t count, const char* alphabet, const char* name) {
    bool allowed[256] = {};
    for (const char* letter = alphabet; *letter != '\0'; ++letter)
        allowed[static_cast<unsigned char>(*letter)] = true;
    for (std::int64_t k = 0; k < count; ++k) {
        if (allowed[static_cast<unsigned char>(array[k])]) continue;
        const int code = static_cast<unsigned char>(array[k]);
        if (code >= 32 && code < 127)
            fail(QLX_ERROR_ARGUMENT, name, "[", k, "] is '", array[k], "', must be one of ",
                 alphabet);
        fail(QLX_ERROR_ARGUMENT, name, "[", k, "] has code ", code, ", must be one of ", alphabet);
    }
}

void check_bounds(const double* lower, const double* upper, int count) {
    check_numbers(lower, count, "lb", false);
    check_numbers(upper, count, "ub", false);
    bool good = true;
    for (int k = 0; k < count; ++k)
        good &= lower[k] <= upper[k] && lower[k] < kInfinity && upper[k] > -kInfinity;
    if (good) return;
    for (int k = 0; k < count; ++k) {
        if (lower[k] > upper[k])
            fail(QLX_ERROR_ARGUMENT, "lb[", k, "] is ", lower[k], ", above ub[", k,
                 "] = ", upper[k]);
        if (lower[k] >= kInfinity)
            fail(QLX_ERROR_ARGUMENT, "lb[", k, "] is ", lower[k], ", must be below 1e20");
        if (upper[k] <= -kInfinity)
            fail(QLX_ERROR_ARGUMENT, "ub[", k, "] is ", upper[k], ", must be above -1e20");
    }
}

// A side that is infinite on its own side says nothing; on the other it can never hold.
void check_row_side(char type, double rhs, int k) {
    const bool wrong = (type == 'L' && rhs <= -kInfinity) || (type == 'G' && rhs >= kInfinity) ||
                       ((type == 'E' || type == 'R') && std::fabs(rhs) >= kInfinity);
    if (wrong)
        fail(QLX_ERROR_ARGUMENT, "rhs[", k, "] is ", rhs, ", not possible for row type '", type,
             "', must be below 1e20 in magnitude");
}

void check_rows(int count, const char* type, const double* rhs, const double* range) {
    check_letters(type, count, "LGERN", "rowtype");
    check_numbers(rhs, count, "rhs", false);
    for (int k = 0; k < count; ++k) {
        check_row_side(type[k], rhs[k], k);
        if (type[k] != 'R') continue;
        if (range == nullptr)
            fail(QLX_ERROR_ARGUMENT, "range is null, but row ", k, " has type 'R'");
        if (!std::isfinite(range[k]))
            fail(QLX_ERROR_ARGUMENT, "range[", k, "] is ", range[k], ", must be finite");
    }
}

void check_range(int first, int last, int count) {
    check_index(first, count, "first");
    check_index(last, count, "last");
    if (first > last) fail(QLX_ERROR_ARGUMENT, "first is ", first, ", above last = ", last);
}

namespace {

[[noreturn]] void refuse_repeated(const char* name, std::int64_t position, int index, int item) {
    fail(QLX_ERROR_ARGUMENT, name, "[", position, "] is ", index, ", which is given twice in item ",
         item);
}

// Up to this length, comparing pairs is faster than marks.
constexpr std::int64_t kComparedLength = 16;

}  // namespace

void check_distinct(IndexStamps& stamps, const std::int64_t* start, const int* index, int count,
                    int limit, const char* name) {
    for (int item = 0; item < count; ++item) {
        const std::int64_t first = start[item];
        const std::int64_t end = start[item + 1];
        bool ascending = true;
        for (std::int64_t k = first + 1; k < end; ++k) ascending &= index[k - 1] < index[k];
        if (ascending) continue;
        if (end - first <= kComparedLength) {
            for (std::int64_t k = first + 1; k < end; ++k)
                for (std::int64_t j = first; j < k; ++j)
                    if (index[j] == index[k]) refuse_repeated(name, k, index[k], item);
            continue;
        }
        stamps.begin(limit);
        for (std::int64_t k = first; k < end; ++k)
            if (!stamps.mark(index[k])) refuse_repeated(name, k, index[k], item);
    }
}

std::vector<int> deletion_map(const int* indices, int count, int limit, const char* name) {
    std::vector<int> map(static_cast<std::size_t>(limit), 0);
    for (int k = 0; k < count; ++k) {
        if (indices[k] < 0 || indices[k] >= limit)
            check_index(indices[k], limit, join(name, "[", k, "]").c_str());
        int& mark = map[static_cast<std::size_t>(indices[k])];
        if (mark < 0)
            fail(QLX_ERROR_ARGUMENT, name, "[", k, "] is ", indices[k], ", which is given twice");
        mark = -1;
    }
    int kept = 0;
    for (int& entry : map)
        if (entry == 0) entry = kept++;
    return map;
}

}  // namespace qlx
