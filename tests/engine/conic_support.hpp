// Cone programs with known answers, and conditions of optimality of their own.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "engine/base/index.hpp"
#include "engine/quad/conic/program.hpp"

namespace qlx::quad::conic::test {

using Vector = std::vector<double>;

// A program under construction: cones are added with their rows, each row given densely.
struct Builder {
    explicit Builder(int columns) : cost(at(columns), 0.0) {}

    int columns() const { return static_cast<int>(cost.size()); }
    Builder& add(ConeKind kind, const std::vector<Vector>& block, const Vector& level) {
        cones.push_back({kind, static_cast<int>(block.size())});
        for (std::size_t i = 0; i < block.size(); ++i) {
            for (int j = 0; j < columns(); ++j) {
                if (block[i][at(j)] != 0.0) {
                    rows.push_back({static_cast<int>(right.size()), j, block[i][at(j)]});
                }
            }
            right.push_back(level[i]);
        }
        return *this;
    }
    Program program() const {
        return {compress_symmetric(columns(), hessian), cost,
                compress(static_cast<int>(right.size()), columns(), rows), right, cones};
    }

    Vector cost;
    std::vector<Triplet> hessian;
    std::vector<Triplet> rows;
    Vector right;
    std::vector<Cone> cones;
};

inline double dot(const Vector& a, const Vector& b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
    return sum;
}

// A x, and A'z with Px, from the definitions.
inline Vector rows_at(const Program& p, const Vector& x) {
    Vector out(p.right.size(), 0.0);
    for (std::size_t j = 0; j < x.size(); ++j) {
        for (int k = p.rows.start[j]; k < p.rows.start[j + 1]; ++k) {
            out[at(p.rows.index[at(k)])] += p.rows.value[at(k)] * x[j];
        }
    }
    return out;
}

inline Vector pull_back(const Program& p, const Vector& z) {
    Vector out(p.cost.size(), 0.0);
    for (std::size_t j = 0; j < out.size(); ++j) {
        for (int k = p.rows.start[j]; k < p.rows.start[j + 1]; ++k) {
            out[j] += p.rows.value[at(k)] * z[at(p.rows.index[at(k)])];
        }
    }
    return out;
}

inline Vector hessian_at(const Program& p, const Vector& x) {
    Vector out(x.size(), 0.0);
    for (std::size_t j = 0; j < x.size(); ++j) {
        for (int k = p.hessian.start[j]; k < p.hessian.start[j + 1]; ++k) {
            const std::size_t i = at(p.hessian.index[at(k)]);
            out[i] += p.hessian.value[at(k)] * x[j];
            if (i != j) out[j] += p.hessian.value[at(k)] * x[i];
        }
    }
    return out;
}

// v's distance from the cones, or their duals, and the largest |v| of a cone beside it.
inline void expect_in_cones(const Program& p, const Vector& v, bool dual, double tolerance) {
    std::size_t i = 0;
    for (const Cone& cone : p.cones) {
        const std::size_t end = i + at(cone.size);
        if (cone.kind == ConeKind::kSecondOrder) {
            double square = 0.0;
            for (std::size_t k = i + 1; k < end; ++k) square += v[k] * v[k];
            EXPECT_GE(v[i], std::sqrt(square) - tolerance * (1.0 + v[i])) << "cone at row " << i;
        } else {
            for (std::size_t k = i; k < end; ++k) {
                if (cone.kind == ConeKind::kNonnegative) {
                    EXPECT_GE(v[k], -tolerance) << "row " << k;
                }
                if (cone.kind == ConeKind::kZero && !dual) {
                    EXPECT_NEAR(v[k], 0.0, tolerance) << "row " << k;
                }
            }
        }
        i = end;
    }
}

// Membership of b - Ax and z in the cones, stationarity, and no gap.
inline void expect_optimal(const Program& p, const Answer& a, double tolerance = 1e-6) {
    ASSERT_EQ(a.status, Status::kSolved) << a.iterations << " iterations, " << a.progress.worst();
    const Vector activity = rows_at(p, a.x);
    Vector slack = p.right;
    double size = 1.0;
    for (std::size_t i = 0; i < slack.size(); ++i) {
        slack[i] -= activity[i];
        size = std::max({size, std::abs(p.right[i]), std::abs(activity[i])});
    }
    expect_in_cones(p, slack, false, tolerance * size);
    expect_in_cones(p, a.z, true, 0.0);
    const Vector price = pull_back(p, a.z);
    const Vector curved = hessian_at(p, a.x);
    for (std::size_t j = 0; j < price.size(); ++j) {
        const double terms = std::max({1.0, std::abs(price[j]), std::abs(p.cost[j])});
        EXPECT_NEAR(curved[j] + price[j] + p.cost[j], 0.0, tolerance * terms) << "column " << j;
    }
    const double linear = dot(p.cost, a.x);
    const double levels = dot(p.right, a.z);
    const double curvature = dot(curved, a.x);
    const double terms = 1.0 + std::min(std::abs(linear), std::abs(levels)) + curvature;
    EXPECT_NEAR(curvature + linear, -levels, tolerance * terms);
}

// x with -Ax in the cones, Px = 0, q'x = -1; z with A'z = 0, z in the dual cones, b'z = -1.
inline void expect_ray(const Program& p, const Answer& a, double tolerance = 1e-7) {
    ASSERT_EQ(a.status, Status::kUnbounded);
    Vector slack = rows_at(p, a.x);
    for (double& entry : slack) entry = -entry;
    expect_in_cones(p, slack, false, tolerance);
    for (const double entry : hessian_at(p, a.x)) EXPECT_NEAR(entry, 0.0, tolerance);
    EXPECT_NEAR(dot(p.cost, a.x), -1.0, tolerance);
}

inline void expect_farkas(const Program& p, const Answer& a, double tolerance = 1e-7) {
    ASSERT_EQ(a.status, Status::kInfeasible);
    expect_in_cones(p, a.z, true, 0.0);
    for (const double entry : pull_back(p, a.z)) EXPECT_NEAR(entry, 0.0, tolerance);
    EXPECT_NEAR(dot(p.right, a.z), -1.0, tolerance);
}

// Random data; `spread` is the decimal exponent that rows' and columns' sizes vary by.
class Family {
  public:
    explicit Family(unsigned seed) : random_(seed) {}

