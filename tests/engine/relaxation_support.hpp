// What the tests of frozen models and relaxations share.
#pragma once

#include <memory>
#include <vector>

#include "engine/data/frozen_model.hpp"
#include "engine/lp/lp_kernel.hpp"
#include "engine/tree/presolve/fixed_columns.hpp"

namespace qlx::test {

struct NoEvents : KernelEvents {
    bool stop() noexcept override { return stops; }
    void progress(const KernelProgress&) noexcept override {}
    void solution(const double*, int) noexcept override {}
    bool stops = false;
};

inline void add_column(Model& model, double cost, double lower, double upper, char type = 'C') {
    model.append_columns({1, &cost, &lower, &upper});
    if (type != 'C') model.set_col_type(model.num_cols() - 1, type);
}

inline void add_row(Model& model, char type, double rhs, const std::vector<int>& columns,
                    const std::vector<double>& values, double range = 0) {
    const std::int64_t start[] = {0, static_cast<std::int64_t>(columns.size())};
    model.append_rows({1, &type, &rhs, &range}, start, columns.data(), values.data());
}

inline std::shared_ptr<const FrozenModel> frozen(Model& model, bool presolve = true) {
    auto stated = std::make_shared<const ModelSnapshot>(model);
    if (!presolve) return std::make_shared<const FrozenModel>(stated);
    return std::make_shared<const FrozenModel>(stated, remove_fixed_columns(*stated));
}

}  // namespace qlx::test
