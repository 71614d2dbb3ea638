// Frozen models, and node LPs under changing bounds and cuts against ones solved from scratch.
#include <cmath>

#include "engine/check/safe_bound.hpp"
#include "engine/tree/linear_relaxation.hpp"
#include "tests/engine/relaxation_support.hpp"
#include "tests/engine/support.hpp"

namespace {

using namespace qlx;
using qlx::test::add_column;
using qlx::test::add_row;
using qlx::test::frozen;
using qlx::test::kInf;
using qlx::test::NoEvents;
using qlx::test::Random;

constexpr double kNever = std::numeric_limits<double>::infinity();

TEST(FrozenModel, StaysAsItWasWhenTheStoreChanges) {
    Model model;
    for (int k = 0; k < 3; ++k) add_column(model, k, 0, 4, "CIS"[k]);
    model.set_limit(2, 1.5);
    add_row(model, 'R', 5, {2, 0}, {3, 1}, 2);
    add_row(model, 'G', 1, {1}, {1});
    model.set_indicator(1, {1, 1});
    model.set_coefficient(1, 0, 7);  // waits in the store until rows are read
    const auto kept = frozen(model, false);
    model.set_coefficient(1, 0, 8);
    model.delete_columns({0, -1, 1});
    const ModelSnapshot& stated = kept->stated();
    ASSERT_EQ(stated.num_cols(), 3);
    EXPECT_EQ(stated.rows.values_of(1)[1], 7);
    ASSERT_EQ(stated.columns.indices_of(0).size(), 2U);
    EXPECT_EQ(stated.columns.values_of(0)[1], 7);
    EXPECT_EQ(stated.columns.indices_of(2)[0], 0);
    EXPECT_EQ(stated.row_lower[0], 3);
    EXPECT_EQ(stated.limit[2], 1.5);
    EXPECT_EQ(stated.relaxed_sides(1).lower, -kInf);
    EXPECT_EQ(&kept->presolved(), &stated);
    EXPECT_EQ(kept->map().presolved_column(2), 2);
}

// What only rows mention goes; sets, indicators, quadratic terms and wrong integers keep a column.
TEST(FrozenModel, PresolveTakesOutFixedColumnsThatOnlyRowsMention) {
    struct Case {
        const char* name;
        void (*edit)(Model&);
        bool goes;
    };
    const Case cases[] = {
        {"in rows", [](Model&) {}, true},
        {"integer", [](Model& m) { m.set_col_type(1, 'I'); }, true},
        {"not integral",
         [](Model& m) { m.set_col_type(1, 'I'), m.set_lb(1, 2.5), m.set_ub(1, 2.5); }, false},
        {"semi-continuous", [](Model& m) { m.set_col_type(1, 'S'); }, false},
        {"in a set",
         [](Model& m) {
             m.add_set({1, {0, 1}, {1, 2}});
         },
         false},
        {"a switch",
         [](Model& m) {
             m.set_indicator(0, {1, 1});
         },
         false},
        {"in a square",
         [](Model& m) {
             const int col = 1;
             const double value = 1;
             m.set_quadratic_objective(1, &col, &col, &value);
         },
         false},
        {"not fixed", [](Model& m) { m.set_ub(1, 3); }, false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        Model model;
        for (int k = 0; k < 3; ++k) add_column(model, 1, k == 1 ? 2 : 0, 2);
        add_row(model, 'L', 5, {0, 1, 2}, {1, 1, 1});
        add_row(model, 'L', 4, {1}, {2});
        one.edit(model);
        const auto kept = frozen(model);
        EXPECT_EQ(kept->map().presolved_column(1) < 0, one.goes);
        EXPECT_EQ(kept->map().presolved_row(1) < 0, one.goes);
        EXPECT_EQ(kept->presolved().num_cols(), one.goes ? 2 : 3);
        if (!one.goes) continue;
        EXPECT_EQ(kept->map().stated_column(1), 2);
        EXPECT_EQ(kept->map().stated_row(0), 0);
        EXPECT_EQ(kept->presolved().constant, 2);
        EXPECT_EQ(kept->presolved().row_upper[0], 3);
        const std::vector<double> point = {0.5, 2, 1};
        EXPECT_EQ(kept->map().to_presolved(point), (std::vector<double>{0.5, 1}));
        EXPECT_EQ(kept->map().to_stated(std::vector<double>{0.5, 1}), point);
    }
    Model impossible;
    add_column(impossible, 1, 2, 2);
    add_row(impossible, 'L', 3, {0}, {2});
    EXPECT_EQ(frozen(impossible)->presolved().num_rows(), 1);
}

// Bounded columns, some fixed, rows that a point satisfies.
Model random_model(Random& random) {
    Model model;
    const int cols = random.whole(4, 12);
    std::vector<double> point;
    for (int col = 0; col < cols; ++col) {
        point.push_back(random.whole(0, 3));
        const bool is_fixed = random.chance(0.2);
        add_column(model, random.real(-2, 2), is_fixed ? point.back() : 0,
                   is_fixed ? point.back() : random.whole(3, 6));
    }
    for (int row = random.whole(3, 9); row > 0; --row) {
        std::vector<int> columns;
        std::vector<double> values;
        double activity = 0;
        for (int col = 0; col < cols; ++col) {
            if (!random.chance(0.5)) continue;
            columns.push_back(col);
            values.push_back(random.real(-3, 3));
            activity += values.back() * point[at(col)];
        }
        const char type = "LGER"[random.whole(0, 3)];
        const double away = type == 'E' ? 0 : random.real(0, 2);
        add_row(model, type, type == 'G' ? activity - away : activity + away, columns, values, 5);
    }
    model.set_sense(random.chance(0.5) ? 1 : -1);
    model.set_constant(3);
    return model;
}

BoundChange random_change(Random& random, const Relaxation& relaxation) {
    const int col = random.whole(0, static_cast<int>(relaxation.lower().size()) - 1);
    const double lower = random.whole(0, 3);
    return {col, lower, lower + random.whole(random.chance(0.05) ? -1 : 0, 4)};
}

CutRows random_cuts(Random& random, int cols) {
    CutRows cuts;
    for (int k = random.whole(1, 3); k > 0; --k) {
        const std::vector<int> columns = {random.whole(0, cols / 2 - 1),
                                          random.whole(cols / 2, cols - 1)};
        const std::vector<double> values = {random.real(-1, 2), random.real(-1, 2)};
        cuts.add(-kInf, random.real(0, 5), columns, values);
    }
    return cuts;
}

void expect_same(const NodeAnswer& answer, const NodeAnswer& wanted) {
    ASSERT_EQ(answer.status, wanted.status);
    if (wanted.status == NodeStatus::kInfeasible) {
        EXPECT_EQ(answer.bound, kNever);
        return;
    }
    ASSERT_EQ(answer.status, NodeStatus::kOptimal);
    const double size = 1 + std::fabs(wanted.objective);
    EXPECT_NEAR(answer.objective, wanted.objective, 1e-7 * size);
    EXPECT_LE(answer.bound, wanted.objective + 1e-7 * size);
    EXPECT_GE(answer.bound, wanted.objective - 1e-6 * size);
}

// The same walk of changes on one relaxation that lives on, and on fresh ones.
TEST(LinearRelaxation, AnswersAfterChangesAsOneThatIsBuiltAnew) {
    int optima = 0;
    int infeasible = 0;
    for (unsigned seed = 1; seed <= 60; ++seed) {
        Random random(seed);
        Model model = random_model(random);
        const auto kept = frozen(model);
        const int cols = kept->presolved().num_cols();
        if (cols < 2) continue;
        NoEvents events;
        LinearRelaxation relaxation(kept, {}, events);
        std::vector<BoundChange> bounds;
        std::vector<std::pair<CutId, CutRows>> cuts;
        std::shared_ptr<const WarmStart> remembered;
        for (int step = 0; step < 12; ++step) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", step " << step);
            if (random.chance(0.7)) {
                bounds.push_back(random_change(random, relaxation));
                relaxation.set_bounds({&bounds.back(), 1});
            }
            if (random.chance(0.3)) {
                const CutRows added = random_cuts(random, cols);
                CutId id = relaxation.add_cuts(added);
                for (std::size_t k = 0; k < added.lower.size(); ++k) {
                    const auto two = [&](const auto& list) {
                        return std::span(list).subspan(2 * k, 2);
                    };
                    cuts.emplace_back(id++, CutRows{});
                    cuts.back().second.add(added.lower[k], added.upper[k], two(added.columns),
                                           two(added.values));
                }
            }
            if (!cuts.empty() && random.chance(0.3)) {
                const auto gone = cuts.begin() + random.whole(0, static_cast<int>(cuts.size()) - 1);
                relaxation.delete_cuts({&gone->first, 1});
                cuts.erase(gone);
            }
            if (remembered != nullptr && random.chance(0.3)) relaxation.restore(remembered);
            if (random.chance(0.3))
                static_cast<void>(
                    relaxation.look_ahead(random_change(random, relaxation), {.iterations = 3}));
            const NodeAnswer answer = relaxation.solve({});
            LinearRelaxation fresh(kept, {}, events);
            fresh.set_bounds(bounds);
            for (const auto& [id, rows] : cuts) fresh.add_cuts(rows);
            ASSERT_NO_FATAL_FAILURE(expect_same(answer, fresh.solve({})));
            ASSERT_EQ(relaxation.cuts().size(), cuts.size());
            (answer.status == NodeStatus::kOptimal ? optima : infeasible) += 1;
            if (random.chance(0.3)) remembered = relaxation.warm_start();
            if (answer.status == NodeStatus::kInfeasible) {  // back to the root
                bounds.clear();
                for (int col = 0; col < cols; ++col)
                    bounds.push_back(
                        {col, kept->presolved().lower[at(col)], kept->presolved().upper[at(col)]});
                relaxation.set_bounds(bounds);
            }
        }
    }
    EXPECT_GT(optima, 300);
    EXPECT_GT(infeasible, 50);
}

