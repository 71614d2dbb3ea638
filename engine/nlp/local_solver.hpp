// A smooth program given by callbacks, and the interface of solvers that find local optima of it.
//
//   minimise f(x)   subject to   row_lower <= g(x) <= row_upper,  column_lower <= x <= column_upper
//
// Bounds of 1e20 and beyond are infinite. Duals have the signs of minimisation: f's gradient equals
// J'y + z, where y and z are nonnegative on active lower sides and nonpositive on upper ones.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "engine/base/stop_rule.hpp"

namespace qlx::nlp {

// Positions of a sparse matrix's entries; repeated positions add up.
struct SparsePattern {
    std::vector<int> rows;
    std::vector<int> columns;
};

struct LocalBounds {
    std::vector<double> column_lower;
    std::vector<double> column_upper;
    std::vector<double> row_lower;
    std::vector<double> row_upper;
};

// Evaluations return false where the functions are undefined at x; solvers then shorten the step.
// `out` always has the size of the matching pattern, rows or columns.
class LocalProblem {
  public:
    virtual ~LocalProblem() = default;

    virtual const LocalBounds& bounds() const = 0;
    virtual const SparsePattern& jacobian_pattern() const = 0;
    virtual const SparsePattern& hessian_pattern() const = 0;  // lower triangle
    virtual std::vector<double> start() const = 0;
    // Whether f is quadratic and every row linear: derivatives are then asked for once.
    virtual bool is_quadratic() const { return false; }
    virtual bool is_linear_row(int /*row*/) const { return false; }
    // Where the functions have kinks the derivatives are those of the active piece.
    virtual bool has_kinks() const { return false; }

    virtual bool objective(std::span<const double> x, double& value) = 0;
    virtual bool gradient(std::span<const double> x, std::span<double> out) = 0;
    virtual bool rows(std::span<const double> x, std::span<double> out) = 0;
    virtual bool jacobian(std::span<const double> x, std::span<double> out) = 0;
    // objective_factor * f'' + sum of multipliers[i] * g_i''
    virtual bool hessian(std::span<const double> x, double objective_factor,
                         std::span<const double> multipliers, std::span<double> out) = 0;
};

// Of the problem as it is stated, not as a solver scales it.
struct LocalProgress {
    int iteration;
    double objective;
    double infeasibility;  // largest violation
    double optimality;     // largest residual of the optimality conditions
    double step;           // length of the last step
    double penalty;        // not a number: the method has none
};

struct LocalOptions {
    double tolerance = 1e-9;  // of the scaled optimality conditions
    double constraint_violation = 1e-8;
    int iteration_limit = 3000;
    // Of methods with a penalty and a trust region.
    double penalty_start = 10;
    double penalty_max = 1e8;
    double trust_region_start = 1;
    double trust_region_min = 1e-13;
    double trust_region_max = 1e10;
    StopRule stop;                                       // asked at every iteration
    std::function<void(const LocalProgress&)> progress;  // once per iteration; may be empty
};

enum class LocalStatus {
    kSolved,      // to the tolerance, by the solver's own account
    kAcceptable,  // to a looser tolerance
    kInfeasible,  // a point that locally minimises the violation
    kUnbounded,   // the iterates diverge, or the solver failed on their way
    kIterationLimit,
    kTimeLimit,
    kStopped,
    kTooManyEquations,  // more equations than columns that can move
    kInconsistentBounds,
    kUndefinedValue,  // a function or derivative is not a number
    kStalled,  // steps too short to go on: the point may be used, it is not known to be optimal
    kFailed,
    kUnavailable,  // the build has no such solver
};

struct LocalCounts {
    int functions = 0;  // evaluations of objective and rows
    int gradients = 0;
    int hessians = 0;
    int linear_programs = 0;
    int quadratic_programs = 0;
};

struct LocalAnswer {
    LocalStatus status = LocalStatus::kFailed;
    std::string reason;  // why it stopped, for the log
    int iterations = 0;
    LocalCounts counts;
    double objective = 0.0;
    std::vector<double> x;
    std::vector<double> row_dual;
    std::vector<double> lower_dual;  // of column bounds; the reduced cost is lower minus upper
    std::vector<double> upper_dual;
};

class LocalSolver {
  public:
    virtual ~LocalSolver() = default;
    virtual LocalAnswer solve(LocalProblem& problem, const LocalOptions& options) = 0;
};

}  // namespace qlx::nlp
