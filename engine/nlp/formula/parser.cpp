// Reads formulas given as tokens in reverse Polish order.
#include "engine/nlp/formula/parser.hpp"

#include <qlx/codes.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace qlx {

namespace {

constexpr int kLargestFunction = QSLP_FUNCTION_ERFC;
constexpr Operation kNoOperation = Operation::kMarker;

// Operations by token value.
constexpr std::array<Operation, QSLP_OPERATOR_SUBTRACT + 1> kOperators = {
    kNoOperation,       Operation::kNegate, Operation::kPower,   Operation::kMultiply,
    Operation::kDivide, Operation::kAdd,    Operation::kSubtract};

constexpr std::array<Operation, kLargestFunction + 1> kFunctions = [] {
    std::array<Operation, kLargestFunction + 1> table{};
    table[QSLP_FUNCTION_LOG10] = Operation::kLog10;
    table[QSLP_FUNCTION_LOG] = Operation::kLog;
    table[QSLP_FUNCTION_EXP] = Operation::kExp;
    table[QSLP_FUNCTION_ABS] = Operation::kAbs;
    table[QSLP_FUNCTION_SQRT] = Operation::kSqrt;
    table[QSLP_FUNCTION_SIN] = Operation::kSin;
    table[QSLP_FUNCTION_COS] = Operation::kCos;
    table[QSLP_FUNCTION_TAN] = Operation::kTan;
    table[QSLP_FUNCTION_ASIN] = Operation::kAsin;
    table[QSLP_FUNCTION_ACOS] = Operation::kAcos;
    table[QSLP_FUNCTION_ATAN] = Operation::kAtan;
    table[QSLP_FUNCTION_MIN] = Operation::kMin;
    table[QSLP_FUNCTION_MAX] = Operation::kMax;
    table[QSLP_FUNCTION_SIGN] = Operation::kSign;
    table[QSLP_FUNCTION_ERF] = Operation::kErf;
    table[QSLP_FUNCTION_ERFC] = Operation::kErfc;
    return table;
}();

// The operation of a code that may be any number.
template <std::size_t Size>
Operation find(const std::array<Operation, Size>& table, double code) noexcept {
    if (!(code >= 0 && code < static_cast<double>(Size))) return kNoOperation;
    const auto at = static_cast<std::size_t>(code);
    return static_cast<double>(at) == code ? table[at] : kNoOperation;
}

template <std::size_t Size>
bool find_code(const std::array<Operation, Size>& table, Operation operation,
               double* code) noexcept {
    const auto found = std::find(table.begin(), table.end(), operation);
    if (found == table.end()) return false;
    *code = static_cast<double>(found - table.begin());
    return true;
}

}  // namespace

BadToken FormulaParser::parse(const int* type, const double* value, std::int64_t limit,
                              FormulaArrays& into, std::int64_t* count) {
    pending_markers_ = 0;
    markers_.clear();
    std::size_t highest = 0;
    for (std::int64_t k = 0; k < limit; ++k) {
        if (type[k] == QSLP_TOKEN_END) {
            *count = k + 1;
            into.stack_size = std::max(into.stack_size, static_cast<int>(highest));
            return {-1, {}};
        }
        if (const char* reason = read_token(type[k], value[k], into); reason != nullptr)
            return {k, reason};
        highest = std::max(highest, markers_.size());
    }
    return {limit, "the formula must end with a token of type 0"};
}

const char* FormulaParser::read_token(int type, double value, FormulaArrays& into) {
    switch (type) {
        case QSLP_TOKEN_CONSTANT:
            if (!std::isfinite(value)) return "a constant must be finite";
            into.constants.push_back(value);
            return push({Operation::kConstant, 0}, into);
        case QSLP_TOKEN_COLUMN:
            if (!(value >= 0 && value < num_cols_) || value != std::floor(value))
                return "a column must be 0 .. number of columns - 1";
            return push({Operation::kColumn, static_cast<std::int32_t>(value)}, into);
        case QSLP_TOKEN_MARKER:
            ++pending_markers_;
            into.instructions.push_back({Operation::kMarker, 0});
            return nullptr;
        case QSLP_TOKEN_OPERATOR:
            return apply_operator(value, into);
        case QSLP_TOKEN_FUNCTION:
            return apply_function(value, into);
        case QSLP_TOKEN_USERFUNCTION:
            return "there is no user function with this number";
        default:
            return "the type must be 0 (end), 1 (constant), 10 (column), 11 (user function), "
                   "12 (function), 22 (marker) or 31 (operator)";
    }
}

const char* FormulaParser::push(Instruction instruction, FormulaArrays& into) {
    markers_.push_back(pending_markers_);
    pending_markers_ = 0;
    into.instructions.push_back(instruction);
    return nullptr;
}

const char* FormulaParser::apply_operator(double value, FormulaArrays& into) {
    const Operation operation = find(kOperators, value);
    if (operation == kNoOperation)
        return "an operator must be 1 (negation), 2 (power), 3 (product), 4 (quotient), 5 (sum) "
               "or 6 (difference)";
    const std::size_t needed = operation == Operation::kNegate ? 1 : 2;
    if (pending_markers_ > 0 || markers_.size() < needed)
        return needed == 1 ? "negation needs a value before it"
                           : "this operator needs two values before it";
    if (needed == 2) markers_.pop_back();
    into.instructions.push_back({operation, 0});
    return nullptr;
}

const char* FormulaParser::apply_function(double value, FormulaArrays& into) {
    const Operation operation = find(kFunctions, value);
    if (operation == kNoOperation) return "there is no internal function with this number";
    if (pending_markers_ > 0 || markers_.empty()) return "this function needs a value before it";
    if (operation == Operation::kMin || operation == Operation::kMax)
        return apply_extremum(operation, into);
    if (markers_.back() == 0) return "this function needs a marker right under its argument";
    --markers_.back();
    into.instructions.push_back({operation, 1});
    return nullptr;
}

const char* FormulaParser::apply_extremum(Operation operation, FormulaArrays& into) {
    std::size_t taken = 2;
    while (taken <= markers_.size() && markers_[markers_.size() - taken] == 0) ++taken;
    if (taken > markers_.size()) {
        if (markers_.back() == 0) return "this function needs a marker under its arguments";
        taken = 1;
    }
    markers_.resize(markers_.size() - taken + 1);
    --markers_.back();
    into.instructions.push_back({operation, static_cast<std::int32_t>(taken)});
    return nullptr;
}

void token_of(Instruction instruction, int* type, double* value) noexcept {
    *value = 0;
    switch (instruction.operation) {
        case Operation::kMarker:
            *type = QSLP_TOKEN_MARKER;
            return;
        case Operation::kConstant:
            *type = QSLP_TOKEN_CONSTANT;
            return;
        case Operation::kColumn:
            *type = QSLP_TOKEN_COLUMN;
            *value = instruction.argument;
            return;
        default:
            *type = find_code(kOperators, instruction.operation, value) ? QSLP_TOKEN_OPERATOR
                                                                        : QSLP_TOKEN_FUNCTION;
            if (*type == QSLP_TOKEN_FUNCTION) find_code(kFunctions, instruction.operation, value);
            return;
    }
}

}  // namespace qlx
