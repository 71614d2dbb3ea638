// Makes a statement smaller before a solver sees it, and answers about the small one into answers
// about the given one.
//
//  - columns with equal bounds stop moving, and what they do to rows is folded into the sides;
//  - a row that has one column, linearly, becomes a bound of that column;
//  - a free column that occurs in one row and linearly, and linearly in the objective or not at
//    all, is substituted together with the row: min t subject to f(x) - t == 0 becomes min f(x),
//    which is how nearly all nonlinear objectives arrive;
//  - rows without columns and rows without sides go;
//  - columns in no row and at most linearly in the objective stop where it wants them.
//
// Columns of which sqrt, log and the like are taken directly get the bounds of the domain, which
// belong to no row: domain_bounds() lists them, as duals at them are none of the given statement's.
// Nothing else is done to bounds, for that reason; intervals tighten some only to find that no
// point is left. Rows and bounds are only called contradictory where they miss each other by more
// than the tolerance in which points are called feasible.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "engine/nlp/presolve/domains.hpp"
#include "engine/nlp/statement/statement.hpp"

namespace qlx::nlp {

struct NonlinearPresolveOptions {
    double feasibility_tolerance = 1e-6;  // relative to sides and bounds beyond 1
};

enum class PresolveVerdict {
    kReduced,
    kInfeasible,
};

// What a verdict rests on, by the statement's numbers.
struct PresolveBlame {
    int row = kObjectiveRow;  // kObjectiveRow with a column: the column's own bounds
    int column = -1;          // -1: the row as a whole
    std::string reason;
};

// An answer about all columns and rows of the given statement. Signs are those of LocalProblem:
// the objective's gradient equals J' row_dual + column_dual.
struct FullPoint {
    std::vector<double> x;
    std::vector<double> row_dual;
    std::vector<double> column_dual;
};

// How a column or row left, in order of time.
struct Removal {
    int column;
    int row;             // -1: the column was fixed, at `side`
    double coefficient;  // of the column in the row
    double side;         // what the row equals at optima
    double dual;         // of the row
};

// The rows whose sides are a column's bounds now, with its coefficients there; -1: its own bounds.
struct BoundOwners {
    int lower = -1;
    int upper = -1;
    double lower_coefficient = 1;
    double upper_coefficient = 1;
};

class StatementValues;

class NonlinearPresolve {
  public:
    explicit NonlinearPresolve(Statement given, const NonlinearPresolveOptions& options = {});
    ~NonlinearPresolve();
    NonlinearPresolve(const NonlinearPresolve&) = delete;
    NonlinearPresolve& operator=(const NonlinearPresolve&) = delete;

    [[nodiscard]] PresolveVerdict verdict() const noexcept { return verdict_; }
    [[nodiscard]] const PresolveBlame& blame() const noexcept { return blame_; }
    [[nodiscard]] const Statement& given() const noexcept { return given_; }
    // Columns keep their numbers; formulas are those of the given statement. Its `model_row` is the
    // given one's.
    [[nodiscard]] const Statement& reduced() const noexcept { return reduced_; }
    // Rows of the reduced statement by number in the given one.
    [[nodiscard]] const std::vector<int>& kept_rows() const noexcept { return kept_rows_; }
    // What the reduced statement has beyond the given one's bounds and rows.
    [[nodiscard]] const std::vector<DomainBound>& domain_bounds() const noexcept {
        return domain_bounds_;
    }

    // x and column_dual belong to the reduced statement's moving columns, row_dual to its rows;
    // without duals of these sizes the result has none. column_dual is the dual of the lower
    // bound less that of the upper one. A fixed column's dual is 0 where a function has no
    // derivative by it.
    [[nodiscard]] FullPoint postsolve(std::span<const double> x, std::span<const double> row_dual,
                                      std::span<const double> column_dual);

  private:
    void test_feasibility(const NonlinearPresolveOptions& options);
    void restore_duals(std::span<const double> row_dual, std::span<const double> column_dual,
                       FullPoint& point);
    void hand_to_owners(int column, double dual, FullPoint& point, std::vector<double>* gradient);

    Statement given_;
    Statement reduced_;
    PresolveVerdict verdict_ = PresolveVerdict::kReduced;
    PresolveBlame blame_;
    std::vector<int> kept_rows_;
    std::vector<Removal> removals_;
    std::vector<BoundOwners> owners_;
    std::vector<DomainBound> domain_bounds_;
    std::unique_ptr<StatementValues> values_;  // of the given statement, once asked for
};

}  // namespace qlx::nlp
