// From rows of a program to cones and back: factors of any rank, and whole families of models whose
// answers are checked by their own conditions.
#include <gtest/gtest.h>

#include "engine/quad/semidefinite_factor.hpp"
#include "tests/engine/quad_checks.hpp"

namespace qlx::quad::test {
namespace {

constexpr double kInf = 1e30;

TEST(SemidefiniteFactor, ReproducesMatricesOfAnyRankAndTheirSquares) {
    std::mt19937 random(11);
    std::normal_distribution<double> normal;
    for (int round = 0; round < 60; ++round) {
        const int order = 1 + round % 15;
        const int rank = round % (order + 3);
        const std::vector<Triplet> entries = random_semidefinite(order, rank, random);
        const Dense q = dense_symmetric(entries, order);
        const SemidefiniteFactor factor = factor_semidefinite(compress_symmetric(order, entries));
        EXPECT_LE(factor.by_row.columns, std::min(order, rank));
        Dense product(at(order), std::vector<double>(at(order), 0.0));
        std::vector<double> linear(at(order)), rest;
        for (double& a : linear) a = normal(random);
        const std::vector<double> w = factor.complete_square(linear, rest);
        for (int r = 0; r < factor.by_row.columns; ++r) {
            std::vector<double> row(at(order), 0.0);
            for (int k = factor.by_row.start[at(r)]; k < factor.by_row.start[at(r) + 1]; ++k) {
                row[at(factor.by_row.index[at(k)])] = factor.by_row.value[at(k)];
            }
            for (std::size_t i = 0; i < row.size(); ++i) {
                linear[i] += row[i] * w[at(r)];
                for (std::size_t j = 0; j < row.size(); ++j) product[i][j] += row[i] * row[j];
            }
            EXPECT_EQ(rest[at(factor.pivot[at(r)])], 0.0);
        }
        for (std::size_t i = 0; i < at(order); ++i) {
            EXPECT_NEAR(linear[i], rest[i], 1e-7 * (1.0 + std::sqrt(dot(w, w))));
            for (std::size_t j = 0; j < at(order); ++j) EXPECT_NEAR(product[i][j], q[i][j], 1e-10);
        }
    }
}

// Columns x in R^n and t_1, ..., t_g with |x_g| <= t_g; x is drawn to `target`, and t costs.
ConvexProgram shrinkage(const std::vector<double>& target, int size, double price) {
    ConvexProgram p;
    const int columns = static_cast<int>(target.size());
    for (int j = 0; j < columns; ++j) {
        p.hessian.push_back({j, j, 1.0});
        p.cost.push_back(-target[at(j)]);
        p.column_lower.push_back(-kInf);
    }
    for (int g = 0; g < columns / size; ++g) {
        QuadraticRow row{{{columns + g, columns + g, -2.0}}, {}, {}, -kInf, 0.0};
        for (int k = 0; k < size; ++k) row.hessian.push_back({g * size + k, g * size + k, 2.0});
        p.quadratic_rows.push_back(row);
        p.cost.push_back(price);
        p.column_lower.push_back(0.0);
    }
    p.column_upper.assign(p.cost.size(), kInf);
    return p;
}

// The optimum is known: each group's target is shortened by the price, down to zero.
TEST(ConeKernel, GroupsShrinkToTheirApex) {
    std::mt19937 random(4);
    std::normal_distribution<double> normal;
    for (const int size : {1, 2, 5, 12}) {
        for (const double price : {0.1, 1.0, 2.5, 10.0}) {
            std::vector<double> target(at(20 * size));
            for (double& entry : target) entry = normal(random);
            const ConvexResult result = solve_convex(shrinkage(target, size, price), {});
            ASSERT_EQ(result.status, ConvexStatus::kOptimal) << size << ' ' << price;
            EXPECT_EQ(result.kernel, size > 1 ? Kernel::kConic : result.kernel);
            for (std::size_t g = 0; g < 20; ++g) {
                double square = 0.0;
                for (std::size_t k = 0; k < at(size); ++k) {
                    square += target[g * at(size) + k] * target[g * at(size) + k];
                }
                const double factor = std::max(0.0, 1.0 - price / std::sqrt(square));
                for (std::size_t k = g * at(size); k < (g + 1) * at(size); ++k) {
                    EXPECT_NEAR(result.x[k], factor * target[k], 1e-5) << size << ' ' << price;
                }
            }
        }
    }
}

// A quadratic row with a linear part outside of its square's range, over several scales: the
// parabola  factor x^2 / 2 <= y  under  slope x + y, least at x = -slope / factor.
TEST(ConeKernel, ParabolasAndTheirDuals) {
    for (const double factor : {1e-4, 1e-2, 1.0, 1e2, 1e4}) {
        for (const double slope : {1e-2, 1.0, 1e2}) {
            ConvexProgram p;
            p.cost = {slope, 1.0};
            p.column_lower.assign(2, -kInf);
            p.column_upper.assign(2, kInf);
            p.quadratic_rows = {{{{0, 0, factor}}, {1}, {-1.0}, -kInf, 0.0}};
            const ConvexResult result = solve_convex(p, {});
            ASSERT_EQ(result.status, ConvexStatus::kOptimal) << factor << ' ' << slope;
            const double least = -0.5 * slope * slope / factor;
            EXPECT_NEAR(result.objective, least, 1e-6 * (1.0 - least)) << factor << ' ' << slope;
            EXPECT_LE(result.quadratic_activity[0], 1e-6 * (1.0 - least)) << factor << ' ' << slope;
            EXPECT_NEAR(result.quadratic_dual[0], -1.0, 1e-6) << factor << ' ' << slope;
            // The gradient's first entry is slope + dual * factor * x.
            EXPECT_NEAR(result.x[0] * factor, -slope, 1e-6 * (1.0 + slope)) << factor;
        }
    }
}

// Least enclosing ball: the conditions are checked, and that all points are inside.
TEST(ConeKernel, EnclosingBalls) {
    std::mt19937 random(8);
    std::normal_distribution<double> normal;
    for (const int dimension : {2, 7}) {
        ConvexProgram p;
        p.cost.assign(at(dimension + 1), 0.0);
        p.cost.back() = 1.0;
        p.column_lower.assign(p.cost.size(), -kInf);
        p.column_lower.back() = 0.0;
        p.column_upper.assign(p.cost.size(), kInf);
        for (int point = 0; point < 40; ++point) {
            QuadraticRow row{{{dimension, dimension, -2.0}}, {}, {}, -kInf, 0.0};
            for (int j = 0; j < dimension; ++j) {
                const double centre = normal(random);
                row.hessian.push_back({j, j, 2.0});
                row.columns.push_back(j);
                row.coefficients.push_back(-2.0 * centre);
                row.upper -= centre * centre;
            }
            p.quadratic_rows.push_back(row);
        }
        const ConvexResult result = solve_convex(p, {});
        expect_optimal(p, result);
        EXPECT_EQ(result.kernel, Kernel::kConic);
    }
}

}  // namespace
}  // namespace qlx::quad::test
