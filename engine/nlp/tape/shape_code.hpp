// Programs that compute the value and derivatives of all expressions of one shape.
#pragma once

#include <vector>

#include "engine/nlp/tape/shapes.hpp"

namespace qlx::nlp {

// One operation on arrays. Operands and result are places; c may be an exponent or a function's
// number. User functions: a is the first of b entries of `arguments`; their derivatives go to the
// places that follow each other from `out`.
struct Code {
    NodeKind kind;
    int out;
    int a;
    int b;
    int c;
};

// What an array of numbers, one for each expression, is; kPart: the values that others read.
enum class PlaceKind : std::uint8_t {
    kRegister,
    kLiteral,
    kSlot,
    kParameter,
    kSaved,
    kWeight,
    kPart
};

struct Place {
    PlaceKind kind;
    int number;      // of the register, slot, parameter or saved array; slots of parts come last
    double literal;  // the one value of all
};

struct ShapeProgram {
    std::vector<Code> codes;
    std::vector<int> slots;    // that are read
    std::vector<int> outputs;  // places
};

struct SlotPair {
    int i;
    int j;
};

struct ShapeCode {
    std::vector<Place> places;
    std::vector<int> arguments;  // places of user functions' arguments
    int num_registers = 0;
    int num_saved = 0;
    // Constants of each expression: num_parameters arrays of one number for each.
    std::vector<double> parameters;
    int num_parameters = 0;

    // Expressions that are only parts of others have no derivatives of their own.
    // The later ones read what the earlier ones saved at the same point.
    ShapeProgram value;
    ShapeProgram first;
    ShapeProgram second;           // times the weight
    std::vector<int> first_slots;  // of the outputs of `first`
    std::vector<SlotPair> second_slots;
    bool has_kinks = false;
    bool has_constant_curvature = false;
};

[[nodiscard]] ShapeCode compile(const ShapeGroup& group);

}  // namespace qlx::nlp
