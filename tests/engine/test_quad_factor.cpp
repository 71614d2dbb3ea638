// Sparse factorisation and the convexity test.
#include <gtest/gtest.h>

#include "engine/quad/curvature.hpp"
#include "engine/quad/sparse_factor.hpp"
#include "tests/engine/quad_checks.hpp"

namespace qlx::quad::test {
namespace {

constexpr std::int64_t kAnyFill = 1'000'000'000;

TEST(SparseFactor, SolvesRandomDefiniteAndQuasidefiniteSystems) {
    std::mt19937 random(7);
    std::normal_distribution<double> normal;
    for (int order : {1, 2, 5, 30, 200, 600}) {
        for (const bool definite : {true, false}) {
            const SparseColumns upper =
                compress_symmetric(order, random_semidefinite(order, 2 * order, random));
            std::vector<double> shift(at(order), 0.5);
            std::vector<signed char> sign;
            SparseColumns matrix = upper;
            if (!definite) {
                // Only a diagonal in the second half, negative: [Q B'; B -D].
                sign.assign(at(order), 1);
                for (int j = order / 2; j < order; ++j) {
                    for (int k = matrix.start[at(j)]; k < matrix.start[at(j) + 1]; ++k) {
                        if (matrix.index[at(k)] >= order / 2) matrix.value[at(k)] = 0.0;
                    }
                    shift[at(j)] = -0.5;
                    sign[at(j)] = -1;
                }
            }
            SparseFactor factor;
            ASSERT_TRUE(factor.analyze(matrix, kAnyFill));
            ASSERT_EQ(factor.factorize(matrix, shift, sign, 1e-12), -1);
            std::vector<double> wanted(at(order));
            for (double& v : wanted) v = normal(random);
            std::vector<double> x(at(order), 0.0);
            add_symmetric_product(matrix, 1.0, wanted, x);
            for (std::size_t j = 0; j < x.size(); ++j) x[j] += shift[j] * wanted[j];
            factor.solve(x);
            for (std::size_t j = 0; j < x.size(); ++j) EXPECT_NEAR(x[j], wanted[j], 1e-8) << order;
        }
    }
}

TEST(SparseFactor, OrderingLeavesAnArrowWithoutFill) {
    const int order = 500;
    std::vector<Triplet> arrow;
    for (int j = 0; j < order; ++j) arrow.push_back({0, j, 1.0});
    SparseFactor factor;
    EXPECT_FALSE(factor.analyze(compress_symmetric(order, arrow), order));
    ASSERT_TRUE(factor.analyze(compress_symmetric(order, arrow), kAnyFill));
    EXPECT_EQ(factor.fill(), 2 * order - 1);
}

struct CurvatureCase {
    const char* name;
    int order;
    std::vector<Triplet> entries;
    Curvature expected;
    int first = -1;
    int second = -1;
};

TEST(Curvature, SmallMatrices) {
    const Curvature yes = Curvature::kConvex;
    const Curvature no = Curvature::kNonconvex;
    const CurvatureCase cases[] = {
        {"empty", 3, {}, yes},
        {"negative diagonal", 3, {{0, 0, 1.0}, {2, 2, -1e-9}}, no, 2, 2},
        {"product alone", 4, {{1, 3, 2.0}}, no, 1, 3},
        {"product beside a square", 3, {{0, 0, 5.0}, {2, 0, 1e-3}}, no, 0, 2},
        {"square of a difference", 2, {{0, 0, 0.2}, {1, 1, 0.2}, {1, 0, -0.2}}, yes},
        {"on both sides, adding up", 2, {{0, 0, 2.0}, {1, 1, 2.0}, {1, 0, 1.0}, {0, 1, 1.0}}, yes},
        {"2 by 2 indefinite by 1e-6", 2, {{0, 0, 1.0}, {1, 1, 1.0}, {0, 1, 1.000001}}, no, 0, 1},
        {"2 by 2 within rounding", 2, {{0, 0, 1.0}, {1, 1, 1.0}, {0, 1, 1.0 + 1e-9}}, yes},
        {"scaled over sixteen orders", 2, {{0, 0, 1e8}, {1, 1, 1e-8}, {0, 1, 0.999}}, yes},
        {"the same, indefinite", 2, {{0, 0, 1e8}, {1, 1, 1e-8}, {0, 1, 1.001}}, no, 0, 1},
        {"cancelled entries", 2, {{0, 1, 0.1}, {0, 1, 0.2}, {0, 1, -0.3}, {0, 0, 1.0}}, yes},
        {"all 2 by 2 minors positive",
         3,
         {{0, 0, 1.0}, {1, 1, 1.0}, {2, 2, 1.0}, {0, 1, -0.6}, {1, 2, -0.6}, {0, 2, -0.6}},
         no,
         0,
         1},
    };
    for (const CurvatureCase& c : cases) {
        const SparseColumns upper = compress_symmetric(c.order, c.entries);
        const CurvatureVerdict verdict = test_curvature(upper);
        EXPECT_EQ(verdict.curvature, c.expected) << c.name;
        if (c.expected == Curvature::kConvex || verdict.curvature == Curvature::kConvex) continue;
        if (c.order < 3 || c.entries.size() < 6) {
            EXPECT_EQ(verdict.first_column, c.first) << c.name;
            EXPECT_EQ(verdict.second_column, c.second) << c.name;
        }
        EXPECT_LT(quadratic_form(upper, verdict.direction), 0.0) << c.name;
    }
}

TEST(Curvature, LargeRankDeficientMatricesAreConvex) {
    std::mt19937 random(11);
    for (int order : {1000, 3000}) {
        for (int rank : {order / 4, order}) {
            std::vector<Triplet> entries = random_semidefinite(order, rank, random);
            EXPECT_EQ(test_curvature(compress_symmetric(order, entries)).curvature,
                      Curvature::kConvex);
            // Scaling the columns over twelve orders of magnitude changes nothing.
            for (Triplet& e : entries) {
                e.value *= std::pow(10.0, e.row % 7) * std::pow(10.0, e.column % 7);
            }
            EXPECT_EQ(test_curvature(compress_symmetric(order, entries)).curvature,
                      Curvature::kConvex);
        }
    }
    const int order = 1500;  // dense of rank 1
    std::vector<Triplet> ones;
    for (int i = 0; i < order; ++i) {
        for (int j = i; j < order; ++j)
            ones.push_back({i, j, (1.0 + 0.001 * i) * (1.0 + 0.001 * j)});
    }
    EXPECT_EQ(test_curvature(compress_symmetric(order, ones)).curvature, Curvature::kConvex);
}

TEST(Curvature, FindsAnEigenvalueOfMinusOneMillionth) {
    // The second difference matrix has smallest eigenvalue 2 - 2 cos(pi / (n + 1)) and norm 4.
    for (int order : {10, 300, 2000}) {
        const double least = 2.0 - 2.0 * std::cos(std::acos(-1.0) / (order + 1));
        for (const double eigenvalue : {-4e-6, 4e-6}) {
            std::vector<Triplet> entries;
            for (int j = 0; j < order; ++j) {
                entries.push_back({j, j, 2.0 - least + eigenvalue});
                if (j > 0) entries.push_back({j, j - 1, -1.0});
            }
            const SparseColumns upper = compress_symmetric(order, entries);
            const CurvatureVerdict verdict = test_curvature(upper);
            EXPECT_EQ(verdict.curvature == Curvature::kNonconvex, eigenvalue < 0.0) << order;
            if (eigenvalue < 0.0) {
                EXPECT_LT(quadratic_form(upper, verdict.direction), 0.0);
                EXPECT_NE(verdict.first_column, verdict.second_column);
            }
        }
    }
}

}  // namespace
}  // namespace qlx::quad::test
