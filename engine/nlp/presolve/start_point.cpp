// Where local solvers start.
#include "engine/nlp/presolve/start_point.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>

#include "engine/base/index.hpp"
#include "engine/nlp/analysis/interval_analysis.hpp"
#include "engine/nlp/presolve/domains.hpp"
#include "engine/nlp/tape/complaint.hpp"

namespace qlx::nlp {

namespace {

constexpr double kSmallRange = 10;
constexpr int kMaxNudges = 30;
constexpr double kFirstNudge = 1e-3;

class StartSearch {
  public:
    StartSearch(const Statement& statement, LocalProblem& program)
        : statement_(statement),
          program_(program),
          bounds_(bounds_of(statement)),
          gradient_(statement.moving.size()),
          rows_(at(statement.num_rows())),
          jacobian_(program.jacobian_pattern().rows.size()) {}

    StartPoint run() {
        StartPoint start;
        start.x = by_rule();
        if (is_defined(start.x)) return start;
        start.is_repaired = true;
        const std::vector<double> first = start.x;
        start.x = inside_ranges(first);
        if (is_defined(start.x)) return start;
        std::mt19937 random(1);
        double length = kFirstNudge;
        for (int k = 0; k < kMaxNudges; ++k, length *= std::sqrt(2.0)) {
            // In turn around the two points at hand.
            start.x = nudged(k % 2 == 0 ? first : inside_ranges(first), length, random);
            if (is_defined(start.x)) return start;
        }
        start.x = first;
        start.is_defined = start.is_repaired = false;
        start.complaint = find_complaint(statement_, first, statement_.functions);
        return start;
    }

  private:
    std::vector<double> by_rule() {
        std::vector<double> x;
        const std::vector<char> at_domain = columns_at_domain_ends(statement_);
        for (const int column : statement_.moving) {
            const double given = statement_.start[at(column)];
            x.push_back(clip(column, std::isnan(given) ? unknown(column, at_domain) : given));
        }
        return x;
    }

    double unknown(int column, const std::vector<char>& at_domain) {
        const Interval range = ranges()[at(column)];
        const double width = range.upper - range.lower;
        if (width <= kSmallRange) return range.lower + 0.5 * width;
        const double nearest = std::clamp(0.0, range.lower, range.upper);
        if (at_domain[at(column)] == 0) return nearest;
        if (nearest == range.lower) return nearest + std::min(1.0, 0.5 * width);
        return nearest == range.upper ? nearest - std::min(1.0, 0.5 * width) : nearest;
    }

    std::vector<double> inside_ranges(std::vector<double> x) {
        for (std::size_t k = 0; k < x.size(); ++k) {
            const Interval range = ranges()[at(statement_.moving[k])];
            const double inwards = std::min(1.0, 0.1 * (range.upper - range.lower));
            x[k] = std::clamp(x[k], range.lower + inwards, range.upper - inwards);
        }
        return x;
    }

    std::vector<double> nudged(std::vector<double> x, double length, std::mt19937& random) const {
        for (std::size_t k = 0; k < x.size(); ++k) {
            // Not the library's distribution, which differs from one to the next.
            const double unit = 2.0 * (static_cast<double>(random()) / 4294967295.0) - 1.0;
            x[k] =
                clip(statement_.moving[k], x[k] + length * unit * std::max(1.0, std::fabs(x[k])));
        }
        return x;
    }

    double clip(int column, double x) const {
        const Interval& bounds = bounds_[at(column)];
        return std::max(bounds.lower, std::min(bounds.upper, x));
    }

    bool is_defined(const std::vector<double>& x) {
        double value = 0;
        return program_.objective(x, value) && program_.rows(x, rows_) &&
               program_.gradient(x, gradient_) && program_.jacobian(x, jacobian_);
    }

    // Propagated, once asked for; the bounds where propagation finds no point.
    const std::vector<Interval>& ranges() {
        if (ranges_.empty()) {
            const FormulaGraph graph(statement_);
            IntervalAnalysis analysis(statement_, graph);
            ranges_ = analysis.propagate() ? analysis.columns() : bounds_;
        }
        return ranges_;
    }

    const Statement& statement_;
    LocalProblem& program_;
    std::vector<Interval> bounds_;
    std::vector<Interval> ranges_;
    std::vector<double> gradient_;
    std::vector<double> rows_;
    std::vector<double> jacobian_;
};

}  // namespace

StartPoint find_start(const Statement& statement, LocalProblem& program) {
    return StartSearch(statement, program).run();
}

}  // namespace qlx::nlp
