// Node LPs: handing changes over, starts, answers.
#include "engine/tree/linear_relaxation.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/base/errors.hpp"
#include "engine/check/safe_bound.hpp"

namespace qlx {

// A basis by the model's rows and by cut.
struct LinearRelaxation::LinearStart final : WarmStart {
    KernelBasis basis;  // rows: the model's
    std::vector<CutId> cuts;
    std::vector<BasisStatus> cut_status;
};

namespace {

void require(bool accepted, const char* what) {
    if (!accepted) fail(QLX_ERROR_SOLVER, "the solver refused ", what);
}

std::vector<int> as_int(std::span<const std::int64_t> starts) {
    if (starts.back() > std::numeric_limits<int>::max())
        fail(QLX_ERROR_UNSUPPORTED, "the matrix has ", starts.back(),
             " entries, the solver takes at most ", std::numeric_limits<int>::max());
    return {starts.begin(), starts.end()};
}

template <class T>
void keep_flagged(std::vector<T>& items, const std::vector<char>& kept) {
    std::size_t count = 0;
    for (std::size_t k = 0; k < items.size(); ++k)
        if (kept[k] != 0) items[count++] = items[k];
    items.resize(count);
}

std::size_t count_basic(const std::vector<BasisStatus>& statuses) {
    return at(std::count(statuses.begin(), statuses.end(), BasisStatus::kBasic));
}

CutRows flagged(const CutRows& rows, const std::vector<char>& kept) {
    CutRows out;
    for (std::size_t k = 0; k < kept.size(); ++k) {
        const auto first = at(rows.starts[k]);
        const auto length = at(rows.starts[k + 1]) - first;
        if (kept[k] != 0)
            out.add(rows.lower[k], rows.upper[k], std::span(rows.columns).subspan(first, length),
                    std::span(rows.values).subspan(first, length));
    }
    return out;
}

}  // namespace

LinearRelaxation::LinearRelaxation(std::shared_ptr<const FrozenModel> model,
                                   const KernelOptions& options, KernelEvents& events)
    : model_(std::move(model)), options_(options), events_(events) {
    options_.method = KernelMethod::kDualSimplex;
    options_.presolve = false;
    options_.threads = 1;
    state_rows_and_costs();
    implied_lower_ = safe_lower_ = lower_;
    implied_upper_ = safe_upper_ = upper_;
    imply_bounds(view(), implied_lower_, implied_upper_);
    safe_lower_ = implied_lower_;
    safe_upper_ = implied_upper_;
    load();
}

void LinearRelaxation::state_rows_and_costs() {
    for (int col = 0; col < model().num_cols(); ++col) {
        const Sides bounds = model().relaxed_bounds(col);
        lower_.push_back(bounds.lower);
        upper_.push_back(bounds.upper);
        cost_.push_back(model().sense * model().cost[at(col)]);
        if (bounds.lower > bounds.upper) crossed_.push_back(col);
    }
    for (int row = 0; row < model().num_rows(); ++row) {
        const Sides sides = model().relaxed_sides(row);
        const bool is_linear = model().quadratic_rows.count(row) == 0;
        row_lower_.push_back(is_linear ? sides.lower : -kInfinity);
        row_upper_.push_back(is_linear ? sides.upper : kInfinity);
    }
}

LinearView LinearRelaxation::view() {
    const CompressedLines& rows = model().rows;
    blocks_ = {{{row_lower_, row_upper_, rows.starts, rows.indices, rows.values},
                {cuts_.lower, cuts_.upper, cuts_.starts, cuts_.columns, cuts_.values}}};
    return {cost_, safe_lower_, safe_upper_, model().sense * model().constant, blocks_};
}

void LinearRelaxation::load() {
    KernelModel out;
    out.num_cols = model().num_cols();
    out.num_rows = model().num_rows();
    out.cost = cost_;
    out.lower = lower_;
    out.upper = upper_;
    for (const int col : crossed_) out.upper[at(col)] = out.lower[at(col)];
    out.row_lower = row_lower_;
    out.row_upper = row_upper_;
    out.start = as_int(model().columns.starts);
    out.row = model().columns.indices;
    out.value = model().columns.values;
    out.constant = model().sense * model().constant;
    require(kernel_.load(std::move(out), options_.matrix_tolerance), "the model");
    loaded_ = true;
    hand_over_cuts(0);
}

void LinearRelaxation::hand_over_cuts(int first) {
    const auto count = static_cast<int>(cuts_.lower.size()) - first;
    if (count == 0) return;
    std::vector<int> starts = as_int(cuts_.starts);
    starts.erase(starts.begin(), starts.begin() + first);
    const int offset = starts.front();
    for (int& start : starts) start -= offset;
    require(kernel_.add_rows(count, cuts_.lower.data() + first, cuts_.upper.data() + first,
                             starts.data(), cuts_.columns.data() + offset,
                             cuts_.values.data() + offset),
            "new rows");
}

void LinearRelaxation::set_bounds(std::span<const BoundChange> changes) {
    std::vector<int> columns;
    for (const auto& [col, lower, upper] : changes) {
        if (lower_[at(col)] == lower && upper_[at(col)] == upper) continue;
        lower_[at(col)] = lower;
        upper_[at(col)] = upper;
        safe_lower_[at(col)] = lower > -kInfinity ? lower : implied_lower_[at(col)];
        safe_upper_[at(col)] = upper < kInfinity ? upper : implied_upper_[at(col)];
        columns.push_back(col);
    }
    std::sort(columns.begin(), columns.end());
    columns.erase(std::unique(columns.begin(), columns.end()), columns.end());
    const auto crosses = [&](int col) { return lower_[at(col)] > upper_[at(col)]; };
    std::erase_if(crossed_, [&](int col) {
        return !crosses(col) || std::binary_search(columns.begin(), columns.end(), col);
    });
    std::copy_if(columns.begin(), columns.end(), std::back_inserter(crossed_), crosses);
    std::erase_if(columns, crosses);
    if (columns.empty() || !loaded_) return;
    std::vector<double> lower;
    std::vector<double> upper;
    for (const int col : columns) {
        lower.push_back(lower_[at(col)]);
        upper.push_back(upper_[at(col)]);
    }
    require(kernel_.change_bounds(static_cast<int>(columns.size()), columns.data(), lower.data(),
                                  upper.data()),
            "changed bounds");
}

CutId LinearRelaxation::add_cuts(const CutRows& cuts) {
    const CutId first = next_id_;
    const auto before = static_cast<int>(cuts_.lower.size());
    for (std::size_t k = 0; k < cuts.lower.size(); ++k) {
        const auto start = at(cuts.starts[k]);
        const auto length = at(cuts.starts[k + 1]) - start;
        cuts_.add(cuts.lower[k], cuts.upper[k], std::span(cuts.columns).subspan(start, length),
                  std::span(cuts.values).subspan(start, length));
        cut_ids_.push_back(next_id_++);
    }
    if (loaded_) hand_over_cuts(before);
    has_factor_ = false;
    return first;
}

void LinearRelaxation::delete_cuts(std::span<const CutId> ids) {
    static_cast<void>(
        warm_start());  // the kernel forgets its basis when a row goes that is not basic
    std::vector<char> kept(cut_ids_.size(), 1);
    std::vector<int> rows;
    for (std::size_t k = 0; k < cut_ids_.size(); ++k) {
        if (std::find(ids.begin(), ids.end(), cut_ids_[k]) == ids.end()) continue;
        kept[k] = 0;
        rows.push_back(model().num_rows() + static_cast<int>(k));
    }
    cuts_ = flagged(cuts_, kept);
    keep_flagged(cut_ids_, kept);
    if (loaded_ && !rows.empty())
        require(kernel_.delete_rows(static_cast<int>(rows.size()), rows.data()), "to delete rows");
    kernel_is_at_start_ = has_factor_ = false;
}

std::shared_ptr<const WarmStart> LinearRelaxation::warm_start() {
    if (start_ != nullptr || !loaded_) return start_;
    KernelBasis basis = kernel_.basis();
    if (basis.columns.empty()) return nullptr;
    auto start = std::make_shared<LinearStart>();
    start->cuts = cut_ids_;
    start->cut_status.assign(basis.rows.begin() + model().num_rows(), basis.rows.end());
    basis.rows.resize(at(model().num_rows()));
    start->basis = std::move(basis);
    start_ = std::move(start);
    return start_;
}

void LinearRelaxation::restore(std::shared_ptr<const WarmStart> start) {
    start_ = std::dynamic_pointer_cast<const LinearStart>(std::move(start));
    kernel_is_at_start_ = has_factor_ = false;
}

// Cuts that the start does not know are basic.
void LinearRelaxation::apply(const LinearStart& start) {
    KernelBasis basis = start.basis;
    std::size_t known = 0;
    for (const CutId id : cut_ids_) {
        while (known < start.cuts.size() && start.cuts[known] < id) ++known;
        const bool is_known = known < start.cuts.size() && start.cuts[known] == id;
        basis.rows.push_back(is_known ? start.cut_status[known] : BasisStatus::kBasic);
    }
    // Cuts that were not basic are missing, or none: nothing else makes the numbers differ.
    const bool fits = count_basic(basis.columns) + count_basic(basis.rows) == basis.rows.size();
    // A refusal costs iterations only.
    kernel_.set_basis(basis, fits);
}

void LinearRelaxation::be_at_start() {
    if (!loaded_) load();
    if (!kernel_is_at_start_) {
        if (start_ != nullptr)
            apply(*start_);
        else
            kernel_.forget_basis();
    }
    kernel_is_at_start_ = true;
    has_factor_ = false;
}

NodeAnswer LinearRelaxation::solve(const SolveLimits& limits) {
    last_ = {};
    if (!crossed_.empty()) {
        last_.answer.status = NodeStatus::kInfeasible;
        last_.answer.bound = std::numeric_limits<double>::infinity();
        return last_.answer;
    }
    be_at_start();
    last_ = solve_once(limits);
    if (!last_.stands && loaded_) {
        const std::int64_t before = last_.answer.iterations;
        kernel_.forget_basis();
        SolveLimits anew = limits;
        anew.objective_bound = std::numeric_limits<double>::infinity();
        last_ = solve_once(anew);
        last_.answer.iterations += before;
    }
    if (!last_.stands) last_.answer.status = NodeStatus::kUndecided;
    if (loaded_) start_ = nullptr;  // a solve that was left behind is begun again from it
    kernel_is_at_start_ = has_factor_ = loaded_;
    basic_.clear();
    return last_.answer;
}

NodeAnswer LinearRelaxation::look_ahead(const BoundChange& change, const SolveLimits& limits) {
    const BoundChange before{change.column, lower_[at(change.column)], upper_[at(change.column)]};
    static_cast<void>(warm_start());
    set_bounds({&change, 1});
    Outcome outcome;
    if (!crossed_.empty()) {
        outcome.answer.status = NodeStatus::kInfeasible;
        outcome.answer.bound = std::numeric_limits<double>::infinity();
        outcome.stands = true;
    } else {
        be_at_start();
        outcome = solve_once(limits);
        kernel_is_at_start_ = false;
    }
    set_bounds({&before, 1});
    if (!outcome.stands) outcome.answer.status = NodeStatus::kUndecided;
    return outcome.answer;
}

bool LinearRelaxation::tableau_row(int column, TableauRow& row) {
    if (!has_factor_) return false;
    if (basic_.empty() && !kernel_.basic_variables(basic_)) return false;
    const auto place = std::find(basic_.begin(), basic_.end(), column);
    if (place == basic_.end()) return false;
    if (!kernel_.inverse_row(static_cast<int>(place - basic_.begin()), row.weights)) return false;
    row.coefficients.assign(cost_.size(), 0.0);
    std::size_t number = 0;
    const LinearView problem = view();
    for (const RowsView& block : problem.rows)
        for (std::size_t k = 0; k < block.lower.size(); ++k) {
            const double weight = row.weights[number++];
            if (weight == 0) continue;
            for (auto e = at(block.starts[k]); e < at(block.starts[k + 1]); ++e)
                row.coefficients[at(block.columns[e])] += weight * block.values[e];
        }
    return true;
}

}  // namespace qlx
