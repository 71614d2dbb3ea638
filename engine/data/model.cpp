// Building and changing the model store.
#include "engine/data/model.hpp"

#include <algorithm>
#include <cmath>

#include "engine/base/index.hpp"
#include "engine/data/growth.hpp"

namespace qlx {

namespace {

template <class T>
void append(std::vector<T>& array, const T* values, int count) {
    make_room(array, at(count));
    array.insert(array.end(), values, values + count);
}

template <class T>
void grow_to(std::vector<T>& array, std::size_t count, T value) {
    make_room(array, count - array.size());
    array.resize(count, value);
}

// Keeps the items that have a new index.
template <class T>
void compress(std::vector<T>& array, const std::vector<int>& new_index) {
    std::size_t kept = 0;
    for (std::size_t k = 0; k < array.size(); ++k) {
        if (new_index[k] < 0) continue;
        if (kept != k) array[kept] = std::move(array[k]);  // a move to itself would empty a set
        ++kept;
    }
    array.resize(kept);
}

void renumber(std::vector<int>& list, const std::vector<int>& new_index) {
    std::size_t kept = 0;
    for (const int index : list)
        if (new_index[at(index)] >= 0) list[kept++] = new_index[at(index)];
    list.resize(kept);
}

}  // namespace

Model::Model() : row_names_("R"), col_names_("C"), set_names_("sos") {}

double Model::limit(int col) const {
    const auto found = constructs_.limits.find(col);
    return found == constructs_.limits.end() ? 0.0 : found->second;
}

Sides Model::sides(int row) const noexcept {
    const double rhs = rhs_[at(row)];
    switch (row_type_[at(row)]) {
        case 'L':
            return {-kInfinity, rhs};
        case 'G':
            return {rhs, kInfinity};
        case 'E':
            return {rhs, rhs};
        case 'R':
            return {rhs - std::fabs(range(row)), rhs};
        default:
            return {-kInfinity, kInfinity};
    }
}

Sides Model::relaxed_sides(int row) const {
    if (!indicators().empty() && indicators().count(row) != 0) return {-kInfinity, kInfinity};
    return sides(row);
}

Sides Model::relaxed_bounds(int col) const noexcept {
    const char type = col_type_[at(col)];
    const Sides bounds{lb_[at(col)], ub_[at(col)]};
    if (type != 'S' && type != 'R') return bounds;
    return {std::min(bounds.lower, 0.0), std::max(bounds.upper, 0.0)};
}

void Model::append_columns(const ColumnBlock& block) {
    append(lb_, block.lb, block.count);
    append(ub_, block.ub, block.count);
    if (block.obj != nullptr)
        append(obj_, block.obj, block.count);
    else
        grow_to(obj_, lb_.size(), 0.0);
    grow_to(col_type_, lb_.size(), 'C');
}

void Model::append_row_data(const RowBlock& block) {
    if (block.range != nullptr &&
        std::find(block.type, block.type + block.count, 'R') != block.type + block.count) {
        range_.resize(rhs_.size(), 0.0);
        for (int row = 0; row < block.count; ++row)
            range_.push_back(block.type[row] == 'R' ? std::fabs(block.range[row]) : 0.0);
    }
    append(row_type_, block.type, block.count);
    append(rhs_, block.rhs, block.count);
}

void Model::append_rows(const RowBlock& block, const std::int64_t* start, const int* columns,
                        const double* values) {
    append_row_data(block);
    if (start == nullptr)
        matrix_.append_empty_rows(block.count);
    else
        matrix_.append_rows(block.count, start, columns, values);
}

void Model::clear() {
    Model fresh;
    fresh.changes_.replace();
    *this = std::move(fresh);
}

void Model::copy_from(Model& source) {
    *this = source;
    changes_.stop_listening();
}

void Model::set_coefficient(int row, int col, double value) {
    matrix_.set(row, col, value);
    changes_.coefficient(row, col);
}

void Model::set_new_coefficient(int row, int col, double value) {
    matrix_.set_new(row, col, value);
    changes_.coefficient(row, col);
}

void Model::set_cost(int col, double value) {
    obj_[at(col)] = value;
    changes_.cost(col);
}

void Model::set_constant(double value) {
    constant_ = value;
    changes_.objective();
}

void Model::set_sense(int sense) {
    sense_ = sense;
    changes_.objective();
}

void Model::set_lb(int col, double value) {
    lb_[at(col)] = value;
    changes_.bounds(col);
}

void Model::set_ub(int col, double value) {
    ub_[at(col)] = value;
    changes_.bounds(col);
}

void Model::set_col_type(int col, char type) {
    char& current = col_type_[at(col)];
    num_entities_ += static_cast<int>(type != 'C') - static_cast<int>(current != 'C');
    current = type;
    if (type == 'S' || type == 'R' || type == 'P')
        constructs_.limits[col] = lb_[at(col)] > -kInfinity ? lb_[at(col)] : 0.0;
    else if (!constructs_.limits.empty())
        constructs_.limits.erase(col);
    if (type == 'B') {
        set_lb(col, std::max(lb_[at(col)], 0.0));
        set_ub(col, std::min(ub_[at(col)], 1.0));
    }
    changes_.bounds(col);
    changes_.integrality();
}

void Model::set_indicator(int row, Indicator indicator) {
    constructs_.indicators[row] = indicator;
    changes_.sides(row);
}

void Model::remove_indicator(int row) {
    constructs_.indicators.erase(row);
    changes_.sides(row);
}

void Model::set_rhs(int row, double value) {
    rhs_[at(row)] = value;
    changes_.sides(row);
}

void Model::set_row_type(int row, char type, double range) {
    row_type_[at(row)] = type;
    if (type == 'R' && range_.size() <= at(row)) range_.resize(at(row) + 1, 0.0);
    if (at(row) < range_.size()) range_[at(row)] = type == 'R' ? std::fabs(range) : 0.0;
    changes_.sides(row);
}

void Model::add_quadratic_row(int row, std::int64_t count, const int* col1, const int* col2,
                              const double* values) {
    QuadraticForm& form = quadratic_rows_[row];
    form.add(count, col1, col2, values);
    if (form.empty()) quadratic_rows_.erase(row);
}

void Model::set_quadratic_row(int row, std::int64_t count, const int* col1, const int* col2,
                              const double* values) {
    QuadraticForm& form = quadratic_rows_[row];
    form.set(count, col1, col2, values);
    if (form.empty()) quadratic_rows_.erase(row);
}

void Model::set_quadratic_objective(std::int64_t count, const int* col1, const int* col2,
                                    const double* values) {
    quadratic_.set(count, col1, col2, values);
}

void Model::clear_quadratic(int row) {
    if (row < 0)
        quadratic_.clear();
    else
        quadratic_rows_.erase(row);
}

void Model::delete_rows(const std::vector<int>& new_index) {
    compress(row_type_, new_index);
    compress(rhs_, new_index);
    compress(range_, new_index);
    matrix_.delete_rows(new_index);
    renumber_keys(quadratic_rows_, new_index);
    constructs_.delete_rows(new_index);
    nonlinear_.delete_rows(new_index);
    renumber(delayed_rows_, new_index);
    renumber(model_cuts_, new_index);
    row_names_.delete_items(new_index);
    changes_.delete_rows(new_index);
}

void Model::delete_columns(const std::vector<int>& new_index) {
    for (std::size_t col = 0; col < new_index.size(); ++col)
        if (new_index[col] < 0 && col_type_[col] != 'C') --num_entities_;
    compress(obj_, new_index);
    compress(lb_, new_index);
    compress(ub_, new_index);
    compress(col_type_, new_index);
    constructs_.delete_columns(new_index);
    matrix_.delete_columns(new_index);
    quadratic_.delete_columns(new_index);
    for (auto form = quadratic_rows_.begin(); form != quadratic_rows_.end();) {
        form->second.delete_columns(new_index);
        form = form->second.empty() ? quadratic_rows_.erase(form) : std::next(form);
    }
    nonlinear_.delete_columns(new_index);
    col_names_.delete_items(new_index);
    changes_.delete_columns(new_index);
}

void Model::delete_sets(const std::vector<int>& new_index) {
    compress(constructs_.sets, new_index);
    set_names_.delete_items(new_index);
}

}  // namespace qlx