TEST(LinearRelaxation, OfThePresolvedModelHasTheStatedOnesOptimum) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        Model model = random_model(random);
        NoEvents events;
        LinearRelaxation stated(frozen(model, false), {}, events);
        const auto kept = frozen(model);
        LinearRelaxation presolved(kept, {}, events);
        const NodeAnswer wanted = stated.solve({});
        ASSERT_NO_FATAL_FAILURE(expect_same(presolved.solve({}), wanted));
        const std::vector<double> x = kept->map().to_stated(presolved.point());
        double objective = model.constant();
        for (int col = 0; col < model.num_cols(); ++col) {
            objective += model.obj()[at(col)] * x[at(col)];
            ASSERT_GE(x[at(col)], model.lb()[at(col)] - 1e-6);
            ASSERT_LE(x[at(col)], model.ub()[at(col)] + 1e-6);
        }
        EXPECT_NEAR(model.sense() * objective, wanted.objective, 1e-6);
        for (int row = 0; row < model.num_rows(); ++row) {
            double activity = 0;
            const auto columns = model.matrix().row_columns(row);
            for (std::size_t k = 0; k < columns.size(); ++k)
                activity += model.matrix().row_values(row)[k] * x[at(columns[k])];
            ASSERT_GE(activity, model.sides(row).lower - 1e-6);
            ASSERT_LE(activity, model.sides(row).upper + 1e-6);
        }
    }
}

