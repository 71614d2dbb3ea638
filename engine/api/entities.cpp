// Entry points: column types, limits, special ordered sets, indicators and row directives.
#include "engine/api/entities.hpp"

#include <qlx/qlx_model.h>
#include <qlx/qlx_query.h>

#include <algorithm>
#include <numeric>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"
#include "engine/base/index.hpp"

using namespace qlx;

namespace {

// The members of a set in the order of their reference values.
std::vector<std::int64_t> member_order(std::int64_t first, std::int64_t last,
                                       const double* references) {
    std::vector<std::int64_t> order(at(last - first));
    std::iota(order.begin(), order.end(), first);
    std::stable_sort(order.begin(), order.end(), [references](std::int64_t a, std::int64_t b) {
        return references[a] < references[b];
    });
    return order;
}

// The bounds that a column would have after becoming binary.
void require_binary_possible(const Model& model, int col, const char* name, int k) {
    const double lower = std::max(model.lb()[at(col)], 0.0);
    const double upper = std::min(model.ub()[at(col)], 1.0);
    if (lower > upper)
        fail(QLX_ERROR_ARGUMENT, name, "[", k, "] is 'B', but column ", col, " has bounds ",
             model.lb()[at(col)], " .. ", model.ub()[at(col)]);
}

void require_rows_list(const Model& model, int count, const int* rows) {
    require_count(count, "nrows");
    require_indices(rows, count, model.num_rows(), "rows");
}

}  // namespace

namespace qlx {

void require_sets(int count, const char* type, const std::int64_t* start, const int* columns,
                  const double* references, int num_cols) {
    require_count(count, "nsets");
    if (count == 0) return;
    require_letters(type, count, "12", "settype");
    require_array(start, count + 1, "setstart");
    require_starts(start, count, start[count]);
    require_indices(columns, start[count], num_cols, "colind");
    require_numbers(references, start[count], "refval", true);
    IndexStamps stamps;
    require_distinct(stamps, start, columns, count, num_cols, "colind");
    for (int set = 0; set < count; ++set) {
        const auto order = member_order(start[set], start[set + 1], references);
        for (std::size_t k = 1; k < order.size(); ++k)
            if (references[order[k]] == references[order[k - 1]])
                fail(QLX_ERROR_ARGUMENT, "refval[", order[k], "] is ", references[order[k]],
                     ", which another member of set ", set, " has too");
    }
}

void add_sets(Model& model, int count, const char* type, const std::int64_t* start,
              const int* columns, const double* references) {
    for (int set = 0; set < count; ++set) {
        SpecialOrderedSet added{type[set] - '0', {}, {}};
        for (const std::int64_t k : member_order(start[set], start[set + 1], references)) {
            added.columns.push_back(columns[k]);
            added.references.push_back(references[k]);
        }
        model.add_set(std::move(added));
    }
}

}  // namespace qlx

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
        require_count(nsets, "nsets");
        p.model.delete_sets(deletion_map(sets, nsets, p.model.num_sets(), "sets"));
    });
}

int QLXchgcoltype(QLXprob prob, int ncols, const int* cols, const char* coltype) {
    return change(prob, "QLXchgcoltype", [&](Problem& p) {
        require_count(ncols, "ncols");
        require_indices(cols, ncols, p.model.num_cols(), "cols");
        require_letters(coltype, ncols, "CBISRP", "coltype");
        for (int k = 0; k < ncols; ++k)
            if (coltype[k] == 'B') require_binary_possible(p.model, cols[k], "coltype", k);
        for (int k = 0; k < ncols; ++k) p.model.set_col_type(cols[k], coltype[k]);
    });
}

int QLXchgglblimit(QLXprob prob, int ncols, const int* cols, const double* limit) {
    return change(prob, "QLXchgglblimit", [&](Problem& p) {
        require_count(ncols, "ncols");
        require_indices(cols, ncols, p.model.num_cols(), "cols");
        require_numbers(limit, ncols, "limit", true);
        for (int k = 0; k < ncols; ++k) {
            const char type = p.model.col_type()[at(cols[k])];
            if (!is_limited(type))
                fail(QLX_ERROR_ARGUMENT, "cols[", k, "] is ", cols[k], ", a column of type '", type,
                     "', which has no limit; must be of type 'S', 'R' or 'P'");
        }
        for (int k = 0; k < ncols; ++k) p.model.set_limit(cols[k], limit[k]);
    });
}

int QLXsetindicators(QLXprob prob, int nrows, const int* rows, const int* cols,
                     const int* complements) {
    return change(prob, "QLXsetindicators", [&](Problem& p) {
        require_rows_list(p.model, nrows, rows);
        require_array(complements, nrows, "complements");
        require_array(cols, nrows, "cols");
        for (int k = 0; k < nrows; ++k) {
            if (complements[k] < -1 || complements[k] > 1)
                fail(QLX_ERROR_ARGUMENT, "complements[", k, "] is ", complements[k],
                     ", must be -1, 0 or 1");
            if (complements[k] == 0) continue;
            if (cols[k] < 0 || cols[k] >= p.model.num_cols())
                require_index(cols[k], p.model.num_cols(), join("cols[", k, "]").c_str());
            if (p.model.quadratic_rows().count(rows[k]) != 0)
                fail(QLX_ERROR_UNSUPPORTED, "rows[", k, "] is ", rows[k],
                     ", which has quadratic terms; an indicator row must be linear");
        }
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
        require_range(first, last, p.model.num_rows());
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
