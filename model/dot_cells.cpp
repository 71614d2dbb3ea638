// Single elements of a dot product: sums of products of two rows of operands.
#include "model/dot_cells.hpp"

#include <algorithm>

#include "model/expression_object.hpp"
#include "model/general_operations.hpp"
#include "model/kind_rules.hpp"

namespace quilex {

namespace {

OperandKind kind_of(PyObject* object) {
    const OperandKind kind = object == nullptr ? kInvalid : classify(object);
    if (kind == kInvalid)
        raise_runtime_error("Dot product must be between long, double, and expressions/variables");
    return kind;
}

bool is_linear(OperandKind kind) noexcept {
    return kind == kVariable || kind == kLinearTerm;
}

// Accumulates products in place: the linear and quadratic ones in an expression, the others in a
// nonlinear sum.
class CellSum {
  public:
    explicit CellSum(size_t expected) : sum_(new_expression()) { sum_->linear.reserve(expected); }

    // Adds the leading products of plain variables and nonzero numbers, by far the commonest ones,
    // as far as there is room. Gives their number.
    size_t add_plain_multiples(std::span<const double> coefficients, PyObject* const* operands) {
        return sum_->linear.push_while(coefficients.size(),
                                       [=](size_t i, LinearLogEntry& entry) noexcept {
                                           if (coefficients[i] == 0.0 || operands[i] == nullptr ||
                                               Py_TYPE(operands[i]) != &var_type) {
                                               return false;
                                           }
                                           entry.variable = as_variable(operands[i]);
                                           entry.coefficient = coefficients[i];
                                           return entry.variable->may_close_cycle == 0;
                                       });
    }

    void add_multiple(double coefficient, PyObject* object) {
        if (coefficient == 0.0) return;
        const Ref operand = Ref::share(object);
        const OperandKind kind = kind_of(operand.get());
        if (kind != kNonlinear)
            return add_to_expression(as_object(sum_.get()), operand.get(), kind, coefficient);
        const Ref factor = python_float(coefficient);
        add_nonlinear(product_of_kinds(factor.get(), kConstant, operand.get(), kind),
                      operand.get());
    }

    void add_product(PyObject* left, PyObject* right) {
        const Ref a = Ref::share(left);
        const Ref b = Ref::share(right);
        const OperandKind kind_a = kind_of(a.get());
        const OperandKind kind_b = kind_of(b.get());
        if (kind_a == kConstant) return add_multiple(constant_value(a.get()), b.get());
        if (kind_b == kConstant) return add_multiple(constant_value(b.get()), a.get());
        if (is_linear(kind_a) && is_linear(kind_b)) {
            const LinearEntry x = linear_operand(a.get(), kind_a);
            const LinearEntry y = linear_operand(b.get(), kind_b);
            require_status(expression_addToQuadTerm(sum_.get(), x.variable, y.variable,
                                                    x.coefficient * y.coefficient));
            return;
        }
        const Ref product = product_of_kinds(a.get(), kind_a, b.get(), kind_b);
        const OperandKind kind = classify(product.get());
        if (kind == kNonlinear) return add_nonlinear(share(product.get()), nullptr);
        add_to_expression(as_object(sum_.get()), product.get(), kind, 1.0);
    }

    Ref result() {
        if (!nonlinear_) return std::move(sum_);
        const bool is_empty = sum_->constant == 0.0 && sum_->linear.count() == 0 &&
                              expression_quadratic_count(sum_.get()) == 0;
        if (is_empty) return std::move(nonlinear_);
        return general_iadd(nonlinear_.get(), as_object(sum_.get()));
    }

  private:
    // A product with 1 is the user's own node, which must not grow.
    void add_nonlinear(Ref product, PyObject* operand) {
        if (nonlinear_) {
            nonlinear_ = general_iadd(nonlinear_.get(), product.get());
        } else {
            nonlinear_ = product.get() == operand ? general_copy(operand, 1.0) : std::move(product);
        }
    }

    Owned<Expression> sum_;
    Ref nonlinear_;
};

}  // namespace

Ref sum_of_multiples(std::span<const double> coefficients, PyObject* const* operands) {
    const auto zeros = std::count(coefficients.begin(), coefficients.end(), 0.0);
    CellSum sum(coefficients.size() - static_cast<size_t>(zeros));
    for (size_t i = 0; i < coefficients.size(); ++i) {
        i += sum.add_plain_multiples(coefficients.subspan(i), operands + i);
        if (i == coefficients.size()) break;
        // A zero coefficient does not excuse an operand that cannot be multiplied.
        if (coefficients[i] == 0.0) {
            if (operands[i] == nullptr || quick_kind(operands[i]) == kInvalid) kind_of(operands[i]);
            continue;
        }
        sum.add_multiple(coefficients[i], operands[i]);
    }
    return sum.result();
}

Ref sum_of_products(PyObject* const* left, PyObject* const* right, Py_ssize_t count) {
    CellSum sum(0);
    for (Py_ssize_t i = 0; i < count; ++i) sum.add_product(left[i], right[i]);
    return sum.result();
}

}  // namespace quilex
