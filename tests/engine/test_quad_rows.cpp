// Random programs with quadratic rows, made to have an optimum, none, or no feasible point.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <random>
#include <string>

#include "tests/engine/quad_checks.hpp"

namespace qlx::quad::test {
namespace {

constexpr double kInf = 1e30;
using Real = long double;

enum Kind { kBoxed, kMixed, kFalling, kParabola, kContradiction, kKinds };

// Rows are met by a point in the middle of its columns' bounds, but for the contradiction.
class Made {
  public:
    Made(unsigned seed, Kind kind) : random_(seed) {
        const int columns = 1 + pick(5);
        const double size = std::exp2(pick(13) - 4);
        for (int j = 0; j < columns; ++j) add_column(size, kind != kMixed || pick(2) == 0);
        const int rows = 1 + pick(3);
        for (int k = 0; k < rows; ++k) add_quadratic_row(columns);
        if (pick(2) == 0) add_linear_row(columns);
        if (pick(2) == 0) program.hessian = random_semidefinite(columns, pick(3), random_);
        if (pick(3) == 0)
            for (Triplet& e : program.hessian) e.value *= 1e-3;
        if (kind == kFalling) fall();
        if (kind == kParabola) open_parabola();
        if (kind == kContradiction) contradict();
    }

    ConvexProgram program;

  private:
    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }
    double normal() { return std::normal_distribution<double>()(random_); }

    int add_column(double size, bool boxed) {
        point_.push_back(size * normal());
        program.cost.push_back(normal());
        const bool below = boxed || pick(2) == 0;
        const bool above = boxed || pick(2) == 0;
        program.column_lower.push_back(below ? point_.back() - size * std::abs(normal()) : -kInf);
        program.column_upper.push_back(above ? point_.back() + size * std::abs(normal()) : kInf);
        return program.column_count() - 1;
    }
    void add_quadratic_row(int columns) {
        QuadraticRow row{random_semidefinite(columns, 1 + pick(3), random_), {}, {}, -kInf, 0};
        for (int j = 0; j < columns; ++j) {
            if (pick(2) == 0) continue;
            row.columns.push_back(j);
            row.coefficients.push_back(normal());
        }
        row.upper = value(row) + std::abs(normal());
        program.quadratic_rows.push_back(std::move(row));
    }
    double value(const QuadraticRow& row) const {
        double sum = 0.5 * dot(point_, times(dense_symmetric(row.hessian, columns()), point_));
        for (std::size_t c = 0; c < row.columns.size(); ++c)
            sum += row.coefficients[c] * point_[at(row.columns[c])];
        return sum;
    }
    void add_linear_row(int columns) {
        double activity = 0;
        for (int j = 0; j < columns; ++j) {
            program.rows.push_back({program.row_count(), j, normal()});
            activity += program.rows.back().value * point_[at(j)];
        }
        program.row_lower.push_back(pick(2) == 0 ? -kInf : activity - std::abs(normal()));
        program.row_upper.push_back(pick(2) == 0 ? kInf : activity + std::abs(normal()));
    }
    // A column that rows let go one way, along which the cost falls.
    void fall() {
        const int y = add_column(1.0, false);
        program.cost[at(y)] = -0.01 - std::abs(normal());
        program.column_upper[at(y)] = kInf;
        for (QuadraticRow& row : program.quadratic_rows) {
            if (pick(2) == 0) continue;
            row.columns.push_back(y);
            row.coefficients.push_back(-std::abs(normal()));
            row.upper += row.coefficients.back() * point_[at(y)];
        }
    }
    // x^2 <= factor * y with y free upwards at no cost, while x falls.
    void open_parabola() {
        const int x = add_column(1.0, false);
        const int y = add_column(1.0, false);
        program.column_lower[at(x)] = program.column_lower[at(y)] = -kInf;
        program.column_upper[at(x)] = program.column_upper[at(y)] = kInf;
        program.cost[at(y)] = 0;
        program.quadratic_rows.push_back(
            {{{x, x, 2.0}}, {y}, {-std::exp2(pick(9) - 4)}, -kInf, normal()});
    }
    // A ball and a half-space beyond it.
    void contradict() {
        const double radius = std::sqrt(1 + dot(point_, point_)) * std::exp2(pick(5) - 2);
        QuadraticRow ball{{}, {}, {}, -kInf, radius * radius / 2};
        double length = 0;
        double side = 0;
        for (int j = 0; j < columns(); ++j) {
            ball.hessian.push_back({j, j, 1.0});
            ball.columns.push_back(j);
            ball.coefficients.push_back(-point_[at(j)]);
            ball.upper -= point_[at(j)] * point_[at(j)] / 2;
            program.rows.push_back({program.row_count(), j, normal()});
            length += std::pow(program.rows.back().value, 2);
            side += program.rows.back().value * point_[at(j)];
        }
        program.quadratic_rows.push_back(std::move(ball));
        program.row_lower.push_back(side + 1.01 * radius * std::sqrt(length));
        program.row_upper.push_back(kInf);
    }
    int columns() const { return program.column_count(); }

