// The model's matrix: compressed rows, with changes that wait to be merged in.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace qlx {

// One entry of a matrix.
struct Entry {
    int row;
    int col;
    double value;
};

// Rows are appended whole. Entries set in existing rows wait in a list until rows are read; an
// entry set to 0 is gone.
class RowMatrix {
  public:
    [[nodiscard]] int num_rows() const noexcept { return static_cast<int>(start_.size()) - 1; }
    // Rows, columns and values below are read through these after settle().
    [[nodiscard]] std::int64_t num_entries() { return settle(), start_.back(); }
    [[nodiscard]] const std::vector<std::int64_t>& starts() { return settle(), start_; }
    [[nodiscard]] const std::vector<int>& columns() { return settle(), column_; }
    [[nodiscard]] const std::vector<double>& values() { return settle(), value_; }
    [[nodiscard]] std::span<const int> row_columns(int row);
    [[nodiscard]] std::span<const double> row_values(int row);
    [[nodiscard]] double at(int row, int col);

    // Appends rows; start has num_rows + 1 entries and may begin anywhere in the two arrays.
    void append_rows(int num_rows, const std::int64_t* start, const int* columns,
                     const double* values);
    void append_empty_rows(int num_rows);
    void set(int row, int col, double value);
    // Sets an entry that is known not to be there.
    void set_new(int row, int col, double value) { waiting_.push_back({row, col, value}); }
    // new_index[i] is row or column i's new number, -1 when it goes.
    void delete_rows(const std::vector<int>& new_index);
    void delete_columns(const std::vector<int>& new_index);
    void clear();
    // Replaces the whole matrix by one given by columns; count null: start has num_cols + 1
    // entries.
    template <class Start>
    void assign_columns(int num_rows, int num_cols, const Start* start, const int* count,
                        const int* rows, const double* values);

    // Merges waiting entries; the order within a row stays, new ones come last.
    void settle() {
        if (!waiting_.empty()) merge_waiting();
    }

  private:
    void merge_waiting();
    void sort_waiting();

    std::vector<std::int64_t> start_ = {0};
    std::vector<int> column_;
    std::vector<double> value_;
    std::vector<Entry> waiting_;
};

template <class Start>
void RowMatrix::assign_columns(int num_rows, int num_cols, const Start* start, const int* count,
                               const int* rows, const double* values) {
    clear();
    start_.assign(static_cast<std::size_t>(num_rows) + 1, 0);
    const auto last = [&](int col) {
        return count == nullptr ? static_cast<std::int64_t>(start[col + 1])
                                : static_cast<std::int64_t>(start[col]) + count[col];
    };
    if (start == nullptr) return;
    for (int col = 0; col < num_cols; ++col)
        for (std::int64_t k = start[col]; k < last(col); ++k)
            if (values[k] != 0) ++start_[static_cast<std::size_t>(rows[k]) + 1];
    for (std::size_t row = 0; row < static_cast<std::size_t>(num_rows); ++row)
        start_[row + 1] += start_[row];
    column_.resize(static_cast<std::size_t>(start_.back()));
    value_.resize(column_.size());
    std::vector<std::int64_t> place(start_.begin(), start_.end() - 1);
    for (int col = 0; col < num_cols; ++col) {
        for (std::int64_t k = start[col]; k < last(col); ++k) {
            if (values[k] == 0) continue;
            const auto at = static_cast<std::size_t>(place[static_cast<std::size_t>(rows[k])]++);
            column_[at] = col;
            value_[at] = values[k];
        }
    }
}

}  // namespace qlx
