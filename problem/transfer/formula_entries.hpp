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

    // Enters the row's index in its coefficients.
    void end_row(int row) { rows.resize(columns.size(), row); }
    void clear() noexcept {
        if (types.capacity() > kKeptTokens) {
            types = {};
            values = {};
        }
        rewind(Mark{0});
    }

    // See problem/transfer/append.hpp.
    struct Mark {
        std::size_t coefficients;
    };
    Mark mark() const noexcept { return {columns.size()}; }
    void rewind(const Mark& mark) noexcept {
        rows.resize(mark.coefficients);
        columns.resize(mark.coefficients);
        factors.resize(mark.coefficients);
        starts.resize(mark.coefficients + 1);
        types.resize(static_cast<std::size_t>(starts.back()));
        values.resize(static_cast<std::size_t>(starts.back()));
    }

  private:
    static constexpr std::size_t kKeptTokens = 1 << 20;
};

}  // namespace quilex
