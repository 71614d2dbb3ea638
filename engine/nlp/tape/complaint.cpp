// Why functions or derivatives are undefined at a point, in words.
#include "engine/nlp/tape/complaint.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/base/errors.hpp"
#include "engine/base/index.hpp"
#include "engine/nlp/formula/evaluator.hpp"

namespace qlx::nlp {

namespace {

const char* name_of(Operation operation) noexcept {
    constexpr const char* kNames[] = {
        "marker", "constant",   "column", "negation", "power",        "product", "division",
        "sum",    "difference", "log10",  "log",      "exp",          "abs",     "sqrt",
        "sin",    "cos",        "tan",    "asin",     "acos",         "atan",    "sign",
        "erf",    "erfc",       "min",    "max",      "user function"};
    return kNames[static_cast<std::size_t>(operation)];
}

// Of functions whose values there are finite.
bool lacks_derivatives(Operation operation, std::span<const double> arguments) noexcept {
    switch (operation) {
        case Operation::kSqrt:
            return arguments[0] == 0;
        case Operation::kAsin:
        case Operation::kAcos:
            return std::fabs(arguments[0]) == 1;
        case Operation::kPower:
            return arguments[0] == 0 && arguments[1] < 2 &&
                   arguments[1] != std::nearbyint(arguments[1]);
        default:
            return false;
    }
}

class Walk {
  public:
    Walk(const Statement& statement, std::span<const double> moving_values, UserFunctions* user)
        : statement_(statement), user_(user), x_(statement.fixed_value) {
        x_.resize(at(statement.num_columns()), 0.0);
        for (std::size_t k = 0; k < moving_values.size(); ++k)
            x_[at(statement.moving[k])] = moving_values[k];
        sums_.assign(at(statement.num_rows()) + 1, 0.0);
        sums_[0] = statement.constant;
    }

    std::string run() {
        for (const bool derivatives : {false, true}) {
            derivatives_ = derivatives;
            for (const NonlinearTerm& term : statement_.nonlinear) {
                const double column = term.column == kNoColumn ? 1 : x_[at(term.column)];
                const double value = term.factor * column * walk(term.formula);
                // What is infinite on the way to a finite value has no derivatives at most.
                if (!text_.empty() && (derivatives || !std::isfinite(value)))
                    return join(place(term.row), ": ", text_);
                if (!derivatives) sums_[at(term.row + 1)] += value;
            }
        }
        return find_overflow();
    }

  private:
    static std::string place(int row) {
        return row == kObjectiveRow ? std::string("objective") : join("row ", row);
    }

    std::string find_overflow() {
        for (const LinearEntry& entry : statement_.linear)
            sums_[at(entry.row + 1)] += entry.coefficient * x_[at(entry.column)];
        for (const QuadraticEntry& entry : statement_.quadratic)
            sums_[at(entry.row + 1)] +=
                entry.coefficient * x_[at(entry.first)] * x_[at(entry.second)];
        for (std::size_t k = 0; k < sums_.size(); ++k)
            if (!std::isfinite(sums_[k]))
                return join(place(static_cast<int>(k) - 1), ": not a finite number");
        return {};
    }

    double walk(const Formula& formula) {
        stack_.clear();
        text_.clear();
        const double* constant = formula.constants;
        for (std::size_t k = 0; k < formula.length; ++k) {
            const Instruction instruction = formula.instructions[k];
            if (instruction.operation == Operation::kConstant)
                stack_.push_back(*constant++);
            else if (instruction.operation == Operation::kColumn)
                stack_.push_back(x_[at(instruction.argument)]);
            else if (instruction.operation == Operation::kUser)
                apply(instruction, static_cast<int>(*constant++));
            else if (instruction.operation != Operation::kMarker)
                apply(instruction, 0);
        }
        double product = 1;
        for (const double value : stack_) product *= value;
        return product;
    }

    void apply(Instruction instruction, int number) {
        const auto count = at(1 - stack_change(instruction));
        const std::span<const double> arguments = std::span(stack_).last(count);
        const double value = value_of(instruction.operation, number, arguments);
        const bool defined = std::all_of(arguments.begin(), arguments.end(),
                                         [](double argument) { return std::isfinite(argument); });
        if (defined && !std::isfinite(value))
            complain("", instruction.operation, number, arguments);
        else if (derivatives_ && lacks_derivatives(instruction.operation, arguments))
            complain("derivative of ", instruction.operation, number, arguments);
        stack_.resize(stack_.size() - count);
        stack_.push_back(value);
    }

    double value_of(Operation operation, int number, std::span<const double> arguments) {
        double value = arguments.empty() ? 0 : arguments[0];
        switch (operation) {
            case Operation::kUser: {
                value = std::numeric_limits<double>::quiet_NaN();
                const bool done =
                    user_ != nullptr && user_->call(number, arguments, {}, value, {}, true);
                return done ? value : std::numeric_limits<double>::quiet_NaN();
            }
            case Operation::kMin:
                for (const double other : arguments) value = smaller(value, other);
                return value;
            case Operation::kMax:
                for (const double other : arguments) value = larger(value, other);
                return value;
            default:
                return arguments.size() == 2 ? apply_operator(operation, value, arguments[1])
                                             : apply_function(operation, value);
        }
    }

    void complain(const char* of, Operation operation, int number,
                  std::span<const double> arguments) {
        if (!text_.empty()) return;
        text_ = join(of, name_of(operation));
        if (operation == Operation::kUser) text_ += join(" ", number);
        const char* separator = operation == Operation::kDivide ? " by " : " and ";
        for (std::size_t k = 0; k < arguments.size(); ++k)
            text_ += join(k == 0 ? " of " : arguments.size() == 2 ? separator : ", ", arguments[k]);
    }

    const Statement& statement_;
    UserFunctions* user_;
    std::vector<double> x_;     // of all columns
    std::vector<double> sums_;  // of objective and rows
    std::vector<double> stack_;
    std::string text_;
    bool derivatives_ = false;
};

}  // namespace

std::string find_complaint(const Statement& statement, std::span<const double> moving_values,
                           UserFunctions* user) {
    return Walk(statement, moving_values, user).run();
}

}  // namespace qlx::nlp
