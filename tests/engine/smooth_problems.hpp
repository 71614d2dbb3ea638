// Smooth local problems stated as C++ functions, with exact derivatives by hyper-dual numbers.
#pragma once

#include <cmath>
#include <functional>
#include <limits>
#include <span>
#include <vector>

#include "engine/nlp/local_solver.hpp"

namespace qlx::nlp::test {

// a + b e1 + c e2 + d e1 e2 with e1^2 = e2^2 = 0 (Fike, Alonso 2011): d is a second derivative.
struct HyperDual {
    double a = 0, b = 0, c = 0, d = 0;
    HyperDual() = default;
    HyperDual(double value) : a(value) {}  // NOLINT: constants are written plainly
    HyperDual(double a, double b, double c, double d) : a(a), b(b), c(c), d(d) {}

    // Of a function with this value and these derivatives at x.
    static HyperDual chain(const HyperDual& x, double f, double slope, double bend) {
        return {f, slope * x.b, slope * x.c, slope * x.d + bend * x.b * x.c};
    }
};
inline HyperDual operator+(const HyperDual& x, const HyperDual& y) {
    return {x.a + y.a, x.b + y.b, x.c + y.c, x.d + y.d};
}
inline HyperDual operator-(const HyperDual& x, const HyperDual& y) {
    return {x.a - y.a, x.b - y.b, x.c - y.c, x.d - y.d};
}
inline HyperDual operator-(const HyperDual& x) {
    return HyperDual(0) - x;
}
inline HyperDual operator*(const HyperDual& x, const HyperDual& y) {
    return {x.a * y.a, x.a * y.b + x.b * y.a, x.a * y.c + x.c * y.a,
            x.a * y.d + x.b * y.c + x.c * y.b + x.d * y.a};
}
inline HyperDual power(const HyperDual& x, double p) {
    return HyperDual::chain(x, std::pow(x.a, p), p * std::pow(x.a, p - 1),
                            p * (p - 1) * std::pow(x.a, p - 2));
}
inline HyperDual operator/(const HyperDual& x, const HyperDual& y) {
    return x * power(y, -1);
}
inline HyperDual square(const HyperDual& x) {
    return x * x;
}
inline HyperDual exp(const HyperDual& x) {
    return HyperDual::chain(x, std::exp(x.a), std::exp(x.a), std::exp(x.a));
}
inline HyperDual log(const HyperDual& x) {
    return HyperDual::chain(x, std::log(x.a), 1 / x.a, -1 / (x.a * x.a));
}
inline HyperDual sqrt(const HyperDual& x) {
    return power(x, 0.5);
}
inline HyperDual sin(const HyperDual& x) {
    return HyperDual::chain(x, std::sin(x.a), std::cos(x.a), -std::sin(x.a));
}
inline HyperDual abs(const HyperDual& x) {
    return x.a < 0 ? -x : x;
}

using Point = std::span<const HyperDual>;
using Function = std::function<HyperDual(Point)>;

constexpr double kInf = 1e20;

struct Row {
    double lower;
    Function value;
    double upper;
};

struct SmoothModel {
    const char* name;
    std::vector<double> lower, upper, start;
    Function objective;
    std::vector<Row> rows;
    double optimum = 0;
};

// All derivatives are dense. Values that are not finite count as undefined.
class SmoothProblem : public LocalProblem {
  public:
    explicit SmoothProblem(SmoothModel model) : model_(std::move(model)), point_(size()) {
        bounds_.column_lower = model_.lower;
        bounds_.column_upper = model_.upper;
        for (int i = 0; const Row& row : model_.rows) {
            bounds_.row_lower.push_back(row.lower);
            bounds_.row_upper.push_back(row.upper);
            for (std::size_t j = 0; j < size(); ++j) {
                jacobian_.rows.push_back(i);
                jacobian_.columns.push_back(static_cast<int>(j));
            }
            ++i;
        }
        for (std::size_t i = 0; i < size(); ++i) {
            for (std::size_t j = 0; j <= i; ++j) {
                hessian_.rows.push_back(static_cast<int>(i));
                hessian_.columns.push_back(static_cast<int>(j));
            }
        }
    }

    const SmoothModel& model() const { return model_; }
    const LocalBounds& bounds() const override { return bounds_; }
    const SparsePattern& jacobian_pattern() const override { return jacobian_; }
    const SparsePattern& hessian_pattern() const override { return hessian_; }
    std::vector<double> start() const override { return model_.start; }