    double normal() { return std::normal_distribution<double>()(random_); }
    double uniform() { return std::uniform_real_distribution<double>()(random_); }
    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }
    Vector vector(int size) {
        Vector v(at(size));
        for (double& entry : v) entry = normal();
        return v;
    }
    std::vector<Vector> block(int size, int columns, double density) {
        std::vector<Vector> rows(at(size));
        for (Vector& row : rows) {
            row = vector(columns);
            for (double& entry : row) entry = uniform() < density ? entry : 0.0;
        }
        return rows;
    }
    void complementary(const Cone& cone, Vector& s, Vector& z);
    // A cone's point well inside.
    Vector inner(const Cone& cone);
    std::vector<Cone> cones(int columns);
    // Optimal at a point chosen first: s and z are complementary, then b and q follow.
    Program solvable(int columns, double spread);
    Program infeasible(int columns);
    Program unbounded(int columns);

  private:
    std::mt19937 random_;
};

// s and z in a cone with s'z = 0: s inside, s at the apex, or both on the boundary.
inline void Family::complementary(const Cone& cone, Vector& s, Vector& z) {
    const std::size_t size = at(cone.size);
    s.assign(size, 0.0);
    z.assign(size, 0.0);
    if (cone.kind == ConeKind::kZero) {
        z = vector(cone.size);
    } else if (cone.kind == ConeKind::kNonnegative) {
        for (std::size_t i = 0; i < size; ++i) (below(2) ? s[i] : z[i]) = 0.1 + uniform();
    } else {
        const int where = below(3);
        if (where == 0) s = inner(cone);
        if (where == 1) z = inner(cone);
        if (where != 2) return;
        s = vector(cone.size);
        s[0] = 0.0;
        s[0] = std::sqrt(dot(s, s));
        const double factor = 0.1 + uniform();
        for (std::size_t i = 0; i < size; ++i) z[i] = i == 0 ? factor * s[0] : -factor * s[i];
    }
}

inline Vector Family::inner(const Cone& cone) {
    Vector v = vector(cone.size);
    if (cone.kind == ConeKind::kSecondOrder) {
        v[0] = 0.0;
        v[0] = std::sqrt(dot(v, v)) + 0.1 + uniform();
    } else {
        for (double& entry : v) entry = 0.1 + uniform();
    }
    return v;
}