// Two histories, one start: the same iterations and the same bits.
TEST(LinearRelaxation, SolvesFromARestoredStartWhateverWasSolvedBefore) {
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        Model model = random_model(random);
        const auto kept = frozen(model);
        if (kept->presolved().num_cols() < 2) continue;
        NoEvents events;
        LinearRelaxation first(kept, {}, events);
        LinearRelaxation second(kept, {}, events);
        first.solve({});
        const auto start = first.warm_start();
        for (int k = 0; k < 5; ++k) {
            const BoundChange detour = random_change(random, second);
            const BoundChange back{detour.column, second.lower()[at(detour.column)],
                                   second.upper()[at(detour.column)]};
            second.set_bounds({&detour, 1});
            second.solve({});
            second.set_bounds({&back, 1});
        }
        const BoundChange change = random_change(random, first);
        NodeAnswer answers[2];
        for (LinearRelaxation* one : {&first, &second}) {
            one->set_bounds({&change, 1});
            one->restore(start);
            answers[one == &second] = one->solve({});
        }
        EXPECT_EQ(answers[0].iterations, answers[1].iterations);
        EXPECT_EQ(answers[0].bound, answers[1].bound);
        EXPECT_EQ(first.point(), second.point());
        EXPECT_EQ(first.duals(), second.duals());
    }
}

