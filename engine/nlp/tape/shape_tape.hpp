// The expressions of one shape with their arrays: runs the shape's programs, block by block.
#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "engine/nlp/tape/kernels.hpp"
#include "engine/nlp/tape/shape_code.hpp"

namespace qlx::nlp {

class ShapeTape {
  public:
    // The columns' values are read from x, which stays where it is. Values that are parts of other
    // expressions are there too: that of expression e at x[place_of_part[e]].
    ShapeTape(const ShapeGroup& group, double* x, const std::vector<int>& place_of_part,
              UserCalls& user);
    ShapeTape(ShapeTape&&) noexcept = default;
    ShapeTape& operator=(ShapeTape&&) = delete;

    [[nodiscard]] std::size_t count() const noexcept { return count_; }
    [[nodiscard]] const ShapeCode& code() const noexcept { return code_; }
    // Of each expression, read by the program of second derivatives.
    [[nodiscard]] std::vector<double>& weights() noexcept { return weights_; }

    // Calls use(first, n, outputs) for every block: expressions first .. first + n - 1, and the
    // arrays of the program's outputs, which begin with the block.
    template <class Use>
    void run(const ShapeProgram& program, Use&& use);

  private:
    void choose_block();
    void place_arrays(const ShapeGroup& group, const std::vector<int>& place_of_part);
    void place_slot(const std::vector<int>& columns, int slot, std::size_t place);
    void enter_block(const ShapeProgram& program, std::size_t first, std::size_t n) noexcept;

    // A slot whose columns do not follow each other is read into an array.
    struct Gather {
        std::vector<int> columns;  // empty: they do
        double* to = nullptr;
    };
    // An array of all expressions, of which the place has the current block's part.
    struct Advancing {
        std::size_t place;
        double* start;
    };

    std::size_t count_;
    std::size_t block_;
    double* x_;
    UserCalls* user_;
    ShapeCode code_;
    std::vector<double> scratch_;  // registers, literals and gathered slots of one block
    std::vector<double> saved_;
    std::vector<double> weights_;
    std::vector<Gather> gathers_;  // by slot
    std::vector<Advancing> advancing_;
    std::vector<double*> places_;
    std::vector<const double*> outputs_;
};

template <class Use>
void ShapeTape::run(const ShapeProgram& program, Use&& use) {
    for (std::size_t first = 0; first < count_; first += block_) {
        const std::size_t n = std::min(block_, count_ - first);
        enter_block(program, first, n);
        nlp::run(program.codes, code_.arguments.data(), places_.data(), static_cast<int>(n),
                 *user_);
        for (std::size_t k = 0; k < program.outputs.size(); ++k)
            outputs_[k] = places_[at(program.outputs[k])];
        use(first, n, outputs_.data());
    }
}

}  // namespace qlx::nlp
