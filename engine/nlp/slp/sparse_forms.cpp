// Products with sparse derivatives.
#include "engine/nlp/slp/sparse_forms.hpp"

#include <algorithm>
#include <cstddef>
#include <numeric>

#include "engine/base/index.hpp"

namespace qlx::nlp::slp {

void RowStructure::build(const SparsePattern& pattern, int rows, int columns) {
    const std::size_t count = pattern.rows.size();
    std::vector<int> order(count);
    std::iota(order.begin(), order.end(), 0);
    const auto key = [&](int k) {
        return static_cast<long long>(pattern.rows[at(k)]) * columns + pattern.columns[at(k)];
    };
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return key(a) < key(b); });
    start_.assign(at(rows) + 1, 0);
    column_.clear();
    place_.resize(count);
    for (std::size_t k = 0; k < count; ++k) {
        if (k == 0 || key(order[k]) != key(order[k - 1])) {
            column_.push_back(pattern.columns[at(order[k])]);
            ++start_[at(pattern.rows[at(order[k])]) + 1];
        }
        place_[at(order[k])] = static_cast<int>(column_.size()) - 1;
    }
    std::partial_sum(start_.begin(), start_.end(), start_.begin());
}

void RowStructure::gather(const Vector& pattern_values, Vector& values) const {
    values.setZero(entries());
    for (std::size_t k = 0; k < place_.size(); ++k)
        values[place_[k]] += pattern_values[static_cast<Eigen::Index>(k)];
}

double RowStructure::row_product(const Vector& values, int row, const Vector& x) const {
    double sum = 0;
    for (int k = begin(row); k < end(row); ++k) sum += values[k] * x[column(k)];
    return sum;
}

void RowStructure::multiply(const Vector& values, const Vector& x, Vector& out) const {
    out.resize(rows());
    for (int i = 0; i < rows(); ++i) out[i] = row_product(values, i, x);
}

void RowStructure::add_transposed(const Vector& values, const Vector& y, double scale,
                                  Vector& out) const {
    for (int i = 0; i < rows(); ++i) {
        const double factor = scale * y[i];
        if (factor == 0) continue;
        for (int k = begin(i); k < end(i); ++k) out[column(k)] += factor * values[k];
    }
}

void SymmetricStructure::build(const SparsePattern& pattern) {
    row_ = pattern.rows;
    column_ = pattern.columns;
}

void SymmetricStructure::multiply(const Vector& values, const Vector& x, Vector& out) const {
    out.setZero(x.size());
    for (int k = 0; k < entries(); ++k) {
        const int i = row(k), j = column(k);
        out[i] += values[k] * x[j];
        if (i != j) out[j] += values[k] * x[i];
    }
}

void SymmetricStructure::scatter(const Vector& values, const Vector& scale, Matrix& dense) const {
    dense.setZero();
    for (int k = 0; k < entries(); ++k) {
        const int i = row(k), j = column(k);
        const double entry = values[k] * scale[i] * scale[j];
        dense(i, j) += entry;
        if (i != j) dense(j, i) += entry;
    }
}

}  // namespace qlx::nlp::slp
