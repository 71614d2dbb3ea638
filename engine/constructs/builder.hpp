// A linear model under construction: the model's columns and rows, and what constructs add to them.
#pragma once

#include <vector>

#include "engine/constructs/propagation.hpp"
#include "engine/data/model.hpp"
#include "engine/lp/lp_kernel.hpp"

namespace qlx {

class Builder {
  public:
    Builder(Model& source, double largest_bound);

    [[nodiscard]] Model& source() noexcept { return source_; }
    [[nodiscard]] double lower(int col) const { return out_.lower[static_cast<std::size_t>(col)]; }
    [[nodiscard]] double upper(int col) const { return out_.upper[static_cast<std::size_t>(col)]; }
    void set_bounds(int col, double lower, double upper);
    void set_integer(int col) { out_.integer[static_cast<std::size_t>(col)] = 1; }
    [[nodiscard]] bool is_binary(int col) const;

    // Bounds of the model's columns as stated, and tightened by propagation on first use.
    [[nodiscard]] const BoundVectors& stated();
    [[nodiscard]] const BoundVectors& implied();
    // A finite bound of at most the largest allowed one. Throws Error naming column and purpose.
    [[nodiscard]] double finite_lower(int col, const char* purpose);
    [[nodiscard]] double finite_upper(int col, const char* purpose);

    int add_column(double lower, double upper, bool integer);
    int add_binary() { return add_column(0, 1, true); }
    // lower <= sum of value * column <= upper; entries with value 0 are left out.
    void add_row(double lower, double upper, const std::vector<Entry>& entries);
    // Adds a coefficient to a row of the model.
    void add_coefficient(int row, int col, double value);
    void set_sides(int row, Sides sides);
    [[nodiscard]] RowMatrix& matrix() noexcept { return matrix_; }
    [[nodiscard]] double largest_bound() const noexcept { return largest_bound_; }

    // Hands the finished model over.
    [[nodiscard]] KernelModel take();

  private:
    void round_integer_bounds() noexcept;

    Model& source_;
    double largest_bound_;
    KernelModel out_;
    RowMatrix matrix_;
    BoundVectors stated_;
    BoundVectors implied_;
};

// One file per construct; each adds what states it. The order does not matter.
void state_semicontinuous(Builder& builder);
void state_partial_integers(Builder& builder);
void state_ordered_sets(Builder& builder);
void state_indicators(Builder& builder);

}  // namespace qlx
