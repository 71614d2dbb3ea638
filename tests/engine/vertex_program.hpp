// Small linear programs over numbers of any size, solved by looking at every vertex in 113 bits.
// It shares nothing with the engine, so that it may judge it.
#pragma once

#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace qlx::test {

__extension__ typedef __float128 Quad;

// value + far * M, where M is beyond all numbers: where an infinite bound would be.
struct Reach {
    Quad value = 0;
    Quad far = 0;
};

// Rows normal'x >= side, and bounds; what is infinite is taken as +-M. Numbers that cancel to less
// than `rounding` of what they were added up from count as 0: with 1e-15 the data are the decimals
// that their doubles stand for.
class VertexProgram {
  public:
    struct Answer {
        bool feasible = false;
        bool unbounded = false;
        double value = 0;
        std::vector<double> x;
    };

    VertexProgram(std::size_t columns, double rounding) : columns_(columns), rounding_(rounding) {}

    void add(std::vector<Quad> normal, Quad side) { add_face(std::move(normal), {side, 0}); }
    void bound(std::size_t col, double lower, double upper) {
        std::vector<Quad> unit(columns_, Quad{0});
        unit[col] = 1;
        add_face(unit, std::fabs(lower) < 1e20 ? Reach{lower, 0} : Reach{0, -1});
        unit[col] = -1;
        add_face(unit, std::fabs(upper) < 1e20 ? Reach{-Quad{upper}, 0} : Reach{0, -1});
    }

    // The least value of cost'x + constant.
    [[nodiscard]] Answer minimise(const std::vector<Quad>& cost, Quad constant) const {
        Answer answer;
        Reach best;
        std::vector<std::size_t> chosen(columns_);
        choose(chosen, 0, 0, [&] {
            const auto x = meeting_point(chosen);
            if (!x || !is_feasible(*x)) return;
            const Reach value = cleared_sum(cost, *x, {constant, 0});
            if (answer.feasible &&
                !(value.far < best.far || (value.far == best.far && value.value < best.value)))
                return;
            answer.feasible = true;
            best = value;
            answer.x.clear();
            for (const Reach& one : *x) answer.x.push_back(static_cast<double>(one.value));
        });
        answer.unbounded = answer.feasible && best.far < 0;
        answer.value = static_cast<double>(best.value);
        return answer;
    }

  private:
    struct Face {
        std::vector<Quad> normal;
        Reach side;
    };

    static Quad size(Quad value) { return value < 0 ? -value : value; }

    // Scaled to a largest entry of 1.
    void add_face(std::vector<Quad> normal, Reach side) {
        Quad largest = 0;
        for (const Quad entry : normal) largest = largest < size(entry) ? size(entry) : largest;
        if (largest == 0) largest = 1;
        for (Quad& entry : normal) entry /= largest;
        faces_.push_back({std::move(normal), {side.value / largest, side.far / largest}});
    }

    template <class Visit>
    void choose(std::vector<std::size_t>& chosen, std::size_t place, std::size_t from,
                const Visit& visit) const {
        if (place == columns_) return visit();
        for (std::size_t face = from; face < faces_.size(); ++face) {
            chosen[place] = face;
            choose(chosen, place + 1, face + 1, visit);
        }
    }

    // sum of weights * x + first, rounding taken for 0.
    [[nodiscard]] Reach cleared_sum(const std::vector<Quad>& weights, const std::vector<Reach>& x,
                                    Reach first) const {
        Reach sum = first;
        Reach scale{size(first.value), size(first.far)};
        for (std::size_t k = 0; k < x.size(); ++k) {
            sum.value += weights[k] * x[k].value;
            sum.far += weights[k] * x[k].far;
            scale.value += size(weights[k] * x[k].value);
            scale.far += size(weights[k] * x[k].far);
        }
        if (size(sum.value) < rounding_ * scale.value) sum.value = 0;
        if (size(sum.far) < rounding_ * scale.far) sum.far = 0;
        return sum;
    }

    // By elimination with pivoting.
    [[nodiscard]] std::optional<std::vector<Reach>> meeting_point(
        const std::vector<std::size_t>& chosen) const {
        std::vector<Face> system;
        for (const std::size_t face : chosen) system.push_back(faces_[face]);
        for (std::size_t k = 0; k < columns_; ++k) {
            std::size_t pivot = k;
            for (std::size_t row = k; row < columns_; ++row)
                if (size(system[row].normal[k]) > size(system[pivot].normal[k])) pivot = row;
            std::swap(system[k], system[pivot]);
            if (size(system[k].normal[k]) < 1e-30) return std::nullopt;
            for (std::size_t row = 0; row < columns_; ++row) {
                if (row == k || system[row].normal[k] == 0) continue;
                const Quad factor = system[row].normal[k] / system[k].normal[k];
                for (std::size_t col = k; col < columns_; ++col)
                    system[row].normal[col] -= factor * system[k].normal[col];
                system[row].side.value -= factor * system[k].side.value;
                system[row].side.far -= factor * system[k].side.far;
            }
        }
        std::vector<Reach> x(columns_);
        for (std::size_t k = 0; k < columns_; ++k)
            x[k] = {system[k].side.value / system[k].normal[k],
                    system[k].side.far / system[k].normal[k]};
        return x;
    }

    [[nodiscard]] bool is_feasible(const std::vector<Reach>& x) const {
        for (const Face& face : faces_) {
            const Reach above = cleared_sum(face.normal, x, {-face.side.value, -face.side.far});
            if (above.far < 0 || (above.far == 0 && above.value < 0)) return false;
        }
        return true;
    }

    std::size_t columns_;
    double rounding_;
    std::vector<Face> faces_;
};

}  // namespace qlx::test
