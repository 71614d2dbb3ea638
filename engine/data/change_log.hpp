// What changed in a model since a live solver object was last brought up to date.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace qlx {

// Where the listener's copy has the model's columns (or rows), once some were deleted.
class Origins {
  public:
    [[nodiscard]] bool moved() const noexcept { return moved_; }
    // The listener's index; negative, or beyond what the listener has, for what is new to it.
    [[nodiscard]] int of(int index) const noexcept {
        if (!moved_) return index;
        const auto place = static_cast<std::size_t>(index);
        return place < origin_.size() ? origin_[place] : -1;
    }
    // `new_index` has one element per item of the model, negative for the deleted ones.
    void erase(const std::vector<int>& new_index) {
        std::vector<int> kept;
        for (std::size_t k = 0; k < new_index.size(); ++k)
            if (new_index[k] >= 0) kept.push_back(of(static_cast<int>(k)));
        origin_ = std::move(kept);
        moved_ = true;
    }

  private:
    bool moved_ = false;
    std::vector<int> origin_;
};

// Recorded only while someone listens; a change that cannot be told cheaply asks for a rebuild.
class ChangeLog {
  public:
    [[nodiscard]] bool listening() const noexcept { return listening_; }
    // Nothing of what the listener has is of use any more.
    [[nodiscard]] bool replaced() const noexcept { return !listening_ || replaced_; }
    // The changes cannot be told one by one.
    [[nodiscard]] bool needs_rebuild() const noexcept {
        return replaced() || rows_.moved() || columns_.moved();
    }
    void start_listening() {
        clear();
        listening_ = true;
    }
    void stop_listening() {
        clear();
        listening_ = false;
    }

    void bounds(int col) { note(bounds_, col); }
    void sides(int row) { note(sides_, row); }
    void cost(int col) { note(costs_, col); }
    void coefficient(int row, int col) {
        if (listening_) coefficients_.emplace_back(row, col);
    }
    void objective() noexcept { objective_ = true; }  // sense or constant
    void integrality() noexcept { integrality_ = true; }
    void replace() noexcept { replaced_ = true; }
    void delete_rows(const std::vector<int>& new_index) {
        if (listening_) rows_.erase(new_index);
    }
    void delete_columns(const std::vector<int>& new_index) {
        if (listening_) columns_.erase(new_index);
    }

    [[nodiscard]] const Origins& rows() const noexcept { return rows_; }
    [[nodiscard]] const Origins& columns() const noexcept { return columns_; }
    [[nodiscard]] std::vector<int>& changed_bounds() noexcept { return bounds_; }
    [[nodiscard]] std::vector<int>& changed_sides() noexcept { return sides_; }
    [[nodiscard]] std::vector<int>& changed_costs() noexcept { return costs_; }
    [[nodiscard]] std::vector<std::pair<int, int>>& changed_coefficients() noexcept {
        return coefficients_;
    }
    [[nodiscard]] bool objective_changed() const noexcept { return objective_; }
    [[nodiscard]] bool integrality_changed() const noexcept { return integrality_; }

  private:
    void note(std::vector<int>& list, int index) {
        if (listening_ && (list.empty() || list.back() != index)) list.push_back(index);
    }
    void clear() {
        replaced_ = objective_ = integrality_ = false;
        rows_ = {};
        columns_ = {};
        bounds_.clear();
        sides_.clear();
        costs_.clear();
        coefficients_.clear();
    }

    bool listening_ = false;
    bool replaced_ = false;
    bool objective_ = false;
    bool integrality_ = false;
    Origins rows_;
    Origins columns_;
    std::vector<int> bounds_;
    std::vector<int> sides_;
    std::vector<int> costs_;
    std::vector<std::pair<int, int>> coefficients_;
};

}  // namespace qlx
