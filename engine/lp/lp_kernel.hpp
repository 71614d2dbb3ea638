// A linear or mixed-integer kernel: one live HiGHS object. No std::string may appear here, as the
// kernel is compiled with another string ABI than the rest.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "engine/lp/kernel_events.hpp"

namespace qlx {

// A model as the kernel takes it over; the matrix is by columns.
struct KernelModel {
    int num_cols = 0;
    int num_rows = 0;
    std::vector<double> cost, lower, upper;
    std::vector<double> row_lower, row_upper;
    std::vector<int> start, row;
    std::vector<double> value;
    std::vector<char> integer;  // 1 integer, 0 continuous; empty: all continuous
    // Lower triangle by columns of the Hessian Q of half x'Qx; empty starts: a linear objective.
    std::vector<int> hessian_start, hessian_row;
    std::vector<double> hessian_value;
    double constant = 0;
    bool maximise = false;
};

enum class BasisStatus : char { kLower, kBasic, kUpper, kFree };

struct KernelBasis {
    std::vector<BasisStatus> columns, rows;
};

enum class KernelMethod { kAutomatic, kDualSimplex, kPrimalSimplex, kInteriorPoint, kFirstOrder };

struct KernelOptions {
    KernelMethod method = KernelMethod::kAutomatic;
    bool presolve = true;
    bool crossover = true;
    bool relax = false;  // ignore integrality
    int iteration_limit = 2147483647;
    // Of the interior point method beside that: on models without an optimum it may not end.
    int interior_limit = 1000;
    int node_limit = 2147483647;
    int solution_limit = 2147483647;
    int threads = 1;
    int seed = 0;
    double time_limit = 1e20;
    double feasibility_tolerance = 1e-7;
    double optimality_tolerance = 1e-7;
    double integrality_tolerance = 1e-6;
    double relative_gap = 1e-6;
    double absolute_gap = 1e-9;
    double matrix_tolerance = 1e-12;

    bool operator==(const KernelOptions&) const = default;
};

// Of one solve, beside those of the options; the lower ones count.
struct SolveLimits {
    int iterations = 2147483647;
    double seconds = 1e20;
    // The dual simplex method stops when its objective is proved to pass this; minimisation only.
    double objective_bound = std::numeric_limits<double>::infinity();
};

enum class KernelOutcome {
    kOptimal,
    kInfeasible,
    kUnbounded,
    kInfeasibleOrUnbounded,
    kCutoff,
    kIterationLimit,
    kTimeLimit,
    kSearchLimit,  // nodes or solutions
    kInterrupted,
    kMemory,
    kUnknown,
    kError
};

struct KernelResult {
    KernelOutcome outcome = KernelOutcome::kUnknown;
    bool has_point = false;
    bool has_duals = false;
    // It did not obey in time and goes on without us; the kernel is empty.
    bool left_behind = false;
    double best_bound = 0;  // tree search only
    std::int64_t nodes = 0;
    std::int64_t simplex_iterations = 0;
    std::int64_t interior_iterations = 0;
    std::int64_t first_order_iterations = 0;
};

class LpKernel {
  public:
    LpKernel();
    ~LpKernel();
    LpKernel(LpKernel&&) noexcept;
    LpKernel& operator=(LpKernel&&) noexcept;

    // Whether there is a model in it: not before the first, and not after a solve that was left
    // behind (SolveLink).
    [[nodiscard]] bool is_loaded() const noexcept;
    // Each of these is false when HiGHS refuses.
    [[nodiscard]] bool load(KernelModel&& model, double matrix_tolerance);
    [[nodiscard]] bool add_columns(int count, const double* cost, const double* lower,
                                   const double* upper, const int* start, const int* row,
                                   const double* value);
    [[nodiscard]] bool add_rows(int count, const double* lower, const double* upper,
                                const int* start, const int* col, const double* value);
    // Indices ascend. The basis is lost when a row goes that is not basic.
    [[nodiscard]] bool delete_rows(int count, const int* rows);
    // Indices ascend.
    [[nodiscard]] bool change_bounds(int count, const int* cols, const double* lower,
                                     const double* upper);
    [[nodiscard]] bool change_sides(int count, const int* rows, const double* lower,
                                    const double* upper);
    [[nodiscard]] bool change_costs(int count, const int* cols, const double* cost);
    [[nodiscard]] bool change_coefficient(int row, int col, double value);
    [[nodiscard]] bool change_objective(bool maximise, double constant);
    // One flag per column.
    [[nodiscard]] bool change_integrality(const std::vector<char>& integer);
    // A complete point to start the next tree search from.
    [[nodiscard]] bool set_start(const double* x, int num_cols);
    // Of the last solve as an LP; empty where there is none.
    [[nodiscard]] KernelBasis basis() const;
    // Columns and rows to start the next solve from, completed where they do not make a basis.
    // One that fits is known to be a basis of this very matrix and taken unseen. False when HiGHS
    // refuses.
    bool set_basis(const KernelBasis& basis, bool fits = false);
    void forget_basis();

    [[nodiscard]] KernelResult solve(const KernelOptions& options, KernelEvents& events) {
        return solve(options, {}, events);
    }
    [[nodiscard]] KernelResult solve(const KernelOptions& options, const SolveLimits& limits,
                                     KernelEvents& events);

    // Of the last solve; empty where there is none.
    [[nodiscard]] const std::vector<double>& col_value() const;
    [[nodiscard]] const std::vector<double>& col_dual() const;
    [[nodiscard]] const std::vector<double>& row_dual() const;
    // What the last solve found as its reason for "infeasible" (multipliers of the rows) or
    // "unbounded" (a direction of the columns); empty where it has none, as after presolve.
    [[nodiscard]] std::vector<double> dual_ray();
    [[nodiscard]] std::vector<double> primal_ray();

    // Of the factored basis B of the last solve as an LP by simplex; false where there is none.
    // What is basic at each position: a column, or row r as -1 - r.
    [[nodiscard]] bool basic_variables(std::vector<int>& basic);
    // Row `position` of the inverse of B, by row of the model.
    [[nodiscard]] bool inverse_row(int position, std::vector<double>& weights);
    // y with B'y = rhs, which is by position.
    [[nodiscard]] bool solve_transposed(const std::vector<double>& rhs, std::vector<double>& y);

  private:
    struct Live;
    std::unique_ptr<Live> live_;
};

}  // namespace qlx
