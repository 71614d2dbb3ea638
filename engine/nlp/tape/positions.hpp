// Where arrays of numbers are added to, as index lists that know when they are regular.
#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "engine/base/index.hpp"

namespace qlx::nlp {

// In several parts, so that the processor need not wait for one sum before the next.
template <class Value>
[[nodiscard]] double sum_of(std::size_t n, Value&& value) {
    double parts[4] = {};
    std::size_t k = 0;
    for (; k + 4 <= n; k += 4)
        for (std::size_t lane = 0; lane < 4; ++lane) parts[lane] += value(k + lane);
    for (; k < n; ++k) parts[0] += value(k);
    return (parts[0] + parts[1]) + (parts[2] + parts[3]);
}

// Regular are first, first + stride, ...; stride 0 is one place for all.
class Positions {
  public:
    Positions() = default;
    explicit Positions(std::vector<int> list) : list_(std::move(list)) {
        if (list_.empty()) return;
        first_ = list_[0];
        stride_ = list_.size() > 1 ? list_[1] - list_[0] : 1;
        for (std::size_t k = 1; k < list_.size(); ++k)
            if (list_[k] - list_[k - 1] != stride_) stride_ = kIrregular;
    }

    [[nodiscard]] int operator[](std::size_t k) const noexcept { return list_[k]; }
    [[nodiscard]] std::size_t size() const noexcept { return list_.size(); }
    [[nodiscard]] bool is_range() const noexcept { return stride_ == 1; }

    struct Range {
        std::size_t begin;
        std::size_t end;
    };
    // Of ascending positions: the part of the list with those from `low` to below `high`.
    [[nodiscard]] Range between(std::size_t low, std::size_t high) const {
        const auto find = [this](std::size_t position) {
            if (stride_ == 1)
                return std::min(position - std::min(position, at(first_)), list_.size());
            const auto place =
                std::lower_bound(list_.begin(), list_.end(), static_cast<int>(position));
            return static_cast<std::size_t>(place - list_.begin());
        };
        return {find(low), find(high)};
    }

    // to[position from + k] += value(k) for k < n.
    template <class Value>
    void add(double* to, std::size_t from, std::size_t n, Value&& value) const {
        const auto offset = static_cast<std::ptrdiff_t>(from);
        if (stride_ == 1) {
            double* out = to + first_ + offset;
#pragma GCC ivdep
            for (std::size_t k = 0; k < n; ++k) out[k] += value(k);
        } else if (stride_ == 0) {
            to[first_] += sum_of(n, value);
        } else if (stride_ != kIrregular) {
            double* out = to + first_ + offset * stride_;
            for (std::size_t k = 0; k < n; ++k, out += stride_) *out += value(k);
        } else {
            const int* list = list_.data() + from;
            for (std::size_t k = 0; k < n; ++k) to[list[k]] += value(k);
        }
    }

  private:
    static constexpr int kIrregular = std::numeric_limits<int>::min();

    int first_ = 0;
    int stride_ = 1;
    std::vector<int> list_;
};

// Factors of uses, which are often all the same.
class Factors {
  public:
    Factors() = default;
    explicit Factors(std::vector<double> list) : list_(std::move(list)) {
        for (const double factor : list_) is_uniform_ &= factor == list_[0];
    }

    [[nodiscard]] bool empty() const noexcept { return list_.empty(); }
    [[nodiscard]] double operator[](std::size_t k) const noexcept { return list_[k]; }
    // Calls use(value) with a function of k < n that gives factor from + k times values[k].
    template <class Use>
    void times(const double* values, std::size_t from, Use&& use) const {
        if (is_uniform_) {
            use([values, factor = list_[0]](std::size_t k) { return factor * values[k]; });
        } else {
            use([values, factors = list_.data() + from](std::size_t k) {
                return factors[k] * values[k];
            });
        }
    }

  private:
    bool is_uniform_ = true;
    std::vector<double> list_;
};

}  // namespace qlx::nlp
