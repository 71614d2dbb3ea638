// Finding fixed columns and empty rows; copying what is left.
#include "engine/tree/presolve/fixed_columns.hpp"

#include <cmath>

#include "engine/check/enclosed_sum.hpp"

namespace qlx {

namespace {

constexpr double kNegligible = 1e-9;  // of a side, where a row is empty

void mark_columns(const QuadraticForm& form, std::vector<char>& marked) {
    for (const QuadraticTerm& term : form.terms())
        marked[at(term.first)] = marked[at(term.second)] = 1;
}

// Flags of the columns that more than rows and costs mention.
std::vector<char> columns_with_meaning(const ModelSnapshot& model) {
    std::vector<char> marked(at(model.num_cols()), 0);
    for (const SpecialOrderedSet& set : model.sets)
        for (const int col : set.columns) marked[at(col)] = 1;
    for (const auto& [row, indicator] : model.indicators) marked[at(indicator.column)] = 1;
    mark_columns(model.quadratic_objective, marked);
    for (const auto& [row, form] : model.quadratic_rows) mark_columns(form, marked);
    return marked;
}

bool is_fixed(const ModelSnapshot& model, int col) {
    const double value = model.lower[at(col)];
    if (value != model.upper[at(col)]) return false;
    return model.type[at(col)] == 'C' || (model.is_integer(col) && value == std::round(value));
}

// Copies what stays of a model, in the numbers of the map under way.
class Removal {
  public:
    explicit Removal(const ModelSnapshot& stated)
        : stated_(stated),
          places_(at(stated.num_cols()), -1),
          row_places_(at(stated.num_rows()), -1) {}

    PresolvedModel run() {
        take_columns();
        for (int row = 0; row < stated_.num_rows(); ++row) take_row(row);
        out_.columns = transposed(out_.rows, out_.num_cols());
        take_constructs();
        PresolveMap map(std::move(columns_), std::move(rows_), stated_.lower, stated_.num_rows());
        return {std::make_shared<const ModelSnapshot>(std::move(out_)), std::move(map)};
    }

  private:
    void take_columns() {
        const std::vector<char> has_meaning = columns_with_meaning(stated_);
        EnclosedSum constant(stated_.constant);
        for (int col = 0; col < stated_.num_cols(); ++col) {
            if (has_meaning[at(col)] == 0 && is_fixed(stated_, col)) {
                constant.add_product(stated_.cost[at(col)], stated_.lower[at(col)]);
                continue;
            }
            places_[at(col)] = static_cast<int>(columns_.size());
            columns_.push_back(col);
            out_.cost.push_back(stated_.cost[at(col)]);
            out_.lower.push_back(stated_.lower[at(col)]);
            out_.upper.push_back(stated_.upper[at(col)]);
            out_.type.push_back(stated_.type[at(col)]);
            out_.limit.push_back(stated_.limit[at(col)]);
        }
        out_.constant = constant.value();
        out_.sense = stated_.sense;
    }

    void take_row(int row) {
        EnclosedSum fixed;
        const auto columns = stated_.rows.indices_of(row);
        const auto values = stated_.rows.values_of(row);
        const std::size_t first = out_.rows.indices.size();
        for (std::size_t k = 0; k < columns.size(); ++k) {
            if (places_[at(columns[k])] < 0) {
                fixed.add_product(-values[k], stated_.lower[at(columns[k])]);
                continue;
            }
            out_.rows.indices.push_back(places_[at(columns[k])]);
            out_.rows.values.push_back(values[k]);
        }
        const double lower = stated_.row_lower[at(row)];
        const double upper = stated_.row_upper[at(row)];
        EnclosedSum least = fixed;
        least.add(lower);
        EnclosedSum most = fixed;
        most.add(upper);
        const bool is_linear =
            stated_.indicators.count(row) == 0 && stated_.quadratic_rows.count(row) == 0;
        if (is_linear && out_.rows.indices.size() == first &&
            (lower <= -kInfinity || least.below() <= kNegligible * (1 + std::fabs(lower))) &&
            (upper >= kInfinity || most.above() >= -kNegligible * (1 + std::fabs(upper))))
            return;
        row_places_[at(row)] = static_cast<int>(rows_.size());
        rows_.push_back(row);
        out_.rows.end_line();
        out_.row_lower.push_back(lower <= -kInfinity ? lower : least.below());
        out_.row_upper.push_back(upper >= kInfinity ? upper : most.above());
    }

    void take_constructs() {
        out_.sets = stated_.sets;
        for (SpecialOrderedSet& set : out_.sets)
            for (int& col : set.columns) col = places_[at(col)];
        for (const auto& [row, indicator] : stated_.indicators)
            out_.indicators[row_places_[at(row)]] = {places_[at(indicator.column)],
                                                     indicator.active};
        out_.quadratic_objective = stated_.quadratic_objective;
        out_.quadratic_objective.delete_columns(places_);
        for (const auto& [row, form] : stated_.quadratic_rows) {
            QuadraticForm& kept = out_.quadratic_rows[row_places_[at(row)]];
            kept = form;
            kept.delete_columns(places_);
        }
        out_.delayed_rows = kept_rows(stated_.delayed_rows);
        out_.model_cuts = kept_rows(stated_.model_cuts);
    }

    [[nodiscard]] std::vector<int> kept_rows(const std::vector<int>& rows) const {
        std::vector<int> kept;
        for (const int row : rows)
            if (row_places_[at(row)] >= 0) kept.push_back(row_places_[at(row)]);
        return kept;
    }

    const ModelSnapshot& stated_;
    std::vector<int> places_, row_places_;  // by stated column and row, -1: gone
    std::vector<int> columns_, rows_;       // stated, by presolved
    ModelSnapshot out_;
};

}  // namespace

PresolvedModel remove_fixed_columns(const ModelSnapshot& stated) {
    return Removal(stated).run();
}

}  // namespace qlx
