// What the tokens still to come tell about how many values a user function takes.
#include "engine/nlp/formula/extent_hints.hpp"

#include <qlx/codes.h>

#include "engine/base/index.hpp"
#include "engine/nlp/formula/user_functions.hpp"

namespace qlx {

namespace {

constexpr std::int64_t kNoMarker = -1;

// How many values a function takes that needs a marker under them.
std::int64_t values_taken(int type, double value, bool after_marker, std::span<const int> inputs) {
    if (type == QSLP_TOKEN_FUNCTION)
        return value == double{QSLP_FUNCTION_MIN} || value == double{QSLP_FUNCTION_MAX} ? 2 : 1;
    if (type != QSLP_TOKEN_USERFUNCTION) return kNoMarker;
    const bool is_known = value >= 1 && value <= static_cast<double>(inputs.size());
    const int stated = is_known ? inputs[static_cast<std::size_t>(value) - 1] : kAnyInputs;
    if (stated == kAnyInputs) return after_marker ? 0 : kNoMarker;
    return stated == 1 ? kNoMarker : stated;
}

std::int64_t stack_growth(int type, double value) {
    if (type == QSLP_TOKEN_CONSTANT || type == QSLP_TOKEN_COLUMN) return 1;
    return type == QSLP_TOKEN_OPERATOR && value != double{QSLP_OPERATOR_NEGATE} ? -1 : 0;
}

}  // namespace

void ExtentHints::build(const int* type, const double* value, std::int64_t limit,
                        std::span<const int> inputs) {
    after_.clear();
    takes_.clear();
    std::int64_t values = 0;
    for (std::int64_t k = 0; k < limit && type[k] != QSLP_TOKEN_END; ++k) {
        const bool after_marker = k > 0 && type[k - 1] == QSLP_TOKEN_MARKER;
        const std::int64_t takes = values_taken(type[k], value[k], after_marker, inputs);
        values += takes == kNoMarker ? stack_growth(type[k], value[k]) : 1 - takes;
        takes_.push_back(takes);
        after_.push_back({0, -1, values});
    }
    // From the end on, markers meet the functions that need them.
    std::vector<std::int64_t> waiting;
    for (std::size_t k = after_.size(); k-- > 0;) {
        after_[k].needed = static_cast<std::int64_t>(waiting.size());
        if (!waiting.empty()) after_[k].next = waiting.back();
        if (takes_[k] != kNoMarker) waiting.push_back(static_cast<std::int64_t>(k));
        if (type[k] == QSLP_TOKEN_MARKER && !waiting.empty()) waiting.pop_back();
    }
}

std::int64_t ExtentHints::markers_needed_after(std::int64_t position) const {
    return after_[at(position)].needed;
}

bool ExtentHints::next_function_fits(std::int64_t position, std::int64_t values) const {
    const After& here = after_[at(position)];
    if (here.next < 0) return false;
    const std::int64_t until = after_[at(here.next)].values - (1 - takes_[at(here.next)]);
    return values + until - here.values == takes_[at(here.next)];
}

}  // namespace qlx
