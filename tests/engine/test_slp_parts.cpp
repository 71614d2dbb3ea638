// Parts of the successive solver: the elastic quadratic program, working-set factors, the filter.
#include <gtest/gtest.h>

#include <Eigen/LU>
#include <limits>
#include <random>

#include "engine/nlp/slp/dense_qp.hpp"
#include "engine/nlp/slp/filter.hpp"
#include "engine/nlp/slp/reduced_step.hpp"
#include "engine/nlp/slp/working_set_factor.hpp"

namespace qlx::nlp::slp::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Program {
    Matrix hessian;
    Vector gradient;
    Matrix normals;  // rows as columns, then the identity
    Vector lower, upper, cap;

    [[nodiscard]] double violation(int i, const Vector& d) const {
        const double value = normals.col(i).dot(d);
        return std::max({lower[i] - value, value - upper[i], 0.0});
    }
    [[nodiscard]] double value(const Vector& d) const {
        double sum = gradient.dot(d) + 0.5 * d.dot(hessian * d);
        for (int i = 0; i < cap.size(); ++i)
            if (std::isfinite(cap[i])) sum += cap[i] * violation(i, d);
        return sum;
    }
    // Whether what must hold holds.
    [[nodiscard]] bool allows(const Vector& d) const {
        for (int i = 0; i < normals.cols(); ++i)
            if ((i >= cap.size() || cap[i] == kInfinity) && violation(i, d) > 1e-8) return false;
        return true;
    }
};

// Small integers make ties, parallel rows and degenerate vertices; some rows are equations, some
// cannot hold together.
Program random_program(int n, int m, bool elastic, double row_scale, std::mt19937& random) {
    const auto integer = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    Program p;
    const Matrix root = Matrix::NullaryExpr(n, n, [&] { return integer(-2, 2); });
    p.hessian = root * root.transpose() + Matrix::Identity(n, n);
    p.gradient = Vector::NullaryExpr(n, [&] { return integer(-6, 6); });
    p.normals = Matrix::Identity(n, m + n);
    p.normals.rightCols(n).setIdentity();
    p.lower.resize(m + n);
    p.upper.resize(m + n);
    p.cap.setConstant(m, kInfinity);
    for (int i = 0; i < m + n; ++i) {
        const double scale = i < m && integer(0, 1) == 1 ? row_scale : 1.0;
        if (i < m)
            p.normals.col(i) = scale * Vector::NullaryExpr(n, [&] { return integer(-2, 2); });
        const int kind = integer(0, 3), at = integer(-3, 3);
        p.lower[i] = i >= m ? -2 : kind == 0 ? -kInfinity : scale * at;
        p.upper[i] = i >= m      ? integer(-1, 2)
                     : kind == 1 ? kInfinity
                                 : scale * (at + (kind == 2 ? 0 : 2));
        if (i < m && elastic && integer(0, 3) > 0) p.cap[i] = integer(1, 8);
    }
    return p;
}

// Solves the equality-constrained program for every way in which constraints can be inactive, at a
// side or (where elastic) beyond it, and returns the least value among the points that are allowed.
double least_by_enumeration(const Program& p) {
    const int n = static_cast<int>(p.gradient.size()), all = static_cast<int>(p.normals.cols());
    std::vector<int> state(static_cast<std::size_t>(all), 0);
    double least = kInfinity;
    for (;;) {
        Vector gradient = p.gradient;
        std::vector<std::pair<int, double>> active;
        for (int i = 0; i < all; ++i) {
            const int s = state[static_cast<std::size_t>(i)];
            const double side = s == 1 ? p.lower[i] : p.upper[i];
            if ((s == 1 || s == 2) && std::isfinite(side)) active.emplace_back(i, side);
            if (s > 2) gradient += (s == 3 ? -1 : 1) * p.cap[i] * p.normals.col(i);
        }
        const auto k = static_cast<int>(active.size());
        if (k <= n) {
            Matrix system = Matrix::Zero(n + k, n + k);
            Vector right = Vector::Zero(n + k);
            system.topLeftCorner(n, n) = p.hessian;
            right.head(n) = -gradient;
            for (int a = 0; a < k; ++a) {
                system.block(0, n + a, n, 1) =
                    p.normals.col(active[static_cast<std::size_t>(a)].first);
                system.block(n + a, 0, 1, n) =
                    p.normals.col(active[static_cast<std::size_t>(a)].first).transpose();
                right[n + a] = active[static_cast<std::size_t>(a)].second;
            }
            const Vector solution = system.fullPivLu().solve(right);
            const Vector d = solution.head(n);
            if ((system * solution - right).norm() < 1e-8 * (1 + right.norm()) && p.allows(d))
                least = std::min(least, p.value(d));
        }
        int i = 0;
        for (; i < all; ++i) {
            const bool elastic = i < p.cap.size() && std::isfinite(p.cap[i]);
            if (++state[static_cast<std::size_t>(i)] < (elastic ? 5 : 3)) break;
            state[static_cast<std::size_t>(i)] = 0;
        }
        if (i == all) return least;
    }
}

