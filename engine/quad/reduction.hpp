// Presolve of a quadratic program: fixed columns, empty and singleton rows, free empty columns.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/convex_program.hpp"

namespace qlx::quad {

class Reduction {
  public:
    // Returns false where the model has no feasible point; place() says where. The columns `held`
    // belong to other rows than the model's, so their cost alone does not settle them.
    bool reduce(const QuadraticModel& model, std::span<const int> held = {});

    const QuadraticModel& reduced() const noexcept { return reduced_; }
    const ModelPlace& place() const noexcept { return place_; }

    // Bounds of all columns, tightened by the rows that are gone.
    const std::vector<double>& column_lower() const noexcept { return lower_; }
    const std::vector<double>& column_upper() const noexcept { return upper_; }

    // The model's columns and rows that the reduced one keeps, in its order.
    const std::vector<int>& kept_columns() const noexcept { return kept_columns_; }
    const std::vector<int>& kept_rows() const noexcept { return kept_rows_; }

    // Values of all columns and duals of all rows from those of the reduced model. `normals`, if
    // given, is what other rows contribute to the gradient's balance, one value a column.
    std::vector<double> restore_columns(std::span<const double> x) const;
    std::vector<double> restore_duals(std::span<const double> x, std::span<const double> y,
                                      std::span<const double> normals = {}) const;

  private:
    // A row with one column left in it, turned into bounds of that column.
    struct SingletonRow {
        int row;
        int column;
        double coefficient;
        bool tightened_lower;
        bool tightened_upper;
    };

    bool fix_column(int j);
    bool reduce_row(int i);
    bool tighten(int i, int j, double coefficient, double fixed_part);
    bool cross_check(int j);
    void settle_empty_columns(std::span<const int> held);
    void build();

    const QuadraticModel* model_ = nullptr;
    SparseColumns by_row_;
    std::vector<double> lower_;
    std::vector<double> upper_;
    std::vector<bool> is_fixed_;
    std::vector<double> fixed_value_;
    std::vector<int> left_in_row_;  // columns not fixed; -1 where the row is gone
    std::vector<int> work_;         // rows to look at
    std::vector<SingletonRow> singletons_;
    std::vector<int> kept_columns_;
    std::vector<int> kept_rows_;
    QuadraticModel reduced_;
    ModelPlace place_;
};

}  // namespace qlx::quad
