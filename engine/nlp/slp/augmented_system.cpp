// Quasidefinite factorisations of augmented systems.
#include "engine/nlp/slp/augmented_system.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace qlx::nlp::slp {

namespace {

constexpr std::int64_t kFillLimit = 300'000'000;
// Makes dependent rows harmless; refinement takes its effect on the others away.
constexpr double kRegularisation = 1e-9;
constexpr double kPivotFloor = 1e-13;
constexpr int kRefinements = 4;
constexpr double kAccuracy = 1e-14;

// Places of lower-triangular entries, given once or more, and of the diagonal, by columns of the
// upper triangle of order `order`.
void place_entries(const SymmetricStructure& entries, int order, quad::SparseColumns& upper,
                   std::vector<int>& place, std::vector<int>& diagonal) {
    std::vector<std::vector<int>> rows(at(order));
    for (int k = 0; k < entries.entries(); ++k)
        rows[at(std::max(entries.row(k), entries.column(k)))].push_back(
            std::min(entries.row(k), entries.column(k)));
    upper.rows = upper.columns = order;
    upper.start.assign(1, 0);
    upper.index.clear();
    diagonal.clear();
    for (int j = 0; j < order; ++j) {
        auto& column = rows[at(j)];
        column.push_back(j);
        std::sort(column.begin(), column.end());
        column.erase(std::unique(column.begin(), column.end()), column.end());
        upper.index.insert(upper.index.end(), column.begin(), column.end());
        upper.start.push_back(static_cast<int>(upper.index.size()));
        diagonal.push_back(upper.start.back() - 1);
    }
    place.resize(at(entries.entries()));
    for (int k = 0; k < entries.entries(); ++k) {
        const int i = std::min(entries.row(k), entries.column(k));
        const int j = std::max(entries.row(k), entries.column(k));
        const auto begin = upper.index.begin() + upper.start[at(j)];
        const auto end = upper.index.begin() + upper.start[at(j) + 1];
        place[at(k)] = static_cast<int>(std::lower_bound(begin, end, i) - upper.index.begin());
    }
}

// The scaled Hessian on free columns, and units on the diagonal of fixed ones.
void fill_hessian(const Linearisation& model, const Vector* hessian, double shift,
                  const std::vector<char>& fixed, const std::vector<int>& place,
                  const std::vector<int>& diagonal, std::vector<double>& value) {
    const SymmetricStructure& entries = model.problem.curvature;
    if (hessian != nullptr) {
        for (int k = 0; k < entries.entries(); ++k) {
            const int i = entries.row(k), j = entries.column(k);
            if (fixed[at(i)] != 0 || fixed[at(j)] != 0) continue;
            value[at(place[at(k)])] += (*hessian)[k] * model.scale[i] * model.scale[j];
        }
    }
    for (std::size_t j = 0; j < fixed.size(); ++j)
        value[at(diagonal[j])] += fixed[j] != 0 ? 1.0 : shift;
}

}  // namespace

bool AugmentedSystem::analyze(const ScaledProblem& problem, bool with_hessian) {
    columns_ = problem.num_columns();
    rows_ = problem.num_rows();
    with_hessian_ = with_hessian;
    static const SymmetricStructure kNone;
    place_entries(with_hessian ? problem.curvature : kNone, columns_, upper_, hessian_place_,
                  diagonal_);
    upper_.rows = upper_.columns = columns_ + rows_;
    row_place_.resize(at(problem.rows.entries()));
    for (int i = 0; i < rows_; ++i) {
        for (int k = problem.rows.begin(i); k < problem.rows.end(i); ++k) {
            row_place_[at(k)] = static_cast<int>(upper_.index.size());
            upper_.index.push_back(problem.rows.column(k));
        }
        diagonal_.push_back(static_cast<int>(upper_.index.size()));
        upper_.index.push_back(columns_ + i);
        upper_.start.push_back(static_cast<int>(upper_.index.size()));
    }
    upper_.value.assign(upper_.index.size(), 1.0);
    sign_.assign(at(columns_), 1);
    sign_.resize(at(columns_ + rows_), -1);
    regularisation_.assign(at(columns_ + rows_), 0.0);
    std::fill(regularisation_.begin() + columns_, regularisation_.end(), -kRegularisation);
    right_.resize(at(columns_ + rows_));
    return factor_.analyze(upper_, kFillLimit);
}

