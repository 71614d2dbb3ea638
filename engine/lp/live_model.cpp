// Handing a model to a kernel, whole or by its changes.
#include "engine/lp/live_model.hpp"

#include <algorithm>
#include <limits>

#include "engine/base/errors.hpp"
#include "engine/base/index.hpp"

namespace qlx {

namespace {

void require(bool accepted, const char* what) {
    if (!accepted) fail(QLX_ERROR_SOLVER, "the solver refused ", what);
}

void sort_and_deduplicate(std::vector<int>& list) {
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
}

// Makes room for 0 in the bounds of semi-continuous columns, which are those from `first` on.
void relax_bounds(const Model& model, int first, std::vector<double>& lower,
                  std::vector<double>& upper) {
    for (std::size_t k = 0; k < lower.size(); ++k) {
        const Sides bounds = model.relaxed_bounds(first + static_cast<int>(k));
        lower[k] = bounds.lower;
        upper[k] = bounds.upper;
    }
}

// Nothing rests at an infinite bound.
BasisStatus possible_status(BasisStatus status, const Sides& sides) {
    const bool has_lower = sides.lower > -kInfinity;
    const bool has_upper = sides.upper < kInfinity;
    if (status == BasisStatus::kBasic || (status == BasisStatus::kUpper && has_upper))
        return status;
    if (has_lower) return BasisStatus::kLower;
    return has_upper ? BasisStatus::kUpper : BasisStatus::kFree;
}

// The terms are sorted by first and second column, which is the lower triangle by columns.
void state_hessian(KernelModel& out, const Model& model) {
    const auto& terms = model.quadratic_objective().terms();
    out.hessian_start.assign(at(out.num_cols) + 1, 0);
    for (const QuadraticTerm& term : terms) {
        ++out.hessian_start[at(term.first) + 1];
        out.hessian_row.push_back(term.second);
        // Half x'Qx takes a square's coefficient twice and a product's once.
        out.hessian_value.push_back(term.first == term.second ? 2 * term.coefficient
                                                              : term.coefficient);
    }
    for (std::size_t col = 0; col < at(out.num_cols); ++col)
        out.hessian_start[col + 1] += out.hessian_start[col];
}

}  // namespace

std::vector<char> integer_flags(const Model& model) {
    std::vector<char> flags(at(model.num_cols()), 0);
    for (std::size_t col = 0; col < flags.size(); ++col) {
        const char type = model.col_type()[col];
        flags[col] = type == 'I' || type == 'B';
    }
    return flags;
}

// Turns compressed rows into compressed columns.
void transpose_into(KernelModel& out, RowMatrix& matrix) {
    const auto& starts = matrix.starts();
    const auto& columns = matrix.columns();
    const auto& values = matrix.values();
    if (starts.back() > std::numeric_limits<int>::max())
        fail(QLX_ERROR_UNSUPPORTED, "the matrix has ", starts.back(),
             " entries, the solver takes at most ", std::numeric_limits<int>::max());
    out.start.assign(at(out.num_cols) + 1, 0);
    for (const int col : columns) ++out.start[at(col) + 1];
    for (std::size_t col = 0; col < at(out.num_cols); ++col) out.start[col + 1] += out.start[col];
    out.row.resize(columns.size());
    out.value.resize(columns.size());
    // start[col] runs through the column and ends at the next one's start.
    for (int row = 0; row < out.num_rows; ++row) {
        for (auto k = at(starts[at(row)]); k < at(starts[at(row) + 1]); ++k) {
            const auto place = at(out.start[at(columns[k])]++);
            out.row[place] = row;
            out.value[place] = values[k];
        }
    }
    for (std::size_t col = at(out.num_cols); col > 0; --col) out.start[col] = out.start[col - 1];
    out.start[0] = 0;
}

KernelModel kernel_columns_and_sides(const Model& model) {
    KernelModel out;
    out.num_cols = model.num_cols();
    out.num_rows = model.num_rows();
    out.cost = model.obj();
    out.lower = model.lb();
    out.upper = model.ub();
    if (model.num_entities() > 0) relax_bounds(model, 0, out.lower, out.upper);
    out.row_lower.resize(at(out.num_rows));
    out.row_upper.resize(at(out.num_rows));
    for (int row = 0; row < out.num_rows; ++row) {
        const Sides sides = model.relaxed_sides(row);
        out.row_lower[at(row)] = sides.lower;
        out.row_upper[at(row)] = sides.upper;
    }
    if (model.num_entities() > 0) out.integer = integer_flags(model);
    out.constant = model.constant();
    out.maximise = model.sense() < 0;
    return out;
}

KernelModel kernel_model(Model& model) {
    KernelModel out = kernel_columns_and_sides(model);
    transpose_into(out, model.matrix());
    return out;
}

void LiveModel::synchronise(Model& model, double matrix_tolerance) {
    ChangeLog& changes = model.changes();
    const auto coefficients = static_cast<std::int64_t>(changes.changed_coefficients().size());
    const bool many = coefficients > 1000 && coefficients > model.matrix().num_entries() / 10;
    if (!kernel_.is_loaded() || changes.needs_rebuild() || has_hessian_ || many ||
        model.num_cols() < num_cols_ || model.num_rows() < num_rows_)
        hand_over(model, matrix_tolerance);
    else
        forward(model);
    num_cols_ = model.num_cols();
    num_rows_ = model.num_rows();
    changes.start_listening();
}

void LiveModel::hand_over_quadratic(Model& model, double matrix_tolerance) {
    KernelModel whole = kernel_model(model);
    state_hessian(whole, model);
    require(kernel_.load(std::move(whole), matrix_tolerance), "the model");
    has_hessian_ = true;
    num_cols_ = model.num_cols();
    num_rows_ = model.num_rows();
    model.changes().start_listening();
}

void LiveModel::hand_over(Model& model, double matrix_tolerance) {
    const KernelBasis basis = surviving_basis(model);
    require(kernel_.load(kernel_model(model), matrix_tolerance), "the model");
    has_hessian_ = false;
    // A refusal costs iterations only.
    if (!basis.columns.empty()) kernel_.set_basis(basis);
}

// New columns rest at a bound, new rows are basic.
KernelBasis LiveModel::surviving_basis(Model& model) const {
    const ChangeLog& changes = model.changes();
    if (changes.replaced() || has_hessian_) return {};
    const KernelBasis known = kernel_.basis();
    if (known.columns.size() != at(num_cols_) || known.rows.size() != at(num_rows_)) return {};
    KernelBasis basis;
    for (int col = 0; col < model.num_cols(); ++col) {
        const int origin = changes.columns().of(col);
        const bool is_new = origin < 0 || origin >= num_cols_;
        basis.columns.push_back(possible_status(
            is_new ? BasisStatus::kLower : known.columns[at(origin)], model.relaxed_bounds(col)));
    }
    for (int row = 0; row < model.num_rows(); ++row) {
        const int origin = changes.rows().of(row);
        const bool is_new = origin < 0 || origin >= num_rows_;
        basis.rows.push_back(possible_status(is_new ? BasisStatus::kBasic : known.rows[at(origin)],
                                             model.relaxed_sides(row)));
    }
    return basis;
}

void LiveModel::forward(Model& model) {
    ChangeLog& changes = model.changes();
    const bool grown = model.num_cols() > num_cols_;
    if (grown) forward_columns(model);
    if (model.num_rows() > num_rows_) forward_rows(model);
    if (!changes.changed_bounds().empty()) forward_bounds(model);
    if (!changes.changed_sides().empty()) forward_sides(model);
    if (!changes.changed_costs().empty()) forward_costs(model);
    if (!changes.changed_coefficients().empty()) forward_coefficients(model);
    if (changes.objective_changed())
        require(kernel_.change_objective(model.sense() < 0, model.constant()), "the objective");
    if (changes.integrality_changed() || (grown && model.num_entities() > 0))
        require(kernel_.change_integrality(integer_flags(model)), "the column types");
}

// New columns with their entries in rows that the kernel has.
void LiveModel::forward_columns(Model& model) {
    const int count = model.num_cols() - num_cols_;
    std::vector<Entry> entries;
    for (const auto& [row, col] : model.changes().changed_coefficients())
        if (col >= num_cols_ && row < num_rows_) entries.push_back({row, col, 0.0});
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        return a.col != b.col ? a.col < b.col : a.row < b.row;
    });
    std::vector<int> start(at(count) + 1, 0);
    std::vector<int> rows;
    std::vector<double> values;
    for (std::size_t k = 0; k < entries.size(); ++k) {
        const Entry& entry = entries[k];
        if (k > 0 && entries[k - 1].col == entry.col && entries[k - 1].row == entry.row) continue;
        const double value = model.matrix().at(entry.row, entry.col);
        if (value == 0) continue;
        rows.push_back(entry.row);
        values.push_back(value);
        ++start[at(entry.col - num_cols_) + 1];
    }
    for (std::size_t k = 1; k < start.size(); ++k) start[k] += start[k - 1];
    const auto first = at(num_cols_);
    std::vector<double> lower(model.lb().begin() + num_cols_, model.lb().end());
    std::vector<double> upper(model.ub().begin() + num_cols_, model.ub().end());
    if (model.num_entities() > 0) relax_bounds(model, num_cols_, lower, upper);
    require(kernel_.add_columns(count, &model.obj()[first], lower.data(), upper.data(),
                                start.data(), rows.data(), values.data()),
            "new columns");
}

