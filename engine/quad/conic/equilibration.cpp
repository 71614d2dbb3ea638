// Equilibration by Ruiz' method (2001): rows and columns are divided by roots of their sizes.
#include "engine/quad/conic/equilibration.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/base/index.hpp"

namespace qlx::quad::conic {

namespace {

constexpr int kRounds = 12;
constexpr double kLeastUnit = 1e-6;
constexpr double kLargestUnit = 1e6;

double power_of_two(double value) noexcept {
    return std::exp2(std::round(std::log2(value)));
}

// Empty rows and columns keep their unit.
double damped(double size) noexcept {
    return size > 0.0 ? 1.0 / std::sqrt(size) : 1.0;
}

}  // namespace

Equilibration::Equilibration(const Program& program, const ConeProduct& cones, bool active)
    : scaled_(program),
      column_(program.cost.size(), 1.0),
      row_(program.right.size(), 1.0),
      column_size_(program.cost.size()),
      row_size_(program.right.size()) {
    if (!active) return;
    for (int round = 0; round < kRounds; ++round) balance(cones);
    for (double& unit : column_) unit = power_of_two(unit);
    for (double& unit : row_) unit = power_of_two(unit);
    apply();
}

// One round on sizes of the scaled matrix, which itself is scaled at the end only.
void Equilibration::balance(const ConeProduct& cones) {
    std::fill(column_size_.begin(), column_size_.end(), 0.0);
    std::fill(row_size_.begin(), row_size_.end(), 0.0);
    const SparseColumns& p = scaled_.hessian;
    const SparseColumns& a = scaled_.rows;
    for (std::size_t j = 0; j < column_.size(); ++j) {
        for (int k = p.start[j]; k < p.start[j + 1]; ++k) {
            const std::size_t i = at(p.index[at(k)]);
            const double size = std::abs(p.value[at(k)]) * column_[i] * column_[j];
            column_size_[i] = std::max(column_size_[i], size);
            column_size_[j] = std::max(column_size_[j], size);
        }
        for (int k = a.start[j]; k < a.start[j + 1]; ++k) {
            const std::size_t i = at(a.index[at(k)]);
            const double size = std::abs(a.value[at(k)]) * row_[i] * column_[j];
            row_size_[i] = std::max(row_size_[i], size);
            column_size_[j] = std::max(column_size_[j], size);
        }
    }
    for (const Block& block : cones.blocks()) {
        if (block.kind != ConeKind::kSecondOrder) continue;
        const auto first = row_size_.begin() + block.first;
        double sum = 0.0;
        for (int i = 0; i < block.size; ++i) sum += first[i];
        std::fill_n(first, block.size, sum / block.size);
    }
    for (std::size_t j = 0; j < column_.size(); ++j) {
        column_[j] = std::clamp(column_[j] * damped(column_size_[j]), kLeastUnit, kLargestUnit);
    }
    for (std::size_t i = 0; i < row_.size(); ++i) {
        row_[i] = std::clamp(row_[i] * damped(row_size_[i]), kLeastUnit, kLargestUnit);
    }
}

void Equilibration::apply() {
    SparseColumns& p = scaled_.hessian;
    SparseColumns& a = scaled_.rows;
    std::fill(column_size_.begin(), column_size_.end(), 0.0);
    double cost_size = 0.0;
    for (std::size_t j = 0; j < column_.size(); ++j) {
        for (int k = p.start[j]; k < p.start[j + 1]; ++k) {
            const std::size_t i = at(p.index[at(k)]);
            p.value[at(k)] *= column_[i] * column_[j];
            column_size_[i] = std::max(column_size_[i], std::abs(p.value[at(k)]));
            column_size_[j] = std::max(column_size_[j], std::abs(p.value[at(k)]));
        }
        for (int k = a.start[j]; k < a.start[j + 1]; ++k) {
            a.value[at(k)] *= row_[at(a.index[at(k)])] * column_[j];
        }
        scaled_.cost[j] *= column_[j];
        cost_size = std::max(cost_size, std::abs(scaled_.cost[j]));
    }
    double curvature = 0.0;
    for (const double size : column_size_) curvature += size;
    curvature /= std::max(static_cast<double>(column_.size()), 1.0);
    const double size = std::max(cost_size, curvature);
    if (size > 0.0) objective_ = power_of_two(std::clamp(1.0 / size, kLeastUnit, kLargestUnit));
    for (double& value : p.value) value *= objective_;
    for (double& value : scaled_.cost) value *= objective_;
    for (std::size_t i = 0; i < row_.size(); ++i) scaled_.right[i] *= row_[i];
}

}  // namespace qlx::quad::conic
