// Definitions of user functions, and how they are called.
#include "engine/core/user_function_table.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "engine/base/errors.hpp"
#include "engine/base/index.hpp"

namespace qlx {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr double kCallFailed = -3.0;
// What a call is told about the value.
constexpr int kNeeded = 1;
constexpr int kTrial = 2;

// The only way of calling that there is.
constexpr const char* kDirectCalls = "DirectC";
constexpr double kDirectLinkage = 1;
constexpr double kValueAndDerivatives = 19;

// Steps of differences, relative to max(1, |x|): those that balance the errors of truncation, which
// grow as the square (central) and the first power (one side) of the step, with those of rounding
// (Nocedal, Wright: Numerical Optimization, 2nd edition, section 8.1).
const double kCentralStep = std::cbrt(std::numeric_limits<double>::epsilon());
const double kOneSidedStep = std::sqrt(std::numeric_limits<double>::epsilon());

// One function at one point, with room for what it gives.
class Evaluation {
  public:
    Evaluation(NonlinearProblem& problem, int number, const UserFunction& function,
               std::span<const double> inputs)
        : problem_(problem),
          number_(number),
          address_(function.address),
          inputs_(inputs.begin(), inputs.end()),
          deltas_(inputs.size() + 1, 0.0),
          results_(inputs.size() + 1) {}

    // False where the call failed; a derivative is asked for by a step that is not 0.
    bool value_and_derivatives(std::span<const char> wanted, bool is_trial) {
        bool any = false;
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            if (wanted[i] == 0) continue;
            deltas_[i] = kCentralStep * scale(i);
            any = true;
        }
        const bool called = call(is_trial ? kTrial : kNeeded, any);
        std::fill(deltas_.begin(), deltas_.end(), 0.0);
        return called;
    }
    [[nodiscard]] double value() const noexcept { return results_[0]; }
    [[nodiscard]] double derivative(std::size_t input) const noexcept {
        return results_[input + 1];
    }

    // The derivative by an input, by differences; `value` is the function's at the point.
    double difference(std::size_t input, double value) {
        const double step = kCentralStep * scale(input);
        const Try above = try_at(input, step);
        const Try below = try_at(input, -step);
        if (!std::isnan(above.value) && !std::isnan(below.value))
            return (above.value - below.value) / (above.step - below.step);
        const bool has_above = !std::isnan(above.value);
        if (!has_above && std::isnan(below.value)) return kNone;
        const Try near = try_at(input, (has_above ? 1 : -1) * kOneSidedStep * scale(input));
        return (near.value - value) / near.step;
    }

  private:
    struct Try {
        double step;  // as it was really taken
        double value;
    };

    [[nodiscard]] double scale(std::size_t input) const noexcept {
        return std::max(1.0, std::fabs(inputs_[input]));
    }
    Try try_at(std::size_t input, double step) {
        const double there = inputs_[input];
        inputs_[input] = there + step;
        const double taken = inputs_[input] - there;
        const bool called = call(kTrial, false);
        inputs_[input] = there;
        return {taken, called ? results_[0] : kNone};
    }
    // Whether there is a value.
    bool call(int wants_value, bool wants_derivatives) {
        std::fill(results_.begin(), results_.end(), kNone);
        UserFunctionCall context{&problem_, number_, static_cast<int>(inputs_.size()), wants_value,
                                 wants_derivatives};
        // What is returned counts only as a sign of failure: -3 may be a value too.
        const double returned = address_(inputs_.data(), &context, deltas_.data(), results_.data());
        if (returned == kCallFailed && std::isnan(results_[0])) return false;
        return !std::isnan(results_[0]);
    }

    NonlinearProblem& problem_;
    int number_;
    QSLPuserfunction address_;
    std::vector<double> inputs_;
    std::vector<double> deltas_;
    std::vector<double> results_;
};

// Reads definitions that follow one another, each ended by its closing token.
class DefinitionReader {
  public:
    DefinitionReader(const std::vector<std::string>& texts, const int* type, const double* value)
        : texts_(texts), type_(type), value_(value) {}