void LiveModel::forward_rows(Model& model) {
    const int count = model.num_rows() - num_rows_;
    const auto& starts = model.matrix().starts();
    const std::int64_t first = starts[at(num_rows_)];
    if (starts.back() > std::numeric_limits<int>::max())
        fail(QLX_ERROR_UNSUPPORTED, "the matrix has ", starts.back(),
             " entries, the solver takes at most ", std::numeric_limits<int>::max());
    std::vector<int> start(at(count) + 1);
    std::vector<double> lower(at(count));
    std::vector<double> upper(at(count));
    for (int k = 0; k <= count; ++k)
        start[at(k)] = static_cast<int>(starts[at(num_rows_ + k)] - first);
    for (int k = 0; k < count; ++k) {
        const Sides sides = model.relaxed_sides(num_rows_ + k);
        lower[at(k)] = sides.lower;
        upper[at(k)] = sides.upper;
    }
    require(kernel_.add_rows(count, lower.data(), upper.data(), start.data(),
                             model.matrix().columns().data() + first,
                             model.matrix().values().data() + first),
            "new rows");
}

void LiveModel::forward_bounds(Model& model) {
    std::vector<int>& cols = model.changes().changed_bounds();
    sort_and_deduplicate(cols);
    std::vector<double> lower;
    std::vector<double> upper;
    for (const int col : cols) {
        const Sides bounds = model.relaxed_bounds(col);
        lower.push_back(bounds.lower);
        upper.push_back(bounds.upper);
    }
    require(kernel_.change_bounds(static_cast<int>(cols.size()), cols.data(), lower.data(),
                                  upper.data()),
            "changed bounds");
}

