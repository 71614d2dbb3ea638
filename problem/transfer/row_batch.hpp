// The pending batch of rows: constraints collected by addConstraint, sent to the library together.
#pragma once

#include "model/constraint.hpp"
#include "problem/transfer/name_batch.hpp"
#include "problem/transfer/row_entries.hpp"
#include "problem/transfer/row_side.hpp"

namespace quilex {

class RowBatch {
  public:
    // Checks a constraint, enters it in the problem's list and map and appends its row. Throws, and
    // then nothing has changed.
    void collect(Problem* problem, PyObject* object);
    // Hands the rows to the library. Where that fails, takes their constraints out of the problem
    // again and throws.
    void flush(Problem* problem);

    bool empty() const noexcept { return types_.empty(); }
    // Large enough to be sent: keeps the arrays in the cache and the memory small.
    bool full() const noexcept {
        return types_.size() >= kFullRows || entries_.columns.size() >= kFullEntries ||
               entries_.formulas.token_count() >= kFullTokens;
    }

  private:
    static constexpr size_t kFullRows = 1024;
    static constexpr size_t kFullEntries = 65536;
    static constexpr size_t kFullTokens = 65536;

    RowSide side(size_t row) const noexcept { return {types_[row], rhs_[row], ranges_[row]}; }
    int row_count() const noexcept { return static_cast<int>(types_.size()); }
    void append_row(const Problem* problem, Constraint* constraint);
    void drop_rows_from(size_t row) noexcept;
    int send(Problem* problem, bool* added) const;
    int send_quadratic(QLXprob prob) const;
    void undo(Problem* problem, bool added) noexcept;
    void restore_pending_bodies(Problem* problem) const;

    int base_ = 0;  // index of the first pending row
    RowEntries entries_;
    std::vector<char> types_;
    std::vector<double> rhs_;
    std::vector<double> ranges_;
    std::vector<int64_t> starts_ = {0};
    std::vector<int64_t> quadratic_starts_ = {0};
    NameBatch names_;
};

}  // namespace quilex
