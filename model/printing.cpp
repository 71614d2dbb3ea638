// The text of variables, terms and expressions.
#include <charconv>
#include <cstring>

#include "model/expression_object.hpp"

namespace quilex {

namespace {

// A number as C's "%g" prints it, or "%+g" with `sign`, whatever the locale.
std::string format_number(double value, bool sign) {
    char buffer[32];
    const auto end =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 6);
    std::string text(buffer, end.ptr);
    if (sign && text.front() != '-') text.insert(text.begin(), '+');
    return text;
}

// The prefix of a term: nothing for exactly 1.
std::string factor_prefix(double coefficient) {
    return coefficient == 1.0 ? std::string() : format_number(coefficient, false) + "*";
}

// The variable's name as ASCII text, up to an embedded NUL.
std::string name_text(Variable* variable, const char* failure) {
    const Ref name = variable_name(variable);
    if (PyBytes_Check(name.get())) return PyBytes_AS_STRING(name.get());
    if (!PyUnicode_Check(name.get())) raise_runtime_error("%s", failure);
    const Ref ascii = require(PyUnicode_AsASCIIString(name.get()));
    return PyBytes_AS_STRING(ascii.get());
}

// Appends a coefficient and what it multiplies to the text of an expression.
void append_piece(std::string& text, double coefficient, const std::string& factor) {
    const bool first = text.empty();
    if (coefficient == 1.0) {
        text += first ? "  " : " + ";
    } else if (coefficient == -1.0) {
        text += " - ";
    } else {
        text += ' ' + format_number(coefficient, !first) + ' ';
    }
    text += factor;
}

std::string product_text(const QuadraticEntry& entry, const char* failure) {
    const std::string first = name_text(entry.first, failure);
    if (entry.first == entry.second) return first + "**2";
    return first + "*" + name_text(entry.second, failure);
}

}  // namespace

Ref var_str(PyObject* a) {
    return variable_name(as_variable(a));
}

Ref linterm_str(PyObject* a) {
    const LinearTerm* term = as_linear_term(a);
    return require(PyUnicode_FromFormat("%s%S", factor_prefix(term->coefficient).c_str(),
                                        as_object(term->variable)));
}

Ref quadterm_str(PyObject* a) {
    const QuadraticTerm* term = as_quadratic_term(a);
    const std::string prefix = factor_prefix(term->coefficient);
    if (term->first == term->second) {
        return require(PyUnicode_FromFormat("%s%S**2", prefix.c_str(), as_object(term->first)));
    }
    return require(PyUnicode_FromFormat("%s%S*%S", prefix.c_str(), as_object(term->first),
                                        as_object(term->second)));
}

Ref expression_str(PyObject* a) {
    Expression* expression = as_expression(a);
    const std::vector<QuadraticEntry> products = expression_quadratic_entries(expression);
    const std::span<const LinearEntry> linear = expression_linear_entries(expression);
    std::string text;
    if (expression->constant != 0.0 || (linear.empty() && products.empty())) {
        text = format_number(expression->constant, false);
    }
    for (const LinearEntry& entry : linear) {
        if (entry.coefficient == 0.0) continue;
        append_piece(text, entry.coefficient,
                     name_text(entry.variable, "Could not typeset linear part of expression"));
    }
    for (const QuadraticEntry& entry : products) {
        append_piece(text, entry.coefficient,
                     product_text(entry, "Could not typeset quadratic part of expression"));
    }
    return require(
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace"));
}

}  // namespace quilex
