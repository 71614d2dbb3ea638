// The pending batch of rows.
#include "problem/transfer/row_batch.hpp"

#include <cmath>

#include "module/boundary.hpp"
#include "module/library_error.hpp"
#include "module/pending_exception.hpp"
#include "problem/access.hpp"
#include "problem/number_text.hpp"
#include "problem/transfer/append.hpp"
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

void RowBatch::append_row(const Problem* problem, Constraint* constraint, PyObject* body) {
    entries_.begin_row(problem, as_object(constraint));
    convertExpr(body, 1.0, entries_);
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
        names_.add_name(constraint->name, "constraint", kLongestRowName);
    }
}

void RowBatch::drop_rows_from(size_t row) noexcept {
    types_.resize(row);
    rhs_.resize(row);
    ranges_.resize(row);
    starts_.resize(row + 1);
    quadratic_starts_.resize(row + 1);
}

void RowBatch::rewind(const Mark& mark) noexcept {
    drop_rows_from(mark.rows);
    entries_.rewind(mark.entries);
    names_.rewind(mark.names);
}

void RowBatch::clear() noexcept {
    drop_rows_from(0);
    entries_.clear();
    names_.clear();
    added_ = false;
}

void RowBatch::collect(Problem* problem, PyObject* object) {
    require_addable(problem, object);
    auto* const constraint = reinterpret_cast<Constraint*>(object);
    // It may have been released to another problem; making it again may run any Python code.
    const bool is_made_again = has_released_body(constraint);
    Ref body = constraint_body(constraint);
    const ConversionScope conversion(problem);
    if (is_made_again) require_addable(problem, object);
    require_sound_bounds(constraint);
    if (empty()) base_ = rows_to_append_to(problem);
    const int row = base_ + row_count();
    Append append(*this);
    append_row(problem, constraint, body.get());
    problem->constraints.make_room();
    problem->con_index.insert(constraint->index, row);
    problem->constraints.append(object);
    append.keep();
    body.reset();
    if (is_releasable(constraint) && !entries_.left_out_zero()) release_body(problem, constraint);
}

int RowBatch::hand_over_products(QLXprob prob) const {
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

int RowBatch::hand_over(Problem* problem) {
    QLXprob prob = problem->prob;
    const int status =
        QLXaddrows64(prob, row_count(), starts_.back(), types_.data(), rhs_.data(), ranges_.data(),
                     starts_.data(), entries_.columns.data(), entries_.coefficients.data());
    if (status != 0) return status;
    added_ = true;
    const int name_status = names_.send(prob, QLX_NAMES_ROW, base_);
    if (name_status != 0) return name_status;
    const int quadratic_status = hand_over_products(prob);
    if (quadratic_status != 0 || entries_.formulas.empty()) return quadratic_status;
    const int formula_status = add_coefficients(problem, entries_.formulas);
    if (formula_status == 0) ++problem->nl_cons;
    return formula_status;
}

void RowBatch::send(Problem* problem) {
    if (empty()) return;
    if (hand_over(problem) != 0) raise_library_error(as_object(problem));
    for (size_t row = 0; row < types_.size(); ++row) {
        put_to_sleep_if_alone(problem, base_ + static_cast<int>(row), side(row));
    }
    clear();
}

void RowBatch::fill_body_of(Expression* body, const Problem* problem, int row) const {
    const auto position = static_cast<size_t>(row - base_);
    const auto begin = static_cast<size_t>(starts_[position]);
    const size_t count = static_cast<size_t>(starts_[position + 1]) - begin;
    fill_body(body, problem, std::span(entries_.columns).subspan(begin, count),
              std::span(entries_.coefficients).subspan(begin, count));
}

void RowBatch::take_back(Problem* problem) noexcept {
    if (empty()) return;
    const PendingException kept;
    const int count = row_count();
    const int first = problem->constraints.size() - count;
    for (int i = 0; i < count; ++i) {
        auto* constraint = reinterpret_cast<Constraint*>(problem->constraints[first + i]);
        guarded([&] { restore_body(problem, constraint); });
        constraint->problem_slot = 0;
        problem->con_index.erase_serial(constraint->index);
    }
    // One by one, so that no memory is needed.
    for (int row = base_ + count; added_ && row-- > base_;) QLXdelrows(problem->prob, 1, &row);
    clear();
    problem->constraints.truncate(first);
}

}  // namespace quilex
