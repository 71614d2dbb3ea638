// Bounds, sides and costs of the relaxation in arrays of their own.
#include "engine/check/store_view.hpp"

namespace qlx {

StoreView::StoreView(Model& model, double matrix_tolerance) : cost_(model.obj()) {
    for (double& cost : cost_) cost *= model.sense();
    for (int col = 0; col < model.num_cols(); ++col) {
        const Sides bounds = model.relaxed_bounds(col);
        lower_.push_back(bounds.lower);
        upper_.push_back(bounds.upper);
    }
    for (int row = 0; row < model.num_rows(); ++row) {
        const Sides sides = model.relaxed_sides(row);
        row_lower_.push_back(sides.lower);
        row_upper_.push_back(sides.upper);
    }
    MatrixView matrix;
    matrix.num_rows = model.num_rows();
    matrix.num_columns = model.num_cols();
    matrix.by_rows = true;
    matrix.start = std::span<const std::int64_t>(model.matrix().starts());
    matrix.index = model.matrix().columns();
    matrix.value = model.matrix().values();
    matrix.dropped = matrix_tolerance;
    view_ = {matrix, cost_, lower_, upper_, row_lower_, row_upper_};
}

}  // namespace qlx
