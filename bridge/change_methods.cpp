// Library methods that change coefficients, bounds, rows, columns and the objective.
#include "bridge/method_table.hpp"

namespace quilex {

namespace {

constexpr Access kChanges = Access::kChanges;

// The library's order, with what describes the rows before their entries.
int add_rows(QLXprob prob, int nrows, int64_t nelems, const char* rowtype, const double* rhs,
             const int64_t* start, const int* colind, const double* values, const double* range) {
    return QLXaddrows64(prob, nrows, nelems, rowtype, rhs, range, start, colind, values);
}

constexpr LibraryMethod kAddqmatrix{
    {.name = "addqmatrix",
     .access = kChanges,
     .purpose = "Add quadratic terms to a row, to those that it has.",
     .missing = "Must provide arguments mqc1, mqc2, dqe"},
    QLXaddqmatrix64,
    Index<kRowIndex>{"irow", "the row"},
    Count<int64_t>{"mqc1"},
    Input<kColumnIndex>{"mqc1", kAnyNumber, "first columns of the products"},
    Input<kColumnIndex>{"mqc2", same_as("mqc1"), "second columns of the products"},
    Input<kDouble>{"dqe", same_as("mqc1"), "coefficients of the products"}};
constexpr LibraryMethod kAddrows{
    {.name = "addrows",
     .access = kChanges,
     .purpose = "Add rows. Each gets a constraint without a body of its own, at the end of the "
                "problem's constraints.",
     .missing = "Must provide arguments qrtype, rhs, mstart, mclind, dmatval"},
    add_rows,
    Count<int>{"qrtype"},
    Entries{"mstart"},
    Input<kCharacter>{"qrtype", kAnyNumber, "types: 'L' <=, 'G' >=, 'E' ==, 'R' range, 'N' free"},
    Input<kDouble>{"rhs", same_as("qrtype"), "right-hand sides"},
    Input<kInt64>{"mstart", starts_of("qrtype"), "where each row's entries begin"},
    Input<kColumnIndex>{"mclind", entries_of("mstart"), "columns of the entries"},
    Input<kDouble>{"dmatval", entries_of("mstart"), "coefficients of the entries"},
    optional(Input<kDouble>{"range", same_as("qrtype"),
                            "ranges of 'R' rows: rhs - range <= row <= rhs"}),
    optional(NewRows{"names", same_as("qrtype"), "the rows' names, by default \"R%d\""})};
constexpr LibraryMethod kChgbounds{
    {.name = "chgbounds",
     .access = kChanges,
     .purpose = "Set bounds of columns, in the order of the arguments.",
     .missing = "Must provide arguments mindex, qbtype, bnd",
     .refused = "a lower bound above its upper bound"},
    QLXchgbounds,
    Count<int>{"mindex"},
    Input<kColumnIndex>{"mindex", kAnyNumber, "the columns"},
    Input<kCharacter>{"qbtype", same_as("mindex"), "'L' lower, 'U' upper, 'B' both"},
    Input<kDouble>{"bnd", same_as("mindex"), "the bounds; 1e20 and beyond are infinite"}};
constexpr LibraryMethod kChgcoef{
    {.name = "chgcoef",
     .access = kChanges,
     .purpose =
         "Set one coefficient of the matrix. Modelling objects keep what they were made with, "
         "in this and all similar methods."},
    QLXchgcoef,
    Index<kRowIndex>{"irow", "the row"},
    Index<kColumnIndex>{"icol", "the column"},
    Real{"dval", "the coefficient; 0 removes the entry"}};
// The message says qbtype, for the keyword qctype; callers may look for it.
constexpr LibraryMethod kChgcoltype{
    {.name = "chgcoltype",
     .access = kChanges,
     .purpose = "Set types of columns. 'B' cuts the bounds to [0, 1].",
     .missing = "Must provide arguments mindex, qbtype",
     .refused = "a binary column whose bounds leave nothing of [0, 1]"},
    QLXchgcoltype,
    Count<int>{"mindex"},
    Input<kColumnIndex>{"mindex", kAnyNumber, "the columns"},
    Input<kCharacter>{"qctype", same_as("mindex"),
                      "'C' continuous, 'B' binary, 'I' integer, 'S' semi-continuous, 'R' "
                      "semi-continuous integer, 'P' partial integer"}};
constexpr LibraryMethod kChgglblimit{
    {.name = "chgglblimit",
     .access = kChanges,
     .purpose = "Set the limits of semi-continuous, semi-continuous integer and partial integer "
                "columns.",
     .missing = "Must provide arguments mindex, dlimit"},
    QLXchgglblimit,
    Count<int>{"mindex"},
    Input<kColumnIndex>{"mindex", kAnyNumber, "the columns"},
    Input<kDouble>{"dlimit", same_as("mindex"), "the limits"}};
constexpr LibraryMethod kChgmcoef{
    {.name = "chgmcoef",
     .access = kChanges,
     .purpose = "Set coefficients of the matrix.",
     .missing = "Must provide arguments mrow, mcol, dval"},
    QLXchgmcoef,
    Count<int>{"mrow"},
    Input<kRowIndex>{"mrow", kAnyNumber, "rows of the entries"},
    Input<kColumnIndex>{"mcol", same_as("mrow"), "columns of the entries"},
    Input<kDouble>{"dval", same_as("mrow"), "coefficients; 0 removes an entry"}};
constexpr LibraryMethod kChgmqobj{
    {.name = "chgmqobj",
     .access = kChanges,
     .purpose = "Set the objective's coefficients of products of two columns.",
     .missing = "Must provide arguments mqcol1, mqcol2, dval"},
    QLXchgmqobj64,
    Count<int64_t>{"mqcol1"},
    Input<kColumnIndex>{"mqcol1", kAnyNumber, "first columns of the products"},
    Input<kColumnIndex>{"mqcol2", same_as("mqcol1"), "second columns of the products"},
    Input<kDouble>{"dval", same_as("mqcol1"), "coefficients; 0 removes a product"}};
constexpr LibraryMethod kChgobj{
    {.name = "chgobj",
     .access = kChanges,
     .purpose = "Set linear objective coefficients of columns.",
     .missing = "Must provide arguments mindex, obj"},
    QLXchgobj,
    Count<int>{"mindex"},
    Input<kColumnIndex>{"mindex", kAnyNumber, "the columns; -1 is the objective's constant"},
    Input<kDouble>{"obj", same_as("mindex"), "the coefficients"}};
constexpr LibraryMethod kChgobjsense{
    {.name = "chgobjsense", .access = kChanges, .purpose = "Set the sense of the objective."},
    QLXchgobjsense,
    Integer<int>{"sense", "quilex.minimize or quilex.maximize"}};
constexpr LibraryMethod kChgqobj{
    {.name = "chgqobj",
     .access = kChanges,
     .purpose = "Set the objective's coefficient of one product of two columns."},
    QLXchgqobj,
    Index<kColumnIndex>{"icol", "the first column"},
    Index<kColumnIndex>{"jcol", "the second column"},
    Real{"dval", "the coefficient; 0 removes the product"}};
constexpr LibraryMethod kChgqrowcoeff{
    {.name = "chgqrowcoeff",
     .access = kChanges,
     .purpose = "Set a row's coefficient of one product of two columns."},
    QLXchgqrowcoeff,
    Index<kRowIndex>{"irow", "the row"},
    Index<kColumnIndex>{"icol", "the first column"},
    Index<kColumnIndex>{"jcol", "the second column"},
    Real{"dval", "the coefficient; 0 removes the product"}};
constexpr LibraryMethod kChgrhs{{.name = "chgrhs",
                                 .access = kChanges,
                                 .purpose = "Set right-hand sides of rows.",
                                 .missing = "Must provide arguments mindex, rhs"},
                                QLXchgrhs,
                                Count<int>{"mindex"},
                                Input<kRowIndex>{"mindex", kAnyNumber, "the rows"},
                                Input<kDouble>{"rhs", same_as("mindex"), "the right-hand sides"}};
constexpr LibraryMethod kChgrhsrange{
    {.name = "chgrhsrange",
     .access = kChanges,
     .purpose = "Set ranges of rows, which become range rows: rhs - rng <= row <= rhs. A row that "
                "was >= keeps its lower side.",
     .missing = "Must provide arguments mindex, rng",
     .refused = "free rows"},
    QLXchgrhsrange,
    Count<int>{"mindex"},
    Input<kRowIndex>{"mindex", kAnyNumber, "the rows"},
    Input<kDouble>{"rng", same_as("mindex"), "the ranges"}};
constexpr LibraryMethod kChgrowtype{
    {.name = "chgrowtype",
     .access = kChanges,
     .purpose = "Set types of rows.",
     .missing = "Must provide arguments mindex and qrtype"},
    QLXchgrowtype,
    Count<int>{"mindex"},
    Input<kRowIndex>{"mindex", kAnyNumber, "the rows"},
    Input<kCharacter>{"qrtype", same_as("mindex"), "'L' <=, 'G' >=, 'E' ==, 'R' range, 'N' free"}};
constexpr LibraryMethod kDelqmatrix{
    {.name = "delqmatrix",
     .access = kChanges,
     .purpose = "Remove the quadratic terms of a row or of the objective."},
    QLXdelqmatrix,
    Index<kRowIndex>{"row", "the row; -1 is the objective"}};
constexpr LibraryMethod kSetindicators{
    {.name = "setindicators",
     .access = kChanges,
     .purpose = "Make rows hold only where a binary column has a value."},
    QLXsetindicators,
    Count<int>{"mrows"},
    Input<kRowIndex>{"mrows", kAnyNumber, "the rows"},
    Input<kColumnIndex>{"inds", same_as("mrows"), "the binary columns"},
    Input<kInt32>{"comps", same_as("mrows"),
                  "1: holds where the column is 1; -1: where it is 0; 0: an ordinary row again"}};
constexpr LibraryMethod kSetprobname{
    {.name = "setprobname", .access = kChanges, .purpose = "Set the problem's name."},
    QLXsetprobname,
    Text{"probname", "the name, of ASCII characters"}};

}  // namespace

const LibraryMethodTable change_methods =
    MethodTable<kAddqmatrix, kAddrows, kChgbounds, kChgcoef, kChgcoltype, kChgglblimit, kChgmcoef,
                kChgmqobj, kChgobj, kChgobjsense, kChgqobj, kChgqrowcoeff, kChgrhs, kChgrhsrange,
                kChgrowtype, kDelqmatrix, kSetindicators, kSetprobname>::named("Changing a model");

}  // namespace quilex
