// Solving again: the basis survives changes, deletions among them.
#include <cmath>

#include "tests/engine/support.hpp"

namespace {

using qlx::test::kInf;
using qlx::test::Random;
using qlx::test::TestProblem;

class WarmModel {
  public:
    explicit WarmModel(unsigned seed) : random_(seed) {
        for (int k = 0; k < 30; ++k) add_column();
        for (int k = 0; k < 25; ++k) add_row();
    }

    void edit() {
        for (int k = random_.whole(1, 3); k > 0; --k) {
            switch (random_.whole(0, 5)) {
                case 0:
                    add_column();
                    break;
                case 1:
                    add_row();
                    break;
                case 2:
                case 3:
                    delete_one(QLXdelrows, rows());
                    break;
                case 4:
                    delete_one(QLXdelcols, columns());
                    break;
                default:
                    open_or_close_bound();
            }
        }
    }

    // Solves, and a fresh copy beside: both must say the same.
    void solve() {
        TestProblem copy;
        ASSERT_EQ(QLXcopyprob(copy, problem_, "copy"), 0) << copy.error();
        ASSERT_EQ(QLXlpoptimize(problem_, ""), 0) << problem_.error();
        ASSERT_EQ(QLXlpoptimize(copy, ""), 0) << copy.error();
        const int status = copy.integer(QLX_ATTRIB_LPSTATUS);
        ASSERT_EQ(problem_.integer(QLX_ATTRIB_LPSTATUS), status);
        warm += problem_.integer("simplexiter");
        cold += copy.integer("simplexiter");
        if (status != QLX_LP_OPTIMAL) return;
        ++optima;
        const double wanted = copy.real(QLX_ATTRIB_LPOBJVAL);
        ASSERT_NEAR(problem_.real(QLX_ATTRIB_LPOBJVAL), wanted, 1e-6 * (1 + std::fabs(wanted)));
    }

    // Deletes the rows without a dual and the columns that rest at 0: the optimum stays.
    void delete_what_does_not_matter() {
        std::vector<double> dual(static_cast<std::size_t>(rows()));
        ASSERT_EQ(QLXgetlpsol(problem_, nullptr, nullptr, dual.data(), nullptr), 0);
        erase_where(QLXdelcols, problem_.lp_x());
        erase_where(QLXdelrows, dual);
    }

    [[nodiscard]] double optimum() const { return problem_.real(QLX_ATTRIB_LPOBJVAL); }

    int warm = 0, cold = 0, optima = 0;

  private:
    [[nodiscard]] int rows() const { return problem_.integer(QLX_ATTRIB_ROWS); }
    [[nodiscard]] int columns() const { return problem_.integer(QLX_ATTRIB_COLS); }

    void add_column() {
        problem_.column(random_.real(-2, 1), random_.chance(0.1) ? -1 : 0,
                        random_.chance(0.3) ? kInf : random_.real(1, 5));
        const int col = columns() - 1;
        for (int row = 0; row < rows(); row += 3)
            EXPECT_EQ(QLXchgcoef(problem_, row, col, random_.real(0, 2)), 0);
    }
    void add_row() {
        std::vector<int> cols;
        std::vector<double> values;
        for (int col = 0; col < columns(); ++col) {
            if (!random_.chance(0.4)) continue;
            cols.push_back(col);
            values.push_back(random_.real(0.1, 2));
        }
        problem_.row("LLLR"[random_.whole(0, 3)], random_.real(5, 20), cols, values, 4);
    }
    void delete_one(int (*erase)(QLXprob, int, const int*), int count) {
        if (count < 5) return;
        const int index = random_.whole(0, count - 1);
        ASSERT_EQ(erase(problem_, 1, &index), 0) << problem_.error();
    }
    void erase_where(int (*erase)(QLXprob, int, const int*), const std::vector<double>& values) {
        std::vector<int> zeros;
        for (std::size_t k = 0; k < values.size(); ++k)
            if (values[k] == 0) zeros.push_back(static_cast<int>(k));
        ASSERT_FALSE(zeros.empty());
        ASSERT_EQ(erase(problem_, static_cast<int>(zeros.size()), zeros.data()), 0);
    }
    // Lets a nonbasic column lose the bound at which it rests.
    void open_or_close_bound() {
        const int col = random_.whole(0, columns() - 1);
        const char type = random_.chance(0.3) ? 'L' : 'U';
        const double value = type == 'L' ? -kInf : random_.chance(0.5) ? kInf : 3.0;
        ASSERT_EQ(QLXchgbounds(problem_, 1, &col, &type, &value), 0) << problem_.error();
    }

    TestProblem problem_;
    Random random_;
};

TEST(WarmStart, DeletingWhatDoesNotMatterCostsNoIterations) {
    int optima = 0;
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        WarmModel model(seed);
        model.solve();
        if (model.optima == 0) continue;
        const double optimum = model.optimum();
        model.delete_what_does_not_matter();
        model.warm = 0;
        model.solve();
        EXPECT_NEAR(model.optimum(), optimum, 1e-6 * (1 + std::fabs(optimum)));
        EXPECT_EQ(model.warm, 0);
        ++optima;
    }
    EXPECT_GT(optima, 5);
}

TEST(WarmStart, EditedModelsAnswerAsFreshCopiesInFewerIterations) {
    int warm = 0;
    int cold = 0;
    int optima = 0;
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        WarmModel model(seed);
        model.solve();
        model.warm = model.cold = 0;
        for (int round = 0; round < 8; ++round) {
            model.edit();
            ASSERT_NO_FATAL_FAILURE(model.solve());
        }
        warm += model.warm;
        cold += model.cold;
        optima += model.optima;
    }
    EXPECT_GT(optima, 100);
    EXPECT_LT(2 * warm, cold);
}

}  // namespace
