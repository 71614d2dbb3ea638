// "Infeasible" and "unbounded" are only said with a proof.
#include <cmath>

#include "engine/check/proof.hpp"
#include "engine/check/store_view.hpp"
#include "engine/solve/kernel_options.hpp"
#include "engine/solve/linear_claims.hpp"
#include "tests/engine/support.hpp"

namespace {

using qlx::test::kInf;
using qlx::test::Random;
using qlx::test::TestProblem;

constexpr double kDropped = 1e-9;  // default of control matrixtol

struct Claim {
    const char* name;
    int status;
    void (*build)(const TestProblem& p);
};

const std::vector<Claim> kClaims = {
    {"bounds against a row", QLX_LP_INFEAS,
     [](const TestProblem& p) {
         p.column(1, 0, 1);
         p.column(1, 0, 1);
         p.row('G', 3, {0, 1}, {1, 1});
     }},
    {"free columns, dependent equations", QLX_LP_INFEAS,
     [](const TestProblem& p) {
         p.column(0, -kInf, kInf);
         p.column(0, -kInf, kInf);
         p.row('E', 1, {0, 1}, {1, 1});
         p.row('E', 3, {0, 1}, {2, 2});
     }},
    {"primal and dual infeasible", QLX_LP_INFEAS,
     [](const TestProblem& p) {
         p.column(-1, 0, kInf);
         p.column(-1, 0, kInf);
         p.row('G', 1, {0, 1}, {1, -1});
         p.row('G', 1, {0, 1}, {-1, 1});
     }},
    {"empty row that cannot hold, unbounded column", QLX_LP_INFEAS,
     [](const TestProblem& p) {
         p.column(-1, 0, kInf);
         p.row('G', 1, {}, {});
     }},
    {"empty row that holds, unbounded column", QLX_LP_UNBOUNDED,
     [](const TestProblem& p) {
         p.column(-1, 0, kInf);
         p.column(1, -3, 4);
         p.row('L', 1, {}, {});
     }},
    {"range rows that exclude each other", QLX_LP_INFEAS,
     [](const TestProblem& p) {
         p.column(1, -kInf, kInf);
         p.row('R', 5, {0}, {1}, 2);
         p.row('R', 2, {0}, {1}, 2);
     }},
    {"infeasible by a thousandth among millions", QLX_LP_INFEAS,
     [](const TestProblem& p) {
         p.column(0, 0, kInf);
         p.column(0, 0, kInf);
         p.row('L', 1e6, {0, 1}, {1e6, 1});
         p.row('G', 1.000001, {0, 1}, {1, 1e-6});
     }},
    {"entries over twelve orders", QLX_LP_INFEAS,
     [](const TestProblem& p) {
         p.column(0, 0, kInf);
         p.column(0, 0, kInf);
         p.row('G', 1e6, {0, 1}, {1e6, -1e-6});
         p.row('L', 0.5, {0}, {1});
         p.row('L', 1e9, {1}, {1e-2});
     }},
    {"a ray of unlike lengths", QLX_LP_UNBOUNDED,
     [](const TestProblem& p) {
         p.column(0, -kInf, kInf);
         p.column(-1e-3, 2, kInf);
         p.row('E', 0, {0, 1}, {1, -1e6});
         p.row('G', -5, {0, 1}, {1, 1});
     }},
    {"a line through free columns", QLX_LP_UNBOUNDED,
     [](const TestProblem& p) {
         p.column(1, -kInf, kInf);
         p.column(1, -kInf, kInf);
         p.column(1, -kInf, kInf);
         p.row('E', 1, {0, 1, 2}, {1, -1, 0.5});
     }},
    {"a chain that only all rows together close", QLX_LP_INFEAS,
     [](const TestProblem& p) {
         for (int col = 0; col < 50; ++col) p.column(col % 3 - 1, -kInf, kInf);
         for (int col = 0; col < 50; ++col)
             p.row('G', col == 0 ? 1 : 0, {col, (col + 1) % 50}, {1, -1});
     }},
    {"the same chain with a way out", QLX_LP_UNBOUNDED,
     [](const TestProblem& p) {
         for (int col = 0; col < 50; ++col) p.column(-1, -kInf, kInf);
         for (int col = 0; col < 50; ++col) p.row('G', 0, {col, (col + 1) % 50}, {1, -1});
     }},
};

TEST(LpClaims, AreToldApartByEveryMethod) {
    for (const Claim& claim : kClaims)
        for (const char* flags : {"", "d", "p", "b", "n"})
            for (const int presolve : {1, 0}) {
                SCOPED_TRACE(std::string(claim.name) + " " + flags + std::to_string(presolve));
                TestProblem p;
                p.control("presolve", presolve);
                claim.build(p);
                for (int time = 0; time < 2; ++time) {
                    ASSERT_EQ(QLXlpoptimize(p, flags), 0) << p.error();
                    EXPECT_EQ(p.integer("lpstatus"), claim.status);
                    EXPECT_EQ(p.integer("stopstatus"), QLX_STOP_NONE);
                }
            }
}

TEST(LpClaims, AreDecidedWithoutRaysToo) {
    for (const Claim& claim : kClaims) {
        SCOPED_TRACE(claim.name);
        TestProblem p;
        claim.build(p);
        const QLXprob prob = p;
        qlx::SolveSession session(*prob);
        qlx::KernelOptions options = qlx::kernel_options(prob->controls, "");
        options.relax = true;
        EXPECT_EQ(qlx::status_by_phase_one(session, options), claim.status);
    }
}

TEST(LpClaims, ModelsWithAnOptimumAreNotDecided) {
    TestProblem p;
    p.column(1, 0, kInf);
    p.column(2, -5, kInf);
    p.row('G', 1, {0, 1}, {1, 1});
    const QLXprob prob = p;
    qlx::SolveSession session(*prob);
    qlx::KernelOptions options = qlx::kernel_options(prob->controls, "");
    options.relax = true;
    EXPECT_EQ(qlx::status_by_phase_one(session, options), -1);
}

// x + y >= 3 with x, y <= 1, z free and only in a second row.
TEST(LpClaims, FarkasMultipliersAreChecked) {
    TestProblem p;
    p.column(0, 0, 1);
    p.column(0, 0, 1);
    p.column(0, -kInf, kInf);
    p.row('G', 3, {0, 1}, {1, 1});
    p.row('E', 0, {0, 2}, {1, 1});
    const qlx::StoreView store(static_cast<QLXprob>(p)->model, kDropped);
    struct Case {
        std::vector<double> multipliers;
        bool proves;
    };
    for (const Case& c : std::vector<Case>{{{1, 0}, true},
                                           {{-1, 0}, true},
                                           {{1e-6, 0}, true},
                                           {{1, 1e-3}, false},  // z may be anything
                                           {{0, 1}, false},
                                           {{0, 0}, false},
                                           {{1}, false},
                                           {{}, false}})
        EXPECT_EQ(qlx::proves_infeasible(store.view(), c.multipliers), c.proves)
            << testing::PrintToString(c.multipliers);
}

// Columns x >= 0 and y <= 4, row x - y <= 2, maximise x.
TEST(LpClaims, ImprovingRaysAreChecked) {
    TestProblem p;
    p.column(-1, 0, kInf);
    p.column(0, -kInf, 4);
    p.column(-1, 0, kInf);
    p.row('L', 2, {0, 1}, {1, -1});
    const qlx::StoreView store(static_cast<QLXprob>(p)->model, kDropped);
    struct Case {
        std::vector<double> direction;
        bool proves;
    };
    for (const Case& c : std::vector<Case>{{{0, 0, 1}, true},
                                           {{0, 0, -1}, true},
                                           {{1, 1, 0}, false},   // y ends at 4
                                           {{1, 0, 0}, false},   // the row ends it
                                           {{0, -1, 0}, false},  // no progress
                                           {{0, 0, 0}, false},
                                           {{1, 0}, false}})
        EXPECT_EQ(!qlx::improving_ray(store.view(), c.direction).empty(), c.proves)
            << testing::PrintToString(c.direction);
}

// A model whose status is known by how it is made: rows a'x >= b with a point x0, multipliers y >=
// 0 and costs, then scaled by powers of ten.
class Made {
  public:
    Made(Random& random, int status) : random_(random), status_(status) {
        num_cols_ = random.whole(1, 5);
        const int num_rows = random.whole(1, 6);
        point_ = numbers(num_cols_, -3, 3);
        ray_ = numbers(num_cols_, -2, 2);
        if (magnitude(ray_) == 0) ray_[0] = 1;
        cost_.assign(at(num_cols_), 0.0);
        for (int row = 0; row < num_rows; ++row) add_row();
        if (status == QLX_LP_INFEAS) contradict();
        if (status == QLX_LP_UNBOUNDED)
            for (std::size_t col = 0; col < cost_.size(); ++col) cost_[col] = -ray_[col];
        if (status == QLX_LP_INFEAS && random.chance(0.5)) cost_ = numbers(num_cols_, -3, 3);
    }

