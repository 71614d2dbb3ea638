// Library methods that read solutions and evaluate points.
#include "bridge/method_table.hpp"

namespace quilex {

namespace {

constexpr LibraryMethod kCalcobjective{
    {.name = "calcobjective", .purpose = "Get the objective's value at a point."},
    QLXcalcobjective,
    Input<kDouble>{"solution", kPerColumn, "the point"},
    Returned<double>{"value", "the objective's value, its constant included"}};

constexpr LibraryMethod kCalcreducedcosts{
    {.name = "calcreducedcosts",
     .purpose = "Get the reduced costs that belong to duals.",
     .refused = "a model with quadratic terms where no point is given"},
    QLXcalcreducedcosts,
    Input<kDouble>{"duals", kPerRow, "the duals"},
    Input<kDouble>{"solution", kPerColumn, "the point; needed where there are quadratic terms"},
    Output<kDouble>{"calculateddjs", kPerColumn,
                    "objective coefficient less the sum over the rows of dual times coefficient"}};
constexpr LibraryMethod kCalcslacks{
    {.name = "calcslacks",
     .purpose = "Get the slacks of a point.",
     .missing = "Must provide arguments solution and calculatedslacks"},
    QLXcalcslacks,
    Input<kDouble>{"solution", kPerColumn, "the point"},
    Output<kDouble>{"calculatedslacks", kPerRow, "right-hand sides less activities"}};
constexpr LibraryMethod kCalcsolinfo{{.name = "calcsolinfo",
                                      .purpose = "Get a property of a point and its duals.",
                                      .missing = "Must provide arguments solution and dual"},
                                     QLXcalcsolinfo,
                                     Input<kDouble>{"solution", kPerColumn, "the point"},
                                     Input<kDouble>{"dual", kPerRow, "the duals"},
                                     Integer<int>{"property", "one of quilex.solinfo_..."},
                                     Returned<double>{"value", "the property"}};
constexpr LibraryMethod kFixglobals{
    {.name = "fixglobals",
     .access = Access::kChanges,
     .purpose =
         "Fix every integer, semi-continuous and set column at its value in the last integer "
         "solution.",
     .refused = "a problem without an integer solution"},
    QLXfixglobals,
    Flag{"ifround", "whether the values are rounded; only the object True counts"}};
constexpr LibraryMethod kGetlpsol{
    {.name = "getlpsol",
     .purpose = "Get the last solution of a problem without integer parts.",
     .refused = "a problem without one"},
    QLXgetlpsol,
    optional(Output<kDouble>{"x", kPerColumn, "values"}),
    optional(Output<kDouble>{"slack", kPerRow, "right-hand sides less activities"}),
    optional(Output<kDouble>{"dual", kPerRow,
                             "changes of the optimal objective per unit of right-hand side"}),
    optional(Output<kDouble>{"dj", kPerColumn, "reduced costs"})};
constexpr LibraryMethod kGetmipsol{
    {.name = "getmipsol",
     .purpose = "Get the best integer solution.",
     .refused = "a problem without one"},
    QLXgetmipsol,
    optional(Output<kDouble>{"x", kPerColumn, "values"}),
    optional(Output<kDouble>{"slack", kPerRow, "right-hand sides less activities"})};

}  // namespace

const LibraryMethodTable solution_methods =
    MethodTable<kCalcobjective, kCalcreducedcosts, kCalcslacks, kCalcsolinfo, kFixglobals,
                kGetlpsol, kGetmipsol>::named("Solutions and points");

}  // namespace quilex
