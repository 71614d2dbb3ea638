// A branch and bound in few lines on FrozenModel, Relaxation and Incumbents alone: that what a tree
// needs is there.
#include <cmath>
#include <cstdio>
#include <ctime>
#include <queue>

#include "engine/solve/incumbents.hpp"
#include "engine/tree/linear_relaxation.hpp"
#include "tests/engine/p0033.hpp"
#include "tests/engine/relaxation_support.hpp"
#include "tests/engine/support.hpp"

namespace {

using namespace qlx;
using qlx::test::add_column;
using qlx::test::add_row;

constexpr double kNever = std::numeric_limits<double>::infinity();

struct Node {
    double bound = -kNever;
    std::vector<BoundChange> path;
    std::shared_ptr<const WarmStart> start;
};

bool is_later(const Node& a, const Node& b) {
    return a.bound > b.bound;
}

// Best bound first, diving to the nearer child; pseudo-costs, which begin with a look-ahead. For
// models whose objective takes whole values.
class ToySearch {
  public:
    ToySearch(const FrozenModel& model, Relaxation& relaxation, Incumbents& incumbents)
        : model_(model),
          relaxation_(relaxation),
          incumbents_(incumbents),
          gains_(at(model.presolved().num_cols())) {}

    void run() {
        open_.emplace();
        while (!open_.empty()) {
            Node node = open_.top();
            open_.pop();
            while (node.bound <= limit() && explore(node)) {
            }
        }
    }
    int nodes = 0;
    std::int64_t solves = 0;

  private:
    [[nodiscard]] double limit() const { return incumbents_.cutoff() - 1 + 1e-6; }

    // Leaves the child to dive to in the node; false when there is none.
    bool explore(Node& node) {
        ++nodes;
        ++solves;
        enter(node);
        const NodeAnswer answer = relaxation_.solve({.objective_bound = limit()});
        EXPECT_LE(answer.status, NodeStatus::kCutoff);
        node.bound = answer.bound;
        if (answer.status != NodeStatus::kOptimal || node.bound > limit()) return false;
        const std::vector<double>& x = relaxation_.point();
        const int col = choose(answer);
        if (col < 0) {
            incumbents_.offer(model_.map().to_stated(x));
            return false;
        }
        node.start = relaxation_.warm_start();
        Node other = node;
        const double below = std::floor(x[at(col)]);
        const bool up = x[at(col)] - below > 0.5;
        node.path.push_back(change(col, below, up));
        other.path.push_back(change(col, below, !up));
        open_.push(std::move(other));
        return true;
    }

    void enter(const Node& node) {
        std::vector<BoundChange> changes;
        for (const auto& [col, lower, upper] : path_)
            changes.push_back(
                {col, model_.presolved().lower[at(col)], model_.presolved().upper[at(col)]});
        changes.insert(changes.end(), node.path.begin(), node.path.end());
        relaxation_.set_bounds(changes);
        if (node.start != nullptr) relaxation_.restore(node.start);
        path_ = node.path;
    }

    [[nodiscard]] BoundChange change(int col, double below, bool up) const {
        const double lower = relaxation_.lower()[at(col)];
        const double upper = relaxation_.upper()[at(col)];
        return up ? BoundChange{col, below + 1, upper} : BoundChange{col, lower, below};
    }

    int choose(const NodeAnswer& answer) {
        int best = -1;
        double best_score = -1;
        const std::vector<double> x = relaxation_.point();
        for (int col = 0; col < model_.presolved().num_cols(); ++col) {
            const double part = x[at(col)] - std::floor(x[at(col)]);
            if (!model_.presolved().is_integer(col) || std::min(part, 1 - part) < 1e-6) continue;
            auto& [down, up] = gains_[at(col)];
            if (down < 0) {
                down = gain(answer, change(col, std::floor(x[at(col)]), false)) / part;
                up = gain(answer, change(col, std::floor(x[at(col)]), true)) / (1 - part);
            }
            const double score = std::max(down * part, 1e-6) * std::max(up * (1 - part), 1e-6);
            if (score > best_score) best = col, best_score = score;
        }
        return best;
    }

    double gain(const NodeAnswer& answer, const BoundChange& branch) {
        ++solves;
        const NodeAnswer child = relaxation_.look_ahead(branch, {.iterations = 20});
        return std::clamp(child.bound - answer.bound, 0.0, 1e6);
    }

