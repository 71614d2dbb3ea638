// What nonlinear coefficients may be, whoever brings them: callers of the interface and readers of
// files. Each check throws Error naming array, position and value, and what would be right.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/data/model.hpp"

namespace qlx {

// A column of a coefficient: -1 stands for the constant 1.
void check_coefficient_column(int col, int num_cols, const char* name);
// Rows and columns of coefficients.
void check_places(const Model& model, int count, const int* rows, const int* cols);
// A value that a column may have: a number below 1e20 in magnitude.
void check_column_value(double value, const char* name);
// A finite factor.
void check_factor(double factor, const char* name);
// Factors, and starts that leave each formula at least its closing token.
void check_factors(const CoefficientBlock& block);
void check_formula_starts(const CoefficientBlock& block);

// Appends a checked block to a store, all or nothing; refuses a formula that has no parse, with the
// position of its first bad token.
void append_coefficients(const FormulaSymbols& symbols, CoefficientStore& store,
                         const CoefficientBlock& block);

// Refuses a formula because of a token; `position` is its index in the caller's arrays.
[[noreturn]] void refuse_token(const BadToken& bad, std::int64_t size, const int* type,
                               const double* value, const std::string& where);

// The terms of a coefficient that must exist.
[[nodiscard]] std::vector<std::size_t> check_coefficient(Model& model, int row, int col);
// The terms of coefficients that must exist, each given once, marked.
[[nodiscard]] std::vector<char> marked_coefficients(Model& model, int count, const int* rows,
                                                    const int* cols);

}  // namespace qlx
