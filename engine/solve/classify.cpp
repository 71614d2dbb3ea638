// Tells LP, QP, QCQP and their integer forms apart.
#include "engine/solve/classify.hpp"

namespace qlx {

ProblemClass classify(const Model& model, bool integral) {
    const bool tree = integral && (model.num_entities() > 0 || model.num_sets() > 0 ||
                                   !model.indicators().empty());
    if (!model.nonlinear().empty()) return tree ? ProblemClass::kMinlp : ProblemClass::kNlp;
    if (!model.quadratic_rows().empty()) return tree ? ProblemClass::kMiqcp : ProblemClass::kQcqp;
    if (!model.quadratic_objective().empty()) return tree ? ProblemClass::kMiqp : ProblemClass::kQp;
    return tree ? ProblemClass::kMip : ProblemClass::kLp;
}

const char* class_name(ProblemClass problem_class) {
    switch (problem_class) {
        case ProblemClass::kLp:
            return "LP";
        case ProblemClass::kMip:
            return "MIP";
        case ProblemClass::kQp:
            return "QP";
        case ProblemClass::kQcqp:
            return "QCQP";
        case ProblemClass::kMiqp:
            return "MIQP";
        case ProblemClass::kMiqcp:
            return "MIQCP";
        case ProblemClass::kNlp:
            return "NLP";
        default:
            return "MINLP";
    }
}

}  // namespace qlx
