// Random edits of the model store against a naive model of nested maps.
#include <map>

#include "tests/engine/support.hpp"

namespace {

using qlx::test::Random;
using qlx::test::TestProblem;

struct NaiveRow {
    char type;
    double rhs;
    std::map<int, double> entries;
    std::string name;
};

struct NaiveColumn {
    double cost, lb, ub;
    std::string name;
};

class NaiveModel {
  public:
    NaiveModel(const TestProblem& p, Random& random) : p_(p), random_(random) {}

    void edit() {
        switch (random_.whole(0, 7)) {
            case 0:
                return add_column();
            case 1:
            case 2:
                return add_row();
            case 3:
                return set_coefficient();
            case 4:
                return change_bounds();
            case 5:
                return delete_row();
            case 6:
                return delete_column();
            default:
                return change_side_and_cost();
        }
    }

    void compare() const {
        ASSERT_EQ(p_.integer("rows"), static_cast<int>(rows_.size()));
        ASSERT_EQ(p_.integer("cols"), static_cast<int>(columns_.size()));
        for (int row = 0; row < static_cast<int>(rows_.size()); ++row) compare_row(row);
        for (int col = 0; col < static_cast<int>(columns_.size()); ++col) compare_column(col);
    }

  private:
    int any_row() { return random_.whole(0, static_cast<int>(rows_.size()) - 1); }
    int any_column() { return random_.whole(0, static_cast<int>(columns_.size()) - 1); }

    void add_column() {
        NaiveColumn column{random_.real(-1, 1), -1.0 * random_.whole(0, 3),
                           1.0 * random_.whole(0, 9), "c" + std::to_string(++serial_)};
        std::vector<int> rows;
        std::vector<double> values;
        for (int row = 0; row < static_cast<int>(rows_.size()); ++row) {
            if (!random_.chance(0.3)) continue;
            rows.push_back(row);
            values.push_back(random_.whole(-3, 3));
            if (values.back() != 0)
                rows_[static_cast<std::size_t>(row)].entries[static_cast<int>(columns_.size())] =
                    values.back();
        }
        const std::int64_t start[] = {0, static_cast<std::int64_t>(rows.size())};
        ASSERT_EQ(QLXaddcols64(p_, 1, start[1], &column.cost, start, rows.data(), values.data(),
                               &column.lb, &column.ub),
                  0)
            << p_.error();
        const int col = static_cast<int>(columns_.size());
        ASSERT_EQ(QLXaddnames(p_, 2, column.name.c_str(), col, col), 0) << p_.error();
        columns_.push_back(column);
    }

    void add_row() {
        NaiveRow row{"LGEN"[random_.whole(0, 3)], random_.real(-5, 5), {}, {}};
        std::vector<int> cols;
        std::vector<double> values;
        for (int col = static_cast<int>(columns_.size()) - 1; col >= 0; --col) {
            if (!random_.chance(0.4)) continue;
            cols.push_back(col);
            values.push_back(random_.whole(-2, 2));
            if (values.back() != 0) row.entries[col] = values.back();
        }
        p_.row(row.type, row.rhs, cols, values);
        const int index = static_cast<int>(rows_.size());
        row.name = "R" + std::to_string(++serial_);
        ASSERT_EQ(QLXaddnumberednames(p_, 1, nullptr, serial_, index, index), 0) << p_.error();
        rows_.push_back(row);
    }

    void set_coefficient() {
        if (rows_.empty() || columns_.empty()) return;
        const int row = any_row();
        const int col = any_column();
        const double value = random_.whole(-2, 2);
        ASSERT_EQ(QLXchgcoef(p_, row, col, value), 0) << p_.error();
        auto& entries = rows_[static_cast<std::size_t>(row)].entries;
        entries.erase(col);
        if (value != 0) entries[col] = value;
    }

    void change_bounds() {
        if (columns_.empty()) return;
        const int cols[] = {any_column(), any_column()};
        const double values[] = {-20, 20};
        ASSERT_EQ(QLXchgbounds(p_, 2, cols, "LU", values), 0) << p_.error();
        columns_[static_cast<std::size_t>(cols[0])].lb = -20;
        columns_[static_cast<std::size_t>(cols[1])].ub = 20;
    }

    void change_side_and_cost() {
        if (rows_.empty() || columns_.empty()) return;
        const int row = any_row();
        const int col = any_column();
        const double value = random_.real(-9, 9);
        ASSERT_EQ(QLXchgrhs(p_, 1, &row, &value), 0) << p_.error();
        ASSERT_EQ(QLXchgobj(p_, 1, &col, &value), 0) << p_.error();
        rows_[static_cast<std::size_t>(row)].rhs = value;
        columns_[static_cast<std::size_t>(col)].cost = value;
    }

    void delete_row() {
        if (rows_.size() < 3) return;
        const int row = any_row();
        ASSERT_EQ(QLXdelrows(p_, 1, &row), 0) << p_.error();
        rows_.erase(rows_.begin() + row);
    }

    void delete_column() {
        if (columns_.size() < 3) return;
        const int col = any_column();
        ASSERT_EQ(QLXdelcols(p_, 1, &col), 0) << p_.error();
        columns_.erase(columns_.begin() + col);
        for (NaiveRow& row : rows_) {
            std::map<int, double> kept;
            for (const auto& [index, value] : row.entries)
                if (index != col) kept[index > col ? index - 1 : index] = value;
            row.entries = kept;
        }
    }

