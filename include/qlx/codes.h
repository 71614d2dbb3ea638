/* Numbers and letters that both sides of the library interface rely on. */
#ifndef QLX_CODES_H
#define QLX_CODES_H

/* Values at or beyond this magnitude are infinite. */
#define QLX_INFINITY 1e20

/* Results of every function of the interface; the text is in the handle's last error. */
enum {
    QLX_OK = 0,
    QLX_ERROR_ARGUMENT = 1,      /* an argument is wrong; nothing was changed */
    QLX_ERROR_STATE = 2,         /* not possible now: no solution yet, a solve is running, ... */
    QLX_ERROR_MEMORY = 3,        /* an allocation failed */
    QLX_ERROR_NOT_AVAILABLE = 4, /* this function is not built yet */
    QLX_ERROR_UNSUPPORTED = 5,   /* no solver for this class of model */
    QLX_ERROR_FILE = 6,          /* a file could not be read or written */
    QLX_ERROR_SOLVER = 7,        /* a solver failed and recovery failed too */
    QLX_ERROR_INTERNAL = 8       /* a fault in the library itself */
};

/* Name types of QLXaddnames, QLXgetnames and QLXgetindex. */
enum { QLX_NAMES_ROW = 1, QLX_NAMES_COLUMN = 2, QLX_NAMES_SET = 3 };
/* Name type of QSLPaddnames for user functions. */
enum { QSLP_NAMES_USERFUNCTION = 5 };

/* Row types:    'L' activity <= rhs, 'G' activity >= rhs, 'E' activity = rhs,
 *               'R' rhs - range <= activity <= rhs, 'N' free row.
 * Column types: 'C' continuous, 'B' binary, 'I' integer,
 *               'S' semi-continuous: 0, or between max(lower bound, limit) and upper bound,
 *               'R' semi-integer: as 'S', and integer,
 *               'P' partial integer: integer up to its limit, continuous from the limit on.
 * Bound types:  'L' lower, 'U' upper, 'B' both.
 * Set types:    '1' at most one nonzero member, '2' at most two, next to each other.
 * Indicators:   complement 1: the row holds when the column is 1; -1: when it is 0. */

/* Integer attributes. */
enum {
    QLX_ATTRIB_ORIGINALROWS = 1001, /* rows of the model as stated */
    QLX_ATTRIB_SETS = 1004,         /* special ordered sets, second integer-problem test */
    QLX_ATTRIB_LPSTATUS = 1010,
    QLX_ATTRIB_MIPSTATUS = 1011,
    QLX_ATTRIB_ORIGINALCOLS = 1018, /* columns of the model as stated */
    QLX_ATTRIB_NAMELENGTH = 1028,   /* longest row, column or set name in units of 8 characters */
    QLX_ATTRIB_MIPENTS = 1032,      /* columns that are not continuous, plus indicators */
    QLX_ATTRIB_ROWS = 1124,
    QLX_ATTRIB_PROBNAMELENGTH = 1158,  /* bytes of the problem's name with its closing NUL */
    QLX_ATTRIB_SETMEMBERS_SETS = 1194, /* special ordered sets, as the sets' row count */
    QLX_ATTRIB_COLS = 1214,
    QLX_ATTRIB_SETMEMBERS = 1304 /* members of all special ordered sets */
};

/* Double attributes. */
enum { QLX_ATTRIB_LPOBJVAL = 2001, QLX_ATTRIB_MIPOBJVAL = 2003 };

/* Integer controls. */
enum { QLX_CONTROL_LOADLOG = 8035 /* 0 silences the line that loading a model writes */ };

/* The nonlinear solver's attributes and controls. */
enum {
    QSLP_ATTRIB_ROWS = 11999,
    QSLP_ATTRIB_COLS = 12000,
    QSLP_ATTRIB_EQUALSCOLUMN = 12013, /* always -1: column -1 stands for the constant 1 */
    QSLP_ATTRIB_STATUS = 12044,
    QSLP_ATTRIB_PRESOLVESTATE = 12062, /* bit 0: augmented, bit 29: presolved */
    QSLP_ATTRIB_OBJVAL = 12179,
    QSLP_ATTRIB_COEFS = 12201,       /* terms of nonlinear coefficients, as they were added */
    QSLP_CONTROL_OBJSENSE = 12146,   /* double: 1 minimise, -1 maximise */
    QSLP_CONTROL_AUTOSAVE = 12415,   /* integer: iterations between two automatic saves, 0 none */
    QSLP_POINTER_USEROBJECT = 12601, /* pointer attribute: the caller's own object */
    QSLP_POINTER_PROBLEM = 12602     /* object of a user-function call: the solver problem */
};

