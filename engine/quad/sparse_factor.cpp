// Numbers of the sparse factor: factorisation and solves.
#include "engine/quad/sparse_factor.hpp"
#include "engine/base/index.hpp"

#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qlx::quad {

namespace {

using Panel = Eigen::Map<Eigen::MatrixXd>;

}  // namespace

void SparseFactor::gather_columns(const Supernode& node, const SparseColumns& upper,
                                  std::span<const double> shift) {
    double* const panel = panel_.data() + node.panel;
    std::fill_n(panel, static_cast<std::size_t>(node.row_count) * at(node.width), 0.0);
    for (int i = 0; i < node.row_count; ++i) local_row_[at(rows_[at(node.row_start + i)])] = i;
    for (int c = 0; c < node.width; ++c) {
        double* const column = panel + static_cast<std::ptrdiff_t>(c) * node.row_count;
        const int j = node.first + c;
        for (int k = lower_start_[at(j)]; k < lower_start_[at(j) + 1]; ++k) {
            column[local_row_[at(lower_row_[at(k)])]] += upper.value[at(lower_source_[at(k)])];
        }
        if (!shift.empty()) column[c] += shift[at(column_at_[at(j)])];
    }
}

// Subtracts from panel `to` the product of the rows of `from` that reach into its columns: these
// begin at row number `begin` of `from`.
void SparseFactor::apply_descendant(const Supernode& from, int begin, const Supernode& to) {
    const int* const rows = rows_.data() + from.row_start;
    int end = begin;
    while (end < from.row_count && rows[end] < to.first + to.width) ++end;
    const int height = from.row_count - begin;
    const int reach = end - begin;
    const double* const source = panel_.data() + from.panel;
    double* const target = panel_.data() + to.panel;

    if (from.width == 1) {
        const double pivot = pivot_[at(from.first)];
        for (int c = 0; c < reach; ++c) {
            const double factor = source[begin + c] * pivot;
            double* const column =
                target + static_cast<std::ptrdiff_t>(rows[begin + c] - to.first) * to.row_count;
            for (int i = c; i < height; ++i) {
                column[local_row_[at(rows[begin + i])]] -= factor * source[begin + i];
            }
        }
        return;
    }
    const Eigen::Map<const Eigen::MatrixXd> full(source, from.row_count, from.width);
    const Eigen::Map<const Eigen::VectorXd> pivots(pivot_.data() + from.first, from.width);
    const std::size_t needed = at(height) * at(reach);
    if (update_.size() < needed) update_.resize(needed);
    if (scaled_.size() < at(from.width) * at(reach)) scaled_.resize(at(from.width) * at(reach));
    Panel scaled(scaled_.data(), from.width, reach);
    scaled.noalias() = pivots.asDiagonal() * full.middleRows(begin, reach).transpose();
    Panel update(update_.data(), height, reach);
    update.noalias() = full.middleRows(begin, height) * scaled;
    for (int c = 0; c < reach; ++c) {
        double* const column =
            target + static_cast<std::ptrdiff_t>(rows[begin + c] - to.first) * to.row_count;
        const double* const values = update_.data() + static_cast<std::ptrdiff_t>(c) * height;
        for (int i = c; i < height; ++i) column[local_row_[at(rows[begin + i])]] -= values[i];
    }
}

int SparseFactor::factor_panel(const Supernode& node, std::span<const signed char> sign,
                               double pivot_floor, double substitute) {
    Panel panel(panel_.data() + node.panel, node.row_count, node.width);
    weights_.resize(at(node.width));
    Eigen::Map<Eigen::VectorXd> weights(weights_.data(), node.width);
    for (int c = 0; c < node.width; ++c) {
        const int rest = node.row_count - c;
        for (int k = 0; k < c; ++k) weights[k] = panel(c, k) * pivot_[at(node.first + k)];
        if (c > 0) {
            panel.col(c).tail(rest).noalias() -= panel.block(c, 0, rest, c) * weights.head(c);
        }
        double pivot = panel(c, c);
        const int column = column_at_[at(node.first + c)];
        if (sign.empty()) {
            if (!(pivot > 0.0)) {
                pivot_[at(node.first + c)] = pivot;
                return column;
            }
        } else {
            const double wanted = sign[at(column)];
            if (!(pivot * wanted >= pivot_floor)) {
                pivot = wanted * std::max(pivot_floor, substitute);
            }
        }
        pivot_[at(node.first + c)] = pivot;
        panel.col(c).tail(rest) /= pivot;
        panel(c, c) = 1.0;
    }
    return -1;
}

