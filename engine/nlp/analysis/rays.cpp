// Unboundedness along rays.
#include "engine/nlp/analysis/rays.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/base/index.hpp"
#include "engine/nlp/presolve/limits.hpp"

namespace qlx::nlp {

namespace {

constexpr double kFall = 1e12;
constexpr double kStepFactor = 2;
constexpr int kMaxSteps = 100;  // to 1e30
// Beyond this a function may overflow at the next step.
constexpr double kOverflowing = 1e100;
constexpr std::size_t kWitnesses = 8;
constexpr double kLeastGrowth = 1.1;
constexpr double kRounding = 1e-13;  // of the terms of a row

class RayTest {
  public:
    RayTest(LocalProblem& problem, std::span<const double> x, const RayOptions& options)
        : problem_(problem),
          bounds_(problem.bounds()),
          x_(x.begin(), x.end()),
          options_(options),
          first_rows_(bounds_.row_lower.size()),
          jacobian_(problem.jacobian_pattern().rows.size()),
          gradient_(x.size()) {}

    // False where the functions are undefined at x or x is not feasible.
    bool begin() {
        return problem_.objective(x_, first_value_) && problem_.rows(x_, first_rows_) &&
               problem_.gradient(x_, gradient_) && problem_.jacobian(x_, jacobian_) &&
               is_feasible(first_rows_, sizes_of(x_));
    }

    bool proves(const std::vector<double>& direction, RayVerdict& verdict) {
        if (!is_free_way(direction)) return false;
        std::vector<double> falls;
        std::vector<std::vector<double>> history;
        double last = first_value_;
        double step = 1;
        for (int k = 0; k < kMaxSteps; ++k, step *= kStepFactor) {
            std::vector<double> point = x_;
            for (std::size_t j = 0; j < point.size(); ++j) point[j] += step * direction[j];
            double value = 0;
            std::vector<double> rows(first_rows_.size());
            if (!problem_.objective(point, value)) {
                if (last > -kOverflowing) return false;
                break;
            }
            if (!problem_.rows(point, rows) || !is_feasible(rows, sizes_of(point))) return false;
            if (!(value < last)) return false;
            falls.push_back(last - value);
            history.push_back(std::move(rows));
            last = value;
        }
        if (!(last < first_value_ - kFall * std::max(1.0, std::fabs(first_value_)))) return false;
        if (!is_growing(falls) || !keeps_away(history)) return false;
        verdict = {true, direction, step / kStepFactor, last};
        return true;
    }

    // What is left of steepest descent where bounds end a way and linear rows have a side: the
    // latter by projecting out one row after the other, a few times around.
    std::vector<double> descent() const {
        std::vector<double> direction(gradient_.size());
        for (std::size_t j = 0; j < direction.size(); ++j) direction[j] = -gradient_[j];
        for (int round = 0; round < 20; ++round) {
            leave_out_bounds(direction);
            project(direction);
        }
        leave_out_bounds(direction);
        double largest = 0;
        for (const double d : direction) largest = std::max(largest, std::fabs(d));
        if (largest > 0)
            for (double& d : direction) d /= largest;
        return direction;
    }

  private:
    bool is_free_way(const std::vector<double>& direction) const {
        bool moves = false;
        for (std::size_t j = 0; j < direction.size(); ++j) {
            if (!std::isfinite(direction[j])) return false;
            if (direction[j] > 0 && !is_plus_infinite(bounds_.column_upper[j])) return false;
            if (direction[j] < 0 && !is_minus_infinite(bounds_.column_lower[j])) return false;
            moves = moves || direction[j] != 0;
        }
        if (!moves) return false;
        const std::vector<double> slopes = row_slopes(direction);
        const std::vector<double> sizes = sizes_of(direction);
        for (std::size_t r = 0; r < slopes.size(); ++r) {
            if (!problem_.is_linear_row(static_cast<int>(r))) continue;
            const double rounding = kRounding * sizes[r];
            if (slopes[r] > rounding && !is_plus_infinite(bounds_.row_upper[r])) return false;
            if (slopes[r] < -rounding && !is_minus_infinite(bounds_.row_lower[r])) return false;
        }
        return true;
    }

    std::vector<double> row_slopes(const std::vector<double>& direction) const {
        const SparsePattern& pattern = problem_.jacobian_pattern();
        std::vector<double> slopes(first_rows_.size(), 0);
        for (std::size_t k = 0; k < jacobian_.size(); ++k)
            slopes[at(pattern.rows[k])] += jacobian_[k] * direction[at(pattern.columns[k])];
        return slopes;
    }

