// The method table of quilex.problem, joined from the tables of its themes.
#include <algorithm>
#include <set>
#include <string_view>

#include "bridge/library_methods.hpp"
#include "problem/building.hpp"
#include "problem/parameters/controls.hpp"
#include "problem/problem.hpp"
#include "problem/results/results.hpp"

namespace quilex {

namespace {

[[maybe_unused]] bool have_names_of_their_own(const std::vector<PyMethodDef>& methods) {
    std::set<std::string_view> names;
    return std::ranges::all_of(methods,
                               [&](const auto& row) { return names.insert(row.ml_name).second; });
}

}  // namespace

void collect_problem_methods() noexcept {
    static std::vector<PyMethodDef> methods;
    if (!methods.empty()) return;
    for (const PyMethodDef* table :
         {identity_methods, building_methods, deletion_methods, lookup_methods, objective_methods,
          start_methods, solve_methods, result_methods, result_array_methods, control_methods}) {
        for (; table->ml_name != nullptr; ++table) methods.push_back(*table);
    }
    for (const LibraryMethodTable* table : library_method_tables()) {
        for (const PyMethodDef* row = table->methods; row->ml_name != nullptr; ++row) {
            methods.push_back(*row);
        }
    }
    assert(have_names_of_their_own(methods));
    methods.push_back({nullptr, nullptr, 0, nullptr});
    problem_type.tp_methods = methods.data();
}

}  // namespace quilex
