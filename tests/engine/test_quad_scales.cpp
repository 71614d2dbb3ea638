// Random quadratic programs with fixed columns, of all sizes, against an enumeration of active
// sets.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <random>

#include "tests/engine/quad_reference.hpp"

namespace qlx::quad::test {
namespace {

constexpr double kInf = 1e30;

// Powers of two near those of ten: what is flat stays flat.
double scale_of(int power) {
    return std::exp2(std::round(power * std::log2(10.0)));
}

// Which part of a program is multiplied by its scale.
enum Part { kPoint, kHessian, kCost, kFixed, kUnits, kRows, kParts };

class Scaled {
  public:
    Scaled(unsigned seed, Part part, double scale) : random_(seed), part_(part), scale_(scale) {
        const int columns = 1 + pick(6);
        add_columns(columns);
        add_hessian(columns);
        const int rows = pick(4);
        for (int i = 0; i < rows; ++i) add_row();
        if (part_ == kUnits) change_units();
    }

    ConvexProgram program;

  private:
    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }
    double normal() { return std::normal_distribution<double>()(random_); }
    double sized(Part part, double value) const { return part == part_ ? scale_ * value : value; }

    void add_columns(int columns) {
        int moving = 0;
        for (int j = 0; j < columns; ++j) {
            program.cost.push_back(pick(4) == 0 ? 0.0 : sized(kCost, normal()));
            const bool fixed = pick(2) == 0 || moving == 4;
            moving += fixed ? 0 : 1;
            const double x = sized(kPoint, fixed ? sized(kFixed, normal()) : normal());
            point_.push_back(x);
            double below = sized(kPoint, std::abs(normal()));
            double above = sized(kPoint, std::abs(normal()));
            const int kind = pick(8);
            if (kind == 0 || kind == 1) below = kInf;
            if (kind == 1 || kind == 2) above = kInf;
            if (kind == 3) below = std::pow(10, 3 + pick(7));
            if (kind == 3 || kind == 4) above = std::pow(10, 3 + pick(7));
            program.column_lower.push_back(fixed ? x : below == kInf ? -kInf : x - below);
            program.column_upper.push_back(fixed ? x : above == kInf ? kInf : x + above);
        }
    }

    // F'F with fewer rows than columns at times, so that some directions are flat.
    void add_hessian(int columns) {
        const int rank = pick(columns + 2);
        for (int k = 0; k < rank; ++k) {
            std::vector<double> f;
            for (int j = 0; j < columns; ++j)
                f.push_back(pick(2) == 0 ? 0.0 : std::round(4 * normal()));
            for (int a = 0; a < columns; ++a)
                for (int b = 0; b <= a; ++b) {
                    const double value = f[at(a)] * f[at(b)];
                    if (value != 0) program.hessian.push_back({a, b, sized(kHessian, value)});
                }
        }
    }

    void add_row() {
        const int place = program.row_count();
        const int columns = program.column_count();
        const int kind = pick(8);
        double activity = 0;
        if (kind == 0 && place > 0) {
            // A multiple of the row before.
            const double factor = pick(2) == 0 ? 1.0 : -3.0;
            const std::vector<Triplet> rows = program.rows;
            for (const Triplet& e : rows)
                if (e.row == place - 1) program.rows.push_back({place, e.column, factor * e.value});
        } else if (kind > 1) {
            for (int j = 0; j < columns; ++j)
                if (pick(2) == 0)
                    program.rows.push_back({place, j, sized(kRows, std::round(3 * normal()))});
        }
        for (const Triplet& e : program.rows)
            if (e.row == place) activity += e.value * point_[at(e.column)];
        const double room = std::abs(sized(kPoint, sized(kRows, normal())));
        const int sides = pick(4);
        program.row_lower.push_back(sides == 1 ? -kInf : sides == 3 ? activity : activity - room);
        program.row_upper.push_back(sides == 0 ? kInf : sides == 3 ? activity : activity + room);
    }

    // Column j in units of a power of two of its own, which rounds nothing, up to the scale.
    void change_units() {
        const int half = static_cast<int>(std::round(std::abs(std::log2(scale_)) / 2));
        std::vector<double> unit;
        for (std::size_t j = 0; j < program.cost.size(); ++j) {
            unit.push_back(std::exp2(pick(2 * half + 1) - half));
            program.cost[j] /= unit[j];
            if (is_finite_lower(program.column_lower[j])) program.column_lower[j] *= unit[j];
            if (is_finite_upper(program.column_upper[j])) program.column_upper[j] *= unit[j];
        }
        for (Triplet& e : program.rows) e.value /= unit[at(e.column)];
        for (Triplet& e : program.hessian) e.value /= unit[at(e.row)] * unit[at(e.column)];
    }

    std::mt19937 random_;
    Part part_;
    double scale_;
    std::vector<double> point_;
};

struct Counts {
    int optimal = 0, unbounded = 0, unsolved = 0, wrong = 0;
};

void judge(const Scaled& made, const std::string& name, Counts& counts) {
    const ConvexProgram& p = made.program;
    const Reference reference(p);
    const ConvexResult result = solve_convex(p, {});
    const auto wrong = [&](const std::string& why) {
        ++counts.wrong;
        ADD_FAILURE() << name << ": " << why;
    };
    switch (result.status) {
        case ConvexStatus::kOptimal: {
            ++counts.optimal;
            const Reals x(result.x.begin(), result.x.end());
            const Real violation = reference.violation(x);
            if (!(violation <= 1e-6L)) return wrong("violated by " + std::to_string(violation));
            const std::optional<Real> best = reference.optimum();
            if (!best) return wrong("no optimum by enumeration");
            const Real excess = reference.objective(x) - *best;
            const Real size = reference.objective_size(x);
            if (!(std::abs(excess) <= 2e-6L * size))
                return wrong("objective off by " + std::to_string(excess) + " of " +
                             std::to_string(size));
            return;
        }
        case ConvexStatus::kUnbounded:
            ++counts.unbounded;
            if (!reference.is_improving_ray(result.ray)) wrong("no ray");
            return;
        case ConvexStatus::kInfeasible:
            return wrong("called infeasible");
        default:
            ++counts.unsolved;
            std::printf("unsolved: %s, status %d, residuals %g %g %g\n", name.c_str(),
                        static_cast<int>(result.status), result.residuals.primal,
                        result.residuals.dual, result.residuals.complementarity);
    }
}

TEST(QuadraticScales, NoAnswerIsWrongAndHardlyAnyIsMissing) {
    const unsigned rounds = std::getenv("QUILEX_LONG") != nullptr ? 40 : 4;
    Counts counts;
    unsigned programs = 0;
    for (unsigned seed = 0; seed < rounds; ++seed)
        for (int part = 0; part < kParts; ++part)
            for (int power = -3; power <= 6; ++power, ++programs) {
                const Scaled made(programs, static_cast<Part>(part), scale_of(power));
                judge(made,
                      "seed " + std::to_string(programs) + ", part " + std::to_string(part) +
                          ", 1e" + std::to_string(power),
                      counts);
            }
    std::printf("%u programs: %d optimal, %d unbounded, %d unsolved, %d wrong\n", programs,
                counts.optimal, counts.unbounded, counts.unsolved, counts.wrong);
    EXPECT_EQ(counts.wrong, 0);
    // Two of every thousand begun.
    EXPECT_LE(counts.unsolved, std::max(1, static_cast<int>(2 * programs / 1000)));
    EXPECT_GT(counts.unbounded, 0);
}

}  // namespace
}  // namespace qlx::quad::test
