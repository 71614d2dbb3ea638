// Values and gradients of a statement's rows.
#include "engine/nlp/analysis/statement_values.hpp"

#include <algorithm>
#include <cstddef>

#include "engine/base/index.hpp"
#include "engine/check/enclosed_sum.hpp"
#include "engine/nlp/formula/evaluator.hpp"

namespace qlx::nlp {

std::span<const int> EntriesByRow::Lists::of(int row) const noexcept {
    const int first = start[at(row + 1)];
    return {entry.data() + first, at(start[at(row + 2)] - first)};
}

template <class Entry>
EntriesByRow::Lists EntriesByRow::sort(const std::vector<Entry>& entries, int num_rows) {
    Lists lists;
    lists.start.assign(at(num_rows) + 2, 0);
    lists.entry.resize(entries.size());
    for (const Entry& entry : entries) ++lists.start[at(entry.row + 2)];
    for (std::size_t r = 1; r < lists.start.size(); ++r) lists.start[r] += lists.start[r - 1];
    std::vector<int> next(lists.start.begin(), lists.start.end() - 1);
    for (std::size_t k = 0; k < entries.size(); ++k) {
        lists.entry[at(next[at(entries[k].row + 1)]++)] = static_cast<int>(k);
    }
    return lists;
}

EntriesByRow::EntriesByRow(const Statement& statement)
    : linear_(sort(statement.linear, statement.num_rows())),
      quadratic_(sort(statement.quadratic, statement.num_rows())),
      nonlinear_(sort(statement.nonlinear, statement.num_rows())) {}

StatementValues::StatementValues(const Statement& statement)
    : statement_(statement), entries_(statement), gradient_(statement.functions) {
    std::size_t longest = 0;
    for (const NonlinearTerm& term : statement.nonlinear)
        longest = std::max(longest, term.formula.length);
    stack_.resize(longest + 1);
}

double StatementValues::term_value(int term, std::span<const double> x) {
    const NonlinearTerm& entry = statement_.nonlinear[at(term)];
    const double formula = evaluate(entry.formula, stack_.data(), statement_.functions,
                                    [x](int column) { return x[at(column)]; });
    const double column = entry.column == kNoColumn ? 1.0 : x[at(entry.column)];
    return entry.factor * column * formula;
}

double StatementValues::value(int row, std::span<const double> x) {
    EnclosedSum sum(row == kObjectiveRow ? statement_.constant : 0.0);
    for (const int k : entries_.linear(row)) {
        const LinearEntry& entry = statement_.linear[at(k)];
        sum.add_product(entry.coefficient, x[at(entry.column)]);
    }
    for (const int k : entries_.quadratic(row)) {
        const QuadraticEntry& entry = statement_.quadratic[at(k)];
        sum.add_product(entry.coefficient * x[at(entry.first)], x[at(entry.second)]);
    }
    // Infinite terms would leave the sum without a value.
    double plain = 0;
    for (const int k : entries_.nonlinear(row)) {
        const double term = term_value(k, x);
        sum.add(term);
        plain += term;
    }
    return std::isfinite(plain) ? sum.value() : plain;
}

void StatementValues::add_gradient(int row, double scale, std::span<const double> x,
                                   std::span<double> out) {
    for (const int k : entries_.linear(row)) {
        const LinearEntry& entry = statement_.linear[at(k)];
        out[at(entry.column)] += scale * entry.coefficient;
    }
    for (const int k : entries_.quadratic(row)) {
        const QuadraticEntry& entry = statement_.quadratic[at(k)];
        out[at(entry.first)] += scale * entry.coefficient * x[at(entry.second)];
        out[at(entry.second)] += scale * entry.coefficient * x[at(entry.first)];
    }
    for (const int k : entries_.nonlinear(row)) {
        const NonlinearTerm& term = statement_.nonlinear[at(k)];
        const double column = term.column == kNoColumn ? 1.0 : x[at(term.column)];
        const double formula = gradient_.add(term.formula, scale * term.factor * column, x, out);
        if (term.column != kNoColumn) out[at(term.column)] += scale * term.factor * formula;
    }
}

std::vector<double> point_of_all_columns(const Statement& statement,
                                         std::span<const double> moving_x) {
    std::vector<double> x = statement.fixed_value;
    for (std::size_t k = 0; k < statement.moving.size(); ++k)
        x[at(statement.moving[k])] = moving_x[k];
    return x;
}

}  // namespace qlx::nlp