    bool objective(std::span<const double> x, double& value) override {
        load(x);
        value = model_.objective(point_).a;
        return std::isfinite(value);
    }
    bool rows(std::span<const double> x, std::span<double> out) override {
        load(x);
        for (std::size_t i = 0; i < model_.rows.size(); ++i)
            out[i] = model_.rows[i].value(point_).a;
        return all_finite(out);
    }
    bool gradient(std::span<const double> x, std::span<double> out) override {
        load(x);
        differentiate(model_.objective, out);
        return all_finite(out);
    }
    bool jacobian(std::span<const double> x, std::span<double> out) override {
        load(x);
        for (std::size_t i = 0; i < model_.rows.size(); ++i)
            differentiate(model_.rows[i].value, out.subspan(i * size(), size()));
        return all_finite(out);
    }
    bool hessian(std::span<const double> x, double factor, std::span<const double> multipliers,
                 std::span<double> out) override {
        load(x);
        std::size_t k = 0;
        for (std::size_t i = 0; i < size(); ++i) {
            for (std::size_t j = 0; j <= i; ++j, ++k) {
                point_[i].b = 1;
                point_[j].c = 1;
                out[k] = factor == 0 ? 0 : factor * model_.objective(point_).d;
                for (std::size_t r = 0; r < model_.rows.size(); ++r)
                    out[k] += multipliers[r] * model_.rows[r].value(point_).d;
                point_[i].b = 0;
                point_[j].c = 0;
            }
        }
        return all_finite(out);
    }

  private:
    std::size_t size() const { return model_.start.size(); }
    void load(std::span<const double> x) {
        for (std::size_t j = 0; j < size(); ++j) point_[j] = HyperDual(x[j]);
    }
    void differentiate(const Function& function, std::span<double> out) {
        for (std::size_t j = 0; j < size(); ++j) {
            point_[j].b = 1;
            out[j] = function(point_).b;
            point_[j].b = 0;
        }
    }
    static bool all_finite(std::span<const double> values) {
        for (double v : values)
            if (!std::isfinite(v)) return false;
        return true;
    }

    SmoothModel model_;
    LocalBounds bounds_;
    SparsePattern jacobian_;
    SparsePattern hessian_;
    std::vector<HyperDual> point_;
};

// Largest violation of rows and bounds at x.
inline double violation_of(SmoothProblem& problem, std::span<const double> x) {
    const LocalBounds& bounds = problem.bounds();
    std::vector<double> rows(bounds.row_lower.size());
    problem.rows(x, rows);
    double worst = 0;
    for (std::size_t i = 0; i < rows.size(); ++i)
        worst = std::max({worst, bounds.row_lower[i] - rows[i], rows[i] - bounds.row_upper[i]});
    for (std::size_t j = 0; j < x.size(); ++j)
        worst = std::max({worst, bounds.column_lower[j] - x[j], x[j] - bounds.column_upper[j]});
    return worst;
}

// Largest error of stationarity, signs and complementarity of an answer's duals, by the definition
// in local_solver.hpp and nothing of the solver's.
inline double condition_error(SmoothProblem& problem, const LocalAnswer& answer) {
    const LocalBounds& bounds = problem.bounds();
    const std::size_t n = answer.x.size(), m = bounds.row_lower.size();
    std::vector<double> rows(m), gradient(n), jacobian(n * m);
    problem.rows(answer.x, rows);
    problem.gradient(answer.x, gradient);
    problem.jacobian(answer.x, jacobian);
    double worst = 0;
    const auto slack_times = [&](double dual, double slack) {
        worst = std::max(worst, dual < 0 ? -dual : std::min(dual, std::max(slack, 0.0)));
    };
    for (std::size_t j = 0; j < n; ++j) {
        double rest = gradient[j] - answer.lower_dual[j] + answer.upper_dual[j];
        for (std::size_t i = 0; i < m; ++i) rest -= answer.row_dual[i] * jacobian[i * n + j];
        worst = std::max(worst, std::abs(rest));
        slack_times(answer.lower_dual[j], answer.x[j] - bounds.column_lower[j]);
        slack_times(answer.upper_dual[j], bounds.column_upper[j] - answer.x[j]);
    }
    for (std::size_t i = 0; i < m; ++i) {
        slack_times(std::max(answer.row_dual[i], 0.0), rows[i] - bounds.row_lower[i]);
        slack_times(std::max(-answer.row_dual[i], 0.0), bounds.row_upper[i] - rows[i]);
    }
    return worst;
}

}  // namespace qlx::nlp::test
