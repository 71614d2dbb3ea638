// What the tests of the C interface share: a problem that cleans up, and short ways to build
// models.
#pragma once

#include <gtest/gtest.h>
#include <qlx/qlx.h>
#include <qlx/qslp.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace qlx::test {

constexpr double kInf = 1e20;

// An initialised library and one problem.
class TestProblem {
  public:
    TestProblem() {
        EXPECT_EQ(QLXinit(nullptr), 0);
        EXPECT_EQ(QLXcreateprob(&prob_), 0);
    }
    ~TestProblem() {
        EXPECT_EQ(QLXdestroyprob(prob_), 0);
        EXPECT_EQ(QLXfree(), 0);
    }
    TestProblem(const TestProblem&) = delete;
    TestProblem& operator=(const TestProblem&) = delete;
    operator QLXprob() const { return prob_; }

    [[nodiscard]] std::string error() const {
        char text[512];
        QLXgetlasterror(prob_, text);
        return text;
    }
    [[nodiscard]] int integer(int id) const {
        int value = 0;
        EXPECT_EQ(QLXgetintattrib(prob_, id, &value), 0) << error();
        return value;
    }
    [[nodiscard]] int integer(const char* name) const {
        int id = 0;
        EXPECT_EQ(QLXgetattribinfo(prob_, name, &id, nullptr), 0) << error();
        return integer(id);
    }
    [[nodiscard]] double real(int id) const {
        double value = 0;
        EXPECT_EQ(QLXgetdblattrib(prob_, id, &value), 0) << error();
        return value;
    }
    void control(const char* name, double value) const {
        int id = 0;
        int type = 0;
        ASSERT_EQ(QLXgetcontrolinfo(prob_, name, &id, &type), 0) << error();
        const int rc = type == QLX_TYPE_INT ? QLXsetintcontrol(prob_, id, static_cast<int>(value))
                                            : QLXsetdblcontrol(prob_, id, value);
        ASSERT_EQ(rc, 0) << error();
    }
    void column(double cost, double lb, double ub, char type = 'C', double limit = 0) const {
        ASSERT_EQ(QLXaddcols64(prob_, 1, 0, &cost, nullptr, nullptr, nullptr, &lb, &ub), 0)
            << error();
        const int col = integer(QLX_ATTRIB_COLS) - 1;
        if (type == 'C') return;
        ASSERT_EQ(QLXchgcoltype(prob_, 1, &col, &type), 0) << error();
        if (type == 'I' || type == 'B') return;
        ASSERT_EQ(QLXchgglblimit(prob_, 1, &col, &limit), 0) << error();
    }
    void row(char type, double rhs, const std::vector<int>& cols, const std::vector<double>& values,
             double range = 0) const {
        const std::int64_t start[] = {0, static_cast<std::int64_t>(cols.size())};
        ASSERT_EQ(QLXaddrows64(prob_, 1, start[1], &type, &rhs, &range, start, cols.data(),
                               values.data()),
                  0)
            << error();
    }
    [[nodiscard]] std::vector<double> lp_x() const {
        std::vector<double> x(static_cast<std::size_t>(integer(QLX_ATTRIB_COLS)));
        EXPECT_EQ(QLXgetlpsol(prob_, x.data(), nullptr, nullptr, nullptr), 0) << error();
        return x;
    }
    [[nodiscard]] std::vector<double> mip_x() const {
        std::vector<double> x(static_cast<std::size_t>(integer(QLX_ATTRIB_COLS)));
        EXPECT_EQ(QLXgetmipsol(prob_, x.data(), nullptr), 0) << error();
        return x;
    }

  private:
    QLXprob prob_ = nullptr;
};

// Random numbers with a seed that failing tests print.
class Random {
  public:
    explicit Random(unsigned seed) : generator_(seed) {}
    int whole(int least, int most) {
        return std::uniform_int_distribution<int>(least, most)(generator_);
    }
    double real(double least, double most) {
        return std::uniform_real_distribution<double>(least, most)(generator_);
    }
    bool chance(double probability) { return real(0, 1) < probability; }

  private:
    std::mt19937 generator_;
};

}  // namespace qlx::test
