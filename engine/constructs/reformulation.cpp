// Parts a model's constructs by the coefficients they take, and states them one after the other.
#include "engine/constructs/reformulation.hpp"

#include <algorithm>
#include <cmath>

namespace qlx {

namespace {

bool is_fractional(double bound) {
    return std::fabs(bound) < kInfinity && bound != std::floor(bound);
}

}  // namespace

bool needs_reformulation(const Model& model) {
    if (has_constructs(model)) return true;
    if (model.num_entities() == 0) return false;
    for (std::size_t col = 0; col < model.col_type().size(); ++col)
        if (model.col_type()[col] != 'C' &&
            (is_fractional(model.lb()[col]) || is_fractional(model.ub()[col])))
            return true;
    return false;
}

Reformulation::Reformulation(Model& model, double largest_coefficient) : builder_(model) {
    for (const ConstructItem& one : construct_items(model)) {
        const double needed = one.construct->big_m(builder_, one.item);
        if (needed > largest_coefficient) {
            branched_.push_back(one);
            continue;
        }
        stated_.push_back(one);
        big_m_ = std::max(big_m_, needed);
    }
}

KernelModel Reformulation::take() {
    for (const ConstructItem& one : stated_) one.construct->state(builder_, one.item);
    return builder_.take();
}

}  // namespace qlx
