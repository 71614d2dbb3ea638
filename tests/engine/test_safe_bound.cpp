// Safe bounds and proofs of infeasibility against optima found by exact enumeration of vertices.
#include <array>
#include <cmath>
#include <cstdio>
#include <optional>

#include "engine/check/enclosed_sum.hpp"
#include "engine/check/safe_bound.hpp"
#include "engine/lp/lp_kernel.hpp"
#include "tests/engine/dyadic.hpp"
#include "tests/engine/relaxation_support.hpp"
#include "tests/engine/support.hpp"

namespace {

using qlx::test::Dyadic;
using qlx::test::kInf;
using qlx::test::Random;

constexpr double kNever = std::numeric_limits<double>::infinity();

// A linear program of at most three columns; all bounds are finite.
struct SmallProgram {
    std::size_t cols = 0, rows = 0;
    std::vector<double> cost, lower, upper, row_lower, row_upper, matrix;  // the last by rows

    [[nodiscard]] double entry(std::size_t row, std::size_t col) const {
        return matrix[row * cols + col];
    }
};

double power(Random& random, double least, double most) {
    return std::pow(10.0, random.real(least, most));
}

SmallProgram random_program(Random& random) {
    SmallProgram out;
    out.cols = static_cast<std::size_t>(random.whole(1, 3));
    out.rows = static_cast<std::size_t>(random.whole(1, 4));
    const bool whole_numbers = random.chance(0.2);
    const auto number = [&](double scale) {
        const double value = random.real(-10, 10) * scale;
        return whole_numbers ? std::round(random.real(-9, 9)) : value;
    };
    std::vector<double> scale, point;
    for (std::size_t col = 0; col < out.cols; ++col) {
        scale.push_back(power(random, -3, 3));
        const double size = power(random, 0, 12);
        out.lower.push_back(random.chance(0.5) ? 0 : -power(random, 0, 12));
        out.upper.push_back(random.chance(0.2) ? power(random, 0, 2) : size);
        out.cost.push_back(number(scale.back() * power(random, -2, 2)));
        const double reach = std::min(out.upper.back() - out.lower.back(), power(random, 0, 6));
        point.push_back(out.lower.back() + reach * random.real(0, 1));
    }
    for (std::size_t row = 0; row < out.rows; ++row) {
        const double row_scale = power(random, -3, 3);
        double activity = 0;
        double size = 0;
        for (std::size_t col = 0; col < out.cols; ++col) {
            out.matrix.push_back(number(scale[col] * row_scale));
            activity += out.matrix.back() * point[col];
            size += std::fabs(out.matrix.back() * point[col]);
        }
        // Mostly met at the point, now and then not.
        const double slack = size * random.real(random.chance(0.2) ? -1 : 0, 0.5);
        const int kind = random.whole(0, 4);
        out.row_lower.push_back(kind <= 1 ? -kInf : activity - slack);
        out.row_upper.push_back(kind == 2 || kind == 3 ? kInf : activity + slack);
        if (kind == 4 && random.chance(0.5)) out.row_upper.back() = out.row_lower.back();
        if (out.row_lower.back() > out.row_upper.back())
            std::swap(out.row_lower.back(), out.row_upper.back());
    }
    return out;
}

template <class T>
using Square = std::array<std::array<T, 3>, 3>;

template <class T>
T determinant(const Square<T>& a, std::size_t size) {
    if (size == 1) return a[0][0];
    if (size == 2) return a[0][0] * a[1][1] - a[0][1] * a[1][0];
    return a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) -
           a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
           a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
}

// x = numerator / denominator, by Cramer's rule; the denominator is made positive.
template <class T>
struct Vertex {
    std::array<T, 3> numerator;
    T denominator;
};

