// The course of presolve, and rows that say little.
#include "engine/nlp/presolve/reduction.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "engine/base/index.hpp"
#include "engine/nlp/presolve/limits.hpp"

namespace qlx::nlp {

namespace {

constexpr int kMaxPasses = 20;

}  // namespace

Reduction::Reduction(const Statement& given, const NonlinearPresolveOptions& options)
    : owners(given.column_lower.size()),
      options_(options),
      work_(given),
      moves_(given.column_lower.size(), 0),
      alive_(given.row_lower.size(), 1),
      constant_(given.row_lower.size() + 1),
      to_objective_(given.row_lower.size(), 0),
      joins_objective_(given.row_lower.size(), 0) {
    for (const int column : given.moving) moves_[at(column)] = 1;
    constant(kObjectiveRow).add(given.constant);
}

bool Reduction::run() {
    for (int pass = 0; pass < kMaxPasses; ++pass) {
        changed_ = false;
        if (!fix_columns()) return false;
        if (has_constants_) fold_constants();
        merge_linear();
        count();
        if (!drop_rows()) return false;
        substitute_columns();
        settle_unused_columns();
        if (!changed_) return true;
    }
    // The last pass may have made bounds equal.
    if (!fix_columns()) return false;
    fold_constants();
    return true;
}

Statement Reduction::result() {
    std::vector<int> number(alive_.size(), -1);
    Statement& out = work_;
    for (std::size_t r = 0; r < alive_.size(); ++r) {
        if (alive_[r] == 0) continue;
        const int row = static_cast<int>(r);
        const std::size_t place = kept_rows.size();
        const double lower = lower_side(row);
        const double upper = upper_side(row);
        number[r] = static_cast<int>(place);
        kept_rows.push_back(row);
        out.row_lower[place] = lower;
        out.row_upper[place] = upper;
        out.model_row[place] = out.model_row[r];
    }
    out.row_lower.resize(kept_rows.size());
    out.row_upper.resize(kept_rows.size());
    out.model_row.resize(kept_rows.size());
    const auto renumber = [&](auto& entries) {
        std::erase_if(entries, [&](const auto& entry) {
            return entry.row != kObjectiveRow && alive_[at(entry.row)] == 0;
        });
        for (auto& entry : entries)
            if (entry.row != kObjectiveRow) entry.row = number[at(entry.row)];
    };
    renumber(out.linear);
    renumber(out.quadratic);
    renumber(out.nonlinear);
    out.constant = constant(kObjectiveRow).value();
    std::erase_if(out.moving, [this](int column) { return !moves(column); });
    return std::move(work_);
}

bool Reduction::drop_rows() {
    for (int row = 0; row < static_cast<int>(alive_.size()); ++row) {
        if (alive_[at(row)] == 0) continue;
        if (is_minus_infinite(work_.row_lower[at(row)]) &&
            is_plus_infinite(work_.row_upper[at(row)])) {
            alive_[at(row)] = 0;
            changed_ = true;
        } else if (counts_.curved_of_row[at(row)] == 0) {
            const int entries = counts_.linear_of_row[at(row)];
            if (entries == 0 && !drop_empty_row(row)) return false;
            if (entries == 1 && !drop_singleton_row(row)) return false;
        }
    }
    const auto is_gone = [this](const auto& entry) {
        return entry.row != kObjectiveRow && alive_[at(entry.row)] == 0;
    };
    // The linear entries go in the next pass, as the counts have their positions.
    std::erase_if(work_.quadratic, is_gone);
    std::erase_if(work_.nonlinear, is_gone);
    return true;
}

bool Reduction::drop_empty_row(int row) {
    const double lower = lower_side(row);
    const double upper = upper_side(row);
    if (lower > tolerance(work_.row_lower[at(row)]) || upper < -tolerance(work_.row_upper[at(row)]))
        return infeasible(row, -1, "the row's columns are all fixed, at values that it forbids");
    alive_[at(row)] = 0;
    changed_ = true;
    return true;
}

bool Reduction::drop_singleton_row(int row) {
    const LinearEntry entry = work_.linear[at(counts_.entry_of_row[at(row)])];
    const double by_lower = lower_side(row) / entry.coefficient;
    const double by_upper = upper_side(row) / entry.coefficient;
    const bool rising = entry.coefficient > 0;
    const double lower = rising ? by_lower : by_upper;
    const double upper = rising ? by_upper : by_lower;
    // A tiny coefficient makes a bound of a size that means nothing to solvers.
    const auto is_usable = [](double bound) {
        return std::isinf(bound) || std::fabs(bound) < 1e15;
    };
    if (!is_usable(lower) || !is_usable(upper)) return true;
    if (!tighten(row, entry.column, lower, upper, entry.coefficient)) return false;
    alive_[at(row)] = 0;
    changed_ = true;
    return true;
}

bool Reduction::tighten(int row, int column, double lower, double upper, double coefficient) {
    double& known_lower = work_.column_lower[at(column)];
    double& known_upper = work_.column_upper[at(column)];
    BoundOwners& owner = owners[at(column)];
    if (lower > known_lower) {
        known_lower = lower;
        owner.lower = row;
        owner.lower_coefficient = coefficient;
    }
    if (upper < known_upper) {
        known_upper = upper;
        owner.upper = row;
        owner.upper_coefficient = coefficient;
    }
    if (known_lower > known_upper + tolerance(known_lower))
        return infeasible(row, column, "the row contradicts the bounds of its only column");
    return true;
}

bool Reduction::moves(int column) const noexcept {
    return moves_[at(column)] != 0;
}

double Reduction::tolerance(double side) const noexcept {
    return options_.feasibility_tolerance * std::max(1.0, std::fabs(side));
}

EnclosedSum& Reduction::constant(int row) noexcept {
    return constant_[at(row + 1)];
}

double Reduction::lower_side(int row) noexcept {
    const double side = work_.row_lower[at(row)];
    if (is_minus_infinite(side)) return -std::numeric_limits<double>::infinity();
    EnclosedSum sum = constant(row);
    sum.add(-side);
    return -sum.value();
}

double Reduction::upper_side(int row) noexcept {
    const double side = work_.row_upper[at(row)];
    if (is_plus_infinite(side)) return std::numeric_limits<double>::infinity();
    EnclosedSum sum = constant(row);
    sum.add(-side);
    return -sum.value();
}

bool Reduction::infeasible(int row, int column, std::string reason) {
    blame = {row, column, std::move(reason)};
    return false;
}

}  // namespace qlx::nlp
