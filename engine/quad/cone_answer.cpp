// Duals, reduced costs and the final evaluation of programs with quadratic rows.
#include "engine/quad/cone_answer.hpp"
#include "engine/base/index.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qlx::quad {

// out += factor * the gradient of quadratic row k at the result's point.
void AnswerWriter::add_gradient(std::size_t k, double factor, std::vector<double>& out) const {
    if (factor == 0.0) return;
    const QuadraticRow& row = source_.quadratic_rows[k];
    for (const Triplet& e : row.hessian) {
        out[at(e.row)] += factor * e.value * result_.x[at(e.column)];
        if (e.row != e.column) out[at(e.column)] += factor * e.value * result_.x[at(e.row)];
    }
    for (std::size_t c = 0; c < row.columns.size(); ++c) {
        out[at(row.columns[c])] += factor * row.coefficients[c];
    }
}

// What the convex rows contribute to the balance of all columns: presolve takes fixed columns for
// constants, so theirs comes from the rows as they were given.
std::vector<double> AnswerWriter::normals_at(const Attempt& best) const {
    std::vector<double> normals(source_.cost.size(), 0.0);
    for (std::size_t r = 0; r < best.row_dual.size(); ++r) {
        const int k = presolve_.convex_source()[r];
        add_gradient(at(k), presolve_.program().rows[r].sign * best.row_dual[r], normals);
    }
    const std::vector<int>& kept = presolve_.reduction().kept_columns();
    for (std::size_t c = 0; c < kept.size(); ++c) normals[at(kept[c])] = best.normals[c];
    return normals;
}

void AnswerWriter::report(const Attempt& best) {
    const Reduction& reduction = presolve_.reduction();
    result_.kernel = best.kernel;
    result_.x = reduction.restore_columns(best.x);
    const std::vector<double> normals = normals_at(best);
    result_.row_dual = reduction.restore_duals(result_.x, best.y, normals);
    result_.quadratic_dual.assign(source_.quadratic_rows.size(), 0.0);
    for (std::size_t r = 0; r < best.row_dual.size(); ++r) {
        result_.quadratic_dual[at(presolve_.convex_source()[r])] =
            presolve_.program().rows[r].sign * best.row_dual[r];
    }
    Evaluation evaluation = evaluate(presolve_.model(), result_.x, result_.row_dual, normals);
    add_conditions(best.rows, evaluation.objective_size, evaluation.residuals);
    take_evaluation(std::move(evaluation), control_, result_);
}

void AnswerWriter::evaluate_quadratic_rows() {
    result_.quadratic_activity.clear();
    for (std::size_t k = 0; k < source_.quadratic_rows.size(); ++k) {
        const QuadraticRow& row = source_.quadratic_rows[k];
        double value = 0.0;
        double size = 1.0;
        auto add = [&](double term) {
            value += term;
            size = std::max(size, std::abs(term));
        };
        for (const Triplet& entry : row.hessian) {
            const double half = entry.row == entry.column ? 0.5 : 1.0;
            add(half * entry.value * result_.x[at(entry.row)] * result_.x[at(entry.column)]);
        }
        for (std::size_t c = 0; c < row.columns.size(); ++c) {
            add(row.coefficients[c] * result_.x[at(row.columns[c])]);
        }
        result_.quadratic_activity.push_back(value);
        // The equations stood for the row; the row itself has the last word.
        const double beyond = std::max(row.lower - value, value - row.upper) / size;
        if (presolve_.is_flat()[k] && result_.status == ConvexStatus::kOptimal &&
            !(beyond <= control_.feasibility_tolerance)) {
            result_.status = ConvexStatus::kNumericalFailure;
        }
    }
}

// Columns that are fixed, or held by equations in place of a row, answer for all that is left.
void AnswerWriter::price_held_columns() {
    if (result_.reduced_cost.empty()) return;
    std::vector<double> price = source_.cost;
    for (const Triplet& e : source_.hessian) {
        price[at(e.row)] += e.value * result_.x[at(e.column)];
        if (e.row != e.column) price[at(e.column)] += e.value * result_.x[at(e.row)];
    }
    for (const Triplet& e : source_.rows) {
        price[at(e.column)] -= e.value * result_.row_dual[at(e.row)];
    }
    std::vector<bool> held(price.size(), false);
    for (std::size_t k = 0; k < source_.quadratic_rows.size(); ++k) {
        add_gradient(k, -result_.quadratic_dual[k], price);
        if (!presolve_.is_flat()[k]) continue;
        const QuadraticRow& row = source_.quadratic_rows[k];
        for (const Triplet& e : row.hessian) held[at(e.row)] = held[at(e.column)] = true;
        for (const int j : row.columns) held[at(j)] = true;
    }
    for (std::size_t j = 0; j < price.size(); ++j) {
        const bool fixed = source_.column_lower[j] == source_.column_upper[j];
        if (fixed || held[j]) result_.reduced_cost[j] = price[j];
    }
}

void AnswerWriter::complete() {
    presolve_.restore_duals(result_);
    if (result_.x.empty()) return;
    evaluate_quadratic_rows();
    price_held_columns();
}

}  // namespace qlx::quad