// Finds the least objective over all vertices, which is the optimum as all columns have bounds.
class Enumeration {
  public:
    explicit Enumeration(const SmallProgram& program) : program_(program) {
        for (std::size_t col = 0; col < program.cols; ++col) {
            std::array<double, 3> unit{};
            unit[col] = 1;
            limits_.push_back({unit, program.lower[col], program.upper[col]});
        }
        for (std::size_t row = 0; row < program.rows; ++row) {
            std::array<double, 3> values{};
            for (std::size_t col = 0; col < program.cols; ++col)
                values[col] = program.entry(row, col);
            limits_.push_back({values, program.row_lower[row], program.row_upper[row]});
        }
        choose(0);
    }
    [[nodiscard]] bool is_feasible() const { return best_.has_value(); }
    [[nodiscard]] bool is_at_least(double bound) const {
        return bound == -kNever || !(best_->numerator[0] < Dyadic(bound) * best_->denominator);
    }
    // Rounded, for gaps.
    [[nodiscard]] double optimum() const { return rounded_; }

  private:
    struct Limit {
        std::array<double, 3> values;
        double lower, upper;
    };

    void choose(std::size_t first) {
        if (tight_.size() == program_.cols) return look();
        for (std::size_t k = first; k < limits_.size(); ++k) {
            for (const double side : {limits_[k].lower, limits_[k].upper}) {
                if (std::fabs(side) >= kInf) continue;
                tight_.push_back({k, side});
                choose(k + 1);
                tight_.pop_back();
                if (limits_[k].lower == limits_[k].upper) break;
            }
        }
    }

    template <class T>
    Vertex<T> vertex() const {
        Square<T> system{};
        for (std::size_t row = 0; row < tight_.size(); ++row)
            for (std::size_t col = 0; col < program_.cols; ++col)
                system[row][col] = T(limits_[tight_[row].first].values[col]);
        Vertex<T> out{{}, determinant(system, program_.cols)};
        for (std::size_t col = 0; col < program_.cols; ++col) {
            Square<T> changed = system;
            for (std::size_t row = 0; row < tight_.size(); ++row)
                changed[row][col] = T(tight_[row].second);
            out.numerator[col] = determinant(changed, program_.cols);
        }
        return out;
    }

    // Vertices that are off by far more than any rounding are left out, the rest is exact.
    [[nodiscard]] bool is_near() const {
        const auto rough = vertex<long double>();
        if (rough.denominator == 0) return true;
        for (const Limit& limit : limits_) {
            long double activity = 0;
            long double size = 0;
            for (std::size_t col = 0; col < program_.cols; ++col) {
                const long double term =
                    limit.values[col] * (rough.numerator[col] / rough.denominator);
                activity += term;
                size += std::fabs(term);
            }
            if (limit.lower > -kInf &&
                activity < limit.lower - 1e-6L * (size + std::fabs(limit.lower)))
                return false;
            if (limit.upper < kInf &&
                activity > limit.upper + 1e-6L * (size + std::fabs(limit.upper)))
                return false;
        }
        return true;
    }

    void look() {
        if (!is_near()) return;
        Vertex<Dyadic> exact = vertex<Dyadic>();
        if (exact.denominator.sign() == 0) return;
        if (exact.denominator.sign() < 0) {
            exact.denominator = -exact.denominator;
            for (Dyadic& value : exact.numerator) value = -value;
        }
        for (const Limit& limit : limits_) {
            Dyadic activity;
            for (std::size_t col = 0; col < program_.cols; ++col)
                activity = activity + Dyadic(limit.values[col]) * exact.numerator[col];
            if (limit.lower > -kInf && activity < Dyadic(limit.lower) * exact.denominator) return;
            if (limit.upper < kInf && Dyadic(limit.upper) * exact.denominator < activity) return;
        }
        Dyadic objective;
        for (std::size_t col = 0; col < program_.cols; ++col)
            objective = objective + Dyadic(program_.cost[col]) * exact.numerator[col];
        if (best_ && !(objective * best_->denominator < best_->numerator[0] * exact.denominator))
            return;
        best_ = Vertex<Dyadic>{{objective}, exact.denominator};
        const auto rough = vertex<long double>();
        long double value = 0;
        for (std::size_t col = 0; col < program_.cols; ++col)
            value += program_.cost[col] * (rough.numerator[col] / rough.denominator);
        rounded_ = static_cast<double>(value);
    }

    const SmallProgram& program_;
    std::vector<Limit> limits_;
    std::vector<std::pair<std::size_t, double>> tight_;
    std::optional<Vertex<Dyadic>> best_;  // its numerator's first: of the objective
    double rounded_ = 0;
};

