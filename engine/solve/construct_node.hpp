// A node of the search over constructs, as a problem of its own.
#pragma once

#include <memory>
#include <vector>

#include "engine/constructs/construct.hpp"
#include "engine/core/problem.hpp"

namespace qlx {

// One branch on the way from the root to a node, shared by all nodes below it.
struct Step {
    Branch branch;
    std::shared_ptr<const Step> above;
};
using Path = std::shared_ptr<const Step>;

// The problem without the constructs that are branched on; what a node has decided about them is in
// its bounds, column types and rows.
class NodeProblem {
  public:
    NodeProblem(Problem& whole, const std::vector<ConstructItem>& items);

    // False when a column has no value left. Branches stay empty until the next call.
    [[nodiscard]] bool decide(const Path& path);
    // Whether the objective is left out.
    void set_seeking(bool seeking);
    // The model of the node decided last.
    [[nodiscard]] const Model& model() const noexcept { return part_.model; }
    [[nodiscard]] Problem& problem() noexcept { return part_; }

  private:
    void reset();
    bool apply(const Branch& branch);

    const Model& stated_;
    Problem part_;
    // Of the relaxation that nothing is decided in.
    std::vector<double> root_lower_;
    std::vector<double> root_upper_;
    std::vector<char> root_types_;
    Path decided_;
    std::vector<const Branch*> applied_;
};

}  // namespace qlx