TEST(LinearRelaxation, LimitsAndLookAheadsGiveSafeBoundsAndLeaveNothingBehind) {
    int cut_off = 0;
    int limited = 0;
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        Model model = random_model(random);
        const auto kept = frozen(model);
        if (kept->presolved().num_cols() < 2) continue;
        NoEvents events;
        LinearRelaxation relaxation(kept, {}, events);
        const NodeAnswer root = relaxation.solve({});
        ASSERT_EQ(root.status, NodeStatus::kOptimal);
        const std::vector<double> point = relaxation.point();
        const BoundChange change = random_change(random, relaxation);
        LinearRelaxation child(kept, {}, events);
        child.set_bounds({&change, 1});
        const double wanted = child.solve({}).bound;
        const double slack = 1e-7 * (1 + std::fabs(root.objective));
        for (const int iterations : {0, 1, 2, 1000}) {
            const NodeAnswer ahead = relaxation.look_ahead(change, {.iterations = iterations});
            EXPECT_LE(ahead.bound, wanted + slack);
            if (iterations == 1000) {
                EXPECT_GE(ahead.bound, wanted - slack);
            }
            if (iterations < 3) {
                EXPECT_LE(ahead.iterations, iterations);
            }
            limited += ahead.status == NodeStatus::kIterationLimit;
        }
        EXPECT_EQ(relaxation.point(), point);
        const NodeAnswer again = relaxation.solve({});
        EXPECT_EQ(again.iterations, 0);
        EXPECT_NEAR(again.objective, root.objective, slack);
        // Between the two bounds the child is cut off, at or above its own it is not.
        if (!(wanted > root.bound + 1e-3)) continue;
        const double between = std::isfinite(wanted) ? (root.bound + wanted) / 2 : root.bound + 1;
        const NodeAnswer cut = relaxation.look_ahead(change, {.objective_bound = between});
        EXPECT_GE(cut.bound, between);
        cut_off += cut.status == NodeStatus::kCutoff;
        EXPECT_NE(relaxation.look_ahead(change, {.objective_bound = wanted + 1}).status,
                  NodeStatus::kCutoff);
        events.stops = true;
        LinearRelaxation stopped(kept, {}, events);
        const NodeAnswer none = stopped.solve({});
        EXPECT_TRUE(none.status == NodeStatus::kInterrupted || none.iterations == 0);
        EXPECT_LE(none.bound, root.objective + slack);
    }
    EXPECT_GT(cut_off, 3);
    EXPECT_GT(limited, 20);
}

