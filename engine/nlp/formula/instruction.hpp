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
    kPower,
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
};

struct Instruction {
    Operation operation;
    std::int32_t argument;
};

// One formula within the arrays that many share. Values that are left on the stack at the end are
// multiplied; the formula without any value is 1.
struct Formula {
    const Instruction* instructions;
    std::size_t length;
    const double* constants;  // in the order of the kConstant instructions
};

}  // namespace qlx
