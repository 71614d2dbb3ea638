// Scalable problems of the literature (COPS 3, CUTE) as statements, to measure tapes with.
#pragma once

#include <cmath>
#include <functional>
#include <numbers>

#include "tests/engine/tape_support.hpp"

namespace qlx::bench {

using test::column;
using test::number;
using test::Tree;

inline Tree square(Tree a) {
    return test::power(std::move(a), number(2));
}
inline Tree root(Tree a) {
    return test::apply(Operation::kSqrt, {std::move(a)});
}

// One term after the other, as operators write a sum.
class Sum {
  public:
    void add(Tree term) {
        tree_ = empty_ ? std::move(term) : std::move(tree_) + std::move(term), empty_ = false;
    }
    Tree take() { return std::move(tree_); }

  private:
    Tree tree_ = number(0);
    bool empty_ = true;
};

struct Problem {
    explicit Problem(int num_columns, int num_rows = 0)
        : statement(num_columns, num_rows), start(at(num_columns), 0.0) {}

    test::TestStatement statement;
    std::vector<double> start;
};

inline Problem rosenbrock(int n) {
    Problem problem(n);
    Sum sum;
    for (int i = 0; i + 1 < n; ++i) {
        sum.add(number(100) * square(column(i + 1) - square(column(i))));
        sum.add(square(number(1) - column(i)));
    }
    problem.statement.add(nlp::kObjectiveRow, sum.take());
    return problem;
}

inline Problem elec(int n) {
    Problem problem(3 * n, n);
    Sum sum;
    const auto at_axis = [n](int axis, int i) { return column(axis * n + i); };
    for (int i = 0; i < n; ++i) {
        for (int j = i + 1; j < n; ++j)
            sum.add(number(1) / root(square(at_axis(0, i) - at_axis(0, j)) +
                                     square(at_axis(1, i) - at_axis(1, j)) +
                                     square(at_axis(2, i) - at_axis(2, j))));
        problem.statement.add(
            i, square(at_axis(0, i)) + square(at_axis(1, i)) + square(at_axis(2, i)));
        const double z = 1 - (2.0 * i + 1) / n;
        const double phi = (i + 1) * std::numbers::pi * (3 - std::sqrt(5.0));
        const double r = std::sqrt(1 - z * z);
        problem.start[at(i)] = r * std::cos(phi);
        problem.start[at(n + i)] = r * std::sin(phi);
        problem.start[at(2 * n + i)] = z;
    }
    problem.statement.add(nlp::kObjectiveRow, sum.take());
    return problem;
}

inline Problem chain(int n) {
    Problem problem(4 * (n + 1), 3 * n + 5);
    const auto col = [n](int which, int k) { return column(which * (n + 1) + k); };
    enum { u, x, e, s };
    const double half = 0.5 / n;
    const auto length = [&](int k) { return root(number(1) + square(col(u, k))); };
    int row = 0;
    for (int j = 0; j < n; ++j) {
        const int k = j + 1;
        auto& to = problem.statement;
        to.add(row++, col(x, k) - col(x, j) - number(half) * (col(u, j) + col(u, k)));
        to.add(row++, col(e, k) - col(e, j) -
                          number(half) * (col(x, j) * length(j) + col(x, k) * length(k)));
        to.add(row++, col(s, k) - col(s, j) - number(half) * (length(j) + length(k)));
    }
    for (const Tree& end : {col(x, 0), col(x, n), col(e, 0), col(s, 0), col(s, n)})
        problem.statement.add(row++, end);
    problem.statement.add(nlp::kObjectiveRow, col(e, n));
    for (int k = 0; k <= n; ++k) {
        const double t = static_cast<double>(k) / n;
        problem.start[at(k)] = problem.start[at(3 * (n + 1) + k)] = 8 * (t - 0.25);
        problem.start[at(n + 1 + k)] = 8 * t * (0.5 * t - 0.25) + 1;
        problem.start[at(2 * (n + 1) + k)] = 8 * (t - 0.25) * problem.start[at(n + 1 + k)];
    }
    return problem;
}

inline Problem catmix(int n) {
    // By step: 3 u, then for both states v and 3 each of w, p, d.
    Problem problem(23 * n + 2, 20 * n + 2);
    constexpr double kRho[] = {0.11270166537926, 0.5, 0.88729833462074};
    constexpr double kFactorial[] = {1, 1, 2, 6};
    const double h = 1.0 / n;
    const auto u = [](int i, int j) { return column(23 * i + j); };
    const auto state = [n](int i, int s) {
        return i < n ? column(23 * i + 3 + 10 * s) : column(23 * n + s);
    };
    const auto part = [](int which, int i, int j, int s) {
        return column(23 * i + 4 + 10 * s + 3 * which + j);
    };
    auto& to = problem.statement;
    int row = 0;
    for (int s = 0; s < 2; ++s) {
        for (int i = 0; i < n; ++i) {
            for (int k = 0; k < 3; ++k) {
                Tree value = part(1, i, k, s) - state(i, s);
                Tree slope = part(2, i, k, s);
                for (int j = 1; j <= 3; ++j) {
                    value = std::move(value) -
                            number(h * std::pow(kRho[k], j) / kFactorial[j]) * part(0, i, j - 1, s);
                    slope =
                        std::move(slope) -
                        number(std::pow(kRho[k], j - 1) / kFactorial[j - 1]) * part(0, i, j - 1, s);
                }
                to.add(row++, value);
                to.add(row++, slope);
            }
            Tree end = state(i, s) - state(i + 1, s);
            for (int j = 1; j <= 3; ++j)
                end = std::move(end) + number(h / kFactorial[j]) * part(0, i, j - 1, s);
            to.add(row++, end);
        }
        to.add(row++, state(0, s));
    }
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < 3; ++j) {
            const Tree p = part(1, i, j, 0);
            const Tree q = part(1, i, j, 1);
            to.add(row++, part(2, i, j, 0) - u(i, j) * (number(10) * q - p));
            to.add(row++,
                   part(2, i, j, 1) - u(i, j) * (p - number(10) * q) + (number(1) - u(i, j)) * q);
        }
    }
    to.add(nlp::kObjectiveRow, state(n, 0) + state(n, 1) - number(1));
    return problem;
}

