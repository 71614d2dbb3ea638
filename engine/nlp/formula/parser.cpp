// Reads formulas given as tokens in reverse Polish order.
#include "engine/nlp/formula/parser.hpp"

#include <qlx/codes.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace qlx {

namespace {

constexpr int kLargestFunction = QSLP_FUNCTION_ERFC;
constexpr Operation kNoOperation = Operation::kMarker;
constexpr std::int64_t kStepsPerToken = 64;

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
    type_ = type;
    value_ = value;
    limit_ = limit;
    hints_.clear();
    takes_single_extrema_ = false;
    refused_single_extremum_ = false;
    begin(into);
    BadToken bad = read(into, count);
    if (bad.position < 0 || !refused_single_extremum_) return bad;
    into.instructions.resize(first_instruction_);
    into.constants.resize(first_constant_);
    takes_single_extrema_ = true;
    begin(into);
    return read(into, count);
}

void FormulaParser::begin(const FormulaArrays& into) {
    first_instruction_ = into.instructions.size();
    first_constant_ = into.constants.size();
    position_ = 0;
    pending_markers_ = 0;
    top_ = 0;
    values_.assign(1, {0, 0, 0, 0, 0});
    choices_.clear();
    highest_ = 0;
    steps_left_ = std::numeric_limits<std::int64_t>::max();
}

BadToken FormulaParser::read(FormulaArrays& into, std::int64_t* count) {
    BadToken furthest{-1, {}};  // no reading gets beyond it
    for (; position_ < limit_; ++position_) {
        if (type_[position_] == QSLP_TOKEN_END) {
            *count = position_ + 1;
            into.stack_size = std::max(into.stack_size, static_cast<int>(highest_));
            return {-1, {}};
        }
        const char* const reason = read_token(into);
        highest_ = std::max(highest_, top().depth);
        --steps_left_;
        if (reason == nullptr) continue;
        if (position_ > furthest.position) furthest = {position_, reason};
        if (choices_.empty()) return furthest;
        if (steps_left_ < 0)
            return {furthest.position,
                    "the user functions before this token can be read in too many ways"};
        take_other_way(into);
    }
    return {limit_, "the formula must end with a token of type 0"};
}

const char* FormulaParser::read_token(FormulaArrays& into) {
    const double value = value_[position_];
    switch (type_[position_]) {
        case QSLP_TOKEN_CONSTANT:
            if (!std::isfinite(value)) return "a constant must be finite";
            into.constants.push_back(value);
            into.instructions.push_back({Operation::kConstant, 0});
            push(top_, std::exchange(pending_markers_, 0));
            return nullptr;
        case QSLP_TOKEN_COLUMN:
            if (!(value >= 0 && value < symbols_.num_cols) || value != std::floor(value))
                return "a column must be 0 .. number of columns - 1";
            into.instructions.push_back({Operation::kColumn, static_cast<std::int32_t>(value)});
            push(top_, std::exchange(pending_markers_, 0));
            return nullptr;
        case QSLP_TOKEN_MARKER:
            ++pending_markers_;
            into.instructions.push_back({Operation::kMarker, 0});
            return nullptr;
        case QSLP_TOKEN_OPERATOR:
            return apply_operator(value, into);
        case QSLP_TOKEN_FUNCTION:
            return apply_function(value, into);
        case QSLP_TOKEN_USERFUNCTION:
            return apply_user_function(value, into);
        default:
            return "the type must be 0 (end), 1 (constant), 10 (column), 11 (user function), "
                   "12 (function), 22 (marker) or 31 (operator)";
    }
}

void FormulaParser::push(std::int32_t below, std::int64_t markers) {
    const Value& under = values_[at(below)];
    const auto place = static_cast<std::int32_t>(values_.size());
    values_.push_back({below, markers, under.depth + 1, markers > 0 ? place : under.marked,
                       under.open_markers + markers});
    top_ = place;
}

const char* FormulaParser::apply_operator(double code, FormulaArrays& into) {
    const Operation operation = find(kOperators, code);
    if (operation == kNoOperation)
        return "an operator must be 1 (negation), 2 (power), 3 (product), 4 (quotient), 5 (sum) "
               "or 6 (difference)";
    const int needed = operation == Operation::kNegate ? 1 : 2;
    if (pending_markers_ > 0 || top().depth < needed)
        return needed == 1 ? "negation needs a value before it"
                           : "this operator needs two values before it";
    // The first operand's place is the result's.
    if (needed == 2) top_ = top().below;
    into.instructions.push_back({operation, 0});
    return nullptr;
}