    // Of the terms of rows, as the derivatives at x have them.
    std::vector<double> sizes_of(const std::vector<double>& point) const {
        const SparsePattern& pattern = problem_.jacobian_pattern();
        std::vector<double> sizes(first_rows_.size(), 0);
        for (std::size_t k = 0; k < jacobian_.size(); ++k) {
            sizes[at(pattern.rows[k])] += std::fabs(jacobian_[k] * point[at(pattern.columns[k])]);
        }
        return sizes;
    }

    bool is_feasible(const std::vector<double>& rows, const std::vector<double>& sizes) const {
        for (std::size_t r = 0; r < rows.size(); ++r) {
            const auto slack = [&](double side) {
                return options_.feasibility_tolerance * std::max(1.0, std::fabs(side)) +
                       kRounding * sizes[r];
            };
            const double lower = bounds_.row_lower[r];
            const double upper = bounds_.row_upper[r];
            if (!is_minus_infinite(lower) && !(rows[r] >= lower - slack(lower))) return false;
            if (!is_plus_infinite(upper) && !(rows[r] <= upper + slack(upper))) return false;
        }
        return true;
    }

    static bool is_growing(const std::vector<double>& falls) {
        if (falls.size() <= kWitnesses) return false;
        for (std::size_t k = falls.size() - kWitnesses; k < falls.size(); ++k)
            if (!(falls[k] >= kLeastGrowth * falls[k - 1])) return false;
        return true;
    }

    bool keeps_away(const std::vector<std::vector<double>>& history) const {
        for (std::size_t k = history.size() - kWitnesses; k < history.size(); ++k) {
            for (std::size_t r = 0; r < first_rows_.size(); ++r) {
                if (problem_.is_linear_row(static_cast<int>(r))) continue;
                const double move = history[k][r] - history[k - 1][r];
                const double rounding = 1e-9 * std::max(1.0, std::fabs(history[k][r]));
                if (move > rounding && !is_plus_infinite(bounds_.row_upper[r])) return false;
                if (move < -rounding && !is_minus_infinite(bounds_.row_lower[r])) return false;
            }
        }
        return true;
    }

    void leave_out_bounds(std::vector<double>& direction) const {
        for (std::size_t j = 0; j < direction.size(); ++j) {
            if ((direction[j] > 0 && !is_plus_infinite(bounds_.column_upper[j])) ||
                (direction[j] < 0 && !is_minus_infinite(bounds_.column_lower[j]))) {
                direction[j] = 0;
            }
        }
    }

    // The entries of a row stand in any order: squares are added up first.
    void project(std::vector<double>& direction) const {
        const SparsePattern& pattern = problem_.jacobian_pattern();
        std::vector<std::vector<std::size_t>> entries(first_rows_.size());
        for (std::size_t k = 0; k < jacobian_.size(); ++k)
            entries[at(pattern.rows[k])].push_back(k);
        for (std::size_t r = 0; r < entries.size(); ++r) {
            double slope = 0;
            double square = 0;
            for (const std::size_t k : entries[r]) {
                slope += jacobian_[k] * direction[at(pattern.columns[k])];
                square += jacobian_[k] * jacobian_[k];
            }
            const bool is_blocked = (slope > 0 && !is_plus_infinite(bounds_.row_upper[r])) ||
                                    (slope < 0 && !is_minus_infinite(bounds_.row_lower[r]));
            if (!is_blocked || !(square > 0)) continue;
            for (const std::size_t k : entries[r])
                direction[at(pattern.columns[k])] -= slope / square * jacobian_[k];
        }
    }

    LocalProblem& problem_;
    const LocalBounds& bounds_;
    std::vector<double> x_;
    RayOptions options_;
    double first_value_ = 0;
    std::vector<double> first_rows_;
    std::vector<double> jacobian_;
    std::vector<double> gradient_;
};

}  // namespace

RayVerdict test_rays(LocalProblem& problem, std::span<const double> x,
                     std::span<const std::vector<double>> directions, const RayOptions& options) {
    RayVerdict verdict;
    RayTest test(problem, x, options);
    if (!test.begin()) return verdict;
    for (const std::vector<double>& direction : directions)
        if (direction.size() == x.size() && test.proves(direction, verdict)) return verdict;
    if (test.proves(test.descent(), verdict)) return verdict;
    if (x.size() > at(options.max_coordinates)) return verdict;
    std::vector<double> direction(x.size(), 0);
    for (std::size_t j = 0; j < x.size(); ++j) {
        for (const double sign : {1.0, -1.0}) {
            direction[j] = sign;
            if (test.proves(direction, verdict)) return verdict;
        }
        direction[j] = 0;
    }
    return verdict;
}

}  // namespace qlx::nlp
