// Entry points: reading the linear model back.
#include <qlx/qlx_query.h>

#include <algorithm>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"
#include "engine/base/index.hpp"

using namespace qlx;

namespace {

template <class T>
void give(const std::vector<T>& values, T* out, int first, int last, const char* name) {
    check_range(first, last, static_cast<int>(values.size()));
    require_array(out, 1, name);
    std::copy(values.begin() + first, values.begin() + last + 1, out);
}

// Entries of columns first .. last: one pass to count, one to place.
void give_columns(Model& model, std::int64_t* start, int* rowind, double* values, std::int64_t size,
                  std::int64_t* nelems, int first, int last) {
    const auto& starts = model.matrix().starts();
    const auto& columns = model.matrix().columns();
    const auto& entries = model.matrix().values();
    std::vector<std::int64_t> place(at(last - first) + 2, 0);
    for (const int col : columns)
        if (col >= first && col <= last) ++place[at(col - first) + 1];
    for (std::size_t k = 1; k < place.size(); ++k) place[k] += place[k - 1];
    if (start != nullptr) std::copy(place.begin(), place.end(), start);
    if (nelems != nullptr) *nelems = place.back();
    if (rowind == nullptr && values == nullptr) return;
    for (int row = 0; row < model.num_rows(); ++row) {
        for (auto k = at(starts[at(row)]); k < at(starts[at(row) + 1]); ++k) {
            if (columns[k] < first || columns[k] > last) continue;
            const std::int64_t to = place[at(columns[k] - first)]++;
            if (to >= size) continue;
            if (rowind != nullptr) rowind[to] = row;
            if (values != nullptr) values[to] = entries[k];
        }
    }
}

}  // namespace

extern "C" {

int QLXgetrows64(QLXprob prob, int64_t* start, int* colind, double* values, int64_t size,
                 int64_t* nelems, int first, int last) {
    return read(prob, "QLXgetrows64", [&](Problem& p) {
        check_range(first, last, p.model.num_rows());
        const auto& starts = p.model.matrix().starts();
        const std::int64_t begin = starts[at(first)];
        const std::int64_t count = starts[at(last) + 1] - begin;
        if (nelems != nullptr) *nelems = count;
        if (start != nullptr)
            for (int row = first; row <= last + 1; ++row)
                start[row - first] = starts[at(row)] - begin;
        const std::int64_t kept = std::min(count, size);
        if (colind != nullptr && kept > 0)
            std::copy_n(p.model.matrix().columns().begin() + begin, kept, colind);
        if (values != nullptr && kept > 0)
            std::copy_n(p.model.matrix().values().begin() + begin, kept, values);
    });
}

int QLXgetcols64(QLXprob prob, int64_t* start, int* rowind, double* values, int64_t size,
                 int64_t* nelems, int first, int last) {
    return read(prob, "QLXgetcols64", [&](Problem& p) {
        check_range(first, last, p.model.num_cols());
        give_columns(p.model, start, rowind, values, size, nelems, first, last);
    });
}

int QLXgetcoef(QLXprob prob, int row, int col, double* value) {
    return read(prob, "QLXgetcoef", [&](Problem& p) {
        check_index(row, p.model.num_rows(), "row");
        check_index(col, p.model.num_cols(), "col");
        require_array(value, 1, "value");
        *value = p.model.matrix().at(row, col);
    });
}

int QLXgetobj(QLXprob prob, double* obj, int first, int last) {
    return read(prob, "QLXgetobj",
                [&](Problem& p) { give(p.model.obj(), obj, first, last, "obj"); });
}

int QLXgetlb(QLXprob prob, double* lb, int first, int last) {
    return read(prob, "QLXgetlb", [&](Problem& p) { give(p.model.lb(), lb, first, last, "lb"); });
}

int QLXgetub(QLXprob prob, double* ub, int first, int last) {
    return read(prob, "QLXgetub", [&](Problem& p) { give(p.model.ub(), ub, first, last, "ub"); });
}

int QLXgetcoltype(QLXprob prob, char* coltype, int first, int last) {
    return read(prob, "QLXgetcoltype",
                [&](Problem& p) { give(p.model.col_type(), coltype, first, last, "coltype"); });
}

int QLXgetrhs(QLXprob prob, double* rhs, int first, int last) {
    return read(prob, "QLXgetrhs",
                [&](Problem& p) { give(p.model.rhs(), rhs, first, last, "rhs"); });
}

int QLXgetrowtype(QLXprob prob, char* rowtype, int first, int last) {
    return read(prob, "QLXgetrowtype",
                [&](Problem& p) { give(p.model.row_type(), rowtype, first, last, "rowtype"); });
}

int QLXgetrhsrange(QLXprob prob, double* range, int first, int last) {
    return read(prob, "QLXgetrhsrange", [&](Problem& p) {
        check_range(first, last, p.model.num_rows());
        require_array(range, 1, "range");
        for (int row = first; row <= last; ++row) range[row - first] = p.model.range(row);
    });
}

}  // extern "C"
