// Expressions of shapes that hardly another one has, evaluated one after the other.
#pragma once

#include <span>
#include <vector>

#include "engine/nlp/tape/expression_set.hpp"
#include "engine/nlp/tape/kernels.hpp"
#include "engine/nlp/tape/split_statement.hpp"

namespace qlx::nlp {

// The programs of all of them follow each other in memory and share their registers.
class SingleExpressions final : public ExpressionSet {
  public:
    // Of groups with the same users and level; arguments as in ShapeTape and UsedShape.
    SingleExpressions(std::span<const ShapeGroup* const> groups,
                      const std::vector<std::span<const ExpressionUse>>& uses, double* x,
                      const std::vector<int>& place_of_part, UserCalls& user);

    void add_entries(EntryIndex& jacobian, EntryIndex& hessian) const override;
    void find_positions(const EntryIndex& jacobian, const EntryIndex& hessian) override;

  protected:
    void run_values(double& objective, double* rows) override;
    void run_first(double* gradient, double* jacobian) override;
    void run_second(double objective_factor, const double* multipliers, bool only_weighted,
                    double* hessian) override;

  private:
    struct Use {
        int place;
        int to;  // row, column or position
        double factor;
    };
    // Of one expression: where its parts of the lists end.
    struct Step {
        std::size_t code;
        std::size_t objective_use;
        std::size_t row_use;
    };
    struct Stream {
        std::vector<Code> codes;
        std::vector<Step> steps;
        std::vector<Use> objective_uses;
        std::vector<Use> row_uses;
    };
    struct Entry {
        int row;
        int column;
    };

    void append(const ShapeGroup& group, std::span<const ExpressionUse> uses, double* x,
                const std::vector<int>& place_of_part);
    void append_places(const ShapeCode& code, const ShapeGroup& group, double* x,
                       const std::vector<int>& place_of_part);
    void append_codes(const ShapeProgram& program, int first_place, int first_argument,
                      Stream& stream);
    void point_to_numbers();
    void run_codes(const Stream& stream, std::size_t begin, std::size_t end);
    [[nodiscard]] double weight(std::size_t step, double objective_factor,
                                const double* multipliers) const;

    // A place within arrays that still grow.
    struct Offset {
        PlaceKind kind;
        std::size_t offset;
    };

    UserCalls* user_;
    Stream values_;
    Stream first_;   // objective: gradient; rows: Jacobian
    Stream second_;  // rows: Hessian
    std::vector<int> arguments_;
    std::vector<double*> places_;
    std::vector<double> registers_;
    std::vector<double> numbers_;  // literals, constants and what is saved
    std::vector<double> weights_;
    std::vector<Offset> offsets_;  // by place, while it is built; as the following are
    std::vector<Entry> jacobian_entries_;
    std::vector<Entry> hessian_entries_;
};

}  // namespace qlx::nlp
