// The method for cone programs: known optima, proofs, apexes, missing interiors, scales, limits.
#include <gtest/gtest.h>

#include <atomic>

#include "engine/quad/conic/scaling.hpp"
#include "tests/engine/conic_support.hpp"

namespace qlx::quad::conic::test {
namespace {

Answer solve_plainly(const Program& program) {
    return solve(program, Control{});
}

TEST(Conic, FindsOptimaChosenBeforehand) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        Family family(seed);
        const Program program = family.solvable(4 + family.below(30), 0.0);
        expect_optimal(program, solve_plainly(program));
    }
}

TEST(Conic, ScalesOfRowsAndColumns) {
    for (const double spread : {1.0, 2.0, 3.0}) {
        for (unsigned seed = 0; seed < 20; ++seed) {
            SCOPED_TRACE(testing::Message() << "spread " << spread << " seed " << seed);
            Family family(1000 + seed);
            const Program program = family.solvable(4 + family.below(20), spread);
            expect_optimal(program, solve_plainly(program));
        }
    }
}

TEST(Conic, ProvesThatThereIsNoPointOrNoMinimum) {
    for (unsigned seed = 0; seed < 30; ++seed) {
        SCOPED_TRACE(seed);
        Family family(seed);
        const int columns = 4 + family.below(20);
        const Program infeasible = family.infeasible(columns);
        expect_farkas(infeasible, solve_plainly(infeasible));
        const Program unbounded = family.unbounded(columns);
        expect_ray(unbounded, solve_plainly(unbounded));
    }
}

// minimise 1/2 |Xw - y|^2 + penalty * sum of |w_g|: groups vanish where the penalty is large.
Program group_lasso(Family& family, int groups, int size, double penalty) {
    const int samples = groups * size / 2 + 3;
    const int weights = groups * size;
    const int columns = weights + groups + samples;
    Builder b(columns);
    std::vector<Vector> data = family.block(samples, columns, 1.0);
    for (int i = 0; i < samples; ++i) {
        for (int j = weights; j < columns; ++j) data[at(i)][at(j)] = 0.0;
        data[at(i)][at(weights + groups + i)] = -1.0;
        b.hessian.push_back({weights + groups + i, weights + groups + i, 1.0});
    }
    b.add(ConeKind::kZero, data, family.vector(samples));
    for (int g = 0; g < groups; ++g) {
        b.cost[at(weights + g)] = penalty;
        std::vector<Vector> rows(at(size + 1), Vector(at(columns), 0.0));
        rows[0][at(weights + g)] = -1.0;
        for (int k = 0; k < size; ++k) rows[at(k + 1)][at(g * size + k)] = -1.0;
        b.add(ConeKind::kSecondOrder, rows, Vector(at(size + 1), 0.0));
    }
    return b.program();
}

TEST(Conic, ApexesOfGroupLasso) {
    for (const double penalty : {0.5, 3.0, 8.0, 100.0}) {
        for (const int size : {1, 3, 8}) {
            SCOPED_TRACE(testing::Message() << penalty << ' ' << size);
            Family family(5);
            const Program program = group_lasso(family, 20, size, penalty);
            const Answer answer = solve_plainly(program);
            expect_optimal(program, answer);
            if (penalty == 100.0) {
                EXPECT_NEAR(answer.x[0], 0.0, 1e-6);
            }
        }
    }
}

// |(x_0, ..., x_k)| <= 0 leaves one point: no interior, and a dual that need not be bounded.
TEST(Conic, NoInterior) {
    Builder b(4);
    b.cost = {1.0, -2.0, 0.5, 1.0};
    std::vector<Vector> rows{{0, 0, 0, 0}, {-1, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, -1, 0}};
    b.add(ConeKind::kSecondOrder, rows, {0.0, -1.0, -1.0, -1.0});
    b.add(ConeKind::kNonnegative, {{0, 0, 0, -1}}, {3.0});
    const Program program = b.program();
    const Answer answer = solve_plainly(program);
    expect_optimal(program, answer);
    EXPECT_NEAR(answer.progress.primal_objective, -3.5, 1e-6);
}

