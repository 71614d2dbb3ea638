// What the numbers of codes.h must be so that tables and casts hold; checked when compiled.
#include <cstddef>
#include <initializer_list>
#include <string_view>

#include <qlx/codes.h>

#include "engine/core/controls.hpp"
#include "engine/core/event_table.hpp"
#include "engine/core/ownership.hpp"

namespace qlx {

namespace {

constexpr bool differ(std::initializer_list<int> codes) {
    for (const int* code = codes.begin(); code != codes.end(); ++code)
        for (const int* other = codes.begin(); other != code; ++other)
            if (*code == *other) return false;
    return true;
}

// Codes that index arrays, in order from 0.
constexpr bool count_up(std::initializer_list<int> codes) {
    int next = 0;
    for (const int code : codes)
        if (code != next++) return false;
    return true;
}

static_assert(count_up({QLX_OK, QLX_ERROR_ARGUMENT, QLX_ERROR_STATE, QLX_ERROR_MEMORY,
                        QLX_ERROR_NOT_AVAILABLE, QLX_ERROR_UNSUPPORTED, QLX_ERROR_FILE,
                        QLX_ERROR_SOLVER, QLX_ERROR_INTERNAL}));
static_assert(count_up({QLX_LP_UNSTARTED, QLX_LP_OPTIMAL, QLX_LP_INFEAS, QLX_LP_CUTOFF,
                        QLX_LP_UNFINISHED, QLX_LP_UNBOUNDED, QLX_LP_CUTOFF_IN_DUAL, QLX_LP_UNSOLVED,
                        QLX_LP_NONCONVEX}));
static_assert(count_up({QLX_MIP_NOT_LOADED, QLX_MIP_LP_NOT_OPTIMAL, QLX_MIP_LP_OPTIMAL,
                        QLX_MIP_NO_SOL_FOUND, QLX_MIP_SOLUTION, QLX_MIP_INFEAS, QLX_MIP_OPTIMAL,
                        QLX_MIP_UNBOUNDED}));
static_assert(count_up({QSLP_UNSTARTED, QSLP_LOCALLY_OPTIMAL, QSLP_GLOBALLY_OPTIMAL,
                        QSLP_LOCALLY_INFEASIBLE, QSLP_INFEASIBLE, QSLP_UNBOUNDED,
                        QSLP_UNFINISHED}));
static_assert(count_up({QLX_VECTOR_X, QLX_VECTOR_SLACK, QLX_VECTOR_DUAL, QLX_VECTOR_DJ}));
static_assert(differ({QLX_STOP_NONE, QLX_STOP_TIMELIMIT, QLX_STOP_CTRLC, QLX_STOP_NODELIMIT,
                      QLX_STOP_ITERLIMIT, QLX_STOP_MIPGAP, QLX_STOP_SOLLIMIT, QLX_STOP_USER}));
static_assert(QLX_STOP_NONE == 0 && QLX_STOP_USER <= 9, "reasons given to QLXinterrupt are 1 .. 9");
static_assert(differ({QSLP_TOKEN_END, QSLP_TOKEN_CONSTANT, QSLP_TOKEN_STRING, QSLP_TOKEN_COLUMN,
                      QSLP_TOKEN_USERFUNCTION, QSLP_TOKEN_FUNCTION, QSLP_TOKEN_MARKER,
                      QSLP_TOKEN_OPERATOR, QSLP_TOKEN_ARGUMENTS, QSLP_TOKEN_LINKAGE}));
static_assert(differ({QSLP_FUNCTION_LOG10, QSLP_FUNCTION_LOG, QSLP_FUNCTION_EXP, QSLP_FUNCTION_ABS,
                      QSLP_FUNCTION_SQRT, QSLP_FUNCTION_SIN, QSLP_FUNCTION_COS, QSLP_FUNCTION_TAN,
                      QSLP_FUNCTION_ASIN, QSLP_FUNCTION_ACOS, QSLP_FUNCTION_ATAN, QSLP_FUNCTION_MIN,
                      QSLP_FUNCTION_MAX, QSLP_FUNCTION_SIGN, QSLP_FUNCTION_ERF,
                      QSLP_FUNCTION_ERFC}));
static_assert(differ({QLX_PARAM_INT, QLX_PARAM_DOUBLE, QLX_PARAM_CONTROL}));
static_assert(differ({QSLP_PARAM_INT, QSLP_PARAM_DOUBLE, QSLP_PARAM_STRING, QSLP_PARAM_CONTROL}));

// The ids of codes.h name the rows that they are meant for.
constexpr int id_of_control(std::string_view wanted) {
#define QLX_ID(handle, id, name, ...) \
    if (wanted == #name) return id;
    QLX_CONTROLS(QLX_ID, QLX_ID, QLX_ID, QLX_ID)
#undef QLX_ID
    return 0;
}
static_assert(id_of_control("loadlog") == QLX_CONTROL_LOADLOG);
static_assert(id_of_control("autosave") == QSLP_CONTROL_AUTOSAVE);
static_assert(id_of_control("objsense") == QSLP_CONTROL_OBJSENSE);

// Events: one row each, and each class allows what the one before it does.
static_assert(std::size(kEventRows) == 36);
constexpr bool events_differ() {
    for (std::size_t k = 1; k < std::size(kEventRows); ++k)
        for (std::size_t j = 0; j < k; ++j)
            if (std::string_view(kEventRows[k].name) == kEventRows[j].name) return false;
    return true;
}
static_assert(events_differ());
static_assert(count_up({static_cast<int>(EventCalls::kNone), static_cast<int>(EventCalls::kRead),
                        static_cast<int>(EventCalls::kControl),
                        static_cast<int>(EventCalls::kCut)}));

}  // namespace

}  // namespace qlx
