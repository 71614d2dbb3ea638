// Linear programs with large finite bounds and costs, rows of all sizes, against the enumeration of
// their vertices.
#include <cmath>
#include <optional>

#include "engine/check/dual_check.hpp"
#include "engine/core/problem.hpp"
#include "tests/engine/support.hpp"

namespace {

using qlx::test::kInf;
using qlx::test::Random;
using qlx::test::TestProblem;
using Real = long double;

TEST(LpBounds, AFarBoundMakesNoGapOfRounding) {
    TestProblem p;
    p.column(0.7, 0, 1e12);
    p.row('G', 2, {0}, {0.3});
    ASSERT_EQ(QLXlpoptimize(p, ""), 0) << p.error();
    EXPECT_EQ(p.integer("lpstatus"), QLX_LP_OPTIMAL);
    EXPECT_NEAR(p.lp_x()[0], 20.0 / 3, 1e-9);
}

// min or max c'x over a box and rows Ax >= b.
struct Box {
    int columns = 0;
    std::vector<double> cost, lower, upper, side;
    std::vector<std::vector<double>> rows;
};

Box random_box(Random& random) {
    const auto decimal = [&random] { return random.whole(-40, 99) / 10.0; };
    const auto power = [&random](int least, int most) {
        return std::pow(10.0, random.whole(least, most));
    };
    Box box;
    box.columns = random.whole(1, 4);
    const double cost_scale = power(-6, 6);
    for (int col = 0; col < box.columns; ++col) {
        const double bound = power(3, 12);
        box.cost.push_back(cost_scale * decimal());
        box.lower.push_back(random.chance(0.2) ? -bound : 0);
        box.upper.push_back(random.chance(0.3) ? random.whole(1, 9) : bound);
    }
    for (int count = random.whole(0, 3); count > 0; --count) {
        const double scale = power(-6, 6);
        std::vector<double> row;
        for (int col = 0; col < box.columns; ++col)
            row.push_back(random.chance(0.7) ? scale * decimal() : 0);
        box.rows.push_back(row);
        box.side.push_back(scale * random.whole(-9, 9));
    }
    return box;
}

void state(const TestProblem& p, const Box& box, int sense) {
    for (int col = 0; col < box.columns; ++col) {
        const auto k = static_cast<std::size_t>(col);
        p.column(sense * box.cost[k], box.lower[k], box.upper[k]);
    }
    for (std::size_t row = 0; row < box.rows.size(); ++row) {
        std::vector<int> cols;
        std::vector<double> values;
        for (int col = 0; col < box.columns; ++col) {
            const double value = box.rows[row][static_cast<std::size_t>(col)];
            if (value == 0) continue;
            cols.push_back(col);
            values.push_back(value);
        }
        p.row('G', box.side[row], cols, values);
    }
    ASSERT_EQ(QLXchgobjsense(p, sense), 0);
}

struct Halfspace {
    std::vector<Real> normal;
    Real side;
};

std::vector<Halfspace> halfspaces(const Box& box) {
    std::vector<Halfspace> out;
    for (std::size_t row = 0; row < box.rows.size(); ++row)
        out.push_back({{box.rows[row].begin(), box.rows[row].end()}, box.side[row]});
    for (std::size_t col = 0; col < box.cost.size(); ++col) {
        std::vector<Real> unit(box.cost.size(), 0);
        unit[col] = 1;
        out.push_back({unit, box.lower[col]});
        unit[col] = -1;
        out.push_back({unit, -static_cast<Real>(box.upper[col])});
    }
    return out;
}

// The point where the given halfspaces' sides meet, by elimination with pivoting.
std::optional<std::vector<Real>> meet(std::vector<Halfspace> system) {
    const std::size_t n = system.size();
    for (std::size_t k = 0; k < n; ++k) {
        std::size_t best = k;
        for (std::size_t row = k; row < n; ++row)
            if (std::fabs(system[row].normal[k]) > std::fabs(system[best].normal[k])) best = row;
        std::swap(system[k], system[best]);
        if (std::fabs(system[k].normal[k]) < 1e-14L) return std::nullopt;
        for (std::size_t row = 0; row < n; ++row) {
            if (row == k) continue;
            const Real factor = system[row].normal[k] / system[k].normal[k];
            for (std::size_t col = k; col < n; ++col)
                system[row].normal[col] -= factor * system[k].normal[col];
            system[row].side -= factor * system[k].side;
        }
    }
    std::vector<Real> x(n);
    for (std::size_t k = 0; k < n; ++k) x[k] = system[k].side / system[k].normal[k];
    return x;
}

bool holds(const Halfspace& half, const std::vector<Real>& x, Real tolerance) {
    Real activity = 0;
    Real size = std::fabs(half.side);
    Real longest = 1;
    for (const Real value : x) longest = std::max(longest, std::fabs(value));
    for (std::size_t col = 0; col < x.size(); ++col) {
        activity += half.normal[col] * x[col];
        size = std::max(size, std::fabs(half.normal[col] * longest));
    }
    return activity >= half.side - tolerance * size;
}

// The least cost over the vertices; none where there is no vertex.
std::optional<Real> least_cost(const Box& box, Real tolerance) {
    const std::vector<Halfspace> all = halfspaces(box);
    std::optional<Real> best;
    for (unsigned mask = 0; mask < (1U << all.size()); ++mask) {
        if (__builtin_popcount(mask) != box.columns) continue;
        std::vector<Halfspace> chosen;
        for (std::size_t k = 0; k < all.size(); ++k)
            if ((mask >> k & 1U) != 0) chosen.push_back(all[k]);
        const auto x = meet(chosen);
        if (!x) continue;
        bool feasible = true;
        for (const Halfspace& half : all) feasible = feasible && holds(half, *x, tolerance);
        if (!feasible) continue;
        Real cost = 0;
        for (std::size_t col = 0; col < x->size(); ++col) cost += box.cost[col] * (*x)[col];
        if (!best || cost < *best) best = cost;
    }
    return best;
}

// A vertex that rounding of the data makes or takes leaves a model without one answer: any between
// those with the strict and with the loose tolerance is right.
TEST(LpBounds, RandomModelsAgreeWithTheEnumerationOfVertices) {
    int optimal = 0, infeasible = 0, unsolved = 0, wrong = 0, unclear = 0;
    for (unsigned seed = 1; seed <= 2000; ++seed) {
        Random random(seed);
        const Box box = random_box(random);
        const auto most = least_cost(box, 1e-17L);
        const auto least = least_cost(box, 1e-12L);
        TestProblem p;
        const int sense = random.chance(0.5) ? 1 : -1;
        state(p, box, sense);
        ASSERT_EQ(QLXlpoptimize(p, ""), 0) << p.error();
        const int status = p.integer("lpstatus");
        if (status != QLX_LP_OPTIMAL && status != QLX_LP_INFEAS) {
            ADD_FAILURE() << "seed " << seed << ": status " << status;
            ++unsolved;
            continue;
        }
        const double found = sense * p.real(QLX_ATTRIB_LPOBJVAL);
        const auto close = [&](Real expected) {
            return std::fabs(found - expected) <= 1e-6L * (1 + std::fabs(expected));
        };
        if (status == QLX_LP_INFEAS && !least) {
            ++infeasible;
        } else if (status == QLX_LP_OPTIMAL && most && close(*most)) {
            ++optimal;
        } else if (status == QLX_LP_INFEAS
                       ? !most
                       : least && (found > *least || close(*least)) && (!most || found < *most)) {
            ++unclear;
        } else {
            ADD_FAILURE() << "seed " << seed << ": status " << status << ", " << found << " for "
                          << static_cast<double>(most.value_or(NAN)) << " or "
                          << static_cast<double>(least.value_or(NAN));
            ++wrong;
        }
    }
    std::printf("optimal %d, infeasible %d, unclear %d, unsolved %d, wrong %d\n", optimal,
                infeasible, unclear, unsolved, wrong);
    EXPECT_EQ(unsolved + wrong, 0);
    EXPECT_LT(unclear, 20);
    EXPECT_GT(optimal, 1000);
    EXPECT_GT(infeasible, 100);
}

// The first-order method never ends on some of these; what it may take is bounded.
TEST(LpBounds, TheFirstOrderMethodGivesWayInTime) {
    std::int64_t most = 0;
    int gave_way = 0;
    for (unsigned seed = 1; seed <= 100; ++seed) {
        Random random(seed);
        const Box box = random_box(random);
        const auto best = least_cost(box, 1e-12L);
        TestProblem p;
        state(p, box, 1);
        p.control("lpmethod", 4);
        ASSERT_EQ(QLXlpoptimize(p, ""), 0) << p.error();
        EXPECT_EQ(p.integer("lpstatus"), best ? QLX_LP_OPTIMAL : QLX_LP_INFEAS) << seed;
        if (best) {
            const auto expected = static_cast<double>(*best);
            EXPECT_NEAR(p.real(QLX_ATTRIB_LPOBJVAL), expected, 2e-6 * (1 + std::fabs(expected)))
                << seed;
        }
        most = std::max<std::int64_t>(most, p.integer("firstorderiter"));
        gave_way += p.integer("firstorderiter") > 0 && p.integer("simplexiter") > 0 ? 1 : 0;
    }
    std::printf("most %lld iterations, gave way %d times\n", static_cast<long long>(most),
                gave_way);
    EXPECT_LE(most, 30'000);
}

// Points and duals of the same rows with costs that are more or less off: what passes for optimal
// is as good as the optimum.
TEST(LpBounds, NoWrongPointPassesForOptimal) {
    int passed = 0, refused = 0;
    for (unsigned seed = 1; seed <= 1000; ++seed) {
        Random random(seed);
        const Box box = random_box(random);
        const auto best = least_cost(box, 1e-12L);
        Box off = box;
        for (double& cost : off.cost)
            cost *= 1 + random.real(-1, 1) * std::pow(10.0, random.whole(-12, 0));
        TestProblem p;
        state(p, off, 1);
        ASSERT_EQ(QLXlpoptimize(p, ""), 0) << p.error();
        if (!best || p.integer("lpstatus") != QLX_LP_OPTIMAL) continue;
        const QLXprob handle = p;
        const qlx::Solution solution = *handle->results.lp.get();
        for (int col = 0; col < box.columns; ++col)
            ASSERT_EQ(QLXchgobj(p, 1, &col, &box.cost[static_cast<std::size_t>(col)]), 0);
        std::vector<double> activities;
        for (std::size_t row = 0; row < solution.slack.size(); ++row)
            activities.push_back(box.side[row] - solution.slack[row]);
        double objective = 0;
        for (std::size_t col = 0; col < solution.x.size(); ++col)
            objective += box.cost[col] * solution.x[col];
        const qlx::DualCheck check =
            qlx::check_duals(handle->model, solution.x, activities, objective, solution.dual,
                             qlx::reduced_costs(handle->model, solution.dual));
        const bool passes = check.infeasibility <= 1e-6 && check.gap <= 1e-6;
        ++(passes ? passed : refused);
        if (passes) {
            EXPECT_LE(objective, *best + 2e-6L * (1 + std::fabs(*best))) << "seed " << seed;
        }
    }
    std::printf("passed %d, refused %d\n", passed, refused);
    EXPECT_GT(passed, 300);
    EXPECT_GT(refused, 100);
}

}  // namespace
