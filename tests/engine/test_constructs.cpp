// Constructs beyond linear rows: bounds they and rows imply, in exact arithmetic, and the faults
// that large coefficients bring.
#include <algorithm>
#include <cmath>

#include "engine/constructs/construct.hpp"
#include "engine/constructs/propagation.hpp"
#include "tests/engine/support.hpp"

namespace {

using qlx::test::kInf;
using qlx::test::Random;
using qlx::test::TestProblem;
__extension__ typedef __int128 Wide;

// A number of any size; whole, so that sums and products of it are exact as Wide.
double whole_number(Random& random) {
    const double size = std::pow(10.0, random.whole(0, 15));
    return std::round(random.real(-1, 1) * size);
}

// The nearest double that is not below (or not above) an exact value.
double rounded(Wide value, bool up) {
    const auto near = static_cast<double>(value);
    const auto exact = static_cast<Wide>(near);
    if (up && exact < value) return std::nextafter(near, 2e38);
    if (!up && exact > value) return std::nextafter(near, -2e38);
    return near;
}

struct ExactModel {
    qlx::Model model;
    std::vector<double> point;
};

// Rows through a point, over columns whose sizes differ by up to 15 digits.
ExactModel model_with_point(Random& random) {
    ExactModel out;
    const int n = random.whole(2, 6);
    for (int col = 0; col < n; ++col) {
        const double x = whole_number(random);
        const double lb = random.chance(0.2) ? -kInf : x - std::fabs(whole_number(random));
        const double ub = random.chance(0.2) ? kInf : x + std::fabs(whole_number(random));
        out.point.push_back(x);
        out.model.append_columns({1, nullptr, &lb, &ub});
    }
    for (int row = random.whole(1, 4); row > 0; --row) {
        std::vector<int> cols;
        std::vector<double> values;
        Wide activity = 0;
        for (int col = 0; col < n; ++col) {
            if (random.chance(0.3)) continue;
            cols.push_back(col);
            values.push_back(random.whole(1, 9) * (random.chance(0.5) ? 1 : -1) *
                             (random.chance(0.2) ? 1e6 : 1));
            activity += static_cast<Wide>(values.back()) *
                        static_cast<Wide>(out.point[static_cast<std::size_t>(col)]);
        }
        const bool upper = random.chance(0.5);
        const char type = upper ? 'L' : 'G';
        const double rhs = rounded(activity, upper);
        const std::int64_t start[] = {0, static_cast<std::int64_t>(cols.size())};
        out.model.append_rows({1, &type, &rhs, nullptr}, start, cols.data(), values.data());
    }
    return out;
}

TEST(Propagation, CutsOffNoFeasiblePoint) {
    for (unsigned seed = 1; seed <= 20000; ++seed) {
        Random random(seed);
        ExactModel m = model_with_point(random);
        const qlx::BoundVectors bounds = qlx::propagate_bounds(m.model);
        for (std::size_t col = 0; col < m.point.size(); ++col) {
            ASSERT_LE(bounds.lower[col], m.point[col]) << seed;
            ASSERT_GE(bounds.upper[col], m.point[col]) << seed;
        }
    }
}

// Of one row by exact arithmetic, each bound is found to all digits that margins leave.
TEST(Propagation, KeepsTheDigitsOfBounds) {
    for (unsigned seed = 1; seed <= 20000; ++seed) {
        Random random(seed);
        const int n = random.whole(2, 5);
        qlx::Model model;
        std::vector<int> cols;
        const std::vector<double> ones(static_cast<std::size_t>(n), 1.0);
        Wide sum = 0;
        for (int col = 0; col < n; ++col) {
            const double lb = whole_number(random);
            const double ub = 1e18;
            model.append_columns({1, nullptr, &lb, &ub});
            cols.push_back(col);
            sum += static_cast<Wide>(lb);
        }
        const double rhs = rounded(sum, true) + random.whole(0, 1000);
        const char type = 'L';
        const std::int64_t start[] = {0, n};
        model.append_rows({1, &type, &rhs, nullptr}, start, cols.data(), ones.data());
        const qlx::BoundVectors bounds = qlx::propagate_bounds(model);
        for (std::size_t col = 0; col < static_cast<std::size_t>(n); ++col) {
            const auto lb = static_cast<Wide>(model.lb()[col]);
            const auto exact = static_cast<double>(static_cast<Wide>(rhs) - (sum - lb));
            if (std::fabs(exact) > 1e15) continue;
            double size = std::fabs(rhs);
            for (std::size_t k = 0; k < static_cast<std::size_t>(n); ++k)
                if (k != col) size += std::fabs(model.lb()[k]);
            ASSERT_NEAR(bounds.upper[col], exact,
                        1.1e-7 * std::max(1.0, std::fabs(exact)) + 1e-14 * size)
                << seed;
        }
    }
}

TEST(Propagation, ATermThatTakesTheDigitsOfTheRest) {
    TestProblem p;
    p.column(1, -1e17, 1e9);
    p.column(0, -3, 3);
    p.column(0, 0, 4);
    p.row('L', 5, {0, 1}, {1, 1});
    p.row('G', -100, {0}, {1});
    const std::int64_t start[] = {0, 2};
    const int members[] = {0, 2};
    const double references[] = {1, 2};
    ASSERT_EQ(QLXaddsets64(p, 1, 2, "1", start, members, references), 0);
    ASSERT_EQ(QLXchgobjsense(p, -1), 0);
    ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    EXPECT_EQ(p.integer("mipstatus"), QLX_MIP_OPTIMAL);
    EXPECT_NEAR(p.real(QLX_ATTRIB_MIPOBJVAL), 8, 1e-6);
}

// Columns of every type, a set of order one and of order two, and two rows under one switch.
qlx::Model model_with_constructs(Random& random) {
    qlx::Model model;
    const char types[] = {'B', 'S', 'R', 'P', 'C', 'S'};
    for (int col = 0; col < 6; ++col) {
        const char type = types[col];
        const bool negative = type == 'S' && random.chance(0.5);
        const double lb = negative ? -4 : type == 'P' || type == 'C' ? -random.whole(0, 2) : 0;
        const double ub = negative ? -random.whole(1, 3) : random.whole(2, 4);
        model.append_columns({1, nullptr, &lb, &ub});
        if (type != 'C') model.set_col_type(col, type);
        if (type == 'S' || type == 'R') model.set_limit(col, negative ? -4 : random.whole(1, 2));
        if (type == 'P') model.set_limit(col, random.whole(0, 3) + 0.5 * random.whole(0, 1));
    }
    const std::vector<double> references = {1, 2, 4, 5, 9};
    model.add_set({1, {5, 4, 3, 2, 1}, references});
    model.add_set({2, {1, 4, 2, 5, 3}, references});
    for (const int active : {0, 1}) {
        const std::int64_t start[] = {0, 3};
        const int cols[] = {0, random.whole(1, 2), random.whole(3, 5)};
        const double values[] = {1, 2, -1};
        const char type = "LGE"[random.whole(0, 2)];
        const double rhs = random.whole(-1, 2);
        model.append_rows({1, &type, &rhs, nullptr}, start, cols, values);
        model.set_indicator(active, {0, active});
    }
    return model;
}

bool is_between(double value, double lower, double upper) {
    return lower <= value && value <= upper;
}

bool contains(qlx::Model& stated, const qlx::Branch& branch, const qlx::Point& point) {
    for (const auto& [col, lower, upper] : branch.bounds)
        if (!is_between(point.x[col], lower, upper)) return false;
    for (const int row : branch.rows)
        if (qlx::row_violation(stated, row, point) > 0) return false;
    for (const int col : branch.integers)
        if (point.x[col] != std::floor(point.x[col])) return false;
    return true;
}

void apply(const qlx::Model& stated, const qlx::Branch& branch, qlx::Model& node) {
    for (const auto& [col, lower, upper] : branch.bounds) {
        const qlx::Sides own = node.relaxed_bounds(col);
        node.set_lb(col, std::max(lower, own.lower));
        node.set_ub(col, std::min(upper, own.upper));
    }
    for (const int row : branch.rows)
        node.set_row_type(row, stated.row_type()[static_cast<std::size_t>(row)], 0);
    for (const int col : branch.integers) node.set_col_type(col, 'I');
}

// Whether the branches lead a point to a node where everything is decided.
bool reaches_leaf(qlx::Model& stated, const qlx::Model& node, const qlx::ConstructItem& one,
                  const qlx::Point& point, const double* guide, int depth) {
    EXPECT_LT(depth, 12);
    const auto children = one.construct->branches(stated, node, one.item, guide);
    if (children.empty() || depth >= 12) return true;
    for (const qlx::Branch& child : children) {
        if (!contains(stated, child, point)) continue;
        qlx::Model below = node;
        apply(stated, child, below);
        if (reaches_leaf(stated, below, one, point, guide, depth + 1)) return true;
    }
    return false;
}

// A relaxation's points end in a leaf exactly where they satisfy the construct.
TEST(Constructs, BranchesPartWhatSatisfiesFromWhatDoesNot) {
    int satisfied = 0;
    int violated = 0;
    for (unsigned seed = 1; seed <= 1500; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        qlx::Model stated = model_with_constructs(random);
        for (const qlx::ConstructItem& one : qlx::construct_items(stated)) {
            qlx::Model node = stated;
            one.construct->relax(node, {one.item});
            std::vector<double> x;
            std::vector<double> guide;
            for (std::size_t col = 0; col < 6; ++col) {
                const qlx::Sides bounds = stated.relaxed_bounds(static_cast<int>(col));
                // Whole where the relaxation has an integer column.
                const bool whole = random.chance(0.3) || node.col_type()[col] == 'I' ||
                                   stated.col_type()[col] == 'B' || stated.col_type()[col] == 'R';
                double value = random.whole(0, 1) * random.real(bounds.lower, bounds.upper);
                value = std::round(value * (whole ? 1 : 2)) / (whole ? 1 : 2);
                x.push_back(std::clamp(value, bounds.lower, bounds.upper));
                guide.push_back(random.chance(0.5) ? x.back() : bounds.upper);
            }
            std::vector<double> activities(2);
            for (int row = 0; row < 2; ++row)
                for (int col = 0; col < 6; ++col)
                    activities[static_cast<std::size_t>(row)] +=
                        stated.matrix().at(row, col) * x[static_cast<std::size_t>(col)];
            const qlx::Point point{x.data(), activities};
            const qlx::Violation violation = one.construct->violation(stated, one.item, point);
            const bool holds = std::max(violation.types, violation.rows) == 0;
            ++(holds ? satisfied : violated);
            EXPECT_TRUE(holds || violation.share > 0);
            for (const double* toward : std::initializer_list<const double*>{nullptr, guide.data()})
                EXPECT_EQ(reaches_leaf(stated, node, one, point, toward, 0), holds);
        }
        if (HasFailure()) return;
    }
    EXPECT_GT(satisfied, 1000);
    EXPECT_GT(violated, 1000);
}

// With such coefficients times tolerances near 1, presolve takes switches for done that are not.
TEST(Constructs, LargeBoundsLetNoSwitchSlip) {
    for (const double upper : {5e5, 1e6, 2e6, 9.9e6, 1e9, 1e12, kInf}) {
        SCOPED_TRACE(upper);
        TestProblem indicators;
        indicators.column(1, 0, upper);
        indicators.column(-1, 0, 1, 'B');
        indicators.column(-100, 0, 1, 'B');
        indicators.row('L', 1, {0}, {1});
        indicators.row('L', 0, {0, 2}, {1, 2});
        const int rows[] = {0, 1};
        const int switches[] = {2, 1};
        const int complements[] = {-1, 1};
        ASSERT_EQ(QLXsetindicators(indicators, 2, rows, switches, complements), 0);
        ASSERT_EQ(QLXmipoptimize(indicators, ""), 0) << indicators.error();
        EXPECT_EQ(indicators.integer("mipstatus"), QLX_MIP_OPTIMAL);
        EXPECT_NEAR(indicators.real(QLX_ATTRIB_MIPOBJVAL), -100, 1e-6);
        EXPECT_NEAR(indicators.real(2101), -100, 1e-3);

        // Members 0 and 2 are no neighbours: one of them is 0.
        TestProblem set;
        for (const double cost : {-3.0, 0.0, -2.0}) set.column(cost, 0, upper);
        set.row('L', 5, {0, 1}, {1, -1});
        set.row('L', 4, {2}, {1});
        set.row('L', 3, {1, 2}, {1, 1});
        const std::int64_t start[] = {0, 3};
        const int members[] = {0, 1, 2};
        const double references[] = {1, 2, 3};
        ASSERT_EQ(QLXaddsets64(set, 1, 3, "2", start, members, references), 0);
        ASSERT_EQ(QLXmipoptimize(set, ""), 0) << set.error();
        EXPECT_EQ(set.integer("mipstatus"), QLX_MIP_OPTIMAL);
        EXPECT_NEAR(set.real(QLX_ATTRIB_MIPOBJVAL), -24, 1e-6);

        TestProblem semi;
        semi.column(1, 0, upper, 'R', 3);
        semi.column(-1, 0, 1, 'B');
        semi.row('G', 0, {0, 1}, {4, -1});  // y <= 4x
        ASSERT_EQ(QLXmipoptimize(semi, ""), 0) << semi.error();
        EXPECT_EQ(semi.integer("mipstatus"), QLX_MIP_OPTIMAL);
        EXPECT_NEAR(semi.real(QLX_ATTRIB_MIPOBJVAL), 0, 1e-6);
    }
}

}  // namespace
