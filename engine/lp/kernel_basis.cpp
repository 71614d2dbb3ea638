// Bases of a kernel and what their factors say.
#include <algorithm>

#include "engine/lp/kernel_state.hpp"

namespace qlx {

namespace {

static_assert(static_cast<int>(BasisStatus::kLower) == static_cast<int>(HighsBasisStatus::kLower) &&
              static_cast<int>(BasisStatus::kBasic) == static_cast<int>(HighsBasisStatus::kBasic) &&
              static_cast<int>(BasisStatus::kUpper) == static_cast<int>(HighsBasisStatus::kUpper) &&
              static_cast<int>(BasisStatus::kFree) == static_cast<int>(HighsBasisStatus::kZero));

BasisStatus status_of(HighsBasisStatus status) {
    return status == HighsBasisStatus::kNonbasic ? BasisStatus::kLower
                                                 : static_cast<BasisStatus>(status);
}

HighsBasisStatus highs_status_of(BasisStatus status) {
    return static_cast<HighsBasisStatus>(status);
}

template <class From, class To>
void translate(const std::vector<From>& from, std::vector<To>& to, To (*one)(From)) {
    to.resize(from.size());
    std::transform(from.begin(), from.end(), to.begin(), one);
}

}  // namespace

KernelBasis LpKernel::basis() const {
    const Highs& highs = live_->highs();
    const HighsBasis& held = highs.getBasis();
    const bool was_tree = highs.getLp().isMip() && !live_->applied.relax;
    if (!held.valid || was_tree) return {};
    KernelBasis out;
    translate(held.col_status, out.columns, &status_of);
    translate(held.row_status, out.rows, &status_of);
    return out;
}

bool LpKernel::set_basis(const KernelBasis& basis, bool fits) {
    HighsBasis wanted;
    wanted.valid = true;
    wanted.alien = !fits;
    translate(basis.columns, wanted.col_status, &highs_status_of);
    translate(basis.rows, wanted.row_status, &highs_status_of);
    return accepted(live_->highs().setBasis(wanted));
}

bool LpKernel::basic_variables(std::vector<int>& basic) {
    Highs& highs = live_->highs();
    basic.resize(static_cast<std::size_t>(highs.getNumRow()));
    return highs.hasInvert() && accepted(highs.getBasicVariables(basic.data()));
}

bool LpKernel::inverse_row(int position, std::vector<double>& weights) {
    Highs& highs = live_->highs();
    weights.resize(static_cast<std::size_t>(highs.getNumRow()));
    return highs.hasInvert() && accepted(highs.getBasisInverseRow(position, weights.data()));
}

bool LpKernel::solve_transposed(const std::vector<double>& rhs, std::vector<double>& y) {
    Highs& highs = live_->highs();
    y.resize(rhs.size());
    return highs.hasInvert() && accepted(highs.getBasisTransposeSolve(rhs.data(), y.data()));
}

void LpKernel::forget_basis() {
    live_->highs().clearSolver();
}

}  // namespace qlx
