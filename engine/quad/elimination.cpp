// Structure of the sparse factor: ordering, elimination tree, supernodes.
#include <Eigen/OrderingMethods>
#include <Eigen/SparseCore>
#include <algorithm>
#include <cstddef>
#include <limits>

#include "engine/base/index.hpp"
#include "engine/quad/sparse_factor.hpp"

namespace qlx::quad {

std::vector<int> minimum_degree(const SparseColumns& upper) {
    using Matrix = Eigen::SparseMatrix<double, Eigen::ColMajor, int>;
    // Eigen takes a column without a diagonal entry for a dense one, so every column gets one.
    std::vector<int> start{0};
    std::vector<int> row;
    start.reserve(at(upper.columns) + 1);
    row.reserve(upper.index.size() + at(upper.columns));
    for (int j = 0; j < upper.columns; ++j) {
        for (int k = upper.start[at(j)]; k < upper.start[at(j) + 1]; ++k) {
            if (upper.index[at(k)] != j) row.push_back(upper.index[at(k)]);
        }
        row.push_back(j);
        start.push_back(static_cast<int>(row.size()));
    }
    const std::vector<double> ones(row.size(), 1.0);
    const Eigen::Map<const Matrix> view(upper.columns, upper.columns, start.back(), start.data(),
                                        row.data(), ones.data());
    Eigen::PermutationMatrix<Eigen::Dynamic, Eigen::Dynamic, int> order;
    Eigen::AMDOrdering<int>()(view.selfadjointView<Eigen::Upper>(), order);
    return {order.indices().data(), order.indices().data() + order.indices().size()};
}

namespace {

// Wider supernodes are split, so that the work on a panel's own columns stays small beside the
// matrix products between panels.
constexpr int kWidestSupernode = 48;

// Parents in the elimination tree (Liu 1990) of the matrix permuted by `position`.
std::vector<int> elimination_tree(const std::vector<int>& start, const std::vector<int>& row,
                                  int order) {
    std::vector<int> parent(at(order), -1);
    std::vector<int> ancestor(at(order), -1);
    for (int j = 0; j < order; ++j) {
        for (int k = start[at(j)]; k < start[at(j) + 1]; ++k) {
            for (int i = row[at(k)]; i != -1 && i < j;) {
                const int next = ancestor[at(i)];
                ancestor[at(i)] = j;
                if (next == -1) parent[at(i)] = j;
                i = next;
            }
        }
    }
    return parent;
}

// The old position at each new one, children before parents and every subtree contiguous.
std::vector<int> postorder(const std::vector<int>& parent) {
    const int order = static_cast<int>(parent.size());
    std::vector<int> first_child(at(order), -1);
    std::vector<int> sibling(at(order), -1);
    for (int j = order - 1; j >= 0; --j) {
        if (parent[at(j)] < 0) continue;
        sibling[at(j)] = first_child[at(parent[at(j)])];
        first_child[at(parent[at(j)])] = j;
    }
    std::vector<int> out;
    out.reserve(at(order));
    std::vector<int> stack;
    for (int root = 0; root < order; ++root) {
        if (parent[at(root)] >= 0) continue;
        stack.push_back(root);
        while (!stack.empty()) {
            const int j = stack.back();
            if (first_child[at(j)] >= 0) {
                stack.push_back(first_child[at(j)]);
                first_child[at(j)] = sibling[at(first_child[at(j)])];
            } else {
                out.push_back(j);
                stack.pop_back();
            }
        }
    }
    return out;
}

// The strict upper triangle of the permuted matrix, by columns.
void permuted_upper(const SparseColumns& upper, const std::vector<int>& position,
                    std::vector<int>& start, std::vector<int>& row) {
    start.assign(at(upper.columns) + 1, 0);
    row.resize(at(upper.entries()));
    auto visit = [&](auto&& act) {
        for (int j = 0; j < upper.columns; ++j) {
            for (int k = upper.start[at(j)]; k < upper.start[at(j) + 1]; ++k) {
                const int a = position[at(upper.index[at(k)])];
                const int b = position[at(j)];
                if (a != b) act(std::min(a, b), std::max(a, b));
            }
        }
    };
    visit([&](int, int column) { ++start[at(column) + 1]; });
    for (int j = 0; j < upper.columns; ++j) start[at(j) + 1] += start[at(j)];
    std::vector<int> next(start.begin(), start.end() - 1);
    visit([&](int i, int column) { row[at(next[at(column)]++)] = i; });
}

}  // namespace

void SparseFactor::set_order(const SparseColumns& upper) {
    order_ = upper.columns;
    column_at_ = minimum_degree(upper);
    position_.resize(at(order_));
    for (int p = 0; p < order_; ++p) position_[at(column_at_[at(p)])] = p;
}

bool SparseFactor::count_columns(const SparseColumns& upper, std::int64_t fill_limit) {
    std::vector<int> start;
    std::vector<int> row;
    permuted_upper(upper, position_, start, row);
    std::vector<int> parent = elimination_tree(start, row, order_);
    const std::vector<int> sequence = postorder(parent);
    std::vector<int> renamed(at(order_));
    for (int p = 0; p < order_; ++p) renamed[at(sequence[at(p)])] = p;
    std::vector<int> column_at(at(order_));
    parent_.assign(at(order_), -1);
    for (int p = 0; p < order_; ++p) {
        const int old = sequence[at(p)];
        column_at[at(p)] = column_at_[at(old)];
        if (parent[at(old)] >= 0) parent_[at(p)] = renamed[at(parent[at(old)])];
    }
    column_at_ = std::move(column_at);
    for (int p = 0; p < order_; ++p) position_[at(column_at_[at(p)])] = p;

    // Every row of L is a subtree of the elimination tree: walk each once.
    count_.assign(at(order_), 1);
    std::vector<int> mark(at(order_), -1);
    fill_ = order_;
    for (int old = 0; old < order_; ++old) {
        const int j = renamed[at(old)];
        mark[at(j)] = j;
        for (int k = start[at(old)]; k < start[at(old) + 1]; ++k) {
            for (int i = renamed[at(row[at(k)])]; mark[at(i)] != j; i = parent_[at(i)]) {
                mark[at(i)] = j;
                ++count_[at(i)];
                ++fill_;
            }
        }
        if (fill_ > fill_limit) return false;
    }
    return true;
}

void SparseFactor::form_supernodes() {
    nodes_.clear();
    node_of_.resize(at(order_));
    std::int64_t panel = 0;
    int row_start = 0;
    for (int j = 0; j < order_;) {
        int end = j + 1;
        while (end < order_ && end - j < kWidestSupernode && parent_[at(end) - 1] == end &&
               count_[at(end)] == count_[at(end) - 1] - 1) {
            ++end;
        }
        const int row_count = count_[at(j)];
        for (int c = j; c < end; ++c) node_of_[at(c)] = static_cast<int>(nodes_.size());
        nodes_.push_back({j, end - j, row_count, row_start, panel});
        row_start += row_count;
        panel += static_cast<std::int64_t>(row_count) * (end - j);
        j = end;
    }
    rows_.resize(at(row_start));
    panel_.resize(static_cast<std::size_t>(panel));
}

// Rows of a panel: those of the matrix's columns and those left over by the panels that end in it.
void SparseFactor::find_rows() {
    std::vector<int> mark(at(order_), -1);
    std::vector<int> first_child(nodes_.size(), -1);
    std::vector<int> sibling(nodes_.size(), -1);
    for (int s = 0; s < static_cast<int>(nodes_.size()); ++s) {
        const Supernode& node = nodes_[at(s)];
        int* const rows = rows_.data() + node.row_start;
        int found = 0;
        auto add = [&](int row) {
            if (mark[at(row)] == s) return;
            mark[at(row)] = s;
            rows[found++] = row;
        };
        for (int c = node.first; c < node.first + node.width; ++c) add(c);
        for (int c = node.first; c < node.first + node.width; ++c) {
            for (int k = lower_start_[at(c)]; k < lower_start_[at(c) + 1]; ++k) {
                add(lower_row_[at(k)]);
            }
        }
        for (int d = first_child[at(s)]; d >= 0; d = sibling[at(d)]) {
            const Supernode& child = nodes_[at(d)];
            for (int k = child.width; k < child.row_count; ++k) {
                add(rows_[at(child.row_start + k)]);
            }
        }
        std::sort(rows + node.width, rows + found);
        if (found > node.width) {
            const int up = node_of_[at(rows[node.width])];
            sibling[at(s)] = first_child[at(up)];
            first_child[at(up)] = s;
        }
    }
}

std::int64_t SparseFactor::work() const noexcept {
    std::int64_t work = 0;
    for (const std::int64_t count : count_) work += count * count;
    return work;
}

bool SparseFactor::analyze(const SparseColumns& upper, std::int64_t fill_limit) {
    fill_limit = std::min<std::int64_t>(fill_limit, std::numeric_limits<int>::max());
    set_order(upper);
    if (!count_columns(upper, fill_limit)) return false;

    lower_start_.assign(at(order_) + 1, 0);
    lower_row_.resize(at(upper.entries()));
    lower_source_.resize(at(upper.entries()));
    auto visit = [&](auto&& act) {
        for (int j = 0; j < order_; ++j) {
            for (int k = upper.start[at(j)]; k < upper.start[at(j) + 1]; ++k) {
                const auto [low, high] =
                    std::minmax(position_[at(upper.index[at(k)])], position_[at(j)]);
                act(low, high, k);
            }
        }
    };
    visit([&](int column, int, int) { ++lower_start_[at(column) + 1]; });
    for (int j = 0; j < order_; ++j) lower_start_[at(j) + 1] += lower_start_[at(j)];
    std::vector<int> next(lower_start_.begin(), lower_start_.end() - 1);
    visit([&](int column, int row, int source) {
        const int place = next[at(column)]++;
        lower_row_[at(place)] = row;
        lower_source_[at(place)] = source;
    });
    form_supernodes();
    find_rows();
    return true;
}

}  // namespace qlx::quad
