// The model in a kernel: handed over and changed.
#include <algorithm>

#include "engine/lp/kernel_state.hpp"

namespace qlx {

bool LpKernel::load(KernelModel&& model, double matrix_tolerance) {
    live_->session->set("small_matrix_value", matrix_tolerance);
    live_->applied.matrix_tolerance = matrix_tolerance;
    HighsLp lp;
    lp.num_col_ = model.num_cols;
    lp.num_row_ = model.num_rows;
    lp.col_cost_ = std::move(model.cost);
    lp.col_lower_ = std::move(model.lower);
    lp.col_upper_ = std::move(model.upper);
    lp.row_lower_ = std::move(model.row_lower);
    lp.row_upper_ = std::move(model.row_upper);
    lp.a_matrix_.format_ = MatrixFormat::kColwise;
    lp.a_matrix_.num_col_ = model.num_cols;
    lp.a_matrix_.num_row_ = model.num_rows;
    lp.a_matrix_.start_ = std::move(model.start);
    lp.a_matrix_.index_ = std::move(model.row);
    lp.a_matrix_.value_ = std::move(model.value);
    lp.offset_ = model.constant;
    lp.sense_ = model.maximise ? ObjSense::kMaximize : ObjSense::kMinimize;
    if (!model.integer.empty()) {
        lp.integrality_.resize(model.integer.size());
        std::transform(model.integer.begin(), model.integer.end(), lp.integrality_.begin(),
                       [](char flag) {
                           return flag != 0 ? HighsVarType::kInteger : HighsVarType::kContinuous;
                       });
    }
    if (model.hessian_start.empty()) {
        live_->loaded = accepted(live_->highs().passModel(std::move(lp)));
        return live_->loaded;
    }
    HighsModel whole;
    whole.lp_ = std::move(lp);
    whole.hessian_.dim_ = model.num_cols;
    whole.hessian_.format_ = HessianFormat::kTriangular;
    whole.hessian_.start_ = std::move(model.hessian_start);
    whole.hessian_.index_ = std::move(model.hessian_row);
    whole.hessian_.value_ = std::move(model.hessian_value);
    live_->loaded = accepted(live_->highs().passModel(std::move(whole)));
    return live_->loaded;
}

bool LpKernel::add_columns(int count, const double* cost, const double* lower, const double* upper,
                           const int* start, const int* row, const double* value) {
    return accepted(
        live_->highs().addCols(count, cost, lower, upper, start[count], start, row, value));
}

bool LpKernel::add_rows(int count, const double* lower, const double* upper, const int* start,
                        const int* col, const double* value) {
    return accepted(live_->highs().addRows(count, lower, upper, start[count], start, col, value));
}

bool LpKernel::delete_rows(int count, const int* rows) {
    return accepted(live_->highs().deleteRows(count, rows));
}

bool LpKernel::change_bounds(int count, const int* cols, const double* lower, const double* upper) {
    return accepted(live_->highs().changeColsBounds(count, cols, lower, upper));
}

bool LpKernel::change_sides(int count, const int* rows, const double* lower, const double* upper) {
    return accepted(live_->highs().changeRowsBounds(count, rows, lower, upper));
}

bool LpKernel::change_costs(int count, const int* cols, const double* cost) {
    return accepted(live_->highs().changeColsCost(count, cols, cost));
}

bool LpKernel::change_coefficient(int row, int col, double value) {
    return accepted(live_->highs().changeCoeff(row, col, value));
}

bool LpKernel::change_objective(bool maximise, double constant) {
    return accepted(live_->highs().changeObjectiveSense(maximise ? ObjSense::kMaximize
                                                                 : ObjSense::kMinimize)) &&
           accepted(live_->highs().changeObjectiveOffset(constant));
}

bool LpKernel::change_integrality(const std::vector<char>& integer) {
    std::vector<HighsVarType> types(integer.size());
    std::transform(integer.begin(), integer.end(), types.begin(), [](char flag) {
        return flag != 0 ? HighsVarType::kInteger : HighsVarType::kContinuous;
    });
    const auto last = static_cast<HighsInt>(types.size()) - 1;
    return last < 0 || accepted(live_->highs().changeColsIntegrality(0, last, types.data()));
}

bool LpKernel::set_start(const double* x, int num_cols) {
    HighsSolution solution;
    solution.col_value.assign(x, x + num_cols);
    solution.value_valid = true;
    return accepted(live_->highs().setSolution(solution));
}

}  // namespace qlx
