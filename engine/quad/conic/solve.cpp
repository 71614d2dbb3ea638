// The primal-dual interior point method on the homogeneous embedding.
#include <algorithm>
#include <cmath>
#include <cstddef>

#include "engine/quad/conic/embedding.hpp"
#include "engine/quad/conic/equilibration.hpp"
#include "engine/quad/conic/termination.hpp"

namespace qlx::quad::conic {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kShareOfStep = 0.99;                // of the way to the cones' boundary
constexpr double kLongestStep = 1.0 / kShareOfStep;  // so that a share of it is a whole step
constexpr double kPoorStep = 0.1;
constexpr double kCentralShare = 0.3;  // of the residuals, in a step to the central path
constexpr double kCentral = 1e-9;      // so near to the central path is on it
constexpr double kShortStep = 1e-5;
// The method has stalled where for so many iterations nothing came nearer to an end.
constexpr int kPatience = 12;
constexpr double kNearer = 0.9;
// Regularisation after a failed solve grows by this, up to this; then it declines again.
constexpr double kStronger = 10.0;
constexpr double kStrongest = 1e-4;
constexpr double kDecline = 0.1;

class Method {
  public:
    Method(const Program& program, const Control& control)
        : control_(control),
          cones_(program.cones),
          units_(program, cones_, control.equilibrate),
          scaled_(units_.program()),
          termination_(program, cones_, units_),
          scaling_(cones_),
          system_(scaled_.hessian, scaled_.rows, cones_),
          directions_(scaled_, cones_, system_, scaling_),
          residuals_(columns(), rows()),
          point_(columns(), rows()),
          best_(columns(), rows()),
          affine_(columns(), rows()),
          step_(columns(), rows()),
          regularization_(control.regularization) {}

    Answer run();

  private:
    std::size_t columns() const noexcept { return scaled_.cost.size(); }
    std::size_t rows() const noexcept { return scaled_.right.size(); }
    bool start();
    bool find_start();
    bool strengthen() noexcept;
    bool judge(int iteration, double step);
    bool try_proofs();
    bool find_step(double& step);
    bool find_centered(const Point* affine, double share, double target, double& step);
    double distance_to_path(double mean) noexcept;
    void center();
    double longest_step(const Point& direction) const noexcept;
    double barrier() const noexcept;
    void move(double step) noexcept;
    bool end(Status status) {
        answer_.status = status;
        return true;
    }

