// A cone program in plain arrays, and what its solver reports.
//
//   minimise   1/2 x'Px + q'x
//   subject to Ax + s = b,  s in K
//
// K is a product of cones over consecutive rows: zero cones {0}, nonnegative orthants, and
// second-order cones s_0 >= |(s_1, ..., s_k)|. The dual is
//
//   maximise   -1/2 x'Px - b'z
//   subject to Px + A'z + q = 0,  z in K*
//
// where z is free on zero cones. P must be positive semidefinite.
#pragma once

#include <functional>
#include <limits>
#include <vector>

#include "engine/base/stop_rule.hpp"
#include "engine/quad/sparse_columns.hpp"

namespace qlx::quad::conic {

enum class ConeKind { kZero, kNonnegative, kSecondOrder };

struct Cone {
    ConeKind kind;
    int size;  // rows, at least 1
};

struct Program {
    SparseColumns hessian;      // P's upper triangle
    std::vector<double> cost;   // q
    SparseColumns rows;         // A by columns
    std::vector<double> right;  // b
    std::vector<Cone> cones;    // their sizes add up to the rows
};

enum class Status {
    kSolved,
    kInfeasible,  // z is a proof: A'z = 0, z in K*, b'z = -1
    kUnbounded,   // x is a ray: Px = 0, -Ax in K, q'x = -1; there may be no feasible point
    kIterationLimit,
    kStopped,
    kStalled,  // no further progress; x, s, z are the best found
};

// What one iteration reached, in the program's units. Residuals are largest absolute entries over
// 1 + the largest entry of their terms; the gap is that of the objectives over 1 + the smaller one.
struct Progress {
    int iteration = 0;
    double primal_objective = 0.0;
    double dual_objective = 0.0;
    double primal_residual = 0.0;
    double dual_residual = 0.0;
    double gap = std::numeric_limits<double>::infinity();
    double barrier = 0.0;  // average complementarity
    double step = 0.0;     // the one that led here

    double worst() const noexcept;
};

struct Control {
    double tolerance = 1e-8;              // for residuals and gap
    double certificate_tolerance = 1e-9;  // for proofs, over the size of b'z or q'x
    int iteration_limit = 200;
    double regularization = 1e-8;  // added to the factor's diagonal, and refined away
    bool equilibrate = true;
    int centering_steps = 0;  // after the last iteration: s and z then belong together more closely
    StopRule stop;            // asked in every iteration
    std::function<void(const Progress&)> on_iteration;  // may be empty
};

struct Answer {
    Status status = Status::kStalled;
    std::vector<double> x;
    std::vector<double> s;
    std::vector<double> z;
    Progress progress;  // of the point reported
    int iterations = 0;
};

// Runs in one thread. Throws for lack of memory only.
Answer solve(const Program& program, const Control& control);

}  // namespace qlx::quad::conic
