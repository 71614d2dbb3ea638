// The model as nonlinear solvers start from it.
#include "engine/base/index.hpp"
#include "engine/data/model.hpp"
#include "engine/nlp/statement/statement.hpp"

namespace qlx::nlp {

namespace {

void state_columns(const Model& model, Statement& statement) {
    const int count = model.num_cols();
    for (int col = 0; col < count; ++col) {
        const Sides bounds = model.relaxed_bounds(col);
        statement.column_lower.push_back(bounds.lower);
        statement.column_upper.push_back(bounds.upper);
        statement.moving.push_back(col);
        statement.start.push_back(model.nonlinear().values.at_point(col));
        if (const double cost = model.obj()[at(col)]; cost != 0)
            statement.linear.push_back({kObjectiveRow, col, model.sense() * cost});
    }
    statement.fixed_value.assign(at(count), 0.0);
}

void state_form(const QuadraticForm& form, int row, double factor, Statement& statement) {
    for (const QuadraticTerm& term : form.terms())
        statement.quadratic.push_back({row, term.first, term.second, factor * term.coefficient});
}

void state_rows(Model& model, Statement& statement) {
    for (int row = 0; row < model.num_rows(); ++row) {
        const Sides sides = model.relaxed_sides(row);
        statement.row_lower.push_back(sides.lower);
        statement.row_upper.push_back(sides.upper);
        statement.model_row.push_back(row);
        const std::span<const int> columns = model.matrix().row_columns(row);
        const std::span<const double> values = model.matrix().row_values(row);
        for (std::size_t k = 0; k < columns.size(); ++k)
            statement.linear.push_back({row, columns[k], values[k]});
    }
    for (const auto& [row, form] : model.quadratic_rows()) state_form(form, row, 1.0, statement);
}

}  // namespace

Statement state_model(Model& model) {
    Statement statement;
    statement.constant = model.sense() * model.constant();
    state_columns(model, statement);
    state_rows(model, statement);
    state_form(model.quadratic_objective(), kObjectiveRow, model.sense(), statement);
    const CoefficientStore& store = model.nonlinear().coefficients;
    for (std::size_t term = 0; term < store.num_terms(); ++term)
        statement.nonlinear.push_back(
            {store.row(term), store.col(term), store.factor(term), store.formula(term)});
    statement.functions = model.nonlinear().functions.get();
    return statement;
}

}  // namespace qlx::nlp
