// Entry points: solving.
#include <qlx/qlx_solve.h>

#include <cmath>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"
#include "engine/base/index.hpp"
#include "engine/solve/solve.hpp"

using namespace qlx;

namespace {

// Columns that QLXfixglobals fixes: those that are not continuous, and members of sets.
std::vector<char> global_columns(const Model& model) {
    std::vector<char> flags(model.lb().size(), 0);
    for (std::size_t col = 0; col < flags.size(); ++col) flags[col] = model.col_type()[col] != 'C';
    for (const SpecialOrderedSet& set : model.sets())
        for (const int col : set.columns) flags[at(col)] = 1;
    return flags;
}

}  // namespace

extern "C" {

int QLXlpoptimize(QLXprob prob, const char* flags) {
    return call(prob, "QLXlpoptimize", Access::kSolve,
                [&](Problem& p) { solve_without_integrality(p, flags); });
}

int QLXmipoptimize(QLXprob prob, const char* flags) {
    return call(prob, "QLXmipoptimize", Access::kSolve,
                [&](Problem& p) { solve_with_integrality(p, flags); });
}

int QLXfixglobals(QLXprob prob, int ifround) {
    return change(prob, "QLXfixglobals", [&](Problem& p) {
        const auto best = p.results.mip.get();
        if (best == nullptr) fail(QLX_ERROR_STATE, "there is no integer solution");
        const std::vector<char> flags = global_columns(p.model);
        for (std::size_t col = 0; col < flags.size() && col < best->x.size(); ++col) {
            if (flags[col] == 0) continue;
            const double value = best->x[col];
            const double fixed =
                ifround != 0 && p.model.col_type()[col] != 'C' && p.model.col_type()[col] != 'S'
                    ? std::round(value)
                    : value;
            p.model.set_lb(static_cast<int>(col), fixed);
            p.model.set_ub(static_cast<int>(col), fixed);
        }
    });
}

int QLXpostsolve(QLXprob prob) {
    return change(prob, "QLXpostsolve", [](Problem&) {
        // Models are never left presolved, so there is nothing to undo.
    });
}

}  // extern "C"
