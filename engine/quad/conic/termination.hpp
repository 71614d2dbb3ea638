// When the method may end: how far a point is from an optimum or from a proof that there is none.
#pragma once

#include "engine/quad/conic/embedding.hpp"
#include "engine/quad/conic/equilibration.hpp"

namespace qlx::quad::conic {

class Termination {
  public:
    Termination(const Program& program, const ConeProduct& cones, const Equilibration& units)
        : program_(program), cones_(cones), units_(units) {}

    // Of a point in the units' program, in those of the stated one.
    Progress measure(const Point& point, const Residuals& residuals) const;
    // How far z is from a proof of infeasibility and x from a ray: the largest error of its
    // equations over its gain. Infinite where there is no gain.
    double farkas_error(const Residuals& residuals) const;
    double ray_error(const Point& point, const Residuals& residuals) const;

    // The point in the program's own units.
    void write_point(const Point& point, Answer& answer) const;
    // The proofs in the program's own units and of gain 1, evaluated anew from the program alone.
    bool write_farkas(const Point& point, double tolerance, Answer& answer) const;
    bool write_ray(const Point& point, double tolerance, Answer& answer) const;

  private:
    const Program& program_;
    const ConeProduct& cones_;
    const Equilibration& units_;
};

}  // namespace qlx::quad::conic
