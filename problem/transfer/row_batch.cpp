// The pending batch of rows.
#include "problem/transfer/row_batch.hpp"

#include <cmath>

#include "module/boundary.hpp"
#include "module/library_error.hpp"
#include "module/pending_exception.hpp"
#include "problem/number_text.hpp"
#include "problem/transfer/convert.hpp"
#include "problem/transfer/dormant_constraints.hpp"
#include "problem/transfer/nonlinear_part.hpp"
#include "problem/transfer/released_body.hpp"

namespace quilex {

namespace {

constexpr Py_ssize_t kLongestRowName = PY_SSIZE_T_MAX;

void require_addable(const Problem* problem, PyObject* object) {
    if (!is_constraint(object)) raise_runtime_error("Invalid constraint");
    auto* constraint = reinterpret_cast<Constraint*>(object);
    if (constraint->body == nullptr && !has_released_body(constraint)) {
        raise_runtime_error("Stale expression link, cannot add constraint");
    }
    if (problem->con_index.find(constraint->index) != IndexMap::kMissing) {
        raise_runtime_error("Constraint already added to problem");
    }
}

void require_sound_bounds(Constraint* constraint) {
    const double lower = constraint->lb;
    const double upper = constraint->ub;
    if (lower <= upper && lower < kInfinity && upper > -kInfinity) return;
    const Ref name = constraint_name(constraint);
    raise_runtime_error(
        "Invalid bounds of constraint %S: lower bound %s, upper bound %s; the lower bound must "
        "be at most the upper bound, and each on its own side of infinity",
        name.get(), number_text(lower).c_str(), number_text(upper).c_str());
}

// A side that is infinite on the wrong side of zero can never hold.
void require_possible_side(Constraint* constraint, const RowSide& side) {
    const bool wrong = std::isnan(side.rhs) || (side.type == 'L' && side.rhs <= -kInfinity) ||
                       (side.type == 'G' && side.rhs >= kInfinity) ||
                       ((side.type == 'E' || side.type == 'R') && std::fabs(side.rhs) >= kInfinity);
    if (!wrong) return;
    const Ref name = constraint_name(constraint);
    raise_runtime_error(
        "Invalid value in constraint %S: the right-hand side, a bound minus the body's constant, "
        "is %s, must be less than 1e20 in magnitude",
        name.get(), number_text(side.rhs).c_str());
}

}  // namespace

void RowBatch::append_row(const Problem* problem, Constraint* constraint) {
    const Ref body = constraint_body(constraint);
    entries_.begin_row(problem, as_object(constraint));
    convertExpr(body.get(), 1.0, entries_);
    entries_.end_row();
    entries_.formulas.end_row(base_ + row_count());
    const RowSide side = getRhsSense(constraint->lb, constraint->ub, -entries_.constant);
    require_possible_side(constraint, side);
    rhs_.push_back(side.rhs);
    ranges_.push_back(side.range);
    starts_.push_back(static_cast<int64_t>(entries_.columns.size()));
    quadratic_starts_.push_back(static_cast<int64_t>(entries_.first_columns.size()));
    types_.push_back(side.type);
    if (constraint->name == nullptr) {
        names_.add_number(constraint->index);
    } else {
        names_.add_name(constraint->name, "constraint", PY_SSIZE_T_MAX);
    }
}

// Undoes append_row, complete or not, of row number `row` of the batch.
void RowBatch::drop_rows_from(size_t row) noexcept {
    entries_.abandon_row();
    names_.truncate(row);
    types_.resize(row);
    rhs_.resize(row);
    ranges_.resize(row);
    starts_.resize(row + 1);
    quadratic_starts_.resize(row + 1);
}

void RowBatch::collect(Problem* problem, PyObject* object) {
    require_addable(problem, object);
    auto* const constraint = reinterpret_cast<Constraint*>(object);
    require_sound_bounds(constraint);
    if (empty()) {
        require_library(as_object(problem),
                        QLXgetintattrib(problem->prob, QLX_ATTRIB_ROWS, &base_));
    }
    const size_t row = types_.size();
    try {
        append_row(problem, constraint);
        problem->con_index.insert(constraint->index, base_ + static_cast<int>(row));
        problem->constraints.append(object);
    } catch (...) {
        problem->con_index.erase_serial(constraint->index);
        drop_rows_from(row);
        throw;
    }
    problem->has_pending = true;
    if (is_releasable(constraint) && !entries_.left_out_zero()) release_body(problem, constraint);
}

int RowBatch::send_quadratic(QLXprob prob) const {
    if (entries_.first_columns.empty()) return 0;
    for (size_t row = 0; row < types_.size(); ++row) {
        const auto first = static_cast<size_t>(quadratic_starts_[row]);
        const int64_t count = quadratic_starts_[row + 1] - quadratic_starts_[row];
        if (count == 0) continue;
        const int status = QLXaddqmatrix64(
            prob, base_ + static_cast<int>(row), count, entries_.first_columns.data() + first,
            entries_.second_columns.data() + first, entries_.quadratic_coefficients.data() + first);
        if (status != 0) return status;
    }
    return 0;
}

int RowBatch::send(Problem* problem, bool* added) const {
    QLXprob prob = problem->prob;
    const int status =
        QLXaddrows64(prob, row_count(), starts_.back(), types_.data(), rhs_.data(), ranges_.data(),
                     starts_.data(), entries_.columns.data(), entries_.coefficients.data());
    if (status != 0) return status;
    *added = true;
    const int name_status = names_.send(prob, QLX_NAMES_ROW, base_);
    if (name_status != 0) return name_status;
    const int quadratic_status = send_quadratic(prob);
    if (quadratic_status != 0 || entries_.formulas.empty()) return quadratic_status;
    const int formula_status = add_coefficients(problem, entries_.formulas);
    if (formula_status == 0) ++problem->nl_cons;
    return formula_status;
}

void RowBatch::flush(Problem* problem) {
    if (empty()) return;
    bool added = false;
    const int status = send(problem, &added);
    if (status != 0) {
        set_library_error(as_object(problem));
        undo(problem, added);
    } else {
        for (size_t row = 0; row < types_.size(); ++row) {
            put_to_sleep_if_alone(problem, base_ + static_cast<int>(row), side(row));
        }
    }
    entries_.clear();
    names_.truncate(0);
    drop_rows_from(0);
    if (status != 0) throw PythonFailure();
}

void RowBatch::restore_pending_bodies(Problem* problem) const {
    const int first = problem->constraints.size() - row_count();
    for (int row = 0; row < row_count(); ++row) {
        auto* constraint = reinterpret_cast<Constraint*>(problem->constraints[first + row]);
        if (constraint->problem_slot != reinterpret_cast<uintptr_t>(problem)) continue;
        const auto begin = static_cast<size_t>(starts_[static_cast<size_t>(row)]);
        const auto end = static_cast<size_t>(starts_[static_cast<size_t>(row) + 1]);
        constraint->body =
            body_from_entries(problem, std::span(entries_.columns).subspan(begin, end - begin),
                              std::span(entries_.coefficients).subspan(begin, end - begin))
                .release();
        constraint->problem_slot = 0;
    }
}

// Takes the batch's constraints out of the problem; the pending exception stays.
void RowBatch::undo(Problem* problem, bool added) noexcept {
    const PendingException kept;
    guarded([&] {
        restore_pending_bodies(problem);
        const int first = problem->constraints.size() - row_count();
        for (int row = 0; row < row_count(); ++row) {
            problem->con_index.erase_serial(
                reinterpret_cast<Constraint*>(problem->constraints[first + row])->index);
        }
        const std::vector<int> rows = index_range(base_, row_count());
        if (added) QLXdelrows(problem->prob, row_count(), rows.data());
        problem->constraints.truncate(first);
    });
}

}  // namespace quilex
