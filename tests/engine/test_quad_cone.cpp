// Quadratic rows: ellipsoids, second-order cones, their recognition, and the barrier solver alone.
#include <gtest/gtest.h>

#include "engine/nlp/interior/interior_point_solver.hpp"
#include "engine/quad/quadratic_row.hpp"
#include "tests/engine/quad_checks.hpp"

namespace qlx::quad::test {
namespace {

constexpr double kInf = 1e30;

class Cone : public testing::Test {
  protected:
    void SetUp() override {
        if (!nlp::InteriorPointSolver::is_available()) GTEST_SKIP() << "built without Ipopt";
    }
};

struct RowCase {
    const char* name;
    std::vector<Triplet> hessian;
    std::vector<double> linear;  // columns 0, 1, ...
    double lower;
    double upper;
    std::vector<double> column_lower;  // three columns, free where empty
    RowShape expected;
};

TEST(QuadraticRowShape, Table) {
    const std::vector<Triplet> ball{{0, 0, 2}, {1, 1, 2}, {2, 2, 2}};
    const std::vector<Triplet> plain{{0, 0, 2}, {1, 1, 2}, {2, 2, -2}};
    const std::vector<Triplet> rotated{{0, 0, 2}, {1, 2, -1}};
    const std::vector<Triplet> summed{{0, 0, 2}, {1, 1, -2}, {1, 2, -2}, {2, 2, -2}};
    const std::vector<Triplet> minus{{0, 0, -2}, {1, 1, -2}, {2, 2, 2}};
    const std::vector<double> positive{-kInf, 0, 0};
    const RowCase cases[] = {
        {"ball", ball, {}, -kInf, 4, {}, RowShape::ellipsoid},
        {"outside of a ball", ball, {}, 4, kInf, {}, RowShape::nonconvex},
        {"shell", ball, {}, 1, 4, {}, RowShape::nonconvex},
        {"ball with a lower side that always holds", ball, {}, 0, 4, {}, RowShape::ellipsoid},
        {"two equal columns, cancelled", {{0, 0, 1}, {0, 0, -1}}, {1}, 0, 1, {}, RowShape::linear},
        {"plain cone", plain, {}, -kInf, 0, positive, RowShape::cone},
        {"plain cone as a lower side", minus, {}, 0, kInf, positive, RowShape::cone},
        {"both nappes", plain, {}, -kInf, 0, {}, RowShape::nonconvex},
        {"cone of negative columns", plain, {}, -kInf, 0, {0, 0, -kInf}, RowShape::nonconvex},
        {"hyperboloid of two sheets", plain, {}, -kInf, -1, positive, RowShape::cone},
        {"hyperboloid of one sheet", plain, {}, -kInf, 1, positive, RowShape::nonconvex},
        {"rotated cone", rotated, {}, -kInf, 0, positive, RowShape::cone},
        {"rotated, one column free", rotated, {}, -kInf, 0, {-kInf, 0, -kInf}, RowShape::nonconvex},
        {"hyperbola st >= 1", {{1, 2, -1}}, {}, -kInf, -1, positive, RowShape::cone},
        {"square of a sum", summed, {}, -kInf, 0, positive, RowShape::cone},
        {"shifted along its axis", plain, {0, 0, -2}, -kInf, 1, {-kInf, -kInf, -1}, RowShape::cone},
        {"shifted beyond its bound",
         plain,
         {0, 0, 2},
         -kInf,
         -1,
         {-kInf, -kInf, 0},
         RowShape::nonconvex},
        {"paraboloid over a saddle", rotated, {1, 0, 0}, -kInf, 0, positive, RowShape::nonconvex},
    };
    for (const RowCase& c : cases) {
        QuadraticRow row{c.hessian, {}, c.linear, c.lower, c.upper};
        for (std::size_t j = 0; j < c.linear.size(); ++j)
            row.columns.push_back(static_cast<int>(j));
        const std::vector<double> lower =
            c.column_lower.empty() ? std::vector<double>(3, -kInf) : c.column_lower;
        const std::vector<double> upper(3, kInf);
        EXPECT_EQ(recognise(row, lower, upper).shape, c.expected) << c.name;
    }
}

// Random feasible programs with balls and ellipsoids of full or deficient rank.
TEST_F(Cone, RandomEllipsoidsMeetTheirConditions) {
    std::mt19937 random(4);
    std::normal_distribution<double> normal;
    for (int round = 0; round < 25; ++round) {
        const int columns = 3 + 3 * (round % 9);
        ConvexProgram p = random_program(columns, columns / 3, columns, random);
        for (int k = 0; k < 1 + round % 4; ++k) {
            QuadraticRow row{random_semidefinite(columns, 1 + k * columns / 2, random),
                             {0, 1},
                             {normal(random), normal(random)},
                             -kInf,
                             0};
            // Passes through the middle of the box, or beyond it.
            std::vector<double> middle;
            for (int j = 0; j < columns; ++j) {
                middle.push_back(0.5 * (p.column_lower[at(j)] + p.column_upper[at(j)]));
            }
            row.upper = 0.5 * dot(middle, times(dense_symmetric(row.hessian, columns), middle)) +
                        row.coefficients[0] * middle[0] + row.coefficients[1] * middle[1] + 1.0;
            if (k % 2 == 1) {  // the same as a concave row with a lower side
                for (Triplet& e : row.hessian) e.value = -e.value;
                for (double& a : row.coefficients) a = -a;
                row.lower = -row.upper;
                row.upper = kInf;
            }
            p.quadratic_rows.push_back(std::move(row));
        }
        const ConvexResult result = solve_convex(p, {});
        if (result.status == ConvexStatus::infeasible) continue;
        expect_optimal(p, result);
    }
}

// minimise c'x over |F x + g| <= t with t in a box; the optimum is checked against random points of
// the cone: none of them may be better.
TEST_F(Cone, NoRandomFeasiblePointBeatsTheOptimum) {
    std::mt19937 random(8);
    std::normal_distribution<double> normal;
    for (int round = 0; round < 20; ++round) {
        const int n = 2 + round % 5;
        ConvexProgram p;
        for (int j = 0; j < n; ++j) {
            p.cost.push_back(normal(random));
            p.column_lower.push_back(-5);
            p.column_upper.push_back(5);
        }
        const bool rotated = round % 2 == 1;
        p.cost.push_back(1 + std::abs(normal(random)) * (round % 3));
        p.cost.push_back(1 + std::abs(normal(random)));
        for (int k = 0; k < 2; ++k) {
            p.column_lower.push_back(0);
            p.column_upper.push_back(6);
        }
        QuadraticRow cone{{}, {}, {}, -kInf, 0};
        for (int j = 0; j < n; ++j) cone.hessian.push_back({j, j, 2});
        if (rotated) {
            cone.hessian.push_back({n, n + 1, -1});
        } else {
            cone.hessian.push_back({n, n, -2});
        }
        p.quadratic_rows.push_back(cone);
        const ConvexResult result = solve_convex(p, {});
        ASSERT_EQ(result.status, ConvexStatus::optimal) << "round " << round;
        EXPECT_LE(result.quadratic_activity[0], 1e-6);
        EXPECT_NEAR(result.objective, objective_at(p, result.x), 1e-9);
        std::uniform_real_distribution<double> scale(0.0, 6.0);
        for (int sample = 0; sample < 20000; ++sample) {
            std::vector<double> x(at(n + 2));
            double length = 0.0;
            for (int j = 0; j < n; ++j) length += std::pow(x[at(j)] = normal(random), 2);
            x[at(n)] = scale(random);
            x[at(n + 1)] = scale(random);
            const double room = rotated ? x[at(n)] * x[at(n + 1)] : x[at(n)] * x[at(n)];
            for (int j = 0; j < n; ++j) {
                x[at(j)] = std::clamp(x[at(j)] * std::sqrt(room / length), -5.0, 5.0);
            }
            ASSERT_GE(objective_at(p, x), result.objective - 1e-5) << "round " << round;
        }
    }
}

// The optimum where the cone has no gradient: Ipopt alone crawls there.
TEST_F(Cone, OptimumAtTheApex) {
    for (const double slope : {0.0, 0.3, 0.9}) {
        for (const bool rotated : {false, true}) {
            // minimise t + slope * x0 (and s) over the cone: 0 at the apex.
            ConvexProgram p;
            p.cost = {slope, 0, 1, 1};
            p.column_lower = {-kInf, -kInf, 0, 0};
            p.column_upper.assign(4, kInf);
            QuadraticRow cone{{{0, 0, 2}, {1, 1, 2}, {2, 2, -2}}, {}, {}, -kInf, 0};
            if (rotated) cone.hessian = {{0, 0, 2}, {1, 1, 2}, {2, 3, -1}};
            p.quadratic_rows = {cone};
            const ConvexResult result = solve_convex(p, {});
            ASSERT_EQ(result.status, ConvexStatus::optimal) << slope << rotated;
            EXPECT_NEAR(result.objective, 0.0, 1e-6) << slope << rotated;
        }
    }
}

// The Euclidean centre of mass (Fermat's point): distances to three corners of a triangle, their
// sum least; the solution for a right isosceles triangle is known.
TEST_F(Cone, FermatPoint) {
    ConvexProgram p;
    p.cost = {0, 0, 1, 1, 1};
    p.column_lower = {-kInf, -kInf, 0, 0, 0};
    p.column_upper.assign(5, kInf);
    const double corner[3][2] = {{0, 0}, {1, 0}, {0, 1}};
    for (int k = 0; k < 3; ++k) {
        // (x - a)^2 + (y - b)^2 <= t^2
        p.quadratic_rows.push_back({{{0, 0, 2}, {1, 1, 2}, {2 + k, 2 + k, -2}},
                                    {0, 1},
                                    {-2 * corner[k][0], -2 * corner[k][1]},
                                    -kInf,
                                    -corner[k][0] * corner[k][0] - corner[k][1] * corner[k][1]});
    }
    const ConvexResult result = solve_convex(p, {});
    ASSERT_EQ(result.status, ConvexStatus::optimal);
    EXPECT_NEAR(result.objective, (std::sqrt(2.0) + std::sqrt(6.0)) / 2.0, 1e-6);
}

TEST_F(Cone, StatusesTellTheTruth) {
    ConvexProgram base;
    base.cost = {-1, 0, 0};
    base.column_lower = {-kInf, -kInf, 0};
    base.column_upper.assign(3, kInf);
    const QuadraticRow disc{{{0, 0, 2}, {1, 1, 2}}, {}, {}, -kInf, 1};
    const QuadraticRow cone{{{0, 0, 2}, {1, 1, 2}, {2, 2, -2}}, {}, {}, -kInf, 0};
    auto with = [&](std::vector<QuadraticRow> rows, std::vector<double> row, double lower) {
        ConvexProgram p = base;
        p.quadratic_rows = std::move(rows);
        for (std::size_t j = 0; j < row.size(); ++j) {
            p.rows.push_back({0, static_cast<int>(j), row[j]});
        }
        if (!row.empty()) p.row_lower = {lower}, p.row_upper = {kInf};
        return p;
    };
    ConvexProgram limited = with({cone}, {1, 0, 0}, 3);
    limited.column_upper[2] = 2;
    const std::pair<ConvexProgram, ConvexStatus> cases[] = {
        {with({disc}, {}, 0), ConvexStatus::optimal},
        {with({disc}, {1, 1, 0}, 1.5), ConvexStatus::infeasible},
        {with({disc}, {1, 1, 0}, 1.41), ConvexStatus::optimal},
        {with({cone}, {}, 0), ConvexStatus::unbounded},
        {with({cone, disc}, {}, 0), ConvexStatus::optimal},
        {limited, ConvexStatus::infeasible},
        {with({{{{1, 1, 2}}, {0}, {-1}, -kInf, 1}}, {}, 0), ConvexStatus::unbounded},
        {with({{{{1, 1, 2}}, {0}, {1}, -kInf, 1}}, {}, 0), ConvexStatus::optimal},
        {with({{{{0, 1, 1}}, {}, {}, -kInf, 1}}, {}, 0), ConvexStatus::nonconvex},
    };
    for (std::size_t k = 0; k < std::size(cases); ++k) {
        const ConvexResult result = solve_convex(cases[k].first, {});
        EXPECT_EQ(result.status, cases[k].second) << "case " << k;
        if (cases[k].second == ConvexStatus::optimal) expect_optimal(cases[k].first, result);
    }
    EXPECT_EQ(solve_convex(cases[8].first, {}).place.quadratic_row, 0);
}

// Problem 71 of Hock and Schittkowski, with a counter that can stop or throw.
class Hs71 final : public nlp::LocalProblem {
  public:
    int evaluations = 0;
    int throw_at = -1;

