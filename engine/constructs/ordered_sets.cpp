// Special ordered sets: one binary per place where a run of nonzero members may begin.
#include "engine/constructs/builder.hpp"

namespace qlx {

namespace {

// lower * sum(switches) <= x <= upper * sum(switches), so that x is 0 when all switches are.
void switch_column(Builder& builder, int col, const std::vector<int>& switches) {
    const double upper = builder.finite_upper(col, "a member of a special ordered set");
    const double lower = builder.finite_lower(col, "a member of a special ordered set");
    std::vector<Entry> above = {{0, col, 1.0}};
    std::vector<Entry> below = {{0, col, 1.0}};
    for (const int place : switches) {
        above.push_back({0, place, -upper});
        below.push_back({0, place, -lower});
    }
    builder.add_row(-kInfinity, 0, above);
    if (lower != 0) builder.add_row(0, kInfinity, below);
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

}  // namespace

void state_ordered_sets(Builder& builder) {
    for (const SpecialOrderedSet& set : builder.source().sets()) {
        if (static_cast<int>(set.columns.size()) <= set.order) continue;  // says nothing
        if (set.order == 1)
            state_order_one(builder, set);
        else
            state_order_two(builder, set);
    }
}

}  // namespace qlx
