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
    for (const Answer& answer : {zero, in_range})
        if (answer.status == QLX_MIP_UNBOUNDED) return answer;
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
            return {-cost, -kInf, -limit, random.chance(0.5) ? 'S' : 'R', -3e9};
        case 2:
            return {cost, 0, 3e9, 'S', limit};  // a bound that no binary carries
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

TEST(SemicontinuousSearch, AgreesWithEnumeration) {
    int seen[16] = {};
    for (unsigned seed = 1; seed <= 400; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Statement m = random_statement(random);
        const Answer expected = enumerate(m);
        TestProblem p;
        load(p, m);
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

}  // namespace