    const FrozenModel& model_;
    Relaxation& relaxation_;
    Incumbents& incumbents_;
    struct Gains {
        double down = -1, up = -1;  // of the bound per unit
    };
    std::vector<Gains> gains_;
    std::vector<BoundChange> path_;
    std::priority_queue<Node, std::vector<Node>, decltype(&is_later)> open_{&is_later};
};

// Searches, prints, and returns the best objective as stated.
double solve(const char* name, Model& model) {
    const std::clock_t started = std::clock();
    const auto frozen = test::frozen(model);
    test::NoEvents events;
    LinearRelaxation relaxation(frozen, {}, events);
    const Controls controls;
    Results results;
    Incumbents incumbents(model, controls, results);
    ToySearch search(*frozen, relaxation, incumbents);
    search.run();
    const double seconds = static_cast<double>(std::clock() - started) / CLOCKS_PER_SEC;
    std::printf("%s: objective %g, %d nodes, %.3f s of processor, %.0f LPs a second\n", name,
                results.mip.objective(), search.nodes, seconds,
                static_cast<double>(search.solves) / seconds);
    return results.mip.objective();
}

// Two columns are fixed and one row without the others: presolve has something to map.
Model p0033(int sense) {
    Model model;
    const test::PackedProblem problem = test::p0033();
    add_column(model, sense * 7, 3, 3);
    for (const double cost : problem.cost) add_column(model, sense * cost, 0, 1, 'B');
    add_column(model, sense * -11, 1, 1, 'I');
    add_row(model, 'L', 9, {0, 34}, {2, 3});
    for (const test::PackedRow& row : problem.rows) {
        std::vector<int> columns = row.columns;
        std::vector<double> values = row.values;
        for (int& col : columns) ++col;
        columns.push_back(34);
        values.push_back(4);
        add_row(model, 'L', row.side + 4, columns, values);
    }
    model.set_sense(sense);
    return model;
}

TEST(ToySearch, FindsThePublishedOptimumOfP0033InEitherSense) {
    Model least = p0033(1);
    EXPECT_NEAR(solve("p0033", least), 3089 + 21 - 11, 1e-6);
    Model most = p0033(-1);
    EXPECT_NEAR(solve("p0033, maximised", most), -(3089 + 21 - 11), 1e-6);
}

Model covering(int points, const std::vector<std::vector<int>>& triples) {
    Model model;
    for (int point = 0; point < points; ++point) add_column(model, 1, 0, 1, 'B');
    for (const std::vector<int>& triple : triples) add_row(model, 'G', 1, triple, {1, 1, 1});
    return model;
}

// Lines of the affine space over three elements: stein9 and stein27 by dimension.
std::vector<std::vector<int>> lines(int points) {
    const auto third = [](int a, int b) {
        int point = 0;
        for (int unit = 1; a > 0 || b > 0; unit *= 3, a /= 3, b /= 3)
            point += unit * ((6 - a % 3 - b % 3) % 3);
        return point;
    };
    std::vector<std::vector<int>> out;
    for (int a = 0; a < points; ++a)
        for (int b = a + 1; b < points; ++b)
            if (third(a, b) > b) out.push_back({a, b, third(a, b)});
    return out;
}

// Bose's triple system on three times an odd number of points.
std::vector<std::vector<int>> bose(int n) {
    std::vector<std::vector<int>> out;
    for (int x = 0; x < n; ++x) {
        out.push_back({x, x + n, x + 2 * n});
        for (int y = x + 1; y < n; ++y)
            for (int layer = 0; layer < 3; ++layer)
                out.push_back({x + layer * n, y + layer * n,
                               (x + y) * (n + 1) / 2 % n + (layer + 1) % 3 * n});
    }
    return out;
}

int least_cover(int points, const std::vector<std::vector<int>>& triples) {
    int least = points;
    for (unsigned chosen = 0; chosen < 1U << points; ++chosen) {
        bool covers = true;
        for (const auto& triple : triples)
            covers &= ((chosen >> triple[0] | chosen >> triple[1] | chosen >> triple[2]) & 1) != 0;
        if (covers) least = std::min(least, __builtin_popcount(chosen));
    }
    return least;
}

TEST(ToySearch, CoversSteinerTriples) {
    Model stein9 = covering(9, lines(9));
    EXPECT_NEAR(solve("stein9", stein9), 5, 1e-9);
    Model bose15 = covering(15, bose(5));
    EXPECT_NEAR(solve("Bose's 15", bose15), least_cover(15, bose(5)), 1e-9);
    Model stein27 = covering(27, lines(27));
    EXPECT_NEAR(solve("stein27", stein27), 18, 1e-9);
}

}  // namespace