// The kernel's duals at what it calls optimal, or its multipliers at what it calls infeasible.
struct KernelAnswer {
    qlx::KernelOutcome outcome;
    std::vector<double> multipliers;
};

KernelAnswer solve(const SmallProgram& program) {
    qlx::KernelModel model;
    model.num_cols = static_cast<int>(program.cols);
    model.num_rows = static_cast<int>(program.rows);
    model.cost = program.cost;
    model.lower = program.lower;
    model.upper = program.upper;
    model.row_lower = program.row_lower;
    model.row_upper = program.row_upper;
    model.start = {0};
    for (std::size_t col = 0; col < program.cols; ++col) {
        for (std::size_t row = 0; row < program.rows; ++row) {
            if (program.entry(row, col) == 0) continue;
            model.row.push_back(static_cast<int>(row));
            model.value.push_back(program.entry(row, col));
        }
        model.start.push_back(static_cast<int>(model.row.size()));
    }
    qlx::LpKernel kernel;
    EXPECT_TRUE(kernel.load(std::move(model), 1e-12));
    qlx::KernelOptions options;
    options.method = qlx::KernelMethod::kDualSimplex;
    options.presolve = false;
    qlx::test::NoEvents events;
    const qlx::KernelResult result = kernel.solve(options, events);
    return {result.outcome, result.outcome == qlx::KernelOutcome::kInfeasible ? kernel.dual_ray()
                                                                              : kernel.row_dual()};
}

// A program by rows, as the checks read it.
class Rows {
  public:
    explicit Rows(const SmallProgram& program) : program_(program) {
        for (std::size_t row = 0; row < program.rows; ++row) {
            for (std::size_t col = 0; col < program.cols; ++col)
                columns_.push_back(static_cast<int>(col));
            starts_.push_back(static_cast<std::int64_t>(columns_.size()));
        }
        block_ = {program.row_lower, program.row_upper, starts_, columns_, program.matrix};
    }
    [[nodiscard]] qlx::LinearView view() const {
        return {program_.cost, program_.lower, program_.upper, 0, {&block_, 1}};
    }

  private:
    const SmallProgram& program_;
    std::vector<std::int64_t> starts_ = {0};
    std::vector<int> columns_;
    qlx::RowsView block_;
};

std::vector<double> disturbed(const std::vector<double>& duals, Random& random) {
    std::vector<double> out = duals;
    const double size = power(random, -16, 0);
    for (double& dual : out) dual += size * random.real(-1, 1) * (random.chance(0.5) ? dual : 1);
    return out;
}

TEST(SafeBound, IsNeverAboveTheExactOptimumAndMostlyCloseToIt) {
    std::vector<double> gaps;
    int infeasible = 0;
    int proved = 0;
    for (unsigned seed = 1; seed <= 2000; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const SmallProgram program = random_program(random);
        const Enumeration exact(program);
        const Rows rows(program);
        const KernelAnswer answer = solve(program);
        std::vector<double> duals = answer.multipliers;
        duals.resize(program.rows, 0.0);
        if (!exact.is_feasible()) {
            if (answer.outcome != qlx::KernelOutcome::kInfeasible) continue;
            ++infeasible;
            proved +=
                qlx::safely_infeasible(rows.view(), duals) || qlx::has_impossible_row(rows.view());
            continue;
        }
        ASSERT_FALSE(qlx::has_impossible_row(rows.view()));
        const double bound = qlx::safe_bound(rows.view(), duals);
        for (int k = 0; k < 20; ++k) {
            ASSERT_TRUE(exact.is_at_least(qlx::safe_bound(rows.view(), duals)));
            ASSERT_FALSE(qlx::safely_infeasible(rows.view(), duals));
            duals = disturbed(answer.multipliers, random);
            duals.resize(program.rows, random.real(-1, 1));
        }
        if (answer.outcome == qlx::KernelOutcome::kOptimal)
            gaps.push_back((exact.optimum() - bound) / (1 + std::fabs(exact.optimum())));
    }
    std::sort(gaps.begin(), gaps.end());
    const auto quantile = [&](double share) {
        return gaps[static_cast<std::size_t>(share * static_cast<double>(gaps.size() - 1))];
    };
    std::printf(
        "%zu optima: relative gap median %.1e, 90%% %.1e, 99%% %.1e, worst %.1e; "
        "%d infeasible, %d proved\n",
        gaps.size(), quantile(0.5), quantile(0.9), quantile(0.99), gaps.back(), infeasible, proved);
    EXPECT_GT(gaps.size(), 1000U);
    EXPECT_LT(quantile(0.5), 1e-14);
    EXPECT_GT(proved, infeasible * 9 / 10);
}

