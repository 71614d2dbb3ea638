// Whether a program with ellipsoids and cones has no feasible point, or no finite minimum.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/barrier_problem.hpp"
#include "engine/quad/certificates.hpp"
#include "engine/quad/cone_scaling.hpp"

namespace qlx::quad {

class ConeDiagnosis {
  public:
    // The barrier method works in each of the units until one lets it find an answer; null units
    // are the program's own. `iterations` have been used before, of the caller's limit.
    ConeDiagnosis(const ConeProgram& program, std::vector<const ConeScaling*> units, int iterations,
                  const ConvexControl& control)
        : program_(program), units_(std::move(units)), control_(control), iterations_(iterations) {}

    // The point of least violation starts an outer approximation by tangents. Where that has no
    // feasible point, which multipliers of Farkas prove, the program has none. `row` counts linear
    // rows first.
    Feasibility find_feasibility();
    // With cones, their narrower ones take part in the search; without, see find_descent.
    Unboundedness find_ray();

    int iterations() const noexcept { return iterations_; }  // with those used before

  private:
    std::vector<double> solve_in(const ConeScaling* units, const ConeProgram& posed);
    bool judge(Feasibility& finding) const;
    void approximate(Feasibility& finding) const;
    int iterations_left() const { return control_.iterations_left(iterations_); }
    bool has_cones() const noexcept;

    const ConeProgram& program_;
    const std::vector<const ConeScaling*> units_;
    const ConvexControl& control_;
    int iterations_;
};

}  // namespace qlx::quad
