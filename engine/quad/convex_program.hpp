// A convex quadratic program in plain arrays, and what its solver reports.
//
//   minimise   1/2 x'Qx + c'x + constant
//   subject to row_lower <= Ax <= row_upper
//              lower_k <= 1/2 x'Q_k x + a_k'x <= upper_k     for every quadratic row k
//              column_lower <= x <= column_upper
//
// Bounds of 1e20 and beyond are infinite. Sign conventions, for minimisation: the reduced costs are
// z = c + Qx - A'y - sum of y_k (Q_k x + a_k), a dual is nonnegative where the lower side is active
// and nonpositive where the upper one is, and a reduced cost likewise. A quadratic row without an
// interior may have no dual: it then has 0, and the columns that it holds keep a reduced cost. For
// maximisation the caller negates Q and c.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

#include "engine/base/infinity.hpp"
#include "engine/base/stop_rule.hpp"
#include "engine/quad/sparse_columns.hpp"

namespace qlx::quad {

inline bool is_finite_lower(double bound) noexcept {
    return bound > -kInfinity;
}
inline bool is_finite_upper(double bound) noexcept {
    return bound < kInfinity;
}

struct QuadraticRow {
    std::vector<Triplet> hessian;  // Q_k, each off-diagonal pair once, on either side
    std::vector<int> columns;      // a_k
    std::vector<double> coefficients;
    double lower;
    double upper;
};

struct ConvexProgram {
    std::vector<double> column_lower;
    std::vector<double> column_upper;
    std::vector<double> cost;
    double constant = 0.0;
    std::vector<Triplet> hessian;  // Q, each off-diagonal pair once, on either side
    std::vector<double> row_lower;
    std::vector<double> row_upper;
    std::vector<Triplet> rows;  // A
    std::vector<QuadraticRow> quadratic_rows;

    int column_count() const noexcept { return static_cast<int>(cost.size()); }
    int row_count() const noexcept { return static_cast<int>(row_lower.size()); }
};

// A linearly constrained program in the form that kernels take: Q's upper triangle and A by
// columns.
struct QuadraticModel {
    std::vector<double> column_lower;
    std::vector<double> column_upper;
    std::vector<double> cost;
    double constant = 0.0;
    SparseColumns hessian;
    std::vector<double> row_lower;
    std::vector<double> row_upper;
    SparseColumns rows;

    int column_count() const noexcept { return static_cast<int>(cost.size()); }
    int row_count() const noexcept { return static_cast<int>(row_lower.size()); }
};

// What a kernel says of its own answer. None of it is taken on trust.
enum class KernelClaim { kSolved, kInfeasible, kUnbounded, kIterationLimit, kStopped, kFailed };

struct KernelAnswer {
    KernelClaim claim = KernelClaim::kFailed;
    std::vector<double> x;
    std::vector<double> y;  // one dual a row, in the signs above
    int iterations = 0;
};

// Solves a model whose Hessian is known to be positive semidefinite.
using QuadraticKernel =
    std::function<KernelAnswer(const QuadraticModel& model, const StopRule& rule, int iterations)>;

struct ConvexControl {
    double feasibility_tolerance = 1e-6;  // violation over max(1, |bound|)
    double optimality_tolerance = 1e-6;   // relative: stationarity, complementarity
    int iteration_limit = 1000;           // of one kernel; where one reaches it, the next tries
    // The caller's limit, on all kernels' iterations together; a solve that reaches it ends there.
    int iteration_budget = std::numeric_limits<int>::max();
    StopRule stop;
    // Takes over where the factor of the first kernel would be large or its answer fails.
    QuadraticKernel large_scale_qp;
    // A program goes to large_scale_qp first where a factorisation takes more multiplications than
    // this; the break-even was measured on random sparse programs of 500 to 10,000 columns.
    std::int64_t work_limit = 100'000'000;

    int iterations_left(int used) const noexcept {
        return std::min(iteration_limit, std::max(iteration_budget - used, 0));
    }
};

enum class ConvexStatus {
    kOptimal,
    kInfeasible,
    kUnbounded,
    kNonconvex,
    kIterationLimit,  // the caller's
    kTimeLimit,
    kInterrupted,
    kNumericalFailure,
};

// Where a status has a place in the model, this says where.
struct ModelPlace {
    int row = -1;            // linear row
    int quadratic_row = -1;  // quadratic row; the objective is meant where both are -1
    int first_column = -1;   // a column, or a pair of them
    int second_column = -1;
};

// Relative errors of the conditions of Karush, Kuhn and Tucker.
struct KktResiduals {
    double primal = 0.0;  // worst violation over max(1, |bound|, the largest term)
    double dual = 0.0;    // worst dual without an active side, over 1 + the size of its sum
    double complementarity = 0.0;  // sum of dual times distance, over 1 + the objective's terms
};

enum class Kernel { kNone, kProximal, kLargeScale, kConic, kBarrier };

struct ConvexResult {
    ConvexStatus status = ConvexStatus::kNumericalFailure;
    ModelPlace place;
    Kernel kernel = Kernel::kNone;  // the one whose answer was taken
    bool polished = false;
    int iterations = 0;
    double objective = 0.0;
    KktResiduals residuals;
    std::vector<double> x;
    std::vector<double> row_activity;
    std::vector<double> row_dual;
    std::vector<double> quadratic_activity;
    std::vector<double> quadratic_dual;
    std::vector<double> reduced_cost;
    // Where unbounded: a direction from any feasible point; empty where only a parabola falls
    // forever.
    std::vector<double> ray;
};

// The program without its quadratic rows, in compressed form.
QuadraticModel linear_part(const ConvexProgram& program);

// Solves a program without quadratic rows.
ConvexResult solve_quadratic(const QuadraticModel& model, const ConvexControl& control);

// Solves the program; never throws but for lack of memory. Arrays must have matching sizes, indices
// in range and no NaN: the caller has checked them.
ConvexResult solve_convex(const ConvexProgram& program, const ConvexControl& control);

}  // namespace qlx::quad