TEST(SafeBound, SumsEncloseWhatExactArithmeticGives) {
    for (unsigned seed = 1; seed <= 2000; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        qlx::EnclosedSum sum;
        Dyadic exact;
        std::vector<std::pair<double, double>> terms;
        for (int k = random.whole(1, 30); k > 0; --k)
            terms.emplace_back(random.real(-1, 1) * power(random, -12, 12),
                               random.real(-1, 1) * power(random, -12, 12));
        // Cancels nearly all of it.
        const std::size_t count = terms.size();
        for (std::size_t k = 0; k < count; ++k)
            if (random.chance(0.9)) terms.emplace_back(-terms[k].first, terms[k].second);
        double size = 0;
        for (const auto& [a, b] : terms) {
            size += std::fabs(a * b);
            sum.add_product(a, b);
            exact = exact + Dyadic(a) * Dyadic(b);
        }
        ASSERT_FALSE(exact < Dyadic(sum.below()));
        ASSERT_FALSE(Dyadic(sum.above()) < exact);
        EXPECT_LE(sum.error(), 2e-16 * std::fabs(sum.value()) + 1e-28 * size);
    }
    qlx::EnclosedSum whole(0.5);
    whole.add_product(3, -7);
    EXPECT_EQ(whole.below(), -20.5);
    EXPECT_EQ(whole.above(), -20.5);
    whole.add_product(1e200, 1e200);
    EXPECT_EQ(whole.below(), -kNever);
    EXPECT_EQ(whole.above(), kNever);
}

// x >= 0 without upper bounds, y between -1 and 5: x0 + x1 - y <= 3, x2 - 2 x0 = 0.
TEST(SafeBound, TakesBoundsThatRowsImplyWhereAColumnHasNone) {
    const std::vector<double> cost = {-1, 0, 0, -0.1};
    const std::vector<double> lower = {0, 0, -1, -kInf};
    const std::vector<double> upper = {kInf, kInf, 5, kInf};
    const std::vector<double> row_lower = {-kInf, 0};
    const std::vector<double> row_upper = {3, 0};
    const std::vector<std::int64_t> starts = {0, 3, 5};
    const std::vector<int> columns = {0, 1, 2, 3, 0};
    const std::vector<double> values = {1, 1, -1, 1, -2};
    const qlx::RowsView block{row_lower, row_upper, starts, columns, values};
    qlx::LinearView view{cost, lower, upper, 0, {&block, 1}};
    const std::vector<double> duals = {-1.2 + 1e-9, -0.1 - 1e-9};
    EXPECT_EQ(qlx::safe_bound(view, duals), -kNever);
    std::vector<double> implied_lower = lower;
    std::vector<double> implied_upper = upper;
    qlx::imply_bounds(view, implied_lower, implied_upper);
    const double wanted_upper[] = {8, 8, 5, 16};
    const double wanted_lower[] = {0, 0, -1, 0};
    for (std::size_t col = 0; col < 4; ++col) {
        EXPECT_NEAR(implied_upper[col], wanted_upper[col], 1e-13);
        EXPECT_NEAR(implied_lower[col], wanted_lower[col], 1e-13);
        EXPECT_GE(implied_upper[col], wanted_upper[col]);
        EXPECT_LE(implied_lower[col], wanted_lower[col]);
    }
    view.lower = implied_lower;
    view.upper = implied_upper;
    EXPECT_NEAR(qlx::safe_bound(view, duals), -9.6, 1e-6);
    EXPECT_LE(qlx::safe_bound(view, duals), -9.6);
    EXPECT_FALSE(qlx::safely_infeasible(view, duals));
}

}  // namespace
