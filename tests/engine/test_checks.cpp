// Checks of a model's data as a reader of files uses them: whatever the caller's mode of checking.
#include <functional>

#include "engine/data/checks.hpp"
#include "engine/data/model_checks.hpp"
#include "engine/data/nonlinear_checks.hpp"
#include "tests/engine/support.hpp"

namespace {

using namespace qlx;

// Two columns with a row of each type 'L' and 'N'; column 1 is semi-continuous.
Model small_model() {
    Model model;
    const double lb[] = {2, 0};
    const double ub[] = {5, 9};
    model.append_columns({2, nullptr, lb, ub});
    const double rhs[] = {4, 0};
    model.append_rows({2, "LN", rhs, nullptr}, nullptr, nullptr, nullptr);
    model.set_col_type(1, 'S');
    return model;
}

struct Refusal {
    const char* text;  // names array, position and value, and what would be right
    std::function<void(Model&)> check;
};

const double kNan = std::numeric_limits<double>::quiet_NaN();

const Refusal kRefusals[] = {
    {"colind[1] is 7, must be 0 .. 1",
     [](Model&) {
         const int index[] = {0, 7};
         check_indices(index, 2, 2, "colind");
     }},
    {"values[1] is not a number, must be one",
     [](Model&) {
         const double values[] = {0, kNan};
         check_numbers(values, 2, "values", false);
     }},
    {"lb[0] is 3, above ub[0] = 2",
     [](Model&) {
         const double lower = 3;
         const double upper = 2;
         check_bounds(&lower, &upper, 1);
     }},
    {"rhs[1] is 1e+20, not possible for row type 'E', must be below 1e20 in magnitude",
     [](Model&) {
         const double rhs[] = {0, 1e20};
         check_rows(2, "LE", rhs, nullptr);
     }},
    {"range is null, but row 0 has type 'R'",
     [](Model&) {
         const double rhs = 0;
         check_rows(1, "R", &rhs, nullptr);
     }},
    {"rowind[2] is 0, which is given twice in column 0",
     [](Model& model) {
         const int start[] = {0, 3, 3};
         const int rows[] = {0, 1, 0};
         const double values[] = {1, 1, 1};
         check_matrix(model.num_cols(), model.num_rows(), start, nullptr, rows, values);
     }},
    {"refval[1] is 3, which another member of set 0 has too",
     [](Model& model) {
         const std::int64_t start[] = {0, 2};
         const int cols[] = {0, 1};
         const double weights[] = {3, 3};
         check_sets(1, "1", start, cols, weights, model.num_cols());
     }},
    {"coltype[0] is 'B', but column 0 has bounds 2 .. 5, which leave neither 0 nor 1",
     [](Model& model) {
         const int col = 0;
         check_col_types(model, 1, &col, "B");
     }},
    {"cols[0] is 0, a column of type 'C', which has no limit; must be of type 'S', 'R' or 'P'",
     [](Model& model) {
         const int col = 0;
         const double limit = 1;
         check_limits(model, 1, &col, &limit);
     }},
    {"rows[0] is 1, a free row, which has no range",
     [](Model& model) {
         const int row = 1;
         check_new_range(model, 1, &row);
     }},
    {"column 1 would have lower bound 10 and upper bound 9",
     [](Model& model) {
         const int cols[] = {1, 0};
         const double values[] = {10, 3};
         static_cast<void>(changed_bounds(model, 2, cols, "LL", values));
     }},
    {"start[2] is 4, must be above start[1] = 4",
     [](Model&) {
         const int start[] = {0, 4, 4};
         check_formula_starts({2, nullptr, nullptr, nullptr, start, nullptr, nullptr});
     }},
    {"cols[0] is 2, must be -1 (none) or 0 .. 1",
     [](Model& model) {
         const int row = 0;
         const int col = 2;
         check_places(model, 1, &row, &col);
     }},
};

TEST(Checks, NameWhatIsWrongInEveryMode) {
    for (const int mode : {1, 0}) {
        ASSERT_EQ(QLXsetcheckedmode(mode), 0);
        for (const Refusal& refusal : kRefusals) {
            Model model = small_model();
            try {
                refusal.check(model);
                ADD_FAILURE() << "not refused: " << refusal.text;
            } catch (const Error& error) {
                EXPECT_NE(std::string(error.what()).find(refusal.text), std::string::npos)
                    << "wanted: " << refusal.text << "\n   got: " << error.what();
            }
        }
    }
    ASSERT_EQ(QLXsetcheckedmode(1), 0);
}

}  // namespace
