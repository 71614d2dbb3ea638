// Exact numbers m * 2^k: doubles, their sums, differences and products, without any rounding.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace qlx::test {

class Dyadic {
  public:
    Dyadic(double value = 0) {
        if (value == 0) return;
        negative_ = value < 0;
        int exponent = 0;
        const double fraction = std::frexp(std::fabs(value), &exponent);
        exponent -= 53;
        place_ = exponent >= 0 ? exponent / 32 : -((31 - exponent) / 32);
        auto bits = static_cast<unsigned __int128>(std::ldexp(fraction, 53));
        bits <<= exponent - 32 * place_;
        for (; bits != 0; bits >>= 32) limbs_.push_back(static_cast<std::uint32_t>(bits));
    }
    [[nodiscard]] int sign() const { return limbs_.empty() ? 0 : negative_ ? -1 : 1; }

    friend Dyadic operator-(Dyadic a) {
        a.negative_ = !a.negative_;
        return a;
    }
    friend Dyadic operator*(const Dyadic& a, const Dyadic& b) {
        Dyadic out;
        out.negative_ = a.negative_ != b.negative_;
        out.place_ = a.place_ + b.place_;
        out.limbs_.assign(a.limbs_.size() + b.limbs_.size(), 0);
        for (std::size_t i = 0; i < a.limbs_.size(); ++i) {
            std::uint64_t carry = 0;
            for (std::size_t j = 0; j < b.limbs_.size(); ++j) {
                carry += std::uint64_t{a.limbs_[i]} * b.limbs_[j] + out.limbs_[i + j];
                out.limbs_[i + j] = static_cast<std::uint32_t>(carry);
                carry >>= 32;
            }
            out.limbs_[i + b.limbs_.size()] = static_cast<std::uint32_t>(carry);
        }
        return out.trimmed();
    }
    friend Dyadic operator+(Dyadic a, Dyadic b) {
        const int place = std::min(a.place_, b.place_);
        a.lower_to(place);
        b.lower_to(place);
        const bool swapped = a.is_shorter(b);
        if (swapped) std::swap(a, b);
        b.limbs_.resize(a.limbs_.size(), 0);
        // The larger size first, so that a difference borrows nothing at its end.
        const bool adds = a.negative_ == b.negative_;
        std::int64_t carry = 0;
        for (std::size_t k = 0; k < a.limbs_.size(); ++k) {
            carry += adds ? std::int64_t{a.limbs_[k]} + b.limbs_[k]
                          : std::int64_t{a.limbs_[k]} - b.limbs_[k];
            a.limbs_[k] = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        if (carry > 0) a.limbs_.push_back(static_cast<std::uint32_t>(carry));
        return a.trimmed();
    }
    friend Dyadic operator-(const Dyadic& a, const Dyadic& b) { return a + -b; }
    friend bool operator<(const Dyadic& a, const Dyadic& b) { return (a - b).sign() < 0; }

  private:
    void lower_to(int place) {
        if (limbs_.empty()) place_ = place;
        limbs_.insert(limbs_.begin(), static_cast<std::size_t>(place_ - place), 0);
        place_ = place;
    }
    [[nodiscard]] bool is_shorter(const Dyadic& other) const {
        if (limbs_.size() != other.limbs_.size()) return limbs_.size() < other.limbs_.size();
        return std::lexicographical_compare(limbs_.rbegin(), limbs_.rend(), other.limbs_.rbegin(),
                                            other.limbs_.rend());
    }
    Dyadic& trimmed() {
        while (!limbs_.empty() && limbs_.back() == 0) limbs_.pop_back();
        const auto first =
            std::find_if(limbs_.begin(), limbs_.end(), [](auto v) { return v != 0; });
        place_ += static_cast<int>(first - limbs_.begin());
        limbs_.erase(limbs_.begin(), first);
        return *this;
    }

    bool negative_ = false;
    int place_ = 0;                     // of the first limb, in limbs
    std::vector<std::uint32_t> limbs_;  // least first; empty: 0
};

}  // namespace qlx::test
