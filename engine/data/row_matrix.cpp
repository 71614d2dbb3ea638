// Compressed rows: appending, setting, deleting.
#include "engine/data/row_matrix.hpp"

#include "engine/data/growth.hpp"

#include <algorithm>

namespace qlx {

namespace {
std::size_t slot(std::int64_t index) {
    return static_cast<std::size_t>(index);
}
}  // namespace

std::span<const int> RowMatrix::row_columns(int row) {
    settle();
    const auto first = start_[slot(row)];
    return {column_.data() + first, slot(start_[slot(row) + 1] - first)};
}

std::span<const double> RowMatrix::row_values(int row) {
    settle();
    const auto first = start_[slot(row)];
    return {value_.data() + first, slot(start_[slot(row) + 1] - first)};
}

double RowMatrix::at(int row, int col) {
    const auto columns = row_columns(row);
    const auto found = std::find(columns.begin(), columns.end(), col);
    return found == columns.end() ? 0.0 : row_values(row)[slot(found - columns.begin())];
}

void RowMatrix::append_rows(int num_rows, const std::int64_t* start, const int* columns,
                            const double* values) {
    const std::int64_t first = start[0];
    const std::int64_t count = start[num_rows] - first;
    const std::int64_t shift = start_.back() - first;
    make_room(column_, slot(count));
    make_room(value_, slot(count));
    make_room(start_, slot(num_rows));
    bool zeros = false;
    for (std::int64_t k = first; k < first + count; ++k) zeros |= values[k] == 0;
    if (!zeros) {
        column_.insert(column_.end(), columns + first, columns + first + count);
        value_.insert(value_.end(), values + first, values + first + count);
        for (int row = 1; row <= num_rows; ++row) start_.push_back(start[row] + shift);
        return;
    }
    for (int row = 0; row < num_rows; ++row) {
        for (std::int64_t k = start[row]; k < start[row + 1]; ++k) {
            if (values[k] == 0) continue;
            column_.push_back(columns[k]);
            value_.push_back(values[k]);
        }
        start_.push_back(static_cast<std::int64_t>(column_.size()));
    }
}

void RowMatrix::append_empty_rows(int num_rows) {
    start_.resize(start_.size() + slot(num_rows), start_.back());
}

void RowMatrix::set(int row, int col, double value) {
    const auto first = column_.begin() + start_[slot(row)];
    const auto last = column_.begin() + start_[slot(row) + 1];
    const auto found = std::find(first, last, col);
    if (found != last && value != 0) {
        // A waiting change of the same entry (to 0) must not win over this one.
        value_[slot(found - column_.begin())] = value;
        if (waiting_.empty()) return;
    }
    waiting_.push_back({row, col, value});
}

// Sorts by row and column and keeps the last of each.
void RowMatrix::sort_waiting() {
    const auto before = [](const Entry& a, const Entry& b) {
        return a.row != b.row ? a.row < b.row : a.col < b.col;
    };
    std::stable_sort(waiting_.begin(), waiting_.end(), before);
    std::size_t kept = 0;
    for (std::size_t k = 0; k < waiting_.size(); ++k) {
        const bool last = k + 1 == waiting_.size() || before(waiting_[k], waiting_[k + 1]);
        if (last) waiting_[kept++] = waiting_[k];
    }
    waiting_.resize(kept);
}

void RowMatrix::merge_waiting() {
    sort_waiting();
    std::vector<int> columns;
    std::vector<double> values;
    columns.reserve(column_.size() + waiting_.size());
    values.reserve(columns.capacity());
    std::vector<std::int64_t> starts = {0};
    starts.reserve(start_.size());
    std::vector<char> used;
    std::size_t next = 0;
    for (int row = 0; row < num_rows(); ++row) {
        const std::size_t begin = next;
        while (next < waiting_.size() && waiting_[next].row == row) ++next;
        used.assign(next - begin, 0);
        for (auto k = start_[slot(row)]; k < start_[slot(row) + 1]; ++k) {
            double value = value_[slot(k)];
            const auto change = std::lower_bound(
                waiting_.begin() + static_cast<std::ptrdiff_t>(begin),
                waiting_.begin() + static_cast<std::ptrdiff_t>(next), column_[slot(k)],
                [](const Entry& entry, int col) { return entry.col < col; });
            const auto place = slot(change - waiting_.begin());
            if (place < next && change->col == column_[slot(k)]) {
                value = change->value;
                used[place - begin] = 1;
            }
            if (value == 0) continue;
            columns.push_back(column_[slot(k)]);
            values.push_back(value);
        }
        for (std::size_t k = begin; k < next; ++k) {
            if (used[k - begin] != 0 || waiting_[k].value == 0) continue;
            columns.push_back(waiting_[k].col);
            values.push_back(waiting_[k].value);
        }
        starts.push_back(static_cast<std::int64_t>(columns.size()));
    }
    start_.swap(starts);
    column_.swap(columns);
    value_.swap(values);
    waiting_.clear();
}

void RowMatrix::delete_rows(const std::vector<int>& new_index) {
    settle();
    std::size_t kept = 0;
    std::int64_t filled = 0;
    for (std::size_t row = 0; row < new_index.size(); ++row) {
        const auto first = start_[row];
        const auto last = start_[row + 1];
        if (new_index[row] < 0) continue;
        std::copy(column_.begin() + first, column_.begin() + last, column_.begin() + filled);
        std::copy(value_.begin() + first, value_.begin() + last, value_.begin() + filled);
        start_[kept++] = filled;
        filled += last - first;
    }
    start_.resize(kept + 1);
    start_[kept] = filled;
    column_.resize(slot(filled));
    value_.resize(slot(filled));
}

void RowMatrix::delete_columns(const std::vector<int>& new_index) {
    settle();
    std::int64_t filled = 0;
    std::int64_t first = 0;
    for (std::size_t row = 0; row + 1 < start_.size(); ++row) {
        const auto last = start_[row + 1];
        for (auto k = first; k < last; ++k) {
            const int index = new_index[slot(column_[slot(k)])];
            if (index < 0) continue;
            column_[slot(filled)] = index;
            value_[slot(filled++)] = value_[slot(k)];
        }
        first = last;
        start_[row + 1] = filled;
    }
    column_.resize(slot(filled));
    value_.resize(slot(filled));
}

void RowMatrix::clear() {
    start_.assign(1, 0);
    column_.clear();
    value_.clear();
    waiting_.clear();
}

}  // namespace qlx
