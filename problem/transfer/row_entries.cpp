// The entries of bodies, row after row, as the library takes them.
#include "problem/transfer/row_entries.hpp"

#include <algorithm>
#include <cmath>

#include "model/constraint.hpp"
#include "problem/number_text.hpp"

namespace quilex {

void RowEntries::begin_row(const Problem* problem, PyObject* constraint) noexcept {
    problem_ = problem;
    constraint_ = constraint;
    row_start_ = columns.size();
    quadratic_start_ = first_columns.size();
    constant = 0.0;
    highest_ = -1;
    holes_ = 0;
    left_out_zero_ = false;
}

void RowEntries::add_linear_log(std::span<const LinearEntry> log, double scale) {
    constexpr size_t kAhead = 16;   // variables lie anywhere in memory
    constexpr size_t kLong = 1024;  // shorter logs leave the growth to the vectors
    const size_t count = log.size();
    if (count > kLong) {
        columns.reserve(columns.size() + count);
        coefficients.reserve(coefficients.size() + count);
    }
    for (size_t i = 0; i < count; ++i) {
        if (i + kAhead < count) __builtin_prefetch(log[i + kAhead].variable);
        add_entry(column_of(log[i].variable), scale * log[i].coefficient);
    }
}

void RowEntries::add_quadratic(Variable* first, Variable* second, double coefficient) {
    const int first_column = column_of(first);
    const int second_column = column_of(second);
    if (coefficient == 0.0) {
        left_out_zero_ = true;
        return;
    }
    first_columns.push_back(first_column);
    second_columns.push_back(second_column);
    quadratic_coefficients.push_back(coefficient);
}

// The position of a column in the row plus 1, or 0.
size_t RowEntries::find_in_row(int column) const noexcept {
    if (indexed_) return position_[static_cast<size_t>(column)];
    for (size_t i = row_start_; i < columns.size(); ++i) {
        if (columns[i] == column) return i - row_start_ + 1;
    }
    return 0;
}

void RowEntries::index_row() {
    const auto column_count = static_cast<size_t>(problem_->variables.size());
    if (position_.size() < column_count) position_.resize(column_count, 0);
    for (size_t i = row_start_; i < columns.size(); ++i) {
        if (columns[i] != kHole) {
            position_[static_cast<size_t>(columns[i])] = static_cast<uint32_t>(i - row_start_ + 1);
        }
    }
    indexed_ = true;
}

void RowEntries::merge(int column, double coefficient) {
    if (!indexed_ && row_length() > kSearchedLength) index_row();
    const size_t found = find_in_row(column);
    if (found == 0) {
        append(column, coefficient);
        return;
    }
    const size_t i = row_start_ + found - 1;
    const double sum = coefficients[i] + coefficient;
    if (sum != 0.0) {
        coefficients[i] = sum;
        return;
    }
    columns[i] = kHole;
    ++holes_;
    if (indexed_) position_[static_cast<size_t>(column)] = 0;
}

void RowEntries::reset_index() noexcept {
    if (!indexed_) return;
    for (size_t i = row_start_; i < columns.size(); ++i) {
        if (columns[i] != kHole) position_[static_cast<size_t>(columns[i])] = 0;
    }
    indexed_ = false;
}

void RowEntries::remove_holes() noexcept {
    size_t kept = row_start_;
    for (size_t i = row_start_; i < columns.size(); ++i) {
        if (columns[i] == kHole) continue;
        columns[kept] = columns[i];
        coefficients[kept] = coefficients[i];
        ++kept;
    }
    columns.resize(kept);
    coefficients.resize(kept);
    holes_ = 0;
}

void RowEntries::end_row() {
    reset_index();
    if (holes_ > 0) remove_holes();
    require_finite();
}

void RowEntries::require_finite() const {
    bool finite = std::abs(constant) < kInfinity;
    for (size_t i = row_start_; i < columns.size(); ++i) {
        finite &= std::abs(coefficients[i]) < kInfinity;
    }
    for (size_t i = quadratic_start_; i < first_columns.size(); ++i) {
        finite &= std::abs(quadratic_coefficients[i]) < kInfinity;
    }
    if (finite) return;
    for (size_t i = row_start_; i < columns.size(); ++i) {
        if (!(std::abs(coefficients[i]) < kInfinity)) {
            raise_bad_value("the coefficient", coefficients[i], columns[i]);
        }
    }
    for (size_t i = quadratic_start_; i < first_columns.size(); ++i) {
        if (!(std::abs(quadratic_coefficients[i]) < kInfinity)) {
            raise_bad_value("a product's coefficient", quadratic_coefficients[i], first_columns[i]);
        }
    }
    raise_bad_value("the constant", constant, kHole);
}

void RowEntries::rewind(const Mark& mark) noexcept {
    reset_index();
    columns.resize(mark.entries);
    coefficients.resize(mark.entries);
    first_columns.resize(mark.products);
    second_columns.resize(mark.products);
    quadratic_coefficients.resize(mark.products);
    formulas.rewind(mark.formulas);
}

void RowEntries::clear() noexcept {
    row_start_ = 0;
    quadratic_start_ = 0;
    if (columns.capacity() > kKeptCapacity) {
        columns = {};
        coefficients = {};
        position_ = {};
    }
    columns.clear();
    coefficients.clear();
    first_columns.clear();
    second_columns.clear();
    quadratic_coefficients.clear();
    formulas.clear();
}

namespace {

Ref owner_text(PyObject* constraint) {
    if (constraint == nullptr) return require(PyUnicode_FromString("the objective"));
    const Ref name = constraint_name(reinterpret_cast<Constraint*>(constraint));
    return require(PyUnicode_FromFormat("constraint %S", name.get()));
}

}  // namespace

void RowEntries::raise_unknown_variable(const Variable* variable) const {
    const Ref owner = owner_text(constraint_);
    const Ref name = variable_name(const_cast<Variable*>(variable));
    raise_runtime_error("Variable %S in %S has not been added to problem yet", name.get(),
                        owner.get());
}

void RowEntries::raise_bad_formula(const char* what, double value) const {
    const Ref owner = owner_text(constraint_);
    raise_runtime_error("Invalid value in %S: %s is %s, must be finite", owner.get(), what,
                        number_text(value).c_str());
}

void RowEntries::raise_bad_value(const char* what, double value, int column) const {
    const Ref owner = owner_text(constraint_);
    const std::string number = number_text(value);
    if (column == kHole) {
        raise_runtime_error("Invalid value in %S: %s is %s, must be less than 1e20 in magnitude",
                            owner.get(), what, number.c_str());
    }
    PyObject* const variable = problem_->variables[column];
    const Ref name = variable_name(reinterpret_cast<Variable*>(variable));
    raise_runtime_error(
        "Invalid value in %S: %s of variable %S is %s, must be less than 1e20 in magnitude",
        owner.get(), what, name.get(), number.c_str());
}

}  // namespace quilex
