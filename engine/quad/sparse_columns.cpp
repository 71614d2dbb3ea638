// Building sparse matrices and multiplying with them.
#include "engine/quad/sparse_columns.hpp"
#include "engine/base/index.hpp"

#include <algorithm>
#include <cstddef>

namespace qlx::quad {

namespace {

// Buckets the entries by `key`, keeping their order within a bucket.
template <typename Key>
std::vector<Triplet> bucket_sort(std::span<const Triplet> entries, int buckets, Key key) {
    std::vector<int> next(at(buckets) + 1, 0);
    for (const Triplet& entry : entries) ++next[at(key(entry)) + 1];
    for (int b = 0; b < buckets; ++b) next[at(b) + 1] += next[at(b)];
    std::vector<Triplet> sorted(entries.size());
    for (const Triplet& entry : entries) sorted[at(next[at(key(entry))]++)] = entry;
    return sorted;
}

bool is_sorted_by_column(std::span<const Triplet> entries) {
    return std::is_sorted(entries.begin(), entries.end(), [](const Triplet& a, const Triplet& b) {
        return a.column != b.column ? a.column < b.column : a.row < b.row;
    });
}

SparseColumns compress_sorted(int rows, int columns, std::span<const Triplet> entries) {
    SparseColumns matrix;
    matrix.rows = rows;
    matrix.columns = columns;
    matrix.start.assign(at(columns) + 1, 0);
    matrix.index.reserve(entries.size());
    matrix.value.reserve(entries.size());
    std::size_t k = 0;
    for (int j = 0; j < columns; ++j) {
        while (k < entries.size() && entries[k].column == j) {
            const int row = entries[k].row;
            double sum = 0.0;
            for (; k < entries.size() && entries[k].column == j && entries[k].row == row; ++k) {
                sum += entries[k].value;
            }
            if (sum != 0.0) {
                matrix.index.push_back(row);
                matrix.value.push_back(sum);
            }
        }
        matrix.start[at(j) + 1] = static_cast<int>(matrix.index.size());
    }
    return matrix;
}

}  // namespace

SparseColumns compress(int rows, int columns, std::span<const Triplet> entries) {
    if (is_sorted_by_column(entries)) return compress_sorted(rows, columns, entries);
    const auto by_row = bucket_sort(entries, rows, [](const Triplet& t) { return t.row; });
    const auto sorted = bucket_sort(by_row, columns, [](const Triplet& t) { return t.column; });
    return compress_sorted(rows, columns, sorted);
}

SparseColumns compress_symmetric(int order, std::span<const Triplet> entries) {
    std::vector<Triplet> upper(entries.begin(), entries.end());
    for (Triplet& entry : upper) {
        if (entry.row > entry.column) std::swap(entry.row, entry.column);
    }
    return compress(order, order, upper);
}

SparseColumns transpose(const SparseColumns& matrix) {
    SparseColumns out;
    out.rows = matrix.columns;
    out.columns = matrix.rows;
    out.start.assign(at(matrix.rows) + 1, 0);
    out.index.resize(matrix.index.size());
    out.value.resize(matrix.value.size());
    for (int row : matrix.index) ++out.start[at(row) + 1];
    for (int i = 0; i < matrix.rows; ++i) out.start[at(i) + 1] += out.start[at(i)];
    std::vector<int> next(out.start.begin(), out.start.end() - 1);
    for (int j = 0; j < matrix.columns; ++j) {
        for (int k = matrix.start[at(j)]; k < matrix.start[at(j) + 1]; ++k) {
            const int place = next[at(matrix.index[at(k)])]++;
            out.index[at(place)] = j;
            out.value[at(place)] = matrix.value[at(k)];
        }
    }
    return out;
}

void add_product(const SparseColumns& matrix, double scale, std::span<const double> x,
                 std::span<double> out) noexcept {
    for (int j = 0; j < matrix.columns; ++j) {
        const double factor = scale * x[at(j)];
        if (factor == 0.0) continue;
        for (int k = matrix.start[at(j)]; k < matrix.start[at(j) + 1]; ++k) {
            out[at(matrix.index[at(k)])] += factor * matrix.value[at(k)];
        }
    }
}

void add_transposed_product(const SparseColumns& matrix, double scale, std::span<const double> x,
                            std::span<double> out) noexcept {
    for (int j = 0; j < matrix.columns; ++j) {
        double sum = 0.0;
        for (int k = matrix.start[at(j)]; k < matrix.start[at(j) + 1]; ++k) {
            sum += matrix.value[at(k)] * x[at(matrix.index[at(k)])];
        }
        out[at(j)] += scale * sum;
    }
}

void add_symmetric_product(const SparseColumns& upper, double scale, std::span<const double> x,
                           std::span<double> out) noexcept {
    for (int j = 0; j < upper.columns; ++j) {
        const double factor = scale * x[at(j)];
        double sum = 0.0;
        for (int k = upper.start[at(j)]; k < upper.start[at(j) + 1]; ++k) {
            const int i = upper.index[at(k)];
            out[at(i)] += factor * upper.value[at(k)];
            if (i != j) sum += upper.value[at(k)] * x[at(i)];
        }
        out[at(j)] += scale * sum;
    }
}

double quadratic_form(const SparseColumns& upper, std::span<const double> x) noexcept {
    double total = 0.0;
    for (int j = 0; j < upper.columns; ++j) {
        double sum = 0.0;
        for (int k = upper.start[at(j)]; k < upper.start[at(j) + 1]; ++k) {
            const int i = upper.index[at(k)];
            sum += (i == j ? 1.0 : 2.0) * upper.value[at(k)] * x[at(i)];
        }
        total += sum * x[at(j)];
    }
    return total;
}

std::vector<double> diagonal_of(const SparseColumns& upper) {
    std::vector<double> diagonal(at(upper.columns), 0.0);
    for (int j = 0; j < upper.columns; ++j) {
        const int last = upper.start[at(j) + 1] - 1;
        if (last >= upper.start[at(j)] && upper.index[at(last)] == j) {
            diagonal[at(j)] = upper.value[at(last)];
        }
    }
    return diagonal;
}

}  // namespace qlx::quad
