// Small models of all kinds of columns with numbers of all sizes, and what is right to say of one.
#pragma once

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "tests/engine/support.hpp"
#include "tests/engine/vertex_program.hpp"

namespace qlx::test {

struct SmallModel {
    struct Column {
        double cost, lower, upper;
        char type = 'C';
        double limit = 0;
    };
    struct Row {
        double lower, upper;
        std::vector<double> values;  // by column
    };
    int sense = 1;
    std::vector<Column> columns;
    std::vector<Row> rows;

    [[nodiscard]] bool is_linear() const {
        return std::all_of(columns.begin(), columns.end(),
                           [](const Column& column) { return column.type == 'C'; });
    }
    void load(const TestProblem& p) const;
    [[nodiscard]] std::string text() const;
    // The largest violation of a row at a point, over what was added up and at least 1.
    [[nodiscard]] double violation(const std::vector<double>& x) const;
};

inline void SmallModel::load(const TestProblem& p) const {
    for (const Column& c : columns) p.column(c.cost, c.lower, c.upper, c.type, c.limit);
    for (const Row& row : rows) {
        std::vector<int> cols;
        std::vector<double> values;
        for (std::size_t col = 0; col < row.values.size(); ++col) {
            if (row.values[col] == 0) continue;
            cols.push_back(static_cast<int>(col));
            values.push_back(row.values[col]);
        }
        if (row.lower == row.upper)
            p.row('E', row.upper, cols, values);
        else if (row.lower <= -kInf)
            p.row('L', row.upper, cols, values);
        else if (row.upper >= kInf)
            p.row('G', row.lower, cols, values);
        else
            p.row('R', row.upper, cols, values, row.upper - row.lower);
    }
    ASSERT_EQ(QLXchgobjsense(p, sense), 0);
}

inline std::string SmallModel::text() const {
    std::ostringstream out;
    out.precision(17);
    out << "{" << sense << ", {";
    for (const Column& c : columns)
        out << "{" << c.cost << ", " << c.lower << ", " << c.upper << ", '" << c.type << "', "
            << c.limit << "}, ";
    out << "}, {";
    for (const Row& row : rows) {
        out << "{" << row.lower << ", " << row.upper << ", {";
        for (const double value : row.values) out << value << ", ";
        out << "}}, ";
    }
    out << "}}";
    return out.str();
}

inline double SmallModel::violation(const std::vector<double>& x) const {
    double worst = 0;
    for (const Row& row : rows) {
        Quad sum = 0;
        double largest = 1;
        for (std::size_t col = 0; col < x.size(); ++col) {
            sum += Quad{row.values[col]} * x[col];
            largest = std::max(largest, std::fabs(row.values[col] * x[col]));
        }
        const auto away = [&](double side, double sign) {
            if (std::fabs(side) >= kInf) return 0.0;
            return sign * static_cast<double>(sum - side) / std::max(largest, std::fabs(side));
        };
        worst = std::max({worst, away(row.lower, -1), away(row.upper, 1)});
    }
    return worst;
}

// All discrete choices of a model, each a linear program. Rows may be missed by `slack` of their
// sides, or of 1, and where there is any by what a millionth of an integer is worth in them.
class SmallAnswer {
  public:
    explicit SmallAnswer(const SmallModel& model, double slack = 0, double rounding = 1e-22)
        : model_(model), slack_(slack), rounding_(rounding), parts_(model.columns.size()) {
        choose(0);
    }
    // Beyond 1e18 an optimum is as good as none.
    [[nodiscard]] bool is_known() const {
        return unbounded_ || (!(unknown_ < best_ - 1e-9) && best_ > -1e18);
    }
    [[nodiscard]] bool is_unbounded() const { return unbounded_; }
    [[nodiscard]] bool is_feasible() const { return unbounded_ || best_ < kInf; }
    [[nodiscard]] double value() const { return model_.sense * best_; }

