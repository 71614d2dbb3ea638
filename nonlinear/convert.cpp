// Splitting of a body into the ordinary part of a row and its nonlinear coefficients.
#include "nonlinear/convert.hpp"

#include "model/linterm.hpp"
#include "model/quadterm.hpp"

namespace quilex {

namespace {

void add_expression(Expression* expression, double sign, RowEntries& row) {
    row.add_constant(sign * expression_constant(expression));
    row.add_linear_log(expression_linear_log(expression), sign);
    if (expression_quadratic_count(expression) == 0) return;
    for (const QuadraticEntry& entry : expression_quadratic_entries(expression)) {
        row.add_quadratic(entry.first, entry.second, sign * entry.coefficient);
    }
}

}  // namespace

void convertExpr(PyObject* body, double sign, RowEntries& row) {
    if (body == nullptr) raise_runtime_error("Cannot convert expression");
    switch (require_kind(body)) {
        case kConstant:
            row.add_constant(sign * constant_value(body));
            return;
        case kVariable:
            row.add_linear(reinterpret_cast<Variable*>(body), sign);
            return;
        case kLinearTerm: {
            const auto* term = reinterpret_cast<LinearTerm*>(body);
            row.add_linear(term->variable, sign * term->coefficient);
            return;
        }
        case kQuadraticTerm: {
            const auto* term = reinterpret_cast<QuadraticTerm*>(body);
            row.add_quadratic(term->first, term->second, sign * term->coefficient);
            return;
        }
        case kExpression:
            add_expression(reinterpret_cast<Expression*>(body), sign, row);
            return;
        case kNonlinear:
            raise_runtime_error("Nonlinear bodies and objectives are not available yet");
        case kInvalid:
            break;
    }
    raise_runtime_error("Invalid expression");
}

}  // namespace quilex
