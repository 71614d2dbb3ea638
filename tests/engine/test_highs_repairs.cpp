// Models that the kernel alone crashes or hangs on: integer columns whose values its 32-bit counts
// cannot hold, by stated bounds, bounds that rows imply or limits; and rows that its presolve comes
// to twice.
#include <cmath>

#include "tests/engine/support.hpp"

namespace {

using qlx::test::kInf;
using qlx::test::TestProblem;

enum class Range { kAround, kImplied, kFarBelow, kFarAway, kSemi };

struct Case {
    const char* name;
    Range range;
    double bound;
    double optimum;
};

struct Shape {
    double lower, upper;
    char type;
    double least;  // of the first row
    double most;   // of the second row
};

Shape shape_of(Range range, double b) {
    switch (range) {
        case Range::kAround:
            return {-b, b, 'I', 31, 17.5};
        case Range::kImplied:
            return {-kInf, kInf, 'I', 31, 17.5};
        case Range::kFarBelow:
            return {-b, 5, 'I', -6 * b + 1, 17.5};
        case Range::kFarAway:
            return {b, 3 * b, 'I', 20 * b + 1, 19 * b + 20};
        default:
            return {b, 3 * b, 'R', 20 * b + 1, 19 * b + 20};
    }
}

// Least x1 + 2 x2 + 3 x3 + 4 x4 where x1 + x2 + 3 x3 + 2 x4 >= r, doubled and odd on the right:
// that is r rounded up, and x2 + 2 x4 at their least. The mirror image has -x in place of x.
void load(const TestProblem& p, const Case& c, bool mirrored, int sense) {
    const Shape shape = shape_of(c.range, c.bound);
    const double sign = mirrored ? -1 : 1;
    const double lower = mirrored ? -shape.upper : shape.lower;
    const double upper = mirrored ? -shape.lower : shape.upper;
    for (int col = 0; col < 4; ++col)
        p.column(sense * sign * (col + 1), lower, upper, shape.type, lower);
    p.row('G', shape.least, {0, 1, 2, 3}, {2 * sign, 2 * sign, 6 * sign, 4 * sign});
    p.row('L', shape.most, {0, 1, 2, 3}, {3 * sign, 5 * sign, 2 * sign, 7 * sign});
    if (c.range == Range::kImplied) {
        p.column(0, 0, 1, 'B');
        for (int col = 0; col < 4; ++col)  // -b <= x + 2 y <= b
            p.row('R', c.bound, {col, 4}, {1.0, 2 * sign}, 2 * c.bound);
    }
    ASSERT_EQ(QLXchgobjsense(p, sense), 0);
}

TEST(MipWideIntegers, AreSolvedToTheirOptimum) {
    std::vector<Case> cases;
    for (const double b : {1e9, 1.07e9, 1.1e9, 2147483646.0, 2147483648.0, 3e9, 1e10, 1e12}) {
        cases.push_back({"around 0", Range::kAround, b, 16 - 3 * b});
        cases.push_back({"implied by rows", Range::kImplied, b, 10 - 3 * b});
        cases.push_back({"far below", Range::kFarBelow, b, 1 - 6 * b});
        cases.push_back({"far away", Range::kFarAway, b, 13 * b + 1});
        cases.push_back({"0 or far away", Range::kSemi, b, 10 * b + 1});
    }
    for (const Case& c : cases) {
        for (int variant = 0; variant < 8; ++variant) {
            const bool mirrored = (variant & 1) != 0;
            const int sense = (variant & 2) != 0 ? -1 : 1;
            SCOPED_TRACE(testing::Message() << c.name << ' ' << c.bound << " variant " << variant);
            TestProblem p;
            load(p, c, mirrored, sense);
            p.control("presolve", (variant & 4) != 0 ? 0 : 1);
            p.control("miprelgap", 0);
            p.control("mipabsgap", 0);
            p.control("timelimit", 20);
            ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
            ASSERT_EQ(p.integer("mipstatus"), QLX_MIP_OPTIMAL);
            // The kernel tells objectives apart to 1e-9 of their size.
            EXPECT_NEAR(sense * p.real(QLX_ATTRIB_MIPOBJVAL), c.optimum,
                        c.range == Range::kImplied ? 1e-9 * std::fabs(c.optimum) : 0);
            for (const double value : p.mip_x()) EXPECT_EQ(value, std::round(value));
        }
    }
}

// At most one of x and b is nonzero: b = 0, i = -1 and x = -2 / 3.
TEST(MipPresolve, ComesBackToASingletonRow) {
    TestProblem p;
    p.column(5, -kInf, 2e11);
    p.column(-3, 0, 1, 'B');
    p.column(-1, -2, 2, 'I');
    p.row('L', -1, {1, 2}, {1, 1});
    p.row('E', 1, {0, 1, 2}, {3, 1, -3});
    p.row('L', 4, {0, 2}, {1, -3});
    const std::int64_t start[] = {0, 2};
    const int members[] = {1, 0};
    const double references[] = {1, 2};
    for (int set = 0; set < 2; ++set) {
        ASSERT_EQ(QLXaddsets64(p, 1, 2, "1", start, members, references), 0) << p.error();
    }
    ASSERT_EQ(QLXchgobjsense(p, -1), 0);
    ASSERT_EQ(QLXmipoptimize(p, ""), 0) << p.error();
    ASSERT_EQ(p.integer("mipstatus"), QLX_MIP_OPTIMAL);
    EXPECT_NEAR(p.real(QLX_ATTRIB_MIPOBJVAL), -7 / 3.0, 1e-9);
}

}  // namespace
