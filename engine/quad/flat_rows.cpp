// The least value of a convex quadratic function, block by block, and where it is attained.
#include "engine/quad/flat_rows.hpp"
#include "engine/base/index.hpp"

#include <Eigen/Eigenvalues>
#include <Eigen/QR>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace qlx::quad {

namespace {

// Blocks of columns that products tie together are decomposed densely up to this order.
constexpr int kLargestBlock = 200;
// Sides are the least value where they differ by rounding only, relative to the terms summed...
constexpr double kRounding = 1e-13;
// ... and below it where the gap is as large as that of bounds that cross.
constexpr double kCrossing = 1e-9;
// Eigenvalues of a block scaled to a unit diagonal: zero, positive, and nothing said in between.
constexpr double kZeroEigenvalue = 1e-12;
constexpr double kPositiveEigenvalue = 1e-7;
// Error allowed in the equations of the stationary point, relative to the largest coefficient.
constexpr double kStationary = 1e-11;

// Places of the row's columns, grouped by the products between them.
std::vector<std::vector<int>> blocks_of(const SparseColumns& hessian) {
    std::vector<int> root(at(hessian.columns));
    std::iota(root.begin(), root.end(), 0);
    auto find = [&](int j) {
        while (root[at(j)] != j) j = root[at(j)] = root[at(root[at(j)])];
        return j;
    };
    for (int j = 0; j < hessian.columns; ++j) {
        for (int k = hessian.start[at(j)]; k < hessian.start[at(j) + 1]; ++k) {
            root[at(find(hessian.index[at(k)]))] = find(j);
        }
    }
    std::vector<std::vector<int>> members(at(hessian.columns));
    for (int j = 0; j < hessian.columns; ++j) members[at(find(j))].push_back(j);
    std::erase_if(members, [](const std::vector<int>& block) { return block.empty(); });
    return members;
}

class Flattener {
  public:
    Flattener(const ConvexRow& row, std::span<const double> lower, std::span<const double> upper)
        : row_(row), lower_(lower), upper_(upper), diagonal_(diagonal_of(row.hessian)) {}

    FlatRow run();

  private:
    // A block scaled to a unit diagonal, and its stationary point.
    struct Block {
        std::vector<int> places;
        Eigen::MatrixXd matrix;
        Eigen::VectorXd slope;
        Eigen::VectorXd centre;
    };

    bool is_linear(int j) const { return diagonal_[at(j)] <= 0.0; }
    bool add_linear(int j);
    bool add_block(std::vector<int> places);
    void fill(Block& block) const;
    bool find_equations(const Block& block);

