// Entry points: loading whole models.
#include <qlx/qlx_model.h>

#include <algorithm>

#include "engine/api/arguments.hpp"
#include "engine/api/boundary.hpp"

using namespace qlx;

namespace {

// The arguments of all loading functions; what one of them lacks stays empty.
template <class Start>
struct Load {
    const char* name;
    int ncols, nrows;
    const char* rowtype;
    const double *rhs, *range, *obj;
    const Start* start;
    const int *count, *rowind;
    const double *values, *lb, *ub;
    std::int64_t nquads = 0;
    const int *qcol1 = nullptr, *qcol2 = nullptr;
    const double* qvalues = nullptr;
    int nqrows = 0;
    const int* qrows = nullptr;
    const std::int64_t* qrowquads = nullptr;
    const int *qrowcol1 = nullptr, *qrowcol2 = nullptr;
    const double* qrowvalues = nullptr;
    int nents = 0, nsets = 0;
    const char* enttype = nullptr;
    const int* entcol = nullptr;
    const double* limit = nullptr;
    const char* settype = nullptr;
    const std::int64_t* setstart = nullptr;
    const int* setcol = nullptr;
    const double* refval = nullptr;
};

// The matrix. Where its columns begin and end is checked in every mode, as it tells how far to
// read.
template <class Start>
void require_matrix(const Load<Start>& load) {
    if (load.start == nullptr) return;
    for (int col = 0; col < load.ncols; ++col) {
        const std::int64_t first = load.start[col];
        const std::int64_t last =
            load.count != nullptr ? first + load.count[col] : std::int64_t{load.start[col + 1]};
        if (first < 0 || last < first)
            fail(QLX_ERROR_ARGUMENT, "column ", col, " has entries ", first, " .. ", last - 1,
                 ", must begin at 0 or above and end no earlier");
        require_array(load.rowind, last, "rowind");
        require_array(load.values, last, "values");
    }
    if (checked_mode())
        check_matrix(load.ncols, load.nrows, load.start, load.count, load.rowind, load.values);
}

template <class Start>
std::int64_t require_quadratic_rows(const Load<Start>& load) {
    require_count(load.nqrows, "nqrows");
    require_indices(load.qrows, load.nqrows, load.nrows, "qrows");
    require_array(load.qrowquads, load.nqrows, "qrowquads");
    std::int64_t total = 0;
    for (int k = 0; k < load.nqrows; ++k) {
        require_count(load.qrowquads[k], "qrowquads");
        total += load.qrowquads[k];
    }
    return total;
}

template <class Start>
void require_all(const Load<Start>& load) {
    require_count(load.ncols, "ncols");
    require_count(load.nrows, "nrows");
    require_rows(load.nrows, load.rowtype, load.rhs, load.range);
    if (load.obj != nullptr) require_numbers(load.obj, load.ncols, "obj", true);
    require_bounds(load.lb, load.ub, load.ncols);
    require_matrix(load);
    require_pairs(load.nquads, load.qcol1, load.qcol2, load.qvalues, load.ncols);
    require_pairs(require_quadratic_rows(load), load.qrowcol1, load.qrowcol2, load.qrowvalues,
                  load.ncols);
    require_count(load.nents, "nents");
    require_indices(load.entcol, load.nents, load.ncols, "entcol");
    require_letters(load.enttype, load.nents, "BISRP", "enttype");
    if (load.limit != nullptr) require_numbers(load.limit, load.nents, "limit", false);
    require_sets(load.nsets, load.settype, load.setstart, load.setcol, load.refval, load.ncols);
}

template <class Start>
int load_model(QLXprob prob, const char* function, const Load<Start>& load) {
    return change(prob, function, [&](Problem& p) {
        require_all(load);
        Model& m = p.model;
        m.load({load.ncols, load.obj, load.lb, load.ub},
               {load.nrows, load.rowtype, load.rhs, load.range}, load.start, load.count,
               load.rowind, load.values);
        m.set_name(load.name == nullptr ? "" : load.name);
        m.set_quadratic_objective(load.nquads, load.qcol1, load.qcol2, load.qvalues);
        std::int64_t first = 0;
        for (int k = 0; k < load.nqrows; ++k) {
            m.add_quadratic_row(load.qrows[k], load.qrowquads[k], load.qrowcol1 + first,
                                load.qrowcol2 + first, load.qrowvalues + first);
            first += load.qrowquads[k];
        }
        for (int k = 0; k < load.nents; ++k) {
            m.set_col_type(load.entcol[k], load.enttype[k]);
            if (load.limit != nullptr && is_limited(load.enttype[k]))
                m.set_limit(load.entcol[k], load.limit[k]);
        }
        add_sets(m, load.nsets, load.settype, load.setstart, load.setcol, load.refval);
        p.forget_results();
        if (p.controls.loadlog != 0)
            p.send(QLX_MSG_INFORMATION, message::kLoaded,
                   join("loaded \"", m.name(), "\": ", m.num_rows(), " rows, ", m.num_cols(),
                        " columns"));
    });
}

}  // namespace