/* LP status, attribute QLX_ATTRIB_LPSTATUS. */
enum {
    QLX_LP_UNSTARTED = 0,
    QLX_LP_OPTIMAL = 1,
    QLX_LP_INFEAS = 2,
    QLX_LP_CUTOFF = 3,
    QLX_LP_UNFINISHED = 4,
    QLX_LP_UNBOUNDED = 5,
    QLX_LP_CUTOFF_IN_DUAL = 6,
    QLX_LP_UNSOLVED = 7,
    QLX_LP_NONCONVEX = 8
};

/* MIP status, attribute QLX_ATTRIB_MIPSTATUS. */
enum {
    QLX_MIP_NOT_LOADED = 0,
    QLX_MIP_LP_NOT_OPTIMAL = 1,
    QLX_MIP_LP_OPTIMAL = 2,
    QLX_MIP_NO_SOL_FOUND = 3, /* stopped before any solution was found */
    QLX_MIP_SOLUTION = 4,     /* stopped with a solution */
    QLX_MIP_INFEAS = 5,
    QLX_MIP_OPTIMAL = 6,
    QLX_MIP_UNBOUNDED = 7
};

/* Nonlinear status, attribute QSLP_ATTRIB_STATUS. */
enum {
    QSLP_UNSTARTED = 0,
    QSLP_SOLUTION = 1,
    QSLP_LOCALLY_OPTIMAL = 1,
    QSLP_GLOBALLY_OPTIMAL = 2,
    QSLP_LOCALLY_INFEASIBLE = 3,
    QSLP_INFEASIBLE = 4,
    QSLP_UNBOUNDED = 5,
    QSLP_UNFINISHED = 6
};

/* Stop reasons: attribute stopstatus, and the reason given to QLXinterrupt. */
enum {
    QLX_STOP_NONE = 0,
    QLX_STOP_TIMELIMIT = 1,
    QLX_STOP_CTRLC = 2,
    QLX_STOP_NODELIMIT = 3,
    QLX_STOP_ITERLIMIT = 4,
    QLX_STOP_MIPGAP = 5,
    QLX_STOP_SOLLIMIT = 6,
    QLX_STOP_USER = 9,
    QLX_STOP_CUTOFF = 10,  /* nothing is better than control mipabscutoff */
    QLX_STOP_NUMERICS = 11 /* no result of the solvers stood the check */
};

/* Basis status of a row or column. */
enum {
    QLX_BASIS_NONBASIC_LOWER = 0,
    QLX_BASIS_BASIC = 1,
    QLX_BASIS_NONBASIC_UPPER = 2,
    QLX_BASIS_SUPERBASIC = 3
};

/* Properties of QLXcalcsolinfo. */
enum {
    QLX_SOLINFO_ABSPRIMALINFEAS = 0,
    QLX_SOLINFO_RELPRIMALINFEAS = 1,
    QLX_SOLINFO_ABSDUALINFEAS = 2,
    QLX_SOLINFO_RELDUALINFEAS = 3,
    QLX_SOLINFO_MAXMIPFRACTIONAL = 4
};

/* Value types reported by QLXgetcontrolinfo and QLXgetattribinfo. */
enum {
    QLX_TYPE_NOTDEFINED = 0,
    QLX_TYPE_INT = 1,
    QLX_TYPE_INT64 = 2,
    QLX_TYPE_DOUBLE = 3,
    QLX_TYPE_STRING = 4
};

/* Descriptor bits of the parameter lists. */
enum { QLX_PARAM_INT = 0x1, QLX_PARAM_DOUBLE = 0x2, QLX_PARAM_CONTROL = 0x20 };
enum {
    QSLP_PARAM_INT = 0x1,
    QSLP_PARAM_DOUBLE = 0x2,
    QSLP_PARAM_STRING = 0x4,
    QSLP_PARAM_CONTROL = 0x10
};

/* Message types of message callbacks and handlers. */
enum { QLX_MSG_INFORMATION = 1, QLX_MSG_WARNING = 3, QLX_MSG_ERROR = 4 };

