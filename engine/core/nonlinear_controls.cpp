// The nonlinear tables as data.
#include "engine/core/nonlinear_controls.hpp"

#include "engine/core/nonlinear_problem.hpp"
#include "engine/core/problem.hpp"

namespace qlx {

const std::vector<NonlinearControlRow>& nonlinear_control_table() {
    static const std::vector<NonlinearControlRow> table = {
#define QSLP_ROW_INTEGER(id, name, initial, least, largest, where, text) \
    {id, #name, &NonlinearControls::name, nullptr, least, largest, where, text},
#define QSLP_ROW_REAL(id, name, initial, least, largest, where, text) \
    {id, #name, nullptr, &NonlinearControls::name, least, largest, where, text},
        QSLP_CONTROLS(QSLP_ROW_INTEGER, QSLP_ROW_REAL)
#undef QSLP_ROW_INTEGER
#undef QSLP_ROW_REAL
    };
    return table;
}

const std::vector<NonlinearAttributeRow>& nonlinear_attribute_table() {
    // clang-format off
    static const std::vector<NonlinearAttributeRow> table = {
        {QSLP_ATTRIB_ROWS, "nlprows",
         [](NonlinearProblem& p) -> std::int64_t { return p.linear.model.num_rows(); }, nullptr,
         "Rows"},
        {QSLP_ATTRIB_COLS, "nlpcols",
         [](NonlinearProblem& p) -> std::int64_t { return p.linear.model.num_cols(); }, nullptr,
         "Columns"},
        {QSLP_ATTRIB_EQUALSCOLUMN, "equalscolumn",
         [](NonlinearProblem&) -> std::int64_t { return -1; }, nullptr,
         "Column of coefficients without a column of their own: always -1, the constant 1"},
        {QSLP_ATTRIB_STATUS, "nlpstatus",
         [](NonlinearProblem& p) -> std::int64_t { return p.status; }, nullptr,
         "Outcome of the last nonlinear solve: 0 unstarted, 1 locally optimal, 2 globally optimal, "
         "3 locally infeasible, 4 infeasible, 5 unbounded, 6 unfinished"},
        {QSLP_ATTRIB_PRESOLVESTATE, "presolvestate",
         [](NonlinearProblem& p) -> std::int64_t { return p.presolve_state; }, nullptr,
         "State of the problem: bit 0 augmented, bit 29 presolved"},
        {QSLP_ATTRIB_COEFS, "nlpcoefs",
         [](NonlinearProblem& p) -> std::int64_t {
             return static_cast<std::int64_t>(p.coefficients.num_terms());
         },
         nullptr, "Terms of nonlinear coefficients, as they were added"},
        {QSLP_ATTRIB_OBJVAL, "nlpobjval",
         nullptr, [](NonlinearProblem& p) { return p.objective; },
         "Objective value of the last nonlinear solution; not a number when none"},
    };
    // clang-format on
    return table;
}

}  // namespace qlx
