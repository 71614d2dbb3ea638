// Quadratic terms of the objective or of a row: coefficients of products of two columns.
#pragma once

#include <cstdint>
#include <vector>

namespace qlx {

// coefficient * x_first * x_second with first <= second.
struct QuadraticTerm {
    int first;
    int second;
    double coefficient;
};

// Terms sorted by (first, second), each pair once, none with coefficient 0.
class QuadraticForm {
  public:
    [[nodiscard]] bool empty() const noexcept { return terms_.empty(); }
    [[nodiscard]] const std::vector<QuadraticTerm>& terms() const noexcept { return terms_; }
    [[nodiscard]] double at(int col1, int col2) const;

    // Adds to, or replaces, the coefficients of the given pairs; a pair given twice counts summed.
    void add(std::int64_t count, const int* col1, const int* col2, const double* values);
    void set(std::int64_t count, const int* col1, const int* col2, const double* values);
    void clear() noexcept { terms_.clear(); }
    void delete_columns(const std::vector<int>& new_index);

    [[nodiscard]] double value(const double* x) const noexcept;
    // gradient += factor * the form's gradient at x.
    void add_gradient(const double* x, double factor, double* gradient) const noexcept;

  private:
    void merge(const std::vector<QuadraticTerm>& given, bool replace);

    std::vector<QuadraticTerm> terms_;
};

}  // namespace qlx
