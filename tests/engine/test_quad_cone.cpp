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
        {"ball", ball, {}, -kInf, 4, {}, RowShape::kEllipsoid},
        {"outside of a ball", ball, {}, 4, kInf, {}, RowShape::kNonconvex},
        {"shell", ball, {}, 1, 4, {}, RowShape::kNonconvex},
        {"ball with a lower side that always holds", ball, {}, 0, 4, {}, RowShape::kEllipsoid},
        {"two equal columns, cancelled", {{0, 0, 1}, {0, 0, -1}}, {1}, 0, 1, {}, RowShape::kLinear},
        {"plain cone", plain, {}, -kInf, 0, positive, RowShape::kCone},
        {"plain cone as a lower side", minus, {}, 0, kInf, positive, RowShape::kCone},
        {"both nappes", plain, {}, -kInf, 0, {}, RowShape::kNonconvex},
        {"cone of negative columns", plain, {}, -kInf, 0, {0, 0, -kInf}, RowShape::kNonconvex},
        {"hyperboloid of two sheets", plain, {}, -kInf, -1, positive, RowShape::kCone},
        {"hyperboloid of one sheet", plain, {}, -kInf, 1, positive, RowShape::kNonconvex},
        {"rotated cone", rotated, {}, -kInf, 0, positive, RowShape::kCone},
        {"rotated, one column free",
         rotated,
         {},
         -kInf,
         0,
         {-kInf, 0, -kInf},
         RowShape::kNonconvex},
        {"hyperbola st >= 1", {{1, 2, -1}}, {}, -kInf, -1, positive, RowShape::kCone},
        {"square of a sum", summed, {}, -kInf, 0, positive, RowShape::kCone},
        {"shifted along its axis",
         plain,
         {0, 0, -2},
         -kInf,
         1,
         {-kInf, -kInf, -1},
         RowShape::kCone},
        {"shifted beyond its bound",
         plain,
         {0, 0, 2},
         -kInf,
         -1,
         {-kInf, -kInf, 0},
         RowShape::kNonconvex},
        {"paraboloid over a saddle", rotated, {1, 0, 0}, -kInf, 0, positive, RowShape::kNonconvex},
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
        if (result.status == ConvexStatus::kInfeasible) continue;
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
        ASSERT_EQ(result.status, ConvexStatus::kOptimal) << "round " << round;
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
            ASSERT_EQ(result.status, ConvexStatus::kOptimal) << slope << rotated;
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
    ASSERT_EQ(result.status, ConvexStatus::kOptimal);
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
        {with({disc}, {}, 0), ConvexStatus::kOptimal},
        {with({disc}, {1, 1, 0}, 1.5), ConvexStatus::kInfeasible},
        {with({disc}, {1, 1, 0}, 1.41), ConvexStatus::kOptimal},
        {with({cone}, {}, 0), ConvexStatus::kUnbounded},
        {with({cone, disc}, {}, 0), ConvexStatus::kOptimal},
        {limited, ConvexStatus::kInfeasible},
        {with({{{{1, 1, 2}}, {0}, {-1}, -kInf, 1}}, {}, 0), ConvexStatus::kUnbounded},
        {with({{{{1, 1, 2}}, {0}, {1}, -kInf, 1}}, {}, 0), ConvexStatus::kOptimal},
        {with({{{{0, 1, 1}}, {}, {}, -kInf, 1}}, {}, 0), ConvexStatus::kNonconvex},
    };
    for (std::size_t k = 0; k < std::size(cases); ++k) {
        const ConvexResult result = solve_convex(cases[k].first, {});
        EXPECT_EQ(result.status, cases[k].second) << "case " << k;
        if (cases[k].second == ConvexStatus::kOptimal) expect_optimal(cases[k].first, result);
    }
    EXPECT_EQ(solve_convex(cases[8].first, {}).place.quadratic_row, 0);
}

// A program over free columns with one linear cost each, where the text below adds the rest.
ConvexProgram free_program(std::vector<double> cost) {
    ConvexProgram p;
    p.column_lower.assign(cost.size(), -kInf);
    p.column_upper.assign(cost.size(), kInf);
    p.cost = std::move(cost);
    return p;
}

QuadraticRow at_most(std::vector<Triplet> hessian, std::vector<double> linear, double upper) {
    QuadraticRow row{std::move(hessian), {}, std::move(linear), -kInf, upper};
    for (std::size_t j = 0; j < row.coefficients.size(); ++j) {
        row.columns.push_back(static_cast<int>(j));
    }
    return row;
}

// The point and its prices; rows without an interior may have no duals to check.
void expect_feasible_and_priced(const ConvexProgram& p, const ConvexResult& r, const char* name) {
    ASSERT_EQ(r.x.size(), p.cost.size()) << name;
    const DenseEvaluation own = evaluate_densely(p, r);
    for (std::size_t i = 0; i < own.activity.size(); ++i) {
        EXPECT_GE(own.activity[i], p.row_lower[i] - 1e-6) << name;
        EXPECT_LE(own.activity[i], p.row_upper[i] + 1e-6) << name;
    }
    for (std::size_t k = 0; k < own.quadratic_activity.size(); ++k)
        EXPECT_LE(own.quadratic_activity[k], p.quadratic_rows[k].upper + 1e-6) << name;
    for (std::size_t j = 0; j < r.x.size(); ++j) {
        EXPECT_GE(r.x[j], p.column_lower[j] - 1e-6) << name;
        EXPECT_LE(r.x[j], p.column_upper[j] + 1e-6) << name;
        EXPECT_NEAR(r.reduced_cost[j], own.reduced_cost[j], 1e-6) << name;
    }
}

