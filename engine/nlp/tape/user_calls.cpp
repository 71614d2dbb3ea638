// Values and derivatives of user functions.
#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/nlp/tape/kernels.hpp"

namespace qlx::nlp {

namespace {

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

// Central differences of first derivatives are best with the cube root of their accuracy.
double step_at(double x) noexcept {
    constexpr double kCubeRootOfEpsilon = 6.0554544523933429e-6;
    return kCubeRootOfEpsilon * std::max(1.0, std::fabs(x));
}

}  // namespace

void UserCalls::make_room(std::size_t count) {
    if (count <= inputs_.size()) return;
    inputs_.resize(count);
    below_.resize(count);
    above_.resize(count);
    slopes_.resize(count);
    wanted_.assign(count, 1);
}

double UserCalls::value(int number, std::span<const double> inputs) {
    double result = kNotANumber;
    const bool done = functions_ != nullptr && functions_->call(number, inputs, {}, result, {});
    return done ? result : kNotANumber;
}

bool UserCalls::partials(int number, std::span<const double> inputs, std::span<double> out,
                         bool is_trial) {
    double ignored = kNotANumber;
    return functions_ != nullptr &&
           functions_->call(number, inputs, std::span(wanted_).first(inputs.size()), ignored, out,
                            is_trial);
}

void UserCalls::run(const Code& code, const int* arguments, double* const* places, int n) {
    const auto count = static_cast<std::size_t>(code.b);
    const std::span<double> inputs = std::span(inputs_).first(count);
    for (int k = 0; k < n; ++k) {
        for (std::size_t i = 0; i < count; ++i)
            inputs[i] = places[arguments[static_cast<std::size_t>(code.a) + i]][k];
        if (code.kind == NodeKind::kUser) {
            places[code.out][k] = value(code.c, inputs);
        } else if (code.kind == NodeKind::kUserCurvatures) {
            curvatures(code, places, k);
        } else {
            const std::span<double> out = std::span(above_).first(count);
            const bool done = partials(code.c, inputs, out);
            for (std::size_t i = 0; i < count; ++i)
                places[static_cast<std::size_t>(code.out) + i][k] = done ? out[i] : kNotANumber;
        }
    }
}

// The differences of the two partials of a pair, averaged, so that the result is symmetric.
void UserCalls::curvatures(const Code& code, double* const* places, int k) {
    const auto count = static_cast<std::size_t>(code.b);
    const auto to = [&](std::size_t i, std::size_t j) -> double& {
        return places[static_cast<std::size_t>(code.out) + i * (i + 1) / 2 + j][k];
    };
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t j = 0; j <= i; ++j) to(i, j) = 0;
    for (std::size_t i = 0; i < count; ++i) {
        slopes_by(code.c, i, count);
        for (std::size_t j = 0; j < count; ++j)
            to(std::max(i, j), std::min(i, j)) += i == j ? slopes_[j] : 0.5 * slopes_[j];
    }
}

// The derivatives of all partials by an input: by differences on both sides, or on that one where
// the function is defined.
void UserCalls::slopes_by(int number, std::size_t input, std::size_t count) {
    const std::span<double> inputs = std::span(inputs_).first(count);
    const std::span<double> below = std::span(below_).first(count);
    const std::span<double> above = std::span(above_).first(count);
    const double x = inputs[input];
    double low = x - step_at(x);
    double high = x + step_at(x);
    inputs[input] = low;
    const bool has_below = partials(number, inputs, below, true);
    inputs[input] = high;
    const bool has_above = partials(number, inputs, above, true);
    inputs[input] = x;
    bool done = has_below && has_above;
    if (has_below != has_above) {
        (has_below ? high : low) = x;
        done = partials(number, inputs, has_below ? above : below);
    }
    for (std::size_t j = 0; j < count; ++j)
        slopes_[j] = done ? (above[j] - below[j]) / (high - low) : kNotANumber;
}

}  // namespace qlx::nlp