    std::mt19937 random_;
    std::vector<double> point_;
};

// By how much the point can be from an optimum, by weak duality: every row's dual times its room,
// and the reduced costs times the way to the bounds. None where a point beyond feasibility or a
// column without a bound keeps a reduced cost.
std::optional<Real> excess(const ConvexProgram& p, const ConvexResult& r, Real& size) {
    const DenseEvaluation own = evaluate_densely(p, r);
    Real sum = 0;
    size = 1 + std::abs(Real{r.objective});
    bool fine = true;
    const auto add = [&](double value, double dual, double lower, double upper, double terms) {
        const double allowed = 2e-6 * std::max({1.0, std::abs(value), terms});
        fine = fine && value >= lower - allowed && value <= upper + allowed;
        const double side = dual > 0 ? lower : upper;
        if (std::abs(side) >= kInf)
            fine = fine && std::abs(dual) <= 1e-5 * (1 + terms);
        else if (dual != 0)
            sum += std::max(Real{dual} * (Real{value} - side), Real{0});
    };
    for (std::size_t i = 0; i < own.activity.size(); ++i)
        add(own.activity[i], r.row_dual[i], p.row_lower[i], p.row_upper[i], 1);
    for (std::size_t k = 0; k < own.quadratic_activity.size(); ++k)
        add(own.quadratic_activity[k], r.quadratic_dual[k], p.quadratic_rows[k].lower,
            p.quadratic_rows[k].upper, std::abs(own.quadratic_activity[k]));
    double steepest = 0;
    for (const double cost : p.cost) steepest = std::max(steepest, std::abs(cost));
    for (std::size_t j = 0; j < r.x.size(); ++j) {
        add(r.x[j], own.reduced_cost[j], p.column_lower[j], p.column_upper[j], steepest);
        size += std::abs(Real{p.cost[j]} * r.x[j]);
    }
    return fine ? std::optional(sum) : std::nullopt;
}

struct Counts {
    int right = 0, unsolved = 0;
};

void judge(Kind kind, const ConvexProgram& p, const std::string& name, Counts& counts) {
    const ConvexResult result = solve_convex(p, {});
    const bool may_fall = kind == kMixed || kind == kFalling || kind == kParabola;
    switch (result.status) {
        case ConvexStatus::kOptimal: {
            Real size = 0;
            const std::optional<Real> far = excess(p, result, size);
            EXPECT_TRUE(kind == kBoxed || kind == kMixed) << name << " called optimal";
            EXPECT_TRUE(far && *far <= 1e-5L * size)
                << name << " is " << static_cast<double>(far.value_or(-1)) << " of "
                << static_cast<double>(size) << " from an optimum";
            ++counts.right;
            return;
        }
        case ConvexStatus::kUnbounded:
            EXPECT_TRUE(may_fall) << name << " called unbounded";
            ++counts.right;
            return;
        case ConvexStatus::kInfeasible:
            EXPECT_EQ(kind, kContradiction) << name << " called infeasible";
            ++counts.right;
            return;
        default:
            ++counts.unsolved;
            std::printf("unsolved: %s, status %d, residuals %g %g %g\n", name.c_str(),
                        static_cast<int>(result.status), result.residuals.primal,
                        result.residuals.dual, result.residuals.complementarity);
    }
}

TEST(QuadraticRows, StatusesAreThoseTheProgramsWereMadeFor) {
    const unsigned rounds = std::getenv("QUILEX_LONG") != nullptr ? 300 : 20;
    for (const Kind kind : {kBoxed, kMixed, kFalling, kParabola, kContradiction}) {
        Counts counts;
        for (unsigned seed = 0; seed < rounds; ++seed)
            judge(kind, Made(seed, kind).program,
                  "kind " + std::to_string(kind) + ", seed " + std::to_string(seed), counts);
        std::printf("kind %d: %d right, %d unsolved\n", kind, counts.right, counts.unsolved);
        std::fflush(stdout);
        // Unbounded ones are decided; the barrier method is not sure of the rest.
        EXPECT_LE(counts.unsolved * 100,
                  kind == kFalling || kind == kParabola ? 0 : 3 * static_cast<int>(rounds));
    }
}

// Without a direction that the rows admit forever, and along it: feasible points fall forever.
TEST(QuadraticRows, UnboundedByAColumnThatNothingHolds) {
    ConvexProgram p;
    p.cost = {0, -1};
    p.column_lower = {0, 0};
    p.column_upper = {1.9, kInf};
    p.hessian = {{0, 0, 0.0005}};
    p.quadratic_rows = {{{{0, 0, 8}}, {0}, {-1}, -kInf, 5.25}};
    const ConvexResult result = solve_convex(p, {});
    EXPECT_EQ(result.status, ConvexStatus::kUnbounded);
    ASSERT_EQ(result.ray.size(), 2U);
    EXPECT_EQ(result.ray[0], 0);
    EXPECT_GT(result.ray[1], 0);
    // With a row that the column cannot go beyond there is an optimum.
    p.rows = {{0, 0, -1}, {0, 1, 1}};
    p.row_lower = {-kInf};
    p.row_upper = {3};
    expect_optimal(p, solve_convex(p, {}));
}

}  // namespace
}  // namespace qlx::quad::test