void LiveModel::forward_sides(Model& model) {
    std::vector<int>& rows = model.changes().changed_sides();
    sort_and_deduplicate(rows);
    std::vector<double> lower;
    std::vector<double> upper;
    for (const int row : rows) {
        const Sides sides = model.relaxed_sides(row);
        lower.push_back(sides.lower);
        upper.push_back(sides.upper);
    }
    require(kernel_.change_sides(static_cast<int>(rows.size()), rows.data(), lower.data(),
                                 upper.data()),
            "changed right-hand sides");
}

void LiveModel::forward_costs(Model& model) {
    std::vector<int>& cols = model.changes().changed_costs();
    sort_and_deduplicate(cols);
    std::vector<double> costs;
    for (const int col : cols) costs.push_back(model.obj()[at(col)]);
    require(kernel_.change_costs(static_cast<int>(cols.size()), cols.data(), costs.data()),
            "changed costs");
}

// Changes in rows and columns that the kernel had before; the rest came with those.
void LiveModel::forward_coefficients(Model& model) {
    for (const auto& [row, col] : model.changes().changed_coefficients())
        if (row < num_rows_ && col < num_cols_)
            require(kernel_.change_coefficient(row, col, model.matrix().at(row, col)),
                    "a changed coefficient");
}

}  // namespace qlx
