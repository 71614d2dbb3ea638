// The model store as the linear program of its relaxation, for the proofs.
#pragma once

#include <vector>

#include "engine/check/matrix_view.hpp"
#include "engine/data/model.hpp"

namespace qlx {

// To minimise, whatever the model's sense. Matrix entries of at most `matrix_tolerance` count as 0.
// The view ends with this object and with the next change of the model.
class StoreView {
  public:
    StoreView(Model& model, double matrix_tolerance);
    StoreView(const StoreView&) = delete;
    StoreView& operator=(const StoreView&) = delete;

    [[nodiscard]] const ProgramView& view() const noexcept { return view_; }

  private:
    std::vector<double> cost_, lower_, upper_, row_lower_, row_upper_;
    ProgramView view_;
};

}  // namespace qlx
