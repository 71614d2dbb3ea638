// Copying the model store for workers; numbering of presolved columns and rows.
#include "engine/data/frozen_model.hpp"

#include <algorithm>
#include <numeric>

namespace qlx {

namespace {

std::vector<int> places_of(const std::vector<int>& kept, std::size_t count) {
    std::vector<int> places(count, -1);
    for (std::size_t k = 0; k < kept.size(); ++k) places[at(kept[k])] = static_cast<int>(k);
    return places;
}

std::vector<int> all_of(int count) {
    std::vector<int> numbers(at(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

}  // namespace

CompressedLines transposed(const CompressedLines& lines, int count) {
    CompressedLines out;
    out.starts.assign(at(count) + 1, 0);
    for (const int index : lines.indices) ++out.starts[at(index) + 1];
    std::partial_sum(out.starts.begin(), out.starts.end(), out.starts.begin());
    out.indices.resize(lines.indices.size());
    out.values.resize(lines.values.size());
    std::vector<std::int64_t> next(out.starts.begin(), out.starts.end() - 1);
    for (int line = 0; line < lines.count(); ++line) {
        for (auto k = lines.starts[at(line)]; k < lines.starts[at(line) + 1]; ++k) {
            const auto place = at(next[at(lines.indices[at(k)])]++);
            out.indices[place] = line;
            out.values[place] = lines.values[at(k)];
        }
    }
    return out;
}

ModelSnapshot::ModelSnapshot(Model& model)
    : sense(model.sense() < 0 ? -1 : 1),
      constant(model.constant()),
      cost(model.obj()),
      lower(model.lb()),
      upper(model.ub()),
      type(model.col_type()),
      limit(at(model.num_cols()), 0.0),
      row_lower(at(model.num_rows())),
      row_upper(at(model.num_rows())),
      rows{model.matrix().starts(), model.matrix().columns(), model.matrix().values()},
      columns(transposed(rows, model.num_cols())),
      sets(model.sets()),
      indicators(model.indicators()),
      quadratic_objective(model.quadratic_objective()),
      quadratic_rows(model.quadratic_rows()),
      delayed_rows(model.delayed_rows()),
      model_cuts(model.model_cuts()) {
    if (model.num_entities() > 0)
        for (int col = 0; col < num_cols(); ++col) limit[at(col)] = model.limit(col);
    for (int row = 0; row < num_rows(); ++row) {
        const Sides sides = model.sides(row);
        row_lower[at(row)] = sides.lower;
        row_upper[at(row)] = sides.upper;
    }
}

Sides ModelSnapshot::relaxed_sides(int row) const {
    if (!indicators.empty() && indicators.count(row) != 0) return {-kInfinity, kInfinity};
    return {row_lower[at(row)], row_upper[at(row)]};
}

Sides ModelSnapshot::relaxed_bounds(int col) const noexcept {
    const Sides bounds{lower[at(col)], upper[at(col)]};
    if (type[at(col)] != 'S' && type[at(col)] != 'R') return bounds;
    return {std::min(bounds.lower, 0.0), std::max(bounds.upper, 0.0)};
}

PresolveMap::PresolveMap(std::vector<int> columns, std::vector<int> rows,
                         std::vector<double> values, int num_rows)
    : columns_(std::move(columns)),
      rows_(std::move(rows)),
      column_places_(places_of(columns_, values.size())),
      row_places_(places_of(rows_, at(num_rows))),
      values_(std::move(values)) {}

PresolveMap PresolveMap::identity(int num_cols, int num_rows) {
    return {all_of(num_cols), all_of(num_rows), std::vector<double>(at(num_cols), 0.0), num_rows};
}

std::vector<double> PresolveMap::to_stated(std::span<const double> x) const {
    std::vector<double> stated = values_;
    for (std::size_t k = 0; k < columns_.size(); ++k) stated[at(columns_[k])] = x[k];
    return stated;
}

std::vector<double> PresolveMap::to_presolved(std::span<const double> x) const {
    std::vector<double> presolved(columns_.size());
    for (std::size_t k = 0; k < columns_.size(); ++k) presolved[k] = x[at(columns_[k])];
    return presolved;
}

FrozenModel::FrozenModel(std::shared_ptr<const ModelSnapshot> stated)
    : stated_(std::move(stated)),
      presolved_{stated_, PresolveMap::identity(stated_->num_cols(), stated_->num_rows())} {}

}  // namespace qlx
