// Expressions that tests write down, as formulas and by an arithmetic of their own.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <deque>
#include <numbers>
#include <random>
#include <vector>

#include "engine/nlp/tape/nonlinear_program.hpp"

namespace qlx::test {

struct Tree {
    Operation operation;
    double number = 0;  // a constant's value, a column, a user function
    std::vector<Tree> operands = {};
};

inline Tree number(double value) {
    return {Operation::kConstant, value};
}
inline Tree column(int col) {
    return {Operation::kColumn, static_cast<double>(col)};
}
inline Tree apply(Operation operation, std::vector<Tree> operands) {
    return {operation, 0, std::move(operands)};
}
inline Tree user(int function, std::vector<Tree> operands) {
    return {Operation::kUser, static_cast<double>(function), std::move(operands)};
}
inline Tree operator+(Tree a, Tree b) {
    return apply(Operation::kAdd, {std::move(a), std::move(b)});
}
inline Tree operator-(Tree a, Tree b) {
    return apply(Operation::kSubtract, {std::move(a), std::move(b)});
}
inline Tree operator*(Tree a, Tree b) {
    return apply(Operation::kMultiply, {std::move(a), std::move(b)});
}
inline Tree operator/(Tree a, Tree b) {
    return apply(Operation::kDivide, {std::move(a), std::move(b)});
}
inline Tree power(Tree a, Tree b) {
    return apply(Operation::kPower, {std::move(a), std::move(b)});
}

// A truncated Taylor series v + d t + s t**2 / 2.
struct Series {
    long double v = 0;
    long double d = 0;
    long double s = 0;
};

// f(a) from f, f' and f'' at a.v.
inline Series chain(const Series& a, long double f, long double f1, long double f2) {
    return {f, f1 * a.d, f2 * a.d * a.d + f1 * a.s};
}
inline Series operator+(const Series& a, const Series& b) {
    return {a.v + b.v, a.d + b.d, a.s + b.s};
}
inline Series operator-(const Series& a, const Series& b) {
    return {a.v - b.v, a.d - b.d, a.s - b.s};
}
inline Series operator*(const Series& a, const Series& b) {
    return {a.v * b.v, a.d * b.v + a.v * b.d, a.s * b.v + 2 * a.d * b.d + a.v * b.s};
}
inline Series inverse(const Series& a) {
    return chain(a, 1 / a.v, -1 / (a.v * a.v), 2 / (a.v * a.v * a.v));
}

inline Series power(const Series& a, const Series& b) {
    const long double p = std::pow(a.v, b.v);
    const bool is_constant = b.d == 0 && b.s == 0;
    const long double n = b.v;
    const Series by_base = chain(a, p, n == 0 ? 0 : n * std::pow(a.v, n - 1),
                                 n == 0 || n == 1 ? 0 : n * (n - 1) * std::pow(a.v, n - 2));
    if (is_constant) return by_base;
    const Series exponent = b * chain(a, std::log(a.v), 1 / a.v, -1 / (a.v * a.v));
    return chain(exponent, p, p, p);
}

inline Series function(Operation operation, const Series& a) {
    const long double x = a.v;
    const long double root_pi = std::sqrt(std::numbers::pi_v<long double>);
    const long double rest = 1 - x * x;
    switch (operation) {
        case Operation::kNegate:
            return chain(a, -x, -1, 0);
        case Operation::kLog10:
            return chain(a, std::log10(x), 1 / (x * std::log(10.0L)),
                         -1 / (x * x * std::log(10.0L)));
        case Operation::kLog:
            return chain(a, std::log(x), 1 / x, -1 / (x * x));
        case Operation::kExp:
            return chain(a, std::exp(x), std::exp(x), std::exp(x));
        case Operation::kAbs:
            return chain(a, std::fabs(x), x < 0 ? -1 : x > 0, 0);
        case Operation::kSqrt:
            return chain(a, std::sqrt(x), 0.5L / std::sqrt(x), -0.25L / (x * std::sqrt(x)));
        case Operation::kSin:
            return chain(a, std::sin(x), std::cos(x), -std::sin(x));
        case Operation::kCos:
            return chain(a, std::cos(x), -std::sin(x), -std::cos(x));
        case Operation::kTan: {
            const long double cos = std::cos(x);
            return chain(a, std::tan(x), 1 / (cos * cos), 2 * std::sin(x) / (cos * cos * cos));
        }
        case Operation::kAsin:
            return chain(a, std::asin(x), 1 / std::sqrt(rest), x / (rest * std::sqrt(rest)));
        case Operation::kAcos:
            return chain(a, std::acos(x), -1 / std::sqrt(rest), -x / (rest * std::sqrt(rest)));
        case Operation::kAtan:
            return chain(a, std::atan(x), 1 / (1 + x * x), -2 * x / ((1 + x * x) * (1 + x * x)));
        case Operation::kSign:
            return chain(a, x < 0 ? -1 : x > 0, 0, 0);
        case Operation::kErf:
            return chain(a, std::erf(x), 2 / root_pi * std::exp(-x * x),
                         -4 * x / root_pi * std::exp(-x * x));
        default:
            return chain(a, std::erfc(x), -2 / root_pi * std::exp(-x * x),
                         4 * x / root_pi * std::exp(-x * x));
    }
}

inline Series evaluate(const Tree& tree, const std::vector<Series>& x) {
    std::vector<Series> of;
    for (const Tree& operand : tree.operands) of.push_back(evaluate(operand, x));
    switch (tree.operation) {
        case Operation::kConstant:
            return {tree.number, 0, 0};
        case Operation::kColumn:
            return x[static_cast<std::size_t>(tree.number)];
        case Operation::kAdd:
            return of[0] + of[1];
        case Operation::kSubtract:
            return of[0] - of[1];
        case Operation::kMultiply:
            return of[0] * of[1];
        case Operation::kDivide:
            return of[0] * inverse(of[1]);
        case Operation::kPower:
            return power(of[0], of[1]);
        case Operation::kMin:
        case Operation::kMax: {
            const long double sign = tree.operation == Operation::kMin ? 1 : -1;
            Series best = of[0];
            for (const Series& other : of)
                if (sign * other.v < sign * best.v) best = other;
            return best;
        }
        default:
            return function(tree.operation, of[0]);
    }
}

// A statement and the formulas in it, all columns free and moving.
class TestStatement {
  public:
    explicit TestStatement(int num_columns, int num_rows = 0) {
        const auto columns = static_cast<std::size_t>(num_columns);
        const auto rows = static_cast<std::size_t>(num_rows);
        statement.column_lower.assign(columns, -1e20);
        statement.column_upper.assign(columns, 1e20);
        statement.fixed_value.assign(columns, 0);
        statement.start.assign(columns, NAN);
        statement.row_lower.assign(rows, 0);
        statement.row_upper.assign(rows, 0);
        for (int col = 0; col < num_columns; ++col) statement.moving.push_back(col);
        for (int row = 0; row < num_rows; ++row) statement.model_row.push_back(row);
    }