struct FlatCase {
    const char* name;
    ConvexProgram program;
    ConvexStatus expected;
    double objective = 0.0;
};

std::vector<FlatCase> flat_cases() {
    const std::vector<Triplet> disc{{0, 0, 2}, {1, 1, 2}};
    const std::vector<Triplet> cone{{0, 0, 2}, {1, 1, 2}, {2, 2, -2}};
    const auto optimal = ConvexStatus::kOptimal;
    const auto infeasible = ConvexStatus::kInfeasible;
    std::vector<FlatCase> cases;
    auto add = [&](const char* name, std::vector<double> cost, std::vector<QuadraticRow> rows,
                   ConvexStatus expected, double objective = 0.0) -> ConvexProgram& {
        cases.push_back({name, free_program(std::move(cost)), expected, objective});
        cases.back().program.quadratic_rows = std::move(rows);
        return cases.back().program;
    };
    auto add_row = [](ConvexProgram& p, double lower, std::vector<Triplet> entries, double upper) {
        p.row_lower.push_back(lower);
        p.row_upper.push_back(upper);
        p.rows.insert(p.rows.end(), entries.begin(), entries.end());
    };
    add("point", {1, 1}, {at_most(disc, {}, 0)}, optimal, 0);
    add("point off the origin", {1, 1}, {at_most(disc, {-2, -4}, -5)}, optimal, 3);
    add("beyond its least value", {1, 1}, {at_most(disc, {-2, -4}, -5.001)}, infeasible);
    add("negative", {1, 1}, {at_most(disc, {}, -1e-7)}, infeasible);
    add("negative by rounding", {1, 1}, {at_most(disc, {}, -1e-12)}, optimal, 0);
    add("hardly a disc", {1, 1}, {at_most(disc, {}, 1e-12)}, optimal, -std::sqrt(2e-12));
    // (x + 2y - 3)^2 <= 0, least x^2 + y^2
    add("square of a sum", {0, 0}, {at_most({{0, 0, 2}, {1, 0, 4}, {1, 1, 8}}, {-6, -12}, -9)},
        optimal, 1.8)
        .hessian = {{0, 0, 2}, {1, 1, 2}};
    // x^2 <= 0 leaves a line, which another row ends.
    add_row(add("line", {1, 2}, {at_most({{0, 0, 2}}, {}, 0)}, optimal, 2), 1,
            {{0, 0, 1}, {0, 1, 1}}, kInf);
    // x^2 + y <= 0 with y >= 0
    add("column forced to its bound", {1, -1}, {at_most({{0, 0, 2}}, {0, 1}, 0)}, optimal, 0)
        .column_lower[1] = 0;
    // Each row is flat only when the next has fixed its linear column.
    add("chain", {1, -1, 1},
        {at_most({{2, 2, 2}}, {0, -1}, 0), at_most({{1, 1, 2}}, {-1}, 0),
         at_most({{0, 0, 2}}, {}, 0)},
        optimal, 0);
    for (const double axis : {0.0, 1e-6}) {
        ConvexProgram& p = add("cone of a fixed axis", {1, 1, 0}, {at_most(cone, {}, 0)}, optimal,
                               -std::sqrt(2.0) * axis);
        p.column_lower[2] = p.column_upper[2] = axis;
    }
    ConvexProgram& held = add("cone held at its apex", {1, 1, 0}, {at_most(cone, {}, 0)}, optimal);
    held.column_lower[2] = 0;
    add_row(held, -kInf, {{0, 2, 3}}, 0);
    // A square that is tiny beside the others still leaves an interior.
    ConvexProgram& slim = add("slim cone", {-1, 1e-9},
                              {at_most({{0, 0, 2e6}, {1, 1, -2e-8}}, {}, 0)}, optimal, -0.99);
    slim.column_lower = {0, 0};
    slim.column_upper = {1, 1e8};
    add_row(add("empty row out of reach", {1, 1}, {at_most(disc, {}, 4)}, infeasible), -kInf, {},
            -1);
    ConvexProgram& crossed = add("rows that cross", {1, 1}, {at_most(disc, {}, 4)}, infeasible);
    add_row(crossed, 1, {{0, 0, 1}}, kInf);
    add_row(crossed, -kInf, {{1, 0, 1}}, 0.5);
    return cases;
}

TEST_F(Cone, RowsWithoutAnInterior) {
    for (const FlatCase& c : flat_cases()) {
        const ConvexResult result = solve_convex(c.program, {});
        EXPECT_EQ(result.status, c.expected) << c.name;
        if (c.expected != ConvexStatus::kOptimal || result.status != c.expected) continue;
        EXPECT_NEAR(result.objective, c.objective, 1e-8 + 1e-6 * std::abs(c.objective)) << c.name;
        expect_feasible_and_priced(c.program, result, c.name);
    }
}

