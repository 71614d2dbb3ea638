// Points and search directions of the homogeneous embedding of a program with a quadratic
// objective.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/conic/kkt_system.hpp"

namespace qlx::quad::conic {

struct Point {
    Point(std::size_t columns, std::size_t rows) : x(columns, 0.0), s(rows, 0.0), z(rows, 0.0) {}
    std::vector<double> x;
    std::vector<double> s;
    std::vector<double> z;
    double tau = 1.0;
    double kappa = 1.0;
};

// What the embedding's equations are off by at a point, and their parts.
struct Residuals {
    Residuals(std::size_t columns, std::size_t rows)
        : dual(columns), primal(rows), hessian_x(columns), transposed_z(columns), rows_x(rows) {}
    void evaluate(const Program& program, const Point& point);

    std::vector<double> dual;          // Px + A'z + q tau
    std::vector<double> primal;        // Ax + s - b tau
    double objective = 0.0;            // kappa + x'Px / tau + q'x + b'z
    std::vector<double> hessian_x;     // Px
    std::vector<double> transposed_z;  // A'z
    std::vector<double> rows_x;        // Ax
    double curvature = 0.0;            // x'Px
    double cost = 0.0;                 // q'x
    double right = 0.0;                // b'z
};

// Solves for Newton steps at a point whose scaling is known (Goulart and Chen 2024, section 3;
// Andersen, Roos and Terlaky 2003 for the scaled equations).
class Directions {
  public:
    Directions(const Program& program, const ConeProduct& cones, KktSystem& system,
               const Scaling& scaling);

    // To be called once a scaling: the part of all steps that tau's change multiplies.
    bool prepare(const Point& point);
    // The step to complementarity 0, with all residuals.
    bool find_affine(const Point& point, const Residuals& residuals, Point& out);
    // The step to `target` times the cones' unit element and with `share` of the residuals; with
    // Mehrotra's second-order correction where the affine step is given.
    bool find_centered(const Point& point, const Residuals& residuals, const Point* affine,
                       double share, double target, Point& out);

  private:
    bool find(const Point& point, const Residuals& residuals, double share, double kappa_right,
              Point& out);
    void follow_rows(const Residuals& residuals, double share, Point& out);

    const Program& program_;
    const ConeProduct& cones_;
    KktSystem& system_;
    const Scaling& scaling_;
    Point constant_;                // the solution for (-q, b)
    std::vector<double> gradient_;  // 2Px / tau + q
    double tau_factor_ = 1.0;
    std::vector<double> right_;  // W (point \ d_s)
    std::vector<double> scaled_s_;
};

}  // namespace qlx::quad::conic
