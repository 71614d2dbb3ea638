// Takes the branched constructs out of the problem, and puts a node's decisions in.
#include "engine/solve/construct_node.hpp"

#include <algorithm>
#include <limits>
#include <map>

namespace qlx {

NodeProblem::NodeProblem(Problem& whole, const std::vector<ConstructItem>& items)
    : stated_(whole.model) {
    part_.model.copy_from(whole.model);
    part_.controls = whole.controls;
    // The search counts the solutions of the whole; iterations do not bound a tree search.
    part_.controls.sollimit = std::numeric_limits<int>::max();
    part_.controls.lpiterlimit = std::numeric_limits<int>::max();
    std::map<const Construct*, std::vector<int>> by_construct;
    for (const ConstructItem& one : items) by_construct[one.construct].push_back(one.item);
    for (const auto& [construct, list] : by_construct) construct->relax(part_.model, list);
    root_lower_ = part_.model.lb();
    root_upper_ = part_.model.ub();
    root_types_ = part_.model.col_type();
}

bool NodeProblem::decide(const Path& path) {
    reset();
    decided_ = path;
    for (const Step* step = path.get(); step != nullptr; step = step->above.get())
        applied_.push_back(&step->branch);
    bool possible = true;
    for (const Branch* branch : applied_) possible = apply(*branch) && possible;
    return possible;
}

void NodeProblem::reset() {
    for (const Branch* branch : applied_) {
        for (const int col : branch->integers) part_.model.set_col_type(col, root_types_[at(col)]);
        for (const Branch::Bounds& one : branch->bounds) {
            part_.model.set_lb(one.col, root_lower_[at(one.col)]);
            part_.model.set_ub(one.col, root_upper_[at(one.col)]);
        }
        for (const int row : branch->rows) part_.model.set_row_type(row, 'N', 0);
    }
    applied_.clear();
}

bool NodeProblem::apply(const Branch& branch) {
    Model& model = part_.model;
    bool possible = true;
    for (const Branch::Bounds& one : branch.bounds) {
        const Sides own = model.relaxed_bounds(one.col);
        const double lower = std::max(own.lower, one.lower);
        const double upper = std::min(own.upper, one.upper);
        possible = possible && lower <= upper;
        model.set_lb(one.col, lower);
        model.set_ub(one.col, upper);
    }
    for (const int col : branch.integers) model.set_col_type(col, 'I');
    for (const int row : branch.rows)
        model.set_row_type(row, stated_.row_type()[at(row)], stated_.range(row));
    return possible;
}

void NodeProblem::set_seeking(bool seeking) {
    for (int col = 0; col < part_.model.num_cols(); ++col)
        part_.model.set_cost(col, seeking ? 0 : stated_.obj()[at(col)]);
    part_.model.set_constant(seeking ? 0 : stated_.constant());
}

}  // namespace qlx
