// The controls of problems and of nonlinear problems, stated once: whose, id, name, default, range,
// who honours them, what they do.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "engine/core/parameter_names.hpp"
#include "engine/core/problem_fwd.hpp"

namespace qlx {

// INTEGER and REAL rows: handle, id, name, default, least, largest value, where honoured,
// description. TEXT rows lack the range. VIEW rows are doubles that show something the model has:
// handle, id, name, default, least, largest, getter, setter, where honoured, description.
// Methods of lpmethod: 0 automatic, 1 dual simplex, 2 primal simplex, 3 interior point, 4
// first-order.
// clang-format off
#define QLX_CONTROLS(INTEGER, REAL, TEXT, VIEW) \
    INTEGER(kProblem, 8005, lpiterlimit, 2147483647, 0, 2147483647, "engine/solve/linear.cpp", \
            "Iterations that one LP, QP or QCQP solve may use; 0 hands the model to the solver and stops") \
    INTEGER(kProblem, 8006, lpmethod, 0, 0, 4, "engine/solve/kernel_options.cpp", \
            "LP method: 0 automatic, 1 dual simplex, 2 primal simplex, 3 interior point, 4 first-order") \
    INTEGER(kProblem, 8007, presolve, 1, 0, 1, "engine/solve/kernel_options.cpp", \
            "Presolve: 1 on, 0 off") \
    INTEGER(kProblem, 8008, crossover, 1, 0, 1, "engine/solve/kernel_options.cpp", \
            "Crossover to a basic solution after the interior point method: 1 on, 0 off") \
    INTEGER(kProblem, 8009, threads, 1, 0, 1024, "engine/solve/kernel_options.cpp", \
            "Threads of one solve; 0: as many as the machine has cores") \
    INTEGER(kProblem, 8010, seed, 0, 0, 2147483647, "engine/solve/kernel_options.cpp", \
            "Seed of every random choice; the same seed and thread count give the same run") \
    INTEGER(kProblem, 8011, nodelimit, 2147483647, 0, 2147483647, "engine/solve/kernel_options.cpp", \
            "Nodes that one tree search may explore") \
    INTEGER(kProblem, 8012, sollimit, 2147483647, 1, 2147483647, "engine/solve/kernel_options.cpp", \
            "Improving integer solutions after which a tree search is told to stop; a few more may come in") \
    INTEGER(kProblem, 8013, outputlog, 0, 0, 1, "engine/core/messages.cpp", \
            "Messages on the console: 1 yes, 0 no; callbacks and log files get them anyway") \
    INTEGER(kProblem, 8014, logtimes, 0, 0, 1, "engine/core/messages.cpp", \
            "Lines of log files begin with date and time: 1 yes, 0 no") \
    INTEGER(kProblem, 8035, loadlog, 0, 0, 1, "engine/api/load.cpp", \
            "A line about each model that is loaded: 1 yes, 0 no") \
    REAL(kProblem, 7001, timelimit, 1e20, 0, 1e20, "engine/solve/kernel_options.cpp", \
         "Seconds that one solve may take, counted from its call") \
    REAL(kProblem, 7002, feastol, 1e-7, 1e-10, 1e-2, "engine/solve/kernel_options.cpp", \
         "Largest violation of a bound or row that counts as none, as a share of the row's largest term or side, or of the value, where that is above 1") \
    REAL(kProblem, 7003, opttol, 1e-7, 1e-10, 1e-2, "engine/solve/kernel_options.cpp", \
         "Largest violation of a reduced cost's sign that counts as none") \
    REAL(kProblem, 7004, inttol, 1e-6, 1e-10, 1e-2, "engine/solve/kernel_options.cpp", \
         "Largest distance from an integer that counts as integer") \
    REAL(kProblem, 7005, miprelgap, 1e-6, 0, 1e20, "engine/solve/kernel_options.cpp", \
         "Relative gap between bound and solution at which a tree search ends") \
    REAL(kProblem, 7006, mipabsgap, 1e-9, 0, 1e20, "engine/solve/kernel_options.cpp", \
         "Absolute gap between bound and solution at which a tree search ends") \
    REAL(kProblem, 7007, mipabscutoff, 1e20, -1e20, 1e20, "engine/solve/cutoff.cpp", \
         "Only integer solutions better than this are looked for; 1e20 (minimising) or -1e20: no cutoff") \
    REAL(kProblem, 7008, matrixtol, 1e-12, 1e-12, 1e-3, "engine/solve/kernel_options.cpp", \
         "Coefficients of at most this magnitude count as 0 when a model is solved") \
    REAL(kProblem, 7009, indbigm, 1e7, 1, 1e12, "engine/solve/mixed_integer.cpp", \
         "Largest bound that a set, indicator, partial integer or semi-continuous column is stated with; " \
         "beyond it, and beyond what tolerances allow, they are branched on") \
    INTEGER(kNonlinearProblem, 12415, autosave, 0, 0, 2147483647, "engine/nlp", \
            "Iterations between two automatic saves; 0: none") \
    INTEGER(kNonlinearProblem, 12416, nlpsolver, 0, 0, 2, "engine/solve/local_attempts.cpp", \
            "Local solver: 0 automatic, 1 successive linear and quadratic programming, 2 interior point; with 0 the other takes over where one fails") \
    INTEGER(kNonlinearProblem, 12417, nlpiterlimit, 3000, 0, 2147483647, "engine/solve/local_attempts.cpp", \
            "Iterations that one nonlinear solve may use, those of both local solvers together") \
    REAL(kNonlinearProblem, 12501, nlpfeastol, 1e-6, 1e-10, 1e-2, "engine/solve/local_attempts.cpp", \
         "Largest violation of a bound or row by the point of a nonlinear solve that counts as none") \
    REAL(kNonlinearProblem, 12502, nlpopttol, 1e-6, 1e-10, 1e-2, "engine/solve/local_attempts.cpp", \
         "Largest residual of the optimality conditions at the point of a nonlinear solve that counts as none") \
    REAL(kNonlinearProblem, 12503, penaltystart, 10, 1e-6, 1e12, "engine/solve/local_attempts.cpp", \
         "Weight of the rows' violations in the first step of successive programming; it grows up to penaltymax where rows stay violated") \
    REAL(kNonlinearProblem, 12504, penaltymax, 1e8, 1, 1e20, "engine/solve/local_attempts.cpp", \
         "Largest weight of the rows' violations") \
    REAL(kNonlinearProblem, 12505, trustregionstart, 1, 1e-6, 1e12, "engine/solve/local_attempts.cpp", \
         "Radius of the first trust region of successive programming, in units of max(1, |value|) of each column") \
    REAL(kNonlinearProblem, 12506, trustregionmin, 1e-13, 1e-16, 1, "engine/solve/local_attempts.cpp", \
         "Radius of the trust region below which successive programming counts as stalled") \
    REAL(kNonlinearProblem, 12507, trustregionmax, 1e10, 1e-6, 1e20, "engine/solve/local_attempts.cpp", \
         "Largest radius of the trust region") \
    VIEW(kNonlinearProblem, 12146, objsense, 1, -1, 1, objective_sense, set_objective_sense, \
         "engine/data/model.cpp", "1 minimises, -1 maximises; the same as the problem's own sense")
// clang-format on

// The values of one problem and of the nonlinear one built on it; a member per row but the views.
struct Controls {
#define QLX_MEMBER_INTEGER(handle, id, name, initial, least, largest, where, text) \
    int name = initial;
#define QLX_MEMBER_REAL(handle, id, name, initial, least, largest, where, text) \
    double name = initial;
#define QLX_MEMBER_TEXT(handle, id, name, initial, where, text) std::string name = initial;
#define QLX_NO_MEMBER(...)
    QLX_CONTROLS(QLX_MEMBER_INTEGER, QLX_MEMBER_REAL, QLX_MEMBER_TEXT, QLX_NO_MEMBER)
#undef QLX_MEMBER_INTEGER
#undef QLX_MEMBER_REAL
#undef QLX_MEMBER_TEXT
#undef QLX_NO_MEMBER
};

// A row of the table. One of the three members, or both functions, are set; they tell the type.
struct ControlRow {
    Handle handle;
    int id;
    const char* name;
    int Controls::*integer;
    double Controls::*real;
    std::string Controls::*text;
    double (*get)(const Problem&);
    void (*set)(Problem&, double);
    double least;
    double largest;
    const char* initial;
    const char* honoured;
    const char* description;

