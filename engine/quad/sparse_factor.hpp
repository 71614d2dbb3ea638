// Sparse factorisation L D L' of a symmetric matrix, with a fill-reducing ordering.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "engine/quad/sparse_columns.hpp"

namespace qlx::quad {

// Position -> column, by approximate minimum degree (Amestoy, Davis, Duff 1996).
std::vector<int> minimum_degree(const SparseColumns& upper);

// Left-looking factorisation over supernodes (Ng and Peyton 1993) without pivoting: for definite
// and quasidefinite matrices (Vanderbei 1995). The ordering is approximate minimum degree.
class SparseFactor {
  public:
    // Orders the matrix with this upper triangle and finds the structure of L.
    // Returns false where L would have more than `fill_limit` entries; then nothing else may be
    // called, and fill() tells how many were counted.
    bool analyze(const SparseColumns& upper, std::int64_t fill_limit);

    // Factors matrix + diag(shift). Where `sign` is empty every pivot must be positive; else pivot
    // j has to have the sign of sign[j], and one below `pivot_floor` in size is replaced by it, or
    // by `substitute` where that is larger. Returns -1, or the column whose pivot is wrong (only
    // where `sign` is empty).
    int factorize(const SparseColumns& upper, std::span<const double> shift,
                  std::span<const signed char> sign = {}, double pivot_floor = 0.0,
                  double substitute = 0.0);

    // Overwrites the right-hand side with the solution.
    void solve(std::span<double> x);

    // After factorize() returned `column`: a vector v with v'(matrix + diag(shift))v = its pivot.
    std::vector<double> pivot_direction(int column) const;

    std::int64_t fill() const noexcept { return fill_; }

    // Multiplications of one factorisation, roughly: the squared column counts of L added up.
    std::int64_t work() const noexcept;

  private:
    struct Supernode {
        int first;           // first column
        int width;           // number of columns
        int row_count;       // rows of the panel; the first `width` are its own columns
        int row_start;       // into rows_
        std::int64_t panel;  // into panel_, column by column
    };

    void set_order(const SparseColumns& upper);
    bool count_columns(const SparseColumns& upper, std::int64_t fill_limit);
    void form_supernodes();
    void find_rows();
    void gather_columns(const Supernode& node, const SparseColumns& upper,
                        std::span<const double> shift);
    void apply_descendant(const Supernode& from, int begin, const Supernode& to);
    int factor_panel(const Supernode& node, std::span<const signed char> sign, double pivot_floor,
                     double substitute);

    int order_ = 0;
    std::int64_t fill_ = 0;
    std::vector<int> position_;     // of a column in the elimination order
    std::vector<int> column_at_;    // the column at a position
    std::vector<int> parent_;       // elimination tree
    std::vector<int> count_;        // entries of each column of L, diagonal included
    std::vector<int> lower_start_;  // the matrix, permuted, its lower triangle by columns
    std::vector<int> lower_row_;
    std::vector<int> lower_source_;  // the entry's place in the matrix given
    std::vector<Supernode> nodes_;
    std::vector<int> node_of_;  // supernode of a position
    std::vector<int> rows_;
    std::vector<double> panel_;
    std::vector<double> pivot_;
    std::vector<int> local_row_;  // scratch: a row's place in the current panel
    std::vector<double> update_;  // scratch: one descendant's contribution
    std::vector<double> scaled_;
    std::vector<double> weights_;
    std::vector<double> permuted_;
    // Panels waiting to be applied to each panel, and the row of theirs at which to begin.
    std::vector<int> waiting_;
    std::vector<int> next_;
    std::vector<int> begin_;
};

}  // namespace qlx::quad
