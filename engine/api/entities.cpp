// Entry points: column types, limits, special ordered sets, indicators and row directives.
#include <qlx/qlx_model.h>
#include <qlx/qlx_query.h>

#include <algorithm>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"
#include "engine/base/index.hpp"

using namespace qlx;

namespace {

void require_rows_list(const Model& model, int count, const int* rows) {
    require_count(count, "nrows");
    require_indices(rows, count, model.num_rows(), "rows");
}

}  // namespace

extern "C" {

int QLXaddsets64(QLXprob prob, int nsets, int64_t nelems, const char* settype, const int64_t* start,
                 const int* colind, const double* refval) {
    return change(prob, "QLXaddsets64", [&](Problem& p) {
        require_count(nsets, "nsets");
        require_starts(start, nsets, nelems);
        require_sets(nsets, settype, start, colind, refval, p.model.num_cols());
        add_sets(p.model, nsets, settype, start, colind, refval);
    });
}

int QLXdelsets(QLXprob prob, int nsets, const int* sets) {
    return change(prob, "QLXdelsets", [&](Problem& p) {
        p.model.delete_sets(require_deletion_map(sets, nsets, p.model.num_sets(), "sets"));
    });
}

int QLXchgcoltype(QLXprob prob, int ncols, const int* cols, const char* coltype) {
    return change(prob, "QLXchgcoltype", [&](Problem& p) {
        require_count(ncols, "ncols");
        require_indices(cols, ncols, p.model.num_cols(), "cols");
        require_letters(coltype, ncols, "CBISRP", "coltype");
        check_col_types(p.model, ncols, cols, coltype);
        for (int k = 0; k < ncols; ++k) p.model.set_col_type(cols[k], coltype[k]);
    });
}

int QLXchgglblimit(QLXprob prob, int ncols, const int* cols, const double* limit) {
    return change(prob, "QLXchgglblimit", [&](Problem& p) {
        require_count(ncols, "ncols");
        require_indices(cols, ncols, p.model.num_cols(), "cols");
        require_array(limit, ncols, "limit");
        check_limits(p.model, ncols, cols, limit);
        for (int k = 0; k < ncols; ++k) p.model.set_limit(cols[k], limit[k]);
    });
}

int QLXsetindicators(QLXprob prob, int nrows, const int* rows, const int* cols,
                     const int* complements) {
    return change(prob, "QLXsetindicators", [&](Problem& p) {
        require_rows_list(p.model, nrows, rows);
        require_array(complements, nrows, "complements");
        require_array(cols, nrows, "cols");
        check_indicators(p.model, nrows, rows, cols, complements);
        for (int k = 0; k < nrows; ++k) {
            if (complements[k] == 0)
                p.model.remove_indicator(rows[k]);
            else
                p.model.set_indicator(rows[k], {cols[k], complements[k] > 0 ? 1 : 0});
        }
    });
}

int QLXloaddelayedrows(QLXprob prob, int nrows, const int* rows) {
    return change(prob, "QLXloaddelayedrows", [&](Problem& p) {
        require_rows_list(p.model, nrows, rows);
        p.model.set_delayed_rows({rows, rows + nrows});
    });
}

int QLXloadmodelcuts(QLXprob prob, int nrows, const int* rows) {
    return change(prob, "QLXloadmodelcuts", [&](Problem& p) {
        require_rows_list(p.model, nrows, rows);
        p.model.set_model_cuts({rows, rows + nrows});
    });
}

int QLXgetindicators(QLXprob prob, int* cols, int* complements, int first, int last) {
    return read(prob, "QLXgetindicators", [&](Problem& p) {
        check_range(first, last, p.model.num_rows());
        const Indicators& indicators = p.model.indicators();
        for (int row = first; row <= last; ++row) {
            const auto found = indicators.find(row);
            const bool is = found != indicators.end();
            if (cols != nullptr) cols[row - first] = is ? found->second.column : -1;
            if (complements != nullptr)
                complements[row - first] = !is ? 0 : (found->second.active == 1 ? 1 : -1);
        }
    });
}

int QLXgetglobal64(QLXprob prob, int* nents, int* nsets, char* enttype, int* entcol, double* limit,
                   char* settype, int64_t* setstart, int* setcol, double* refval) {
    return read(prob, "QLXgetglobal64", [&](Problem& p) {
        Model& m = p.model;
        if (nents != nullptr) *nents = m.num_entities();
        if (nsets != nullptr) *nsets = m.num_sets();
        std::size_t k = 0;
        for (int col = 0; col < m.num_cols(); ++col) {
            if (m.col_type()[at(col)] == 'C') continue;
            if (enttype != nullptr) enttype[k] = m.col_type()[at(col)];
            if (entcol != nullptr) entcol[k] = col;
            if (limit != nullptr) limit[k] = m.limit(col);
            ++k;
        }
        std::int64_t member = 0;
        for (std::size_t set = 0; set < m.sets().size(); ++set) {
            const SpecialOrderedSet& given = m.sets()[set];
            if (settype != nullptr) settype[set] = static_cast<char>('0' + given.order);
            if (setstart != nullptr) setstart[set] = member;
            if (setcol != nullptr)
                std::copy(given.columns.begin(), given.columns.end(), setcol + member);
            if (refval != nullptr)
                std::copy(given.references.begin(), given.references.end(), refval + member);
            member += static_cast<std::int64_t>(given.columns.size());
        }
        if (setstart != nullptr) setstart[m.sets().size()] = member;
    });
}

}  // extern "C"
