// One equality-constrained step on the active set, by a regularised factorisation and refinement.
#include "engine/quad/polish.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/base/index.hpp"
#include "engine/quad/sparse_factor.hpp"

namespace qlx::quad {

namespace {

constexpr double kRegularisation = 1e-9;
constexpr int kRefinements = 6;

// Which side holds a column or row: where its dual outweighs its distance.
enum class Side : signed char { kNone, kLower, kUpper };

Side active_side(double dual, double value, double lower, double upper) {
    if (lower == upper) return Side::kLower;
    if (is_finite_lower(lower) && dual > value - lower) return Side::kLower;
    if (is_finite_upper(upper) && -dual > upper - value) return Side::kUpper;
    return Side::kNone;
}

// The equations of one active set: free columns first, then active rows.
class ActiveSet {
  public:
    ActiveSet(const QuadraticModel& model, const PolishedPoint& point)
        : model_(model), x_(point.x) {
        const std::size_t columns = x_.size();
        column_place_.assign(columns, -1);
        for (std::size_t j = 0; j < columns; ++j) {
            const double lower = model.column_lower[j];
            const double upper = model.column_upper[j];
            switch (active_side(point.evaluation.reduced_cost[j], x_[j], lower, upper)) {
                case Side::kLower:
                    x_[j] = lower;
                    break;
                case Side::kUpper:
                    x_[j] = upper;
                    break;
                case Side::kNone:
                    column_place_[j] = order_++;
                    break;
            }
        }
        free_columns_ = order_;
        row_place_.assign(point.y.size(), -1);
        y_.assign(point.y.size(), 0.0);
        target_.assign(point.y.size(), 0.0);
        for (std::size_t i = 0; i < y_.size(); ++i) {
            const Side side = active_side(point.y[i], point.evaluation.activity[i],
                                          model.row_lower[i], model.row_upper[i]);
            if (side == Side::kNone) continue;
            row_place_[i] = order_++;
            y_[i] = point.y[i];
            target_[i] = side == Side::kLower ? model.row_lower[i] : model.row_upper[i];
        }
    }

    bool solve(std::int64_t work_limit);
    const std::vector<double>& x() const noexcept { return x_; }
    const std::vector<double>& y() const noexcept { return y_; }

  private:
    SparseColumns matrix() const;
    std::vector<double> right_hand_side() const;
    void scale(SparseColumns& matrix);

    const QuadraticModel& model_;
    std::vector<double> x_;
    std::vector<double> y_;
    std::vector<double> target_;
    std::vector<int> column_place_;
    std::vector<int> row_place_;
    std::vector<double> scale_;
    int order_ = 0;
    int free_columns_ = 0;
};

SparseColumns ActiveSet::matrix() const {
    std::vector<Triplet> entries;
    entries.reserve(model_.hessian.index.size() + model_.rows.index.size());
    for (int j = 0; j < model_.column_count(); ++j) {
        const int c = column_place_[at(j)];
        if (c < 0) continue;
        for (int k = model_.hessian.start[at(j)]; k < model_.hessian.start[at(j) + 1]; ++k) {
            const int r = column_place_[at(model_.hessian.index[at(k)])];
            if (r >= 0) entries.push_back({r, c, model_.hessian.value[at(k)]});
        }
        for (int k = model_.rows.start[at(j)]; k < model_.rows.start[at(j) + 1]; ++k) {
            const int r = row_place_[at(model_.rows.index[at(k)])];
            if (r >= 0) entries.push_back({c, r, -model_.rows.value[at(k)]});
        }
    }
    return compress_symmetric(order_, entries);
}

// Ruiz (2001): equal row sizes by a few square roots.
void ActiveSet::scale(SparseColumns& matrix) {
    scale_.assign(at(order_), 1.0);
    for (int round = 0; round < 3; ++round) {
        std::vector<double> size(at(order_), 0.0);
        for (int j = 0; j < order_; ++j) {
            for (int k = matrix.start[at(j)]; k < matrix.start[at(j) + 1]; ++k) {
                const double v = std::abs(matrix.value[at(k)]);
                size[at(j)] = std::max(size[at(j)], v);
                size[at(matrix.index[at(k)])] = std::max(size[at(matrix.index[at(k)])], v);
            }
        }
        for (double& s : size) s = s > 0.0 ? 1.0 / std::sqrt(s) : 1.0;
        for (int j = 0; j < order_; ++j) {
            for (int k = matrix.start[at(j)]; k < matrix.start[at(j) + 1]; ++k) {
                matrix.value[at(k)] *= size[at(j)] * size[at(matrix.index[at(k)])];
            }
            scale_[at(j)] *= size[at(j)];
        }
    }
}

std::vector<double> ActiveSet::right_hand_side() const {
    std::vector<double> gradient = model_.cost;
    add_symmetric_product(model_.hessian, 1.0, x_, gradient);
    add_transposed_product(model_.rows, -1.0, y_, gradient);
    std::vector<double> activity(y_.size(), 0.0);
    add_product(model_.rows, 1.0, x_, activity);
    std::vector<double> out(at(order_), 0.0);
    for (std::size_t j = 0; j < x_.size(); ++j) {
        if (column_place_[j] >= 0) out[at(column_place_[j])] = -gradient[j];
    }
    for (std::size_t i = 0; i < y_.size(); ++i) {
        if (row_place_[i] >= 0) out[at(row_place_[i])] = activity[i] - target_[i];
    }
    return out;
}

bool ActiveSet::solve(std::int64_t work_limit) {
    if (order_ == 0) return true;
    SparseColumns scaled = matrix();
    scale(scaled);
    SparseFactor factor;
    if (!factor.analyze(scaled, work_limit) || factor.work() > work_limit) return false;
    std::vector<double> shift(at(order_), kRegularisation);
    std::vector<signed char> sign(at(order_), 1);
    for (int i = free_columns_; i < order_; ++i) {
        shift[at(i)] = -kRegularisation;
        sign[at(i)] = -1;
    }
    factor.factorize(scaled, shift, sign, 0.1 * kRegularisation);
    for (int round = 0; round < kRefinements; ++round) {
        std::vector<double> step = right_hand_side();
        double size = 0.0;
        for (std::size_t k = 0; k < step.size(); ++k) {
            step[k] *= scale_[k];
            size = std::max(size, std::abs(step[k]));
        }
        if (!std::isfinite(size)) return false;
        if (size < 1e-15) break;
        factor.solve(step);
        for (std::size_t j = 0; j < x_.size(); ++j) {
            const int p = column_place_[j];
            if (p >= 0) x_[j] += scale_[at(p)] * step[at(p)];
        }
        for (std::size_t i = 0; i < y_.size(); ++i) {
            const int p = row_place_[i];
            if (p >= 0) y_[i] += scale_[at(p)] * step[at(p)];
        }
    }
    return true;
}

}  // namespace

bool polish(const QuadraticModel& model, std::int64_t work_limit, PolishedPoint& point) {
    ActiveSet set(model, point);
    if (!set.solve(work_limit)) return false;
    PolishedPoint candidate{set.x(), set.y(), evaluate(model, set.x(), set.y())};
    if (!(candidate.evaluation.worst() < point.evaluation.worst())) return false;
    point = std::move(candidate);
    return true;
}

}  // namespace qlx::quad
