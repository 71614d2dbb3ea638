// A convex quadratic program with convex rows, as a smooth problem for local solvers.
#pragma once

#include <vector>

#include "engine/nlp/local_solver.hpp"
#include "engine/quad/convex_program.hpp"
#include "engine/quad/quadratic_row.hpp"

namespace qlx::quad {

// Linear rows and objective, and convex rows that are ellipsoids or cones.
struct ConeProgram {
    QuadraticModel model;
    std::vector<ConvexRow> rows;
};

// With smoothing 0 every convex row is its quadratic function, with constant Hessians. With a
// positive one a cone is  sqrt(d'Pd + offset + smoothing^2) - smoothing <= axis'd:  convex, with
// a gradient that does not vanish at the apex, and off from the cone by at most `smoothing`.
class BarrierProblem final : public nlp::LocalProblem {
  public:
    BarrierProblem(const ConeProgram& program, double smoothing);

    const nlp::LocalBounds& bounds() const override { return bounds_; }
    const nlp::SparsePattern& jacobian_pattern() const override { return jacobian_pattern_; }
    const nlp::SparsePattern& hessian_pattern() const override { return hessian_pattern_; }
    std::vector<double> start() const override;
    bool is_quadratic() const override { return program_.rows.empty(); }

    bool objective(std::span<const double> x, double& value) override;
    bool gradient(std::span<const double> x, std::span<double> out) override;
    bool rows(std::span<const double> x, std::span<double> out) override;
    bool jacobian(std::span<const double> x, std::span<double> out) override;
    bool hessian(std::span<const double> x, double objective_factor,
                 std::span<const double> multipliers, std::span<double> out) override;

    // Value and gradient of a convex row's function over the row's own columns.
    double row_value(const ConvexRow& row, std::span<const double> x) const;
    std::vector<double> row_gradient(const ConvexRow& row, std::span<const double> x) const;
    bool is_smoothed(const ConvexRow& row) const {
        return row.shape == RowShape::kCone && smoothing_ > 0.0;
    }
    double row_upper(const ConvexRow& row) const { return is_smoothed(row) ? 0.0 : row.upper; }

  private:
    struct ConePoint {
        std::vector<double> pulled;  // P d
        double length;               // the smoothed seminorm
        double along;                // axis'd
    };
    ConePoint cone_point(const ConvexRow& row, std::span<const double> x) const;
    void add_pattern(const ConvexRow& row, int position);

    const ConeProgram& program_;
    const double smoothing_;
    nlp::LocalBounds bounds_;
    nlp::SparsePattern jacobian_pattern_;
    nlp::SparsePattern hessian_pattern_;
    std::vector<std::vector<int>> cone_support_;  // places with entries in P, of each convex row
};

}  // namespace qlx::quad
