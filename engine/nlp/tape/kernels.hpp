// Runs the operations of a program on arrays.
#pragma once

#include <span>

#include "engine/nlp/formula/user_functions.hpp"
#include "engine/nlp/tape/shape_code.hpp"

namespace qlx::nlp {

// Calls of user functions; room for the largest of them is made before.
class UserCalls {
  public:
    explicit UserCalls(UserFunctions* functions) noexcept : functions_(functions) {}
    void make_room(std::size_t count);
    // For each of the n expressions. What fails is not a number.
    void run(const Code& code, const int* arguments, double* const* places, int n);

  private:
    double value(int number, std::span<const double> inputs);
    bool partials(int number, std::span<const double> inputs, std::span<double> out,
                  bool is_trial = false);
    void curvatures(const Code& code, double* const* places, int k);
    void slopes_by(int number, std::size_t input, std::size_t count);

    UserFunctions* functions_;
    std::vector<double> inputs_;
    std::vector<double> below_;
    std::vector<double> above_;
    std::vector<double> slopes_;
    std::vector<char> wanted_;
};

// On the first n elements of the arrays at `places`.
void run(std::span<const Code> codes, const int* arguments, double* const* places, int n,
         UserCalls& user);

}  // namespace qlx::nlp
