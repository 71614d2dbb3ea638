// Keeps the nonlinear part in step with its model, and evaluates it.
#include "engine/data/nonlinear_part.hpp"

#include <cmath>
#include <limits>

#include "engine/base/index.hpp"
#include "engine/nlp/formula/evaluator.hpp"

namespace qlx {

double ColumnValues::at_point(int col) const noexcept {
    for (const std::vector<double>* values : {&current, &initial})
        if (at(col) < values->size() && !std::isnan((*values)[at(col)])) return (*values)[at(col)];
    return std::numeric_limits<double>::quiet_NaN();
}

void ColumnValues::delete_columns(const std::vector<int>& new_index) {
    for (std::vector<double>* values : {&current, &initial}) {
        std::size_t kept = 0;
        for (std::size_t col = 0; col < values->size(); ++col)
            if (new_index[col] >= 0) (*values)[kept++] = (*values)[col];
        values->resize(kept);
    }
}

void NonlinearPart::delete_columns(const std::vector<int>& new_index) {
    coefficients.delete_columns(new_index);
    values.delete_columns(new_index);
}

double term_value(const NonlinearPart& part, std::size_t term, const double* x, double* stack) {
    const CoefficientStore& store = part.coefficients;
    const double column = store.col(term) == kNoColumn ? 1.0 : x[store.col(term)];
    const double formula =
        evaluate(store.formula(term), stack, part.functions.get(), [x](int col) { return x[col]; });
    return store.factor(term) * column * formula;
}

}  // namespace qlx
