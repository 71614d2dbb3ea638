// Bounds that keep columns within the domains of functions taken of them directly.
#include "engine/nlp/presolve/domains.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/base/index.hpp"
#include "engine/nlp/analysis/interval.hpp"

namespace qlx::nlp {

namespace {

// visit(column, domain) for every function that a formula takes of a column alone. In reverse
// Polish order the column stands right before the function.
template <class Visit>
void visit_domains(const Formula& formula, Visit&& visit) {
    const double* constant = formula.constants;
    for (std::size_t k = 0; k < formula.length; ++k) {
        const Operation operation = formula.instructions[k].operation;
        if (takes_constant(operation)) {
            ++constant;
        } else if (operation == Operation::kPower) {
            if (k >= 2 && formula.instructions[k - 1].operation == Operation::kConstant &&
                formula.instructions[k - 2].operation == Operation::kColumn &&
                !is_integer(constant[-1])) {
                visit(formula.instructions[k - 2].argument,
                      Interval{0, std::numeric_limits<double>::infinity()});
            }
        } else if (k >= 1 && formula.instructions[k - 1].operation == Operation::kColumn) {
            const Interval domain = domain_of(operation);
            if (!std::isinf(domain.lower) || !std::isinf(domain.upper))
                visit(formula.instructions[k - 1].argument, domain);
        }
    }
}

}  // namespace

std::vector<DomainBound> apply_domain_bounds(Statement& statement) {
    std::vector<int> place(statement.column_lower.size(), -2);  // -2: the column does not move
    for (const int column : statement.moving) place[at(column)] = -1;
    std::vector<DomainBound> bounds;
    for (const NonlinearTerm& term : statement.nonlinear) {
        visit_domains(term.formula, [&](int column, Interval domain) {
            double& lower = statement.column_lower[at(column)];
            double& upper = statement.column_upper[at(column)];
            if (place[at(column)] == -2 || (domain.lower <= lower && upper <= domain.upper)) return;
            if (place[at(column)] < 0) {
                place[at(column)] = static_cast<int>(bounds.size());
                bounds.push_back({column, lower, upper, lower, upper});
            }
            DomainBound& bound = bounds[at(place[at(column)])];
            bound.lower = lower = std::max(lower, domain.lower);
            bound.upper = upper = std::min(upper, domain.upper);
        });
    }
    return bounds;
}

std::vector<char> columns_at_domain_ends(const Statement& statement) {
    std::vector<char> flags(statement.column_lower.size(), 0);
    for (const NonlinearTerm& term : statement.nonlinear) {
        visit_domains(term.formula, [&](int column, Interval domain) {
            if (statement.column_lower[at(column)] <= domain.lower ||
                statement.column_upper[at(column)] >= domain.upper) {
                flags[at(column)] = 1;
            }
        });
    }
    return flags;
}

}  // namespace qlx::nlp