// Rows of the tableau combine rows of the model, cuts too, and have a single basic column.
TEST(LinearRelaxation, GivesTheTableauOfItsBasis) {
    int rows = 0;
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        Model model = random_model(random);
        const auto kept = frozen(model);
        const int cols = kept->presolved().num_cols();
        if (cols < 2) continue;
        NoEvents events;
        LinearRelaxation relaxation(kept, {}, events);
        TableauRow row;
        EXPECT_FALSE(relaxation.tableau_row(0, row));
        relaxation.add_cuts(random_cuts(random, cols));
        if (relaxation.solve({}).status != NodeStatus::kOptimal) continue;
        std::vector<int> basic;
        for (int col = 0; col < cols; ++col)
            if (relaxation.tableau_row(col, row)) basic.push_back(col);
        for (const int col : basic) {
            ASSERT_TRUE(relaxation.tableau_row(col, row));
            EXPECT_EQ(row.weights.size(),
                      at(kept->presolved().num_rows()) + relaxation.cuts().size());
            for (const int other : basic)
                EXPECT_NEAR(row.coefficients[at(other)], other == col ? 1 : 0, 1e-8);
            ++rows;
        }
        // Strictly between its bounds a column is basic.
        for (int col = 0; col < cols; ++col) {
            const double x = relaxation.point()[at(col)];
            if (x > relaxation.lower()[at(col)] + 1e-6 && x < relaxation.upper()[at(col)] - 1e-6) {
                EXPECT_TRUE(relaxation.tableau_row(col, row));
            }
        }
        static_cast<void>(relaxation.look_ahead({0, 0, 0}, {}));
        EXPECT_FALSE(relaxation.tableau_row(basic.empty() ? 0 : basic[0], row));
    }
    EXPECT_GT(rows, 40);
}

// A flow around a circle of columns without upper bounds, which no row bounds either: the duals are
// shifted until the bound is finite.
TEST(LinearRelaxation, BoundsProblemsWhoseColumnsHaveNoBounds) {
    int finite = 0;
    for (unsigned seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        Model model;
        const int nodes = 6;
        std::vector<double> supply(at(nodes), 0.0);
        std::vector<std::vector<int>> columns(at(nodes));
        std::vector<std::vector<double>> values(at(nodes));
        for (int from = 0; from < nodes; ++from)
            for (int to = 0; to < nodes; ++to) {
                if (from == to) continue;
                add_column(model, random.real(0.1, 3), 0, kInf);
                const double gain = random.real(0.7, 0.9);
                columns[at(from)].push_back(model.num_cols() - 1);
                values[at(from)].push_back(1);
                columns[at(to)].push_back(model.num_cols() - 1);
                values[at(to)].push_back(-gain);
                const double flow = random.chance(0.3) ? random.real(0, 1) : 0;
                supply[at(from)] += flow;
                supply[at(to)] -= gain * flow;
            }
        for (int node = 0; node < nodes; ++node)
            add_row(model, 'E', supply[at(node)], columns[at(node)], values[at(node)]);
        NoEvents events;
        LinearRelaxation relaxation(frozen(model), {}, events);
        const NodeAnswer answer = relaxation.solve({});
        ASSERT_EQ(answer.status, NodeStatus::kOptimal);
        EXPECT_LE(answer.bound, answer.objective + 1e-9);
        finite += answer.bound >= answer.objective - 1e-6;
    }
    EXPECT_EQ(finite, 50);
}

TEST(LinearRelaxation, ProvesWhatItCallsInfeasible) {
    for (unsigned seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        Model model = random_model(random);
        const auto kept = frozen(model, false);
        NoEvents events;
        LinearRelaxation relaxation(kept, {}, events);
        CutRows cuts;  // the sum of two columns is at most 1 and at least 1.1
        const std::vector<int> columns = {0, 1};
        const std::vector<double> values = {1, 1};
        cuts.add(-kInf, 1, columns, values);
        cuts.add(1.1, kInf, columns, values);
        const CutId first = relaxation.add_cuts(cuts);
        EXPECT_EQ(relaxation.solve({}).status, NodeStatus::kInfeasible);
        EXPECT_TRUE(relaxation.point().empty());
        relaxation.delete_cuts({&first, 1});
        EXPECT_NE(relaxation.solve({}).status, NodeStatus::kUndecided);
        const CutId second = first + 1;
        relaxation.delete_cuts({&second, 1});
        EXPECT_EQ(relaxation.solve({}).status, NodeStatus::kOptimal);
    }
}

}  // namespace
