// Presolve of nonlinear statements: the way there and back.
#include "engine/nlp/presolve/nonlinear_presolve.hpp"

#include <cmath>
#include <cstddef>
#include <utility>

#include "engine/base/index.hpp"
#include "engine/nlp/analysis/interval_analysis.hpp"
#include "engine/nlp/analysis/statement_values.hpp"
#include "engine/nlp/presolve/reduction.hpp"

namespace qlx::nlp {

NonlinearPresolve::NonlinearPresolve(Statement given, const NonlinearPresolveOptions& options)
    : given_(std::move(given)) {
    Reduction reduction(given_, options);
    if (!reduction.run()) {
        verdict_ = PresolveVerdict::kInfeasible;
        blame_ = std::move(reduction.blame);
        return;
    }
    reduced_ = reduction.result();
    kept_rows_ = std::move(reduction.kept_rows);
    removals_ = std::move(reduction.removals);
    owners_ = std::move(reduction.owners);
    domain_bounds_ = apply_domain_bounds(reduced_);
    test_feasibility(options);
}

void NonlinearPresolve::test_feasibility(const NonlinearPresolveOptions& options) {
    for (const DomainBound& bound : domain_bounds_) {
        if (bound.lower <= bound.upper) continue;
        verdict_ = PresolveVerdict::kInfeasible;
        blame_ = {kObjectiveRow, bound.column,
                  "a function of the column is undefined for all values that its bounds allow"};
        return;
    }
    const FormulaGraph graph(reduced_);
    IntervalAnalysis analysis(reduced_, graph);
    PropagationOptions propagation;
    propagation.feasibility_tolerance = options.feasibility_tolerance;
    if (analysis.propagate(propagation)) return;
    verdict_ = PresolveVerdict::kInfeasible;
    const int row = analysis.failed_row();
    blame_ = row == kObjectiveRow
                 ? PresolveBlame{row, -1,
                                 "the objective is undefined at all points that bounds and rows "
                                 "allow"}
                 : PresolveBlame{kept_rows_[at(row)], -1,
                                 "no point that the bounds and the other rows allow satisfies the "
                                 "row"};
}

NonlinearPresolve::~NonlinearPresolve() = default;

FullPoint NonlinearPresolve::postsolve(std::span<const double> x, std::span<const double> row_dual,
                                       std::span<const double> column_dual) {
    if (!values_) values_ = std::make_unique<StatementValues>(given_);
    FullPoint point;
    point.x = point_of_all_columns(reduced_, x);
    for (const Removal& removal : removals_) point.x[at(removal.column)] = 0;
    for (const Removal& removal : removals_)
        if (removal.row < 0) point.x[at(removal.column)] = removal.side;
    // A substituted column's row has no other column that was substituted before.
    for (std::size_t k = removals_.size(); k-- > 0;) {
        const Removal& removal = removals_[k];
        if (removal.row < 0) continue;
        const double rest = values_->value(removal.row, point.x);
        point.x[at(removal.column)] = (removal.side - rest) / removal.coefficient;
    }
    if (row_dual.size() == kept_rows_.size() && column_dual.size() == reduced_.moving.size()) {
        restore_duals(row_dual, column_dual, point);
    }
    return point;
}

// In the reverse order of time, as the dual of a column that was fixed by a row needs the duals of
// the rows that went later.
void NonlinearPresolve::restore_duals(std::span<const double> row_dual,
                                      std::span<const double> column_dual, FullPoint& point) {
    point.row_dual.assign(given_.row_lower.size(), 0);
    point.column_dual.assign(given_.column_lower.size(), 0);
    for (std::size_t k = 0; k < kept_rows_.size(); ++k)
        point.row_dual[at(kept_rows_[k])] = row_dual[k];
    for (const Removal& removal : removals_)
        if (removal.row >= 0) point.row_dual[at(removal.row)] = removal.dual;
    for (std::size_t k = 0; k < reduced_.moving.size(); ++k)
        hand_to_owners(reduced_.moving[k], column_dual[k], point, nullptr);

    std::vector<double> gradient(point.x.size(), 0);
    values_->add_gradient(kObjectiveRow, 1, point.x, gradient);
    for (int row = 0; row < given_.num_rows(); ++row) {
        const double dual = point.row_dual[at(row)];
        if (dual != 0) values_->add_gradient(row, -dual, point.x, gradient);
    }
    for (std::size_t k = removals_.size(); k-- > 0;) {
        const Removal& removal = removals_[k];
        if (removal.row >= 0) continue;
        const double dual = gradient[at(removal.column)];
        if (std::isfinite(dual)) hand_to_owners(removal.column, dual, point, &gradient);
    }
}

// Gives a column's dual to the row whose side is the bound that it belongs to.
void NonlinearPresolve::hand_to_owners(int column, double dual, FullPoint& point,
                                       std::vector<double>* gradient) {
    const BoundOwners& owner = owners_[at(column)];
    const bool is_lower = dual > 0;
    const int row = is_lower ? owner.lower : owner.upper;
    if (row < 0) {
        point.column_dual[at(column)] = dual;
        return;
    }
    const double row_dual = dual / (is_lower ? owner.lower_coefficient : owner.upper_coefficient);
    point.row_dual[at(row)] += row_dual;
    if (gradient != nullptr) values_->add_gradient(row, -row_dual, point.x, *gradient);
}

}  // namespace qlx::nlp
