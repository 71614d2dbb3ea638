// What a model states beyond columns and rows (special ordered sets, indicator rows, limits of
// columns), and how each is renumbered when columns or rows go.
#pragma once

#include <iterator>
#include <map>
#include <utility>
#include <vector>

#include "engine/base/index.hpp"

namespace qlx {

// new_index[i] is item i's new number, -1 when it goes.
using NewIndex = std::vector<int>;

template <class T>
void renumber_keys(std::map<int, T>& items, const NewIndex& new_index) {
    std::map<int, T> kept;
    for (auto& [index, item] : items)
        if (new_index[at(index)] >= 0)
            kept.emplace_hint(kept.end(), new_index[at(index)], std::move(item));
    items.swap(kept);
}

// At most `order` members, next to each other in this order, may be nonzero.
struct SpecialOrderedSet {
    int order;  // 1 or 2
    std::vector<int> columns;
    std::vector<double> references;  // ascending

    void delete_columns(const NewIndex& new_index) {
        std::size_t kept = 0;
        for (std::size_t k = 0; k < columns.size(); ++k) {
            const int index = new_index[at(columns[k])];
            if (index < 0) continue;
            columns[kept] = index;
            references[kept++] = references[k];
        }
        columns.resize(kept);
        references.resize(kept);
    }
};

// A row that must hold only when the column has the value `active`.
struct Indicator {
    int column;
    int active;  // 0 or 1
};

using Indicators = std::map<int, Indicator>;  // by row

// All that a model states so. A further construct is a further member, renumbered below.
struct ConstructData {
    std::vector<SpecialOrderedSet> sets;
    Indicators indicators;
    std::map<int, double> limits;  // by column; exactly those of type 'S', 'R' or 'P'

    void delete_rows(const NewIndex& new_index) { renumber_keys(indicators, new_index); }
    void delete_columns(const NewIndex& new_index) {
        for (SpecialOrderedSet& set : sets) set.delete_columns(new_index);
        for (auto& [row, indicator] : indicators)
            indicator.column = new_index[at(indicator.column)];
        renumber_keys(limits, new_index);
    }
};

}  // namespace qlx
