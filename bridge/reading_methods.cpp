// Library methods that read a model back.
#include "bridge/method_table.hpp"

namespace quilex {

namespace {

constexpr const char* kEmptyRows = "Empty range of rows requested";
constexpr const char* kEmptyColumns = "Empty range of columns requested";
// Attribute setmembers: the members of all special ordered sets.
constexpr Size kPerMember{.kind = Size::Kind::kAttribute, .attribute = 1304};

constexpr LibraryMethod kGetIndexFromName{
    {.name = "getIndexFromName",
     .purpose = "Get the index of a row, column or special ordered set by its name.",
     .refused = "a name that none has"},
    QLXgetindex,
    Integer<int>{"type", "1 rows, 2 columns, 3 special ordered sets"},
    Text{"name", "the name"},
    Returned<int>{"index", "the index"}};
constexpr LibraryMethod kGetcoef{{.name = "getcoef", .purpose = "Get a coefficient of the matrix."},
                                 QLXgetcoef,
                                 Index<kRowIndex>{"irow", "the row"},
                                 Index<kColumnIndex>{"icol", "the column"},
                                 Returned<double>{"value", "the coefficient"}};
constexpr LibraryMethod kGetcols{
    {.name = "getcols",
     .purpose = "Get the entries of columns.",
     .missing = "Must provide arguments mstart, mrwind, dmatval",
     .empty_range = kEmptyColumns},
    QLXgetcols64,
    Output<kInt64>{"mstart", kStartsOfRange, "where each column's entries begin"},
    Output<kRowIndex>{"mrwind", counted("nelems", "size"), "rows of the entries"},
    Output<kDouble>{"dmatval", counted("nelems", "size"), "coefficients of the entries"},
    Integer<int64_t>{"size", "most entries that are given"},
    Reported<int64_t>{"nelems"},
    First<kColumnIndex>{},
    Last<kColumnIndex>{}};
constexpr LibraryMethod kGetcoltype{
    {.name = "getcoltype",
     .purpose = "Get types of columns.",
     .empty_range = "Empty or invalid range of columns requested"},
    QLXgetcoltype,
    Output<kCharacter>{"coltype", kPerItemOfRange,
                       "'C' continuous, 'B' binary, 'I' integer, 'S' semi-continuous, 'R' "
                       "semi-continuous integer, 'P' partial integer"},
    First<kColumnIndex>{},
    Last<kColumnIndex>{}};
constexpr LibraryMethod kGetglobal{
    {.name = "getglobal",
     .purpose = "Get the columns that are not continuous, and the special ordered sets."},
    QLXgetglobal64,
    Reported<int>{"nents"},
    Reported<int>{"nsets"},
    Output<kCharacter>{"qgtype", counted("nents"), "types of the columns"},
    Output<kInt32>{"mgcols", counted("nents"), "indices of the columns"},
    Output<kDouble>{"dlim", counted("nents"), "limits of the columns"},
    Output<kCharacter>{"qstype", counted("nsets"), "types of the sets: '1' or '2'"},
    Output<kInt64>{"msstart", starts_of_counted("nsets"), "where each set's members begin"},
    Output<kColumnIndex>{"mscols", kPerMember, "columns of the members"},
    Output<kDouble>{"dref", kPerMember, "reference values of the members"}};
constexpr LibraryMethod kGetindicators{
    {.name = "getindicators", .purpose = "Get the indicator conditions of rows."},
    QLXgetindicators,
    Output<kColumnIndex>{"inds", kPerItemOfRange, "binary columns; -1 for ordinary rows"},
    Output<kInt32>{"comps", kPerItemOfRange,
                   "1: holds where the column is 1; -1: where it is 0; 0: an ordinary row"},
    First<kRowIndex>{},
    Last<kRowIndex>{}};
constexpr LibraryMethod kGetlb{
    {.name = "getlb", .purpose = "Get lower bounds of columns, by default of all."},
    QLXgetlb,
    Output<kDouble>{"lb", kPerItemOfRange, "lower bounds; -1e20 is infinite"},
    optional(First<kColumnIndex>{}),
    optional(Last<kColumnIndex>{})};
constexpr LibraryMethod kGetmqobj{
    {.name = "getmqobj",
     .purpose = "Get the quadratic objective by columns of its upper triangle: products of the "
                "column with itself and later ones.",
     .empty_range = kEmptyColumns},
    QLXgetmqobj64,
    Output<kInt64>{"mstart", kStartsOfRange, "where each column's products begin"},
    Output<kColumnIndex>{"mclind", counted("nelems", "size"), "second columns of the products"},
    Output<kDouble>{"dobjval", counted("nelems", "size"), "coefficients of the products"},
    Integer<int64_t>{"size", "most products that are given"},
    only_with_lists(Returned<int64_t>{"nelems", "the number of products"}),
    First<kColumnIndex>{},
    Last<kColumnIndex>{}};
constexpr LibraryMethod kGetobj{{.name = "getobj",
                                 .purpose = "Get linear objective coefficients of columns.",
                                 .empty_range = kEmptyColumns},
                                QLXgetobj,
                                Output<kDouble>{"obj", kPerItemOfRange, "the coefficients"},
                                First<kColumnIndex>{},
                                Last<kColumnIndex>{}};
constexpr LibraryMethod kGetqobj{
    {.name = "getqobj", .purpose = "Get the objective's coefficient of a product of two columns."},
    QLXgetqobj,
    Index<kColumnIndex>{"icol", "the first column"},
    Index<kColumnIndex>{"jcol", "the second column"},
    Returned<double>{"value", "the coefficient"}};
constexpr LibraryMethod kGetqrowcoeff{
    {.name = "getqrowcoeff", .purpose = "Get a row's coefficient of a product of two columns."},
    QLXgetqrowcoeff,
    Index<kRowIndex>{"irow", "the row"},
    Index<kColumnIndex>{"icol", "the first column"},
    Index<kColumnIndex>{"jcol", "the second column"},
    Returned<double>{"value", "the coefficient"}};
constexpr LibraryMethod kGetqrowqmatrix{
    {.name = "getqrowqmatrix",
     .purpose = "Get the quadratic terms of a row by columns of their upper triangle.",
     .empty_range = kEmptyColumns},
    QLXgetqrowqmatrix,
    Index<kRowIndex>{"irow", "the row"},
    Output<kInt32>{"mstart", kStartsOfRange, "where each column's products begin"},
    Output<kColumnIndex>{"mclind", counted("nelems", "size"), "second columns of the products"},
    Output<kDouble>{"dqe", counted("nelems", "size"), "coefficients of the products"},
    Integer<int>{"size", "most products that are given"},
    Returned<int>{"nelems", "the number of products"},
    First<kColumnIndex>{},
    Last<kColumnIndex>{}};
constexpr LibraryMethod kGetqrowqmatrixtriplets{
    {.name = "getqrowqmatrixtriplets", .purpose = "Get the quadratic terms of a row."},
    QLXgetqrowqmatrixtriplets,
    Index<kRowIndex>{"irow", "the row"},
    Reported<int>{"nquads"},
    optional(Output<kColumnIndex>{"mqcol1", counted("nquads"), "first columns of the products"}),
    optional(Output<kColumnIndex>{"mqcol2", counted("nquads"), "second columns of the products"}),
    optional(Output<kDouble>{"dqe", counted("nquads"), "coefficients of the products"})};
constexpr LibraryMethod kGetqrows{
    {.name = "getqrows", .purpose = "Get the rows with quadratic terms."},
    QLXgetqrows,
    Reported<int>{"nrows"},
    Output<kRowIndex>{"qcrows", counted("nrows"), "the rows"}};
constexpr LibraryMethod kGetrhs{{.name = "getrhs",
                                 .purpose = "Get right-hand sides of rows.",
                                 .missing = "Must provide argument: rhs or range",
                                 .empty_range = kEmptyRows},
                                QLXgetrhs,
                                Output<kDouble>{"rhs", kPerItemOfRange, "the right-hand sides"},
                                First<kRowIndex>{},
                                Last<kRowIndex>{}};
constexpr LibraryMethod kGetrhsrange{
    {.name = "getrhsrange",
     .purpose = "Get ranges of rows.",
     .missing = "Must provide argument: rhs or range",
     .empty_range = kEmptyRows},
    QLXgetrhsrange,
    Output<kDouble>{"range", kPerItemOfRange, "the ranges; 0 for rows that are not 'R'"},
    First<kRowIndex>{},
    Last<kRowIndex>{}};
// The message says columns; callers may look for it.
constexpr LibraryMethod kGetrows{
    {.name = "getrows", .purpose = "Get the entries of rows.", .empty_range = kEmptyColumns},
    QLXgetrows64,
    Output<kInt64>{"mstart", kStartsOfRange, "where each row's entries begin"},
    Output<kColumnIndex>{"mclind", counted("nelems", "size"), "columns of the entries"},
    Output<kDouble>{"dmatval", counted("nelems", "size"), "coefficients of the entries"},
    Integer<int64_t>{"size", "most entries that are given"},
    Reported<int64_t>{"nelems"},
    First<kRowIndex>{},
    Last<kRowIndex>{}};
constexpr LibraryMethod kGetrowtype{
    {.name = "getrowtype", .purpose = "Get types of rows.", .empty_range = kEmptyRows},
    QLXgetrowtype,
    Output<kCharacter>{"qrtype", kPerItemOfRange, "'L' <=, 'G' >=, 'E' ==, 'R' range, 'N' free"},
    First<kRowIndex>{},
    Last<kRowIndex>{}};
constexpr LibraryMethod kGetub{
    {.name = "getub", .purpose = "Get upper bounds of columns, by default of all."},
    QLXgetub,
    Output<kDouble>{"ub", kPerItemOfRange, "upper bounds; 1e20 is infinite"},
    optional(First<kColumnIndex>{}),
    optional(Last<kColumnIndex>{})};

}  // namespace

const LibraryMethodTable reading_methods =
    MethodTable<kGetIndexFromName, kGetcoef, kGetcols, kGetcoltype, kGetglobal, kGetindicators,
                kGetlb, kGetmqobj, kGetobj, kGetqobj, kGetqrowcoeff, kGetqrowqmatrix,
                kGetqrowqmatrixtriplets, kGetqrows, kGetrhs, kGetrhsrange, kGetrows, kGetrowtype,
                kGetub>::named("Reading a model");

}  // namespace quilex
