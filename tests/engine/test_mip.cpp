// Integer programs: statuses, limits, and every construct against enumeration of its choices.
#include <algorithm>
#include <cmath>
#include <optional>

#include "tests/engine/support.hpp"

namespace {

using qlx::test::kInf;
using qlx::test::Random;
using qlx::test::TestProblem;

// A knapsack with n items; hard enough not to end at once for n around 40.
void build_knapsack(const TestProblem& p, int n, unsigned seed) {
    Random random(seed);
    std::vector<int> cols;
    std::vector<std::vector<double>> weights(5);
    for (int col = 0; col < n; ++col) {
        p.column(random.whole(50, 150), 0, 1, 'B');
        cols.push_back(col);
        for (auto& row : weights) row.push_back(random.whole(50, 150));
    }
    for (const auto& row : weights) p.row('L', 100.0 * n / 3, cols, row);
    ASSERT_EQ(QLXchgobjsense(p, -1), 0);
}

TEST(Mip, Statuses) {
    TestProblem p;
    EXPECT_EQ(p.integer("mipstatus"), QLX_MIP_NOT_LOADED);
    p.column(1, 0, 10, 'I');
    p.column(1, 0, 10, 'I');
    p.row('G', 3.5, {0, 1}, {1, 1});
    ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    EXPECT_EQ(p.integer("mipstatus"), QLX_MIP_OPTIMAL);
    EXPECT_EQ(p.real(QLX_ATTRIB_MIPOBJVAL), 4);
    ASSERT_EQ(QLXlpoptimize(p, ""), 0);
    EXPECT_EQ(p.real(QLX_ATTRIB_LPOBJVAL), 3.5);

    p.row('E', 1, {0, 1}, {2, -2});  // no integer point
    ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    EXPECT_EQ(p.integer("mipstatus"), QLX_MIP_INFEAS);
    EXPECT_NE(QLXgetmipsol(p, nullptr, nullptr), 0);

    TestProblem unbounded;
    unbounded.column(-1, 0, kInf, 'I');
    unbounded.column(0, 0, kInf, 'I');
    unbounded.row('L', 0.5, {0, 1}, {1, -1});
    ASSERT_EQ(QLXmipoptimize(unbounded, ""), 0) << unbounded.error();
    EXPECT_EQ(unbounded.integer("mipstatus"), QLX_MIP_UNBOUNDED);
}

TEST(Mip, LimitsKeepTheBestSolutionAndTheBound) {
    TestProblem p;
    build_knapsack(p, 60, 1);
    p.control("nodelimit", 1);
    p.control("presolve", 0);
    ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    if (p.integer("mipstatus") == QLX_MIP_SOLUTION) {
        EXPECT_EQ(p.integer("stopstatus"), QLX_STOP_NODELIMIT);
        EXPECT_GE(p.real(2101), p.real(QLX_ATTRIB_MIPOBJVAL) - 1e-6);
    }
    p.control("nodelimit", 2147483647);
    p.control("timelimit", 0.05);
    ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    EXPECT_LT(p.real(2104), 5.0);
    if (p.integer("mipstatus") != QLX_MIP_OPTIMAL) {
        EXPECT_EQ(p.integer("stopstatus"), QLX_STOP_TIMELIMIT);
    }
}

// Fractional bounds of integer columns mean the integers between them; in the relaxation,
// themselves.
TEST(Mip, FractionalBoundsOfIntegerColumns) {
    struct Case {
        double lower, upper, limit;
        int status;
        double optimum, relaxed;
    };
    const Case cases[] = {{0, 3.5, 11, QLX_MIP_OPTIMAL, 11, 11},
                          {0, 2.7, 20, QLX_MIP_OPTIMAL, 10, 13.5},
                          {0.5, 9, 5.5, QLX_MIP_OPTIMAL, 5, 5.5},
                          {0.4, 0.6, 9, QLX_MIP_INFEAS, 0, 3}};
    for (const Case& c : cases) {
        TestProblem p;
        for (int col = 0; col < 5; ++col) p.column(1, c.lower, c.upper, 'I');
        p.row('L', c.limit, {0, 1, 2, 3, 4}, {1, 1, 1, 1, 1});
        ASSERT_EQ(QLXchgobjsense(p, -1), 0);
        ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
        EXPECT_EQ(p.integer("mipstatus"), c.status) << c.upper;
        if (c.status == QLX_MIP_OPTIMAL) {
            EXPECT_EQ(p.real(QLX_ATTRIB_MIPOBJVAL), c.optimum);
        }
        ASSERT_EQ(QLXlpoptimize(p, ""), 0) << p.error();
        EXPECT_NEAR(p.real(QLX_ATTRIB_LPOBJVAL), c.relaxed, 1e-9);
    }
}

TEST(Mip, IntegerSolutionsAreIntegers) {
    TestProblem p;
    build_knapsack(p, 25, 2);
    ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    for (const double value : p.mip_x()) EXPECT_EQ(value, std::round(value));
}

TEST(Mip, RefusesIntegerQuadraticModelsByName) {
    TestProblem quadratic;
    quadratic.column(1, 0, 5, 'I');
    ASSERT_EQ(QLXchgqobj(quadratic, 0, 0, 1.0), 0);
    EXPECT_EQ(QLXmipoptimize(quadratic, ""), QLX_ERROR_UNSUPPORTED);
    EXPECT_NE(quadratic.error().find("MIQP"), std::string::npos);
}

TEST(Mip, SemiContinuousColumnWithoutUpperBound) {
    // min -x + 3y: x is 0 or at least 6; x <= 10 y + 2 follows from the row.
    TestProblem p;
    p.column(-1, 0, kInf, 'S', 6);
    p.column(3, 0, 1, 'B');
    p.row('L', 2, {0, 1}, {1, -10});
    ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    EXPECT_NEAR(p.real(QLX_ATTRIB_MIPOBJVAL), -9, 1e-6);
    EXPECT_NEAR(p.mip_x()[0], 12, 1e-6);
}

// A random model whose discrete choices can be enumerated; a linear program is solved for each.
struct Choices {
    struct Column {
        double cost, lb, ub;
        char type;
        double limit;
    };
    struct Row {
        char type;
        double rhs, range;
        std::vector<double> values;  // by column
        int indicator;               // column, or -1
        int active;
    };
    struct Set {
        int order;
        std::vector<int> members;
    };
    std::vector<Column> columns;
    std::vector<Row> rows;
    std::vector<Set> sets;
    int sense;
};

Choices random_choices(Random& random) {
    Choices m;
    m.sense = random.chance(0.5) ? 1 : -1;
    const int n = random.whole(3, 5);
    for (int col = 0; col < n; ++col) {
        const char type = col == 0 ? 'B' : "CCISRP"[random.whole(0, 5)];
        double lb = random.chance(0.3) ? -random.whole(1, 2) : 0;
        double ub = random.whole(2, 5);
        double limit = type == 'P' ? random.whole(1, 4) - (random.chance(0.5) ? 0.5 : 0.0)
                                   : random.whole(1, 2) + (random.chance(0.3) ? 0.5 : 0.0);
        if (type == 'S' || type == 'R') lb = 0;
        if (type == 'B') lb = 0, ub = 1;
        m.columns.push_back({1.0 * random.whole(-5, 5), lb, ub, type, limit});
    }
    for (int row = random.whole(1, 3); row > 0; --row) {
        Choices::Row r{"LGER" [random.whole(0, 3)], 0, 0, {}, -1, 0};
        double middle = 0;
        for (const auto& column : m.columns) {
            r.values.push_back(random.chance(0.7) ? random.whole(-3, 3) : 0);
            middle += r.values.back() * (column.lb + column.ub) / 2;
        }
        r.rhs = std::round(middle) + random.whole(-1, 1);
        r.range = random.whole(1, 3);
        if (random.chance(0.5)) {
            r.indicator = 0;
            r.active = random.whole(0, 1);
        }
        m.rows.push_back(r);
    }
    if (random.chance(0.5)) {
        Choices::Set set{random.whole(1, 2), {}};
        for (int col = n - 1; col >= 0; --col)
            if (random.chance(0.7)) set.members.push_back(col);
        if (set.members.size() > 1) m.sets.push_back(set);
    }
    return m;
}

using Ranges = std::vector<std::pair<double, double>>;

void add_rows(const TestProblem& p, const Choices& m) {
    for (const auto& row : m.rows) {
        std::vector<int> cols;
        std::vector<double> values;
        for (std::size_t col = 0; col < row.values.size(); ++col) {
            if (row.values[col] == 0) continue;
            cols.push_back(static_cast<int>(col));
            values.push_back(row.values[col]);
        }
        p.row(row.type, row.rhs, cols, values, row.range);
    }
}

// Best objective with the columns confined to ranges and the indicators' rows chosen by column 0.
std::optional<double> solve_ranges(const Choices& m, const Ranges& ranges) {
    TestProblem p;
    for (std::size_t col = 0; col < ranges.size(); ++col)
        p.column(m.columns[col].cost, ranges[col].first, ranges[col].second);
    Choices kept = m;
    std::erase_if(kept.rows, [&](const Choices::Row& row) {
        return row.indicator >= 0 &&
               ranges[static_cast<std::size_t>(row.indicator)].first != row.active;
    });
    add_rows(p, kept);
    EXPECT_EQ(QLXchgobjsense(p, m.sense), 0);
    EXPECT_EQ(QLXlpoptimize(p, ""), 0) << p.error();
    if (p.integer("lpstatus") != QLX_LP_OPTIMAL) return std::nullopt;
    return p.real(QLX_ATTRIB_LPOBJVAL);
}

// The ranges that a column's type leaves it.
Ranges parts(const Choices::Column& c) {
    Ranges out;
    const auto add_integers = [&out](double from, double to) {
        for (double value = std::ceil(from); value <= to; ++value) out.push_back({value, value});
    };
    switch (c.type) {
        case 'C':
            return {{c.lb, c.ub}};
        case 'S':
            out = {{0, 0}};
            if (std::max(c.limit, c.lb) <= c.ub) out.push_back({std::max(c.limit, c.lb), c.ub});
            return out;
        case 'R':
            add_integers(std::max(c.limit, c.lb), c.ub);
            out.push_back({0, 0});
            return out;
        case 'P':
            add_integers(c.lb, std::min(c.limit, c.ub));
            if (std::max(c.limit, c.lb) <= c.ub) out.push_back({std::max(c.limit, c.lb), c.ub});
            return out;
        default:
            add_integers(c.lb, c.ub);
            return out;
    }
}

class Enumeration {
  public:
    explicit Enumeration(const Choices& m) : m_(m), ranges_(m.columns.size()) {}
    std::optional<double> best() {
        choose(0);
        return best_;
    }

