// Convex quadratic programs: optima, duals, statuses, stopping.
#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <thread>

#include "engine/quad/proximal_kernel.hpp"
#include "tests/engine/quad_checks.hpp"

namespace qlx::quad::test {
namespace {

constexpr double kInf = 1e30;

std::optional<std::vector<double>> solve_dense(Dense a, std::vector<double> b) {
    const std::size_t n = b.size();
    for (std::size_t c = 0; c < n; ++c) {
        std::size_t pivot = c;
        for (std::size_t r = c; r < n; ++r) {
            if (std::abs(a[r][c]) > std::abs(a[pivot][c])) pivot = r;
        }
        if (std::abs(a[pivot][c]) < 1e-10) return std::nullopt;
        std::swap(a[c], a[pivot]);
        std::swap(b[c], b[pivot]);
        for (std::size_t r = 0; r < n; ++r) {
            const double factor = r == c ? 0.0 : a[r][c] / a[c][c];
            if (factor == 0.0) continue;
            for (std::size_t k = c; k < n; ++k) a[r][k] -= factor * a[c][k];
            b[r] -= factor * b[c];
        }
    }
    for (std::size_t c = 0; c < n; ++c) b[c] /= a[c][c];
    return b;
}

// The least objective over the stationary points of all active sets: columns as rows of their own.
double enumerate(const ConvexProgram& p) {
    const std::size_t n = p.cost.size();
    Dense rows(p.row_lower.size(), std::vector<double>(n, 0.0));
    for (const Triplet& e : p.rows) rows[at(e.row)][at(e.column)] += e.value;
    std::vector<double> lower = p.row_lower;
    std::vector<double> upper = p.row_upper;
    for (std::size_t j = 0; j < n; ++j) {
        rows.emplace_back(n, 0.0)[j] = 1.0;
        lower.push_back(p.column_lower[j]);
        upper.push_back(p.column_upper[j]);
    }
    const Dense q = dense_symmetric(p.hessian, p.column_count());
    double best = kInf;
    std::vector<int> state(rows.size(), 0);
    while (true) {
        std::vector<std::size_t> active;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (state[i] != 0) active.push_back(i);
        }
        if (active.size() <= n) {
            Dense system(n + active.size(), std::vector<double>(n + active.size(), 0.0));
            std::vector<double> b(n + active.size());
            for (std::size_t j = 0; j < n; ++j) {
                std::copy(q[j].begin(), q[j].end(), system[j].begin());
                b[j] = -p.cost[j];
            }
            for (std::size_t k = 0; k < active.size(); ++k) {
                b[n + k] = state[active[k]] == 1 ? lower[active[k]] : upper[active[k]];
                for (std::size_t j = 0; j < n; ++j) {
                    system[n + k][j] = system[j][n + k] = rows[active[k]][j];
                }
            }
            if (auto x = solve_dense(system, b)) {
                x->resize(n);
                bool feasible = true;
                for (std::size_t i = 0; i < rows.size(); ++i) {
                    const double value = dot(rows[i], *x);
                    feasible = feasible && value >= lower[i] - 1e-9 && value <= upper[i] + 1e-9;
                }
                if (feasible) best = std::min(best, objective_at(p, *x));
            }
        }
        std::size_t i = 0;
        while (i < state.size() && state[i] == 2) state[i++] = 0;
        if (i == state.size()) return best;
        ++state[i];
    }
}

TEST(QuadraticProgram, AgreesWithEnumerationOfActiveSets) {
    std::mt19937 random(3);
    for (int round = 0; round < 60; ++round) {
        ConvexProgram p = random_program(4, 2, 8, random);
        for (int j = 0; j < 4; ++j) p.hessian.push_back({j, j, 0.1});
        const ConvexResult result = solve_convex(p, {});
        expect_optimal(p, result);
        const double best = enumerate(p);
        EXPECT_NEAR(result.objective, best, 1e-7 * (1.0 + std::abs(best))) << "round " << round;
    }
}

TEST(QuadraticProgram, RandomSingularAndDegenerateProgramsMeetTheirConditions) {
    std::mt19937 random(5);
    for (const auto& [columns, rows, rank] : {std::array{1, 1, 1},
                                              {5, 0, 2},
                                              {20, 30, 3},
                                              {60, 20, 10},
                                              {100, 80, 0},
                                              {300, 200, 50}}) {
        for (int round = 0; round < 10; ++round) {
            ConvexProgram p = random_program(columns, rows, rank, random);
            expect_optimal(p, solve_convex(p, {}));
            // Every row twice: the active rows depend on each other.
            const std::vector<Triplet> once = p.rows;
            for (const Triplet& e : once) p.rows.push_back({e.row + rows, e.column, e.value});
            p.row_lower.insert(p.row_lower.end(), p.row_lower.begin(), p.row_lower.end());
            p.row_upper.insert(p.row_upper.end(), p.row_upper.begin(), p.row_upper.end());
            p.row_lower.resize(at(2 * rows));
            p.row_upper.resize(at(2 * rows));
            expect_optimal(p, solve_convex(p, {}));
        }
    }
}

TEST(QuadraticProgram, CoefficientsOverTwelveOrdersOfMagnitude) {
    std::mt19937 random(9);
    for (int round = 0; round < 20; ++round) {
        ConvexProgram p = random_program(30, 15, 40, random);
        const double expected = solve_convex(p, {}).objective;
        // Column j in units of 10^(j % 7 - 3), row i times 10^(i % 7 - 3).
        auto unit = [](int k) { return std::pow(10.0, k % 7 - 3); };
        for (Triplet& e : p.hessian) e.value *= unit(e.row) * unit(e.column);
        for (Triplet& e : p.rows) e.value *= unit(e.column) * unit(e.row);
        for (int j = 0; j < 30; ++j) {
            p.cost[at(j)] *= unit(j);
            p.column_lower[at(j)] /= unit(j);
            p.column_upper[at(j)] /= unit(j);
        }
        for (int i = 0; i < 15; ++i) {
            if (p.row_lower[at(i)] > -kInf) p.row_lower[at(i)] *= unit(i);
            if (p.row_upper[at(i)] < kInf) p.row_upper[at(i)] *= unit(i);
        }
        const ConvexResult result = solve_convex(p, {});
        ASSERT_EQ(result.status, ConvexStatus::kOptimal) << "round " << round;
        EXPECT_NEAR(result.objective, expected, 1e-6 * (1.0 + std::abs(expected)));
    }
}

// minimise with columns of bounds [0, inf) unless changed
ConvexProgram program(std::vector<double> cost, std::vector<Triplet> hessian) {
    ConvexProgram p;
    p.column_lower.assign(cost.size(), 0.0);
    p.column_upper.assign(cost.size(), kInf);
    p.cost = std::move(cost);
    p.hessian = std::move(hessian);
    return p;
}

void add_row(ConvexProgram& p, double lower, std::vector<double> coefficients, double upper) {
    for (std::size_t j = 0; j < coefficients.size(); ++j) {
        p.rows.push_back({p.row_count(), static_cast<int>(j), coefficients[j]});
    }
    p.row_lower.push_back(lower);
    p.row_upper.push_back(upper);
}

TEST(QuadraticProgram, PublishedOptima) {
    ConvexProgram hs35 =
        program({-8, -6, -4}, {{0, 0, 4}, {1, 1, 4}, {2, 2, 2}, {1, 0, 2}, {2, 0, 2}});
    hs35.constant = 9;
    add_row(hs35, -kInf, {1, 1, 2}, 3);
    ConvexProgram hs76 = program(
        {-1, -3, 1, -1}, {{0, 0, 2}, {1, 1, 1}, {2, 2, 2}, {3, 3, 1}, {2, 0, -1}, {3, 2, 1}});
    add_row(hs76, -kInf, {1, 2, 1, 1}, 5);
    add_row(hs76, -kInf, {3, 1, 2, -1}, 4);
    add_row(hs76, 1.5, {0, 1, 4, 0}, kInf);
    for (const auto& [p, optimum] : {std::pair{hs35, 1.0 / 9.0}, {hs76, -4.6818181818}}) {
        const ConvexResult result = solve_convex(p, {});
        expect_optimal(p, result);
        EXPECT_NEAR(result.objective, optimum, 1e-8);
    }
}

TEST(QuadraticProgram, SingletonRowsAndFixedColumnsKeepTheirDuals) {
    // x0 is fixed by one row, x1 held by another, x2 by the last, which presolve turns into bounds.
    ConvexProgram p =
        program({1, -40, 2}, {{0, 0, 2}, {1, 1, 2}, {2, 2, 2}, {1, 0, 1}, {2, 1, -1}});
    add_row(p, 3, {1, 0, 0}, 3);
    add_row(p, -kInf, {0, 2, 0}, 1);
    add_row(p, 5, {1, 1, -1}, kInf);
    add_row(p, -kInf, {0, 0, 0}, 1);
    p.column_lower[2] = -kInf;
    const ConvexResult result = solve_convex(p, {});
    expect_optimal(p, result);
    EXPECT_NEAR(result.x[0], 3.0, 1e-9);
    EXPECT_NEAR(result.row_dual[1], 0.5 * (2 * 0.5 - 40 + 3 - result.x[2] - result.row_dual[2]),
                1e-7);
}

struct StatusCase {
    const char* name;
    ConvexProgram program;
    ConvexStatus expected;
};

std::vector<StatusCase> status_cases() {
    std::vector<StatusCase> cases;
    cases.push_back({"no columns", {}, ConvexStatus::kOptimal});
    ConvexProgram p = program({1}, {});
    add_row(p, 1, {0}, kInf);
    cases.push_back({"empty row out of reach", p, ConvexStatus::kInfeasible});
    p = program({0, 0}, {{0, 0, 1}, {1, 1, 1}});
    add_row(p, -kInf, {1, 1}, -1);
    cases.push_back({"sum of nonnegatives below zero", p, ConvexStatus::kInfeasible});
    p = program({0, 0, 0}, {{0, 0, 1}, {1, 1, 1}});
    p.column_lower.assign(3, -kInf);
    add_row(p, 1, {1, 1, 1}, 1);
    add_row(p, 2, {1, 1, 1}, 2);
    cases.push_back({"parallel equations of free columns", p, ConvexStatus::kInfeasible});
    p.row_lower = p.row_upper = {1, 1 + 1e-4};
    cases.push_back({"the same, off by 1e-4", p, ConvexStatus::kInfeasible});
    p = program({0, 0}, {{0, 0, 1}});
    p.column_upper[0] = -1;
    cases.push_back({"crossed bounds", p, ConvexStatus::kInfeasible});
    p = program({-1, 0}, {{1, 1, 1}});
    cases.push_back({"a column of its own falls forever", p, ConvexStatus::kUnbounded});
    p = program({-1, -1}, {{0, 0, 1}, {1, 1, 1}, {1, 0, -1}});
    cases.push_back({"along the null direction", p, ConvexStatus::kUnbounded});
    p = program({-1, 1}, {{0, 0, 1}, {1, 1, 1}, {1, 0, -1}});
    cases.push_back({"null direction without slope", p, ConvexStatus::kOptimal});
    p = program({1, -1, 0}, {{2, 2, 1}});
    p.column_lower.assign(3, -kInf);
    add_row(p, 0, {1, -1, 0}, 5);
    cases.push_back({"lineality held by a row", p, ConvexStatus::kOptimal});
    p.cost[1] = -1.001;
    cases.push_back({"lineality with a slope", p, ConvexStatus::kUnbounded});
    add_row(p, 1, {0, 0, 1}, 1);
    add_row(p, 2, {0, 0, 1}, kInf);
    cases.push_back({"infeasible and a falling direction", p, ConvexStatus::kInfeasible});
    p = program({0, 0}, {{1, 0, 1}});
    cases.push_back({"a product", p, ConvexStatus::kNonconvex});
    p.column_lower[0] = p.column_upper[0] = 2;
    cases.push_back({"a product with a fixed column", p, ConvexStatus::kOptimal});
    p = program({-1, 0}, {{0, 0, 1e-9}});
    p.column_lower[0] = -kInf;
    cases.push_back({"a minimum at 1e9", p, ConvexStatus::kOptimal});
    return cases;
}

TEST(QuadraticProgram, StatusesTellTheTruth) {
    for (const StatusCase& c : status_cases()) {
        const ConvexResult result = solve_convex(c.program, {});
        EXPECT_EQ(result.status, c.expected) << c.name;
        if (c.expected == ConvexStatus::kOptimal && result.status == c.expected) {
            expect_optimal(c.program, result);
        }
        if (c.expected == ConvexStatus::kUnbounded && result.status == c.expected) {
            EXPECT_LT(dot(c.program.cost, result.ray), 0.0) << c.name;
            EXPECT_LT(objective_at(c.program, result.ray) - c.program.constant, 0.0) << c.name;
        }
    }
    const ConvexResult pair = solve_convex(program({0, 0, 0}, {{0, 0, 1}, {2, 1, 1}}), {});
    EXPECT_EQ(pair.place.first_column, 1);
    EXPECT_EQ(pair.place.second_column, 2);
}

// Loosens and shifts bounds of a random program until it may have no optimum.
ConvexProgram random_doubtful_program(std::mt19937& random) {
    std::normal_distribution<double> normal;
    std::uniform_int_distribution<int> ten(0, 9);
    const int columns = 1 + 2 * ten(random);
    const int rows = 2 * ten(random);
    ConvexProgram p = random_program(columns, rows, ten(random) * columns / 9, random);
    for (std::size_t j = 0; j < p.cost.size(); ++j) {
        if (ten(random) < 3) p.column_lower[j] = -kInf;
        if (ten(random) < 3) p.column_upper[j] = kInf;
        if (ten(random) < 2) p.cost[j] = 0.0;
    }
    const bool shifts = ten(random) < 3;
    for (std::size_t i = 0; shifts && i < p.row_lower.size(); ++i) {
        if (ten(random) > 0) continue;
        p.row_lower[i] += 0.5 * normal(random);
        p.row_upper[i] = std::max(p.row_lower[i], p.row_upper[i]);
    }
    return p;
}

void expect_ray(const ConvexProgram& p, const std::vector<double>& ray) {
    ASSERT_EQ(ray.size(), p.cost.size());
    EXPECT_LT(dot(p.cost, ray), 0.0);
    std::vector<double> moved = times(dense_symmetric(p.hessian, p.column_count()), ray);
    for (double v : moved) EXPECT_NEAR(v, 0.0, 1e-6);
    std::vector<double> activity(p.row_lower.size(), 0.0);
    for (const Triplet& e : p.rows) activity[at(e.row)] += e.value * ray[at(e.column)];
    for (std::size_t i = 0; i < activity.size(); ++i) {
        if (p.row_lower[i] > -kInf) {
            EXPECT_GE(activity[i], -1e-6);
        }
        if (p.row_upper[i] < kInf) {
            EXPECT_LE(activity[i], 1e-6);
        }
    }
    for (std::size_t j = 0; j < ray.size(); ++j) {
        if (p.column_lower[j] > -kInf) {
            EXPECT_GE(ray[j], -1e-6);
        }
        if (p.column_upper[j] < kInf) {
            EXPECT_LE(ray[j], 1e-6);
        }
    }
}

TEST(QuadraticProgram, EveryDoubtfulProgramIsDecided) {
    int unbounded = 0;
    int infeasible = 0;
    for (unsigned seed = 0; seed < 150; ++seed) {
        std::mt19937 random(seed);
        const ConvexProgram p = random_doubtful_program(random);
        const ConvexResult result = solve_convex(p, {});
        switch (result.status) {
            case ConvexStatus::kOptimal:
                expect_optimal(p, result);
                break;
            case ConvexStatus::kUnbounded:
                ++unbounded;
                expect_ray(p, result.ray);
                break;
            case ConvexStatus::kInfeasible: {
                // A slack column a row makes it feasible: the squares must not vanish.
                ++infeasible;
                ConvexProgram elastic = p;
                elastic.hessian.clear();
                elastic.cost.assign(p.cost.size() + p.row_lower.size(), 0.0);
                elastic.column_lower.resize(elastic.cost.size(), -kInf);
                elastic.column_upper.resize(elastic.cost.size(), kInf);
                for (int i = 0; i < p.row_count(); ++i) {
                    const int slack = p.column_count() + i;
                    elastic.rows.push_back({i, slack, 1.0});
                    elastic.hessian.push_back({slack, slack, 1e6});
                }
                const ConvexResult least = solve_convex(elastic, {});
                EXPECT_EQ(least.status, ConvexStatus::kOptimal) << "seed " << seed;
                EXPECT_GT(least.objective, 1e-7) << "seed " << seed;
                break;
            }
            default:
                ADD_FAILURE() << "seed " << seed;
        }
    }
    EXPECT_GT(unbounded, 5);
    EXPECT_GT(infeasible, 5);
}

TEST(QuadraticProgram, FailingKernelsHandOver) {
    std::mt19937 random(21);
    const ConvexProgram p = random_program(40, 20, 30, random);
    int calls = 0;
    ConvexControl control;
    control.work_limit = 0;
    // A kernel that lies: a wrong point called solved must not pass.
    control.large_scale_qp = [&](const QuadraticModel& model, const StopRule& rule, int limit) {
        ++calls;
        KernelAnswer answer = solve_proximal(model, rule, limit);
        for (double& x : answer.x) x += 1e-3;
        return answer;
    };
    const ConvexResult result = solve_convex(p, control);
    expect_optimal(p, result);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(result.kernel, Kernel::kProximal);
}

TEST(QuadraticProgram, StopsOnInterruptAndDeadline) {
    std::mt19937 random(2);
    // Long enough to be stopped in its middle; instrumented code needs less for that.
#ifdef __SANITIZE_ADDRESS__
    constexpr int kSize = 1000;
#else
    constexpr int kSize = 4000;
#endif
    ConvexProgram p = random_program(kSize, 3 * kSize / 4, 2 * kSize, random);
    std::atomic<int> flag{0};
    ConvexControl control;
    control.stop.watch(flag);
    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        flag = QLX_STOP_USER;
    });
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(solve_convex(p, control).status, ConvexStatus::kInterrupted);
    other.join();
    control.stop = {};
    control.stop.end_in(0.1);
    EXPECT_EQ(solve_convex(p, control).status, ConvexStatus::kTimeLimit);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(taken.count(), 20.0);
    EXPECT_EQ(solve_convex(p, control).status, ConvexStatus::kTimeLimit);
}

}  // namespace
}  // namespace qlx::quad::test
