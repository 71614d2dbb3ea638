// What the last solve of a problem found.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include <qlx/codes.h>

namespace qlx {

inline constexpr double kNoValue = std::numeric_limits<double>::quiet_NaN();

// A point with what belongs to it; vectors are as long as the model was when it was solved.
struct Solution {
    bool valid = false;
    double objective = kNoValue;
    std::vector<double> x;
    std::vector<double> slack;
    std::vector<double> dual;
    std::vector<double> dj;
};

struct Results {
    int lp_status = QLX_LP_UNSTARTED;
    int mip_status = QLX_MIP_NOT_LOADED;
    int stop_status = QLX_STOP_NONE;
    Solution lp;
    Solution mip;
    double best_bound = kNoValue;
    std::int64_t nodes = 0;
    std::int64_t simplex_iterations = 0;
    std::int64_t barrier_iterations = 0;
    std::int64_t first_order_iterations = 0;
    std::int64_t solutions_found = 0;
    double seconds = 0;
    double primal_infeasibility = 0;  // largest violation of the last point, by our own check
};

}  // namespace qlx
