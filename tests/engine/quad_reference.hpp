// Small convex programs decided without the engine: by all active sets, in extended precision.
#pragma once

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "engine/base/index.hpp"
#include "engine/quad/convex_program.hpp"

namespace qlx::quad::test {

using Real = long double;
using Reals = std::vector<Real>;

// A linearly constrained program with dense rows; fixed columns are constants of it.
class Reference {
  public:
    explicit Reference(const ConvexProgram& p) : p_(p), n_(p.cost.size()) {
        q_.assign(n_, Reals(n_, 0));
        for (const Triplet& e : p.hessian) {
            q_[at(e.row)][at(e.column)] += e.value;
            if (e.row != e.column) q_[at(e.column)][at(e.row)] += e.value;
        }
        for (std::size_t i = 0; i < p.row_lower.size(); ++i)
            add_condition(Reals(n_, 0), p.row_lower[i], p.row_upper[i]);
        for (const Triplet& e : p.rows) rows_[at(e.row)][at(e.column)] += e.value;
        for (std::size_t j = 0; j < n_; ++j) {
            add_condition(Reals(n_, 0), p.column_lower[j], p.column_upper[j]);
            rows_.back()[j] = 1;
        }
    }

    // The largest violation over max(1, |side|, the largest term).
    Real violation(const Reals& x) const {
        Real worst = 0;
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            Real value = 0;
            Real size = 1;
            for (std::size_t j = 0; j < n_; ++j) {
                value += rows_[i][j] * x[j];
                size = std::max(size, std::abs(rows_[i][j] * x[j]));
            }
            worst = std::max({worst, (lower_[i] - value) / size, (value - upper_[i]) / size});
        }
        return worst;
    }

    Real objective(const Reals& x) const {
        Real sum = p_.constant;
        for (std::size_t j = 0; j < n_; ++j) {
            sum += p_.cost[j] * x[j];
            for (std::size_t k = 0; k < n_; ++k) sum += x[j] * q_[j][k] * x[k] / 2;
        }
        return sum;
    }

    // How large the terms are that moving columns add to the objective, and the rest's rounding.
    Real objective_size(const Reals& x) const {
        Real size = 1;
        for (std::size_t j = 0; j < n_; ++j) {
            Real slope = p_.cost[j];
            Real all = std::abs(slope * x[j]);
            for (std::size_t k = 0; k < n_; ++k) {
                all += std::abs(x[j] * q_[j][k] * x[k]);
                if (is_fixed(k)) {
                    slope += q_[j][k] * x[k];
                } else if (!is_fixed(j)) {
                    size += std::abs(x[j] * q_[j][k] * x[k]) / 2;
                }
            }
            if (!is_fixed(j)) size += std::abs(slope * x[j]);
            size += 1e-9L * all;
        }
        return size;
    }

    // The optimum; none where no active set has a stationary feasible point.
    std::optional<Real> optimum() const {
        std::optional<Real> best;
        std::vector<int> state(rows_.size(), 0);
        do {
            if (std::optional<Reals> x = stationary_point(state)) {
                x->resize(n_);
                const Real value = objective(*x);
                if (violation(*x) <= 1e-12L && (!best || value < *best)) best = value;
            }
        } while (advance(state));
        return best;
    }

