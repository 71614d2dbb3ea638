// A node of the search over semi-continuous columns, as a problem of its own.
#pragma once

#include <cstddef>
#include <vector>

#include "engine/constructs/reformulation.hpp"
#include "engine/core/problem.hpp"

namespace qlx {

enum class Choice : char { kRelaxed, kZero, kInRange };

struct Decision {
    std::size_t place;  // among the columns that are branched on
    Choice choice;
};

// The problem with the columns' types replaced by bounds, which say what a node has decided.
class NodeProblem {
  public:
    NodeProblem(Problem& whole, const std::vector<SemicontinuousColumn>& columns);

    // Columns that the path does not name are relaxed.
    void decide(const std::vector<Decision>& path);
    void forget_objective();
    [[nodiscard]] Choice choice(std::size_t place) const { return chosen_[place]; }
    [[nodiscard]] Problem& problem() noexcept { return part_; }

  private:
    void choose(std::size_t place, Choice choice);

    const std::vector<SemicontinuousColumn>& columns_;
    std::vector<Choice> chosen_;
    Problem part_;
};

}  // namespace qlx
