// What a search's workers read: an immutable copy of the model, its presolved form and the maps
// between the two. The model store changes on reading and belongs to one thread; this does not.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <vector>

#include "engine/base/index.hpp"
#include "engine/data/model.hpp"

namespace qlx {

// A matrix by rows or by columns.
struct CompressedLines {
    std::vector<std::int64_t> starts = {0};  // one more than there are lines
    std::vector<int> indices;
    std::vector<double> values;

    [[nodiscard]] int count() const noexcept { return static_cast<int>(starts.size()) - 1; }
    [[nodiscard]] std::span<const int> indices_of(int line) const noexcept {
        return {indices.data() + starts[at(line)], length(line)};
    }
    [[nodiscard]] std::span<const double> values_of(int line) const noexcept {
        return {values.data() + starts[at(line)], length(line)};
    }
    // Ends the line whose entries were pushed back.
    void end_line() { starts.push_back(static_cast<std::int64_t>(indices.size())); }

  private:
    [[nodiscard]] std::size_t length(int line) const noexcept {
        return at(starts[at(line) + 1] - starts[at(line)]);
    }
};

// The same matrix by its other dimension, of which there are `count`; indices ascend in each line.
[[nodiscard]] CompressedLines transposed(const CompressedLines& lines, int count);

// A model's mathematics, without names, as it was at one moment.
struct ModelSnapshot {
    ModelSnapshot() = default;
    explicit ModelSnapshot(Model& model);

    [[nodiscard]] int num_cols() const noexcept { return static_cast<int>(cost.size()); }
    [[nodiscard]] int num_rows() const noexcept { return static_cast<int>(row_lower.size()); }
    [[nodiscard]] bool is_integer(int col) const noexcept {
        return type[at(col)] == 'I' || type[at(col)] == 'B';
    }
    // As in Model: what holds whatever the types and indicators.
    [[nodiscard]] Sides relaxed_sides(int row) const;
    [[nodiscard]] Sides relaxed_bounds(int col) const noexcept;

    int sense = 1;  // 1 minimise, -1 maximise
    double constant = 0;
    std::vector<double> cost, lower, upper;
    std::vector<char> type;     // C B I S R P
    std::vector<double> limit;  // of S, R and P columns; else 0
    // Sides as stated; those of an indicator row hold where it is active.
    std::vector<double> row_lower, row_upper;
    CompressedLines rows, columns;
    std::vector<SpecialOrderedSet> sets;
    Indicators indicators;
    QuadraticForm quadratic_objective;
    std::map<int, QuadraticForm> quadratic_rows;
    std::vector<int> delayed_rows, model_cuts;
};

// Numbers and points of the stated model in those of the presolved one, and back.
class PresolveMap {
  public:
    static PresolveMap identity(int num_cols, int num_rows);
    // The stated columns and rows that are left, ascending, and a value for every stated column,
    // which those that are gone keep.
    PresolveMap(std::vector<int> columns, std::vector<int> rows, std::vector<double> values,
                int num_rows);

    [[nodiscard]] int stated_column(int col) const noexcept { return columns_[at(col)]; }
    [[nodiscard]] int stated_row(int row) const noexcept { return rows_[at(row)]; }
    // -1: it is gone.
    [[nodiscard]] int presolved_column(int stated) const noexcept {
        return column_places_[at(stated)];
    }
    [[nodiscard]] int presolved_row(int stated) const noexcept { return row_places_[at(stated)]; }

    [[nodiscard]] std::vector<double> to_stated(std::span<const double> x) const;
    [[nodiscard]] std::vector<double> to_presolved(std::span<const double> x) const;

  private:
    std::vector<int> columns_, rows_;
    std::vector<int> column_places_, row_places_;
    std::vector<double> values_;
};

struct PresolvedModel {
    std::shared_ptr<const ModelSnapshot> model;
    PresolveMap map;
};

// Everything in it is const: share it by shared_ptr and read it from any thread.
class FrozenModel {
  public:
    // Presolved is as stated.
    explicit FrozenModel(std::shared_ptr<const ModelSnapshot> stated);
    FrozenModel(std::shared_ptr<const ModelSnapshot> stated, PresolvedModel presolved)
        : stated_(std::move(stated)), presolved_(std::move(presolved)) {}

    [[nodiscard]] const ModelSnapshot& stated() const noexcept { return *stated_; }
    [[nodiscard]] const ModelSnapshot& presolved() const noexcept { return *presolved_.model; }
    [[nodiscard]] const PresolveMap& map() const noexcept { return presolved_.map; }

  private:
    std::shared_ptr<const ModelSnapshot> stated_;
    PresolvedModel presolved_;
};

}  // namespace qlx
