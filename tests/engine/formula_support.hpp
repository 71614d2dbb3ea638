// Formulas as tokens, and a problem with nonlinear coefficients.
#pragma once

#include <cmath>
#include <utility>

#include "tests/engine/support.hpp"

namespace qlx::test {

struct Token {
    int type;
    double value;
};
inline constexpr Token kMarker{22, 0};
inline constexpr Token kEnd{0, 0};
inline constexpr Token kNegate{31, 1}, kPower{31, 2}, kTimes{31, 3}, kOver{31, 4}, kPlus{31, 5},
    kMinus{31, 6};
inline constexpr Token kLog{12, 15}, kExp{12, 16}, kSin{12, 27}, kMin{12, 33}, kMax{12, 34};

inline Token number(double value) {
    return {1, value};
}
inline Token column(int col) {
    return {10, static_cast<double>(col)};
}

struct Tokens {
    std::vector<int> type;
    std::vector<double> value;

    Tokens() = default;
    Tokens(std::initializer_list<Token> tokens) {
        for (const Token& token : tokens) {
            type.push_back(token.type);
            value.push_back(token.value);
        }
    }
    bool operator==(const Tokens&) const = default;
};

inline constexpr double kPoint[] = {0.5, 2, 3, -4};

// Four columns with the values of kPoint and three rows.
class NonlinearTest : public testing::Test {
  public:
    NonlinearTest() {
        EXPECT_EQ(QSLPinit(), 0);
        EXPECT_EQ(QSLPcreateprob(&slp, p), 0);
        for (int col = 0; col < 4; ++col) p.column(1, -10, 10);
        for (int row = 0; row < 3; ++row) p.row('L', 1, {}, {});
        for (int col = 0; col < 4; ++col) value(col, kPoint[col]);
    }
    ~NonlinearTest() override {
        EXPECT_EQ(QSLPdestroyprob(slp), 0);
        EXPECT_EQ(QSLPfree(), 0);
    }

    [[nodiscard]] std::string error() const {
        char text[512];
        QSLPgetlasterror(slp, nullptr, text);
        return text;
    }
    void value(int col, double x) const {
        EXPECT_EQ(QSLPchgvar(slp, col, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &x,
                             nullptr, nullptr, nullptr, nullptr),
                  0)
            << error();
    }
    [[nodiscard]] int add(int row, int col, double factor, const Tokens& tokens) const {
        const int start[] = {0, static_cast<int>(tokens.type.size())};
        return QSLPaddcoefs(slp, 1, &row, &col, &factor, start, 1, tokens.type.data(),
                            tokens.value.data());
    }
    [[nodiscard]] int terms() const {
        int count = -1;
        EXPECT_EQ(QSLPgetintattrib(slp, QSLP_ATTRIB_COEFS, &count), 0);
        return count;
    }
    // (row, column) pairs.
    [[nodiscard]] std::vector<std::pair<int, int>> places() const {
        int count = 0;
        EXPECT_EQ(QSLPgetcoefs(slp, &count, nullptr, nullptr), 0) << error();
        std::vector<int> rows(static_cast<std::size_t>(count));
        std::vector<int> cols(static_cast<std::size_t>(count));
        EXPECT_EQ(QSLPgetcoefs(slp, nullptr, rows.data(), cols.data()), 0) << error();
        std::vector<std::pair<int, int>> result;
        for (std::size_t k = 0; k < rows.size(); ++k) result.emplace_back(rows[k], cols[k]);
        return result;
    }
    [[nodiscard]] Tokens formula(int row, int col, double* factor) const {
        Tokens tokens;
        tokens.type.resize(64);
        tokens.value.resize(64);
        int count = 0;
        EXPECT_EQ(QSLPgetcoefformula(slp, row, col, factor, 1, 64, &count, tokens.type.data(),
                                     tokens.value.data()),
                  0)
            << error();
        tokens.type.resize(static_cast<std::size_t>(count));
        tokens.value.resize(static_cast<std::size_t>(count));
        return tokens;
    }
    [[nodiscard]] double coefficient(int row, int col) const {
        double result = 0;
        EXPECT_EQ(QSLPevaluatecoef(slp, row, col, &result), 0) << error();
        return result;
    }
    [[nodiscard]] int evaluate(const Tokens& tokens, double* result) const {
        return QSLPevaluateformula(slp, 1, tokens.type.data(), tokens.value.data(), result);
    }

    TestProblem p;
    QSLPprob slp = nullptr;
};

}  // namespace qlx::test
