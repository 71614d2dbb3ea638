// Single elements of a dot product: sums of products of two rows of operands.
#pragma once

#include "module/failure.hpp"

namespace quilex {

// The sum of coefficients[i] * operands[i]. An expression, or a nonlinear node.
Ref sum_of_multiples(std::span<const double> coefficients, PyObject* const* operands);

// The sum of left[i] * right[i]. An expression, or a nonlinear node.
Ref sum_of_products(PyObject* const* left, PyObject* const* right, Py_ssize_t count);

}  // namespace quilex