    const Control& control_;
    const ConeProduct cones_;
    const Equilibration units_;
    const Program& scaled_;
    const Termination termination_;
    Scaling scaling_;
    KktSystem system_;
    Directions directions_;
    Residuals residuals_;
    Point point_;
    Point best_;
    Point affine_;
    Point step_;
    double regularization_;
    double nearest_proof_ = kInfinity;
    int idle_ = 0;
    Answer answer_;
};

// Regularises more and more until the equations can be solved.
bool Method::start() {
    if (!system_.ready()) return false;
    while (!find_start()) {
        if (!strengthen()) return false;
    }
    return true;
}

bool Method::strengthen() noexcept {
    regularization_ *= kStronger;
    return regularization_ <= kStrongest;
}

// Least squares on the equations, then moved inside the cones (Vandenberghe 2010, section 5.3).
bool Method::find_start() {
    std::fill(point_.s.begin(), point_.s.end(), 0.0);
    std::fill(point_.z.begin(), point_.z.end(), 0.0);
    cones_.add_unit(1.0, point_.s);
    cones_.add_unit(1.0, point_.z);
    if (!scaling_.update(point_.s, point_.z)) return false;
    const bool linear = scaled_.hessian.entries() == 0;
    system_.factorize(scaling_, regularization_);
    std::copy(scaled_.right.begin(), scaled_.right.end(), point_.z.begin());
    for (std::size_t j = 0; j < columns(); ++j) point_.x[j] = linear ? 0.0 : -scaled_.cost[j];
    if (!system_.solve(point_.x, point_.z)) return false;
    for (std::size_t i = 0; i < rows(); ++i) point_.s[i] = -point_.z[i];
    if (linear) {
        for (std::size_t j = 0; j < columns(); ++j) step_.x[j] = -scaled_.cost[j];
        std::fill(point_.z.begin(), point_.z.end(), 0.0);
        if (!system_.solve(step_.x, point_.z)) return false;
    }
    cones_.move_inside(point_.s, false);
    cones_.move_inside(point_.z, true);
    return true;
}

double Method::barrier() const noexcept {
    double sum = point_.tau * point_.kappa;
    for (std::size_t i = 0; i < rows(); ++i) sum += point_.s[i] * point_.z[i];
    return sum / (cones_.degree() + 1);
}

double Method::longest_step(const Point& direction) const noexcept {
    double step = cones_.longest_step(point_.s, direction.s, kLongestStep);
    step = cones_.longest_step(point_.z, direction.z, step);
    if (direction.tau < 0.0) step = std::min(step, -point_.tau / direction.tau);
    if (direction.kappa < 0.0) step = std::min(step, -point_.kappa / direction.kappa);
    return step;
}

// The embedding is homogeneous, so its points may be kept at a size of about 1.
void Method::move(double step) noexcept {
    point_.tau += step * step_.tau;
    point_.kappa += step * step_.kappa;
    const double factor = 1.0 / std::max(point_.tau, point_.kappa);
    point_.tau *= factor;
    point_.kappa *= factor;
    for (std::size_t j = 0; j < columns(); ++j) {
        point_.x[j] = factor * (point_.x[j] + step * step_.x[j]);
    }
    for (std::size_t i = 0; i < rows(); ++i) {
        point_.s[i] = factor * (point_.s[i] + step * step_.s[i]);
        point_.z[i] = factor * (point_.z[i] + step * step_.z[i]);
    }
}

bool Method::try_proofs() {
    const double farkas = termination_.farkas_error(residuals_);
    const double ray = termination_.ray_error(point_, residuals_);
    const double tolerance = control_.certificate_tolerance;
    if (farkas <= tolerance && termination_.write_farkas(point_, tolerance, answer_)) {
        return end(Status::kInfeasible);
    }
    if (ray <= tolerance && termination_.write_ray(point_, tolerance, answer_)) {
        return end(Status::kUnbounded);
    }
    if (std::min(farkas, ray) < kNearer * nearest_proof_) {
        nearest_proof_ = std::min(farkas, ray);
        idle_ = 0;
    }
    return false;
}

// Returns true where the method ends here.
bool Method::judge(int iteration, double step) {
    residuals_.evaluate(scaled_, point_);
    Progress progress = termination_.measure(point_, residuals_);
    progress.iteration = iteration;
    progress.barrier = barrier();
    progress.step = step;
    answer_.iterations = iteration;
    if (control_.on_iteration) control_.on_iteration(progress);
    ++idle_;
    if (progress.worst() < kNearer * answer_.progress.worst()) idle_ = 0;
    if (progress.worst() < answer_.progress.worst()) {
        answer_.progress = progress;
        best_ = point_;
    }
    if (answer_.progress.worst() <= control_.tolerance) return end(Status::kSolved);
    if (try_proofs()) return true;
    if (control_.stop.stop()) return end(Status::kStopped);
    if (iteration >= control_.iteration_limit) return end(Status::kIterationLimit);
    return idle_ > kPatience && end(Status::kStalled);
}

// Mehrotra's predictor and corrector (1992). A point near the cones' boundary lets both reach
// nowhere: then a step to the central path comes first.
bool Method::find_step(double& step) {
    system_.factorize(scaling_, regularization_);
    if (!directions_.prepare(point_)) return false;
    if (!directions_.find_affine(point_, residuals_, affine_)) return false;
    const double rest = 1.0 - std::min(longest_step(affine_), 1.0);
    const double share = 1.0 - rest * rest * rest;
    const double mean = barrier();
    if (!find_centered(&affine_, share, (1.0 - share) * mean, step)) return false;
    const bool poor = step < kPoorStep;
    if (poor && !find_centered(nullptr, kCentralShare, (1.0 - kCentralShare) * mean, step)) {
        return false;
    }
    return step >= kShortStep;
}

bool Method::find_centered(const Point* affine, double share, double target, double& step) {
    if (!directions_.find_centered(point_, residuals_, affine, share, target, step_)) return false;
    step = std::min(kShareOfStep * longest_step(step_), 1.0);
    return true;
}

// Largest entry of  point o point / mean - e,  point being the scaled one.
double Method::distance_to_path(double mean) noexcept {
    cones_.product(scaling_.point(), scaling_.point(), step_.s);
    cones_.add_unit(-mean, step_.s);
    double distance = std::abs(point_.tau * point_.kappa - mean);
    for (const double entry : step_.s) distance = std::max(distance, std::abs(entry));
    return distance / mean;
}

// On the central path s and z of a second-order cone point the same way, which off it they do to
// about the root of the gap only.
void Method::center() {
    for (int round = 0; round < control_.centering_steps; ++round) {
        double step = 0.0;
        if (control_.stop.stop() || !scaling_.update(point_.s, point_.z)) return;
        const double mean = barrier();
        if (distance_to_path(mean) <= kCentral) return;
        system_.factorize(scaling_, regularization_);
        if (!directions_.prepare(point_) || !find_centered(nullptr, 0.0, mean, step)) return;
        move(step);
        residuals_.evaluate(scaled_, point_);
        Progress progress = termination_.measure(point_, residuals_);
        if (!(progress.worst() <= control_.tolerance)) return;
        progress.iteration = ++answer_.iterations;
        progress.barrier = barrier();
        progress.step = step;
        if (control_.on_iteration) control_.on_iteration(progress);
        answer_.progress = progress;
        best_ = point_;
    }
}

Answer Method::run() {
    answer_.progress.gap = kInfinity;
    bool ended = !start();
    double step = 0.0;
    for (int iteration = 0; !ended; ++iteration) {
        if (judge(iteration, step)) break;
        if (!scaling_.update(point_.s, point_.z)) break;
        regularization_ = std::max(control_.regularization, kDecline * regularization_);
        while (!ended && !find_step(step)) ended = !strengthen();
        if (!ended) move(step);
    }
    if (answer_.status == Status::kSolved) center();
    const bool proven =
        answer_.status == Status::kInfeasible || answer_.status == Status::kUnbounded;
    if (!proven && answer_.progress.gap < kInfinity) termination_.write_point(best_, answer_);
    return std::move(answer_);
}

}  // namespace

Answer solve(const Program& program, const Control& control) {
    return Method(program, control).run();
}

}  // namespace qlx::quad::conic
