// The table of attributes as data.
#include "engine/core/attributes.hpp"

#include <algorithm>
#include <cmath>

#include <qlx/codes.h>

#include "engine/core/controls.hpp"
#include "engine/core/nonlinear_problem.hpp"
#include "engine/core/problem.hpp"

namespace qlx {

namespace {

std::int64_t longest_name(Problem& p) {
    Model& m = p.model;
    return static_cast<std::int64_t>(
        std::max({m.row_names().longest(m.num_rows()), m.col_names().longest(m.num_cols()),
                  m.set_names().longest(m.num_sets())}));
}

std::int64_t set_members(Problem& p) {
    std::int64_t members = 0;
    for (const SpecialOrderedSet& set : p.model.sets())
        members += static_cast<std::int64_t>(set.columns.size());
    return members;
}

std::int64_t quadratic_elements(Problem& p) {
    return static_cast<std::int64_t>(p.model.quadratic_objective().terms().size());
}

// Relative gap between bound and solution, 0 when there is nothing to compare.
double relative_gap(Problem& p) {
    const Results& r = p.results;
    const double objective = r.mip.objective();
    if (!std::isfinite(objective) || !std::isfinite(r.best_bound)) return kInfinity;
    const double gap = std::fabs(objective - r.best_bound);
    return gap == 0 ? 0 : gap / std::max(std::fabs(objective), 1e-10);
}

// clang-format off
#define ROW_INTEGER(handle, id, name, text, expression) \
    AttributeRow{handle, id, name, [](Problem& p) -> std::int64_t { return expression; }, nullptr, nullptr, text}
#define ROW_REAL(handle, id, name, text, expression) \
    AttributeRow{handle, id, name, nullptr, [](Problem& p) -> double { return expression; }, nullptr, text}
#define ROW_TEXT(handle, id, name, text, expression) \
    AttributeRow{handle, id, name, nullptr, nullptr, [](Problem& p) -> std::string { return expression; }, text}
#define INTEGER(...) ROW_INTEGER(Handle::kProblem, __VA_ARGS__)
#define REAL(...) ROW_REAL(Handle::kProblem, __VA_ARGS__)
#define TEXT(...) ROW_TEXT(Handle::kProblem, __VA_ARGS__)
#define NONLINEAR_INTEGER(...) ROW_INTEGER(Handle::kNonlinearProblem, __VA_ARGS__)
#define NONLINEAR_REAL(...) ROW_REAL(Handle::kNonlinearProblem, __VA_ARGS__)

constexpr AttributeRow kTable[] = {
    INTEGER(QLX_ATTRIB_ORIGINALROWS, "originalrows", "Rows of the model as stated", p.model.num_rows()),
    INTEGER(QLX_ATTRIB_SETS, "sets", "Special ordered sets", p.model.num_sets()),
    INTEGER(QLX_ATTRIB_LPSTATUS, "lpstatus",
            "Outcome of the last LP solve: 0 unstarted, 1 optimal, 2 infeasible, 3 cutoff, 4 unfinished, "
            "5 unbounded, 6 cutoff in dual, 7 unsolved, 8 not convex", p.results.lp_status),
    INTEGER(QLX_ATTRIB_MIPSTATUS, "mipstatus",
            "Outcome of the last tree search: 0 not loaded, 1 LP not optimal, 2 LP optimal, 3 no solution "
            "found, 4 solution found, 5 infeasible, 6 optimal, 7 unbounded", p.results.mip_status),
    INTEGER(QLX_ATTRIB_ORIGINALCOLS, "originalcols", "Columns of the model as stated", p.model.num_cols()),
    INTEGER(QLX_ATTRIB_NAMELENGTH, "namelength",
            "Longest row, column or set name in units of 8 characters", (longest_name(p) + 7) / 8),
    INTEGER(QLX_ATTRIB_MIPENTS, "mipents", "Columns that are not continuous, plus indicator rows",
            p.model.num_entities() + static_cast<std::int64_t>(p.model.indicators().size())),
    INTEGER(QLX_ATTRIB_ROWS, "rows", "Rows", p.model.num_rows()),
    INTEGER(QLX_ATTRIB_PROBNAMELENGTH, "probnamelength", "Bytes of the problem's name with its closing NUL",
            static_cast<std::int64_t>(p.model.name().size()) + 1),
    INTEGER(QLX_ATTRIB_SETMEMBERS_SETS, "setrows", "Special ordered sets, counted as their rows",
            p.model.num_sets()),
    INTEGER(QLX_ATTRIB_COLS, "cols", "Columns", p.model.num_cols()),
    INTEGER(1301, "elems", "Entries of the matrix", p.model.matrix().num_entries()),
    INTEGER(1302, "qelems", "Pairs in the quadratic objective", quadratic_elements(p)),
    INTEGER(1303, "qconstraints", "Rows with quadratic terms",
            static_cast<std::int64_t>(p.model.quadratic_rows().size())),
    INTEGER(1304, "setmembers", "Members of all special ordered sets", set_members(p)),
    INTEGER(1305, "indicators", "Indicator rows", static_cast<std::int64_t>(p.model.indicators().size())),
    INTEGER(1306, "objsense", "1 minimise, -1 maximise", p.model.sense()),
    INTEGER(1307, "stopstatus",
            "Why the last solve stopped early: 0 it did not, 1 time limit, 2 interrupt from the keyboard, "
            "3 node limit, 4 iteration limit, 5 gap, 6 solution limit, 9 the user, 10 nothing is better "
            "than the cutoff, 11 no result stood the check", p.results.stop_status),
    INTEGER(1308, "simplexiter", "Simplex iterations of the last solve", p.results.simplex_iterations),
    INTEGER(1309, "bariter", "Interior point iterations of the last solve", p.results.barrier_iterations),
    INTEGER(1310, "firstorderiter", "First-order iterations of the last solve",
            p.results.first_order_iterations),
    INTEGER(1311, "nodes", "Nodes explored by the last tree search", p.results.nodes),
    INTEGER(1312, "mipsols", "Integer solutions found by the last tree search", p.results.solutions_found),
    INTEGER(1313, "errorcode", "Code of the last refused call", p.error_code()),
    REAL(QLX_ATTRIB_LPOBJVAL, "lpobjval", "Objective value of the last LP solution; not a number when none",
         p.results.lp.objective()),
    REAL(QLX_ATTRIB_MIPOBJVAL, "mipobjval", "Objective value of the best integer solution; not a number "
         "when none", p.results.mip.objective()),
    REAL(2101, "bestbound", "Bound on the objective value that the last tree search proved; not a number "
         "when none", p.results.best_bound),
    REAL(2102, "mipgap", "Relative gap between the best integer solution and the bound; 1e20 when open",
         relative_gap(p)),
    REAL(2103, "objconstant", "Constant of the objective", p.model.constant()),
    REAL(2104, "time", "Seconds that the last solve took", p.results.seconds),
    REAL(2105, "maxprimalinfeas", "Largest violation of a bound or row by the solution that is held; 0 without one",
         p.results.primal_infeasibility()),
    TEXT(3001, "probname", "The problem's name", p.model.name()),
    NONLINEAR_INTEGER(QSLP_ATTRIB_ROWS, "nlprows", "Rows", p.model.num_rows()),
    NONLINEAR_INTEGER(QSLP_ATTRIB_COLS, "nlpcols", "Columns", p.model.num_cols()),
    NONLINEAR_INTEGER(QSLP_ATTRIB_EQUALSCOLUMN, "equalscolumn",
            "Column of coefficients without a column of their own: always -1, the constant 1",
            (static_cast<void>(p), kNoColumn)),
    NONLINEAR_INTEGER(QSLP_ATTRIB_STATUS, "nlpstatus",
            "Outcome of the last nonlinear solve: 0 unstarted, 1 locally optimal, 2 globally optimal, "
            "3 locally infeasible, 4 infeasible, 5 unbounded, 6 unfinished", p.nonlinear->status),
    NONLINEAR_INTEGER(QSLP_ATTRIB_PRESOLVESTATE, "presolvestate",
            "State of the problem: bit 0 augmented, bit 29 presolved", p.nonlinear->presolve_state),
    NONLINEAR_INTEGER(QSLP_ATTRIB_COEFS, "nlpcoefs", "Terms of nonlinear coefficients, as they were added",
            static_cast<std::int64_t>(p.model.nonlinear().coefficients.num_terms())),
    NONLINEAR_INTEGER(12210, "nlpiterations", "Iterations of the local solvers in the last solve",
            p.nonlinear->iterations),
    NONLINEAR_INTEGER(12211, "nlpevaluations",
            "Evaluations of objective and rows in the last solve", p.nonlinear->evaluations),
    NONLINEAR_REAL(QSLP_ATTRIB_OBJVAL, "nlpobjval",
            "Objective value of the last nonlinear solution; not a number when none",
            p.nonlinear->objective),
};
// clang-format on

static_assert(rows_differ(std::span<const AttributeRow>(kTable)));

// An id is a control's or an attribute's, so that one number tells which.
constexpr bool is_attribute(int id) {
    for (const AttributeRow& row : kTable)
        if (row.id == id) return true;
    return false;
}
#define QLX_NOT_AN_ATTRIBUTE(handle, id, ...) static_assert(!is_attribute(id));
QLX_CONTROLS(QLX_NOT_AN_ATTRIBUTE, QLX_NOT_AN_ATTRIBUTE, QLX_NOT_AN_ATTRIBUTE, QLX_NOT_AN_ATTRIBUTE)
#undef QLX_NOT_AN_ATTRIBUTE

template <class Reader>
Reader reader_of(Handle handle, int id, Reader AttributeRow::*reader, const char* type) {
    const AttributeRow& row = attribute_of(handle, id);
    if (row.*reader == nullptr)
        fail(QLX_ERROR_ARGUMENT, handle_prefix(handle), "attribute ", row.name, " (", id,
             ") is not ", type);
    return row.*reader;
}

}  // namespace

std::span<const AttributeRow> attribute_table() {
    return kTable;
}

const AttributeRow* find_attribute(Handle handle, std::string_view name) {
    return find_row(attribute_table(), handle, name);
}

const AttributeRow& attribute_of(Handle handle, int id) {
    const AttributeRow* row = find_row(attribute_table(), id);
    if (row == nullptr || row->handle != handle)
        fail(QLX_ERROR_ARGUMENT, "there is no ", handle_prefix(handle), "attribute with id ", id);
    return *row;
}

std::int64_t integer_attribute(Problem& problem, Handle handle, int id) {
    return reader_of(handle, id, &AttributeRow::integer, "an integer")(problem);
}

double real_attribute(Problem& problem, Handle handle, int id) {
    return reader_of(handle, id, &AttributeRow::real, "a double")(problem);
}

std::string text_attribute(Problem& problem, Handle handle, int id) {
    return reader_of(handle, id, &AttributeRow::text, "a string")(problem);
}

}  // namespace qlx
