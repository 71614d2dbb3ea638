// An independent dense checker for answers to convex programs, and small random families.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "engine/base/index.hpp"
#include "engine/quad/convex_program.hpp"

namespace qlx::quad::test {

using Dense = std::vector<std::vector<double>>;

inline Dense dense_symmetric(const std::vector<Triplet>& entries, int order) {
    Dense q(at(order), std::vector<double>(at(order), 0.0));
    for (const Triplet& e : entries) {
        q[at(e.row)][at(e.column)] += e.value;
        if (e.row != e.column) q[at(e.column)][at(e.row)] += e.value;
    }
    return q;
}

inline std::vector<double> times(const Dense& q, const std::vector<double>& x) {
    std::vector<double> out(q.size(), 0.0);
    for (std::size_t i = 0; i < q.size(); ++i) {
        for (std::size_t j = 0; j < x.size(); ++j) out[i] += q[i][j] * x[j];
    }
    return out;
}

inline double dot(const std::vector<double>& a, const std::vector<double>& b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
    return sum;
}

inline double objective_at(const ConvexProgram& p, const std::vector<double>& x) {
    return p.constant + dot(p.cost, x) +
           0.5 * dot(x, times(dense_symmetric(p.hessian, p.column_count()), x));
}

// A side's condition: inside its bounds, and a dual of the right sign that vanishes off the sides.
inline void expect_side(const char* what, std::size_t k, double value, double dual, double lower,
                        double upper, double tolerance) {
    const double size = std::max(1.0, std::abs(value));
    EXPECT_GE(value, lower - tolerance * size) << what << ' ' << k;
    EXPECT_LE(value, upper + tolerance * size) << what << ' ' << k;
    const double room = dual > 0.0 ? value - lower : upper - value;
    // Where a dual and its room both vanish, an interior point leaves both near the root of its
    // gap.
    const double product = std::abs(dual) * std::max(room, 0.0);
    EXPECT_LE(std::min(std::abs(dual), product), tolerance * (size + std::abs(dual)))
        << what << ' ' << k << " dual " << dual;
}

// Activities and reduced costs z = c + Qx - A'y - sum of y_k (Q_k x + a_k), from the definitions.
struct DenseEvaluation {
    std::vector<double> activity, quadratic_activity, reduced_cost;
};

inline DenseEvaluation evaluate_densely(const ConvexProgram& p, const ConvexResult& r) {
    const int n = p.column_count();
    DenseEvaluation out{std::vector<double>(p.row_lower.size(), 0.0),
                        {},
                        times(dense_symmetric(p.hessian, n), r.x)};
    std::vector<double>& price = out.reduced_cost;
    for (std::size_t j = 0; j < price.size(); ++j) price[j] += p.cost[j];
    for (const Triplet& e : p.rows) {
        out.activity[at(e.row)] += e.value * r.x[at(e.column)];
        price[at(e.column)] -= e.value * r.row_dual[at(e.row)];
    }
    for (std::size_t k = 0; k < p.quadratic_rows.size(); ++k) {
        const QuadraticRow& row = p.quadratic_rows[k];
        std::vector<double> pulled = times(dense_symmetric(row.hessian, n), r.x);
        double value = 0.5 * dot(pulled, r.x);
        for (std::size_t c = 0; c < row.columns.size(); ++c) {
            value += row.coefficients[c] * r.x[at(row.columns[c])];
            pulled[at(row.columns[c])] += row.coefficients[c];
        }
        out.quadratic_activity.push_back(value);
        for (std::size_t j = 0; j < price.size(); ++j) price[j] -= r.quadratic_dual[k] * pulled[j];
    }
    return out;
}

// Checks the conditions of Karush, Kuhn and Tucker, quadratic rows by their reported duals.
inline void expect_optimal(const ConvexProgram& p, const ConvexResult& r, double tolerance = 1e-6) {
    ASSERT_EQ(r.status, ConvexStatus::kOptimal);
    ASSERT_EQ(r.x.size(), p.cost.size());
    EXPECT_NEAR(r.objective, objective_at(p, r.x), 1e-9 * (1.0 + std::abs(r.objective)));
    const DenseEvaluation own = evaluate_densely(p, r);
    for (std::size_t i = 0; i < own.activity.size(); ++i) {
        const double activity = own.activity[i];
        EXPECT_NEAR(activity, r.row_activity[i], 1e-9 * (1.0 + std::abs(activity)));
        expect_side("row", i, activity, r.row_dual[i], p.row_lower[i], p.row_upper[i], tolerance);
    }
    for (std::size_t k = 0; k < own.quadratic_activity.size(); ++k) {
        const double value = own.quadratic_activity[k];
        EXPECT_NEAR(value, r.quadratic_activity[k], 1e-9 * (1.0 + std::abs(value)));
        expect_side("quadratic row", k, value, r.quadratic_dual[k], p.quadratic_rows[k].lower,
                    p.quadratic_rows[k].upper, tolerance);
    }
    for (std::size_t j = 0; j < own.reduced_cost.size(); ++j) {
        const double price = own.reduced_cost[j];
        EXPECT_NEAR(price, r.reduced_cost[j], tolerance * (1.0 + std::abs(price)));
        expect_side("column", j, r.x[j], r.reduced_cost[j], p.column_lower[j], p.column_upper[j],
                    tolerance);
    }
}

// Q = F'F with `rank` rows in F of about three entries each.
inline std::vector<Triplet> random_semidefinite(int order, int rank, std::mt19937& random) {
    std::normal_distribution<double> normal;
    std::uniform_int_distribution<int> column(0, order - 1);
    std::vector<Triplet> entries;
    for (int k = 0; k < rank; ++k) {
        int place[3] = {column(random), column(random), column(random)};
        double value[3] = {normal(random), normal(random), normal(random)};
        for (int a = 0; a < 3; ++a) {
            for (int b = 0; b < 3; ++b) {
                if (a == b || place[a] < place[b] || (place[a] == place[b] && a < b)) {
                    const double twice = place[a] == place[b] && a != b ? 2.0 : 1.0;
                    entries.push_back({place[a], place[b], twice * value[a] * value[b]});
                }
            }
        }
    }
    return entries;
}

// A feasible bounded program: rows are equations, one-sided or ranges around a random point.
inline ConvexProgram random_program(int columns, int rows, int rank, std::mt19937& random) {
    std::normal_distribution<double> normal;
    std::uniform_int_distribution<int> column(0, columns - 1);
    std::uniform_int_distribution<int> kind(0, 3);
    ConvexProgram p;
    std::vector<double> x;
    for (int j = 0; j < columns; ++j) {
        p.cost.push_back(normal(random));
        x.push_back(normal(random));
        p.column_lower.push_back(kind(random) ? x.back() - std::abs(normal(random)) : x.back());
        p.column_upper.push_back(kind(random) ? x.back() + std::abs(normal(random)) : x.back());
    }
    p.hessian = random_semidefinite(columns, rank, random);
    for (int i = 0; i < rows; ++i) {
        double activity = 0.0;
        for (int k = 0; k < 3; ++k) {
            p.rows.push_back({i, column(random), normal(random)});
            activity += p.rows.back().value * x[at(p.rows.back().column)];
        }
        const int sides = kind(random);
        p.row_lower.push_back(sides == 1 ? -1e30 : activity - (sides == 2 ? 0.1 : 0.0));
        p.row_upper.push_back(sides == 0 ? 1e30 : activity + (sides == 2 ? 0.1 : 0.0));
    }
    return p;
}

}  // namespace qlx::quad::test
