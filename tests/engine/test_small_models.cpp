// Small models with numbers from 1e-6 to 1e12 and all kinds of columns against exact enumeration.
// QUILEX_LONG=1: 20,000 of each kind; QUILEX_SEEDS=FIRST:LAST: those.
#include <cstdio>
#include <cstdlib>

#include "tests/engine/small_model.hpp"

namespace {

using qlx::test::kInf;
using qlx::test::Random;
using qlx::test::SmallAnswer;
using qlx::test::SmallModel;
using qlx::test::TestProblem;

// --- Random models ---

double power(Random& random, int least, int most) {
    return std::pow(10.0, random.whole(least, most));
}

// Some digits times a power of ten.
double number(Random& random, int least, int most) {
    const double digits = random.chance(0.5) ? random.whole(1, 9) : random.whole(1, 9999) / 1000.0;
    return (random.chance(0.5) ? 1 : -1) * digits * power(random, least, most);
}

double far_bound(Random& random) {
    return random.chance(0.4) ? kInf : random.whole(1, 9) * power(random, 3, 12);
}

SmallModel::Column random_column(Random& random, bool integral) {
    SmallModel::Column c{0, 0, 0};
    if (random.chance(0.8))
        c.cost = random.chance(0.7) ? random.whole(-5, 5) : number(random, -6, 4);
    const double near = random.chance(0.5) ? random.whole(1, 9) : random.whole(1, 99) / 10.0;
    c.upper = random.chance(0.5) ? near : far_bound(random);
    c.lower = random.chance(0.5)   ? 0
              : random.chance(0.5) ? -random.whole(0, 9)
                                   : -far_bound(random);
    if (!integral) return c;
    c.type = "CCIIBSRP"[random.whole(0, 7)];
    switch (c.type) {
        case 'B':
            c.lower = 0;
            c.upper = 1;
            break;
        case 'I':
            c.lower = -random.whole(0, 60) / 10.0;
            c.upper = random.chance(0.9) ? random.whole(0, 60) / 10.0 : c.upper;
            break;
        case 'S':
            c.lower = 0;
            c.limit = std::min(c.upper, random.whole(0, 30) / 10.0);
            break;
        case 'R':
            c.lower = 0;
            c.limit = random.whole(0, 3);
            c.upper = random.whole(3, 9);
            break;
        case 'P':
            c.lower = -random.whole(0, 3);
            c.limit = random.whole(0, 3);
            c.upper = std::max(c.upper, c.limit);
            break;
        default:
            break;
    }
    return c;
}

SmallModel random_model(Random& random, bool integral) {
    SmallModel m;
    m.sense = random.chance(0.5) ? 1 : -1;
    const int n = random.whole(1, 4);
    for (int col = 0; col < n; ++col) m.columns.push_back(random_column(random, integral));
    for (int count = random.whole(1, 3); count > 0; --count) {
        SmallModel::Row row{-kInf, kInf, {}};
        const double scale = random.chance(0.5) ? power(random, -6, 6) : 0;
        for (int col = 0; col < n; ++col)
            row.values.push_back(random.chance(0.25) ? 0
                                 : scale > 0         ? scale * number(random, 0, 0)
                                                     : number(random, -6, 6));
        const double side = random.chance(0.3)   ? 0
                            : random.chance(0.4) ? random.whole(-3, 3)
                            : scale > 0          ? scale * number(random, 0, 0)
                                                 : number(random, -6, 6);
        const int kind = random.whole(0, 9);
        if (kind < 6) row.lower = side;
        if (kind == 6) row.lower = row.upper = side;
        if (kind == 7) {
            row.upper = side + std::fabs(number(random, -5, 5));
            row.lower = row.upper - (row.upper - side);  // as a range states it
        }
        if (kind > 7) row.upper = side;
        m.rows.push_back(row);
    }
    return m;
}

// --- Comparison ---

enum class Outcome { kRight, kTolerated, kUnsolved, kSkipped, kWrong };

struct Settings {
    bool presolve;
    double feastol;
};

struct Found {
    enum class Status { kOptimal, kInfeasible, kUnbounded, kOther };
    Status status = Status::kOther;
    double value = 0;
    std::vector<double> x;
    int stop = 0;
};

void load(const TestProblem& p, const SmallModel& m, const Settings& settings) {
    p.control("presolve", settings.presolve ? 1 : 0);
    p.control("feastol", settings.feastol);
    m.load(p);
}

Found solve(const TestProblem& p, const SmallModel& m) {
    Found found;
    const bool linear = m.is_linear();
    EXPECT_EQ(linear ? QLXlpoptimize(p, "") : QLXmipoptimize(p, ""), 0) << p.error();
    const int status = p.integer(linear ? "lpstatus" : "mipstatus");
    if (status == (linear ? int{QLX_LP_OPTIMAL} : int{QLX_MIP_OPTIMAL})) {
        found.status = Found::Status::kOptimal;
        found.value = p.real(linear ? QLX_ATTRIB_LPOBJVAL : QLX_ATTRIB_MIPOBJVAL);
        found.x = linear ? p.lp_x() : p.mip_x();
    }
    if (status == (linear ? int{QLX_LP_INFEAS} : int{QLX_MIP_INFEAS}))
        found.status = Found::Status::kInfeasible;
    if (status == (linear ? int{QLX_LP_UNBOUNDED} : int{QLX_MIP_UNBOUNDED}))
        found.status = Found::Status::kUnbounded;
    found.stop = p.integer("stopstatus");
    return found;
}

// Better than the optimum is what the tolerances let through; worse is never right.
Outcome judge_by(const SmallAnswer& answer, const SmallModel& m, const Settings& settings,
                 const Found& found) {
    if (!answer.is_known()) return Outcome::kSkipped;
    const auto right_if = [](bool right) { return right ? Outcome::kRight : Outcome::kWrong; };
    switch (found.status) {
        case Found::Status::kInfeasible:
            return right_if(!answer.is_feasible());
        case Found::Status::kUnbounded:
            if (answer.is_unbounded()) return Outcome::kRight;
            return SmallAnswer(m, settings.feastol).is_unbounded() ? Outcome::kTolerated
                                                                   : Outcome::kWrong;
        case Found::Status::kOther:
            return Outcome::kUnsolved;
        default:
            break;
    }
    if (m.violation(found.x) > 1.01 * settings.feastol || answer.is_unbounded())
        return Outcome::kWrong;
    if (!answer.is_feasible()) return Outcome::kTolerated;
    double size = 0;  // of what the objective is added up from
    for (std::size_t col = 0; col < found.x.size(); ++col)
        size += std::fabs(m.columns[col].cost * found.x[col]);
    const double near = 1e-6 * std::max(1.0, std::fabs(answer.value())) + 1e-15 * size;
    const double behind = m.sense * (found.value - answer.value());
    if (std::fabs(behind) <= near) return Outcome::kRight;
    return behind < 0 ? Outcome::kTolerated : Outcome::kWrong;
}

// Where the rounding of the data decides, both answers are right.
Outcome judge(const SmallModel& m, const Settings& settings, const Found& found,
              const SmallAnswer& answer) {
    const Outcome outcome = judge_by(answer, m, settings, found);
    if (outcome != Outcome::kWrong) return outcome;
    return judge_by(SmallAnswer(m, 0, 1e-15), m, settings, found) == Outcome::kRight
               ? Outcome::kTolerated
               : Outcome::kWrong;
}

std::string describe(const SmallModel& m, const Settings& settings, const Found& found,
                     const SmallAnswer& answer) {
    std::ostringstream out;
    out.precision(17);
    const char* const names[] = {"optimal", "infeasible", "unbounded", "unsolved"};
    out << names[static_cast<int>(found.status)] << " " << found.value << ", stop " << found.stop
        << ", by enumeration "
        << (answer.is_unbounded()  ? "unbounded"
            : answer.is_feasible() ? "optimal"
                                   : "infeasible")
        << " " << answer.value() << ", presolve " << settings.presolve << ", feastol "
        << settings.feastol << "\n"
        << m.text();
    return out.str();
}

void campaign(bool integral) {
    unsigned first = 1;
    unsigned last = std::getenv("QUILEX_LONG") == nullptr ? 300 : 20'000;
    if (const char* seeds = std::getenv("QUILEX_SEEDS"); seeds != nullptr) {
        ASSERT_EQ(std::sscanf(seeds, "%u:%u", &first, &last), 2);
    }
    int seen[5] = {};
    int unbounded = 0;
    for (unsigned seed = first; seed <= last; ++seed) {
        Random random(seed);
        const Settings settings{random.chance(0.5), random.chance(0.5) ? 1e-6 : 1e-9};
        SmallModel m = random_model(random, integral);
        TestProblem p;
        load(p, m, settings);
        // Either sense, one after the other in the same problem.
        for (int turn = 0; turn < 2; ++turn) {
            const SmallAnswer answer(m);
            const Found found = solve(p, m);
            const Outcome outcome = judge(m, settings, found, answer);
            ++seen[static_cast<int>(outcome)];
            unbounded += outcome == Outcome::kRight && answer.is_unbounded() ? 1 : 0;
            EXPECT_NE(outcome, Outcome::kWrong)
                << "seed " << seed << ": " << describe(m, settings, found, answer);
            if (outcome == Outcome::kUnsolved)
                std::printf("seed %u: %s\n", seed, describe(m, settings, found, answer).c_str());
            m.sense = -m.sense;
            ASSERT_EQ(QLXchgobjsense(p, m.sense), 0);
        }
    }
    std::printf("%d right (%d unbounded), %d by tolerances, %d unsolved, %d skipped, %d wrong\n",
                seen[0], unbounded, seen[1], seen[2], seen[3], seen[4]);
    const auto count = static_cast<int>(2 * (last - first + 1));
    EXPECT_LE(seen[static_cast<int>(Outcome::kUnsolved)], count / 1000);
    EXPECT_GE(seen[static_cast<int>(Outcome::kRight)], count / 2);
}

// Models that were once answered wrongly or not at all.
const std::vector<SmallModel> kKnown = {
    // The dual of a far smaller cost hides behind the larger ones.
    {1,
     {{7.26e-6, -kInf, kInf}, {5, -100, 10}, {6226, 0, 4}, {64280, 0, 4}},
     {{2817569.2249703202, kInf, {562200, -90.61, 0, -7.42e-6}},
      {-kInf, -3656000.385929998, {-1, -350400, -.3285, -7265000}}}},
    // Unbounded in spite of its scales.
    {1,
     {{-3, 0, kInf}, {0, -kInf, kInf}, {4, -kInf, kInf}, {0, 0, 6}},
     {{0, kInf, {0, -1, 0, 909900}}, {1, kInf, {0, 9086, 1, -4e-6}}}},
    // A millionth of an integer is worth a row.
    {1,
     {{-2, 0, 2.3, 'P', 1}, {0, -3.5, 0, 'I'}, {1, -1, 2, 'P', 2}},
     {{1, kInf, {-7e-6, -.07, 9014000}}}},
    // An integer that presolve rounds to the next one.
    {1, {{-4, -2, 0, 'I'}}, {{5.486e-5, kInf, {-5.486e-5}}, {-kInf, 28440, {-5.486e-5}}}},
    // What an integer gains another column takes to the fifth digit.
    {1, {{3, -6, 0, 'I'}, {1, -kInf, 0}, {-1, 0, 1e5}}, {{0, kInf, {-6e-7, 4631000, -.0004}}}},
};

TEST(SmallModels, KnownOnesStayRight) {
    for (const SmallModel& m : kKnown)
        for (const bool presolve : {true, false})
            for (const double feastol : {1e-6, 1e-9}) {
                const Settings settings{presolve, feastol};
                const SmallAnswer answer(m);
                TestProblem p;
                load(p, m, settings);
                const Found found = solve(p, m);
                EXPECT_EQ(judge(m, settings, found, answer), Outcome::kRight)
                    << describe(m, settings, found, answer);
            }
}

TEST(SmallModels, LinearOnesAgreeWithEnumeration) {
    campaign(false);
}

TEST(SmallModels, IntegerOnesAgreeWithEnumeration) {
    campaign(true);
}

}  // namespace