    const nlp::LocalBounds& bounds() const override { return bounds_; }
    const nlp::SparsePattern& jacobian_pattern() const override { return jacobian_; }
    const nlp::SparsePattern& hessian_pattern() const override { return hessian_; }
    std::vector<double> start() const override { return {1, 5, 5, 1}; }
    bool objective(std::span<const double> x, double& value) override {
        if (++evaluations == throw_at) throw std::runtime_error("model");
        value = x[0] * x[3] * (x[0] + x[1] + x[2]) + x[2];
        return true;
    }
    bool gradient(std::span<const double> x, std::span<double> out) override {
        const double s = x[0] + x[1] + x[2];
        const double g[] = {x[3] * (s + x[0]), x[0] * x[3], x[0] * x[3] + 1, x[0] * s};
        std::copy(g, g + 4, out.begin());
        return true;
    }
    bool rows(std::span<const double> x, std::span<double> out) override {
        out[0] = x[0] * x[1] * x[2] * x[3];
        out[1] = x[0] * x[0] + x[1] * x[1] + x[2] * x[2] + x[3] * x[3];
        return true;
    }
    bool jacobian(std::span<const double> x, std::span<double> out) override {
        for (std::size_t j = 0; j < 4; ++j) {
            out[j] = x[(j + 1) % 4] * x[(j + 2) % 4] * x[(j + 3) % 4];
            out[4 + j] = 2 * x[j];
        }
        return true;
    }
    bool hessian(std::span<const double> x, double f, std::span<const double> y,
                 std::span<double> out) override {
        const double s = x[0] + x[1] + x[2];
        const double h[] = {2 * f * x[3] + 2 * y[1],
                            f * x[3] + y[0] * x[2] * x[3],
                            2 * y[1],
                            f * x[3] + y[0] * x[1] * x[3],
                            y[0] * x[0] * x[3],
                            2 * y[1],
                            f * (s + x[0]) + y[0] * x[1] * x[2],
                            f * x[0] + y[0] * x[0] * x[2],
                            f * x[0] + y[0] * x[0] * x[1],
                            2 * y[1]};
        std::copy(h, h + 10, out.begin());
        return true;
    }

