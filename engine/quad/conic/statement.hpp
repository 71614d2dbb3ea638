// A program with ellipsoids and cones, stated as a cone program, and the way back.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/barrier_problem.hpp"
#include "engine/quad/conic/program.hpp"

namespace qlx::quad::conic {

// Equations become a zero cone, other sides and bounds a nonnegative one, each convex row a
// second-order cone. With F'F = Q and w from completing the square, 1/2 x'Qx + a'x <= u is
//   |Fx - w| <= radius                          where F'w = -a, and else
//   |(Fx - w, v / c - c / 2)| <= v / c + c / 2  with v = u + |w|^2 / 2 - (a + F'w)'x, c > 0;
// c is best near sqrt(2v), which a point near the optimum tells.
class Statement {
  public:
    // `near` may be empty, or a point near the optimum. `source` has to outlive the statement.
    explicit Statement(const ConeProgram& source, std::span<const double> near = {});

    const Program& program() const noexcept { return program_; }

    // Duals of the source's linear rows, in the signs of convex_program.hpp.
    std::vector<double> row_duals(std::span<const double> z) const;
    // What a convex row's cone contributes to the balance of the columns, in those signs.
    std::vector<double> normals(std::size_t row, std::span<const double> z) const;
    // A convex row's multiplier, at least 0: of an ellipsoid as a quadratic function, of a cone as
    // seminorm minus axis.
    double multiplier(std::size_t row, std::span<const double> z) const;
    // The linear row, or after them the convex one, that has the largest part in a proof of
    // infeasibility; -1 where bounds have.
    int largest_part(std::span<const double> z) const;

  private:
    struct Side {
        int row;      // linear row or, with `is_bound`, column
        double sign;  // of the side in the program's rows
        bool is_bound;
    };
    struct ConeRow {
        int first;  // row of the program
        int size;
        double scale;  // multiplier = scale * z_first, plus z_last where `rotated`
        bool rotated;
    };
    void add_sides(bool equations);
    void add_side(int row, double sign, double level, bool is_bound);
    void add_cone(const ConvexRow& row);
    void add_ellipsoid(const ConvexRow& row, std::span<const double> near);
    void add_square(const ConvexRow& row, const SparseColumns& factor,
                    std::span<const double> level);
    void add_entry(int column, double value);
    void close_row(double level);

    const ConeProgram* source_;
    SparseColumns linear_;  // the linear rows' transpose
    Program program_;
    std::vector<Triplet> entries_;
    std::vector<Side> sides_;
    std::vector<ConeRow> cones_;
};

}  // namespace qlx::quad::conic
