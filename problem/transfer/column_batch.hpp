// The pending batch of columns: variables collected by addVariable, sent to the library together.
#pragma once

#include "model/var.hpp"
#include "problem/transfer/name_batch.hpp"

namespace quilex {

class ColumnBatch {
  public:
    // Checks a variable, enters it in the problem's list and map and appends its column. Throws,
    // and then nothing has changed.
    void collect(Problem* problem, PyObject* object);
    // Hands the columns to the library. Where that fails, takes their variables out of the problem
    // again and throws.
    void flush(Problem* problem);

    bool empty() const noexcept { return types_.empty(); }
    bool full() const noexcept { return types_.size() >= kFullColumns; }

  private:
    static constexpr size_t kFullColumns = 4096;

    int column_count() const noexcept { return static_cast<int>(types_.size()); }
    void append_column(const Variable* variable, char type);
    void drop_columns_from(size_t column) noexcept;
    int send(QLXprob prob, bool* added) const;
    void undo(Problem* problem, bool added) noexcept;

    int base_ = 0;  // index of the first pending column
    std::vector<char> types_;
    std::vector<double> lower_;
    std::vector<double> upper_;
    std::vector<int> limited_;  // columns of type 'S', 'R' and 'P'
    std::vector<double> limits_;
    bool all_continuous_ = true;
    NameBatch names_;
};

}  // namespace quilex
