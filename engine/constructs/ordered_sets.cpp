// Special ordered sets: at most one member, or two that are neighbours, may be nonzero.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "engine/constructs/builder.hpp"
#include "engine/constructs/construct.hpp"

namespace qlx {

namespace {

const SpecialOrderedSet& set_of(const Model& model, int item) {
    return model.sets()[at(item)];
}

// lower * sum(switches) <= x <= upper * sum(switches), so that x is 0 when all switches are.
void switch_column(Builder& builder, int col, const std::vector<int>& switches) {
    const double upper = builder.most(col);
    const double lower = builder.least(col);
    std::vector<Entry> above = {{0, col, 1.0}};
    std::vector<Entry> below = {{0, col, 1.0}};
    for (const int place : switches) {
        above.push_back({0, place, -upper});
        below.push_back({0, place, -lower});
    }
    builder.add_row(-kInfinity, 0, above);
    if (lower != 0 || builder.lower(col) < 0) builder.add_row(0, kInfinity, below);
}

void at_most_one(Builder& builder, const std::vector<int>& switches) {
    std::vector<Entry> entries;
    for (const int place : switches) entries.push_back({0, place, 1.0});
    builder.add_row(-kInfinity, 1, entries);
}

void state_order_one(Builder& builder, const SpecialOrderedSet& set) {
    std::vector<int> switches;
    for (const int col : set.columns) {
        if (builder.is_binary(col)) {  // its own switch
            switches.push_back(col);
            continue;
        }
        switches.push_back(builder.add_binary());
        switch_column(builder, col, {switches.back()});
    }
    at_most_one(builder, switches);
}

// Switch k stands for the pair of members k and k + 1.
void state_order_two(Builder& builder, const SpecialOrderedSet& set) {
    std::vector<int> switches;
    for (std::size_t k = 1; k < set.columns.size(); ++k) switches.push_back(builder.add_binary());
    for (std::size_t k = 0; k < set.columns.size(); ++k) {
        std::vector<int> own;
        if (k > 0) own.push_back(switches[k - 1]);
        if (k < switches.size()) own.push_back(switches[k]);
        switch_column(builder, set.columns[k], own);
    }
    at_most_one(builder, switches);
}

// The places of the members that are not fixed at 0, or nonzero at a point; ascending.
template <class Possible>
std::vector<std::size_t> places(const SpecialOrderedSet& set, const Possible& possible) {
    std::vector<std::size_t> found;
    for (std::size_t k = 0; k < set.columns.size(); ++k)
        if (possible(set.columns[k])) found.push_back(k);
    return found;
}

// The place that the weighted mean of the references lies at or after.
std::size_t mean_place(const SpecialOrderedSet& set, const double* x) {
    double weight = 0;
    double moment = 0;
    for (std::size_t k = 0; k < set.columns.size(); ++k) {
        const double size = std::fabs(x[set.columns[k]]);
        weight += size;
        moment += size * set.references[k];
    }
    const double mean = moment / weight;
    const auto after = std::upper_bound(set.references.begin(), set.references.end(), mean);
    return after == set.references.begin() ? 0 : at(after - set.references.begin() - 1);
}

double size_of(const SpecialOrderedSet& set, const double* x, std::size_t from, std::size_t to) {
    double size = 0;
    for (std::size_t k = from; k < to; ++k) size += std::fabs(x[set.columns[k]]);
    return size;
}

// Members from .. to - 1 are 0.
Branch zeros(const SpecialOrderedSet& set, std::size_t from, std::size_t to) {
    Branch branch;
    for (std::size_t k = from; k < to; ++k) branch.bounds.push_back({set.columns[k], 0, 0});
    return branch;
}

class OrderedSets final : public Construct {
  public:
    [[nodiscard]] std::vector<int> items(const Model& model) const override {
        std::vector<int> found;
        for (int item = 0; item < model.num_sets(); ++item)
            if (static_cast<int>(set_of(model, item).columns.size()) > set_of(model, item).order)
                found.push_back(item);
        return found;
    }

