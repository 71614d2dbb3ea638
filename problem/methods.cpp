// The method table of quilex.problem, joined from the tables of its themes.
#include "bridge/library_methods.hpp"
#include "problem/building.hpp"
#include "problem/parameters/controls.hpp"
#include "problem/problem.hpp"
#include "problem/results/results.hpp"

namespace quilex {

void collect_problem_methods() noexcept {
    static std::vector<PyMethodDef> methods;
    if (!methods.empty()) return;
    for (const PyMethodDef* table :
         {identity_methods, building_methods, deletion_methods, lookup_methods, objective_methods,
          solve_methods, result_methods, result_array_methods, control_methods, change_methods}) {
        for (; table->ml_name != nullptr; ++table) methods.push_back(*table);
    }
    methods.push_back({nullptr, nullptr, 0, nullptr});
    problem_type.tp_methods = methods.data();
}

}  // namespace quilex