TEST(Conic, RowsTwiceAndRowsOfNothing) {
    for (unsigned seed = 0; seed < 10; ++seed) {
        SCOPED_TRACE(seed);
        Family family(seed);
        Program once = family.solvable(10, 0.0);
        Program twice = once;
        std::vector<Triplet> entries;
        const int rows = once.rows.rows;
        for (int j = 0; j < once.rows.columns; ++j) {
            for (int k = once.rows.start[at(j)]; k < once.rows.start[at(j) + 1]; ++k) {
                const int i = once.rows.index[at(k)];
                entries.push_back({i, j, once.rows.value[at(k)]});
                entries.push_back({i + rows, j, once.rows.value[at(k)]});
            }
        }
        twice.cones.insert(twice.cones.end(), once.cones.begin(), once.cones.end());
        twice.cones.push_back({ConeKind::kNonnegative, 1});
        twice.cones.push_back({ConeKind::kZero, 1});
        twice.right.insert(twice.right.end(), once.right.begin(), once.right.end());
        twice.right.insert(twice.right.end(), {1.0, 0.0});
        twice.rows = compress(2 * rows + 2, once.rows.columns, entries);
        const Answer answer = solve_plainly(twice);
        expect_optimal(twice, answer);
        EXPECT_NEAR(answer.progress.primal_objective, solve_plainly(once).progress.primal_objective,
                    1e-6 * (1.0 + std::abs(answer.progress.primal_objective)));
    }
}

TEST(Conic, SmallestPrograms) {
    Builder free(2);  // without rows
    free.hessian = {{0, 0, 2.0}, {1, 1, 4.0}};
    free.cost = {-2.0, 4.0};
    const Answer answer = solve_plainly(free.program());
    expect_optimal(free.program(), answer);
    EXPECT_NEAR(answer.x[0], 1.0, 1e-7);

    Builder falling(1);
    falling.cost = {-1.0};
    falling.add(ConeKind::kNonnegative, {{-1.0}}, {0.0});
    expect_ray(falling.program(), solve_plainly(falling.program()));

    Builder empty(1);
    empty.add(ConeKind::kNonnegative, {{0.0}}, {-1.0});
    expect_farkas(empty.program(), solve_plainly(empty.program()));
}

TEST(Conic, ScalingMapsBothPointsToOne) {
    for (const int size : {2, 3, 7, 40}) {
        const std::vector<Cone> all{{ConeKind::kSecondOrder, size}, {ConeKind::kNonnegative, 3}};
        const ConeProduct cones(all);
        Family family(static_cast<unsigned>(size));
        Vector s, z;
        for (const Cone& cone : all) {
            for (const double entry : family.inner(cone)) s.push_back(entry);
            for (const double entry : family.inner(cone)) z.push_back(1e3 * entry);
        }
        Scaling scaling(cones);
        ASSERT_TRUE(scaling.update(s, z));
        Vector forward(s.size()), backward(s.size());
        scaling.apply(z, forward);
        scaling.apply_inverse(s, backward);
        for (std::size_t i = 0; i < s.size(); ++i) {
            EXPECT_NEAR(forward[i], backward[i], 1e-9);
            EXPECT_NEAR(forward[i], scaling.point()[i], 1e-9);
        }
        s[0] = 0.0;
        EXPECT_FALSE(scaling.update(s, z));
    }
}

TEST(Conic, LimitsStopsAndProgress) {
    Family family(3);
    const Program program = family.solvable(20, 0.0);
    Control control;
    int lines = 0;
    control.on_iteration = [&lines](const Progress& progress) {
        EXPECT_EQ(progress.iteration, lines++);
    };
    const Answer whole = solve(program, control);
    EXPECT_EQ(lines, whole.iterations + 1);
    control.on_iteration = nullptr;
    control.iteration_limit = 2;
    const Answer limited = solve(program, control);
    EXPECT_EQ(limited.status, Status::kIterationLimit);
    EXPECT_EQ(limited.iterations, 2);
    EXPECT_EQ(limited.x.size(), program.cost.size());
    std::atomic<int> flag{1};
    control.stop.watch(flag);
    EXPECT_EQ(solve(program, control).status, Status::kStopped);
}

}  // namespace
}  // namespace qlx::quad::conic::test