    void build(const TestProblem& p, int orders) const {
        std::vector<double> col_scale(at(num_cols_));
        for (double& scale : col_scale) scale = std::pow(10, random_.whole(-orders, orders));
        for (int col = 0; col < num_cols_; ++col)
            p.column(cost_[at(col)] * col_scale[at(col)], -kInf, kInf);
        for (std::size_t row = 0; row < rows_.size(); ++row) {
            const double scale = std::pow(10, random_.whole(-orders, orders));
            std::vector<int> cols;
            std::vector<double> values;
            for (int col = 0; col < num_cols_; ++col) {
                if (rows_[row][at(col)] == 0) continue;
                cols.push_back(col);
                values.push_back(rows_[row][at(col)] * scale * col_scale[at(col)]);
            }
            p.row('G', sides_[row] * scale, cols, values);
        }
    }

  private:
    static std::size_t at(int k) { return static_cast<std::size_t>(k); }
    static double magnitude(const std::vector<double>& v) { return dot(v, v); }
    static double dot(const std::vector<double>& a, const std::vector<double>& b) {
        double sum = 0;
        for (std::size_t k = 0; k < a.size(); ++k) sum += a[k] * b[k];
        return sum;
    }
    std::vector<double> numbers(int count, int least, int most) const {
        std::vector<double> result(at(count));
        for (double& value : result) value = random_.whole(least, most);
        return result;
    }

