// Reads formulas given as tokens in reverse Polish order.
#pragma once

#include <string>
#include <vector>

#include "engine/nlp/formula/instruction.hpp"

namespace qlx {

// Formulas one after the other.
struct FormulaArrays {
    std::vector<Instruction> instructions;
    std::vector<double> constants;
    int stack_size = 0;  // values that the largest of them has on its stack at a time
};

// The first token that cannot be read.
struct BadToken {
    std::int64_t position;  // -1: none
    std::string reason;
};

// Values and markers live on one stack, here as the values with the number of markers right under
// each. A function of one argument takes one value and a marker under it. min and max take two
// values and the marker under the first where that has one, and otherwise all values down to one
// that has. Operators drop the markers under their second operand: what nested functions left over.
class FormulaParser {
  public:
    explicit FormulaParser(int num_cols) noexcept : num_cols_(num_cols) {}

    // Appends the formula whose closing token must be among the first `limit` tokens; `count` gets
    // its tokens, the closing one included. Linear in the number of tokens. After a bad token the
    // arrays hold a part of the formula.
    [[nodiscard]] BadToken parse(const int* type, const double* value, std::int64_t limit,
                                 FormulaArrays& into, std::int64_t* count);

  private:
    const char* read_token(int type, double value, FormulaArrays& into);
    const char* push(Instruction instruction, FormulaArrays& into);
    const char* apply_operator(double value, FormulaArrays& into);
    const char* apply_function(double value, FormulaArrays& into);
    const char* apply_extremum(Operation operation, FormulaArrays& into);

    int num_cols_;
    int pending_markers_ = 0;   // on top of the stack
    std::vector<int> markers_;  // per value on the stack: the markers right under it
};

// The token of an instruction; `value` is the constant's where it is one.
void token_of(Instruction instruction, int* type, double* value) noexcept;

}  // namespace qlx