inline std::vector<Cone> Family::cones(int columns) {
    std::vector<Cone> out{{ConeKind::kNonnegative, columns / 2 + 1}};
    for (int k = 0; k < 4; ++k) out.push_back({ConeKind::kSecondOrder, 1 + below(9)});
    out.push_back({ConeKind::kZero, 1 + columns / 6});
    out.push_back({ConeKind::kSecondOrder, 3 + below(columns)});
    return out;
}

inline Program Family::solvable(int columns, double spread) {
    Builder b(columns);
    const double density = below(2) ? 1.0 : 0.4;
    Vector x = vector(columns);
    Vector unit(at(columns));
    for (std::size_t j = 0; j < unit.size(); ++j) {
        unit[j] = std::pow(10.0, spread * (2.0 * uniform() - 1.0));
        x[j] *= unit[j];
    }
    for (int k = 0; k < below(3) * columns / 4; ++k) {
        const Vector f = vector(3);
        const int j[3] = {below(columns), below(columns), below(columns)};
        for (int c = 0; c < 3; ++c) {
            for (int d = 0; d < 3; ++d) {
                const double half = j[c] == j[d] ? 1.0 : 0.5;
                b.hessian.push_back(
                    {j[c], j[d], half * f[at(c)] * f[at(d)] / (unit[at(j[c])] * unit[at(j[d])])});
            }
        }
    }
    Vector s, z, pull(at(columns), 0.0);
    for (const Cone& cone : cones(columns)) {
        complementary(cone, s, z);
        std::vector<Vector> rows = block(cone.size, columns, density);
        const double whole = std::pow(10.0, spread * (2.0 * uniform() - 1.0));
        for (std::size_t i = 0; i < rows.size(); ++i) {
            for (std::size_t j = 0; j < unit.size(); ++j) {
                pull[j] += rows[i][j] * z[i] / unit[j];
                rows[i][j] *= whole / unit[j];
            }
            s[i] = s[i] * whole + dot(rows[i], x);
        }
        b.add(cone.kind, rows, s);
    }
    const Vector curved = hessian_at(b.program(), x);
    for (std::size_t j = 0; j < unit.size(); ++j) b.cost[j] = -pull[j] - curved[j];
    return b.program();
}

// z comes first: then the last row is set so that A'z = 0 and b'z = -1.
inline Program Family::infeasible(int columns) {
    Builder b(columns);
    b.cost = vector(columns);
    Vector pull(at(columns), 0.0);
    double gain = 0.0;
    std::vector<Cone> all = cones(columns);
    all.push_back({ConeKind::kNonnegative, 1});
    for (const Cone& cone : all) {
        std::vector<Vector> rows = block(cone.size, columns, 1.0);
        Vector level = vector(cone.size);
        const Vector z = cone.kind == ConeKind::kZero ? vector(cone.size) : inner(cone);
        if (&cone == &all.back()) {
            for (std::size_t j = 0; j < pull.size(); ++j) rows[0][j] = -pull[j] / z[0];
            level[0] = (-1.0 - gain) / z[0];
        }
        for (std::size_t i = 0; i < rows.size(); ++i) {
            for (std::size_t j = 0; j < pull.size(); ++j) pull[j] += rows[i][j] * z[i];
            gain += level[i] * z[i];
        }
        b.add(cone.kind, rows, level);
    }
    return b.program();
}

// A ray d comes first: rows are set so that -Ad is in the cones, levels so that x is feasible.
inline Program Family::unbounded(int columns) {
    Builder b(columns);
    const Vector d = vector(columns);
    const Vector x = vector(columns);
    const double square = dot(d, d);
    for (const Cone& cone : cones(columns)) {
        const bool zero = cone.kind == ConeKind::kZero;
        std::vector<Vector> rows = block(cone.size, columns, 1.0);
        Vector level = zero ? Vector(at(cone.size), 0.0) : inner(cone);
        const Vector slope = zero ? level : inner(cone);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const double off = (dot(rows[i], d) + slope[i]) / square;
            for (std::size_t j = 0; j < d.size(); ++j) rows[i][j] -= off * d[j];
            level[i] += dot(rows[i], x);
        }
        b.add(cone.kind, rows, level);
    }
    b.cost = vector(columns);
    const double off = (dot(b.cost, d) + 1.0) / square;
    for (std::size_t j = 0; j < d.size(); ++j) b.cost[j] -= off * d[j];
    return b.program();
}

}  // namespace qlx::quad::conic::test
