// The controls of a problem, stated once: id, name, default, range, who honours them, what they do.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qlx {

// INTEGER and REAL rows: id, name, default, least, largest value, where honoured, description.
// TEXT rows: id, name, default, where honoured, description.
// Methods of lpmethod: 0 automatic, 1 dual simplex, 2 primal simplex, 3 interior point, 4
// first-order.
// clang-format off
#define QLX_CONTROLS(INTEGER, REAL, TEXT) \
    INTEGER(8005, lpiterlimit, 2147483647, 0, 2147483647, "engine/solve/linear.cpp", \
            "Iterations that one LP, QP or QCQP solve may use; 0 hands the model to the solver and stops") \
    INTEGER(8006, lpmethod, 0, 0, 4, "engine/solve/kernel_options.cpp", \
            "LP method: 0 automatic, 1 dual simplex, 2 primal simplex, 3 interior point, 4 first-order") \
    INTEGER(8007, presolve, 1, 0, 1, "engine/solve/kernel_options.cpp", \
            "Presolve: 1 on, 0 off") \
    INTEGER(8008, crossover, 1, 0, 1, "engine/solve/kernel_options.cpp", \
            "Crossover to a basic solution after the interior point method: 1 on, 0 off") \
    INTEGER(8009, threads, 1, 0, 1024, "engine/solve/kernel_options.cpp", \
            "Threads of one solve; 0: as many as the machine has cores") \
    INTEGER(8010, seed, 0, 0, 2147483647, "engine/solve/kernel_options.cpp", \
            "Seed of every random choice; the same seed and thread count give the same run") \
    INTEGER(8011, nodelimit, 2147483647, 0, 2147483647, "engine/solve/kernel_options.cpp", \
            "Nodes that one tree search may explore") \
    INTEGER(8012, sollimit, 2147483647, 1, 2147483647, "engine/solve/kernel_options.cpp", \
            "Improving integer solutions after which a tree search is told to stop; a few more may come in") \
    INTEGER(8013, outputlog, 0, 0, 1, "engine/core/messages.cpp", \
            "Messages on the console: 1 yes, 0 no; callbacks and log files get them anyway") \
    INTEGER(8035, loadlog, 0, 0, 1, "engine/api/load.cpp", \
            "A line about each model that is loaded: 1 yes, 0 no") \
    REAL(7001, timelimit, 1e20, 0, 1e20, "engine/solve/kernel_options.cpp", \
         "Seconds that one solve may take, counted from its call") \
    REAL(7002, feastol, 1e-7, 1e-10, 1e-2, "engine/solve/kernel_options.cpp", \
         "Largest violation of a bound or row that counts as none") \
    REAL(7003, opttol, 1e-7, 1e-10, 1e-2, "engine/solve/kernel_options.cpp", \
         "Largest violation of a reduced cost's sign that counts as none") \
    REAL(7004, inttol, 1e-6, 1e-10, 1e-2, "engine/solve/kernel_options.cpp", \
         "Largest distance from an integer that counts as integer") \
    REAL(7005, miprelgap, 1e-6, 0, 1e20, "engine/solve/kernel_options.cpp", \
         "Relative gap between bound and solution at which a tree search ends") \
    REAL(7006, mipabsgap, 1e-9, 0, 1e20, "engine/solve/kernel_options.cpp", \
         "Absolute gap between bound and solution at which a tree search ends") \
    REAL(7007, mipabscutoff, 1e20, -1e20, 1e20, "engine/solve/cutoff.cpp", \
         "Only integer solutions better than this are looked for; 1e20 (minimising) or -1e20: no cutoff") \
    REAL(7008, matrixtol, 1e-12, 1e-12, 1e-3, "engine/solve/kernel_options.cpp", \
         "Coefficients of at most this magnitude count as 0 when a model is solved") \
    REAL(7009, indbigm, 1e7, 1, 1e12, "engine/solve/mixed_integer.cpp", \
         "Largest bound that a set, indicator, partial integer or semi-continuous column is stated with; " \
         "beyond it, and beyond what tolerances allow, they are branched on")
// clang-format on

// The values of one problem; a member per row.
struct Controls {
#define QLX_MEMBER_INTEGER(id, name, initial, least, largest, where, text) int name = initial;
#define QLX_MEMBER_REAL(id, name, initial, least, largest, where, text) double name = initial;
#define QLX_MEMBER_TEXT(id, name, initial, where, text) std::string name = initial;
    QLX_CONTROLS(QLX_MEMBER_INTEGER, QLX_MEMBER_REAL, QLX_MEMBER_TEXT)
#undef QLX_MEMBER_INTEGER
#undef QLX_MEMBER_REAL
#undef QLX_MEMBER_TEXT
};

// A row of the table. Exactly one of the three members is set; it tells the type.
struct ControlRow {
    int id;
    const char* name;
    int Controls::*integer;
    double Controls::*real;
    std::string Controls::*text;
    double least;
    double largest;
    const char* honoured;
    const char* description;
};

[[nodiscard]] const std::vector<ControlRow>& control_table();
// Null when there is none.
[[nodiscard]] const ControlRow* find_control(int id);
[[nodiscard]] const ControlRow* find_control(std::string_view name);  // any case

// Sets one control to another problem's, or default, value.
void copy_control(const ControlRow& row, Controls& to, const Controls& from);
// Value, range and default as texts.
[[nodiscard]] std::string control_value(const Controls& controls, const ControlRow& row);
[[nodiscard]] std::string control_range(const ControlRow& row);

}  // namespace qlx