const char* FormulaParser::apply_function(double code, FormulaArrays& into) {
    const Operation operation = find(kFunctions, code);
    if (operation == kNoOperation) return "there is no internal function with this number";
    if (pending_markers_ > 0 || top().depth == 0) return "this function needs a value before it";
    if (operation == Operation::kMin || operation == Operation::kMax)
        return apply_extremum(operation, into);
    if (top().markers == 0) return "this function needs a marker right under its argument";
    push(top().below, top().markers - 1);
    into.instructions.push_back({operation, 1});
    return nullptr;
}

const char* FormulaParser::apply_extremum(Operation operation, FormulaArrays& into) {
    std::int32_t first = values_[at(top().below)].marked;
    if (first == 0) {
        if (top().markers == 0) return "this function needs a marker under its arguments";
        if (hints_.built() && !takes_single_extrema_) {
            refused_single_extremum_ = true;
            return "this function needs a marker under its arguments";
        }
        first = top_;
    }
    const Value from = values_[at(first)];
    into.instructions.push_back({operation, top().depth - from.depth + 1});
    push(from.below, from.markers - 1);
    return nullptr;
}

const char* FormulaParser::apply_user_function(double number, FormulaArrays& into) {
    const std::span<const int> inputs = symbols_.inputs;
    if (!(number >= 1 && number <= static_cast<double>(inputs.size())) ||
        number != std::floor(number))
        return "there is no user function with this number";
    const int stated = inputs[static_cast<std::size_t>(number) - 1];
    return stated == kAnyInputs ? choose_extent(number, into)
                                : apply_with_inputs(stated, number, into);
}

// Markers that nested functions left over under the second and later inputs are dropped.
const char* FormulaParser::apply_with_inputs(int inputs, double number, FormulaArrays& into) {
    const bool has_marker = inputs != 1;
    std::int64_t markers = pending_markers_;  // right under the first input
    std::int32_t below = top_;
    if (inputs > 0) {
        if (pending_markers_ > 0 || top().depth < inputs)
            return "this user function needs its inputs before it";
        for (int n = 0; n < inputs; ++n) {
            markers = values_[at(below)].markers;
            below = values_[at(below)].below;
        }
    }
    if (has_marker && markers == 0) return "this user function needs a marker under its inputs";
    pending_markers_ = 0;
    push(below, has_marker ? markers - 1 : markers);
    into.constants.push_back(number);
    into.instructions.push_back({Operation::kUser, inputs});
    return nullptr;
}

const char* FormulaParser::choose_extent(double number, FormulaArrays& into) {
    if (pending_markers_ > 0) return apply_with_inputs(0, number, into);
    if (top().depth == 0) return "this user function needs a marker or a value before it";
    if (top().marked == 0) return apply_with_inputs(1, number, into);
    if (!hints_.built()) {
        hints_.build(type_, value_, limit_, symbols_.inputs);
        steps_left_ = kStepsPerToken * hints_.length();
    }
    // Others need all the markers that are open.
    if (top().open_markers <= hints_.markers_needed_after(position_))
        return apply_with_inputs(1, number, into);
    const std::int64_t values = top().depth - values_[at(top().marked)].depth + 1;
    const bool takes_marker = !hints_.next_function_fits(position_, values);
    choices_.push_back({position_, pending_markers_, top_, !takes_marker, values_.size(),
                        into.instructions.size(), into.constants.size()});
    apply_to_group(takes_marker, number, into);
    return nullptr;
}

void FormulaParser::apply_to_group(bool takes_marker, double number, FormulaArrays& into) {
    const std::int32_t first = takes_marker ? top().marked : top_;
    const Value from = values_[at(first)];
    into.constants.push_back(number);
    into.instructions.push_back({Operation::kUser, top().depth - from.depth + 1});
    push(from.below, from.markers - (takes_marker ? 1 : 0));
}

void FormulaParser::take_other_way(FormulaArrays& into) {
    const Choice choice = choices_.back();
    choices_.pop_back();
    position_ = choice.position;
    pending_markers_ = choice.pending_markers;
    top_ = choice.top;
    values_.resize(choice.values);
    into.instructions.resize(choice.instructions);
    into.constants.resize(choice.constants);
    apply_to_group(choice.takes_marker, value_[position_], into);
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
        case Operation::kUser:
            *type = QSLP_TOKEN_USERFUNCTION;
            return;
        default:
            *type = find_code(kOperators, instruction.operation, value) ? QSLP_TOKEN_OPERATOR
                                                                        : QSLP_TOKEN_FUNCTION;
            if (*type == QSLP_TOKEN_FUNCTION) find_code(kFunctions, instruction.operation, value);
            return;
    }
}

}  // namespace qlx
