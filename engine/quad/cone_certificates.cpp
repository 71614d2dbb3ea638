// Elastic rows, tangents and recession cones of programs with convex rows.
#include "engine/quad/cone_certificates.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/base/index.hpp"

namespace qlx::quad {

namespace {

constexpr double kHold = 1e-8;
// Tangents are moved outwards by this much of their terms, more than their rounding.
constexpr double kTangentRounding = 1e-13;
// Where a cone's apex has no gradient, its tangent is that of a cone this much rounded.
constexpr double kRoundedApex = 1e-9;

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

}  // namespace

ConeProgram elastic_cone_program(const ConeProgram& program) {
    LinearStatement statement = elastic_program(view_of(program.model));
    ConeProgram out;
    for (const ConvexRow& row : program.rows) {
        out.rows.push_back(elastic(row, static_cast<int>(statement.cost.size())));
        statement.cost.push_back(1.0);
        statement.lower.push_back(0.0);
        statement.upper.push_back(kInfinity);
        statement.start.push_back(statement.start.back());
    }
    out.model = model_of(std::move(statement));
    // Holds the iterates where feasible points reach to infinity; as the violations' cost is not
    // quadratic, it moves none of them away from 0 within a wide radius.
    SparseColumns& hessian = out.model.hessian;
    const int columns = program.model.column_count();
    for (int j = 0; j < out.model.column_count(); ++j) {
        if (j < columns) {
            hessian.index.push_back(j);
            hessian.value.push_back(kHold);
        }
        hessian.start[at(j) + 1] = static_cast<int>(hessian.index.size());
    }
    return out;
}

void add_tangents(const ConeProgram& program, std::span<const double> x, QuadraticModel& outer) {
    const BarrierProblem problem(program, kRoundedApex);
    std::vector<Triplet> entries;
    for (int j = 0; j < outer.column_count(); ++j) {
        for (int k = outer.rows.start[at(j)]; k < outer.rows.start[at(j) + 1]; ++k)
            entries.push_back({outer.rows.index[at(k)], j, outer.rows.value[at(k)]});
    }
    for (const ConvexRow& row : program.rows) {
        const std::vector<double> gradient = problem.row_gradient(row, x);
        const double value = problem.row_value(row, x);
        double side = problem.row_upper(row) - value;
        double size = std::abs(side) + std::abs(value);
        for (std::size_t k = 0; k < gradient.size(); ++k) {
            const double term = gradient[k] * x[at(row.columns[k])];
            side += term;
            size += std::abs(term);
            entries.push_back({outer.row_count(), row.columns[k], gradient[k]});
        }
        outer.row_lower.push_back(-kInfinity);
        outer.row_upper.push_back(side + kTangentRounding * size);
    }
    outer.rows = compress(outer.row_count(), outer.column_count(), entries);
}

ConeProgram recession_cone_program(const ConeProgram& program,
                                   const RecessionConditions& conditions, double narrower) {
    ConeProgram out;
    out.model = model_of(recession_program(view_of(conditions.model)));
    for (const ConvexRow& row : program.rows) {
        if (row.shape != RowShape::kCone) continue;
        ConvexRow centred = row;
        std::fill(centred.apex.begin(), centred.apex.end(), 0.0);
        std::fill(centred.linear.begin(), centred.linear.end(), 0.0);
        for (double& value : centred.spread.value) value *= narrower * narrower;
        centred.upper = centred.offset = 0.0;
        out.rows.push_back(std::move(centred));
    }
    return out;
}

bool meets_cones(const ConeProgram& program, std::span<const double> direction) {
    for (const ConvexRow& row : program.rows) {
        if (row.shape != RowShape::kCone) continue;
        std::vector<double> local;
        Tally along;
        for (std::size_t k = 0; k < row.columns.size(); ++k) {
            local.push_back(direction[at(row.columns[k])]);
            along.add(row.axis[k] * local.back());
        }
        along.add(-std::sqrt(std::max(quadratic_form(row.spread, local), 0.0)));
        if (along.is_negative()) return false;
    }
    return true;
}

}  // namespace qlx::quad