  private:
    struct Part {
        double lower, upper;
        bool integral;
    };

    // What a column's type leaves it; ranges of many integers stay whole.
    static std::vector<Part> parts_of(const SmallModel::Column& c) {
        std::vector<Part> out;
        const auto add_integers = [&out](double from, double to) {
            from = from > -kInf ? std::ceil(from) : from;
            to = to < kInf ? std::floor(to) : to;
            if (from > to) return;
            if (to - from > 12) return out.push_back({from, to, true});
            for (double value = from; value <= to; ++value) out.push_back({value, value, false});
        };
        const double least = std::max(c.limit, c.lower);
        if (c.type == 'C') return {{c.lower, c.upper, false}};
        if (c.type == 'S' || c.type == 'R') out.push_back({0, 0, false});
        if (c.type == 'R') add_integers(least, c.upper);
        if (c.type == 'P') add_integers(c.lower, std::min(c.limit, c.upper));
        if (c.type == 'S' || c.type == 'P') {
            if (least <= c.upper) out.push_back({least, c.upper, false});
        }
        if (c.type == 'I' || c.type == 'B') add_integers(c.lower, c.upper);
        return out;
    }

    void choose(std::size_t col) {
        if (col == parts_.size()) return solve();
        for (const Part& part : parts_of(model_.columns[col])) {
            parts_[col] = part;
            choose(col + 1);
        }
    }

    void solve() {
        std::vector<std::size_t> open;
        Quad constant = 0;
        for (std::size_t col = 0; col < parts_.size(); ++col)
            if (parts_[col].lower < parts_[col].upper)
                open.push_back(col);
            else
                constant += Quad{model_.sense * model_.columns[col].cost} * parts_[col].lower;
        VertexProgram program(open.size(), rounding_);
        std::vector<Quad> cost;
        for (std::size_t k = 0; k < open.size(); ++k) {
            program.bound(k, parts_[open[k]].lower, parts_[open[k]].upper);
            cost.push_back(model_.sense * model_.columns[open[k]].cost);
        }
        for (const SmallModel::Row& row : model_.rows) {
            add_side(program, row, open, row.lower, 1);
            add_side(program, row, open, row.upper, -1);
        }
        take(program.minimise(cost, constant), open);
    }

    void add_side(VertexProgram& program, const SmallModel::Row& row,
                  const std::vector<std::size_t>& open, double side, double sign) const {
        if (std::fabs(side) >= kInf) return;
        Quad left = sign * side - slack_ * std::max(1.0, std::fabs(side));
        for (std::size_t col = 0; col < parts_.size() && slack_ > 0; ++col)
            if (model_.columns[col].type != 'C') left -= 1e-6 * std::fabs(row.values[col]);
        for (std::size_t col = 0; col < parts_.size(); ++col)
            if (!(parts_[col].lower < parts_[col].upper))
                left -= Quad{sign * row.values[col]} * parts_[col].lower;
        std::vector<Quad> normal;
        for (const std::size_t col : open) normal.push_back(sign * row.values[col]);
        program.add(normal, left);
    }

    void take(const VertexProgram::Answer& answer, const std::vector<std::size_t>& open) {
        if (!answer.feasible) return;
        bool integral = true;
        bool plain = true;
        for (std::size_t k = 0; k < open.size(); ++k) {
            if (!parts_[open[k]].integral) continue;
            plain = false;
            integral = integral && answer.x[k] == std::round(answer.x[k]);
        }
        if (answer.unbounded) {
            if (plain)
                unbounded_ = true;
            else
                unknown_ = -kInf;
            return;
        }
        double& known = integral ? best_ : unknown_;
        known = std::min(known, answer.value);
    }

    const SmallModel& model_;
    const double slack_;
    const double rounding_;
    std::vector<Part> parts_;
    double best_ = kInf;     // as minimised
    double unknown_ = kInf;  // a bound of what was not decided
    bool unbounded_ = false;
};

}  // namespace qlx::test
