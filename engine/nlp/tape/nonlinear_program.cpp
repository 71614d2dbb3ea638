// A statement as solvers evaluate it: compiled once, then evaluated at many points.
#include "engine/nlp/tape/nonlinear_program.hpp"

#include <algorithm>
#include <cmath>

#include "engine/nlp/tape/complaint.hpp"

namespace qlx::nlp {

namespace {

bool all_finite(std::span<const double> values) noexcept {
    return sum_of(values.size(), [&](std::size_t k) { return values[k] * 0.0; }) == 0;
}

}  // namespace

NonlinearProgram::NonlinearProgram(const Statement& statement, UserFunctions* user)
    : statement_(statement),
      user_(user),
      num_columns_(static_cast<int>(statement.moving.size())),
      x_(statement.moving.size(), 0.0),
      user_calls_(user),
      row_values_(statement.row_lower.size(), 0.0) {
    state_bounds();
    SplitStatement parts = split(statement);
    compile(parts);
    classify(parts);
}

void NonlinearProgram::state_bounds() {
    for (const int column : statement_.moving) {
        bounds_.column_lower.push_back(statement_.column_lower[at(column)]);
        bounds_.column_upper.push_back(statement_.column_upper[at(column)]);
    }
    bounds_.row_lower = statement_.row_lower;
    bounds_.row_upper = statement_.row_upper;
}

void NonlinearProgram::compile(SplitStatement& split) {
    std::vector<ExpressionUse> by_expression = split.uses;
    std::sort(by_expression.begin(), by_expression.end(), [](const auto& a, const auto& b) {
        return std::pair(a.node, a.row) < std::pair(b.node, b.row);
    });
    std::vector<Expression> expressions;
    std::vector<std::span<const ExpressionUse>> uses;
    for (std::size_t k = 0; k < by_expression.size();) {
        const std::size_t first = k;
        const int root = by_expression[first].node;
        unsigned who = 0;
        for (; k < by_expression.size() && by_expression[k].node == root; ++k)
            who |= by_expression[k].row == kObjectiveRow ? kUsedByObjective : kUsedByRows;
        expressions.push_back({root, who, who});
        uses.push_back(std::span(by_expression).subspan(first, k - first));
    }
    find_shared_parts(split.graph, expressions);
    const std::vector<ShapeGroup> groups = group_by_shape(split.graph, expressions);
    // Values of parts follow the columns, group by group.
    std::vector<int> place_of_part(expressions.size(), -1);
    for (const ShapeGroup& group : groups) {
        if (!group.is_part) continue;
        for (const int expression : group.expressions) {
            place_of_part[at(expression)] = static_cast<int>(x_.size());
            x_.push_back(0);
        }
    }
    for (const ShapeGroup& group : groups)
        shapes_.emplace_back(group, uses, x_.data(), place_of_part, user_calls_);

    constant_ = std::make_unique<ConstantParts>(split);
    EntryIndex jacobian;
    EntryIndex hessian;
    constant_->add_entries(jacobian, hessian);
    for (const UsedShape& shape : shapes_) shape.add_entries(jacobian, hessian);
    jacobian.sort(num_rows());
    hessian.sort(num_columns());
    jacobian_pattern_ = jacobian.pattern();
    hessian_pattern_ = hessian.pattern();
    constant_->find_positions(jacobian, hessian, jacobian_pattern_.rows.size());
    for (UsedShape& shape : shapes_) shape.find_positions(jacobian, hessian);
}

void NonlinearProgram::classify(const SplitStatement& split) {
    is_linear_row_.assign(row_values_.size(), 1);
    for (const ExpressionUse& use : split.uses)
        if (use.row != kObjectiveRow) is_linear_row_[at(use.row)] = 0;
    for (const QuadraticEntry& entry : constant_->quadratic_rows())
        is_linear_row_[at(entry.row)] = 0;
    is_quadratic_ =
        std::find(is_linear_row_.begin(), is_linear_row_.end(), 0) == is_linear_row_.end();
    for (const UsedShape& shape : shapes_) {
        is_coupled_ |= shape.is_used_by(kUsedByObjective | kUsedByRows) &&
                       shape.is_needed_by(kUsedByObjective) && shape.is_needed_by(kUsedByRows);
        has_kinks_ |= shape.code().has_kinks;
        is_quadratic_ &= shape.code().has_constant_curvature && !shape.code().has_kinks;
    }
}

void NonlinearProgram::set_column_bounds(std::span<const double> lower,
                                         std::span<const double> upper) {
    std::copy(lower.begin(), lower.end(), bounds_.column_lower.begin());
    std::copy(upper.begin(), upper.end(), bounds_.column_upper.begin());
}

std::vector<double> NonlinearProgram::start() const {
    std::vector<double> point;
    point.reserve(at(num_columns()));
    for (std::size_t k = 0; k < at(num_columns()); ++k) {
        const auto column = at(statement_.moving[k]);
        double value = column < statement_.start.size() ? statement_.start[column] : NAN;
        if (std::isnan(value)) value = 0;
        point.push_back(
            std::min(std::max(value, bounds_.column_lower[k]), bounds_.column_upper[k]));
    }
    return point;
}

void NonlinearProgram::set_point(std::span<const double> x) {
    if (has_point_ && std::equal(x.begin(), x.end(), x_.begin())) return;
    std::copy(x.begin(), x.end(), x_.begin());
    has_point_ = true;
    has_functions_ = 0;
    has_first_ = false;
    for (UsedShape& shape : shapes_) shape.forget_point();
}

void NonlinearProgram::evaluate_functions(unsigned users) {
    if (is_coupled_) users = kUsedByObjective | kUsedByRows;
    users &= ~has_functions_;
    if (users == 0) return;
    if (has_functions_ == 0) ++counts_.functions;
    has_functions_ |= users;
    if ((users & kUsedByObjective) != 0) objective_value_ = constant_->objective(x_.data());
    if ((users & kUsedByRows) != 0) constant_->rows(x_.data(), row_values_);
    for (UsedShape& shape : shapes_)
        if (shape.is_needed_by(users)) shape.add_values(objective_value_, row_values_.data());
}

void NonlinearProgram::note_first() {
    if (!has_first_) ++counts_.gradients;
    has_first_ = true;
}

bool NonlinearProgram::objective(std::span<const double> x, double& value) {
    set_point(x);
    evaluate_functions(kUsedByObjective);
    value = objective_value_;
    return std::isfinite(value);
}

bool NonlinearProgram::rows(std::span<const double> x, std::span<double> out) {
    set_point(x);
    evaluate_functions(kUsedByRows);
    std::copy(row_values_.begin(), row_values_.end(), out.begin());
    return all_finite(out);
}

bool NonlinearProgram::gradient(std::span<const double> x, std::span<double> out) {
    set_point(x);
    evaluate_functions(kUsedByObjective);
    note_first();
    constant_->gradient(x_.data(), out.data());
    for (UsedShape& shape : shapes_)
        if (shape.is_used_by(kUsedByObjective)) shape.add_gradient(out.data());
    return std::isfinite(objective_value_) && all_finite(out);
}

bool NonlinearProgram::jacobian(std::span<const double> x, std::span<double> out) {
    set_point(x);
    evaluate_functions(kUsedByRows);
    note_first();
    constant_->jacobian(x_.data(), out.data());
    for (UsedShape& shape : shapes_)
        if (shape.is_used_by(kUsedByRows)) shape.add_jacobian(out.data());
    return all_finite(row_values_) && all_finite(out);
}

bool NonlinearProgram::hessian(std::span<const double> x, double objective_factor,
                               std::span<const double> multipliers, std::span<double> out) {
    set_point(x);
    evaluate_functions(kUsedByObjective | kUsedByRows);
    ++counts_.hessians;
    for (UsedShape& shape : shapes_) shape.prepare_hessian();
    constant_->hessian(objective_factor, multipliers.data(), out.data(), out.size());
    for (UsedShape& shape : shapes_)
        shape.add_hessian(objective_factor, multipliers.data(), out.data());
    if (all_finite(out)) return true;
    // Functions that do not count may be undefined.
    constant_->hessian(objective_factor, multipliers.data(), out.data(), out.size());
    for (UsedShape& shape : shapes_) shape.add_hessian_of_weighted(out.data());
    return all_finite(out);
}

std::string NonlinearProgram::complaint() const {
    return find_complaint(statement_, std::span(x_).first(at(num_columns())), user_);
}

}  // namespace qlx::nlp