  private:
    void choose(std::size_t col) {
        if (col == ranges_.size()) return apply_sets(0);
        for (const auto& part : parts(m_.columns[col])) {
            ranges_[col] = part;
            choose(col + 1);
        }
    }

    // Every place where the run of nonzero members may begin.
    void apply_sets(std::size_t index) {
        if (index == m_.sets.size()) return take(solve_ranges(m_, ranges_));
        const Choices::Set& set = m_.sets[index];
        const auto order = static_cast<std::size_t>(set.order);
        for (std::size_t first = 0; first < set.members.size(); ++first) {
            const Ranges saved = ranges_;
            bool possible = true;
            for (std::size_t k = 0; k < set.members.size(); ++k) {
                if (k >= first && k < first + order) continue;
                auto& range = ranges_[static_cast<std::size_t>(set.members[k])];
                possible = possible && range.first <= 0 && range.second >= 0;
                range = {0, 0};
            }
            if (possible) apply_sets(index + 1);
            ranges_ = saved;
        }
    }

    void take(std::optional<double> value) {
        if (value && (!best_ || m_.sense * *value < m_.sense * *best_)) best_ = value;
    }

    const Choices& m_;
    Ranges ranges_;
    std::optional<double> best_;
};

void load(const TestProblem& p, const Choices& m) {
    for (const auto& column : m.columns)
        p.column(column.cost, column.lb, column.ub, column.type, column.limit);
    add_rows(p, m);
    for (int row = 0; row < static_cast<int>(m.rows.size()); ++row) {
        const auto& r = m.rows[static_cast<std::size_t>(row)];
        if (r.indicator < 0) continue;
        const int complement = r.active == 1 ? 1 : -1;
        ASSERT_EQ(QLXsetindicators(p, 1, &row, &r.indicator, &complement), 0) << p.error();
    }
    for (const auto& set : m.sets) {
        const std::int64_t start[] = {0, static_cast<std::int64_t>(set.members.size())};
        std::vector<double> references;
        for (std::size_t k = 0; k < set.members.size(); ++k)
            references.push_back(1.0 + static_cast<double>(k));
        const char type = static_cast<char>('0' + set.order);
        ASSERT_EQ(QLXaddsets64(p, 1, start[1], &type, start, set.members.data(), references.data()),
                  0)
            << p.error();
    }
    ASSERT_EQ(QLXchgobjsense(p, m.sense), 0);
}

TEST(Reformulation, AgreesWithEnumeration) {
    for (unsigned seed = 1; seed <= 120; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Choices m = random_choices(random);
        TestProblem p;
        load(p, m);
        ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
        const std::optional<double> best = Enumeration(m).best();
        if (!best) {
            EXPECT_EQ(p.integer("mipstatus"), QLX_MIP_INFEAS);
        } else {
            ASSERT_EQ(p.integer("mipstatus"), QLX_MIP_OPTIMAL);
            EXPECT_NEAR(p.real(QLX_ATTRIB_MIPOBJVAL), *best, 1e-5);
        }
        if (HasFailure()) return;
    }
}

}  // namespace