    void add(int row, const Tree& tree, double factor = 1, int col = kNoColumn) {
        Arrays& arrays = arrays_.emplace_back();
        write(tree, arrays);
        statement.nonlinear.push_back(
            {row,
             col,
             factor,
             {arrays.instructions.data(), arrays.instructions.size(), arrays.constants.data()}});
    }
    void fix(int col, double value) {
        std::erase(statement.moving, col);
        statement.fixed_value[static_cast<std::size_t>(col)] = value;
    }

    nlp::Statement statement;

  private:
    struct Arrays {
        std::vector<Instruction> instructions;
        std::vector<double> constants;
    };

    static void write(const Tree& tree, Arrays& to) {
        for (const Tree& operand : tree.operands) write(operand, to);
        const bool is_column = tree.operation == Operation::kColumn;
        to.instructions.push_back(
            {tree.operation,
             static_cast<std::int32_t>(is_column ? tree.number
                                                 : static_cast<double>(tree.operands.size()))});
        if (tree.operation == Operation::kConstant || tree.operation == Operation::kUser)
            to.constants.push_back(tree.number);
    }

    std::deque<Arrays> arrays_;
};

// Everything a program says at a point, dense.
struct Evaluation {
    Evaluation(nlp::NonlinearProgram& program, const std::vector<double>& x, double factor,
               const std::vector<double>& multipliers)
        : gradient(x.size()),
          rows(multipliers.size()),
          jacobian(multipliers.size(), std::vector<double>(x.size())),
          hessian(x.size(), std::vector<double>(x.size())) {
        const auto& j = program.jacobian_pattern();
        const auto& h = program.hessian_pattern();
        std::vector<double> slopes(j.rows.size());
        std::vector<double> curvatures(h.rows.size());
        functions_defined = program.objective(x, objective) && program.rows(x, rows);
        derivatives_defined = program.gradient(x, gradient) && program.jacobian(x, slopes) &&
                              program.hessian(x, factor, multipliers, curvatures);
        for (std::size_t k = 0; k < slopes.size(); ++k)
            jacobian[at(j.rows[k])][at(j.columns[k])] += slopes[k];
        for (std::size_t k = 0; k < curvatures.size(); ++k) {
            EXPECT_GE(h.rows[k], h.columns[k]);
            hessian[at(h.rows[k])][at(h.columns[k])] += curvatures[k];
            if (h.rows[k] != h.columns[k])
                hessian[at(h.columns[k])][at(h.rows[k])] += curvatures[k];
        }
    }

    bool functions_defined;
    bool derivatives_defined;
    double objective = NAN;
    std::vector<double> gradient;
    std::vector<double> rows;
    std::vector<std::vector<double>> jacobian;
    std::vector<std::vector<double>> hessian;
};

}  // namespace qlx::test
