// Entry points: adding and deleting rows and columns, and naming them.
#include <qlx/qlx_model.h>
#include <qlx/qlx_query.h>

#include <algorithm>
#include <cstring>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"
#include "engine/base/index.hpp"
#include "engine/core/result_edits.hpp"

using namespace qlx;

namespace {

Names& names_of(Model& model, int type, int& count) {
    switch (type) {
        case QLX_NAMES_ROW:
            count = model.num_rows();
            return model.row_names();
        case QLX_NAMES_COLUMN:
            count = model.num_cols();
            return model.col_names();
        case QLX_NAMES_SET:
            count = model.num_sets();
            return model.set_names();
        default:
            fail(QLX_ERROR_ARGUMENT, "type is ", type,
                 ", must be 1 (rows), 2 (columns) or 3 (sets)");
    }
}

void add_rows(Problem& p, int nrows, std::int64_t nelems, const char* rowtype, const double* rhs,
              const double* range, const std::int64_t* start, const int* colind,
              const double* values) {
    require_count(nrows, "nrows");
    require_count(nelems, "nelems");
    require_rows(nrows, rowtype, rhs, range);
    if (nelems > 0 || start != nullptr) require_starts(start, nrows, nelems);
    require_indices(colind, nelems, p.model.num_cols(), "colind");
    require_numbers(values, nelems, "values", true);
    if (nelems > 0)
        require_distinct(p.index_stamps, start, colind, nrows, p.model.num_cols(), "colind");
    p.model.append_rows({nrows, rowtype, rhs, range}, nelems > 0 ? start : nullptr, colind, values);
}

}  // namespace

extern "C" {

int QLXaddrows64(QLXprob prob, int nrows, int64_t nelems, const char* rowtype, const double* rhs,
                 const double* range, const int64_t* start, const int* colind,
                 const double* values) {
    return change(prob, "QLXaddrows64", [&](Problem& p) {
        add_rows(p, nrows, nelems, rowtype, rhs, range, start, colind, values);
    });
}

int QLXaddrows(QLXprob prob, int nrows, int nelems, const char* rowtype, const double* rhs,
               const double* range, const int* start, const int* colind, const double* values) {
    return change(prob, "QLXaddrows", [&](Problem& p) {
        require_count(nrows, "nrows");
        std::vector<std::int64_t> wide;
        if (start != nullptr) wide.assign(start, start + nrows + 1);
        add_rows(p, nrows, nelems, rowtype, rhs, range, wide.empty() ? nullptr : wide.data(),
                 colind, values);
    });
}

int QLXaddcols64(QLXprob prob, int ncols, int64_t nelems, const double* obj, const int64_t* start,
                 const int* rowind, const double* values, const double* lb, const double* ub) {
    return change(prob, "QLXaddcols64", [&](Problem& p) {
        require_count(ncols, "ncols");
        require_count(nelems, "nelems");
        if (obj != nullptr) require_numbers(obj, ncols, "obj", true);
        require_bounds(lb, ub, ncols);
        if (nelems > 0) {
            require_starts(start, ncols, nelems);
            require_indices(rowind, nelems, p.model.num_rows(), "rowind");
            require_numbers(values, nelems, "values", true);
            require_distinct(p.index_stamps, start, rowind, ncols, p.model.num_rows(), "rowind");
        }
        const int base = p.model.num_cols();
        p.model.append_columns({ncols, obj, lb, ub});
        if (nelems == 0) return;
        for (int col = 0; col < ncols; ++col)
            for (std::int64_t k = start[col]; k < start[col + 1]; ++k)
                p.model.set_new_coefficient(rowind[k], base + col, values[k]);
    });
}

int QLXdelrows(QLXprob prob, int nrows, const int* rows) {
    return change(prob, "QLXdelrows", [&](Problem& p) {
        const std::vector<int> map = require_deletion_map(rows, nrows, p.model.num_rows(), "rows");
        if (nrows == 0) return;
        p.model.delete_rows(map);
        delete_rows_from_results(p.results, map);
    });
}

int QLXdelcols(QLXprob prob, int ncols, const int* cols) {
    return change(prob, "QLXdelcols", [&](Problem& p) {
        const std::vector<int> map = require_deletion_map(cols, ncols, p.model.num_cols(), "cols");
        if (ncols == 0) return;
        check_deletable_columns(p.model, map);
        p.model.delete_columns(map);
        delete_columns_from_results(p.results, map);
    });
}

int QLXaddnames(QLXprob prob, int type, const char* names, int first, int last) {
    return change(prob, "QLXaddnames", [&](Problem& p) {
        int count = 0;
        Names& target = names_of(p.model, type, count);
        check_range(first, last, count);
        require_array(names, 1, "names");
        for (int index = first; index <= last; ++index) {
            const std::size_t length = std::strlen(names);
            target.set(index, {names, length});
            names += length + 1;
        }
    });
}

int QLXaddnumberednames(QLXprob prob, int type, const int64_t* numbers, int64_t number, int first,
                        int last) {
    return change(prob, "QLXaddnumberednames", [&](Problem& p) {
        int count = 0;
        Names& target = names_of(p.model, type, count);
        check_range(first, last, count);
        for (int k = 0; k <= last - first; ++k) {
            const std::int64_t own = numbers != nullptr ? numbers[k] : number + k;
            if (own < 0)
                fail(QLX_ERROR_ARGUMENT, "numbers[", k, "] is ", own, ", must be at least 0");
        }
        for (int k = 0; k <= last - first; ++k)
            target.set_number(first + k, numbers != nullptr ? numbers[k] : number + k);
    });
}

int QLXgetnames(QLXprob prob, int type, char* names, int first, int last) {
    return read(prob, "QLXgetnames", [&](Problem& p) {
        int count = 0;
        Names& source = names_of(p.model, type, count);
        check_range(first, last, count);
        require_array(names, 1, "names");
        Model& m = p.model;
        const std::size_t longest =
            std::max({m.row_names().longest(m.num_rows()), m.col_names().longest(m.num_cols()),
                      m.set_names().longest(m.num_sets())});
        const std::size_t slot = (longest + 7) / 8 * 8 + 1;
        std::memset(names, 0, slot * at(last - first + 1));
        for (int index = first; index <= last; ++index) {
            const std::string name = source.name(index);
            std::memcpy(names + slot * at(index - first), name.data(), name.size());
        }
    });
}

int QLXgetindex(QLXprob prob, int type, const char* name, int* index) {
    return read(prob, "QLXgetindex", [&](Problem& p) {
        int count = 0;
        Names& source = names_of(p.model, type, count);
        require_array(name, 1, "name");
        require_array(index, 1, "index");
        const int found = source.find(name, count);
        if (found < 0)
            fail(QLX_ERROR_ARGUMENT, "no ",
                 type == QLX_NAMES_ROW      ? "row"
                 : type == QLX_NAMES_COLUMN ? "column"
                                            : "set",
                 " is named \"", name, "\"");
        *index = found;
    });
}

}  // extern "C"
