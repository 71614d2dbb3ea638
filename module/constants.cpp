// The module's 89 constants, in the order in which they are published.
#include "module/constants.hpp"

#include <array>
#include <cmath>

namespace quilex {

namespace {

enum ConstantKind : int { kInteger = 0, kFloat = 1 };

struct ConstantRow {
    const char* name;
    ConstantKind kind;
    double value;
};

constexpr std::array kConstants = std::to_array<ConstantRow>({
    // Variable types.
    {"continuous", kInteger, 0},
    {"binary", kInteger, 1},
    {"integer", kInteger, 2},
    {"semicontinuous", kInteger, 3},
    {"semiinteger", kInteger, 4},
    {"partiallyinteger", kInteger, 5},
    // Objective sense.
    {"minimize", kInteger, 1},
    {"maximize", kInteger, -1},
    // Constraint types.
    {"leq", kInteger, 1},
    {"geq", kInteger, 2},
    {"eq", kInteger, 3},
    {"range", kInteger, 4},
    {"infinity", kFloat, 1e20},
    // Solution information.
    {"solinfo_absprimalinfeas", kInteger, 0},
    {"solinfo_relprimalinfeas", kInteger, 1},
    {"solinfo_absdualinfeas", kInteger, 2},
    {"solinfo_reldualinfeas", kInteger, 3},
    {"solinfo_maxmipfractional", kInteger, 4},
    // Basis status.
    {"basis_nonbasic_lower", kInteger, 0},
    {"basis_basic", kInteger, 1},
    {"basis_nonbasic_upper", kInteger, 2},
    {"basis_superbasic", kInteger, 3},
    // LP status.
    {"lp_unstarted", kInteger, 0},
    {"lp_optimal", kInteger, 1},
    {"lp_infeas", kInteger, 2},
    {"lp_cutoff", kInteger, 3},
    {"lp_unfinished", kInteger, 4},
    {"lp_unbounded", kInteger, 5},
    {"lp_cutoff_in_dual", kInteger, 6},
    {"lp_unsolved", kInteger, 7},
    {"lp_nonconvex", kInteger, 8},
    // MIP status.
    {"mip_not_loaded", kInteger, 0},
    {"mip_lp_not_optimal", kInteger, 1},
    {"mip_lp_optimal", kInteger, 2},
    {"mip_no_sol_found", kInteger, 3},
    {"mip_solution", kInteger, 4},
    {"mip_infeas", kInteger, 5},
    {"mip_optimal", kInteger, 6},
    {"mip_unbounded", kInteger, 7},
    // Nonlinear status; a solution is a locally optimal one.
    {"nlp_unstarted", kInteger, 0},
    {"nlp_solution", kInteger, 1},
    {"nlp_locally_optimal", kInteger, 1},
    {"nlp_globally_optimal", kInteger, 2},
    {"nlp_locally_infeasible", kInteger, 3},
    {"nlp_infeasible", kInteger, 4},
    {"nlp_unbounded", kInteger, 5},
    {"nlp_unfinished", kInteger, 6},
    // Stop reasons; 7 and 8 are unused.
    {"stop_timelimit", kInteger, 1},
    {"stop_ctrlc", kInteger, 2},
    {"stop_nodelimit", kInteger, 3},
    {"stop_iterlimit", kInteger, 4},
    {"stop_mipgap", kInteger, 5},
    {"stop_sollimit", kInteger, 6},
    {"stop_user", kInteger, 9},
    {"stop_cutoff", kInteger, 10},
    {"stop_numerics", kInteger, 11},
    // Types of parameter values.
    {"type_notdefined", kInteger, 0},
    {"type_int", kInteger, 1},
    {"type_int64", kInteger, 2},
    {"type_double", kInteger, 3},
    {"type_string", kInteger, 4},
    // Column information of the nonlinear solver.
    {"colinfo_value", kInteger, 1},
    {"colinfo_rdj", kInteger, 2},
    {"colinfo_deltaindex", kInteger, 3},
    {"colinfo_delta", kInteger, 4},
    {"colinfo_deltadj", kInteger, 5},
    {"colinfo_updaterow", kInteger, 6},
    {"colinfo_sb", kInteger, 7},
    {"colinfo_sbdual", kInteger, 8},
    // Row information of the nonlinear solver.
    {"rowinfo_slack", kInteger, 1},
    {"rowinfo_dual", kInteger, 2},
    {"rowinfo_numpenaltyerrors", kInteger, 3},
    {"rowinfo_maxpenaltyerror", kInteger, 4},
    {"rowinfo_totalpenaltyerror", kInteger, 5},
    {"rowinfo_currentpenaltyerror", kInteger, 6},
    {"rowinfo_currentpenaltyfactor", kInteger, 7},
    {"rowinfo_penaltycolumnplus", kInteger, 8},
    {"rowinfo_penaltycolumnplusvalue", kInteger, 9},
    {"rowinfo_penaltycolumnplusdj", kInteger, 10},
    {"rowinfo_penaltycolumnminus", kInteger, 11},
    {"rowinfo_penaltycolumnminusvalue", kInteger, 12},
    {"rowinfo_penaltycolumnminusdj", kInteger, 13},
    // Multistart presets.
    {"msset_initialvalues", kInteger, 0},
    {"msset_initialfiltered", kInteger, 6},
    {"msset_solvers", kInteger, 1},
    {"msset_slp_basic", kInteger, 2},
    {"msset_slp_extended", kInteger, 3},
    {"msset_knitro_basic", kInteger, 4},
    {"msset_knitro_extended", kInteger, 5},
    {nullptr, kInteger, 0},
});
static_assert(kConstants.size() == 89 + 1);

}  // namespace

void add_constants(PyObject* module) {
    for (const ConstantRow* row = kConstants.data(); row->name != nullptr; ++row) {
        const Ref value = require(row->kind == kInteger
                                      ? PyLong_FromLong(static_cast<long>(std::floor(row->value)))
                                      : PyFloat_FromDouble(row->value));
        require_status(PyObject_SetAttrString(module, row->name, value.get()));
    }
}

}  // namespace quilex