TEST_F(Cone, DiscsAndConesOfAllSizes) {
    for (int power = -12; power <= 18; power += 3) {
        const double square = std::pow(10.0, power);
        const double radius = std::sqrt(square);
        ConvexProgram disc = free_program({1, 1});
        disc.quadratic_rows = {at_most({{0, 0, 2}, {1, 1, 2}}, {}, square)};
        const ConvexResult result = solve_convex(disc, {});
        ASSERT_EQ(result.status, ConvexStatus::kOptimal) << power;
        EXPECT_NEAR(result.objective / radius, -std::sqrt(2.0), 1e-6) << power;
        EXPECT_NEAR(result.quadratic_dual[0] * radius, -std::sqrt(0.5), 1e-6) << power;
        if (power > 12) continue;  // the cone's own test is absolute
        ConvexProgram cone = free_program({1, 1, 0});
        cone.quadratic_rows = {at_most({{0, 0, 2}, {1, 1, 2}, {2, 2, -2}}, {}, 0)};
        cone.column_lower[2] = 0;
        cone.column_upper[2] = radius;
        const ConvexResult bounded = solve_convex(cone, {});
        ASSERT_EQ(bounded.status, ConvexStatus::kOptimal) << power;
        EXPECT_NEAR(bounded.objective / radius, -std::sqrt(2.0), power < -6 ? 1e-3 : 1e-6) << power;
    }
}

// Columns and quadratic rows in other units: the optimum stays.
TEST_F(Cone, UnitsOverEightOrdersOfMagnitude) {
    std::mt19937 random(17);
    std::uniform_int_distribution<int> power(-4, 4);
    for (int round = 0; round < 20; ++round) {
        const int columns = 3 + round % 5;
        ConvexProgram p = random_program(columns, 2, columns, random);
        for (int k = 0; k < 2; ++k) {
            QuadraticRow row{random_semidefinite(columns, columns, random), {}, {}, -kInf, 0};
            std::vector<double> middle;
            for (int j = 0; j < columns; ++j) {
                middle.push_back(0.5 * (p.column_lower[at(j)] + p.column_upper[at(j)]));
            }
            const Dense q = dense_symmetric(row.hessian, columns);
            row.upper = 0.5 * dot(middle, times(q, middle)) + 0.5;
            p.quadratic_rows.push_back(row);
        }
        const ConvexResult base = solve_convex(p, {});
        if (base.status == ConvexStatus::kInfeasible) continue;
        expect_optimal(p, base);
        std::vector<double> unit;
        for (int j = 0; j < columns; ++j) unit.push_back(std::pow(10.0, power(random)));
        for (int j = 0; j < columns; ++j) {
            p.cost[at(j)] *= unit[at(j)];
            p.column_lower[at(j)] /= unit[at(j)];
            p.column_upper[at(j)] /= unit[at(j)];
        }
        for (Triplet& e : p.hessian) e.value *= unit[at(e.row)] * unit[at(e.column)];
        for (Triplet& e : p.rows) e.value *= unit[at(e.column)];
        for (QuadraticRow& row : p.quadratic_rows) {
            const double factor = std::pow(10.0, power(random));
            row.upper *= factor;
            for (Triplet& e : row.hessian) {
                e.value *= factor * unit[at(e.row)] * unit[at(e.column)];
            }
        }
        const ConvexResult result = solve_convex(p, {});
        ASSERT_EQ(result.status, ConvexStatus::kOptimal) << "round " << round;
        EXPECT_NEAR(result.objective, base.objective, 1e-4 * (1.0 + std::abs(base.objective)))
            << "round " << round;
    }
}

// Only the caller's limit is reported as a limit.
TEST_F(Cone, IterationLimits) {
    ConvexProgram p = free_program({1, 1});
    p.quadratic_rows = {at_most({{0, 0, 2}, {1, 1, 4}}, {1, 0}, 3)};
    ConvexControl control;
    control.iteration_limit = 3;
    EXPECT_EQ(solve_convex(p, control).status, ConvexStatus::kNumericalFailure);
    control = {};
    control.iteration_budget = 3;
    const ConvexResult stopped = solve_convex(p, control);
    EXPECT_EQ(stopped.status, ConvexStatus::kIterationLimit);
    EXPECT_EQ(stopped.iterations, 3);
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
    ASSERT_EQ(answer.status, nlp::LocalStatus::kSolved);
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
    options.stop.ask(
        [](void* data) noexcept {
            return static_cast<Hs71*>(data)->evaluations > 0 ? int{QLX_STOP_USER} : 0;
        },
        &problem);
    EXPECT_EQ(nlp::InteriorPointSolver().solve(problem, options).status,
              nlp::LocalStatus::kStopped);
    problem.throw_at = problem.evaluations + 2;
    EXPECT_THROW(nlp::InteriorPointSolver().solve(problem, {}), std::runtime_error);
}

}  // namespace
}  // namespace qlx::quad::test
