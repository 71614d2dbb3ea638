// A bounded primal simplex method in quadruple precision.
#include "engine/solve/dense_simplex.hpp"

#include <algorithm>
#include <cmath>

#include "engine/check/equilibration.hpp"

namespace qlx {

namespace {

#ifdef __SIZEOF_FLOAT128__
__extension__ typedef __float128 Real;
#else
using Real = long double;
#endif

constexpr double kUnit = 1e-16;     // what doubles may be off from the numbers that they stand for
constexpr double kCertain = 4;      // errors that a number must exceed to be one
constexpr double kNoPivot = 1e-24;  // of the largest entry of a column

Real size(Real value) {
    return value < 0 ? -value : value;
}

// Columns 0 .. n - 1 are the program's, n + i is the activity of row i: A x - r = 0. The tableau
// has what each basic one loses when a column rises by 1.
class Tableau {
  public:
    explicit Tableau(const ProgramView& program)
        : columns_(at(program.matrix.num_columns)), rows_(at(program.matrix.num_rows)) {
        scale_ = equilibrate(program.matrix);
        const std::size_t all = columns_ + rows_;
        entries_.assign(rows_, std::vector<Real>(all, Real{0}));
        errors_.assign(rows_, std::vector<double>(all, 0.0));
        program.matrix.for_each_entry([&](int row, int column, double value) {
            const double scaled = value * scale_.rows[at(row)] * scale_.columns[at(column)];
            entries_[at(row)][at(column)] = -Real{scaled};
            errors_[at(row)][at(column)] = kUnit * std::fabs(scaled);
        });
        for (std::size_t column = 0; column < all; ++column) {
            const bool is_row = column >= columns_;
            const std::size_t row = is_row ? column - columns_ : 0;
            const double unit = is_row ? 1 / scale_.rows[row] : scale_.columns[column];
            add(is_row ? program.row_lower[row] : program.lower[column],
                is_row ? program.row_upper[row] : program.upper[column],
                is_row ? 0 : program.cost[column], unit);
        }
        for (std::size_t row = 0; row < rows_; ++row) {
            basic_.push_back(columns_ + row);
            place_[columns_ + row] = row;
            entries_[row][columns_ + row] = 1;
            value_[columns_ + row] = 0;
            for (std::size_t column = 0; column < columns_; ++column)
                value_[columns_ + row] -= entries_[row][column] * value_[column];
        }
    }

    DenseAnswer run(const StopRule& stop_rule) {
        const std::size_t patience = 10 * (columns_ + rows_);
        for (std::size_t step = 0; step < 20 * patience && !stop_rule.stop(); ++step) {
            price();
            const std::size_t column = entering(step > patience);
            if (column == kNone) return ended();
            if (!move(column, step > patience)) return unbounded(column);
        }
        return {};
    }

  private:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    void add(double lower, double upper, double cost, double unit) {
        const bool has_lower = is_finite_side(lower);
        const bool has_upper = is_finite_side(upper);
        has_lower_.push_back(has_lower);
        has_upper_.push_back(has_upper);
        lower_.push_back(has_lower ? Real{lower} / unit : Real{0});
        upper_.push_back(has_upper ? Real{upper} / unit : Real{0});
        cost_.push_back(Real{cost} * unit);
        unit_.push_back(unit);
        value_.push_back(has_lower ? lower_.back() : upper_.back());
        place_.push_back(kNone);
    }

    // What errors of the data make of a basic one's value.
    [[nodiscard]] double value_error(std::size_t row) const {
        double error = 0;
        for (std::size_t column = 0; column < cost_.size(); ++column) {
            if (place_[column] != kNone) continue;
            const double weight = std::fabs(static_cast<double>(entries_[row][column]));
            const double value = std::fabs(static_cast<double>(value_[column]));
            error += (errors_[row][column] + kUnit * weight) * value;
        }
        return error;
    }

