// Sorts quadratic rows by what they are, until the columns they fix make no more of them simpler.
#include "engine/quad/cone_presolve.hpp"
#include "engine/base/index.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace qlx::quad {

ConePresolve::ConePresolve(const ConvexProgram& source)
    : source_(source),
      is_settled_(source.quadratic_rows.size(), false),
      is_flat_(source.quadratic_rows.size(), false),
      entries_(source.rows),
      model_(linear_part(source)) {
    std::vector<bool> used(source.cost.size(), false);
    for (const QuadraticRow& row : source.quadratic_rows) {
        for (const Triplet& entry : row.hessian)
            used[at(entry.row)] = used[at(entry.column)] = true;
        for (const int j : row.columns) used[at(j)] = true;
    }
    for (int j = 0; j < source.column_count(); ++j) {
        if (used[at(j)]) held_.push_back(j);
    }
}

bool ConePresolve::reduce() {
    model_.rows = compress(model_.row_count(), model_.column_count(), entries_);
    reduction_ = Reduction();
    if (reduction_.reduce(model_, held_)) return true;
    return settle(ConvexStatus::kInfeasible, source_place(reduction_.place()));
}

void ConePresolve::add_linear_row(int k, const ConvexRow& row) {
    const int place = model_.row_count();
    for (std::size_t c = 0; c < row.columns.size(); ++c) {
        entries_.push_back({place, row.columns[c], row.linear[c]});
    }
    const QuadraticRow& source = source_.quadratic_rows[at(k)];
    const bool below = is_finite_lower(source.lower);
    const bool above = is_finite_upper(source.upper);
    model_.row_lower.push_back(below ? source.lower - row.upper : -kInfinity);
    model_.row_upper.push_back(above ? source.upper - row.upper : kInfinity);
    added_.push_back(k);
    is_equation_.push_back(false);
    is_settled_[at(k)] = true;
}

// Returns false where the row cannot be met.
bool ConePresolve::add_flat_row(int k, const ConvexRow& row, bool& changed) {
    const FlatRow flat = flatten(row, reduction_.column_lower(), reduction_.column_upper());
    if (flat.flatness == Flatness::kImpossible) {
        return settle(ConvexStatus::kInfeasible, {-1, k, -1, -1});
    }
    if (flat.flatness == Flatness::kSolid) return true;
    for (const LinearEquation& equation : flat.equations) {
        const int place = model_.row_count();
        for (std::size_t c = 0; c < equation.columns.size(); ++c) {
            entries_.push_back({place, equation.columns[c], equation.coefficients[c]});
        }
        model_.row_lower.push_back(equation.value);
        model_.row_upper.push_back(equation.value);
        added_.push_back(k);
        is_equation_.push_back(true);
    }
    is_settled_[at(k)] = is_flat_[at(k)] = changed = true;
    return true;
}

// Returns false where the status is settled. A row that is not convex may become so when others
// have fixed its columns.
bool ConePresolve::sort_rows(bool& changed) {
    program_.rows.clear();
    convex_source_.clear();
    ConvexStatus doubt = ConvexStatus::kOptimal;
    ModelPlace doubtful;
    for (int k = 0; k < static_cast<int>(is_settled_.size()); ++k) {
        if (is_settled_[at(k)]) continue;
        ConvexRow row = recognise(source_.quadratic_rows[at(k)], reduction_.column_lower(),
                                  reduction_.column_upper());
        switch (row.shape) {
            case RowShape::kFree:
                break;
            case RowShape::kLinear:
                add_linear_row(k, row);
                changed = true;
                break;
            case RowShape::kEllipsoid:
                if (!add_flat_row(k, row, changed)) return false;
                if (is_settled_[at(k)]) break;
                [[fallthrough]];
            case RowShape::kCone:
                convex_source_.push_back(k);
                program_.rows.push_back(std::move(row));
                break;
            case RowShape::kNonconvex:
                if (doubt != ConvexStatus::kNonconvex) {
                    doubtful = {-1, k, row.first_column, row.second_column};
                }
                doubt = ConvexStatus::kNonconvex;
                break;
            case RowShape::kUndecided:
                if (doubt != ConvexStatus::kOptimal) break;
                doubt = ConvexStatus::kNumericalFailure;
                doubtful = {-1, k, -1, -1};
                break;
        }
    }
    return changed || doubt == ConvexStatus::kOptimal || settle(doubt, doubtful);
}

// From the source's columns to the reduced model's; those that are gone are constants by now.
void ConePresolve::map_columns() {
    const std::vector<int>& kept = reduction_.kept_columns();
    std::vector<int> place(source_.cost.size(), -1);
    for (std::size_t c = 0; c < kept.size(); ++c) place[at(kept[c])] = static_cast<int>(c);
    for (ConvexRow& row : program_.rows) {
        for (int& column : row.columns) column = place[at(column)];
    }
    program_.model = reduction_.reduced();
}

bool ConePresolve::run() {
    // Every further pass has settled at least one row.
    bool changed = true;
    while (changed) {
        changed = false;
        if (!reduce() || !sort_rows(changed)) return false;
    }
    map_columns();
    return true;
}

ModelPlace ConePresolve::source_place(ModelPlace place) const {
    if (place.row < source_.row_count()) return place;
    place.quadratic_row = added_[at(place.row - source_.row_count())];
    place.row = -1;
    return place;
}

void ConePresolve::restore_duals(ConvexResult& result) const {
    const std::size_t own = at(source_.row_count());
    result.quadratic_dual.resize(source_.quadratic_rows.size(), 0.0);
    if (result.row_dual.size() <= own) return;
    for (std::size_t k = 0; k < added_.size(); ++k) {
        if (!is_equation_[k]) result.quadratic_dual[at(added_[k])] = result.row_dual[own + k];
    }
    result.row_dual.resize(own);
    result.row_activity.resize(std::min(own, result.row_activity.size()));
}

}  // namespace qlx::quad
