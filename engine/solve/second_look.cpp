// Looks at the sizes of a model's numbers, and searches once more.
#include "engine/solve/second_look.hpp"

#include <algorithm>
#include <cmath>

#include "engine/solve/construct_search.hpp"
#include "engine/solve/solve_session.hpp"

namespace qlx {

namespace {

constexpr double kSmallest = 1e-4;  // of costs and coefficients that are not 0
constexpr double kLargest = 1e5;    // of coefficients
constexpr double kFarthest = 1e7;   // of finite bounds

bool has_wide_numbers(Model& model) {
    const auto is_small = [](double value) { return value != 0 && std::fabs(value) < kSmallest; };
    if (std::any_of(model.obj().begin(), model.obj().end(), is_small)) return true;
    for (const double value : model.matrix().values())
        if (is_small(value) || std::fabs(value) > kLargest) return true;
    const auto is_far = [](double bound) {
        return std::fabs(bound) > kFarthest && std::fabs(bound) < kInfinity;
    };
    return std::any_of(model.lb().begin(), model.lb().end(), is_far) ||
           std::any_of(model.ub().begin(), model.ub().end(), is_far);
}

// Beyond what tolerances are worth; objectives are not numbers where there is no point.
bool is_better(double now, double before) {
    if (std::isnan(now)) return false;
    return !(std::fabs(now - before) <= 1e-6 * std::max(1.0, std::fabs(now)));
}

bool is_claim(int status) {
    return status == QLX_MIP_OPTIMAL || status == QLX_MIP_INFEAS || status == QLX_MIP_UNBOUNDED;
}

}  // namespace

bool is_open(SolveSession& session, int status) {
    const int stopped = session.results().stop_status;
    return !is_claim(status) && (stopped == QLX_STOP_NONE || stopped == QLX_STOP_NUMERICS);
}

bool is_doubtful(SolveSession& session, int status) {
    return is_claim(status) && has_wide_numbers(session.model());
}

int second_look(SolveSession& session, const char* flags, int status) {
    Results& results = session.results();
    const double bound = results.best_bound;
    const int stopped = results.stop_status;
    SearchEffort effort;
    if (is_claim(status)) {
        // What only the tolerances let through is no argument against a claim.
        effort.tolerance = 1e-9;
        effort.nodes = 500;
        effort.seconds = std::max(0.2, 0.1 * session.seconds());
    } else {
        session.send(QLX_MSG_WARNING, message::kRecovery,
                     "no result of the solver stood the check; searching by linear programs");
        effort.nodes = 100'000;
        effort.seconds = std::max(10.0, session.seconds());
    }
    results.stop_status = QLX_STOP_NONE;
    const double objective = results.mip.objective();
    const int found = search_by_linear_programs(session, flags, effort);
    if (is_claim(found) || (found != kGaveUp && is_better(results.mip.objective(), objective)))
        return found;
    results.best_bound = bound;
    results.stop_status = stopped;
    return status;
}

}  // namespace qlx
