// Special ordered sets and indicator rows of a model.
#pragma once

#include <map>
#include <vector>

namespace qlx {

// At most `order` members, next to each other in this order, may be nonzero.
struct SpecialOrderedSet {
    int order;  // 1 or 2
    std::vector<int> columns;
    std::vector<double> references;  // ascending
};

// A row that must hold only when the column has the value `active`.
struct Indicator {
    int column;
    int active;  // 0 or 1
};

using Indicators = std::map<int, Indicator>;  // by row

}  // namespace qlx