inline Problem torsion(int nx, int ny) {
    Problem problem((nx + 2) * (ny + 2));
    const double hx = 1.0 / (nx + 1);
    const double hy = 1.0 / (ny + 1);
    const double area = 0.5 * hx * hy;
    const auto v = [ny](int i, int j) { return column(i * (ny + 2) + j); };
    Sum sum;
    const auto add = [&](const Tree& here, const Tree& x, const Tree& y) {
        sum.add(number(area / 2 / (hx * hx)) * square(x - here) +
                number(area / 2 / (hy * hy)) * square(y - here));
        sum.add(number(-area * 5.0 / 3) * (x + here + y));
    };
    for (int i = 0; i <= nx; ++i)
        for (int j = 0; j <= ny; ++j) add(v(i, j), v(i + 1, j), v(i, j + 1));
    for (int i = 1; i <= nx + 1; ++i)
        for (int j = 1; j <= ny + 1; ++j) add(v(i, j), v(i - 1, j), v(i, j - 1));
    problem.statement.add(nlp::kObjectiveRow, sum.take());
    return problem;
}

inline Problem camshape(int n) {
    Problem problem(n, 2 * n + 3);
    const double cos2 = 2 * std::cos(2 * std::numbers::pi / (5 * (n + 1)));
    const auto r = [](int i) { return column(i - 1); };
    auto& to = problem.statement;
    Sum sum;
    for (int i = 1; i <= n; ++i) sum.add(r(i));
    to.add(nlp::kObjectiveRow, number(-std::numbers::pi / n) * sum.take());
    int row = 0;
    for (int i = 2; i < n; ++i)
        to.add(row++, number(cos2) * r(i - 1) * r(i + 1) - r(i - 1) * r(i) - r(i) * r(i + 1));
    to.add(row++, number(cos2) * r(2) - r(1) - r(1) * r(2));
    to.add(row++, number(2 * cos2) * r(n - 1) - r(n - 1) * r(n) - number(2) * r(n));
    to.add(row++, number(cos2) * square(r(n)) - number(4) * r(n));
    for (int i = 1; i < n; ++i) to.add(row++, r(i + 1) - r(i));
    problem.start.assign(at(n), 1.5);
    return problem;
}

inline Problem clnlbeam(int n) {
    Problem problem(3 * (n + 1), 2 * n);
    const auto col = [n](int which, int k) { return column(which * (n + 1) + k); };
    enum { t, x, u };
    const double h = 1.0 / n;
    const auto call = [](Operation operation, Tree a) {
        return test::apply(operation, {std::move(a)});
    };
    Sum sum;
    for (int i = 0; i < n; ++i) {
        sum.add(number(h / 2) * (square(col(u, i + 1)) + square(col(u, i))) +
                number(350 * h / 2) *
                    (call(Operation::kCos, col(t, i + 1)) + call(Operation::kCos, col(t, i))));
        problem.statement.add(2 * i, col(x, i + 1) - col(x, i) -
                                         number(h / 2) * (call(Operation::kSin, col(t, i + 1)) +
                                                          call(Operation::kSin, col(t, i))));
        problem.statement.add(
            2 * i + 1, col(t, i + 1) - col(t, i) - number(h / 2) * (col(u, i + 1) + col(u, i)));
    }
    problem.statement.add(nlp::kObjectiveRow, sum.take());
    for (int i = 0; i <= n; ++i) problem.start[at(i)] = 0.05 * std::cos(i * h);
    return problem;
}

inline Problem edensch(int n) {
    Problem problem(n);
    Sum sum;
    for (int i = 0; i + 1 < n; ++i)
        sum.add(test::power(column(i) - number(2), number(4)) +
                square(column(i) * column(i + 1) - number(2) * column(i + 1)) +
                square(column(i + 1) + number(1)));
    problem.statement.add(nlp::kObjectiveRow, number(16) + sum.take());
    problem.start.assign(at(n), 8.0);
    return problem;
}

}  // namespace qlx::bench
