// Takes deleted rows and columns out of solutions.
#include "engine/core/result_edits.hpp"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

#include "engine/check/point_check.hpp"

namespace qlx {

namespace {

void compress(std::vector<double>& values, const std::vector<int>& new_index) {
    std::size_t kept = 0;
    for (std::size_t k = 0; k < values.size(); ++k)
        if (new_index[k] >= 0) values[kept++] = values[k];
    values.resize(kept);
}

Solution extended(Solution solution, Model& model) {
    const auto cols = model.lb().size();
    const auto rows = model.rhs().size();
    for (std::size_t col = solution.x.size(); col < cols; ++col)
        solution.x.push_back(std::clamp(0.0, model.lb()[col], model.ub()[col]));
    if (solution.slack.size() < rows) {
        const std::vector<double> activities = row_activities(model, solution.x.data());
        for (std::size_t row = solution.slack.size(); row < rows; ++row)
            solution.slack.push_back(model.rhs()[row] - activities[row]);
    }
    solution.dual.resize(rows, 0.0);
    solution.dj.resize(cols, 0.0);
    return solution;
}

template <class Edit>
void edit(SolutionSlot& slot, const Edit& change) {
    const auto held = slot.get();
    if (held == nullptr) return;
    Solution copy = *held;
    change(copy);
    slot.replace(std::make_shared<const Solution>(std::move(copy)));
}

void extend(SolutionSlot& slot, Model& model) {
    const auto held = slot.get();
    if (held == nullptr ||
        (held->x.size() == model.lb().size() && held->slack.size() == model.rhs().size()))
        return;
    slot.replace(std::make_shared<const Solution>(extended(*held, model)));
}

}  // namespace

void delete_rows_from_results(Results& results, const std::vector<int>& new_index) {
    for (SolutionSlot* slot : {&results.lp, &results.mip})
        edit(*slot, [&](Solution& solution) {
            compress(solution.slack, new_index);
            compress(solution.dual, new_index);
        });
}

void delete_columns_from_results(Results& results, const std::vector<int>& new_index) {
    for (SolutionSlot* slot : {&results.lp, &results.mip})
        edit(*slot, [&](Solution& solution) {
            compress(solution.x, new_index);
            compress(solution.dj, new_index);
        });
}

void extend_results(Results& results, Model& model) {
    extend(results.lp, model);
    extend(results.mip, model);
}

}  // namespace qlx