    // Whether the direction meets all conditions forever and the objective falls along it.
    bool is_improving_ray(const std::vector<double>& ray) const {
        if (ray.size() != n_) return false;
        Real slope = 0;
        for (std::size_t j = 0; j < n_; ++j) slope += Real{p_.cost[j]} * ray[j];
        if (!(slope < 0)) return false;
        const auto moves = [&](const Reals& row, int sign) {
            Real sum = 0;
            Real size = 0;
            for (std::size_t j = 0; j < n_; ++j) {
                sum += sign * row[j] * ray[j];
                size += std::abs(row[j] * ray[j]);
            }
            return sum > 1e-9L * size;
        };
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            if (is_finite_upper(double(upper_[i])) && moves(rows_[i], 1)) return false;
            if (is_finite_lower(double(lower_[i])) && moves(rows_[i], -1)) return false;
        }
        for (const Reals& row : q_)
            if (moves(row, 1) || moves(row, -1)) return false;
        return true;
    }

  private:
    bool is_fixed(std::size_t j) const { return p_.column_lower[j] == p_.column_upper[j]; }
    void add_condition(Reals row, double lower, double upper) {
        rows_.push_back(std::move(row));
        lower_.push_back(lower);
        upper_.push_back(upper);
    }
    // 0 loose, 1 at the lower side, 2 at the upper one; equations are never loose.
    bool admits(std::size_t i, int state) const {
        if (lower_[i] == upper_[i]) return state == 1;
        if (state == 1) return is_finite_lower(double(lower_[i]));
        return state == 0 || is_finite_upper(double(upper_[i]));
    }
    bool advance(std::vector<int>& state) const {
        for (std::size_t i = 0; i < state.size(); ++i) {
            while (++state[i] <= 2)
                if (admits(i, state[i])) return true;
            state[i] = lower_[i] == upper_[i] ? 1 : 0;
        }
        return false;
    }

    std::optional<Reals> stationary_point(const std::vector<int>& state) const {
        std::vector<std::size_t> active;
        for (std::size_t i = 0; i < rows_.size(); ++i)
            if (state[i] != 0 || lower_[i] == upper_[i]) active.push_back(i);
        const std::size_t order = n_ + active.size();
        std::vector<Reals> system(order, Reals(order + 1, 0));
        for (std::size_t j = 0; j < n_; ++j) {
            std::copy(q_[j].begin(), q_[j].end(), system[j].begin());
            system[j][order] = -p_.cost[j];
        }
        for (std::size_t k = 0; k < active.size(); ++k) {
            const std::size_t i = active[k];
            for (std::size_t j = 0; j < n_; ++j)
                system[n_ + k][j] = system[j][n_ + k] = rows_[i][j];
            system[n_ + k][order] = state[i] == 2 ? upper_[i] : lower_[i];
        }
        const std::optional<Reals> solution = solve(std::move(system));
        // Multipliers that pull instead of push are no optimum's.
        for (std::size_t k = 0; solution && k < active.size(); ++k) {
            const std::size_t i = active[k];
            if (lower_[i] == upper_[i]) continue;
            const Real pull = (*solution)[n_ + k] * (state[i] == 2 ? -1 : 1);
            if (pull > 1e-12L * multiplier_size(*solution, i)) return std::nullopt;
        }
        return solution;
    }
    Real multiplier_size(const Reals& solution, std::size_t i) const {
        Real entry = 0;
        for (const Real value : rows_[i]) entry = std::max(entry, std::abs(value));
        Real slope = 0;
        for (std::size_t j = 0; j < n_; ++j) {
            slope = std::max(slope, std::abs(Real{p_.cost[j]}));
            for (std::size_t k = 0; k < n_; ++k)
                slope = std::max(slope, std::abs(q_[j][k] * solution[k]));
        }
        return entry > 0 ? slope / entry : slope;
    }

    // Gauss with full pivots on rows of equal size; dependent equations have to agree.
    std::optional<Reals> solve(std::vector<Reals> a) const {
        const std::size_t order = a.size();
        for (Reals& row : a) {
            Real size = 0;
            for (std::size_t c = 0; c < order; ++c) size = std::max(size, std::abs(row[c]));
            if (size > 0)
                for (Real& value : row) value /= size;
        }
        std::vector<std::size_t> column_of(order);
        for (std::size_t c = 0; c < order; ++c) column_of[c] = c;
        std::size_t rank = 0;
        for (; rank < order; ++rank) {
            std::size_t r = rank;
            std::size_t c = rank;
            for (std::size_t i = rank; i < order; ++i)
                for (std::size_t j = rank; j < order; ++j)
                    if (std::abs(a[i][j]) > std::abs(a[r][c])) r = i, c = j;
            if (std::abs(a[r][c]) < 1e-13L) break;
            std::swap(a[r], a[rank]);
            for (Reals& row : a) std::swap(row[c], row[rank]);
            std::swap(column_of[c], column_of[rank]);
            for (std::size_t i = 0; i < order; ++i) {
                if (i == rank || a[i][rank] == 0) continue;
                const Real factor = a[i][rank] / a[rank][rank];
                for (std::size_t j = rank; j <= order; ++j) a[i][j] -= factor * a[rank][j];
            }
        }
        Real largest = 1;
        for (std::size_t i = 0; i < rank; ++i) largest = std::max(largest, std::abs(a[i][order]));
        for (std::size_t i = rank; i < order; ++i)
            if (std::abs(a[i][order]) > 1e-12L * largest) return std::nullopt;
        Reals x(order, 0);
        for (std::size_t i = 0; i < rank; ++i) x[column_of[i]] = a[i][order] / a[i][i];
        return x;
    }

    const ConvexProgram& p_;
    std::size_t n_;
    std::vector<Reals> q_;
    std::vector<Reals> rows_;
    Reals lower_;
    Reals upper_;
};

}  // namespace qlx::quad::test