    // -1 below, 1 above, 0 within the bounds, as far as the data tell.
    [[nodiscard]] int side_of(std::size_t row) const {
        const std::size_t column = basic_[row];
        const Real below = lower_[column] - value_[column];
        const Real above = value_[column] - upper_[column];
        const bool is_below = has_lower_[column] && below > 0;
        const bool is_above = has_upper_[column] && above > 0;
        if (!is_below && !is_above) return 0;
        const Real bound = is_below ? lower_[column] : upper_[column];
        const Real error = value_error(row) + kUnit * size(bound);
        if ((is_below ? below : above) <= kCertain * error) return 0;
        return is_below ? -1 : 1;
    }

    // Reduced costs, of the violations while there are any.
    void price() {
        sides_.assign(rows_, 0);
        is_feasible_ = true;
        for (std::size_t row = 0; row < rows_; ++row) {
            sides_[row] = side_of(row);
            is_feasible_ = is_feasible_ && sides_[row] == 0;
        }
        reduced_.assign(cost_.size(), Real{0});
        for (std::size_t column = 0; column < cost_.size(); ++column) {
            if (place_[column] != kNone) continue;
            Real sum = is_feasible_ ? cost_[column] : Real{0};
            Real error = kUnit * size(sum);
            for (std::size_t row = 0; row < rows_; ++row) {
                const Real price = is_feasible_ ? cost_[basic_[row]] : Real(sides_[row]);
                sum -= price * entries_[row][column];
                error += size(price) * (errors_[row][column] + kUnit * size(entries_[row][column]));
            }
            reduced_[column] = size(sum) > kCertain * error ? sum : Real{0};
        }
    }

    // The column whose movement lets the cost fall most, or the first that lets it fall.
    [[nodiscard]] std::size_t entering(bool first) const {
        std::size_t best = kNone;
        for (std::size_t column = 0; column < cost_.size(); ++column) {
            const Real reduced = reduced_[column];
            if (reduced == 0 ||
                (has_lower_[column] && has_upper_[column] && !(lower_[column] < upper_[column])))
                continue;
            if (reduced > 0 ? has_lower_[column] && value_[column] <= lower_[column]
                            : has_upper_[column] && value_[column] >= upper_[column])
                continue;
            if (best == kNone || (!first && size(reduced) > size(reduced_[best]))) best = column;
        }
        return best;
    }

    // To the first bound that something meets. False when nothing does.
    bool move(std::size_t column, bool first) {
        const int sign = reduced_[column] > 0 ? -1 : 1;
        Real largest = 0;
        for (std::size_t row = 0; row < rows_; ++row)
            largest = std::max(largest, size(entries_[row][column]));
        bool is_bounded = sign > 0 ? has_upper_[column] : has_lower_[column];
        Real step = !is_bounded ? Real{0}
                    : sign > 0  ? upper_[column] - value_[column]
                                : value_[column] - lower_[column];
        std::size_t leaving = kNone;
        Real goal = 0;
        for (std::size_t row = 0; row < rows_; ++row) {
            const Real rate = -sign * entries_[row][column];  // of the basic one
            if (size(rate) <= kNoPivot * largest) continue;
            const std::size_t one = basic_[row];
            // One that is beyond a bound meets that bound on its way back, and none on its way on.
            const bool meets_lower =
                rate < 0 ? sides_[row] >= 0 && has_lower_[one] : sides_[row] < 0;
            const bool meets_upper =
                rate > 0 ? sides_[row] <= 0 && has_upper_[one] : sides_[row] > 0;
            if (rate < 0 ? !(sides_[row] > 0 || meets_lower) : !(sides_[row] < 0 || meets_upper))
                continue;
            const Real bound = rate < 0 ? (sides_[row] > 0 ? upper_[one] : lower_[one])
                                        : (sides_[row] < 0 ? lower_[one] : upper_[one]);
            const Real length = std::max(Real{0}, (bound - value_[one]) / rate);
            const bool is_tie = is_bounded && leaving != kNone && length == step;
            const bool is_better = is_tie && (first ? one < basic_[leaving]
                                                    : size(rate) > size(entries_[leaving][column]));
            if (is_bounded && !(length < step) && !is_better) continue;
            is_bounded = true;
            step = length;
            leaving = row;
            goal = bound;
        }
        if (!is_bounded) return false;
        for (std::size_t row = 0; row < rows_; ++row)
            value_[basic_[row]] -= sign * step * entries_[row][column];
        value_[column] += sign * step;
        if (leaving == kNone) {
            value_[column] = sign > 0 ? upper_[column] : lower_[column];
            return true;
        }
        value_[basic_[leaving]] = goal;
        pivot(leaving, column);
        return true;
    }