    void compare_row(int index) const {
        const NaiveRow& row = rows_[static_cast<std::size_t>(index)];
        std::vector<int> cols(columns_.size() + 1);
        std::vector<double> values(columns_.size() + 1);
        std::int64_t count = 0;
        ASSERT_EQ(QLXgetrows64(p_, nullptr, cols.data(), values.data(), 1000, &count, index, index),
                  0);
        std::map<int, double> entries;
        for (std::size_t k = 0; k < static_cast<std::size_t>(count); ++k)
            entries[cols[k]] = values[k];
        EXPECT_EQ(entries, row.entries) << "row " << index;
        double rhs = 0;
        char type = ' ';
        int found = -1;
        QLXgetrhs(p_, &rhs, index, index);
        QLXgetrowtype(p_, &type, index, index);
        EXPECT_EQ(rhs, row.rhs);
        EXPECT_EQ(type, row.type);
        EXPECT_EQ(QLXgetindex(p_, 1, row.name.c_str(), &found), 0) << p_.error();
        EXPECT_EQ(found, index);
    }

    void compare_column(int index) const {
        const NaiveColumn& column = columns_[static_cast<std::size_t>(index)];
        double cost = 0;
        double lb = 0;
        double ub = 0;
        QLXgetobj(p_, &cost, index, index);
        QLXgetlb(p_, &lb, index, index);
        QLXgetub(p_, &ub, index, index);
        EXPECT_EQ(cost, column.cost);
        EXPECT_EQ(lb, column.lb);
        EXPECT_EQ(ub, column.ub);
        std::int64_t start[2];
        std::vector<int> rows(rows_.size() + 1);
        ASSERT_EQ(QLXgetcols64(p_, start, rows.data(), nullptr, 1000, nullptr, index, index), 0);
        std::int64_t expected = 0;
        for (const NaiveRow& row : rows_)
            expected += static_cast<std::int64_t>(row.entries.count(index));
        EXPECT_EQ(start[1], expected);
        int found = -1;
        EXPECT_EQ(QLXgetindex(p_, 2, column.name.c_str(), &found), 0) << p_.error();
        EXPECT_EQ(found, index);
    }

    const TestProblem& p_;
    Random& random_;
    int serial_ = 0;
    std::vector<NaiveRow> rows_;
    std::vector<NaiveColumn> columns_;
};

TEST(ModelEdits, AgreeWithANaiveModel) {
    for (unsigned seed = 1; seed <= 25; ++seed) {
        SCOPED_TRACE(seed);
        TestProblem p;
        Random random(seed);
        NaiveModel naive(p, random);
        for (int step = 0; step < 120; ++step) {
            naive.edit();
            if (step % 7 == 0) naive.compare();
            if (HasFatalFailure() || HasNonfatalFailure()) return;
        }
        naive.compare();
    }
}

// A live solver object must follow the store through every kind of edit.
TEST(ModelEdits, ResolvesEqualFreshSolves) {
    for (unsigned seed = 1; seed <= 25; ++seed) {
        SCOPED_TRACE(seed);
        TestProblem p;
        Random random(seed);
        NaiveModel naive(p, random);
        for (int step = 0; step < 15; ++step) naive.edit();
        for (int round = 0; round < 12; ++round) {
            naive.edit();
            if (random.chance(0.5)) naive.edit();
            if (p.integer("cols") == 0 && p.integer("rows") == 0) continue;
            TestProblem fresh;
            ASSERT_EQ(QLXcopyprob(fresh, p, ""), 0) << fresh.error();
            ASSERT_EQ(QLXlpoptimize(p, ""), 0) << p.error();
            ASSERT_EQ(QLXlpoptimize(fresh, ""), 0) << fresh.error();
            ASSERT_EQ(p.integer("lpstatus"), fresh.integer("lpstatus")) << "round " << round;
            if (p.integer("lpstatus") == QLX_LP_OPTIMAL) {
                EXPECT_NEAR(p.real(QLX_ATTRIB_LPOBJVAL), fresh.real(QLX_ATTRIB_LPOBJVAL), 1e-6);
            }
        }
    }
}

TEST(ModelEdits, QuadraticTermsAreSymmetricAndSummed) {
    TestProblem p;
    for (int k = 0; k < 3; ++k) p.column(0, 0, 1);
    p.row('L', 1, {0}, {1});
    const int col1[] = {2, 0, 1, 0};
    const int col2[] = {0, 2, 1, 1};
    const double values[] = {1.5, 2.5, 3, -1};
    ASSERT_EQ(QLXchgmqobj64(p, 4, col1, col2, values), 0) << p.error();
    ASSERT_EQ(QLXaddqmatrix64(p, 0, 4, col1, col2, values), 0) << p.error();
    double value = 0;
    QLXgetqobj(p, 2, 0, &value);
    EXPECT_EQ(value, 4);
    const double x[] = {1, 2, 3};
    QLXcalcobjective(p, x, &value);
    EXPECT_EQ(value, 4 * 3 + 3 * 4 - 2);
    ASSERT_EQ(QLXchgqrowcoeff(p, 0, 1, 1, 0), 0);
    int count = 0;
    QLXgetqrowqmatrixtriplets(p, 0, &count, nullptr, nullptr, nullptr);
    EXPECT_EQ(count, 2);
    const int col = 0;
    ASSERT_EQ(QLXdelcols(p, 1, &col), 0);
    EXPECT_EQ(p.integer("qelems"), 1);
    EXPECT_EQ(p.integer("qconstraints"), 0);
}

}  // namespace
