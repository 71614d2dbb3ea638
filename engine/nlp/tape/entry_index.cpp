// The entries of a sparse matrix, found by row and column.
#include "engine/nlp/tape/entry_index.hpp"

#include <algorithm>

#include "engine/base/index.hpp"

namespace qlx::nlp {

void EntryIndex::sort(int num_rows) {
    std::sort(keys_.begin(), keys_.end());
    keys_.erase(std::unique(keys_.begin(), keys_.end()), keys_.end());
    row_start_.assign(at(num_rows) + 1, 0);
    for (const std::uint64_t key : keys_) ++row_start_[static_cast<std::size_t>(key >> 32) + 1];
    for (std::size_t row = 0; row < at(num_rows); ++row) row_start_[row + 1] += row_start_[row];
}

int EntryIndex::position(int row, int column) const {
    const auto first = keys_.begin() + static_cast<std::ptrdiff_t>(row_start_[at(row)]);
    const auto last = keys_.begin() + static_cast<std::ptrdiff_t>(row_start_[at(row) + 1]);
    return static_cast<int>(std::lower_bound(first, last, key(row, column)) - keys_.begin());
}

SparsePattern EntryIndex::pattern() const {
    SparsePattern pattern;
    pattern.rows.reserve(keys_.size());
    pattern.columns.reserve(keys_.size());
    for (const std::uint64_t key : keys_) {
        pattern.rows.push_back(static_cast<int>(key >> 32));
        pattern.columns.push_back(static_cast<int>(key & 0xffffffffU));
    }
    return pattern;
}

}  // namespace qlx::nlp
