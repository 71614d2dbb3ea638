// Tiny linear programs over whole numbers, solved exactly by looking at every vertex. It shares
// nothing with the engine, so that it may judge it.
#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace qlx::test {

__extension__ typedef __int128 Wide;

// Magnitudes of data: coefficients to 1e4, right-hand sides and bounds to 1e13, 4 columns at most:
// numerators then fit.
class ExactProgram {
  public:
    static constexpr std::size_t kMaxColumns = 4;
    // Stands for an infinite bound; a vertex there tells that the program is unbounded.
    static constexpr Wide kFar = static_cast<Wide>(1000000000) * 1000000000 * 10;
    using Coefficients = std::array<Wide, kMaxColumns>;

    enum class Status { kInfeasible, kUnbounded, kOptimal };
    struct Vertex {
        Coefficients numerator{};
        Wide denominator = 1;
    };
    struct Answer {
        Status status = Status::kInfeasible;
        Vertex vertex;
        Wide objective = 0;  // over the vertex' denominator

        [[nodiscard]] double value() const {
            return static_cast<double>(objective) / static_cast<double>(vertex.denominator);
        }
    };

    explicit ExactProgram(std::size_t columns) : columns_(columns) {}

    // coefficients * x <= side.
    void add(const Coefficients& coefficients, Wide side) { rows_.push_back({coefficients, side}); }
    void bound(std::size_t col, std::optional<Wide> lower, std::optional<Wide> upper) {
        Coefficients unit{};
        unit[col] = 1;
        rows_.push_back({unit, upper.value_or(kFar)});
        unit[col] = -1;
        rows_.push_back({unit, lower ? -*lower : kFar});
    }

    // The least value of cost * x; among vertices of that value one that `preferred` likes.
    template <class Preferred>
    [[nodiscard]] Answer minimise(const Coefficients& cost, const Preferred& preferred) const {
        Answer best;
        std::vector<std::size_t> chosen(columns_);
        choose(chosen, 0, 0, [&] {
            const std::optional<Vertex> vertex = meeting_point(chosen);
            if (!vertex || !is_feasible(*vertex)) return;
            Wide value = 0;
            for (std::size_t k = 0; k < columns_; ++k) value += cost[k] * vertex->numerator[k];
            const bool first = best.status == Status::kInfeasible;
            const Wide ahead =
                first ? 0 : best.objective * vertex->denominator - value * best.vertex.denominator;
            if (first || ahead > 0 || (ahead == 0 && !preferred(best.vertex) && preferred(*vertex)))
                best = {Status::kOptimal, *vertex, value};
        });
        if (best.status == Status::kOptimal && best.value() < -1e17)
            best.status = Status::kUnbounded;
        return best;
    }

  private:
    struct Row {
        Coefficients coefficients;
        Wide side;
    };

    template <class Visit>
    void choose(std::vector<std::size_t>& chosen, std::size_t place, std::size_t from,
                const Visit& visit) const {
        if (place == columns_) return visit();
        for (std::size_t row = from; row < rows_.size(); ++row) {
            chosen[place] = row;
            choose(chosen, place + 1, row + 1, visit);
        }
    }

    // By elimination without fractions (Bareiss 1968).
    [[nodiscard]] std::optional<Vertex> meeting_point(
        const std::vector<std::size_t>& chosen) const {
        std::array<std::array<Wide, kMaxColumns + 1>, kMaxColumns> m{};
        for (std::size_t i = 0; i < columns_; ++i) {
            for (std::size_t k = 0; k < columns_; ++k) m[i][k] = rows_[chosen[i]].coefficients[k];
            m[i][columns_] = rows_[chosen[i]].side;
        }
        Wide last = 1;
        for (std::size_t k = 0; k < columns_; ++k) {
            std::size_t pivot = k;
            while (pivot < columns_ && m[pivot][k] == 0) ++pivot;
            if (pivot == columns_) return std::nullopt;
            std::swap(m[k], m[pivot]);
            for (std::size_t i = 0; i < columns_; ++i) {
                if (i == k) continue;
                for (std::size_t j = k + 1; j <= columns_; ++j)
                    m[i][j] = (m[k][k] * m[i][j] - m[i][k] * m[k][j]) / last;
                m[i][k] = 0;
            }
            for (std::size_t i = 0; i < k; ++i) m[i][i] = m[k][k];
            last = m[k][k];
        }
        Vertex vertex;
        vertex.denominator = columns_ == 0 ? 1 : (last < 0 ? -last : last);
        for (std::size_t i = 0; i < columns_; ++i)
            vertex.numerator[i] = last < 0 ? -m[i][columns_] : m[i][columns_];
        return vertex;
    }

    [[nodiscard]] bool is_feasible(const Vertex& vertex) const {
        return std::all_of(rows_.begin(), rows_.end(), [&](const Row& row) {
            Wide activity = 0;
            for (std::size_t k = 0; k < columns_; ++k)
                activity += row.coefficients[k] * vertex.numerator[k];
            return activity <= row.side * vertex.denominator;
        });
    }

    std::size_t columns_;
    std::vector<Row> rows_;
};

}  // namespace qlx::test
