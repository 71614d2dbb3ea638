// A program with ellipsoids and cones, solved by the method for cone programs.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/cone_attempt.hpp"
#include "engine/quad/conic/statement.hpp"

namespace qlx::quad {

// How the method is used.
struct ConicRung {
    bool equilibrate = true;
    double regularization = 1e-8;
    double tolerance = 1e-9;  // sharper than asked for: nearly active rows follow its root
};

struct ConicOutcome {
    Attempt attempt;          // empty x where there is no point
    int row = -1;             // where proven infeasible: as in Statement::largest_part
    std::vector<double> ray;  // where unbounded if there is a feasible point
};

class ConeKernel {
  public:
    // Works on the program scaled by `units` unless they are null. Both have to outlive the kernel.
    ConeKernel(const ConeProgram& program, const ConeScaling* units);

    // States the program anew for optima near the point.
    void restate_near(std::span<const double> x);
    ConicOutcome solve(const ConicRung& rung, int iterations, const StopRule& rule) const;
    // The same without an objective: a feasible point.
    ConicOutcome find_point(const ConicRung& rung, int iterations, const StopRule& rule) const;

  private:
    ConicOutcome run(const conic::Program& posed, const ConicRung& rung, int iterations,
                     const StopRule& rule) const;
    void evaluate_point(const conic::Answer& answer, Attempt& out) const;
    void add_row(std::size_t r, std::span<const double> z, Attempt& out) const;

    const ConeProgram& program_;
    const ConeScaling units_;
    const ConeProgram scaled_;
    const ConeProgram& posed_;
    conic::Statement statement_;
};

}  // namespace qlx::quad
