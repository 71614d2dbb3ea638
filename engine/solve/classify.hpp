// What class of problem a model is, and so which solver it goes to.
#pragma once

#include "engine/data/model.hpp"

namespace qlx {

enum class ProblemClass { kLp, kMip, kQp, kQcqp, kMiqp, kMiqcp, kNlp, kMinlp };

// integral: count types, sets and indicators; else the model is taken without them.
[[nodiscard]] ProblemClass classify(const Model& model, bool integral);
// "LP", "MIP", ...
[[nodiscard]] const char* class_name(ProblemClass problem_class);

}  // namespace qlx
