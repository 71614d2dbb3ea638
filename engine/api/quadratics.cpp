// Entry points: quadratic terms of the objective and of rows.
#include <qlx/qlx_model.h>
#include <qlx/qlx_query.h>

#include <algorithm>
#include <limits>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"

using namespace qlx;

namespace {

const QuadraticForm& row_form(const Model& model, int row) {
    static const QuadraticForm kEmpty;
    const auto found = model.quadratic_rows().find(row);
    return found == model.quadratic_rows().end() ? kEmpty : found->second;
}

// Terms of columns first .. last by column of the upper triangle.
template <class Start>
void give_columns(const QuadraticForm& form, Start* start, int* colind, double* values, Start size,
                  Start* nelems, int first, int last) {
    const auto& terms = form.terms();
    const auto begin =
        std::lower_bound(terms.begin(), terms.end(), first,
                         [](const QuadraticTerm& term, int col) { return term.first < col; });
    Start count = 0;
    auto term = begin;
    for (int col = first; col <= last; ++col) {
        if (start != nullptr) start[col - first] = count;
        for (; term != terms.end() && term->first == col; ++term, ++count) {
            if (count >= size) continue;
            if (colind != nullptr) colind[count] = term->second;
            if (values != nullptr) values[count] = term->coefficient;
        }
    }
    if (start != nullptr) start[last - first + 1] = count;
    if (nelems != nullptr) *nelems = count;
}

}  // namespace

extern "C" {

int QLXaddqmatrix64(QLXprob prob, int row, int64_t nquads, const int* qcol1, const int* qcol2,
                    const double* values) {
    return change(prob, "QLXaddqmatrix64", [&](Problem& p) {
        check_index(row, p.model.num_rows(), "row");
        require_pairs(nquads, qcol1, qcol2, values, p.model.num_cols());
        if (nquads > 0) check_no_indicator(p.model, row);
        p.model.add_quadratic_row(row, nquads, qcol1, qcol2, values);
    });
}

int QLXdelqmatrix(QLXprob prob, int row) {
    return change(prob, "QLXdelqmatrix", [&](Problem& p) {
        if (row != -1) check_index(row, p.model.num_rows(), "row");
        p.model.clear_quadratic(row);
    });
}

int QLXchgqobj(QLXprob prob, int col1, int col2, double value) {
    return QLXchgmqobj64(prob, 1, &col1, &col2, &value);
}

int QLXchgmqobj(QLXprob prob, int nquads, const int* qcol1, const int* qcol2,
                const double* values) {
    return QLXchgmqobj64(prob, nquads, qcol1, qcol2, values);
}

int QLXchgmqobj64(QLXprob prob, int64_t nquads, const int* qcol1, const int* qcol2,
                  const double* values) {
    return change(prob, "QLXchgmqobj64", [&](Problem& p) {
        require_pairs(nquads, qcol1, qcol2, values, p.model.num_cols());
        p.model.set_quadratic_objective(nquads, qcol1, qcol2, values);
    });
}

int QLXchgqrowcoeff(QLXprob prob, int row, int col1, int col2, double value) {
    return change(prob, "QLXchgqrowcoeff", [&](Problem& p) {
        check_index(row, p.model.num_rows(), "row");
        require_pairs(1, &col1, &col2, &value, p.model.num_cols());
        check_no_indicator(p.model, row);
        p.model.set_quadratic_row(row, 1, &col1, &col2, &value);
    });
}

int QLXgetmqobj(QLXprob prob, int* start, int* colind, double* values, int size, int* nelems,
                int first, int last) {
    return read(prob, "QLXgetmqobj", [&](Problem& p) {
        check_range(first, last, p.model.num_cols());
        give_columns(p.model.quadratic_objective(), start, colind, values, size, nelems, first,
                     last);
    });
}

int QLXgetmqobj64(QLXprob prob, int64_t* start, int* colind, double* values, int64_t size,
                  int64_t* nelems, int first, int last) {
    return read(prob, "QLXgetmqobj64", [&](Problem& p) {
        check_range(first, last, p.model.num_cols());
        give_columns(p.model.quadratic_objective(), start, colind, values, size, nelems, first,
                     last);
    });
}

int QLXgetqobj(QLXprob prob, int col1, int col2, double* value) {
    return read(prob, "QLXgetqobj", [&](Problem& p) {
        check_index(col1, p.model.num_cols(), "col1");
        check_index(col2, p.model.num_cols(), "col2");
        require_array(value, 1, "value");
        *value = p.model.quadratic_objective().at(col1, col2);
    });
}

int QLXgetqrowcoeff(QLXprob prob, int row, int col1, int col2, double* value) {
    return read(prob, "QLXgetqrowcoeff", [&](Problem& p) {
        check_index(row, p.model.num_rows(), "row");
        check_index(col1, p.model.num_cols(), "col1");
        check_index(col2, p.model.num_cols(), "col2");
        require_array(value, 1, "value");
        *value = row_form(p.model, row).at(col1, col2);
    });
}

int QLXgetqrowqmatrix(QLXprob prob, int row, int* start, int* colind, double* values, int size,
                      int* nelems, int first, int last) {
    return read(prob, "QLXgetqrowqmatrix", [&](Problem& p) {
        check_index(row, p.model.num_rows(), "row");
        check_range(first, last, p.model.num_cols());
        give_columns(row_form(p.model, row), start, colind, values, size, nelems, first, last);
    });
}

int QLXgetqrowqmatrixtriplets(QLXprob prob, int row, int* nquads, int* qcol1, int* qcol2,
                              double* values) {
    return read(prob, "QLXgetqrowqmatrixtriplets", [&](Problem& p) {
        check_index(row, p.model.num_rows(), "row");
        const auto& terms = row_form(p.model, row).terms();
        if (nquads != nullptr) *nquads = static_cast<int>(terms.size());
        for (std::size_t k = 0; k < terms.size(); ++k) {
            if (qcol1 != nullptr) qcol1[k] = terms[k].first;
            if (qcol2 != nullptr) qcol2[k] = terms[k].second;
            if (values != nullptr) values[k] = terms[k].coefficient;
        }
    });
}

int QLXgetqrows(QLXprob prob, int* nrows, int* rows) {
    return read(prob, "QLXgetqrows", [&](Problem& p) {
        if (nrows != nullptr) *nrows = static_cast<int>(p.model.quadratic_rows().size());
        if (rows == nullptr) return;
        for (const auto& [row, form] : p.model.quadratic_rows()) *rows++ = row;
    });
}

}  // extern "C"
