// A linear model under construction: the model's columns and rows, and what constructs add to them.
#pragma once

#include <vector>

#include "engine/constructs/propagation.hpp"
#include "engine/data/model.hpp"
#include "engine/lp/lp_kernel.hpp"

namespace qlx {

class Builder {
  public:
    explicit Builder(Model& source);

    [[nodiscard]] Model& source() noexcept { return source_; }
    [[nodiscard]] double lower(int col) const { return out_.lower[at(col)]; }
    [[nodiscard]] double upper(int col) const { return out_.upper[at(col)]; }
    void set_bounds(int col, double lower, double upper);
    void set_integer(int col) { out_.integer[at(col)] = 1; }
    [[nodiscard]] bool is_binary(int col) const;

    // Bounds of the model's columns as stated, and tightened by propagation on first use.
    [[nodiscard]] const BoundVectors& stated();
    [[nodiscard]] const BoundVectors& implied();
    // Bounds to serve as coefficients: stated ones, beyond 1000 implied ones where those are
    // nearer to 0.
    [[nodiscard]] double least(int col);
    [[nodiscard]] double most(int col);

    int add_column(double lower, double upper, bool integer);
    int add_binary() { return add_column(0, 1, true); }
    // lower <= sum of value * column <= upper; entries with value 0 are left out.
    void add_row(double lower, double upper, const std::vector<Entry>& entries);
    // Adds a coefficient to a row of the model.
    void add_coefficient(int row, int col, double value);
    void set_sides(int row, Sides sides);

    // Hands the finished model over.
    [[nodiscard]] KernelModel take();

  private:
    void round_integer_bounds() noexcept;

    Model& source_;
    KernelModel out_;
    RowMatrix matrix_;
    BoundVectors stated_;
    BoundVectors implied_;
};

}  // namespace qlx
