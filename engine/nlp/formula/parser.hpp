// Reads formulas given as tokens in reverse Polish order.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "engine/base/index.hpp"
#include "engine/nlp/formula/extent_hints.hpp"
#include "engine/nlp/formula/instruction.hpp"
#include "engine/nlp/formula/user_functions.hpp"

namespace qlx {

// Formulas one after the other.
struct FormulaArrays {
    std::vector<Instruction> instructions;
    std::vector<double> constants;
    int stack_size = 0;  // values that the largest of them has on its stack at a time
};

// What formulas may name: the columns 0 .. num_cols - 1, and one user function for each entry of
// `inputs`, its number of inputs or kAnyInputs.
struct FormulaSymbols {
    int num_cols;
    std::span<const int> inputs;
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
//
// A user function whose number of inputs is stated takes that many values, and the marker under the
// first unless it has one input. Otherwise it takes all values down to a marker, or one value and
// no marker: of several ways to read a formula that one counts in which every function finds its
// marker, and the marker goes to the first function that can have it, save that a max or min of one
// value is nobody's intention. The readings are tried one after the other, guided by what the
// tokens still to come need, for at most a fixed number of steps per token.
class FormulaParser {
  public:
    explicit FormulaParser(const FormulaSymbols& symbols) noexcept : symbols_(symbols) {}

    // Appends the formula whose closing token must be among the first `limit` tokens; `count` gets
    // its tokens, the closing one included. Linear in the number of tokens. After a bad token the
    // arrays hold a part of the formula.
    [[nodiscard]] BadToken parse(const int* type, const double* value, std::int64_t limit,
                                 FormulaArrays& into, std::int64_t* count);

  private:
    // A value on the stack; the stack below it is shared by all readings that have it.
    struct Value {
        std::int32_t below;         // place in values_, 0 at the bottom
        std::int64_t markers;       // right under it
        std::int32_t depth;         // values up to this one
        std::int32_t marked;        // the topmost value with a marker, from here down; 0: none
        std::int64_t open_markers;  // from here down
    };
    // A user function that may also be read in the other way, and all that was there before it.
    struct Choice {
        std::int64_t position;
        std::int64_t pending_markers;
        std::int32_t top;
        bool takes_marker;  // in the way that is still to be tried
        std::size_t values;
        std::size_t instructions;
        std::size_t constants;
    };

    void begin(const FormulaArrays& into);
    BadToken read(FormulaArrays& into, std::int64_t* count);
    const char* read_token(FormulaArrays& into);
    const char* apply_operator(double code, FormulaArrays& into);
    const char* apply_function(double code, FormulaArrays& into);
    const char* apply_extremum(Operation operation, FormulaArrays& into);
    const char* apply_user_function(double number, FormulaArrays& into);
    const char* apply_with_inputs(int inputs, double number, FormulaArrays& into);
    const char* choose_extent(double number, FormulaArrays& into);
    void apply_to_group(bool takes_marker, double number, FormulaArrays& into);
    void take_other_way(FormulaArrays& into);

    [[nodiscard]] const Value& top() const noexcept { return values_[at(top_)]; }
    void push(std::int32_t below, std::int64_t markers);

    FormulaSymbols symbols_;
    const int* type_ = nullptr;
    const double* value_ = nullptr;
    std::int64_t limit_ = 0;
    std::int64_t position_ = 0;
    std::int64_t pending_markers_ = 0;  // on top of the stack
    std::int32_t top_ = 0;              // place in values_
    std::vector<Value> values_;
    std::vector<Choice> choices_;
    ExtentHints hints_;
    std::int32_t highest_ = 0;
    std::int64_t steps_left_ = 0;
    bool takes_single_extrema_ = false;  // in spite of choices
    bool refused_single_extremum_ = false;
    // Where the formula begins.
    std::size_t first_instruction_ = 0;
    std::size_t first_constant_ = 0;
};

// The token of an instruction; `value` is the constant's where it has one.
void token_of(Instruction instruction, int* type, double* value) noexcept;

}  // namespace qlx
