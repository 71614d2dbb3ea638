// Entry points: changing coefficients, bounds, rows and the objective of a model.
#include <qlx/qlx_model.h>

#include <cmath>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"
#include "engine/base/index.hpp"

using namespace qlx;

extern "C" {

int QLXchgcoef(QLXprob prob, int row, int col, double value) {
    return change(prob, "QLXchgcoef", [&](Problem& p) {
        check_index(row, p.model.num_rows(), "row");
        check_index(col, p.model.num_cols(), "col");
        require_numbers(&value, 1, "value", true);
        p.model.set_coefficient(row, col, value);
    });
}

int QLXchgmcoef(QLXprob prob, int ncoefs, const int* rows, const int* cols, const double* values) {
    return change(prob, "QLXchgmcoef", [&](Problem& p) {
        require_count(ncoefs, "ncoefs");
        require_indices(rows, ncoefs, p.model.num_rows(), "rows");
        require_indices(cols, ncoefs, p.model.num_cols(), "cols");
        require_numbers(values, ncoefs, "values", true);
        for (int k = 0; k < ncoefs; ++k) p.model.set_coefficient(rows[k], cols[k], values[k]);
    });
}

int QLXchgobj(QLXprob prob, int ncols, const int* cols, const double* obj) {
    return change(prob, "QLXchgobj", [&](Problem& p) {
        require_count(ncols, "ncols");
        require_array(cols, ncols, "cols");
        require_numbers(obj, ncols, "obj", true);
        check_objective_columns(ncols, cols, p.model.num_cols());
        for (int k = 0; k < ncols; ++k) {
            if (cols[k] == -1)
                p.model.set_constant(obj[k]);
            else
                p.model.set_cost(cols[k], obj[k]);
        }
    });
}

int QLXchgobjsense(QLXprob prob, int sense) {
    return change(prob, "QLXchgobjsense", [&](Problem& p) {
        check_sense(sense);
        p.model.set_sense(sense);
    });
}

int QLXchgrhs(QLXprob prob, int nrows, const int* rows, const double* rhs) {
    return change(prob, "QLXchgrhs", [&](Problem& p) {
        require_count(nrows, "nrows");
        require_indices(rows, nrows, p.model.num_rows(), "rows");
        require_array(rhs, nrows, "rhs");
        if (checked_mode()) check_new_rhs(p.model, nrows, rows, rhs);
        for (int k = 0; k < nrows; ++k) p.model.set_rhs(rows[k], rhs[k]);
    });
}

int QLXchgrhsrange(QLXprob prob, int nrows, const int* rows, const double* range) {
    return change(prob, "QLXchgrhsrange", [&](Problem& p) {
        require_count(nrows, "nrows");
        require_indices(rows, nrows, p.model.num_rows(), "rows");
        require_numbers(range, nrows, "range", false);
        check_new_range(p.model, nrows, rows);
        for (int k = 0; k < nrows; ++k) {
            const double width = std::fabs(range[k]);
            if (p.model.row_type()[at(rows[k])] == 'G')
                p.model.set_rhs(rows[k], p.model.rhs()[at(rows[k])] + width);
            p.model.set_row_type(rows[k], 'R', width);
        }
    });
}

int QLXchgrowtype(QLXprob prob, int nrows, const int* rows, const char* rowtype) {
    return change(prob, "QLXchgrowtype", [&](Problem& p) {
        require_count(nrows, "nrows");
        require_indices(rows, nrows, p.model.num_rows(), "rows");
        require_array(rowtype, nrows, "rowtype");
        if (checked_mode()) check_new_row_type(p.model, nrows, rows, rowtype);
        for (int k = 0; k < nrows; ++k)
            p.model.set_row_type(rows[k], rowtype[k], p.model.range(rows[k]));
    });
}

int QLXchgbounds(QLXprob prob, int nbounds, const int* cols, const char* bndtype,
                 const double* values) {
    return change(prob, "QLXchgbounds", [&](Problem& p) {
        require_count(nbounds, "nbounds");
        require_indices(cols, nbounds, p.model.num_cols(), "cols");
        require_letters(bndtype, nbounds, "LUB", "bndtype");
        require_numbers(values, nbounds, "values", false);
        for (const auto& [col, own] : changed_bounds(p.model, nbounds, cols, bndtype, values)) {
            p.model.set_lb(col, own.lower);
            p.model.set_ub(col, own.upper);
        }
    });
}

}  // extern "C"
