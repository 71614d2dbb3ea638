// The nonlinear coefficients of bodies, row after row, as the library takes them: each adds
// factor * column * formula to its row.
#pragma once

#include <cstddef>

#include <vector>

namespace quilex {

class FormulaEntries {
  public:
    // Of each coefficient: row (entered when the row ends), column (-1: none) and factor; its
    // tokens are starts[k] .. starts[k + 1] - 1, the closing one included.
    std::vector<int> rows;
    std::vector<int> columns;
    std::vector<double> factors;
    std::vector<int> starts = {0};
    std::vector<int> types;
    std::vector<double> values;

    int count() const noexcept { return static_cast<int>(columns.size()); }
    bool empty() const noexcept { return columns.empty(); }
    std::size_t token_count() const noexcept { return types.size(); }

    void add_token(int type, double value) {
        types.push_back(type);
        values.push_back(value);
    }

    void begin_row() noexcept { row_start_ = columns.size(); }
    // Enters the row's index in its coefficients.
    void end_row(int row) { rows.resize(columns.size(), row); }
    // Drops the coefficients of the row under construction, complete or not.
    void abandon_row() noexcept {
        rows.resize(row_start_);
        columns.resize(row_start_);
        factors.resize(row_start_);
        starts.resize(row_start_ + 1);
        types.resize(static_cast<std::size_t>(starts.back()));
        values.resize(static_cast<std::size_t>(starts.back()));
    }
    void clear() noexcept {
        row_start_ = 0;
        if (types.capacity() > kKeptTokens) {
            types = {};
            values = {};
        }
        abandon_row();
    }

  private:
    static constexpr std::size_t kKeptTokens = 1 << 20;

    std::size_t row_start_ = 0;
};

}  // namespace quilex
