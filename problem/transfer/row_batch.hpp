// The pending batch of rows: constraints collected by addConstraint, sent to the library together.
#pragma once

#include "model/constraint.hpp"
#include "model/expression.hpp"
#include "problem/transfer/name_batch.hpp"
#include "problem/transfer/row_entries.hpp"
#include "problem/transfer/row_side.hpp"

namespace quilex {

class RowBatch {
  public:
    // Checks a constraint, enters it in the problem's list and map and appends its row. Throws, and
    // then nothing has changed.
    void collect(Problem* problem, PyObject* object);
    // Hands the rows to the library. Throws, and then they are still here: take_back is next.
    void send(Problem* problem);
    // Takes the constraints of rows that could not be sent out of the problem again, with their
    // bodies. The pending exception stays.
    void take_back(Problem* problem) noexcept;

    // Whether a row of the problem is still here; fills a new body with its entries.
    bool holds(int row) const noexcept { return row >= base_ && row - base_ < row_count(); }
    void fill_body_of(Expression* body, const Problem* problem, int row) const;

    bool empty() const noexcept { return types_.empty(); }
    // Large enough to be sent: keeps the arrays in the cache and the memory small.
    bool full() const noexcept {
        return types_.size() >= kFullRows || entries_.columns.size() >= kFullEntries ||
               entries_.formulas.token_count() >= kFullTokens;
    }

    // See problem/transfer/append.hpp.
    struct Mark {
        size_t rows;
        RowEntries::Mark entries;
        NameBatch::Mark names;
    };
    Mark mark() const noexcept { return {types_.size(), entries_.mark(), names_.mark()}; }
    void rewind(const Mark& mark) noexcept;

  private:
    static constexpr size_t kFullRows = 1024;
    static constexpr size_t kFullEntries = 65536;
    static constexpr size_t kFullTokens = 65536;

    RowSide side(size_t row) const noexcept { return {types_[row], rhs_[row], ranges_[row]}; }
    int row_count() const noexcept { return static_cast<int>(types_.size()); }
    void append_row(const Problem* problem, Constraint* constraint, PyObject* body);
    void drop_rows_from(size_t row) noexcept;
    int hand_over(Problem* problem);
    int hand_over_products(QLXprob prob) const;
    void clear() noexcept;

    int base_ = 0;        // index of the first pending row
    bool added_ = false;  // the library has the rows, though perhaps not all that belongs to them
    RowEntries entries_;
    std::vector<char> types_;
    std::vector<double> rhs_;
    std::vector<double> ranges_;
    std::vector<int64_t> starts_ = {0};
    std::vector<int64_t> quadratic_starts_ = {0};
    NameBatch names_;
};

}  // namespace quilex