  private:
    nlp::LocalBounds bounds_{{1, 1, 1, 1}, {5, 5, 5, 5}, {25, 40}, {kInf, 40}};
    nlp::SparsePattern jacobian_{{0, 0, 0, 0, 1, 1, 1, 1}, {0, 1, 2, 3, 0, 1, 2, 3}};
    nlp::SparsePattern hessian_{{0, 1, 1, 2, 2, 2, 3, 3, 3, 3}, {0, 0, 1, 0, 1, 2, 0, 1, 2, 3}};
};

TEST_F(Cone, BarrierSolverOnANonlinearProblem) {
    Hs71 problem;
    nlp::LocalAnswer answer = nlp::InteriorPointSolver().solve(problem, {});
    ASSERT_EQ(answer.status, nlp::LocalStatus::solved);
    EXPECT_NEAR(answer.objective, 17.0140173, 1e-6);
    EXPECT_GT(answer.row_dual[0], 0.0);  // an active lower side
    std::vector<double> gradient(4);
    std::vector<double> jacobian(8);
    problem.gradient(answer.x, gradient);
    problem.jacobian(answer.x, jacobian);
    for (std::size_t j = 0; j < 4; ++j) {
        const double balance = gradient[j] - answer.row_dual[0] * jacobian[j] -
                               answer.row_dual[1] * jacobian[4 + j] - answer.lower_dual[j] +
                               answer.upper_dual[j];
        EXPECT_NEAR(balance, 0.0, 1e-6);
    }
    nlp::LocalOptions options;
    options.stop = [&] { return problem.evaluations > 0; };
    EXPECT_EQ(nlp::InteriorPointSolver().solve(problem, options).status, nlp::LocalStatus::stopped);
    problem.throw_at = problem.evaluations + 2;
    EXPECT_THROW(nlp::InteriorPointSolver().solve(problem, {}), std::runtime_error);
}

}  // namespace
}  // namespace qlx::quad::test
