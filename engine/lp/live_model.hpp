// Keeps a kernel's copy of a model up to date with the model store.
#pragma once

#include "engine/data/model.hpp"
#include "engine/lp/lp_kernel.hpp"

namespace qlx {

// The kernel holds the model's columns and rows one to one, integer columns as integer ones. Other
// types, sets, indicators and quadratic rows are not in it.
class LiveModel {
  public:
    // Small changes since the last call are forwarded; else the model is handed over whole. The
    // basis is kept either way, as far as its columns and rows still exist. Throws Error when the
    // kernel refuses.
    void synchronise(Model& model, double matrix_tolerance);
    // The whole model with its quadratic objective, for which the kernel is not asked to solve it.
    void hand_over_quadratic(Model& model, double matrix_tolerance);
    [[nodiscard]] LpKernel& kernel() noexcept { return kernel_; }

  private:
    void hand_over(Model& model, double matrix_tolerance);
    [[nodiscard]] KernelBasis surviving_basis(Model& model) const;
    void forward(Model& model);
    void forward_columns(Model& model);
    void forward_rows(Model& model);
    void forward_bounds(Model& model);
    void forward_sides(Model& model);
    void forward_costs(Model& model);
    void forward_coefficients(Model& model);

    LpKernel kernel_;
    int num_cols_ = 0;  // in the kernel
    int num_rows_ = 0;
    bool has_hessian_ = false;
};

// The whole model as a kernel takes it.
[[nodiscard]] KernelModel kernel_model(Model& model);
// The same without its matrix, and the matrix put in: the parts that a reformulation changes
// between.
[[nodiscard]] KernelModel kernel_columns_and_sides(const Model& model);
void transpose_into(KernelModel& out, RowMatrix& matrix);
// One flag per column: integer or binary.
[[nodiscard]] std::vector<char> integer_flags(const Model& model);

}  // namespace qlx