void AugmentedSystem::factor(const Linearisation& model, const Vector* hessian, double shift,
                             const std::vector<char>& fixed, const std::vector<char>& in_set) {
    std::fill(upper_.value.begin(), upper_.value.end(), 0.0);
    fill_hessian(model, hessian, shift, fixed, hessian_place_, diagonal_, upper_.value);
    const RowStructure& rows = model.problem.rows;
    for (int i = 0; i < rows_; ++i) {
        if (in_set[at(i)] == 0) {
            upper_.value[at(diagonal_[at(columns_ + i)])] = -1;
            continue;
        }
        for (int k = rows.begin(i); k < rows.end(i); ++k) {
            const int j = rows.column(k);
            if (fixed[at(j)] == 0)
                upper_.value[at(row_place_[at(k)])] = model.at.jacobian[k] * model.scale[j];
        }
    }
    factor_.factorize(upper_, regularisation_, sign_, kPivotFloor);
}

void AugmentedSystem::multiply(const Vector& x, const Vector& w, Vector& top,
                               Vector& bottom) const {
    top.setZero(columns_);
    bottom.setZero(rows_);
    for (int j = 0; j < columns_ + rows_; ++j) {
        for (int k = upper_.start[at(j)]; k < upper_.start[at(j) + 1]; ++k) {
            const int i = upper_.index[at(k)];
            const double value = upper_.value[at(k)];
            if (j < columns_) {
                top[i] += value * x[j];
                if (i != j) top[j] += value * x[i];
            } else if (i < columns_) {
                top[i] += value * w[j - columns_];
                bottom[j - columns_] += value * x[i];
            } else {
                bottom[j - columns_] += value * w[j - columns_];
            }
        }
    }
}

void AugmentedSystem::solve(Vector& r, Vector& b) {
    x_.setZero(columns_);
    w_.setZero(rows_);
    const double size =
        std::max(r.lpNorm<Eigen::Infinity>(), rows_ > 0 ? b.lpNorm<Eigen::Infinity>() : 0.0);
    double error = size;
    top_ = r;
    bottom_ = b;
    for (int k = 0; k <= kRefinements && error > kAccuracy * size; ++k) {
        std::copy(top_.begin(), top_.end(), right_.begin());
        std::copy(bottom_.begin(), bottom_.end(), right_.begin() + columns_);
        factor_.solve(right_);
        x_ += Vector::Map(right_.data(), columns_);
        w_ += Vector::Map(right_.data() + columns_, rows_);
        multiply(x_, w_, top_, bottom_);
        top_ = r - top_;
        bottom_ = b - bottom_;
        const double now = std::max(top_.lpNorm<Eigen::Infinity>(),
                                    rows_ > 0 ? bottom_.lpNorm<Eigen::Infinity>() : 0.0);
        if (!(now < 0.5 * error)) break;
        error = now;
    }
    r = x_;
    b = w_;
}

bool ShiftedHessian::analyze(const ScaledProblem& problem) {
    place_entries(problem.curvature, problem.num_columns(), upper_, place_, diagonal_);
    upper_.value.assign(upper_.index.size(), 1.0);
    return factor_.analyze(upper_, kFillLimit);
}

bool ShiftedHessian::is_definite(const Linearisation& model, const Vector& hessian, double shift,
                                 const std::vector<char>& fixed) {
    std::fill(upper_.value.begin(), upper_.value.end(), 0.0);
    fill_hessian(model, &hessian, shift, fixed, place_, diagonal_, upper_.value);
    return factor_.factorize(upper_, {}) < 0;
}

}  // namespace qlx::nlp::slp
