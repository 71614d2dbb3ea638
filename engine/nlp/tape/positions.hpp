// Where arrays of numbers are added to, as index lists that know when they are regular.
#pragma once

#include <algorithm>
#include <cstddef>
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

// A list of positions, kept as runs first, first + stride, ... where these are long; stride 0 is
// one place for all.
class Positions {
  public:
    Positions() = default;
    explicit Positions(std::vector<int> list) : list_(std::move(list)) {
        find_runs();
        if (list_.size() < kShortestRun * runs_.size() && runs_.size() > 1) runs_.clear();
    }

    [[nodiscard]] int operator[](std::size_t k) const noexcept { return list_[k]; }
    [[nodiscard]] std::size_t size() const noexcept { return list_.size(); }
    [[nodiscard]] bool is_range() const noexcept {
        return runs_.size() == 1 && runs_[0].stride == 1;
    }

    struct Range {
        std::size_t begin;
        std::size_t end;
    };
    // Of ascending positions: the part of the list with those from `low` to below `high`.
    [[nodiscard]] Range between(std::size_t low, std::size_t high) const {
        const auto find = [this](std::size_t position) {
            if (is_range())
                return std::min(position - std::min(position, at(list_[0])), list_.size());
            const auto place =
                std::lower_bound(list_.begin(), list_.end(), static_cast<int>(position));
            return static_cast<std::size_t>(place - list_.begin());
        };
        return {find(low), find(high)};
    }

    // to[position from + k] += value(k) for k < n.
    template <class Value>
    void add(double* to, std::size_t from, std::size_t n, Value&& value) const {
        if (runs_.empty()) {
            const int* list = list_.data() + from;
            for (std::size_t k = 0; k < n; ++k) to[list[k]] += value(k);
            return;
        }
        const Run* run = runs_.data();
        if (from >= run->end)
            run = &*std::upper_bound(runs_.begin(), runs_.end(), from,
                                     [](std::size_t k, const Run& r) { return k < r.end; });
        for (std::size_t k = 0; k < n; ++run) {
            const std::size_t count = std::min(n, run->end - from) - k;
            add_run(to + list_[from + k], run->stride, count,
                    [&value, k](std::size_t j) { return value(k + j); });
            k += count;
        }
    }

  private:
    // Shorter ones take more time than a list.
    static constexpr std::size_t kShortestRun = 12;

    struct Run {
        int stride;
        std::size_t end;  // of its part of the list
    };

    void find_runs() {
        for (std::size_t k = 0; k < list_.size();) {
            const std::size_t begin = k++;
            const int stride = k < list_.size() ? list_[k] - list_[begin] : 1;
            while (k < list_.size() && list_[k] - list_[k - 1] == stride) ++k;
            runs_.push_back({stride, k});
        }
    }

    template <class Value>
    static void add_run(double* out, int stride, std::size_t n, Value&& value) {
        if (stride == 1) {
#pragma GCC ivdep
            for (std::size_t k = 0; k < n; ++k) out[k] += value(k);
        } else if (stride == 0) {
            *out += sum_of(n, value);
        } else {
            for (std::size_t k = 0; k < n; ++k, out += stride) *out += value(k);
        }
    }

    std::vector<int> list_;
    std::vector<Run> runs_;  // empty: they are short
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
