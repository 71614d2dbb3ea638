// The user functions of a nonlinear problem: their definitions, and how they are called.
#pragma once

#include <qlx/qslp.h>

#include <span>
#include <string>
#include <vector>

#include "engine/core/problem_fwd.hpp"
#include "engine/nlp/formula/user_functions.hpp"

namespace qlx {

struct UserFunction {
    std::string name;
    QSLPuserfunction address = nullptr;
    void* object = nullptr;  // the caller's
};

// What a running call may be asked; the context that its function gets.
struct UserFunctionCall {
    NonlinearProblem* problem;
    int function;
    int inputs;
    int wants_value;
    bool wants_derivatives;
};

// Functions are numbered from 1. Definitions change while nothing is solved only, so that calls may
// come from several threads at once.
class UserFunctionTable final : public UserFunctions {
  public:
    explicit UserFunctionTable(NonlinearProblem& problem) noexcept : problem_(problem) {}
    UserFunctionTable(const UserFunctionTable&) = delete;
    UserFunctionTable& operator=(const UserFunctionTable&) = delete;

    // The index of a text, from 1; equal texts have the same.
    int index_of_text(const char* text);
    // Appends the functions of as many definitions as are given, or none. Throws Error naming the
    // token that is wrong.
    void define(int count, const int* type, const double* value);
    // Throw Error where there is no such function.
    void require(int number) const;
    [[nodiscard]] UserFunction& function(int number);
    void set_inputs(int number, int inputs);
    // By function: how many inputs it takes, or kAnyInputs.
    [[nodiscard]] std::span<const int> inputs() const noexcept { return inputs_; }
    [[nodiscard]] int size() const noexcept { return static_cast<int>(functions_.size()); }
    // Takes over definitions, addresses and objects.
    void copy(const UserFunctionTable& from);

    // Where the function leaves derivatives out they come by central differences, and by
    // differences on one side where it has no value on the other.
    bool call(int number, std::span<const double> inputs, std::span<const char> wanted,
              double& value, std::span<double> partials, bool is_trial = false) override;

  private:
    NonlinearProblem& problem_;
    std::vector<UserFunction> functions_;
    std::vector<int> inputs_;
    std::vector<std::string> texts_;
};

}  // namespace qlx
