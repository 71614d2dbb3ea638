// Semi-continuous columns without an upper bound, against enumeration of what each may be.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <optional>
#include <thread>

#include "tests/engine/support.hpp"

namespace {

using qlx::test::kInf;
using qlx::test::Random;
using qlx::test::TestProblem;

struct Column {
    double cost, lb, ub;
    char type;
    double limit;

    [[nodiscard]] bool semicontinuous() const { return type == 'S' || type == 'R'; }
};

struct Row {
    char type;
    double rhs;
    std::vector<double> values;
};

struct Statement {
    int sense;
    std::vector<Column> columns;
    std::vector<Row> rows;
};

struct Answer {
    int status;
    double objective;
};

void load(const TestProblem& p, const Statement& m) {
    std::vector<int> cols;
    for (const Column& c : m.columns) {
        cols.push_back(static_cast<int>(cols.size()));
        p.column(c.cost, c.lb, c.ub, c.type, c.limit);
    }
    for (const Row& row : m.rows) p.row(row.type, row.rhs, cols, row.values);
    ASSERT_EQ(QLXchgobjsense(p, m.sense), 0);
}

Answer solve(const TestProblem& p) {
    EXPECT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    return {p.integer("mipstatus"), p.real(QLX_ATTRIB_MIPOBJVAL)};
}

// Each semi-continuous column at 0, and as a plain one within its range; the best of all.
Answer enumerate(const Statement& m, std::size_t col = 0) {
    while (col < m.columns.size() && !m.columns[col].semicontinuous()) ++col;
    if (col == m.columns.size()) {
        TestProblem p;
        load(p, m);
        p.control("nodelimit", 1000);
        return solve(p);
    }
    Statement part = m;
    Column& column = part.columns[col];
    const bool integer = column.type == 'R';
    column = {column.cost, 0, 0, 'C', 0};
    const Answer zero = enumerate(part, col + 1);
    const Column& stated = m.columns[col];
    column = {stated.cost, std::max(stated.limit, stated.lb), stated.ub, integer ? 'I' : 'C', 0};
    if (column.lb > column.ub) return zero;
    const Answer in_range = enumerate(part, col + 1);
    for (const int status : {QLX_MIP_UNBOUNDED, QLX_MIP_NO_SOL_FOUND, QLX_MIP_SOLUTION})
        for (const Answer& answer : {zero, in_range})
            if (answer.status == status) return answer;
    if (zero.status == QLX_MIP_INFEAS) return in_range;
    if (in_range.status == QLX_MIP_INFEAS) return zero;
    return m.sense * zero.objective <= m.sense * in_range.objective ? zero : in_range;
}

// By our own arithmetic; integers and rows within 1e-5.
void expect_feasible(const Statement& m, const std::vector<double>& x) {
    for (std::size_t col = 0; col < x.size(); ++col) {
        const Column& c = m.columns[col];
        const double least = c.semicontinuous() ? std::max(c.limit, c.lb) : c.lb;
        const bool in_range = x[col] >= least - 1e-5 && x[col] <= c.ub + 1e-5;
        EXPECT_TRUE(in_range || (c.semicontinuous() && std::fabs(x[col]) < 1e-5)) << x[col];
        if (c.type == 'I' || c.type == 'R') {
            EXPECT_NEAR(x[col], std::round(x[col]), 1e-5);
        }
    }
    for (const Row& row : m.rows) {
        double activity = 0;
        for (std::size_t col = 0; col < x.size(); ++col) activity += row.values[col] * x[col];
        const double above = activity - row.rhs;
        EXPECT_LE(row.type == 'L' ? above : row.type == 'G' ? -above : std::fabs(above), 1e-5);
    }
}

Column random_column(Random& random) {
    const double limit = random.whole(1, 6) / (random.chance(0.3) ? 2.0 : 1.0);
    const double cost = random.whole(-1, 8);
    switch (random.whole(0, 5)) {
        case 0:
            return {cost, 0, kInf, 'R', limit};
        case 1:
            return {-cost, -kInf, -limit, random.chance(0.5) ? 'S' : 'R', -300};
        case 2:
            return {cost, 0, 300, random.chance(0.5) ? 'S' : 'R', limit};
        case 3:
            return {cost, 0, limit + 4, 'S', limit};
        default:
            return {cost, 0, kInf, 'S', limit};
    }
}

Statement random_statement(Random& random) {
    Statement m;
    m.sense = random.chance(0.5) ? 1 : -1;
    for (int n = random.whole(1, 5); n > 0; --n) m.columns.push_back(random_column(random));
    for (int n = random.whole(0, 3); n > 0; --n)
        m.columns.push_back({static_cast<double>(random.whole(-1, 9)), 0,
                             random.chance(0.5) ? kInf : 6.0, random.chance(0.5) ? 'I' : 'C', 0});
    for (Column& column : m.columns) column.cost *= m.sense;
    for (int n = random.whole(1, 4); n > 0; --n) {
        Row row{"GGEL"[random.whole(0, 3)], static_cast<double>(random.whole(1, 12)), {}};
        for (const Column& column : m.columns) {
            const int value = random.chance(0.7) ? random.whole(-2, 5) : 0;
            row.values.push_back(column.ub < 0 ? -value : value);
        }
        m.rows.push_back(row);
    }
    return m;
}

TEST(ConstructSearch, AgreesWithEnumeration) {
    int seen[16] = {};
    for (unsigned seed = 1; seed <= 400; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Statement m = random_statement(random);
        const Answer expected = enumerate(m);
        // Integers without bounds can keep a tree search busy for ever.
        if (expected.status == QLX_MIP_NO_SOL_FOUND || expected.status == QLX_MIP_SOLUTION)
            continue;
        TestProblem p;
        load(p, m);
        p.control("indbigm", 100);  // so that 300 is too much for a binary
        const Answer answer = solve(p);
        ++seen[answer.status];
        ASSERT_EQ(answer.status, expected.status);
        if (expected.status != QLX_MIP_OPTIMAL) continue;
        EXPECT_NEAR(answer.objective, expected.objective,
                    1e-5 * std::max(1.0, std::fabs(expected.objective)));
        EXPECT_NEAR(p.real(2101), answer.objective,
                    1e-5 * std::max(1.0, std::fabs(expected.objective)));
        expect_feasible(m, p.mip_x());
        if (HasFailure()) return;
    }
    // The models are of every kind.
    EXPECT_GT(seen[QLX_MIP_OPTIMAL], 100);
    EXPECT_GT(seen[QLX_MIP_INFEAS], 20);
    EXPECT_GT(seen[QLX_MIP_UNBOUNDED], 20);
}

// Demands of 15 to 25, each met by some of the sources, which give nothing or at least 9.
Statement supply(int sources, unsigned seed) {
    Random random(seed);
    Statement m;
    m.sense = 1;
    for (int k = 0; k < sources; ++k)
        m.columns.push_back({static_cast<double>(random.whole(20, 40)), 0, kInf,
                             random.chance(0.2) ? 'R' : 'S',
                             static_cast<double>(random.whole(9, 30))});
    for (int n = sources / 2; n > 0; --n) {
        Row row{'G', static_cast<double>(random.whole(15, 25)), {}};
        for (int k = 0; k < sources; ++k)
            row.values.push_back(random.chance(0.4) ? random.whole(1, 3) : 0);
        m.rows.push_back(row);
    }
    return m;
}

struct Limit {
    const char* control;
    double value;
    int stop;
};

TEST(ConstructSearch, LimitsHoldOverAllNodes) {
    const Statement m = supply(18, 3);
    const Limit limits[] = {
        {"nodelimit", 0, QLX_STOP_NODELIMIT},  {"nodelimit", 5, QLX_STOP_NODELIMIT},
        {"nodelimit", 60, QLX_STOP_NODELIMIT}, {"sollimit", 1, QLX_STOP_SOLLIMIT},
        {"timelimit", 0, QLX_STOP_TIMELIMIT},  {"lpiterlimit", 0, QLX_STOP_ITERLIMIT}};
    TestProblem whole;
    load(whole, m);
    const Answer best = solve(whole);
    ASSERT_EQ(best.status, QLX_MIP_OPTIMAL);
    const int needed = whole.integer("nodes");
    EXPECT_GT(needed, 60);
    EXPECT_LT(needed, 20000);
    for (const Limit& limit : limits) {
        SCOPED_TRACE(limit.control);
        TestProblem p;
        load(p, m);
        p.control(limit.control, limit.value);
        const Answer answer = solve(p);
        EXPECT_EQ(p.integer("stopstatus"), limit.stop);
        if (limit.stop == QLX_STOP_NODELIMIT) {
            EXPECT_LE(p.integer("nodes"), limit.value);
        }
        if (limit.stop == QLX_STOP_SOLLIMIT) {
            EXPECT_EQ(p.integer("mipsols"), 1);
        }
        EXPECT_FALSE(p.real(2101) > best.objective + 1e-6);  // the bound, if there is one
        EXPECT_EQ(answer.status,
                  p.integer("mipsols") > 0 ? QLX_MIP_SOLUTION : QLX_MIP_NO_SOL_FOUND);
        if (answer.status != QLX_MIP_SOLUTION) continue;
        EXPECT_GE(answer.objective, best.objective - 1e-6);
        expect_feasible(m, p.mip_x());
    }
}

TEST(ConstructSearch, CutoffAndGap) {
    for (const int sense : {1, -1}) {
        Statement m = supply(14, 5);
        m.sense = sense;
        for (Column& column : m.columns) column.cost *= sense;
        TestProblem p;
        load(p, m);
        const double best = solve(p).objective;
        const int needed = p.integer("nodes");
        p.control("mipabscutoff", best - sense);
        EXPECT_EQ(solve(p).status, QLX_MIP_NO_SOL_FOUND);
        EXPECT_EQ(p.integer("stopstatus"), QLX_STOP_CUTOFF);
        p.control("mipabscutoff", best + sense);
        const Answer below = solve(p);
        EXPECT_EQ(below.status, QLX_MIP_OPTIMAL);
        EXPECT_NEAR(below.objective, best, 1e-6);
        EXPECT_LE(p.integer("nodes"), needed);
        p.control("mipabscutoff", 1e20);
        p.control("miprelgap", 0.2);
        const Answer near = solve(p);
        EXPECT_EQ(near.status, QLX_MIP_OPTIMAL);
        EXPECT_LE(sense * (near.objective - p.real(2101)), 0.2 * std::fabs(near.objective) + 1e-6);
        EXPECT_LE(sense * (p.real(2101) - best), 1e-6);
        EXPECT_LT(p.integer("nodes"), needed);
    }
}

// The relaxation is unbounded; the model has no point, or is unbounded only through the column that
// must leave 0.
TEST(ConstructSearch, AnUnboundedRelaxationIsNotYetAnUnboundedModel) {
    for (const bool feasible : {false, true}) {
        TestProblem p;
        p.column(-1, 0, kInf, 'S', 5);
        p.column(0, 0, kInf, 'S', 5);
        p.row('G', -2, {0, 1}, {-1, 1});  // x <= y + 2
        if (!feasible) {
            p.column(0, 0, kInf, 'S', 4);
            p.row('E', 3, {2}, {1});
        }
        for (const double cutoff : {1e20, -5.0}) {  // whatever the first point found is worth
            p.control("mipabscutoff", cutoff);
            EXPECT_EQ(solve(p).status, feasible ? QLX_MIP_UNBOUNDED : QLX_MIP_INFEAS);
            EXPECT_EQ(p.integer("mipsols"), 0);
        }
    }
}

TEST(ConstructSearch, StopsOnInterruptWithItsBestPoint) {
    const Statement m = supply(70, 8);
    TestProblem p;
    load(p, m);
    p.control("timelimit", 60);
    std::atomic<bool> done{false};
    std::thread stopper([&] {
        while (!done) {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            QLXinterrupt(p, QLX_STOP_CTRLC);
        }
    });
    const int status = solve(p).status;
    done = true;
    stopper.join();
    EXPECT_EQ(p.integer("stopstatus"), QLX_STOP_CTRLC);
    EXPECT_LT(p.real(2104), 10.0);
    ASSERT_EQ(status, QLX_MIP_SOLUTION);
    expect_feasible(m, p.mip_x());
    EXPECT_LE(p.real(2101), p.real(QLX_ATTRIB_MIPOBJVAL));
}

}  // namespace
