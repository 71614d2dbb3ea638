// Library methods that change coefficients, bounds, rows, columns and the objective.
#include "bridge/library_call.hpp"
#include "bridge/library_methods.hpp"

namespace quilex {

namespace {

constexpr LibraryCall kChgcoef{QLXchgcoef, nullptr, Index<kRowIndex>{"irow"},
                               Index<kColumnIndex>{"icol"}, Real{"dval"}};
constexpr LibraryCall kChgmcoef{QLXchgmcoef, "Must provide arguments mrow, mcol, dval",
                                Array<kRowIndex>{"mrow"}, Array<kColumnIndex>{"mcol"},
                                Array<kDouble>{"dval"}};
constexpr LibraryCall kChgobj{QLXchgobj, "Must provide arguments mindex, obj",
                              Array<kColumnIndex>{"mindex"}, Array<kDouble>{"obj"}};
constexpr LibraryCall kChgobjsense{QLXchgobjsense, nullptr, Integer{"sense"}};
constexpr LibraryCall kChgqobj{QLXchgqobj, nullptr, Index<kColumnIndex>{"icol"},
                               Index<kColumnIndex>{"jcol"}, Real{"dval"}};
constexpr LibraryCall kChgmqobj{QLXchgmqobj64, "Must provide arguments mqcol1, mqcol2, dval",
                                Array<kColumnIndex>{"mqcol1"}, Array<kColumnIndex>{"mqcol2"},
                                Array<kDouble>{"dval"}};
constexpr LibraryCall kChgqrowcoeff{QLXchgqrowcoeff,
                                    nullptr,
                                    Index<kRowIndex>{"irow"},
                                    Index<kColumnIndex>{"icol"},
                                    Index<kColumnIndex>{"jcol"},
                                    Real{"dval"}};
constexpr LibraryCall kChgrhs{QLXchgrhs, "Must provide arguments mindex, rhs",
                              Array<kRowIndex>{"mindex"}, Array<kDouble>{"rhs"}};
constexpr LibraryCall kChgrhsrange{QLXchgrhsrange, "Must provide arguments mindex, rng",
                                   Array<kRowIndex>{"mindex"}, Array<kDouble>{"rng"}};
constexpr LibraryCall kChgrowtype{QLXchgrowtype, "Must provide arguments mindex and qrtype",
                                  Array<kRowIndex>{"mindex"}, Array<kCharacter>{"qrtype"}};
constexpr LibraryCall kChgbounds{QLXchgbounds, "Must provide arguments mindex, qbtype, bnd",
                                 Array<kColumnIndex>{"mindex"}, Array<kCharacter>{"qbtype"},
                                 Array<kDouble>{"bnd"}};
// The message says qbtype, for the keyword qctype; callers may look for it.
constexpr LibraryCall kChgcoltype{QLXchgcoltype, "Must provide arguments mindex, qbtype",
                                  Array<kColumnIndex>{"mindex"}, Array<kCharacter>{"qctype"}};
constexpr LibraryCall kChgglblimit{QLXchgglblimit, "Must provide arguments mindex, dlimit",
                                   Array<kColumnIndex>{"mindex"}, Array<kDouble>{"dlimit"}};

constexpr int kKeywords = METH_VARARGS | METH_KEYWORDS;

}  // namespace

PyMethodDef change_methods[] = {
    {"chgcoef", method<library_method<kChgcoef>>, kKeywords,
     "chgcoef(irow, icol, dval)\n--\n\n"
     "Set one coefficient of the matrix. Rows and columns are given by index, name or\n"
     "modelling object, in this and all similar methods; modelling objects themselves keep what\n"
     "they were made with."},
    {"chgmcoef", method<library_method<kChgmcoef>>, kKeywords,
     "chgmcoef(mrow, mcol, dval)\n--\n\nSet coefficients of the matrix; 0 removes an entry."},
    {"chgobj", method<library_method<kChgobj>>, kKeywords,
     "chgobj(mindex, obj)\n--\n\n"
     "Set linear objective coefficients of columns; column -1 sets the constant."},
    {"chgobjsense", method<library_method<kChgobjsense>>, kKeywords,
     "chgobjsense(sense)\n--\n\nSet the sense: quilex.minimize or quilex.maximize."},
    {"chgqobj", method<library_method<kChgqobj>>, kKeywords,
     "chgqobj(icol, jcol, dval)\n--\n\n"
     "Set the objective's coefficient of one product of two columns."},
    {"chgmqobj", method<library_method<kChgmqobj>>, kKeywords,
     "chgmqobj(mqcol1, mqcol2, dval)\n--\n\n"
     "Set the objective's coefficients of products of two columns; 0 removes a product."},
    {"chgqrowcoeff", method<library_method<kChgqrowcoeff>>, kKeywords,
     "chgqrowcoeff(irow, icol, jcol, dval)\n--\n\n"
     "Set a row's coefficient of one product of two columns; 0 removes the product."},
    {"chgrhs", method<library_method<kChgrhs>>, kKeywords,
     "chgrhs(mindex, rhs)\n--\n\nSet right-hand sides of rows."},
    {"chgrhsrange", method<library_method<kChgrhsrange>>, kKeywords,
     "chgrhsrange(mindex, rng)\n--\n\n"
     "Set ranges of rows, which become range rows: rhs - rng <= row <= rhs. A row that was >=\n"
     "keeps its lower side."},
    {"chgrowtype", method<library_method<kChgrowtype>>, kKeywords,
     "chgrowtype(mindex, qrtype)\n--\n\n"
     "Set types of rows: 'L' <=, 'G' >=, 'E' ==, 'R' range, 'N' free."},
    {"chgbounds", method<library_method<kChgbounds>>, kKeywords,
     "chgbounds(mindex, qbtype, bnd)\n--\n\n"
     "Set bounds of columns: 'L' lower, 'U' upper, 'B' both."},
    {"chgcoltype", method<library_method<kChgcoltype>>, kKeywords,
     "chgcoltype(mindex, qctype)\n--\n\n"
     "Set types of columns: 'C' continuous, 'B' binary, 'I' integer, 'S' semi-continuous,\n"
     "'R' semi-continuous integer, 'P' partial integer."},
    {"chgglblimit", method<library_method<kChgglblimit>>, kKeywords,
     "chgglblimit(mindex, dlimit)\n--\n\n"
     "Set the limits of semi-continuous, semi-continuous integer and partial integer columns."},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quilex
