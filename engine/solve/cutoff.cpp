// The cutoff of a tree search, stated as a row.
#include "engine/solve/cutoff.hpp"

#include "engine/data/model.hpp"

namespace qlx {

void add_cutoff_row(KernelModel& model, double cutoff) {
    std::vector<int> start = {0};
    std::vector<int> row;
    std::vector<double> value;
    for (std::size_t col = 0; col < model.cost.size(); ++col) {
        const auto first = model.start[col];
        const auto end = model.start[col + 1];
        row.insert(row.end(), model.row.begin() + first, model.row.begin() + end);
        value.insert(value.end(), model.value.begin() + first, model.value.begin() + end);
        if (model.cost[col] != 0) {
            row.push_back(model.num_rows);
            value.push_back(model.cost[col]);
        }
        start.push_back(static_cast<int>(row.size()));
    }
    model.start = std::move(start);
    model.row = std::move(row);
    model.value = std::move(value);
    const double side = cutoff - model.constant;
    model.row_lower.push_back(model.maximise ? side : -kInfinity);
    model.row_upper.push_back(model.maximise ? kInfinity : side);
    ++model.num_rows;
}

}  // namespace qlx