    // Members that are nonzero beyond the longest allowed run count with their magnitude.
    [[nodiscard]] Violation violation(Model& model, int item, const Point& point) const override {
        const SpecialOrderedSet& set = set_of(model, item);
        const std::size_t order = at(set.order);
        const std::size_t size = set.columns.size();
        const double total = size_of(set, point.x, 0, size);
        double rest = total;
        for (std::size_t k = 0; k + order <= size; ++k)
            rest = std::min(rest,
                            size_of(set, point.x, 0, k) + size_of(set, point.x, k + order, size));
        return {0, rest, total > 0 ? rest / total : 0};
    }

    [[nodiscard]] double big_m(Builder& builder, int item) const override {
        const SpecialOrderedSet& set = set_of(builder.source(), item);
        double largest = 0;
        for (const int col : set.columns)
            if (set.order == 2 || !builder.is_binary(col))
                largest = std::max({largest, builder.most(col), -builder.least(col)});
        return largest;
    }

    void state(Builder& builder, int item) const override {
        const SpecialOrderedSet& set = set_of(builder.source(), item);
        if (set.order == 1)
            state_order_one(builder, set);
        else
            state_order_two(builder, set);
    }

    // What is too far from a nonzero member is 0.
    void tighten(Domains& domains, int item) const override {
        const SpecialOrderedSet& set = set_of(domains.model(), item);
        const auto sure = places(set, [&](int col) { return domains.is_nonzero(col); });
        if (sure.empty()) return;
        const std::size_t reach = at(set.order - 1);
        for (std::size_t k = 0; k < set.columns.size(); ++k)
            if (k + reach < sure.back() || k > sure.front() + reach)
                domains.limit_to(set.columns[k], 0, 0);
    }

    void relax(Model& node, const std::vector<int>& items) const override {
        std::vector<int> new_index(at(node.num_sets()), 0);
        for (const int item : items) new_index[at(item)] = -1;
        int kept = 0;
        for (int& index : new_index)
            if (index == 0) index = kept++;
        node.delete_sets(new_index);
    }

    // Splits the members at the mean of their references weighted by the point (Beale and Tomlin
    // 1970); one that both neighbours of the split share stays possible in both branches.
    [[nodiscard]] std::vector<Branch> branches(const Model& stated, const Model& node, int item,
                                               const double* x) const override {
        const SpecialOrderedSet& set = set_of(stated, item);
        const auto is_open = [&](int col) {
            return node.lb()[at(col)] != 0 || node.ub()[at(col)] != 0;
        };
        const auto open = places(set, is_open);
        const std::size_t reach = at(set.order - 1);
        if (open.empty() || open.back() - open.front() <= reach) return {};
        auto apart = open;
        if (x != nullptr) {
            apart = places(set, [&](int col) { return x[col] != 0 && is_open(col); });
            if (apart.empty() || apart.back() - apart.front() <= reach) {
                apart = open;
                x = nullptr;
            }
        }
        const std::size_t first = apart.front() + reach;
        const std::size_t last = apart.back() - 1;
        const std::size_t split =
            std::clamp(x == nullptr ? std::midpoint(first, last) : mean_place(set, x), first, last);
        // Members up to `split` on one side, those after it (with it for order two) on the other.
        std::vector<Branch> children;
        children.push_back(zeros(set, split + 1, set.columns.size()));
        children.push_back(zeros(set, 0, split + 1 - reach));
        if (x != nullptr &&
            size_of(set, x, 0, split + 1) < size_of(set, x, split + 1 - reach, set.columns.size()))
            std::swap(children[0], children[1]);
        return children;
    }

    // Two members may grow for ever together.
    [[nodiscard]] bool blocks_rays() const noexcept override { return true; }
};

}  // namespace

const Construct& ordered_sets() {
    static const OrderedSets& construct = *new OrderedSets;  // for solves that outlive main
    return construct;
}

}  // namespace qlx
