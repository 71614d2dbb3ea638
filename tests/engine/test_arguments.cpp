// Wrong arguments: each is refused with a text that names it, and nothing changes.
#include <cmath>
#include <functional>

#include "tests/engine/support.hpp"

namespace {

using qlx::test::kInf;
using qlx::test::TestProblem;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

// Two columns in [0, 10], one row x0 + 2 x1 <= 8.
void build(const TestProblem& p) {
    p.column(1, 0, 10);
    p.column(1, 0, 10);
    p.row('L', 8, {0, 1}, {1, 2});
}

struct Case {
    const char* text;  // must be part of the error's text
    std::function<int(QLXprob)> call;
};

int add_row(QLXprob p, char type, double rhs, double range, std::vector<int> cols,
            std::vector<double> values) {
    const std::int64_t start[] = {0, static_cast<std::int64_t>(cols.size())};
    return QLXaddrows64(p, 1, start[1], &type, &rhs, &range, start, cols.data(), values.data());
}

int add_column(QLXprob p, double lb, double ub) {
    return QLXaddcols64(p, 1, 0, nullptr, nullptr, nullptr, nullptr, &lb, &ub);
}

const std::vector<Case> kCases = {
    {"lb[0] is 5, above ub[0] = 4", [](QLXprob p) { return add_column(p, 5, 4); }},
    {"lb[0] is not a number", [](QLXprob p) { return add_column(p, kNan, 4); }},
    {"lb[0] is 1e+20", [](QLXprob p) { return add_column(p, kInf, kInf); }},
    {"colind[1] is 7, must be 0 .. 1",
     [](QLXprob p) {
         return add_row(p, 'L', 1, 0, {0, 7}, {1, 1});
     }},
    {"colind[0] is -1", [](QLXprob p) { return add_row(p, 'L', 1, 0, {-1}, {1}); }},
    {"values[0] is 1e+20", [](QLXprob p) { return add_row(p, 'L', 1, 0, {0}, {kInf}); }},
    {"values[1] is not a number",
     [](QLXprob p) {
         return add_row(p, 'L', 1, 0, {0, 1}, {1, kNan});
     }},
    {"given twice",
     [](QLXprob p) {
         return add_row(p, 'L', 1, 0, {1, 1}, {1, 2});
     }},
    {"rowtype[0] is 'X'", [](QLXprob p) { return add_row(p, 'X', 1, 0, {0}, {1}); }},
    {"rhs[0] is not a number", [](QLXprob p) { return add_row(p, 'L', kNan, 0, {0}, {1}); }},
    {"rhs[0] is 1e+20, not possible for row type 'E'",
     [](QLXprob p) { return add_row(p, 'E', kInf, 0, {0}, {1}); }},
    {"range[0] is nan", [](QLXprob p) { return add_row(p, 'R', 1, kNan, {0}, {1}); }},
    {"start[1] is 1, must be the number of entries, 2",
     [](QLXprob p) {
         const std::int64_t start[] = {0, 1};
         const int cols[] = {0, 1};
         const double one[] = {1, 1};
         return QLXaddrows64(p, 1, 2, "L", one, nullptr, start, cols, one);
     }},
    {"column 0 would have lower bound 11 and upper bound 10",
     [](QLXprob p) {
         const int col = 0;
         const double value = 11;
         return QLXchgbounds(p, 1, &col, "L", &value);
     }},
    {"cols[0] is 2, must be -1 (the constant) .. 1",
     [](QLXprob p) {
         const int col = 2;
         const double value = 1;
         return QLXchgobj(p, 1, &col, &value);
     }},
    {"row is 1, must be 0 .. 0", [](QLXprob p) { return QLXchgcoef(p, 1, 0, 1.0); }},
    {"sense is 0", [](QLXprob p) { return QLXchgobjsense(p, 0); }},
    {"which is given twice",
     [](QLXprob p) {
         const int cols[] = {1, 1};
         return QLXdelcols(p, 2, cols);
     }},
    {"must be of type 'S', 'R' or 'P'",
     [](QLXprob p) {
         const int col = 0;
         const double limit = 1;
         return QLXchgglblimit(p, 1, &col, &limit);
     }},
    {"complements[0] is 2",
     [](QLXprob p) {
         const int zero = 0;
         const int two = 2;
         return QLXsetindicators(p, 1, &zero, &zero, &two);
     }},
    {"refval[1] is 1, which another member of set 0 has too",
     [](QLXprob p) {
         const std::int64_t start[] = {0, 2};
         const int cols[] = {0, 1};
         const double references[] = {1, 1};
         return QLXaddsets64(p, 1, 2, "1", start, cols, references);
     }},
    {"no column is named \"nobody\"",
     [](QLXprob p) {
         int index = 0;
         return QLXgetindex(p, QLX_NAMES_COLUMN, "nobody", &index);
     }},
    {"there is no control with id 1", [](QLXprob p) { return QLXsetintcontrol(p, 1, 0); }},
    {"control presolve cannot be 7, must be 0 .. 1",
     [](QLXprob p) {
         int id = 0;
         QLXgetcontrolinfo(p, "PreSolve", &id, nullptr);
         return QLXsetintcontrol(p, id, 7);
     }},
    {"is not an integer",
     [](QLXprob p) {
         int id = 0;
         int value = 0;
         QLXgetcontrolinfo(p, "timelimit", &id, nullptr);
         return QLXgetintcontrol(p, id, &value);
     }},
    {"the problem has not been solved",
     [](QLXprob p) { return QLXgetlpsol(p, nullptr, nullptr, nullptr, nullptr); }},
    {"flags contains 'z'", [](QLXprob p) { return QLXlpoptimize(p, "z"); }},
};

// Linear, quadratic, with quadratic rows, integer, nonlinear: the letters are the same.
TEST(Arguments, UnknownLettersOfTheFlagsAreRefusedInEveryClass) {
    using Make = void (*)(QLXprob);
    const Make classes[] = {
        [](QLXprob) {},
        [](QLXprob p) {
            const int square = 0;
            const double value = 1;
            ASSERT_EQ(QLXchgmqobj64(p, 1, &square, &square, &value), 0);
        },
        [](QLXprob p) {
            const int kind = 0;
            ASSERT_EQ(QLXchgcoltype(p, 1, &kind, "I"), 0);
        },
    };
    for (const Make make : classes) {
        TestProblem p;
        build(p);
        make(p);
        for (const auto solve : {QLXlpoptimize, QLXmipoptimize}) {
            EXPECT_EQ(solve(p, "dz"), QLX_ERROR_ARGUMENT);
            EXPECT_NE(p.error().find("flags contains 'z', must be of 'd'"), std::string::npos)
                << p.error();
            EXPECT_EQ(p.integer("lpstatus"), QLX_LP_UNSTARTED);
        }
        QSLPprob nonlinear = nullptr;
        ASSERT_EQ(QSLPinit(), 0);
        ASSERT_EQ(QSLPcreateprob(&nonlinear, p), 0);
        EXPECT_EQ(QSLPnlpoptimize(nonlinear, "z"), QLX_ERROR_ARGUMENT);
        ASSERT_EQ(QSLPdestroyprob(nonlinear), 0);
        ASSERT_EQ(QSLPfree(), 0);
    }
}

// The sense is one, wherever it is set.
TEST(Arguments, TheNonlinearControlOfTheSenseIsTheModelsSense) {
    TestProblem p;
    build(p);
    QSLPprob nonlinear = nullptr;
    ASSERT_EQ(QSLPinit(), 0);
    ASSERT_EQ(QSLPcreateprob(&nonlinear, p), 0);
    const auto shown = [&] {
        double value = 0;
        EXPECT_EQ(QSLPgetdblcontrol(nonlinear, QSLP_CONTROL_OBJSENSE, &value), 0);
        EXPECT_EQ(value, p.integer("objsense"));
        return value;
    };
    ASSERT_EQ(QLXchgobjsense(p, -1), 0);
    EXPECT_EQ(shown(), -1);
    for (const double wrong : {0.0, 0.5, 2.0, -1.5, std::nan("")}) {
        EXPECT_EQ(QSLPsetdblcontrol(nonlinear, QSLP_CONTROL_OBJSENSE, wrong), QLX_ERROR_ARGUMENT);
        EXPECT_EQ(shown(), -1);
    }
    for (const int wrong : {0, 2, -2}) EXPECT_EQ(QLXchgobjsense(p, wrong), QLX_ERROR_ARGUMENT);
    EXPECT_EQ(shown(), -1);
    ASSERT_EQ(QSLPsetdblcontrol(nonlinear, QSLP_CONTROL_OBJSENSE, 1), 0);
    EXPECT_EQ(shown(), 1);
    ASSERT_EQ(QSLPdestroyprob(nonlinear), 0);
    ASSERT_EQ(QSLPfree(), 0);
}

TEST(Arguments, WrongOnesAreNamedAndChangeNothing) {
    for (const Case& wrong : kCases) {
        TestProblem p;
        build(p);
        EXPECT_NE(wrong.call(p), 0) << wrong.text;
        EXPECT_NE(p.error().find(wrong.text), std::string::npos)
            << "wanted: " << wrong.text << "\n   got: " << p.error();
        EXPECT_EQ(p.integer("rows"), 1) << wrong.text;
        EXPECT_EQ(p.integer("cols"), 2) << wrong.text;
        EXPECT_EQ(p.integer("elems"), 2) << wrong.text;
    }
}

TEST(Arguments, NullHandlesReportInTheEnvironment) {
    TestProblem p;
    EXPECT_EQ(QLXchgobjsense(nullptr, 1), QLX_ERROR_ARGUMENT);
    char text[64];
    int code = 0;
    EXPECT_EQ(QLX_ge_getlasterror(&code, text, sizeof text, nullptr), 0);
    EXPECT_EQ(code, QLX_ERROR_ARGUMENT);
    EXPECT_STREQ(text, "QLXchgobjsense: prob is null");
}

TEST(Arguments, NothingWorksBeforeTheLibraryIsInitialised) {
    QLXprob prob = nullptr;
    EXPECT_EQ(QLXcreateprob(&prob), QLX_ERROR_STATE);
    EXPECT_EQ(QLXfree(), QLX_ERROR_STATE);
}

TEST(Parameters, ListsEndAsDocumentedAndEveryControlCanBeRead) {
    TestProblem p;
    const char* const* names = nullptr;
    const int* ids = nullptr;
    const int* flags = nullptr;
    ASSERT_EQ(QLXgetcalist_c(p, &names, &ids, &flags), 0);
    std::vector<int> seen;
    for (int k = 0; ids[k] != 0; ++k) {
        EXPECT_EQ(std::count(seen.begin(), seen.end(), ids[k]), 0) << names[k];
        seen.push_back(ids[k]);
        int whole = 0;
        double real = 0;
        char text[512];
        int length = 0;
        const bool control = (flags[k] & QLX_PARAM_CONTROL) != 0;
        if ((flags[k] & QLX_PARAM_INT) != 0)
            EXPECT_EQ(
                control ? QLXgetintcontrol(p, ids[k], &whole) : QLXgetintattrib(p, ids[k], &whole),
                0)
                << names[k];
        else if ((flags[k] & QLX_PARAM_DOUBLE) != 0)
            EXPECT_EQ(
                control ? QLXgetdblcontrol(p, ids[k], &real) : QLXgetdblattrib(p, ids[k], &real), 0)
                << names[k];
        else
            EXPECT_EQ(control ? QLXgetstringcontrol(p, ids[k], text, 512, &length)
                              : QLXgetstringattrib(p, ids[k], text, 512, &length),
                      0)
                << names[k];
    }
    EXPECT_GT(seen.size(), 30U);
}

TEST(LiveCounts, ReturnToZero) {
    {
        TestProblem p;
        build(p);
        EXPECT_EQ(QLXlpoptimize(p, ""), 0) << p.error();
    }
    std::int64_t problems = -1;
    std::int64_t branching = -1;
    std::int64_t blocks = -1;
    QLX_ge_getlivecounts(&problems, &branching, &blocks);
    EXPECT_EQ(problems, 0);
    EXPECT_EQ(branching, 0);
    EXPECT_EQ(blocks, 0);
}

}  // namespace
