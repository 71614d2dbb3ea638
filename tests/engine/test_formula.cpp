// Formulas and nonlinear coefficients: what tokens mean, what is refused, and what edits keep.
#include "tests/engine/formula_support.hpp"

namespace {

using namespace qlx::test;

struct Meaning {
    const char* name;
    Tokens tokens;
    double value;  // at kPoint
};

const Meaning kMeanings[] = {
    {"empty", {kEnd}, 1},
    {"operators", {column(1), column(2), kMinus, column(1), kPower, column(3), kOver, kEnd}, -0.25},
    {"negation", {column(1), kNegate, column(2), kPlus, kEnd}, 1},
    {"function", {kMarker, column(0), kSin, kEnd}, std::sin(0.5)},
    {"nested", {kMarker, kMarker, column(0), kExp, kLog, kEnd}, 0.5},
    {"argument with operators",
     {kMarker, column(1), column(2), kTimes, column(3), kPlus, kExp, kEnd},
     std::exp(2)},
    {"max of two with the writer's surplus marker",
     {kMarker, kMarker, column(1), column(2), kMax, kEnd},
     3},
    {"min of three", {kMarker, kMarker, column(1), column(2), kMin, column(3), kMin, kEnd}, -4},
    {"surplus marker under the second operand",
     {column(0), kMarker, kMarker, column(1), column(2), kMax, kTimes, kEnd},
     1.5},
    {"surplus marker under the second argument",
     {kMarker, kMarker, column(0), kMarker, kMarker, column(1), column(2), kMin, kMax, kEnd},
     2},
    {"function of a max",
     {kMarker, kMarker, kMarker, column(0), column(3), kMax, kSin, kEnd},
     std::sin(0.5)},
    {"all arguments down to the marker",
     {column(1), kMarker, column(0), column(1), column(2), column(3), kMax, kTimes, kEnd},
     6},
    {"max of one", {kMarker, column(3), kMax, kEnd}, -4},
    {"values left over are multiplied", {column(1), column(2), column(3), kEnd}, -24},
    {"markers left over are dropped", {kMarker, column(1), kMarker, kEnd}, 2},
    {"domain error", {kMarker, column(3), kLog, kEnd}, std::nan("")},
    {"domain error in a max",
     {kMarker, number(1), kMarker, column(3), kLog, kMax, kEnd},
     std::nan("")},
};

TEST_F(NonlinearTest, TokensMean) {
    for (const Meaning& c : kMeanings) {
        SCOPED_TRACE(c.name);
        double result = 0;
        ASSERT_EQ(evaluate(c.tokens, &result), 0) << error();
        if (std::isnan(c.value)) {
            EXPECT_TRUE(std::isnan(result));
        } else {
            EXPECT_NEAR(result, c.value, 1e-15 * std::fabs(c.value));
        }
        // The library gives back what it got, and evaluates it all the same.
        ASSERT_EQ(add(1, 2, 2, c.tokens), 0) << error();
        double factor = 0;
        EXPECT_EQ(formula(1, 2, &factor), c.tokens);
        EXPECT_EQ(factor, 2);
        const double kept = coefficient(1, 2);
        EXPECT_TRUE(kept == 2 * result || std::isnan(c.value)) << kept;
        const int row = 1;
        const int col = 2;
        ASSERT_EQ(QSLPdelcoefs(slp, 1, &row, &col), 0) << error();
    }
}

struct Refused {
    const char* text;
    Tokens tokens;
};

const Refused kRefused[] = {
    {"type[1] is missing: the formula must end", {column(0)}},
    {"type[1] is 10 and value[1] is 1: the formula has ended", {kEnd, column(1), kEnd}},
    {"type[1] is 31 and value[1] is 5: this operator needs two values", {column(0), kPlus, kEnd}},
    {"type[0] is 31 and value[0] is 1: negation needs a value", {kNegate, kEnd}},
    {"type[2] is 31 and value[2] is 3: this operator needs two",
     {column(0), kMarker, kTimes, kEnd}},
    {"type[1] is 12 and value[1] is 27: this function needs a marker", {column(0), kSin, kEnd}},
    {"type[4] is 12 and value[4] is 27: this function needs a marker",
     {kMarker, column(0), column(1), kMax, kSin, kEnd}},
    {"type[1] is 12 and value[1] is 27: this function needs a value", {kMarker, kSin, kEnd}},
    {"type[2] is 12 and value[2] is 34: this function needs a marker",
     {column(0), column(1), kMax, kEnd}},
    {"type[0] is 10 and value[0] is 4: a column must be", {column(4), kEnd}},
    {"type[0] is 10 and value[0] is -1: a column must be", {column(-1), kEnd}},
    {"type[0] is 10 and value[0] is 0.5: a column must be", {{10, 0.5}, kEnd}},
    {"type[0] is 1 and value[0] is nan: a constant must be finite", {number(NAN), kEnd}},
    {"type[0] is 1 and value[0] is inf: a constant must be finite", {number(INFINITY), kEnd}},
    {"type[1] is 31 and value[1] is 7: an operator must be", {column(0), {31, 7}, kEnd}},
    {"value[2] is 0: there is no internal function", {kMarker, column(0), {12, 0}, kEnd}},
    {"value[2] is 1e+300: there is no internal function", {kMarker, column(0), {12, 1e300}, kEnd}},
    {"value[2] is nan: there is no internal function", {kMarker, column(0), {12, NAN}, kEnd}},
    {"type[1] is 11 and value[1] is 1: there is no user function", {column(0), {11, 1}, kEnd}},
    {"type[0] is 99 and value[0] is 0: the type must be", {{99, 0}, kEnd}},
};

TEST_F(NonlinearTest, BadFormulasAreRefusedWithTheirPosition) {
    ASSERT_EQ(add(0, -1, 1, {column(0), number(7), kTimes, kEnd}), 0);
    for (const Refused& c : kRefused) {
        EXPECT_EQ(add(1, 0, 1, c.tokens), QLX_ERROR_ARGUMENT);
        EXPECT_NE(error().find(c.text), std::string::npos) << error() << "\n" << c.text;
        EXPECT_EQ(p.error(), error());
        EXPECT_EQ(terms(), 1);
    }
    EXPECT_EQ(coefficient(0, -1), 3.5);
}

TEST_F(NonlinearTest, BadArgumentsAreRefused) {
    // The second of two coefficients is wrong: neither is added.
    int rows[] = {0, 1};
    int cols[] = {-1, 3};
    double factors[] = {1, 2};
    int start[] = {0, 2, 4};
    Tokens tokens{column(0), kEnd, column(1), kEnd};
    int parsed = 1;
    const auto refuse = [&](const char* text) {
        for (const auto call : {QSLPaddcoefs, QSLPloadcoefs}) {
            EXPECT_NE(call(slp, 2, rows, cols, factors, start, parsed, tokens.type.data(),
                           tokens.value.data()),
                      0);
            EXPECT_NE(error().find(text), std::string::npos) << error() << "\n" << text;
            EXPECT_EQ(terms(), 1);
        }
    };
    ASSERT_EQ(add(2, -1, 1, {column(0), kEnd}), 0);
    const auto with = [&](auto& place, auto wrong, const char* text) {
        const auto right = std::exchange(place, wrong);
        refuse(text);
        place = right;
    };
    with(rows[1], 3, "rows[1] is 3, must be 0 .. 2");
    with(rows[1], -1, "rows[1] is -1");
    with(cols[1], 4, "cols[1] is 4, must be -1 (none) or 0 .. 3");
    with(cols[1], -2, "cols[1] is -2");
    with(factors[1], INFINITY, "factors[1] is inf, must be finite");
    with(start[0], -1, "start[0] is -1");
    with(start[1], 0, "start[1] is 0, must be above start[0] = 0");
    with(start[2], 2, "start[2] is 2, must be above start[1] = 2");
    with(parsed, 0, "infix order are not available yet");
    with(tokens.type[2], 99, "; in the formula of coefficient 1, row 1, column 3");
    EXPECT_EQ(coefficient(2, -1), 0.5);
}

TEST_F(NonlinearTest, TermsOfOneRowAndColumnAddUp) {
    ASSERT_EQ(add(1, 2, 2, {column(0), kEnd}), 0);
    ASSERT_EQ(add(0, -1, 5, {kEnd}), 0);
    ASSERT_EQ(add(1, 2, -3, {column(0), column(1), column(3), kEnd}), 0);
    ASSERT_EQ(add(1, 0, 1, {column(1), kEnd}), 0);
    EXPECT_EQ(terms(), 4);
    EXPECT_EQ(places(), (std::vector<std::pair<int, int>>{{0, -1}, {1, 2}, {1, 0}}));
    EXPECT_EQ(coefficient(1, 2), 2 * 0.5 - 3 * (0.5 * 2 * -4));
    double factor = 0;
    const Tokens sum = formula(1, 2, &factor);
    double result = 0;
    ASSERT_EQ(evaluate(sum, &result), 0) << error();
    EXPECT_EQ(factor * result, coefficient(1, 2));
    // Changing replaces all terms; a bad formula changes nothing.
    const Tokens bad{kPlus, kEnd};
    EXPECT_NE(QSLPchgcoef(slp, 1, 2, nullptr, 1, bad.type.data(), bad.value.data()), 0);
    EXPECT_EQ(coefficient(1, 2), 13);
    const Tokens good{column(3), kEnd};
    ASSERT_EQ(QSLPchgcoef(slp, 1, 2, nullptr, 1, good.type.data(), good.value.data()), 0);
    EXPECT_EQ(coefficient(1, 2), -4);
    EXPECT_EQ(terms(), 3);
    ASSERT_EQ(QSLPchgcoef(slp, 1, 2, nullptr, 1, nullptr, nullptr), 0);
    EXPECT_EQ(places(), (std::vector<std::pair<int, int>>{{0, -1}, {1, 0}}));
    EXPECT_EQ(coefficient(1, 0), 2);
}

TEST_F(NonlinearTest, DeletionKeepsTheOthers) {
    ASSERT_EQ(add(0, -1, 1, {column(3), number(5), kPlus, kEnd}), 0);
    ASSERT_EQ(add(1, 1, 2, {number(6), number(7), kPlus, kEnd}), 0);
    ASSERT_EQ(add(2, 3, 3, {kMarker, column(0), number(0.25), kMinus, kSin, kEnd}), 0);
    const int rows[] = {0, 1};
    const int cols[] = {-1, 0};
    EXPECT_NE(QSLPdelcoefs(slp, 2, rows, cols), 0);
    EXPECT_NE(error().find("row 1 has no coefficient in column 0 (rows[1]"), std::string::npos)
        << error();
    EXPECT_EQ(terms(), 3);
    const int first = 0;
    for (const int col : {0, 1, 3}) {
        EXPECT_EQ(QLXdelcols(p, 1, &col), QLX_ERROR_STATE);
        EXPECT_NE(p.error().find("occurs in a formula of row"), std::string::npos) << p.error();
    }
    const int middle = 2;
    ASSERT_EQ(QLXdelcols(p, 1, &middle), 0) << p.error();
    ASSERT_EQ(QLXdelrows(p, 1, &first), 0) << p.error();
    EXPECT_EQ(places(), (std::vector<std::pair<int, int>>{{0, 1}, {1, 2}}));
    EXPECT_EQ(coefficient(0, 1), 26);
    EXPECT_EQ(coefficient(1, 2), 3 * std::sin(0.25));
    ASSERT_EQ(QLXloadlp(p, "", 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                        nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(terms(), 0);
}

TEST_F(NonlinearTest, ValuesOfColumns) {
    p.column(1, 0, 1);
    const Tokens tokens{column(4), kEnd};
    double result = 0;
    EXPECT_EQ(evaluate(tokens, &result), QLX_ERROR_STATE);
    EXPECT_NE(error().find("column 4 (C5) has neither a value nor an initial value"),
              std::string::npos)
        << error();
    const double initial = 7;
    ASSERT_EQ(QSLPchgvar(slp, 4, nullptr, nullptr, nullptr, nullptr, nullptr, &initial, nullptr,
                         nullptr, nullptr, nullptr, nullptr),
              0);
    ASSERT_EQ(evaluate(tokens, &result), 0) << error();
    EXPECT_EQ(result, 7);
    value(4, 8);
    ASSERT_EQ(evaluate(tokens, &result), 0) << error();
    EXPECT_EQ(result, 8);
}

// The coefficients are the model's: a copy has them, whether a nonlinear problem is built on it
// before, after or never, and points are judged with them.
TEST_F(NonlinearTest, CopiesKeepCoefficientsAndValues) {
    const Tokens square{{QSLP_TOKEN_COLUMN, 1}, {QSLP_TOKEN_COLUMN, 1}, {QSLP_TOKEN_END, 0}};
    ASSERT_EQ(add(2, 3, 0.5, square), 0) << error();
    for (const bool before : {false, true}) {
        TestProblem copy;
        QSLPprob above = nullptr;
        if (before) {
            ASSERT_EQ(QSLPcreateprob(&above, copy), 0);
            EXPECT_EQ(QSLPcopyprob(above, slp, ""), QLX_ERROR_STATE);
            EXPECT_NE(copy.error().find("has 0 rows, that of src 3"), std::string::npos)
                << copy.error();
        }
        ASSERT_EQ(QLXcopyprob(copy, p, "copy"), 0) << copy.error();
        EXPECT_EQ(QLXlpoptimize(copy, nullptr), QLX_ERROR_UNSUPPORTED);
        std::vector<double> slacks(3);
        ASSERT_EQ(QLXcalcslacks(copy, kPoint, slacks.data()), 0) << copy.error();
        EXPECT_EQ(slacks, (std::vector<double>{1, 1, 1 - 0.5 * -4 * 2 * 2}));
        double infeasibility = 0;
        const double wrong[] = {0, -3, 0, 4};  // 18 > 1
        ASSERT_EQ(QLXcalcsolinfo(copy, wrong, nullptr, QLX_SOLINFO_RELPRIMALINFEAS, &infeasibility),
                  0);
        EXPECT_NEAR(infeasibility, 17.0 / 18, 1e-12);
        if (!before) {
            ASSERT_EQ(QSLPcreateprob(&above, copy), 0);
        }
        ASSERT_EQ(QSLPcopyprob(above, slp, ""), 0) << copy.error();
        double value = 0;
        ASSERT_EQ(QSLPevaluatecoef(above, 2, 3, &value), 0) << copy.error();
        EXPECT_EQ(value, 0.5 * 4);
        // Each is a model of its own.
        const int row = 0;
        ASSERT_EQ(QLXdelrows(copy, 1, &row), 0);
        ASSERT_EQ(QSLPevaluatecoef(above, 1, 3, &value), 0) << copy.error();
        const int col = 1;
        EXPECT_EQ(QLXdelcols(copy, 1, &col), QLX_ERROR_STATE);
        EXPECT_EQ(coefficient(2, 3), 2);
        ASSERT_EQ(QSLPdestroyprob(above), 0);
        EXPECT_EQ(QLXlpoptimize(copy, nullptr), QLX_ERROR_UNSUPPORTED);
        ASSERT_EQ(QLXloadlp(copy, "", 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr, nullptr),
                  0);
        copy.column(1, 0, 1);
        EXPECT_EQ(QLXlpoptimize(copy, nullptr), 0) << copy.error();
    }
}

// A point at which a formula has no value keeps no row.
TEST_F(NonlinearTest, AFormulaWithoutAValueIsAViolation) {
    const Tokens log{{QSLP_TOKEN_MARKER, 0},
                     {QSLP_TOKEN_COLUMN, 3},
                     {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_LOG},
                     {QSLP_TOKEN_END, 0}};
    ASSERT_EQ(add(0, -1, 1, log), 0) << error();
    double infeasibility = 0;
    ASSERT_EQ(QLXcalcsolinfo(p, kPoint, nullptr, QLX_SOLINFO_RELPRIMALINFEAS, &infeasibility), 0);
    EXPECT_GE(infeasibility, 1);
    double value = 0;
    EXPECT_EQ(QLXcalcreducedcosts(p, kPoint, kPoint, &value), QLX_ERROR_NOT_AVAILABLE);
}

// One table, two handles: each sees and resets its own rows only, and the sense is the model's.
TEST_F(NonlinearTest, ParametersOfTheTwoHandles) {
    double sense = 0;
    ASSERT_EQ(QSLPsetintcontrol(slp, QSLP_CONTROL_AUTOSAVE, 7), 0) << error();
    ASSERT_EQ(QLXsetdefaults(p), 0);
    int autosave = 0;
    ASSERT_EQ(QSLPgetintcontrol(slp, QSLP_CONTROL_AUTOSAVE, &autosave), 0);
    EXPECT_EQ(autosave, 7);
    EXPECT_NE(QLXgetintcontrol(p, QSLP_CONTROL_AUTOSAVE, &autosave), 0);
    EXPECT_NE(QSLPgetintcontrol(slp, QLX_CONTROL_LOADLOG, &autosave), 0);
    EXPECT_NE(error().find("no nonlinear control with id 8035"), std::string::npos) << error();

    ASSERT_EQ(QSLPsetdblcontrol(slp, QSLP_CONTROL_OBJSENSE, -1), 0) << error();
    EXPECT_EQ(p.integer("objsense"), -1);
    ASSERT_EQ(QLXchgobjsense(p, 1), 0);
    ASSERT_EQ(QSLPgetdblcontrol(slp, QSLP_CONTROL_OBJSENSE, &sense), 0);
    EXPECT_EQ(sense, 1);
    EXPECT_EQ(QSLPsetdblcontrol(slp, QSLP_CONTROL_OBJSENSE, 0.5), QLX_ERROR_ARGUMENT);
    EXPECT_NE(error().find("must be 1 (minimise) or -1 (maximise)"), std::string::npos) << error();
    EXPECT_EQ(p.integer("objsense"), 1);
}

TEST_F(NonlinearTest, TheLinearPartAloneIsNeverSolved) {
    ASSERT_EQ(QLXlpoptimize(p, nullptr), 0) << p.error();
    ASSERT_EQ(add(0, -1, 1, {column(3), kEnd}), 0);
    for (const auto optimize : {QLXlpoptimize, QLXmipoptimize}) {
        EXPECT_EQ(optimize(p, nullptr), QLX_ERROR_UNSUPPORTED);
        EXPECT_NE(p.error().find("has 1 nonlinear coefficients"), std::string::npos) << p.error();
        EXPECT_NE(p.error().find("call QSLPnlpoptimize"), std::string::npos) << p.error();
    }
    EXPECT_EQ(QSLPnlpoptimize(slp, nullptr), 0) << error();
    const int row = 0;
    const int col = -1;
    ASSERT_EQ(QSLPdelcoefs(slp, 1, &row, &col), 0);
    EXPECT_EQ(QLXlpoptimize(p, nullptr), 0) << p.error();
}

// After a solve the problem is what was stated, and can be changed at once.
TEST_F(NonlinearTest, ASolvedProblemCanBeChanged) {
    ASSERT_EQ(add(0, -1, 1, {kMarker, column(3), kExp, kEnd}), 0);
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(QSLPnlpoptimize(slp, nullptr), 0) << error();
        int state = -1;
        ASSERT_EQ(QSLPgetintattrib(slp, QSLP_ATTRIB_PRESOLVESTATE, &state), 0);
        EXPECT_EQ(state, 0);
        EXPECT_EQ(QSLPunconstruct(slp), 0);
        EXPECT_EQ(QSLPpostsolve(slp), 0);
        ASSERT_EQ(add(1, -1, 1, {column(0), column(1), kTimes, kEnd}), 0) << error();
        p.column(1, 0, 1);
        p.row('L', 5, {0}, {1});
    }
}

}  // namespace
