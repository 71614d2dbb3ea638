// Intervals, propagation and convexity of nonlinear statements, against sampled values.
#include <algorithm>
#include <random>

#include "engine/nlp/analysis/convexity.hpp"
#include "engine/nlp/analysis/interval_analysis.hpp"
#include "engine/nlp/formula/evaluator.hpp"
#include "tests/engine/statement_support.hpp"

namespace {

using namespace qlx::nlp;
using qlx::Operation;
using qlx::test::kInf;
using qlx::test::StatementBuilder;

std::size_t u(int index) {
    return static_cast<std::size_t>(index);
}

class Random {
  public:
    explicit Random(unsigned seed) : generator_(seed) {}
    int below(int limit) { return static_cast<int>(generator_() % static_cast<unsigned>(limit)); }
    double within(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(generator_);
    }
    double size() { return std::pow(10.0, within(-8, 8)) * (below(2) == 0 ? 1 : -1); }

  private:
    std::mt19937 generator_;
};

// A form that rules of curvature know, of two formulas.
std::string random_form(Random& random, const std::string& a, const std::string& b) {
    static const char* const kForms[] = {
        "a*log(b)", "a*log(a)",         "a*log(a/b)",         "a*log(b/a)", "a*exp(b/a)",
        "a^2/b",    "sqrt(a^2+b^2)",    "log(exp(a)+exp(b))", "sqrt(a*b)",  "1/(a*b)",
        "log(a*b)", "(a^2 + b*b)^0.75", "(a*a+1)/b",          "a*b+a*a+b*b"};
    std::string formula;
    for (const char* c = kForms[random.below(14)]; *c != '\0'; ++c) {
        const bool in_name = std::isalpha(static_cast<unsigned char>(c[1])) != 0;
        if ((*c == 'a' || *c == 'b') && !in_name) {
            formula += "(" + (*c == 'a' ? a : b) + ")";
        } else {
            formula += *c;
        }
    }
    return formula;
}

// Any formula of the three columns x0, x1, x2.
std::string random_formula(Random& random, int depth) {
    if (depth == 0 || random.below(8) == 0) {
        if (random.below(3) > 0) return "x" + std::to_string(random.below(3));
        static const char* const kNumbers[] = {"0", "1", "2", "3", "0.5", "-1", "-2", "0.1", "7"};
        return std::string("(") + kNumbers[random.below(9)] + ")";
    }
    static const char* const kFunctions[] = {"log10", "log",  "exp", "abs",  "sqrt",
                                             "sin",   "cos",  "tan", "asin", "acos",
                                             "atan",  "sign", "erf", "erfc", "-"};
    static const char* const kOperators[] = {"+", "-", "*", "/", "^", "+", "-", "*"};
    const auto inner = [&] { return random_formula(random, depth - 1); };
    switch (random.below(6)) {
        case 0:
        case 1:
            return kFunctions[random.below(15)] + ("(" + inner()) + ")";
        case 2:
            return (random.below(2) == 0 ? "min(" : "max(") + inner() + ", " + inner() + ", " +
                   inner() + ")";
        case 3:
            return random_form(random, inner(), inner());
        default:
            return "(" + inner() + ")" + kOperators[random.below(8)] + "(" + inner() + ")";
    }
}

long double exact_value(Operation operation, const std::vector<long double>& a) {
    switch (operation) {
        case Operation::kNegate:
            return -a[0];
        case Operation::kPower:
            return std::pow(a[0], a[1]);
        case Operation::kMultiply:
            return a[0] * a[1];
        case Operation::kDivide:
            return a[0] / a[1];
        case Operation::kAdd:
            return a[0] + a[1];
        case Operation::kSubtract:
            return a[0] - a[1];
        case Operation::kLog10:
            return std::log10(a[0]);
        case Operation::kLog:
            return std::log(a[0]);
        case Operation::kExp:
            return std::exp(a[0]);
        case Operation::kAbs:
            return std::fabs(a[0]);
        case Operation::kSqrt:
            return std::sqrt(a[0]);
        case Operation::kSin:
            return std::sin(a[0]);
        case Operation::kCos:
            return std::cos(a[0]);
        case Operation::kTan:
            return std::tan(a[0]);
        case Operation::kAsin:
            return std::asin(a[0]);
        case Operation::kAcos:
            return std::acos(a[0]);
        case Operation::kAtan:
            return std::atan(a[0]);
        case Operation::kSign:
            return static_cast<long double>((a[0] > 0) - (a[0] < 0));
        case Operation::kErf:
            return std::erf(a[0]);
        case Operation::kErfc:
            return std::erfc(a[0]);
        case Operation::kMin:
            return *std::min_element(a.begin(), a.end());
        default:
            return *std::max_element(a.begin(), a.end());
    }
}

// All nodes at a point; infinite where they overflow, not a number from undefined or infinite
// operands on.
std::vector<long double> node_values(const FormulaGraph& graph, const std::vector<double>& x) {
    std::vector<long double> values;
    for (int k = 0; k < graph.num_nodes(); ++k) {
        const GraphNode& node = graph.node(k);
        long double value = node.constant;
        if (node.operation == Operation::kColumn) value = x[u(node.argument)];
        std::vector<long double> operands;
        for (const int operand : graph.operands(k)) operands.push_back(values[u(operand)]);
        if (!operands.empty()) value = exact_value(node.operation, operands);
        const bool known = std::ranges::all_of(operands, [](auto v) { return std::isfinite(v); });
        values.push_back(known ? value : std::nan(""));
    }
    return values;
}

void expect_encloses(Interval interval, long double value, const std::string& what) {
    if (!std::isfinite(value)) return;
    const long double slack = 1e-13L * std::fabs(value);
    EXPECT_LE(static_cast<long double>(interval.lower), value + slack) << what;
    EXPECT_GE(static_cast<long double>(interval.upper), value - slack) << what;
}

struct Box {
    std::vector<double> lower, upper;
};
Box random_box(Random& random) {
    Box box;
    for (int j = 0; j < 3; ++j) {
        static const double kEnds[] = {-kInf, -10, -2, -1, 0, 0.5, 1, 3, 1e3, kInf};
        double a = kEnds[random.below(10)];
        double b = random.below(3) == 0 ? random.size() : kEnds[random.below(10)];
        if (a > b) std::swap(a, b);
        box.lower.push_back(a == kInf ? 1e9 : a);
        box.upper.push_back(b == -kInf ? -1e9 : b);
    }
    return box;
}
// Ends of the box, whole numbers and others.
std::vector<double> random_point(Random& random, const Box& box) {
    std::vector<double> x;
    for (std::size_t j = 0; j < box.lower.size(); ++j) {
        const double low = std::max(box.lower[j], -1e3);
        const double high = std::max(low, std::min(box.upper[j], 1e3));
        double value = random.within(low, high);
        const int kind = random.below(6);
        if (kind == 0) value = low;
        if (kind == 1) value = high;
        if (kind == 2) value = std::round(value);
        if (kind == 3) value = random.within(-2, 2);
        x.push_back(std::clamp(value, box.lower[j], box.upper[j]));
    }
    return x;
}
void add_columns(StatementBuilder& b, const Box& box) {
    for (std::size_t j = 0; j < box.lower.size(); ++j) b.column(box.lower[j], box.upper[j]);
}

TEST(IntervalTest, FunctionsOfPointsAreEnclosedToTheLastDigits) {
    Random random(3);
    for (int trial = 0; trial < 60'000; ++trial) {
        static const Operation kAll[] = {
            Operation::kPower,    Operation::kMultiply, Operation::kDivide, Operation::kAdd,
            Operation::kSubtract, Operation::kLog10,    Operation::kLog,    Operation::kExp,
            Operation::kSqrt,     Operation::kSin,      Operation::kCos,    Operation::kTan,
            Operation::kAsin,     Operation::kAcos,     Operation::kAtan,   Operation::kErf,
            Operation::kErfc};
        const Operation operation = kAll[random.below(17)];
        const bool is_binary = operation <= Operation::kSubtract;
        const double a = random.below(2) == 0 ? random.within(-4, 4) : random.size();
        const double b = random.below(3) > 0 ? random.below(7) - 3 : random.within(-4, 4);
        const Interval operands[] = {Interval::point(a), Interval::point(b)};
        const Interval result =
            apply_interval(operation, std::span(operands).first(is_binary ? 2 : 1));
        const long double exact = exact_value(operation, {a, b});
        if (!std::isfinite(exact)) continue;
        EXPECT_LE(static_cast<long double>(result.lower), exact) << a << ' ' << b;
        EXPECT_GE(static_cast<long double>(result.upper), exact) << a << ' ' << b;
        const bool is_small = std::fabs(exact) < 1e-300L || std::fabs(a) > 1e5;
        EXPECT_TRUE(is_small || std::isinf(result.upper) ||
                    result.upper - result.lower <= 4e-15L * std::fabs(exact))
            << static_cast<int>(operation) << ' ' << a << ' ' << b;
    }
}

TEST(IntervalTest, RangesOfOperations) {
    struct Case {
        const char* formula;  // of x0 and x1
        Interval x0, x1;
        Interval range;
        bool defined;
    };
    const Interval all{};
    const Case cases[] = {
        {"sqrt(x0)", {-4, 9}, all, {0, 3}, false},
        {"sqrt(x0)", {-4, -1}, all, Interval::empty(), false},
        {"log(x0)", {0, 1}, all, {-kInf, 0}, false},
        {"log(x0)", {0, 0}, all, Interval::empty(), false},
        {"x0 / x1", {1, 2}, {0, 4}, {0.25, kInf}, false},
        {"x0 / x1", {1, 2}, {-1, 4}, all, false},
        {"x0 / x1", {-4, 2}, {2, 4}, {-2, 1}, true},
        {"x0 / x1", {1, 2}, {0, 0}, Interval::empty(), false},
        {"x0 * x1", {0, kInf}, {-1, kInf}, all, true},
        {"x0 * x0", {-3, 2}, all, {0, 9}, true},
        {"x0 ^ 3", {-3, 2}, all, {-27, 8}, true},
        {"x0 ^ -2", {-1, 2}, all, {0.25, kInf}, false},
        {"x0 ^ -1", {-4, -2}, all, {-0.5, -0.25}, true},
        {"x0 ^ 0.5", {-4, 4}, all, {0, 2}, false},
        {"x0 ^ 0", all, all, {1, 1}, true},
        {"(-x0) ^ x1", {-0.7, 0}, {-1, -0.5}, {1.1952286093343936, kInf}, false},
        {"2 ^ x0", {-1, 3}, all, {0.5, 8}, true},
        {"x0 ^ x1", {0, 2}, {0, 2}, {0, 4}, true},
        {"x0 ^ x1", {-2, 2}, {0.2, 1}, {-2, 2}, false},
        {"x0 ^ x1", {-2, 2}, {0.2, 2}, {-4, 4}, false},
        {"sin(x0)", {0, 3}, all, {0, 1}, true},
        {"sin(x0)", all, all, {-1, 1}, true},
        {"cos(x0)", {-1, 4}, all, {-1, 1}, true},
        {"tan(x0)", {1, 2}, all, all, false},
        {"asin(x0)", {-7, 0}, all, {-1.5707963267948966, 0}, false},
        {"sign(x0)", {0, 5}, all, {0, 1}, true},
        {"sign(x0)", {1e-9, 5}, all, {1, 1}, true},
        {"max(x0, x1, 2)", {0, 5}, {-9, 3}, {2, 5}, true},
        {"min(x0, x1)", {0, 5}, {-9, 3}, {-9, 3}, true},
        {"exp(x0)", {0, 1000}, all, {1, kInf}, true},
        {"exp(log(x0))", {-5, -2}, all, Interval::empty(), false},
    };
    for (const Case& c : cases) {
        StatementBuilder b;
        b.column(c.x0.lower, c.x0.upper);
        b.column(c.x1.lower, c.x1.upper);
        b.objective(c.formula);
        const Statement s = b.build();
        const FormulaGraph graph(s);
        const IntervalAnalysis analysis(s, graph);
        const Interval range = analysis.node(graph.roots()[0].node);
        EXPECT_EQ(analysis.row_is_defined(kObjectiveRow), c.defined) << c.formula;
        EXPECT_EQ(range.is_empty(), c.range.is_empty()) << c.formula;
        if (range.is_empty() || c.range.is_empty()) continue;
        EXPECT_LE(range.lower, c.range.lower) << c.formula;
        EXPECT_GE(range.upper, c.range.upper) << c.formula;
        if (c.range.lower != 0 || range.lower != 0) {
            EXPECT_NEAR(std::max(range.lower, -1e9), std::max(c.range.lower, -1e9), 0.1)
                << c.formula;
        }
        EXPECT_NEAR(std::min(range.upper, 1e9), std::min(c.range.upper, 1e9), 1e-12) << c.formula;
    }
}

TEST(IntervalTest, RangesOfRandomFormulasEncloseSamples) {
    Random random(11);
    int defined = 0;
    for (int trial = 0; trial < 3000; ++trial) {
        const Box box = random_box(random);
        StatementBuilder b;
        add_columns(b, box);
        const std::string formula = random_formula(random, 4);
        b.objective(formula);
        const Statement s = b.build();
        const FormulaGraph graph(s);
        const IntervalAnalysis analysis(s, graph);
        for (int sample = 0; sample < 12; ++sample) {
            const std::vector<double> x = random_point(random, box);
            const std::vector<long double> values = node_values(graph, x);
            const bool overflows =
                std::ranges::any_of(values, [](auto v) { return std::isinf(v); });
            for (int k = 0; k < graph.num_nodes(); ++k) {
                expect_encloses(analysis.node(k), values[u(k)], formula);
                if (std::isfinite(values[u(k)])) ++defined;
                if (analysis.is_defined(k) && !overflows) {
                    EXPECT_FALSE(std::isnan(values[u(k)])) << formula;
                }
            }
        }
        if (HasFailure()) return;
    }
    EXPECT_GT(defined, 200'000);
}

TEST(PropagationTest, NoFeasiblePointIsCutOff) {
    Random random(5);
    int kept = 0;
    int tightened = 0;
    for (int trial = 0; trial < 4500; ++trial) {
        const Box box = random_box(random);
        const std::vector<double> x = random_point(random, box);
        StatementBuilder b;
        add_columns(b, box);
        std::string all;
        for (int r = 0; r < 3; ++r) {
            const std::string formula = random_formula(random, 3);
            all += formula + "; ";
            const int row = b.row(-kInf, kInf, formula);
            b.linear(row, random.below(3), random.below(5) - 2);
            b.quadratic(row, random.below(3), random.below(3), random.below(3) - 1);
        }
        Statement s = b.build();
        const FormulaGraph graph(s);
        const std::vector<long double> nodes = node_values(graph, x);
        const bool known = std::ranges::all_of(nodes, [](auto v) { return std::fabs(v) < 1e12L; });
        if (!known) continue;
        for (int r = 0; r < 3; ++r) {
            // Of the nodes, as a sine of a large number may be another one in double precision.
            long double exact = nodes[u(graph.roots()[u(r)].node)];
            for (const LinearEntry& entry : s.linear)
                if (entry.row == r) exact += entry.coefficient * x[u(entry.column)];
            for (const QuadraticEntry& entry : s.quadratic) {
                if (entry.row != r) continue;
                exact += entry.coefficient * static_cast<long double>(x[u(entry.first)]) *
                         x[u(entry.second)];
            }
            const auto value = static_cast<double>(exact);
            const int kind = random.below(3);
            if (kind != 0) s.row_lower[u(r)] = value - (random.below(2) == 0 ? 0 : 1);
            if (kind != 1) s.row_upper[u(r)] = value + (random.below(2) == 0 ? 0 : 1);
        }
        IntervalAnalysis analysis(s, graph);
        ASSERT_TRUE(analysis.propagate()) << trial << ": " << all << analysis.failed_row();
        ++kept;
        for (int j = 0; j < 3; ++j) {
            EXPECT_TRUE(analysis.column(j).has(x[u(j)]))
                << trial << ": x" << j << " = " << x[u(j)] << " not in " << analysis.column(j).lower
                << " .. " << analysis.column(j).upper;
            if (analysis.column(j).lower > box.lower[u(j)] ||
                analysis.column(j).upper < box.upper[u(j)]) {
                ++tightened;
            }
        }
        for (int k = 0; k < graph.num_nodes(); ++k)
            expect_encloses(analysis.node(k), nodes[u(k)], all + std::to_string(k));
        if (HasFailure()) return;
    }
    EXPECT_GT(kept, 800);
    EXPECT_GT(tightened, 800);
}

TEST(PropagationTest, BoundsThatRowsImply) {
    struct Case {
        const char* formula;
        double lower, upper;
        Interval x0;  // from -10 .. 10, as x1
        bool feasible;
    };
    const Case cases[] = {
        {"x0^2 + x1^2", -kInf, 4, {-2, 2}, true},
        {"x0^2 + x1^2", -kInf, -1, {}, false},
        {"exp(x0)", -kInf, 1, {-10, 0}, true},
        {"log(x0 + 1) + sqrt(x1)", -kInf, 0, {-1, 0}, true},
        {"x0^3", 8, 27, {2, 3}, true},
        {"1 / x0", 0.5, 4, {0.25, 2}, true},
        {"max(x0, x1, -20)", -kInf, 3, {-10, 3}, true},
        {"min(x0, 5)", 6, kInf, {}, false},
        {"abs(x0 - 1)", -kInf, 2, {-1, 3}, true},
        {"sin(x0)", 1.5, kInf, {}, false},
        {"sqrt(x0 - 11)", -kInf, kInf, {-10, 10}, true},  // a row without sides may be undefined
        {"sqrt(x0 - 11)", -kInf, 1e9, {}, false},
        {"x0^2", -kInf, -1e-7, {-2e-3, 2e-3}, true},  // within the tolerance
    };
    for (const Case& c : cases) {
        StatementBuilder b;
        b.column(-10, 10);
        b.column(-10, 10);
        b.row(c.lower, c.upper, c.formula);
        const Statement s = b.build();
        const FormulaGraph graph(s);
        IntervalAnalysis analysis(s, graph);
        EXPECT_EQ(analysis.propagate(), c.feasible) << c.formula;
        if (!c.feasible) {
            EXPECT_EQ(analysis.failed_row(), 0) << c.formula;
            continue;
        }
        EXPECT_NEAR(analysis.column(0).lower, c.x0.lower, 2e-3) << c.formula;
        EXPECT_NEAR(analysis.column(0).upper, c.x0.upper, 2e-3) << c.formula;
    }
}

TEST(ConvexityTest, KnownExpressions) {
    struct Case {
        const char* formula;  // of x0, x1, x2 in 0.. , -2 .. 3 and all numbers
        Curvature curvature;
    };
    constexpr Curvature kConvex = Curvature::kConvex;
    constexpr Curvature kConcave = Curvature::kConcave;
    constexpr Curvature kAffine = Curvature::kAffine;
    constexpr Curvature kUnknown = Curvature::kUnknown;
    const Case cases[] = {
        {"2*x0 - 3*(x1 - x2)/4 + 1", kAffine},
        {"abs(x0) + 2", kAffine},
        {"sign(x0 + 1) * x2", kAffine},
        // Powers by sign and parity.
        {"x2^2", kConvex},
        {"x2*x2 - x1", kConvex},
        {"x0^3", kConvex},
        {"x2^3", kUnknown},
        {"(x1 - 4)^3", kConcave},
        {"x2^4", kConvex},
        {"(x2^2 - 1)^2", kUnknown},
        {"(x2^2 + 1)^3", kConvex},
        {"x0^1.5", kConvex},
        {"x0^0.5", kConcave},
        {"-x0^0.5", kConvex},
        {"x2^0.5", kConcave},  // where it is defined
        {"(x2^2 - 1)^1.5", kUnknown},
        {"x0^-1", kConvex},
        {"x1^-2", kUnknown},
        {"1/(1 + x0)", kConvex},
        {"1/x2", kUnknown},
        {"3/(x1 - 4)", kConcave},
        {"2^(x1 - x2)", kConvex},
        {"0.5^(x2^2)", kUnknown},
        // Functions.
        {"exp(x2^2 - x1)", kConvex},
        {"exp(-sqrt(x0))", kConvex},
        {"exp(-x2^2)", kUnknown},
        {"log(x0 + x2)", kConcave},
        {"-log10(x0 - x2)", kConvex},
        {"log(x2^2)", kUnknown},
        {"sqrt(1 - x1^2)", kConcave},
        {"sin(x1/4 + 1)", kConcave},
        {"cos(x2)", kUnknown},
        {"tan(x0/(1 + x0))", kUnknown},
        {"atan(x0)", kConcave},
        {"erfc(x0)", kConvex},
        {"asin(x0)", kConvex},
        {"max(x0, x2^2, exp(x1))", kConvex},
        {"min(x0, sqrt(x0), 3)", kConcave},
        {"abs(x2 - 3*x1)", kConvex},
        {"abs(x2^2 + 1)", kConvex},
        {"abs(x2^2 - 1)", kUnknown},
        // Recognised forms.
        {"x0 * log(x0)", kConvex},
        {"-3*x0 * log(2*x0)", kConcave},
        {"(x0 + x2)*log(x0 + x2)", kConvex},
        {"x0 * log(x0 / (1 + x0))", kConvex},
        {"x0 * log((1 + x0) / x0)", kConcave},
        {"x0 * exp(x2 / x0)", kConvex},
        {"x2^2 / x0", kConvex},
        {"(x2 - x1)^2 / (1 + sqrt(x0))", kConvex},
        {"(x2^2 + 3*x1^2) / (x1 - 5)", kConcave},
        {"sqrt(x0^2 + x1*x1 + 4*(x2 - x1)^2 + 1)", kConvex},
        {"sqrt(x0^2 - x1^2)", kUnknown},
        {"(x1^2 + x2^2)^0.75", kConvex},
        {"sqrt(x0 * (x1 + 2))", kConcave},
        {"sqrt(x0 * x2)", kUnknown},
        {"log(exp(x1) + 3*exp(x2 - x0) + 1)", kConvex},
        {"log(exp(x1) - exp(x2))", kUnknown},
        {"exp(x1) * exp(2*x2)", kConvex},
        {"1 / ((1 + x0) * (x1 + 3))", kConvex},
        {"log(x0 * (x1 + 3))", kConcave},
        // One column, by the second derivative.
        {"x0 * exp(x0)", kConvex},
        {"1 - 1/(1 + x0)", kConcave},
        {"x1^4 - x1 * (x1 - 30*x1)", kConvex},
        {"(x1 + 3)^3 * 2 - x1", kConvex},
        {"exp(x0) - x0^2 / 8 - sin(x0) / 4", kConvex},
        // Squares and products together.
        {"x1*x2 + x1^2 + x2^2", kConvex},
        {"x1*x2 + x1^2", kUnknown},
        {"2*x1*x2 - 2*(x1^2 + x2^2) - x0^2", kConcave},
        {"x1*x2 + x1^2 + x2^2 + exp(x0) - log(x0)", kConvex},
        {"x1*x2", kUnknown},
    };
    for (const Case& c : cases) {
        StatementBuilder b;
        b.column(0, kInf);
        b.column(-2, 3);
        b.column();
        b.objective(c.formula);
        EXPECT_EQ(curvature_of_row(b.build(), kObjectiveRow), c.curvature) << c.formula;
    }
}

TEST(ConvexityTest, Programs) {
    struct Case {
        const char* objective;
        const char* row;
        double lower, upper;
        bool convex;
    };
    const Case cases[] = {
        {"exp(x0) + x1^2", "x0^2 + x1^2", -kInf, 4, true},
        {"exp(x0) + x1^2", "x0^2 + x1^2", 1, 4, false},
        {"exp(x0) + x1^2", "log(x0) + x1", -1, kInf, true},
        {"exp(x0) + x1^2", "x0^2 + x1", 1, 1, false},
        {"exp(x0) + x1^2", "x0 + 2*x1", 1, 1, true},
        {"exp(x0) + x1^2", "sin(x0)", -kInf, kInf, true},
        {"x0*x1", "x0^2", -kInf, 1, false},
        // Convex by what a row says of a column.
        {"x0^3 + x1^2", "x0 * 2", 0, 5, true},
        {"x0^3 + x1^2", "exp(x0)", 0.9, kInf, false},
        {"x0^3 + x1^2", "log(x0)", -9, kInf, true},
    };
    for (const Case& c : cases) {
        StatementBuilder b;
        b.column(-10, 10);
        b.column(-10, 10);
        b.objective(c.objective);
        b.row(c.lower, c.upper, c.row);
        EXPECT_EQ(is_convex_program(b.build()), c.convex) << c.objective << ", " << c.row;
    }
}

// What is called convex satisfies the inequality of the midpoint, and its domain has it.
TEST(ConvexityTest, ClaimsHoldAtMidpoints) {
    Random random(23);
    int claims = 0;
    for (int trial = 0; trial < 6000; ++trial) {
        const Box box = random_box(random);
        StatementBuilder b;
        add_columns(b, box);
        const std::string formula = random_formula(random, 1 + random.below(4));
        b.objective(formula);
        const Statement s = b.build();
        const FormulaGraph graph(s);
        const Curvature curvature = curvature_of_row(s, kObjectiveRow);
        if (curvature == Curvature::kUnknown) continue;
        ++claims;
        for (int sample = 0; sample < 40; ++sample) {
            const std::vector<double> x = random_point(random, box);
            const std::vector<double> y = random_point(random, box);
            std::vector<double> middle;
            for (std::size_t j = 0; j < 3; ++j) middle.push_back(0.5 * x[j] + 0.5 * y[j]);
            const int root = graph.roots()[0].node;
            const std::vector<long double> at_x = node_values(graph, x);
            const std::vector<long double> at_y = node_values(graph, y);
            const long double fx = at_x[u(root)];
            const long double fy = at_y[u(root)];
            if (!std::isfinite(fx) || !std::isfinite(fy)) continue;
            const std::vector<long double> values = node_values(graph, middle);
            const long double fm = values[u(root)];
            long double size = 1;
            for (std::size_t k = 0; k < at_x.size(); ++k)
                size = std::max({size, std::fabs(at_x[k]), std::fabs(at_y[k])});
            const long double slack = 1e-12L * size;
            if (std::ranges::any_of(values, [](auto v) { return std::isinf(v); })) continue;
            EXPECT_FALSE(std::isnan(fm)) << formula;
            if (is_convex(curvature)) {
                EXPECT_LE(fm, 0.5L * (fx + fy) + slack) << formula;
            }
            if (is_concave(curvature)) {
                EXPECT_GE(fm, 0.5L * (fx + fy) - slack) << formula;
            }
        }
        if (HasFailure()) return;
    }
    EXPECT_GT(claims, 1500);
}

}  // namespace
