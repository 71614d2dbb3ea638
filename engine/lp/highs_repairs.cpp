// Functions of HiGHS 1.15 that fail, or cost time for nothing, in place of its own. This library
// comes before HiGHS in the order of the loader and exports them, so that HiGHS calls these.
#include <dlfcn.h>

#include <cmath>
#include <string>
#include <vector>

#include "lp_data/HighsSolutionDebug.h"
#include "mip/HighsMipSolver.h"
#include "mip/HighsMipSolverData.h"
#include "mip/HighsRedcostFixing.h"
#include "presolve/HPresolve.h"

static_assert(10000 * HIGHS_VERSION_MAJOR + 100 * HIGHS_VERSION_MINOR + HIGHS_VERSION_PATCH ==
                  11501,
              "what is repaired here has to be compared with this version of HiGHS");

namespace {

using AddRootRedcost = void (*)(HighsRedcostFixing*, const HighsMipSolver&,
                                const std::vector<double>&, double);

// Differences of two such bounds, and the steps that are added to them, stay below 2^31.
constexpr double kCountable = 1e9;

bool is_countable(double bound) noexcept {
    return std::fabs(bound) <= kCountable || std::isinf(bound);
}

// Null where HiGHS is not a library of its own.
AddRootRedcost of_highs() {
    constexpr const char* kName =
        "_ZN18HighsRedcostFixing14addRootRedcostERK14HighsMipSolverRKSt6vectorIdSaIdEEd";
    static const auto function = [] {
        void* library = dlopen("libqlx_highs.so", RTLD_LAZY | RTLD_NOLOAD);
        return reinterpret_cast<AddRootRedcost>(library == nullptr ? nullptr
                                                                   : dlsym(library, kName));
    }();
    return function;
}

}  // namespace

// Root reduced costs of the tree search, for the columns whose values can be counted. HiGHS counts
// in 32 bits; beyond them it loops for ever or fills the memory. Bounds that its presolve derives
// count too, so no look at the model beforehand would do.
[[gnu::visibility("default")]] void HighsRedcostFixing::addRootRedcost(
    const HighsMipSolver& mipsolver, const std::vector<double>& lpredcost, double lpobjective) {
    const HighsDomain& domain = mipsolver.mipdata_->getDomain();
    const auto is_kept = [&domain](std::size_t col) {
        return is_countable(domain.col_lower_[col]) && is_countable(domain.col_upper_[col]);
    };
    lurkingColLower.resize(lpredcost.size());
    lurkingColUpper.resize(lpredcost.size());
    const AddRootRedcost add = of_highs();
    if (add == nullptr) return;  // the search does without
    std::size_t col = 0;
    while (col < lpredcost.size() && is_kept(col)) ++col;
    // HiGHS may change the very vector that it hands over: a copy only where it has to be one.
    if (col == lpredcost.size()) return add(this, mipsolver, lpredcost, lpobjective);
    std::vector<double> kept = lpredcost;
    for (; col < kept.size(); ++col)
        if (!is_kept(col)) kept[col] = 0;
    add(this, mipsolver, kept, lpobjective);
}

// Presolving a row may come back here, which empties the list that HiGHS' own loop then reads on.
[[gnu::visibility("default")]] presolve::HPresolve::Result presolve::HPresolve::removeRowSingletons(
    HighsPostsolveStack& postsolve_stack) {
    while (!singletonRows.empty()) {
        std::vector<HighsInt> rows;
        rows.swap(singletonRows);
        for (const HighsInt row : rows) {
            const auto index = static_cast<std::size_t>(row);
            if (rowDeleted[index] != 0 || rowsize[index] > 1) continue;
            const Result result = rowPresolve(postsolve_stack, row);
            if (result != Result::kOk) return result;
        }
    }
    return Result::kOk;
}

// A check of the result of every solve, also of those within a tree search. At the debug level that
// HiGHS is left at it checks nothing, but first makes a table of all that it could compare: a third
// of the time of a small solve. Ours judges every point.
[[gnu::visibility("default")]] HighsDebugStatus debugHighsSolution(
    const std::string, const HighsOptions&, const HighsModel&, const HighsSolution&,
    const HighsBasis&, const HighsModelStatus, const HighsInfo&) {
    return HighsDebugStatus::kNotChecked;
}
