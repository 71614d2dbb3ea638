// The entries of a sparse matrix, found by row and column.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/nlp/local_solver.hpp"

namespace qlx::nlp {

// Entries are added in any order, any number of times; positions are asked for after sort().
class EntryIndex {
  public:
    void add(int row, int column) { keys_.push_back(key(row, column)); }
    // By row, then by column, each entry once.
    void sort(int num_rows);
    [[nodiscard]] int position(int row, int column) const;
    [[nodiscard]] SparsePattern pattern() const;

  private:
    static std::uint64_t key(int row, int column) noexcept {
        return static_cast<std::uint64_t>(row) << 32 | static_cast<std::uint32_t>(column);
    }

    std::vector<std::uint64_t> keys_;
    std::vector<std::size_t> row_start_;
};

}  // namespace qlx::nlp