/* Vectors of QLXviewsol. */
enum { QLX_VECTOR_X = 0, QLX_VECTOR_SLACK = 1, QLX_VECTOR_DUAL = 2, QLX_VECTOR_DJ = 3 };

/* Token types of formulas in reverse Polish order. */
enum {
    QSLP_TOKEN_END = 0,
    QSLP_TOKEN_CONSTANT = 1,
    QSLP_TOKEN_STRING = 5, /* value: an index given by QSLPsetstring */
    QSLP_TOKEN_COLUMN = 10,
    QSLP_TOKEN_USERFUNCTION = 11,
    QSLP_TOKEN_FUNCTION = 12,
    QSLP_TOKEN_MARKER = 22, /* opens an argument list */
    QSLP_TOKEN_OPERATOR = 31,
    QSLP_TOKEN_ARGUMENTS = 86, /* of a user function's definition: its argument kinds */
    QSLP_TOKEN_LINKAGE = 87    /* of a user function's definition: how it is called */
};
/* Values of operator tokens. */
enum {
    QSLP_OPERATOR_NEGATE = 1,
    QSLP_OPERATOR_POWER = 2,
    QSLP_OPERATOR_MULTIPLY = 3,
    QSLP_OPERATOR_DIVIDE = 4,
    QSLP_OPERATOR_ADD = 5,
    QSLP_OPERATOR_SUBTRACT = 6
};
/* Values of internal function tokens. */
enum {
    QSLP_FUNCTION_LOG10 = 14,
    QSLP_FUNCTION_LOG = 15,
    QSLP_FUNCTION_EXP = 16,
    QSLP_FUNCTION_ABS = 17,
    QSLP_FUNCTION_SQRT = 18,
    QSLP_FUNCTION_SIN = 27,
    QSLP_FUNCTION_COS = 28,
    QSLP_FUNCTION_TAN = 29,
    QSLP_FUNCTION_ASIN = 30,
    QSLP_FUNCTION_ACOS = 31,
    QSLP_FUNCTION_ATAN = 32,
    QSLP_FUNCTION_MIN = 33,
    QSLP_FUNCTION_MAX = 34,
    QSLP_FUNCTION_SIGN = 46,
    QSLP_FUNCTION_ERF = 49,
    QSLP_FUNCTION_ERFC = 50
};

/* Codes of QSLPgetcolinfo. */
enum {
    QSLP_COLINFO_VALUE = 1,
    QSLP_COLINFO_RDJ = 2,
    QSLP_COLINFO_DELTAINDEX = 3,
    QSLP_COLINFO_DELTA = 4,
    QSLP_COLINFO_DELTADJ = 5,
    QSLP_COLINFO_UPDATEROW = 6,
    QSLP_COLINFO_SB = 7,
    QSLP_COLINFO_SBDUAL = 8
};
/* Codes of QSLPgetrowinfo. */
enum {
    QSLP_ROWINFO_SLACK = 1,
    QSLP_ROWINFO_DUAL = 2,
    QSLP_ROWINFO_NUMPENALTYERRORS = 3,
    QSLP_ROWINFO_MAXPENALTYERROR = 4,
    QSLP_ROWINFO_TOTALPENALTYERROR = 5,
    QSLP_ROWINFO_CURRENTPENALTYERROR = 6,
    QSLP_ROWINFO_CURRENTPENALTYFACTOR = 7,
    QSLP_ROWINFO_PENALTYCOLUMNPLUS = 8,
    QSLP_ROWINFO_PENALTYCOLUMNPLUSVALUE = 9,
    QSLP_ROWINFO_PENALTYCOLUMNPLUSDJ = 10,
    QSLP_ROWINFO_PENALTYCOLUMNMINUS = 11,
    QSLP_ROWINFO_PENALTYCOLUMNMINUSVALUE = 12,
    QSLP_ROWINFO_PENALTYCOLUMNMINUSDJ = 13
};
/* Presets of QSLPmsaddpreset. */
enum {
    QSLP_MSSET_INITIALVALUES = 0,
    QSLP_MSSET_SOLVERS = 1,
    QSLP_MSSET_SLP_BASIC = 2,
    QSLP_MSSET_SLP_EXTENDED = 3,
    QSLP_MSSET_KNITRO_BASIC = 4,
    QSLP_MSSET_KNITRO_EXTENDED = 5,
    QSLP_MSSET_INITIALFILTERED = 6
};

#endif
