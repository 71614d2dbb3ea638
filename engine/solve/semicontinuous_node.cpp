// Types become bounds; the bounds follow the path.
#include "engine/solve/semicontinuous_node.hpp"

#include <algorithm>
#include <limits>

namespace qlx {

NodeProblem::NodeProblem(Problem& whole, const std::vector<SemicontinuousColumn>& columns)
    : columns_(columns), chosen_(columns.size(), Choice::kRelaxed) {
    part_.model.copy_from(whole.model);
    part_.controls = whole.controls;
    // The search counts the solutions of the whole; iterations do not bound a tree search.
    part_.controls.sollimit = std::numeric_limits<int>::max();
    part_.controls.lpiterlimit = std::numeric_limits<int>::max();
    for (std::size_t place = 0; place < columns.size(); ++place) {
        const int col = columns[place].col;
        const bool integer = part_.model.col_type()[static_cast<std::size_t>(col)] == 'R';
        part_.model.set_col_type(col, integer ? 'I' : 'C');
        choose(place, Choice::kRelaxed);
    }
}

void NodeProblem::decide(const std::vector<Decision>& path) {
    std::vector<Choice> wanted(columns_.size(), Choice::kRelaxed);
    for (const Decision& decision : path) wanted[decision.place] = decision.choice;
    for (std::size_t place = 0; place < wanted.size(); ++place)
        if (wanted[place] != chosen_[place]) choose(place, wanted[place]);
}

void NodeProblem::forget_objective() {
    for (int col = 0; col < part_.model.num_cols(); ++col) part_.model.set_cost(col, 0);
    part_.model.set_constant(0);
}

void NodeProblem::choose(std::size_t place, Choice choice) {
    const SemicontinuousColumn& column = columns_[place];
    const bool in_range = choice == Choice::kInRange;
    const bool zero = choice == Choice::kZero;
    const double least = in_range ? column.least : std::min(column.least, 0.0);
    const double most = in_range ? column.most : std::max(column.most, 0.0);
    part_.model.set_lb(column.col, zero ? 0 : least);
    part_.model.set_ub(column.col, zero ? 0 : most);
    chosen_[place] = choice;
}

}  // namespace qlx