    const ConvexRow& row_;
    std::span<const double> lower_;
    std::span<const double> upper_;
    const std::vector<double> diagonal_;
    std::vector<int> place_in_block_;
    std::vector<Block> blocks_;
    double least_ = 0.0;
    double size_ = 0.0;  // of the terms summed
    FlatRow out_;
};

// A column outside of the quadratic part is least at a bound. One with a negative square is not
// outside, however small that is beside the others.
bool Flattener::add_linear(int j) {
    if (diagonal_[at(j)] < 0.0) return false;
    const double slope = row_.linear[at(j)];
    if (slope == 0.0) return true;
    const std::size_t column = at(row_.columns[at(j)]);
    const double bound = slope > 0.0 ? lower_[column] : upper_[column];
    if (!is_finite_lower(bound) || !is_finite_upper(bound)) return false;
    least_ += slope * bound;
    size_ += std::abs(slope * bound);
    out_.equations.push_back({{row_.columns[at(j)]}, {1.0}, bound});
    return true;
}

void Flattener::fill(Block& block) const {
    const auto order = static_cast<Eigen::Index>(block.places.size());
    block.matrix = Eigen::MatrixXd::Zero(order, order);
    block.slope.resize(order);
    for (Eigen::Index b = 0; b < order; ++b) {
        const int j = block.places[static_cast<std::size_t>(b)];
        const double root = std::sqrt(diagonal_[at(j)]);
        block.slope(b) = row_.linear[at(j)] / root;
        for (int k = row_.hessian.start[at(j)]; k < row_.hessian.start[at(j) + 1]; ++k) {
            const int i = row_.hessian.index[at(k)];
            const double scale = root * std::sqrt(diagonal_[at(i)]);
            const Eigen::Index a = place_in_block_[at(i)];
            block.matrix(a, b) = block.matrix(b, a) = row_.hessian.value[at(k)] / scale;
        }
    }
}

// Returns false where the block's least value is not known.
bool Flattener::add_block(std::vector<int> places) {
    if (static_cast<int>(places.size()) > kLargestBlock) return false;
    Block block{std::move(places), {}, {}, {}};
    for (std::size_t b = 0; b < block.places.size(); ++b) {
        if (is_linear(block.places[b])) return false;
        place_in_block_[at(block.places[b])] = static_cast<int>(b);
    }
    fill(block);
    block.centre = Eigen::VectorXd::Zero(block.slope.size());
    if (!block.slope.isZero(0.0)) {
        Eigen::CompleteOrthogonalDecomposition<Eigen::MatrixXd> solver;
        solver.setThreshold(kPositiveEigenvalue);
        solver.compute(block.matrix);
        block.centre = solver.solve(-block.slope);
        const Eigen::VectorXd error = block.matrix * block.centre + block.slope;
        if (!(error.lpNorm<Eigen::Infinity>() <=
              kStationary * block.slope.lpNorm<Eigen::Infinity>())) {
            return false;
        }
        least_ += 0.5 * block.slope.dot(block.centre);
        size_ += 0.5 * block.slope.cwiseAbs().dot(block.centre.cwiseAbs());
    }
    blocks_.push_back(std::move(block));
    return true;
}

// The block's stationary points, by as many rows of Qx = -a as Q has rank.
// Returns false where the rank, or that Q has no negative eigenvalue, is not certain.
bool Flattener::find_equations(const Block& block) {
    const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> spectrum(block.matrix,
                                                                  Eigen::EigenvaluesOnly);
    if (spectrum.info() != Eigen::Success) return false;
    const double zero = kZeroEigenvalue * static_cast<double>(block.places.size());
    Eigen::Index rank = 0;
    for (const double value : spectrum.eigenvalues()) {
        if (value >= kPositiveEigenvalue) {
            ++rank;
        } else if (std::abs(value) > zero) {
            return false;
        }
    }
    const Eigen::ColPivHouseholderQR<Eigen::MatrixXd> order(block.matrix);
    for (Eigen::Index r = 0; r < rank; ++r) {
        const Eigen::Index a = order.colsPermutation().indices()(r);
        LinearEquation equation;
        double largest = 0.0;
        for (std::size_t b = 0; b < block.places.size(); ++b) {
            const double entry = block.matrix(a, static_cast<Eigen::Index>(b));
            if (entry == 0.0) continue;
            const int j = block.places[b];
            equation.columns.push_back(row_.columns[at(j)]);
            equation.coefficients.push_back(entry * std::sqrt(diagonal_[at(j)]));
            largest = std::max(largest, std::abs(equation.coefficients.back()));
        }
        for (double& coefficient : equation.coefficients) coefficient /= largest;
        equation.value = -block.slope(a) / largest;
        out_.equations.push_back(std::move(equation));
    }
    return true;
}

FlatRow Flattener::run() {
    place_in_block_.assign(row_.columns.size(), -1);
    std::vector<std::vector<int>> blocks = blocks_of(row_.hessian);
    // Without slopes the least value is zero, and most rows are told solid by that.
    const bool centred =
        std::all_of(row_.linear.begin(), row_.linear.end(), [](double a) { return a == 0.0; });
    if (centred && row_.upper > 0.0) return {};
    for (std::vector<int>& block : blocks) {
        const bool known = block.size() == 1 && is_linear(block.front())
                               ? add_linear(block.front())
                               : add_block(std::move(block));
        if (!known) return {};
    }
    size_ += std::abs(row_.upper);
    const double room = row_.upper - least_;
    if (room > kRounding * size_) return {};
    for (const Block& block : blocks_) {
        if (!find_equations(block)) return {};
    }
    const bool beyond = room < -kCrossing * std::max(1.0, size_);
    out_.flatness = beyond ? Flatness::kImpossible : Flatness::kFlat;
    return std::move(out_);
}

}  // namespace

FlatRow flatten(const ConvexRow& row, std::span<const double> column_lower,
                std::span<const double> column_upper) {
    return Flattener(row, column_lower, column_upper).run();
}

}  // namespace qlx::quad
