// The controls and attributes of nonlinear problems, stated once.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "engine/core/problem_fwd.hpp"

namespace qlx {

// INTEGER and REAL rows as in controls.hpp.
// clang-format off
#define QSLP_CONTROLS(INTEGER, REAL) \
    INTEGER(12415, autosave, 0, 0, 2147483647, "engine/nlp", \
            "Iterations between two automatic saves; 0: none") \
    REAL(12146, objsense, 1, -1, 1, "engine/nlp", "1 minimises, -1 maximises")
// clang-format on

struct NonlinearControls {
#define QSLP_MEMBER_INTEGER(id, name, initial, least, largest, where, text) int name = initial;
#define QSLP_MEMBER_REAL(id, name, initial, least, largest, where, text) double name = initial;
    QSLP_CONTROLS(QSLP_MEMBER_INTEGER, QSLP_MEMBER_REAL)
#undef QSLP_MEMBER_INTEGER
#undef QSLP_MEMBER_REAL
};

// Exactly one member is set; it tells the type.
struct NonlinearControlRow {
    int id;
    const char* name;
    int NonlinearControls::*integer;
    double NonlinearControls::*real;
    double least;
    double largest;
    const char* honoured;
    const char* description;
};

struct NonlinearAttributeRow {
    int id;
    const char* name;
    std::int64_t (*integer)(NonlinearProblem&);
    double (*real)(NonlinearProblem&);
    const char* description;
};

[[nodiscard]] const std::vector<NonlinearControlRow>& nonlinear_control_table();
[[nodiscard]] const std::vector<NonlinearAttributeRow>& nonlinear_attribute_table();

}  // namespace qlx
