// From an answer in the presolve's columns and rows to one in those of the program.
#pragma once

#include "engine/quad/cone_attempt.hpp"
#include "engine/quad/cone_presolve.hpp"

namespace qlx::quad {

class AnswerWriter {
  public:
    AnswerWriter(const ConvexProgram& source, const ConePresolve& presolve,
                 const ConvexControl& control, ConvexResult& result)
        : source_(source), presolve_(presolve), control_(control), result_(result) {}

    // The barrier method's answer in the columns and rows of the presolve's model. The last word
    // on `optimal` is its evaluation there.
    void report(const Attempt& best);
    // What a result for the presolve's model lacks as one for the program.
    void complete();

  private:
    std::vector<double> normals_at(const Attempt& best) const;
    void add_gradient(std::size_t k, double factor, std::vector<double>& out) const;
    void evaluate_quadratic_rows();
    void price_held_columns();

    const ConvexProgram& source_;
    const ConePresolve& presolve_;
    const ConvexControl& control_;
    ConvexResult& result_;
};

}  // namespace qlx::quad
