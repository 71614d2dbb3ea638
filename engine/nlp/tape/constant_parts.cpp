// The linear and quadratic parts of objective and rows.
#include "engine/nlp/tape/constant_parts.hpp"

#include <algorithm>

#include "engine/nlp/tape/positions.hpp"

namespace qlx::nlp {

ConstantParts::ConstantParts(SplitStatement& split)
    : constants_(split.constants.begin() + 1, split.constants.end()),
      objective_constant_(split.constants[0]),
      gradient_(at(split.num_columns), 0.0) {
    for (const LinearEntry& entry : split.linear)
        (entry.row == kObjectiveRow ? objective_ : rows_).linear.push_back(entry);
    for (const QuadraticEntry& entry : split.quadratic)
        (entry.row == kObjectiveRow ? objective_ : rows_).quadratic.push_back(entry);
    for (const LinearEntry& entry : objective_.linear)
        gradient_[at(entry.column)] = entry.coefficient;
    for (std::size_t k = 0; k < rows_.linear.size(); ++k) {
        if (k == 0 || rows_.linear[k].row != rows_.linear[k - 1].row)
            linear_rows_.push_back({rows_.linear[k].row, k});
        ++linear_rows_.back().end;
    }
}

void ConstantParts::add_entries(EntryIndex& jacobian, EntryIndex& hessian) const {
    for (const LinearEntry& entry : rows_.linear) jacobian.add(entry.row, entry.column);
    for (const QuadraticEntry& entry : rows_.quadratic) {
        jacobian.add(entry.row, entry.first);
        jacobian.add(entry.row, entry.second);
        hessian.add(entry.first, entry.second);
    }
    for (const QuadraticEntry& entry : objective_.quadratic) hessian.add(entry.first, entry.second);
}

void ConstantParts::find_positions(const EntryIndex& jacobian, const EntryIndex& hessian,
                                   std::size_t jacobian_size) {
    jacobian_.assign(jacobian_size, 0.0);
    for (const LinearEntry& entry : rows_.linear)
        jacobian_[at(jacobian.position(entry.row, entry.column))] = entry.coefficient;
    for (const QuadraticEntry& entry : rows_.quadratic) {
        quadratic_positions_.push_back({jacobian.position(entry.row, entry.first),
                                        jacobian.position(entry.row, entry.second)});
        rows_hessian_.push_back(hessian.position(entry.first, entry.second));
    }
    for (const QuadraticEntry& entry : objective_.quadratic)
        objective_hessian_.push_back(hessian.position(entry.first, entry.second));
}

double ConstantParts::objective(const double* x) const noexcept {
    const auto linear = [&](std::size_t k) {
        return objective_.linear[k].coefficient * x[objective_.linear[k].column];
    };
    const auto quadratic = [&](std::size_t k) {
        const QuadraticEntry& entry = objective_.quadratic[k];
        return entry.coefficient * x[entry.first] * x[entry.second];
    };
    return objective_constant_ + sum_of(objective_.linear.size(), linear) +
           sum_of(objective_.quadratic.size(), quadratic);
}

void ConstantParts::rows(const double* x, std::vector<double>& out) const noexcept {
    std::copy(constants_.begin(), constants_.end(), out.begin());
    const LinearEntry* entry = rows_.linear.data();
    for (const LinearRow& row : linear_rows_) {
        double sum = 0;
        for (const LinearEntry* end = rows_.linear.data() + row.end; entry != end; ++entry)
            sum += entry->coefficient * x[entry->column];
        out[at(row.row)] += sum;
    }
    for (const QuadraticEntry& entry : rows_.quadratic)
        out[at(entry.row)] += entry.coefficient * x[entry.first] * x[entry.second];
}

void ConstantParts::gradient(const double* x, double* out) const noexcept {
    std::copy(gradient_.begin(), gradient_.end(), out);
    for (const QuadraticEntry& entry : objective_.quadratic) {
        out[entry.first] += entry.coefficient * x[entry.second];
        out[entry.second] += entry.coefficient * x[entry.first];
    }
}

void ConstantParts::jacobian(const double* x, double* out) const noexcept {
    std::copy(jacobian_.begin(), jacobian_.end(), out);
    for (std::size_t k = 0; k < rows_.quadratic.size(); ++k) {
        const QuadraticEntry& entry = rows_.quadratic[k];
        out[quadratic_positions_[k].by_first] += entry.coefficient * x[entry.second];
        out[quadratic_positions_[k].by_second] += entry.coefficient * x[entry.first];
    }
}

void ConstantParts::hessian(double objective_factor, const double* multipliers, double* out,
                            std::size_t size) const noexcept {
    std::fill_n(out, size, 0.0);
    const auto add = [&](const QuadraticEntry& entry, double factor, int position) {
        out[position] += (entry.first == entry.second ? 2 * factor : factor) * entry.coefficient;
    };
    for (std::size_t k = 0; k < objective_hessian_.size(); ++k)
        add(objective_.quadratic[k], objective_factor, objective_hessian_[k]);
    for (std::size_t k = 0; k < rows_hessian_.size(); ++k)
        add(rows_.quadratic[k], multipliers[rows_.quadratic[k].row], rows_hessian_[k]);
}

}  // namespace qlx::nlp
