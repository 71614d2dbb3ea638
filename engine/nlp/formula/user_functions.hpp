// The functions of the user that formulas name, as evaluators call them.
#pragma once

#include <span>

namespace qlx {

// Of a function whose number of inputs is not stated: formulas may call it with any number.
inline constexpr int kAnyInputs = -1;

class UserFunctions {
  public:
    virtual ~UserFunctions() = default;

    // Function `number`, from 1, at the inputs. Partial derivatives are asked for where `partials`
    // is not empty; it has then one place for each input and those in which `wanted` is not zero
    // are filled, by differences where the function does not give them. False where the call
    // failed or the value is not a number. A partial derivative that cannot be found is not a
    // number. A trial is a call beside the point, for a difference, which may fail without harm:
    // what the function makes of numbers outside its domain is no error then. What was thrown is
    // kept for the solving call. May be called from any thread.
    virtual bool call(int number, std::span<const double> inputs, std::span<const char> wanted,
                      double& value, std::span<double> partials, bool is_trial = false) = 0;
};

}  // namespace qlx
