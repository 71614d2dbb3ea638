// Sums of products with a rigorous bound on their rounding error.
#pragma once

#include <cmath>
#include <limits>

namespace qlx {

// Every addition and product keeps what its rounding lost (Knuth's TwoSum, a product's tail by a
// fused multiply-add); what is lost among the lost bounds the error, as in Ogita, Rump and Oishi,
// "Accurate sum and dot product" (2005). This was preferred to directed rounding modes, which
// compilers do not respect without flags of their own, and to widening by n times the unit
// roundoff, which costs all digits where terms cancel. Sums without any rounding have error 0.
//
// Contraction of a product and a sum must be off, as it is with -std=c++20 in place of gnu++20.
class EnclosedSum {
  public:
    EnclosedSum() = default;
    explicit EnclosedSum(double first) noexcept : sum_(first) {}

    void add(double term) noexcept {
        const double total = sum_ + term;
        const double part = total - sum_;
        const double tail = (sum_ - (total - part)) + (term - part);
        sum_ = total;
        keep(tail);
    }
    void add_product(double a, double b) noexcept {
        const double product = a * b;
        keep(std::fma(a, b, -product));
        // Below this a tail is no longer exact.
        if (std::fabs(product) < 1e-280 && a != 0 && b != 0) underflow_ += 1e-300;
        add(product);
    }

    [[nodiscard]] double value() const noexcept { return sum_ + rest_; }
    // The sum in exact arithmetic is within value() -+ error(); NaN or infinite after an overflow.
    [[nodiscard]] double error() const noexcept {
        const double total = sum_ + rest_;
        const double part = total - sum_;
        const double tail = (sum_ - (total - part)) + (rest_ - part);
        constexpr double kUnit = std::numeric_limits<double>::epsilon();  // twice the roundoff
        return (std::fabs(tail) + count_ * kUnit * lost_ + underflow_) * (1 + 8 * kUnit);
    }
    // Numbers below and above the exact sum; infinite after an overflow.
    [[nodiscard]] double below() const noexcept { return -outward(-value()); }
    [[nodiscard]] double above() const noexcept { return outward(value()); }

  private:
    void keep(double tail) noexcept {
        if (tail == 0) return;
        rest_ += tail;
        lost_ += std::fabs(tail);
        count_ += 1;
    }
    [[nodiscard]] double outward(double value) const noexcept {
        constexpr double kInfinite = std::numeric_limits<double>::infinity();
        const double away = error();
        if (away == 0) return value;
        const double limit = std::nextafter(value + away, kInfinite);
        return std::isfinite(limit) ? limit : kInfinite;
    }

    double sum_ = 0;
    double rest_ = 0;   // what the additions lost
    double lost_ = 0;   // the sizes of what they lost
    double count_ = 0;  // how often
    double underflow_ = 0;
};

}  // namespace qlx
