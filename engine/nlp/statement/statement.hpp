// A model in the form that nonlinear solvers start from: what presolve changes and tapes compile.
#pragma once

#include <memory>
#include <vector>

#include "engine/nlp/formula/coefficient_store.hpp"
#include "engine/nlp/formula/parser.hpp"
#include "engine/nlp/formula/user_functions.hpp"

namespace qlx {
class Model;
}

namespace qlx::nlp {

// Row of entries that belong to the objective.
inline constexpr int kObjectiveRow = -1;

struct LinearEntry {
    int row;
    int column;
    double coefficient;
};

// coefficient * x[first] * x[second]; once for every pair.
struct QuadraticEntry {
    int row;
    int first;
    int second;
    double coefficient;
};

// factor * x[column] * formula(x); column kNoColumn stands for the constant 1.
struct NonlinearTerm {
    int row;
    int column;
    double factor;
    Formula formula;
};

//   minimise  constant + linear + quadratic + nonlinear part of kObjectiveRow
//   subject to  row_lower <= the parts of a row <= row_upper,  column_lower <= x <= column_upper
//
// Bounds of 1e20 and beyond are infinite. Columns keep the model's numbers in all parts, formulas
// included; columns made by a reformulation follow them. Entries of one row are neither sorted nor
// merged. Formulas live in the model, which must not change meanwhile, or in `own_formulas`.
struct Statement {
    std::vector<double> column_lower;
    std::vector<double> column_upper;
    // The columns that solvers see, in increasing order; the others are constants.
    std::vector<int> moving;
    std::vector<double> fixed_value;  // of all columns; read where a column does not move
    std::vector<double> start;        // not a number: nothing is known

    std::vector<double> row_lower;
    std::vector<double> row_upper;
    std::vector<int> model_row;  // -1: made by a reformulation

    double constant = 0;
    std::vector<LinearEntry> linear;
    std::vector<QuadraticEntry> quadratic;
    std::vector<NonlinearTerm> nonlinear;
    std::shared_ptr<const FormulaArrays> own_formulas;
    UserFunctions* functions = nullptr;  // that the formulas name; null: none

    [[nodiscard]] int num_columns() const noexcept { return static_cast<int>(column_lower.size()); }
    [[nodiscard]] int num_rows() const noexcept { return static_cast<int>(row_lower.size()); }
};

// Integrality, sets and indicators left out; a maximisation is stated by the negated objective. All
// columns move, and those that are fixed have equal bounds.
[[nodiscard]] Statement state_model(Model& model);

}  // namespace qlx::nlp
