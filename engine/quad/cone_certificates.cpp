// Auxiliary programs behind the proofs of infeasibility and unboundedness.
#include "engine/quad/cone_certificates.hpp"
#include "engine/base/index.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qlx::quad {

namespace {

void append_place(SparseColumns& square) {
    ++square.rows;
    ++square.columns;
    square.start.push_back(square.start.back());
}

// The row with an elastic column that moves it outwards.
ConvexRow elastic(const ConvexRow& row, int column) {
    ConvexRow out = row;
    out.columns.push_back(column);
    append_place(out.hessian);
    out.linear.push_back(-1.0);
    if (row.shape == RowShape::kCone) {
        append_place(out.spread);
        out.axis.push_back(1.0);
        out.apex.push_back(0.0);
        out.inside.push_back(0.0);
    }
    return out;
}

double column_limit(bool finite, double free) {
    return finite ? 0.0 : free;
}

// Entries of rows Qd = 0, each scaled by its diagonal, from row number `next` on.
void add_flat_rows(const SparseColumns& hessian, const std::vector<int>& columns, int& next,
                   std::vector<Triplet>& entries) {
    const std::vector<double> diagonal = diagonal_of(hessian);
    std::vector<int> place(at(hessian.columns), -1);
    for (int j = 0; j < hessian.columns; ++j) {
        if (diagonal[at(j)] > 0.0) place[at(j)] = next++;
    }
    for (int j = 0; j < hessian.columns; ++j) {
        for (int k = hessian.start[at(j)]; k < hessian.start[at(j) + 1]; ++k) {
            const int i = hessian.index[at(k)];
            const double q = hessian.value[at(k)];
            if (place[at(i)] < 0 || place[at(j)] < 0) continue;
            entries.push_back({place[at(i)], columns[at(j)], q / diagonal[at(i)]});
            if (i != j) entries.push_back({place[at(j)], columns[at(i)], q / diagonal[at(j)]});
        }
    }
}

}  // namespace

ConeProgram least_violation(const ConeProgram& program) {
    ConeProgram out = program;
    QuadraticModel& model = out.model;
    const int columns = model.column_count();
    const int rows = model.row_count();
    const int elastics = rows + static_cast<int>(program.rows.size());
    std::vector<double> size(at(rows), 1e-8);
    for (std::size_t k = 0; k < model.rows.value.size(); ++k) {
        double& s = size[at(model.rows.index[k])];
        s = std::max(s, std::abs(model.rows.value[k]));
    }
    model.cost.assign(at(columns + elastics), 0.0);
    model.constant = 0.0;
    model.column_lower.resize(at(columns + elastics), -kInfiniteBound);
    model.column_upper.resize(at(columns + elastics), kInfiniteBound);
    SparseColumns square;
    square.rows = square.columns = columns + elastics;
    square.start.assign(at(columns) + 1, 0);
    for (int e = 0; e < elastics; ++e) {
        square.index.push_back(columns + e);
        square.value.push_back(1.0);
        square.start.push_back(e + 1);
        if (e < rows) {
            model.rows.index.push_back(e);
            model.rows.value.push_back(size[at(e)]);
        }
        model.rows.start.push_back(static_cast<int>(model.rows.index.size()));
    }
    model.rows.columns = columns + elastics;
    model.hessian = std::move(square);
    for (std::size_t k = 0; k < out.rows.size(); ++k) {
        out.rows[k] = elastic(program.rows[k], columns + rows + static_cast<int>(k));
    }
    return out;
}

ConeProgram recession(const ConeProgram& program) {
    ConeProgram out;
    const QuadraticModel& from = program.model;
    QuadraticModel& to = out.model;
    const int columns = from.column_count();
    double cost_size = 1e-300;
    for (double c : from.cost) cost_size = std::max(cost_size, std::abs(c));
    std::vector<int> all(at(columns));
    for (int j = 0; j < columns; ++j) {
        all[at(j)] = j;
        to.cost.push_back(from.cost[at(j)] / cost_size);
        to.column_lower.push_back(column_limit(is_finite_lower(from.column_lower[at(j)]), -1.0));
        to.column_upper.push_back(column_limit(is_finite_upper(from.column_upper[at(j)]), 1.0));
    }
    std::vector<Triplet> entries;
    for (int j = 0; j < columns; ++j) {
        for (int k = from.rows.start[at(j)]; k < from.rows.start[at(j) + 1]; ++k) {
            entries.push_back({from.rows.index[at(k)], j, from.rows.value[at(k)]});
        }
    }
    for (int i = 0; i < from.row_count(); ++i) {
        to.row_lower.push_back(
            column_limit(is_finite_lower(from.row_lower[at(i)]), -kInfiniteBound));
        to.row_upper.push_back(
            column_limit(is_finite_upper(from.row_upper[at(i)]), kInfiniteBound));
    }
    int next = from.row_count();
    add_flat_rows(from.hessian, all, next, entries);
    to.row_lower.resize(at(next), 0.0);
    to.row_upper.resize(at(next), 0.0);
    for (const ConvexRow& row : program.rows) {
        if (row.shape == RowShape::kCone) {
            ConvexRow centred = row;
            std::fill(centred.apex.begin(), centred.apex.end(), 0.0);
            std::fill(centred.linear.begin(), centred.linear.end(), 0.0);
            centred.upper = centred.offset = 0.0;
            out.rows.push_back(std::move(centred));
            continue;
        }
        add_flat_rows(row.hessian, row.columns, next, entries);
        to.row_lower.resize(at(next), 0.0);
        to.row_upper.resize(at(next), 0.0);
        for (std::size_t k = 0; k < row.columns.size(); ++k) {
            entries.push_back({next, row.columns[k], row.linear[k]});
        }
        to.row_lower.push_back(-kInfiniteBound);
        to.row_upper.push_back(0.0);
        ++next;
    }
    to.rows = compress(next, columns, entries);
    to.hessian.rows = to.hessian.columns = columns;
    to.hessian.start.assign(at(columns) + 1, 0);
    return out;
}

}  // namespace qlx::quad
