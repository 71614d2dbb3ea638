// Formulas as they are kept: one instruction per token, in reverse Polish order.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qlx {

enum class Operation : std::uint8_t {
    kMarker,    // does nothing; kept so that a formula reads back as it was given
    kConstant,  // the formula's next constant
    kColumn,    // argument: the column
    kNegate,
    kPower,  // from here to kSubtract: operators of two values
    kMultiply,
    kDivide,
    kAdd,
    kSubtract,
    kLog10,
    kLog,
    kExp,
    kAbs,
    kSqrt,
    kSin,
    kCos,
    kTan,
    kAsin,
    kAcos,
    kAtan,
    kSign,
    kErf,
    kErfc,
    kMin,  // argument: how many values it takes
    kMax,
    kUser,  // a user function: argument: how many values it takes, possibly none; its number is the
            // formula's next constant
};

struct Instruction {
    Operation operation;
    std::int32_t argument;
};

// By how many values an instruction lengthens the stack.
constexpr int stack_change(Instruction instruction) noexcept {
    switch (instruction.operation) {
        case Operation::kConstant:
        case Operation::kColumn:
            return 1;
        case Operation::kMin:
        case Operation::kMax:
        case Operation::kUser:
            return 1 - instruction.argument;
        default: {
            const bool is_binary = instruction.operation >= Operation::kPower &&
                                   instruction.operation <= Operation::kSubtract;
            return is_binary ? -1 : 0;
        }
    }
}

constexpr bool takes_constant(Operation operation) noexcept {
    return operation == Operation::kConstant || operation == Operation::kUser;
}

// One formula within the arrays that many share. Values that are left on the stack at the end are
// multiplied; the formula without any value is 1.
struct Formula {
    const Instruction* instructions;
    std::size_t length;
    const double* constants;  // in the order of the kConstant and kUser instructions
};

}  // namespace qlx
