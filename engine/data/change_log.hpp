// What changed in a model since a live solver object was last brought up to date.
#pragma once

#include <utility>
#include <vector>

namespace qlx {

// Recorded only while someone listens; a change that cannot be told cheaply asks for a rebuild.
class ChangeLog {
  public:
    [[nodiscard]] bool listening() const noexcept { return listening_; }
    [[nodiscard]] bool needs_rebuild() const noexcept { return !listening_ || rebuild_; }
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
    void rebuild() noexcept { rebuild_ = true; }

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
        rebuild_ = objective_ = integrality_ = false;
        bounds_.clear();
        sides_.clear();
        costs_.clear();
        coefficients_.clear();
    }

    bool listening_ = false;
    bool rebuild_ = false;
    bool objective_ = false;
    bool integrality_ = false;
    std::vector<int> bounds_;
    std::vector<int> sides_;
    std::vector<int> costs_;
    std::vector<std::pair<int, int>> coefficients_;
};

}  // namespace qlx
