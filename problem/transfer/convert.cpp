// Splitting of a body into the ordinary part of a row and its nonlinear coefficients.
#include "problem/transfer/convert.hpp"

#include "model/linterm.hpp"
#include "model/quadterm.hpp"
#include "nonlinear/node_internal.hpp"
#include "problem/transfer/formula_writer.hpp"

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

void convert_operand(PyObject* operand, double sign, RowEntries& row, const char* message) {
    if (is_nonlinear(operand)) return write_coefficient(operand, sign, row);
    if (classify(operand) == kInvalid) raise_runtime_error("%s", message);
    convertExpr(operand, sign, row);
}

// Sums and differences are split at the top; everything else is one coefficient.
void convert_node(PyObject* node, double sign, RowEntries& row) {
    if (is_sum(node)) {
        for (Py_ssize_t i = 0; i < nonlin_arg_size(node); ++i) {
            const Ref item = Ref::share(nonlin_arg_at(node, i));
            convert_operand(item.get(), sign, row, "Invalid expression in nonlinear sum");
        }
    } else if (is_pair_node(node, kDifference)) {
        const Ref operands = Ref::share(as_node(node)->args);
        convert_operand(PyTuple_GET_ITEM(operands.get(), 0), sign, row, "Invalid expression");
        convert_operand(PyTuple_GET_ITEM(operands.get(), 1), -sign, row, "Invalid expression");
    } else {
        write_coefficient(node, sign, row);
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
            return convert_node(body, sign, row);
        case kInvalid:
            break;
    }
    raise_runtime_error("Invalid expression");
}

}  // namespace quilex
