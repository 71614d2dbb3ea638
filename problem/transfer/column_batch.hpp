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
    // Hands the columns to the library. Throws, and then they are still here: take_back is next.
    void send(Problem* problem);
    // Takes the variables of columns that could not be sent out of the problem again. The pending
    // exception stays.
    void take_back(Problem* problem) noexcept;

    bool empty() const noexcept { return types_.empty(); }
    bool full() const noexcept { return types_.size() >= kFullColumns; }

    // See problem/transfer/append.hpp.
    struct Mark {
        size_t columns;
        size_t limited;
        NameBatch::Mark names;
    };
    Mark mark() const noexcept { return {types_.size(), limited_.size(), names_.mark()}; }
    void rewind(const Mark& mark) noexcept;

  private:
    static constexpr size_t kFullColumns = 4096;

    int column_count() const noexcept { return static_cast<int>(types_.size()); }
    void append_column(const Variable* variable, char type);
    int hand_over(QLXprob prob);
    void clear() noexcept;

    int base_ = 0;  // index of the first pending column
    bool added_ =
        false;  // the library has the columns, though perhaps not all that belongs to them
    std::vector<char> types_;
    std::vector<double> lower_;
    std::vector<double> upper_;
    std::vector<int> limited_;  // columns of type 'S', 'R' and 'P'
    std::vector<double> limits_;
    bool all_continuous_ = true;
    NameBatch names_;
};

}  // namespace quilex