    [[nodiscard]] constexpr bool is_real() const noexcept {
        return real != nullptr || get != nullptr;
    }
};

[[nodiscard]] std::span<const ControlRow> control_table();
// Null when there is none.
[[nodiscard]] const ControlRow* find_control(Handle handle, std::string_view name);  // any case

// Reading and setting by id, for the entry points of both handles. Errors name control, value and
// range: no such control of the handle, another type, outside the range.
[[nodiscard]] const ControlRow& control_of(Handle handle, int id);
[[nodiscard]] int integer_control(const Problem& problem, Handle handle, int id);
[[nodiscard]] double real_control(const Problem& problem, Handle handle, int id);
[[nodiscard]] const std::string& text_control(const Problem& problem, Handle handle, int id);
void set_integer_control(Problem& problem, Handle handle, int id, int value);
void set_real_control(Problem& problem, Handle handle, int id, double value);
void set_text_control(Problem& problem, Handle handle, int id, const char* value);

// Sets one control, or all of a handle's, to another problem's, or default, values. Views belong to
// the model and stay.
void copy_control(const ControlRow& row, Controls& to, const Controls& from);
void copy_controls(Handle handle, Controls& to, const Controls& from);
// Value and range as texts.
[[nodiscard]] std::string control_value(const Problem& problem, const ControlRow& row);
[[nodiscard]] std::string control_default(const ControlRow& row);
[[nodiscard]] std::string control_range(const ControlRow& row);

}  // namespace qlx
