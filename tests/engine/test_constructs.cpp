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

}  // namespace