TEST(DenseQp, AgreesWithEnumerationOfActiveSets) {
    std::mt19937 random(3);
    int infeasible = 0, solved = 0;
    DenseQp qp;
    for (int round = 0; round < 400; ++round) {
        const int n = 1 + round % 3, m = round % 4;
        const double scale = std::pow(10.0, round % 7 - 3);
        const Program p = random_program(n, m, round % 2 == 1, scale, random);
        qp.resize(n, m);
        qp.normals = p.normals.leftCols(m);
        qp.lower = p.lower;
        qp.upper = p.upper;
        qp.cap = p.cap;
        Matrix factor = p.hessian;
        ASSERT_TRUE(factor_definite(factor, 0.0));
        const DenseQp::End end = qp.solve(factor, p.gradient);
        const double least = least_by_enumeration(p);
        if (least == kInfinity) {
            ++infeasible;
            EXPECT_EQ(end, DenseQp::End::kInfeasible) << round;
            continue;
        }
        ++solved;
        ASSERT_EQ(end, DenseQp::End::kOptimal) << round;
        EXPECT_TRUE(p.allows(qp.step())) << round;
        EXPECT_NEAR(p.value(qp.step()), least, 1e-7 * (1 + std::abs(least))) << round;
        const Vector rest = p.gradient + p.hessian * qp.step() - p.normals * qp.multipliers();
        EXPECT_LE(rest.norm(), 1e-7 * (1 + qp.multipliers().norm())) << round;
        for (int i = 0; i < m; ++i) EXPECT_LE(std::abs(qp.multipliers()[i]), p.cap[i]) << round;
    }
    EXPECT_GT(infeasible, 20);
    EXPECT_GT(solved, 200);
}

// More rows than columns, many of them active at the solution, which is known.
TEST(DenseQp, SolvesDegenerateProgramsOfSomeSize) {
    std::mt19937 random(5);
    std::normal_distribution<double> normal;
    DenseQp qp;
    for (const int n : {5, 20, 60}) {
        const int m = 2 * n;
        qp.resize(n, m);
        qp.normals = Matrix::NullaryExpr(n, m, [&] { return normal(random); });
        const Vector point = Vector::NullaryExpr(n, [&] { return normal(random); });
        Vector gradient = -point;
        for (int i = 0; i < m; ++i) {
            // Every row passes through the point, and a third of them pull.
            qp.lower[i] = qp.normals.col(i).dot(point);
            qp.upper[i] = kInfinity;
            if (i % 6 == 0) gradient += qp.normals.col(i);
        }
        qp.lower.tail(n).setConstant(-10);
        qp.upper.tail(n).setConstant(10);
        qp.cap.setConstant(kInfinity);
        ASSERT_EQ(qp.solve(Matrix::Identity(n, n), gradient), DenseQp::End::kOptimal);
        EXPECT_LE((qp.step() - point).norm(), 1e-8) << n;
    }
}

TEST(WorkingSetFactor, RefusesDependentRowsAndReducesHessians) {
    std::mt19937 random(11);
    std::normal_distribution<double> normal;
    const int n = 7;
    WorkingSetFactor factor;
    factor.start(n);
    Matrix rows = Matrix::NullaryExpr(n, 4, [&] { return normal(random); });
    rows.col(2) = 1e6 * (rows.col(0) - 3 * rows.col(1));
    Matrix hessian = Matrix::NullaryExpr(n, n, [&] { return normal(random); });
    hessian = (hessian + hessian.transpose()).eval();
    Matrix reduced = hessian;
    for (int i = 0, before = 0; i < 4; ++i, before = factor.rank()) {
        Vector row = rows.col(i);
        EXPECT_EQ(factor.add(row), i != 2) << i;
        factor.reduce(reduced, before);
    }
    ASSERT_EQ(factor.rank(), 3);
    for (int k = 0; k < n - 3; ++k) {
        Vector z = Vector::Unit(n, 3 + k);
        factor.rotate_back(z);
        EXPECT_LE((rows.transpose() * z).norm(), 1e-9 * rows.norm());
        for (int l = 0; l < n - 3; ++l) {
            Vector other = Vector::Unit(n, 3 + l);
            factor.rotate_back(other);
            EXPECT_NEAR(reduced(3 + k, 3 + l), z.dot(hessian * other), 1e-12);
        }
    }
}

// Against the optimality conditions of the trust-region problem.
TEST(ReducedStep, IsTheNewtonStepOrLeavesASaddleAlongTheBoundary) {
    ReducedStep step;
    Vector u(2), newton(2);
    u << 1, 2;
    newton << -0.5, -1;
    step.solve(Vector::Constant(2, 2.0).asDiagonal().toDenseMatrix(), u, 10);
    EXPECT_LE((u - newton).norm(), 1e-12);
    for (const double slope : {1.0, 0.0}) {  // 0: the hard case
        Matrix hessian = Matrix::Identity(2, 2);
        hessian(0, 0) = -1;
        Vector gradient(2);
        gradient << slope, 0.5;
        u = gradient;
        step.solve(hessian, u, 3);
        EXPECT_NEAR(u.norm(), 3, 1e-9);
        const double shift = slope == 0 ? 1 : -(hessian * u + gradient)[0] / u[0];
        EXPECT_GE(shift, 1 - 1e-6);
        EXPECT_LE((hessian * u + gradient + shift * u).norm(), 1e-6);
    }
}

TEST(Filter, TakesPairsThatNoOtherDominates) {
    Filter filter;
    EXPECT_TRUE(filter.accepts(1e9, 1e9));
    filter.add(1, 10);
    filter.add(3, 5);
    struct {
        double violation, objective;
        bool accepted;
    } const cases[] = {{0.5, 100, true},    {2, 7, true},          {1, 10, false},
                       {2, 11, false},      {4, 4, true},          {3, 5, false},
                       {0, 1e300, true},    {1 - 1e-9, 10, false},  // within the margin
                       {3, 5 - 1e-9, false}};
    for (const auto& item : cases)
        EXPECT_EQ(filter.accepts(item.violation, item.objective), item.accepted)
            << item.violation << " " << item.objective;
    filter.add(0.5, 4);  // dominates both
    EXPECT_EQ(filter.size(), 1u);
    EXPECT_FALSE(filter.accepts(2, 7));
}

}  // namespace
}  // namespace qlx::nlp::slp::test
