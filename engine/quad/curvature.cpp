// Positive semidefiniteness by minors, diagonal dominance and factorisation.
#include "engine/quad/curvature.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "engine/base/index.hpp"
#include "engine/quad/sparse_factor.hpp"

namespace qlx::quad {

namespace {

// Entries this small beside the largest one are taken for cancellation errors.
constexpr double kNoise = 1e-14;
constexpr std::int64_t kLargestFactor = 300'000'000;
constexpr double kLargestShift = 1e-5;

CurvatureVerdict nonconvex_pair(int order, int i, int j, double vi, double vj, double ratio) {
    CurvatureVerdict verdict{Curvature::kNonconvex, std::min(i, j), std::max(i, j), {}, ratio};
    verdict.direction.assign(at(order), 0.0);
    verdict.direction[at(i)] = vi;
    verdict.direction[at(j)] = vj;
    return verdict;
}

// Checks the diagonal and all 2 by 2 minors.
CurvatureVerdict test_minors(const SparseColumns& upper, const std::vector<double>& diagonal,
                             double noise) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (int j = 0; j < upper.columns; ++j) {
        if (diagonal[at(j)] < -noise) {
            return nonconvex_pair(upper.columns, j, j, 1.0, 1.0, -kInfinity);
        }
    }
    for (int j = 0; j < upper.columns; ++j) {
        for (int k = upper.start[at(j)]; k < upper.start[at(j) + 1]; ++k) {
            const int i = upper.index[at(k)];
            const double q = upper.value[at(k)];
            if (i == j || std::abs(q) <= noise) continue;
            const double a = std::max(diagonal[at(i)], 0.0);
            const double b = std::max(diagonal[at(j)], 0.0);
            const double mean = std::sqrt(a) * std::sqrt(b);
            if (std::abs(q) <= mean * (1.0 + kCurvatureTolerance)) continue;
            const double sign = q > 0.0 ? -1.0 : 1.0;
            if (mean > 0.0) {
                return nonconvex_pair(upper.columns, i, j, 1.0 / std::sqrt(a), sign / std::sqrt(b),
                                      1.0 - std::abs(q) / mean);
            }
            // One diagonal entry is zero: a long step in its column outweighs the other's square.
            const int flat = a == 0.0 ? i : j;
            const int other = a == 0.0 ? j : i;
            const double step = 1.0 + std::max(a, b) / std::abs(q);
            return nonconvex_pair(upper.columns, flat, other, sign * step, 1.0, -kInfinity);
        }
    }
    return {};
}

// The matrix restricted to columns with a positive diagonal and scaled to a unit one.
struct ScaledMatrix {
    SparseColumns upper;
    std::vector<int> column;   // original columns
    std::vector<double> root;  // square roots of their diagonal entries
};

ScaledMatrix scale(const SparseColumns& upper, const std::vector<double>& diagonal, double noise) {
    ScaledMatrix scaled;
    std::vector<int> place(at(upper.columns), -1);
    std::vector<bool> coupled(at(upper.columns), false);
    for (int j = 0; j < upper.columns; ++j) {
        for (int k = upper.start[at(j)]; k < upper.start[at(j) + 1]; ++k) {
            const int i = upper.index[at(k)];
            if (i != j && diagonal[at(i)] > 0.0 && diagonal[at(j)] > 0.0 &&
                (std::abs(upper.value[at(k)]) > noise || noise == 0.0)) {
                coupled[at(i)] = coupled[at(j)] = true;
            }
        }
    }
    for (int j = 0; j < upper.columns; ++j) {
        if (!coupled[at(j)]) continue;
        place[at(j)] = static_cast<int>(scaled.column.size());
        scaled.column.push_back(j);
        scaled.root.push_back(std::sqrt(diagonal[at(j)]));
    }
    const int order = static_cast<int>(scaled.column.size());
    scaled.upper.rows = scaled.upper.columns = order;
    for (int c = 0; c < order; ++c) {
        const int j = scaled.column[at(c)];
        for (int k = upper.start[at(j)]; k < upper.start[at(j) + 1]; ++k) {
            const int r = place[at(upper.index[at(k)])];
            if (r < 0) continue;
            scaled.upper.index.push_back(r);
            scaled.upper.value.push_back(
                r == c ? 1.0 : upper.value[at(k)] / (scaled.root[at(r)] * scaled.root[at(c)]));
        }
        scaled.upper.start.push_back(static_cast<int>(scaled.upper.index.size()));
    }
    return scaled;
}

bool is_diagonally_dominant(const SparseColumns& upper) {
    std::vector<double> sum(at(upper.columns), 0.0);
    for (int j = 0; j < upper.columns; ++j) {
        for (int k = upper.start[at(j)]; k < upper.start[at(j) + 1]; ++k) {
            const int i = upper.index[at(k)];
            if (i == j) continue;
            sum[at(i)] += std::abs(upper.value[at(k)]);
            sum[at(j)] += std::abs(upper.value[at(k)]);
        }
    }
    return std::all_of(sum.begin(), sum.end(),
                       [](double s) { return s <= 1.0 + kCurvatureTolerance; });
}

CurvatureVerdict nonconvex_direction(const SparseColumns& upper, const ScaledMatrix& scaled,
                                     std::vector<double> v, double ratio) {
    CurvatureVerdict verdict{Curvature::kNonconvex, -1, -1, {}, ratio};
    verdict.direction.assign(at(upper.columns), 0.0);
    int largest = -1;
    int second = -1;
    for (int c = 0; c < scaled.upper.columns; ++c) {
        const double size = std::abs(v[at(c)]);
        if (largest < 0 || size > std::abs(v[at(largest)])) {
            second = largest;
            largest = c;
        } else if (second < 0 || size > std::abs(v[at(second)])) {
            second = c;
        }
        verdict.direction[at(scaled.column[at(c)])] = v[at(c)] / scaled.root[at(c)];
    }
    const int a = scaled.column[at(largest)];
    const int b = scaled.column[at(second)];
    verdict.first_column = std::min(a, b);
    verdict.second_column = std::max(a, b);
    return verdict;
}

}  // namespace

CurvatureVerdict test_curvature(const SparseColumns& upper) {
    double largest = 0.0;
    for (double q : upper.value) largest = std::max(largest, std::abs(q));
    const double noise = kNoise * largest;
    const std::vector<double> diagonal = diagonal_of(upper);
    CurvatureVerdict verdict = test_minors(upper, diagonal, noise);
    if (verdict.curvature != Curvature::kConvex) return verdict;

    const ScaledMatrix scaled = scale(upper, diagonal, 0.0);
    if (scaled.column.empty() || is_diagonally_dominant(scaled.upper)) return verdict;

    SparseFactor factor;
    if (!factor.analyze(scaled.upper, kLargestFactor)) {
        verdict.curvature = Curvature::kUndecided;
        return verdict;
    }
    std::vector<double> shift(scaled.column.size());
    for (double s = kCurvatureTolerance; s <= kLargestShift; s *= 10.0) {
        std::fill(shift.begin(), shift.end(), s);
        const int failed = factor.factorize(scaled.upper, shift);
        if (failed < 0) return verdict;
        std::vector<double> v = factor.pivot_direction(failed);
        double square = 0.0;
        for (double component : v) square += component * component;
        const double ratio = quadratic_form(scaled.upper, v) / square;
        if (ratio <= -0.5 * s) return nonconvex_direction(upper, scaled, std::move(v), ratio);
    }
    return verdict;
}

}  // namespace qlx::quad
