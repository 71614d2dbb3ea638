// Statements for tests, their formulas written the usual way: "2*x0 + exp(x1/x2)".
#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "engine/nlp/analysis/statement_values.hpp"
#include "engine/nlp/statement/statement.hpp"

namespace qlx::test {

// Tokens of an infix expression: + - * / ^, unary minus, functions by name, min and max of several
// arguments, columns x0, x1, ...
class InfixTokens {
  public:
    explicit InfixTokens(const std::string& text) : at_(text.c_str()) {
        sum();
        EXPECT_EQ(*at_, '\0') << "unread: " << at_;
        add(0, 0);
    }
    std::vector<int> type;
    std::vector<double> value;

  private:
    void add(int token, double number) {
        type.push_back(token);
        value.push_back(number);
    }
    bool take(char wanted) {
        while (*at_ == ' ') ++at_;
        if (*at_ != wanted) return false;
        ++at_;
        while (*at_ == ' ') ++at_;
        return true;
    }
    void sum() {
        product();
        for (;;) {
            const bool plus = take('+');
            if (!plus && !take('-')) return;
            product();
            add(31, plus ? 5 : 6);
        }
    }
    void product() {
        sign();
        for (;;) {
            const bool times = take('*');
            if (!times && !take('/')) return;
            sign();
            add(31, times ? 3 : 4);
        }
    }
    void sign() {
        if (take('-')) {
            sign();
            add(31, 1);
            return;
        }
        primary();
        if (take('^')) {
            sign();
            add(31, 2);
        }
    }
    void primary() {
        if (take('(')) {
            sum();
            EXPECT_TRUE(take(')'));
        } else if (*at_ == 'x' && std::isdigit(static_cast<unsigned char>(at_[1])) != 0) {
            char* end = nullptr;
            add(10, static_cast<double>(std::strtol(at_ + 1, &end, 10)));
            at_ = end;
        } else if (std::isalpha(static_cast<unsigned char>(*at_)) != 0) {
            function();
        } else {
            char* end = nullptr;
            add(1, std::strtod(at_, &end));
            at_ = end;
        }
    }
    void function() {
        static const std::pair<const char*, int> kNames[] = {
            {"log10", 14}, {"log", 15},  {"exp", 16},  {"abs", 17},  {"sqrt", 18}, {"sin", 27},
            {"cos", 28},   {"tan", 29},  {"asin", 30}, {"acos", 31}, {"atan", 32}, {"min", 33},
            {"max", 34},   {"sign", 46}, {"erfc", 50}, {"erf", 49}};
        std::string name;
        while (std::isalnum(static_cast<unsigned char>(*at_)) != 0) name.push_back(*at_++);
        int number = 0;
        for (const auto& [known, code] : kNames)
            if (name == known) number = code;
        EXPECT_NE(number, 0) << name;
        EXPECT_TRUE(take('('));
        add(22, 0);
        sum();
        while (take(',')) sum();
        EXPECT_TRUE(take(')'));
        add(12, number);
    }

    const char* at_;
};

inline constexpr double kInf = std::numeric_limits<double>::infinity();

// A statement that owns its formulas.
class StatementBuilder {
  public:
    int column(double lower = -kInf, double upper = kInf, double start = std::nan("")) {
        made_.moving.push_back(made_.num_columns());
        made_.column_lower.push_back(lower);
        made_.column_upper.push_back(upper);
        made_.fixed_value.push_back(0);
        made_.start.push_back(start);
        return made_.num_columns() - 1;
    }
    int row(double lower, double upper) {
        made_.model_row.push_back(made_.num_rows());
        made_.row_lower.push_back(lower);
        made_.row_upper.push_back(upper);
        return made_.num_rows() - 1;
    }
    int row(double lower, double upper, const std::string& formula) {
        const int number = row(lower, upper);
        term(number, 1, formula);
        return number;
    }
    void objective(const std::string& formula) { term(nlp::kObjectiveRow, 1, formula); }
    void linear(int row, int column, double coefficient) {
        made_.linear.push_back({row, column, coefficient});
    }
    void quadratic(int row, int first, int second, double coefficient) {
        made_.quadratic.push_back({row, first, second, coefficient});
    }
    void term(int row, double factor, const std::string& formula, int column = kNoColumn) {
        const InfixTokens tokens(formula);
        std::int64_t count = 0;
        starts_.push_back({arrays_->instructions.size(), arrays_->constants.size()});
        const BadToken bad =
            FormulaParser(FormulaSymbols{1000})
                .parse(tokens.type.data(), tokens.value.data(),
                       static_cast<std::int64_t>(tokens.type.size()), *arrays_, &count);
        EXPECT_EQ(bad.position, -1) << formula << ": " << bad.reason;
        made_.nonlinear.push_back({row, column, factor, {}});
    }
    [[nodiscard]] nlp::Statement build() {
        for (std::size_t k = 0; k < starts_.size(); ++k) {
            const auto [first, constant] = starts_[k];
            const std::size_t end =
                k + 1 < starts_.size() ? starts_[k + 1].first : arrays_->instructions.size();
            made_.nonlinear[k].formula = {arrays_->instructions.data() + first, end - first,
                                          arrays_->constants.data() + constant};
        }
        made_.own_formulas = arrays_;
        return made_;
    }

  private:
    nlp::Statement made_;
    std::shared_ptr<FormulaArrays> arrays_ = std::make_shared<FormulaArrays>();
    std::vector<std::pair<std::size_t, std::size_t>> starts_;
};

}  // namespace qlx::test