    void add_row() {
        std::vector<double> row = numbers(num_cols_, -3, 3);
        if (status_ == QLX_LP_UNBOUNDED && dot(row, ray_) < 0)
            for (double& value : row) value = -value;
        const double slack = random_.whole(0, 2);
        // Costs are a combination of the rows that are tight at the point: it is optimal.
        if (slack == 0) {
            const double multiplier = random_.whole(0, 2);
            for (std::size_t col = 0; col < row.size(); ++col) cost_[col] += multiplier * row[col];
        }
        sides_.push_back(dot(row, point_) - slack);
        rows_.push_back(std::move(row));
    }
    // A row against a combination of the others, by a half.
    void contradict() {
        std::vector<double> row(at(num_cols_), 0.0);
        double side = 0;
        for (std::size_t k = 0; k < rows_.size(); ++k) {
            const double multiplier = random_.whole(0, 2);
            for (std::size_t col = 0; col < row.size(); ++col)
                row[col] -= multiplier * rows_[k][col];
            side -= multiplier * sides_[k];
        }
        rows_.push_back(std::move(row));
        sides_.push_back(side + 0.5);
    }

    Random& random_;
    int status_;
    int num_cols_ = 0;
    std::vector<double> point_, ray_, cost_, sides_;
    std::vector<std::vector<double>> rows_;
};

TEST(LpClaims, MadeModelsHaveTheStatusTheyWereMadeFor) {
    for (unsigned seed = 0; seed < 1000; ++seed)
        for (const int status : {QLX_LP_OPTIMAL, QLX_LP_INFEAS, QLX_LP_UNBOUNDED}) {
            Random random(seed);
            const Made made(random, status);
            const int orders = static_cast<int>(seed % 4);
            TestProblem p;
            p.control("presolve", random.whole(0, 1));
            made.build(p, orders);
            const char* const flags = std::vector<const char*>{"", "d", "p", "b"}[seed / 4 % 4];
            ASSERT_EQ(QLXlpoptimize(p, flags), 0) << p.error();
            EXPECT_EQ(p.integer("lpstatus"), status)
                << "seed " << seed << ", orders " << orders << ", flags '" << flags << "'";
        }
}

}  // namespace
