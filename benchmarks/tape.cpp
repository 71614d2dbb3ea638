// What values and derivatives of the scalable problems cost: microseconds, and in evaluations of
// all functions. README.md says how it is built.
#include <chrono>
#include <cstdio>

#include "benchmarks/tape_problems.hpp"

namespace {

using namespace qlx;
using Clock = std::chrono::steady_clock;

// Microseconds of the fastest of many short series; every call is at another point.
template <class Call>
double time_of(std::vector<double> x, Call&& call) {
    double best = 1e300;
    int repeats = 1;
    for (int series = 0; series < 60; ++series) {
        const auto begin = Clock::now();
        for (int k = 0; k < repeats; ++k) {
            x[0] += 1e-9;
            call(x);
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        best = std::min(best, seconds / repeats);
        repeats = std::max(1, static_cast<int>(0.001 / best));
    }
    return 1e6 * best;
}

void measure(const char* name, const bench::Problem& problem) {
    const auto begin = Clock::now();
    nlp::NonlinearProgram program(problem.statement.statement);
    const double build = std::chrono::duration<double>(Clock::now() - begin).count();
    const std::vector<double>& x = problem.start;
    std::vector<double> rows(at(program.num_rows()));
    std::vector<double> gradient(x.size());
    std::vector<double> jacobian(program.jacobian_pattern().rows.size());
    std::vector<double> hessian(program.hessian_pattern().rows.size());
    const std::vector<double> multipliers(rows.size(), 0.5);
    double value = 0;
    const auto functions = [&](const auto& point) {
        (void)program.objective(point, value);
        (void)program.rows(point, rows);
    };
    const auto slopes = [&](const auto& point) {
        functions(point);
        (void)program.gradient(point, gradient);
        (void)program.jacobian(point, jacobian);
    };
    const double f = time_of(x, functions);
    const double g = time_of(x, slopes);
    const double h = time_of(x, [&](const auto& point) {
        slopes(point);
        (void)program.hessian(point, 1, multipliers, hessian);
    });
    // The gradient is functions and first derivatives at a new point; the Hessian is what it costs
    // after them.
    std::printf("%-16s %8.3f ms  f %8.2f  g %8.2f  H %8.2f   g/f %5.2f  H/f %5.2f\n", name,
                1e3 * build, f, g, h - g, g / f, (h - g) / f);
}

}  // namespace

int main() {
    measure("rosenbrock 1000", bench::rosenbrock(1000));
    measure("elec 50", bench::elec(50));
    measure("chain 400", bench::chain(400));
    measure("catmix 100", bench::catmix(100));
    measure("torsion 50 50", bench::torsion(50, 50));
    measure("camshape 100", bench::camshape(100));
    measure("clnlbeam 1000", bench::clnlbeam(1000));
    measure("edensch 2000", bench::edensch(2000));
}