    // The name of the next function; all else has one meaning.
    std::string next_name() {
        const std::int64_t begin = k_;
        std::string name;
        for (; type_[k_] != QSLP_TOKEN_END; ++k_) {
            switch (type_[k_]) {
                case QSLP_TOKEN_STRING:
                    if (name.empty())
                        name = text();
                    else if (text() != kDirectCalls)
                        refuse("the second text must be DirectC");
                    break;
                case QSLP_TOKEN_LINKAGE:
                    if (value_[k_] != kDirectLinkage) refuse("must be 1 (called directly)");
                    break;
                case QSLP_TOKEN_ARGUMENTS:
                    if (value_[k_] != kValueAndDerivatives)
                        refuse("must be 19 (inputs, context, steps and results)");
                    break;
                default:
                    refuse(
                        "a definition has the types 5 (text), 86 (arguments), 87 (linkage) and "
                        "0 (end)");
            }
        }
        if (name.empty())
            fail(QLX_ERROR_ARGUMENT, "the definition that begins at type[", begin,
                 "] has no text: the function's name");
        ++k_;
        return name;
    }

  private:
    [[nodiscard]] const std::string& text() const {
        const double index = value_[k_];
        if (!(index >= 1 && index <= static_cast<double>(texts_.size())) ||
            index != std::floor(index))
            refuse("there is no text with this index, get one with QSLPsetstring");
        return texts_[static_cast<std::size_t>(index) - 1];
    }
    [[noreturn]] void refuse(const char* reason) const {
        fail(QLX_ERROR_ARGUMENT, "type[", k_, "] is ", type_[k_], " and value[", k_, "] is ",
             value_[k_], ": ", reason);
    }

    const std::vector<std::string>& texts_;
    const int* type_;
    const double* value_;
    std::int64_t k_ = 0;
};

}  // namespace

int UserFunctionTable::index_of_text(const char* text) {
    auto found = std::find(texts_.begin(), texts_.end(), text);
    if (found == texts_.end()) found = texts_.insert(texts_.end(), text);
    return static_cast<int>(found - texts_.begin()) + 1;
}

void UserFunctionTable::define(int count, const int* type, const double* value) {
    DefinitionReader reader(texts_, type, value);
    std::vector<UserFunction> added;
    for (int k = 0; k < count; ++k) added.push_back({reader.next_name(), nullptr, nullptr});
    inputs_.reserve(inputs_.size() + added.size());
    functions_.insert(functions_.end(), added.begin(), added.end());
    inputs_.resize(functions_.size(), kAnyInputs);
}

void UserFunctionTable::require(int number) const {
    if (number < 1 || number > size())
        fail(QLX_ERROR_ARGUMENT, "function is ", number, ", must be 1 .. ", size(),
             ", the number of user functions");
}

UserFunction& UserFunctionTable::function(int number) {
    require(number);
    return functions_[at(number) - 1];
}

void UserFunctionTable::set_inputs(int number, int inputs) {
    require(number);
    if (inputs < kAnyInputs)
        fail(QLX_ERROR_ARGUMENT, "ninputs is ", inputs, ", must be at least 0, or -1 (any number)");
    inputs_[at(number) - 1] = inputs;
}

void UserFunctionTable::copy(const UserFunctionTable& from) {
    functions_ = from.functions_;
    inputs_ = from.inputs_;
    texts_ = from.texts_;
}

bool UserFunctionTable::call(int number, std::span<const double> inputs,
                             std::span<const char> wanted, double& value,
                             std::span<double> partials, bool is_trial) {
    value = kNone;
    if (number < 1 || number > size()) return false;
    const UserFunction& function = functions_[at(number) - 1];
    if (function.address == nullptr) return false;
    Evaluation evaluation(problem_, number, function, inputs);
    if (partials.empty()) wanted = {};
    if (!evaluation.value_and_derivatives(wanted, is_trial)) return false;
    value = evaluation.value();
    // All of them are read before the first difference, which uses the same room.
    for (std::size_t i = 0; i < partials.size(); ++i)
        if (wanted[i] != 0) partials[i] = evaluation.derivative(i);
    for (std::size_t i = 0; i < partials.size(); ++i)
        if (wanted[i] != 0 && std::isnan(partials[i]))
            partials[i] = evaluation.difference(i, value);
    return true;
}

}  // namespace qlx
