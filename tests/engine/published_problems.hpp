// Small published problems with known optima, as smooth models.
#pragma once

#include <utility>

#include "tests/engine/smooth_problems.hpp"

namespace qlx::nlp::test {

inline std::vector<double> all(std::size_t n, double value) {
    return std::vector<double>(n, value);
}

// Hock, Schittkowski (1981) by number, with the published starts.
inline std::vector<SmoothModel> published_problems() {
    const auto free = [](std::size_t n) { return std::pair{all(n, -kInf), all(n, kInf)}; };
    std::vector<SmoothModel> list;
    const auto add =
        [&](const char* name, std::pair<std::vector<double>, std::vector<double>> bounds,
            std::vector<double> start, Function f, std::vector<Row> rows, double optimum) {
            list.push_back({name, std::move(bounds.first), std::move(bounds.second),
                            std::move(start), std::move(f), std::move(rows), optimum});
        };
    const Function banana = [](Point x) {
        return 100 * square(x[1] - x[0] * x[0]) + square(1 - x[0]);
    };
    add("1, curved valley", {{-kInf, -1.5}, {kInf, kInf}}, {-2, 1}, banana, {}, 0);
    add(
        "7, equation", free(2), {2, 2}, [](Point x) { return log(1 + x[0] * x[0]) - x[1]; },
        {{0, [](Point x) { return square(1 + x[0] * x[0]) + x[1] * x[1] - 4; }, 0}},
        -std::sqrt(3.0));
    add("16, several local minima", {{-0.5, -kInf}, {0.5, 1}}, {-2, 1}, banana,
        {{0, [](Point x) { return x[0] * x[0] + x[1]; }, kInf},
         {0, [](Point x) { return x[0] + x[1] * x[1]; }, kInf}},
        0.25);
    add(
        "26, singular Hessian", free(3), {-2.6, 2, 2},
        [](Point x) { return square(x[0] - x[1]) + power(x[1] - x[2], 4); },
        {{0, [](Point x) { return (1 + x[1] * x[1]) * x[0] + power(x[2], 4) - 3; }, 0}}, 0);
    add(
        "39, strongly curved rows", free(4), all(4, 2), [](Point x) { return -x[0]; },
        {{0, [](Point x) { return x[1] - power(x[0], 3) - x[2] * x[2]; }, 0},
         {0, [](Point x) { return x[0] * x[0] - x[1] - x[3] * x[3]; }, 0}},
        -1);
    add(
        "43, upper sides", free(4), all(4, 0),
        [](Point x) {
            return x[0] * x[0] + x[1] * x[1] + 2 * x[2] * x[2] + x[3] * x[3] - 5 * x[0] - 5 * x[1] -
                   21 * x[2] + 7 * x[3];
        },
        {{-kInf,
          [](Point x) {
              return x[0] * x[0] + x[1] * x[1] + x[2] * x[2] + x[3] * x[3] + x[0] - x[1] + x[2] -
                     x[3];
          },
          8},
         {-kInf,
          [](Point x) {
              return x[0] * x[0] + 2 * x[1] * x[1] + x[2] * x[2] + 2 * x[3] * x[3] - x[0] - x[3];
          },
          10},
         {-kInf,
          [](Point x) {
              return 2 * x[0] * x[0] + x[1] * x[1] + x[2] * x[2] + 2 * x[0] - x[1] - x[3];
          },
          5}},
        -44);
    add(
        "71, both kinds of rows", {all(4, 1), all(4, 5)}, {1, 5, 5, 1},
        [](Point x) { return x[0] * x[3] * (x[0] + x[1] + x[2]) + x[2]; },
        {{25, [](Point x) { return x[0] * x[1] * x[2] * x[3]; }, kInf},
         {40, [](Point x) { return x[0] * x[0] + x[1] * x[1] + x[2] * x[2] + x[3] * x[3]; }, 40}},
        17.0140173);
    add(
        "74, sizes 1000 beside angles", {{0, 0, -0.55, -0.55}, {1200, 1200, 0.55, 0.55}}, all(4, 0),
        [](Point x) {
            return 3 * x[0] + 1e-6 * power(x[0], 3) + 2 * x[1] + 2e-6 / 3 * power(x[1], 3);
        },
        {{-0.55, [](Point x) { return x[3] - x[2]; }, 0.55},
         {0,
          [](Point x) {
              return 1000 * sin(-x[2] - 0.25) + 1000 * sin(-x[3] - 0.25) + 894.8 - x[0];
          },
          0},
         {0,
          [](Point x) {
              return 1000 * sin(x[2] - 0.25) + 1000 * sin(x[2] - x[3] - 0.25) + 894.8 - x[1];
          },
          0},
         {0,
          [](Point x) { return 1000 * sin(x[3] - 0.25) + 1000 * sin(x[3] - x[2] - 0.25) + 1294.8; },
          0}},
        5126.498109595272);
    add(
        "100, high powers", free(7), {1, 2, 0, 4, 0, 1, 1},
        [](Point x) {
            return square(x[0] - 10) + 5 * square(x[1] - 12) + power(x[2], 4) +
                   3 * square(x[3] - 11) + 10 * power(x[4], 6) + 7 * x[5] * x[5] + power(x[6], 4) -
                   4 * x[5] * x[6] - 10 * x[5] - 8 * x[6];
        },
        {{-kInf,
          [](Point x) {
              return 2 * x[0] * x[0] + 3 * power(x[1], 4) + x[2] + 4 * x[3] * x[3] + 5 * x[4];
          },
          127},
         {-kInf, [](Point x) { return 7 * x[0] + 3 * x[1] + 10 * x[2] * x[2] + x[3] - x[4]; }, 282},
         {-kInf, [](Point x) { return 23 * x[0] + x[1] * x[1] + 6 * x[5] * x[5] - 8 * x[6]; }, 196},
         {-kInf,
          [](Point x) {
              return 4 * x[0] * x[0] + x[1] * x[1] - 3 * x[0] * x[1] + 2 * x[2] * x[2] + 5 * x[5] -
                     11 * x[6];
          },
          0}},
        680.6300573);
    add(
        "317, starts where the violation is stationary", free(2), {0, 0},
        [](Point x) { return square(x[0] - 20) + square(x[1] + 20); },
        {{0, [](Point x) { return x[0] * x[0] / 100 + x[1] * x[1] / 64 - 1; }, 0}},
        372.4666057464676);
    return list;
}

}  // namespace qlx::nlp::test