extern "C" {

int QLXloadlp(QLXprob prob, const char* name, int ncols, int nrows, const char* rowtype,
              const double* rhs, const double* range, const double* obj, const int* start,
              const int* count, const int* rowind, const double* values, const double* lb,
              const double* ub) {
    return load_model<int>(
        prob, "QLXloadlp",
        {name, ncols, nrows, rowtype, rhs, range, obj, start, count, rowind, values, lb, ub});
}

int QLXloadlp64(QLXprob prob, const char* name, int ncols, int nrows, const char* rowtype,
                const double* rhs, const double* range, const double* obj, const int64_t* start,
                const int* count, const int* rowind, const double* values, const double* lb,
                const double* ub) {
    return load_model<std::int64_t>(
        prob, "QLXloadlp64",
        {name, ncols, nrows, rowtype, rhs, range, obj, start, count, rowind, values, lb, ub});
}

int QLXloadqp64(QLXprob prob, const char* name, int ncols, int nrows, const char* rowtype,
                const double* rhs, const double* range, const double* obj, const int64_t* start,
                const int* count, const int* rowind, const double* values, const double* lb,
                const double* ub, int64_t nquads, const int* qcol1, const int* qcol2,
                const double* qvalues) {
    return load_model<std::int64_t>(prob, "QLXloadqp64",
                                    {name, ncols, nrows, rowtype, rhs, range, obj, start, count,
                                     rowind, values, lb, ub, nquads, qcol1, qcol2, qvalues});
}

int QLXloadqcqp64(QLXprob prob, const char* name, int ncols, int nrows, const char* rowtype,
                  const double* rhs, const double* range, const double* obj, const int64_t* start,
                  const int* count, const int* rowind, const double* values, const double* lb,
                  const double* ub, int64_t nquads, const int* qcol1, const int* qcol2,
                  const double* qvalues, int nqrows, const int* qrows, const int64_t* qrowquads,
                  const int* qrowcol1, const int* qrowcol2, const double* qrowvalues) {
    return load_model<std::int64_t>(
        prob, "QLXloadqcqp64",
        {name,    ncols,  nrows,  rowtype,   rhs,      range,    obj,       start,
         count,   rowind, values, lb,        ub,       nquads,   qcol1,     qcol2,
         qvalues, nqrows, qrows,  qrowquads, qrowcol1, qrowcol2, qrowvalues});
}

int QLXloadglobal64(QLXprob prob, const char* name, int ncols, int nrows, const char* rowtype,
                    const double* rhs, const double* range, const double* obj, const int64_t* start,
                    const int* count, const int* rowind, const double* values, const double* lb,
                    const double* ub, int nents, int nsets, const char* enttype, const int* entcol,
                    const double* limit, const char* settype, const int64_t* setstart,
                    const int* setcol, const double* refval) {
    return QLXloadqcqpglobal64(prob, name, ncols, nrows, rowtype, rhs, range, obj, start, count,
                               rowind, values, lb, ub, 0, nullptr, nullptr, nullptr, 0, nullptr,
                               nullptr, nullptr, nullptr, nullptr, nents, nsets, enttype, entcol,
                               limit, settype, setstart, setcol, refval);
}

int QLXloadqglobal64(QLXprob prob, const char* name, int ncols, int nrows, const char* rowtype,
                     const double* rhs, const double* range, const double* obj,
                     const int64_t* start, const int* count, const int* rowind,
                     const double* values, const double* lb, const double* ub, int64_t nquads,
                     const int* qcol1, const int* qcol2, const double* qvalues, int nents,
                     int nsets, const char* enttype, const int* entcol, const double* limit,
                     const char* settype, const int64_t* setstart, const int* setcol,
                     const double* refval) {
    return QLXloadqcqpglobal64(prob, name, ncols, nrows, rowtype, rhs, range, obj, start, count,
                               rowind, values, lb, ub, nquads, qcol1, qcol2, qvalues, 0, nullptr,
                               nullptr, nullptr, nullptr, nullptr, nents, nsets, enttype, entcol,
                               limit, settype, setstart, setcol, refval);
}

int QLXloadqcqpglobal64(QLXprob prob, const char* name, int ncols, int nrows, const char* rowtype,
                        const double* rhs, const double* range, const double* obj,
                        const int64_t* start, const int* count, const int* rowind,
                        const double* values, const double* lb, const double* ub, int64_t nquads,
                        const int* qcol1, const int* qcol2, const double* qvalues, int nqrows,
                        const int* qrows, const int64_t* qrowquads, const int* qrowcol1,
                        const int* qrowcol2, const double* qrowvalues, int nents, int nsets,
                        const char* enttype, const int* entcol, const double* limit,
                        const char* settype, const int64_t* setstart, const int* setcol,
                        const double* refval) {
    return load_model<std::int64_t>(
        prob, "QLXloadqcqpglobal64",
        {name,    ncols,   nrows,  rowtype,   rhs,      range,    obj,        start,
         count,   rowind,  values, lb,        ub,       nquads,   qcol1,      qcol2,
         qvalues, nqrows,  qrows,  qrowquads, qrowcol1, qrowcol2, qrowvalues, nents,
         nsets,   enttype, entcol, limit,     settype,  setstart, setcol,     refval});
}

}  // extern "C"
