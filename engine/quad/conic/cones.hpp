// Arithmetic in a product of zero, nonnegative and second-order cones.
#pragma once

#include <span>
#include <vector>

#include "engine/quad/conic/program.hpp"

namespace qlx::quad::conic {

struct Block {
    ConeKind kind;
    int first;  // row
    int size;
};

// Neighbouring cones of one kind are one block, but for second-order cones; one of a single row is
// a nonnegative one. Vectors have an entry for each row.
class ConeProduct {
  public:
    explicit ConeProduct(std::span<const Cone> cones);

    std::span<const Block> blocks() const noexcept { return blocks_; }
    int rows() const noexcept { return rows_; }
    // Of the barrier: 1 for each nonnegative row and each second-order cone.
    int degree() const noexcept { return degree_; }

    // v += factor * e, e the cones' unit element.
    void add_unit(double factor, std::span<double> v) const noexcept;
    // Moves v well inside the cones along e; on zero cones it becomes 0 where `dual` is not set.
    void move_inside(std::span<double> v, bool dual) const noexcept;
    // The largest step of at most `limit` for which v + step * direction stays inside the cones.
    // v is inside; zero cones do not count.
    double longest_step(std::span<const double> v, std::span<const double> direction,
                        double limit) const noexcept;
    // Jordan product of two vectors, 0 on zero cones; out may be one of them.
    void product(std::span<const double> u, std::span<const double> v,
                 std::span<double> out) const noexcept;
    // The v whose Jordan product with u is d; out may be d.
    void divide(std::span<const double> u, std::span<const double> d,
                std::span<double> out) const noexcept;
    // How far v is outside of the cones, their dual ones where `dual` is set.
    double violation(std::span<const double> v, bool dual) const noexcept;

  private:
    std::vector<Block> blocks_;
    int rows_ = 0;
    int degree_ = 0;
};

// Of v without its first entry.
double tail_norm(std::span<const double> v) noexcept;
// v_0^2 - |tail|^2 without cancellation of squares; not positive where v is outside of the cone.
double determinant(std::span<const double> v) noexcept;

}  // namespace qlx::quad::conic
