// Entry points: changing coefficients, bounds, rows and the objective of a model.
#include <qlx/qlx_model.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"
#include "engine/base/index.hpp"

using namespace qlx;

namespace {

// A column's bounds after changes.
struct ColumnBounds {
    int col;
    Sides bounds;
};

// The columns of a list of changes with their bounds at its end, kept apart until all of them are
// known to be good. Columns in ascending order, as in whole blocks, need no sorting.
std::vector<ColumnBounds> changed_bounds(const Model& model, int count, const int* cols,
                                         const char* type, const double* values) {
    std::vector<int> order(at(count));
    std::iota(order.begin(), order.end(), 0);
    if (!std::is_sorted(cols, cols + count))
        std::stable_sort(order.begin(), order.end(),
                         [cols](int a, int b) { return cols[a] < cols[b]; });
    std::vector<ColumnBounds> changed;
    for (const int k : order) {
        const int col = cols[k];
        if (changed.empty() || changed.back().col != col)
            changed.push_back({col, {model.lb()[at(col)], model.ub()[at(col)]}});
        Sides& own = changed.back().bounds;
        if (type[k] != 'U') own.lower = values[k];
        if (type[k] != 'L') own.upper = values[k];
    }
    return changed;
}

void require_possible(const std::vector<ColumnBounds>& changed) {
    for (const auto& [col, own] : changed)
        if (!(own.lower <= own.upper) || own.lower >= kInfinity || own.upper <= -kInfinity)
            fail(QLX_ERROR_ARGUMENT, "column ", col, " would have lower bound ", own.lower,
                 " and upper bound ", own.upper);
}

}  // namespace

extern "C" {

int QLXchgcoef(QLXprob prob, int row, int col, double value) {
    return change(prob, "QLXchgcoef", [&](Problem& p) {
        require_index(row, p.model.num_rows(), "row");
        require_index(col, p.model.num_cols(), "col");
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
        for (int k = 0; k < ncols; ++k)
            if (cols[k] < -1 || cols[k] >= p.model.num_cols())
                require_index(cols[k], p.model.num_cols(), join("cols[", k, "]").c_str());
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
        if (sense != 1 && sense != -1)
            fail(QLX_ERROR_ARGUMENT, "sense is ", sense, ", must be 1 (minimise) or -1 (maximise)");
        p.model.set_sense(sense);
    });
}

int QLXchgrhs(QLXprob prob, int nrows, const int* rows, const double* rhs) {
    return change(prob, "QLXchgrhs", [&](Problem& p) {
        require_count(nrows, "nrows");
        require_indices(rows, nrows, p.model.num_rows(), "rows");
        require_numbers(rhs, nrows, "rhs", false);
        for (int k = 0; k < nrows; ++k) {
            const char type = p.model.row_type()[at(rows[k])];
            const double zero = 0;
            require_rows(1, &type, &rhs[k], &zero);
        }
        for (int k = 0; k < nrows; ++k) p.model.set_rhs(rows[k], rhs[k]);
    });
}

int QLXchgrhsrange(QLXprob prob, int nrows, const int* rows, const double* range) {
    return change(prob, "QLXchgrhsrange", [&](Problem& p) {
        require_count(nrows, "nrows");
        require_indices(rows, nrows, p.model.num_rows(), "rows");
        require_numbers(range, nrows, "range", false);
        for (int k = 0; k < nrows; ++k)
            if (p.model.row_type()[at(rows[k])] == 'N')
                fail(QLX_ERROR_ARGUMENT, "rows[", k, "] is ", rows[k],
                     ", a free row, which has no range");
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
        require_letters(rowtype, nrows, "LGERN", "rowtype");
        for (int k = 0; k < nrows; ++k) {
            const double range = p.model.range(rows[k]);
            require_rows(1, &rowtype[k], &p.model.rhs()[at(rows[k])], &range);
        }
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
        const std::vector<ColumnBounds> changed =
            changed_bounds(p.model, nbounds, cols, bndtype, values);
        require_possible(changed);
        for (const auto& [col, own] : changed) {
            p.model.set_lb(col, own.lower);
            p.model.set_ub(col, own.upper);
        }
    });
}

}  // extern "C"
