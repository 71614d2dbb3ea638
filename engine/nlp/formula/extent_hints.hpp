// What the tokens still to come tell about how many values a user function takes.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace qlx {

// Counts over all tokens of a formula in which every user function whose extent is not stated takes
// one value, save right after a marker, where it takes none and that marker.
class ExtentHints {
  public:
    // `inputs` as FormulaSymbols::inputs. Reads up to the closing token or `limit` tokens.
    void build(const int* type, const double* value, std::int64_t limit,
               std::span<const int> inputs);
    void clear() noexcept { after_.clear(); }
    [[nodiscard]] bool built() const noexcept { return !after_.empty(); }
    [[nodiscard]] std::int64_t length() const noexcept {
        return static_cast<std::int64_t>(after_.size());
    }

    // How many of the markers open after a token the functions that follow need.
    [[nodiscard]] std::int64_t markers_needed_after(std::int64_t position) const;
    // Whether the first of those functions finds as many values as it takes above the topmost
    // marker, when there are `values` of them after this token.
    [[nodiscard]] bool next_function_fits(std::int64_t position, std::int64_t values) const;

  private:
    // After a token.
    struct After {
        std::int64_t needed;  // markers
        std::int64_t next;    // the first function that needs one of them; -1: none
        std::int64_t values;  // on the stack
    };
    std::vector<After> after_;
    std::vector<std::int64_t> takes_;  // values, by token; -1: it needs no marker
};

}  // namespace qlx
