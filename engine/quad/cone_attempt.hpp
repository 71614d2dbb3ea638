// One answer of the barrier method to a program with convex rows, and its evaluation.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/cone_scaling.hpp"
#include "engine/quad/residuals.hpp"

namespace qlx::quad {

// A convex row's value as it was solved, the side of it, and the dual that belongs to that form.
struct RowState {
    double dual = 0.0;
    double value = 0.0;
    double upper = 0.0;
};

// All in the program's own units.
struct Attempt {
    Kernel kernel = Kernel::kBarrier;
    KernelClaim claim = KernelClaim::kFailed;
    int iterations = 0;
    std::vector<double> x;
    std::vector<double> y;         // linear rows
    std::vector<double> row_dual;  // convex rows, as sides of their quadratic functions
    std::vector<double> normals;   // gradients of the convex rows times their duals, a column
    std::vector<RowState> rows;
    Evaluation evaluation;
};

// How the barrier method is used. Where `scaling` is given, it works on the program scaled by it;
// the smoothing is in the units solved in.
struct Rung {
    const ConeScaling* scaling = nullptr;
    double smoothing = 0.0;
    double tolerance = 1e-9;
};

// Units of a program that is solved as it is.
ConeScaling no_scaling(const ConeProgram& program);

Attempt attempt(const ConeProgram& program, const Rung& rung, int iterations, const StopRule& rule);

// The dual of a cone's quadratic form from that of its norm form.
double quadratic_dual(const ConvexRow& row, double dual, std::span<const double> x);

void add_conditions(const std::vector<RowState>& rows, double objective_size,
                    KktResiduals& residuals);

}  // namespace qlx::quad