    // Entries that may be 0 by the errors of the data are.
    void pivot(std::size_t row, std::size_t column) {
        std::vector<Real>& line = entries_[row];
        std::vector<double>& line_error = errors_[row];
        const Real pivot = line[column];
        const double pivot_size = static_cast<double>(size(pivot));
        const double pivot_error = line_error[column];
        for (std::size_t k = 0; k < line.size(); ++k) {
            line[k] /= pivot;
            const double quotient = static_cast<double>(size(line[k]));
            line_error[k] = (line_error[k] + quotient * pivot_error) / pivot_size;
        }
        line[column] = 1;
        line_error[column] = 0;
        for (std::size_t other = 0; other < rows_; ++other) {
            const Real factor = entries_[other][column];
            if (other == row || factor == 0) continue;
            const double factor_size = static_cast<double>(size(factor));
            const double factor_error = errors_[other][column];
            for (std::size_t k = 0; k < line.size(); ++k) {
                if (line[k] == 0) continue;
                Real& entry = entries_[other][k];
                double& error = errors_[other][k];
                entry -= factor * line[k];
                error +=
                    factor_size * line_error[k] + factor_error * static_cast<double>(size(line[k]));
                if (size(entry) <= kCertain * error) entry = error = 0;
            }
            entries_[other][column] = errors_[other][column] = 0;
        }
        place_[basic_[row]] = kNone;
        basic_[row] = column;
        place_[column] = row;
    }

    // The duals are the reduced costs of the activities.
    [[nodiscard]] DenseAnswer ended() const {
        DenseAnswer answer = point();
        answer.status =
            is_feasible_ ? DenseAnswer::Status::kOptimal : DenseAnswer::Status::kInfeasible;
        for (std::size_t row = 0; row < rows_; ++row)
            answer.duals.push_back(
                static_cast<double>(reduced_[columns_ + row] * scale_.rows[row]));
        return answer;
    }

    [[nodiscard]] DenseAnswer unbounded(std::size_t column) const {
        DenseAnswer answer = point();
        if (!is_feasible_) return answer;
        answer.status = DenseAnswer::Status::kUnbounded;
        const int sign = reduced_[column] > 0 ? -1 : 1;
        answer.ray.assign(columns_, 0.0);
        if (column < columns_) answer.ray[column] = sign * unit_[column];
        for (std::size_t row = 0; row < rows_; ++row)
            if (basic_[row] < columns_)
                answer.ray[basic_[row]] =
                    static_cast<double>(-sign * entries_[row][column] * unit_[basic_[row]]);
        return answer;
    }

    [[nodiscard]] DenseAnswer point() const {
        DenseAnswer answer;
        for (std::size_t column = 0; column < columns_; ++column)
            answer.x.push_back(static_cast<double>(value_[column] * unit_[column]));
        return answer;
    }

    std::size_t columns_, rows_;
    Scaling scale_;
    std::vector<std::vector<Real>> entries_;   // by row
    std::vector<std::vector<double>> errors_;  // theirs, from errors of the data
    std::vector<Real> lower_, upper_, cost_, value_, reduced_;
    std::vector<bool> has_lower_, has_upper_;
    std::vector<double> unit_;
    std::vector<std::size_t> basic_;  // by row
    std::vector<std::size_t> place_;  // the row of a basic column
    std::vector<int> sides_;          // of the basic ones
    bool is_feasible_ = false;
};

}  // namespace

bool fits_dense_simplex(const ProgramView& program) noexcept {
    constexpr int kMostEntries = 10'000;
    const int rows = program.matrix.num_rows;
    const int columns = program.matrix.num_columns;
    return rows <= kMostEntries && columns <= kMostEntries &&
           rows * (rows + columns) <= kMostEntries;
}

DenseAnswer solve_dense(const ProgramView& program, const StopRule& stop_rule) {
    return Tableau(program).run(stop_rule);
}

}  // namespace qlx