int SparseFactor::factorize(const SparseColumns& upper, std::span<const double> shift,
                            std::span<const signed char> sign, double pivot_floor,
                            double substitute) {
    pivot_.assign(at(order_), 0.0);
    local_row_.assign(at(order_), 0);
    waiting_.assign(nodes_.size(), -1);
    next_.assign(nodes_.size(), -1);
    begin_.assign(nodes_.size(), 0);
    auto enqueue = [&](int s) {
        const Supernode& node = nodes_[at(s)];
        if (begin_[at(s)] == node.row_count) return;
        const int target = node_of_[at(rows_[at(node.row_start + begin_[at(s)])])];
        next_[at(s)] = waiting_[at(target)];
        waiting_[at(target)] = s;
    };
    for (int s = 0; s < static_cast<int>(nodes_.size()); ++s) {
        const Supernode& node = nodes_[at(s)];
        gather_columns(node, upper, shift);
        for (int d = waiting_[at(s)]; d >= 0;) {
            const Supernode& from = nodes_[at(d)];
            const int following = next_[at(d)];
            apply_descendant(from, begin_[at(d)], node);
            while (begin_[at(d)] < from.row_count &&
                   rows_[at(from.row_start + begin_[at(d)])] < node.first + node.width) {
                ++begin_[at(d)];
            }
            enqueue(d);
            d = following;
        }
        const int failed = factor_panel(node, sign, pivot_floor, substitute);
        if (failed >= 0) return failed;
        begin_[at(s)] = node.width;
        enqueue(s);
    }
    return -1;
}

void SparseFactor::solve(std::span<double> x) {
    permuted_.resize(at(order_));
    std::vector<double>& y = permuted_;
    for (int p = 0; p < order_; ++p) y[at(p)] = x[at(column_at_[at(p)])];
    for (const Supernode& node : nodes_) {
        const int* const rows = rows_.data() + node.row_start;
        for (int c = 0; c < node.width; ++c) {
            const double* const column =
                panel_.data() + node.panel + static_cast<std::ptrdiff_t>(c) * node.row_count;
            const double factor = y[at(node.first + c)];
            if (factor == 0.0) continue;
            for (int i = c + 1; i < node.row_count; ++i) y[at(rows[i])] -= factor * column[i];
        }
    }
    for (int p = 0; p < order_; ++p) y[at(p)] /= pivot_[at(p)];
    for (auto node = nodes_.crbegin(); node != nodes_.rend(); ++node) {
        const int* const rows = rows_.data() + node->row_start;
        for (int c = node->width - 1; c >= 0; --c) {
            const double* const column =
                panel_.data() + node->panel + static_cast<std::ptrdiff_t>(c) * node->row_count;
            double sum = 0.0;
            for (int i = c + 1; i < node->row_count; ++i) sum += column[i] * y[at(rows[i])];
            y[at(node->first + c)] -= sum;
        }
    }
    for (int p = 0; p < order_; ++p) x[at(column_at_[at(p)])] = y[at(p)];
}

std::vector<double> SparseFactor::pivot_direction(int column) const {
    const int last = position_[at(column)];
    std::vector<double> y(at(order_), 0.0);
    y[at(last)] = 1.0;
    for (int j = last - 1; j >= 0; --j) {
        const Supernode& node = nodes_[at(node_of_[at(j)])];
        const int c = j - node.first;
        const int* const rows = rows_.data() + node.row_start;
        const double* const entries =
            panel_.data() + node.panel + static_cast<std::ptrdiff_t>(c) * node.row_count;
        double sum = 0.0;
        for (int i = c + 1; i < node.row_count && rows[i] <= last; ++i) {
            sum += entries[i] * y[at(rows[i])];
        }
        y[at(j)] = -sum;
    }
    std::vector<double> direction(at(order_));
    for (int p = 0; p < order_; ++p) direction[at(column_at_[at(p)])] = y[at(p)];
    return direction;
}

}  // namespace qlx::quad
