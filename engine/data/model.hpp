// The model store: everything that a problem states, append-friendly, independent of any solver.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "engine/base/infinity.hpp"
#include "engine/data/change_log.hpp"
#include "engine/data/names.hpp"
#include "engine/data/nonlinear_part.hpp"
#include "engine/data/quadratic_form.hpp"
#include "engine/data/row_matrix.hpp"
#include "engine/data/sets.hpp"

namespace qlx {

// Activity limits of a row.
struct Sides {
    double lower;
    double upper;
};

// Data of columns to append; obj null means zeros.
struct ColumnBlock {
    int count;
    const double* obj;
    const double* lb;
    const double* ub;
};

// Data of rows to append; range null means zeros.
struct RowBlock {
    int count;
    const char* type;
    const double* rhs;
    const double* range;
};

// Arguments are checked by the callers; nothing here throws but bad_alloc.
class Model {
  public:
    Model();

    [[nodiscard]] int num_cols() const noexcept { return static_cast<int>(lb_.size()); }
    [[nodiscard]] int num_rows() const noexcept { return static_cast<int>(rhs_.size()); }
    [[nodiscard]] int num_sets() const noexcept { return static_cast<int>(sets().size()); }

    [[nodiscard]] const std::vector<double>& lb() const noexcept { return lb_; }
    [[nodiscard]] const std::vector<double>& ub() const noexcept { return ub_; }
    [[nodiscard]] const std::vector<double>& obj() const noexcept { return obj_; }
    [[nodiscard]] const std::vector<char>& col_type() const noexcept { return col_type_; }
    [[nodiscard]] const std::vector<char>& row_type() const noexcept { return row_type_; }
    [[nodiscard]] const std::vector<double>& rhs() const noexcept { return rhs_; }
    [[nodiscard]] double range(int row) const noexcept {
        const auto at = static_cast<std::size_t>(row);
        return at < range_.size() ? range_[at] : 0.0;
    }
    // Limit of an 'S', 'R' or 'P' column.
    [[nodiscard]] double limit(int col) const;
    [[nodiscard]] Sides sides(int row) const noexcept;
    // Sides and bounds that hold whatever the types and indicators: an indicator row is free, a
    // semi-continuous column may be 0.
    [[nodiscard]] Sides relaxed_sides(int row) const;
    [[nodiscard]] Sides relaxed_bounds(int col) const noexcept;
    [[nodiscard]] double constant() const noexcept { return constant_; }
    [[nodiscard]] int sense() const noexcept { return sense_; }
    [[nodiscard]] int num_entities() const noexcept { return num_entities_; }
    [[nodiscard]] RowMatrix& matrix() noexcept { return matrix_; }
    [[nodiscard]] const QuadraticForm& quadratic_objective() const noexcept { return quadratic_; }
    // By row; only rows with quadratic terms.
    [[nodiscard]] const std::map<int, QuadraticForm>& quadratic_rows() const noexcept {
        return quadratic_rows_;
    }
    [[nodiscard]] const ConstructData& constructs() const noexcept { return constructs_; }
    [[nodiscard]] const std::vector<SpecialOrderedSet>& sets() const noexcept {
        return constructs_.sets;
    }
    [[nodiscard]] const Indicators& indicators() const noexcept { return constructs_.indicators; }
    [[nodiscard]] NonlinearPart& nonlinear() noexcept { return nonlinear_; }
    [[nodiscard]] const NonlinearPart& nonlinear() const noexcept { return nonlinear_; }
    [[nodiscard]] Names& row_names() noexcept { return row_names_; }
    [[nodiscard]] Names& col_names() noexcept { return col_names_; }
    [[nodiscard]] Names& set_names() noexcept { return set_names_; }
    [[nodiscard]] const Names& row_names() const noexcept { return row_names_; }
    [[nodiscard]] const Names& col_names() const noexcept { return col_names_; }
    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    [[nodiscard]] ChangeLog& changes() noexcept { return changes_; }
    [[nodiscard]] const std::vector<int>& delayed_rows() const noexcept { return delayed_rows_; }
    [[nodiscard]] const std::vector<int>& model_cuts() const noexcept { return model_cuts_; }

    void set_name(std::string name) { name_ = std::move(name); }
    void append_columns(const ColumnBlock& block);
    void append_rows(const RowBlock& block, const std::int64_t* start, const int* columns,
                     const double* values);
    // Replaces columns, rows and matrix; the rest is emptied.
    template <class Start>
    void load(const ColumnBlock& columns, const RowBlock& rows, const Start* start,
              const int* count, const int* row_index, const double* values);
    void clear();
    void copy_from(Model& source);

    void set_coefficient(int row, int col, double value);
    // The same for an entry that is known not to be there.
    void set_new_coefficient(int row, int col, double value);
    void set_cost(int col, double value);
    void set_constant(double value);
    void set_sense(int sense);
    void set_lb(int col, double value);
    void set_ub(int col, double value);
    void set_col_type(int col, char type);
    void set_limit(int col, double value) { constructs_.limits[col] = value; }
    void set_rhs(int row, double value);
    // Sets type and range, and with them the sides.
    void set_row_type(int row, char type, double range);
    void add_set(SpecialOrderedSet set) { constructs_.sets.push_back(std::move(set)); }
    void set_indicator(int row, Indicator indicator);
    void remove_indicator(int row);
    void add_quadratic_row(int row, std::int64_t count, const int* col1, const int* col2,
                           const double* values);
    void set_quadratic_row(int row, std::int64_t count, const int* col1, const int* col2,
                           const double* values);
    void set_quadratic_objective(std::int64_t count, const int* col1, const int* col2,
                                 const double* values);
    void clear_quadratic(int row);  // -1: the objective
    void set_delayed_rows(std::vector<int> rows) { delayed_rows_ = std::move(rows); }
    void set_model_cuts(std::vector<int> rows) { model_cuts_ = std::move(rows); }

    // new_index[i] is item i's new number, -1 when it goes.
    void delete_rows(const std::vector<int>& new_index);
    void delete_columns(const std::vector<int>& new_index);
    void delete_sets(const std::vector<int>& new_index);

  private:
    void append_row_data(const RowBlock& block);

    std::string name_;
    int sense_ = 1;
    double constant_ = 0;
    std::vector<double> obj_;
    std::vector<double> lb_;
    std::vector<double> ub_;
    std::vector<char> col_type_;
    int num_entities_ = 0;
    std::vector<char> row_type_;
    std::vector<double> rhs_;
    std::vector<double> range_;  // may be shorter than rhs_: the rest is 0
    RowMatrix matrix_;
    QuadraticForm quadratic_;
    std::map<int, QuadraticForm> quadratic_rows_;
    ConstructData constructs_;
    std::vector<int> delayed_rows_;
    std::vector<int> model_cuts_;
    NonlinearPart nonlinear_;
    Names row_names_;
    Names col_names_;
    Names set_names_;
    ChangeLog changes_;
};

template <class Start>
void Model::load(const ColumnBlock& columns, const RowBlock& rows, const Start* start,
                 const int* count, const int* row_index, const double* values) {
    clear();
    append_columns(columns);
    append_row_data(rows);
    matrix_.assign_columns(rows.count, columns.count, start, count, row_index, values);
}

}  // namespace qlx
