// Units in which the rows and columns of a cone program are of about equal size.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/conic/cones.hpp"

namespace qlx::quad::conic {

// The program in new units: x = D x', s = E^-1 s', z = E z' / c, with all rows of a second-order
// cone in one unit. The units are powers of two, so that nothing is rounded.
class Equilibration {
  public:
    // Leaves the program as it is where `active` is false.
    Equilibration(const Program& program, const ConeProduct& cones, bool active);

    const Program& program() const noexcept { return scaled_; }
    std::span<const double> column() const noexcept { return column_; }  // D
    std::span<const double> row() const noexcept { return row_; }        // E
    double objective() const noexcept { return objective_; }             // c

  private:
    void balance(const ConeProduct& cones);
    void apply();

    Program scaled_;
    std::vector<double> column_;
    std::vector<double> row_;
    std::vector<double> column_size_;
    std::vector<double> row_size_;
    double objective_ = 1.0;
};

}  // namespace qlx::quad::conic
