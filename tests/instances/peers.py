"""HiGHS (highspy) and PIQP (piqp) on an instance, without the modelling layer: the yardsticks."""

import time

import numpy as np

HIGHS_KINDS = {"C": "kContinuous", "B": "kInteger", "I": "kInteger"}


def row_matrix(rows):
    """Compressed rows (start, index, value) of the linear parts; repeated entries are added up."""
    start, index, value = [0], [], []
    for row in rows:
        merged = {}
        for column, coefficient in row.terms:
            merged[column] = merged.get(column, 0.0) + coefficient
        index += merged
        value += merged.values()
        start.append(len(index))
    return np.array(start, np.int32), np.array(index, np.int32), np.array(value, float)


def lower_hessian(instance):
    """The lower triangle of Q in 1/2 x'Qx as {(column, row): value}, column by column."""
    entries = {}
    for i, j, q in instance.quadratic:
        place = (min(i, j), max(i, j))
        entries[place] = entries.get(place, 0.0) + (2 * q if i == j else q)
    return dict(sorted(entries.items()))


def highs_model(instance):
    """The instance as highspy's arrays; sets, indicators and quadratic rows are not for HiGHS."""
    import highspy

    if instance.sets or instance.indicators or instance.has_quadratic_rows:
        raise NotImplementedError("HiGHS has no sets, indicators or quadratic rows")
    kinds = {
        **HIGHS_KINDS,
        "S": "kSemiContinuous",
        "R": "kSemiInteger",
    }
    model = highspy.HighsModel()
    lp = model.lp_
    lp.num_col_, lp.num_row_ = len(instance.columns), len(instance.rows)
    lp.col_cost_ = np.array([c.cost for c in instance.columns])
    lp.col_lower_ = np.array([c.threshold if c.kind in "SR" else c.lower for c in instance.columns])
    lp.col_upper_ = np.array([c.upper for c in instance.columns])
    lp.row_lower_ = np.array([row.lower for row in instance.rows])
    lp.row_upper_ = np.array([row.upper for row in instance.rows])
    lp.a_matrix_.format_ = highspy.MatrixFormat.kRowwise
    lp.a_matrix_.num_col_, lp.a_matrix_.num_row_ = lp.num_col_, lp.num_row_
    lp.a_matrix_.start_, lp.a_matrix_.index_, lp.a_matrix_.value_ = row_matrix(instance.rows)
    lp.offset_ = instance.constant
    lp.sense_ = highspy.ObjSense.kMaximize if instance.maximize else highspy.ObjSense.kMinimize
    if instance.is_discrete:
        lp.integrality_ = [getattr(highspy.HighsVarType, kinds[c.kind]) for c in instance.columns]
    entries = lower_hessian(instance)
    if entries:
        columns = np.array([column for column, _ in entries])
        model.hessian_.dim_ = lp.num_col_
        model.hessian_.format_ = highspy.HessianFormat.kTriangular
        model.hessian_.start_ = np.searchsorted(columns, np.arange(lp.num_col_ + 1)).astype(
            np.int32
        )
        model.hessian_.index_ = np.array([row for _, row in entries], np.int32)
        model.hessian_.value_ = np.array(list(entries.values()))
    return model


def solve_highs(instance, method="", time_limit=60.0):
    """(seconds of Highs.run alone, status, objective, point), settings as for ours."""
    import highspy

    highs = highspy.Highs()
    options = {
        "output_flag": False,
        "threads": 1,
        "mip_rel_gap": 1e-6,
        "mip_abs_gap": 1e-9,
        "time_limit": time_limit,
    }
    for name, value in options.items():
        highs.setOptionValue(name, value)
    for setting in filter(None, method.split(",")):
        name, value = setting.split("=")
        highs.setOptionValue(name, int(value) if value.isdigit() else value)
    highs.passModel(highs_model(instance))
    began = time.perf_counter()
    highs.run()
    seconds = time.perf_counter() - began
    status = highs.modelStatusToString(highs.getModelStatus())
    point = list(highs.getSolution().col_value)
    return seconds, status, highs.getObjectiveValue(), point


def solve_piqp(instance, method="", time_limit=60.0):
    """(seconds of PIQP's setup and solve, status, objective, point), solved to 1e-8."""
    import piqp
    from scipy import sparse

    start, index, value = row_matrix(instance.rows)
    shape = (len(instance.rows), len(instance.columns))
    matrix = sparse.csr_matrix((value, index, start), shape=shape)
    lower = np.array([row.lower for row in instance.rows])
    upper = np.array([row.upper for row in instance.rows])
    equal = lower == upper
    hessian = sparse.lil_matrix((shape[1], shape[1]))
    for (column, row), q in lower_hessian(instance).items():
        hessian[row, column] = hessian[column, row] = q
    solver = piqp.SparseSolver()
    solver.settings.eps_abs = 1e-8
    solver.settings.eps_rel = 1e-9
    solver.settings.max_iter = 500
    sign = -1.0 if instance.maximize else 1.0
    arguments = (
        sparse.csc_matrix(sign * hessian),
        sign * np.array([c.cost for c in instance.columns]),
        sparse.csc_matrix(matrix[equal]) if equal.any() else None,
        lower[equal] if equal.any() else None,
        sparse.csc_matrix(matrix[~equal]) if (~equal).any() else None,
        lower[~equal] if (~equal).any() else None,
        upper[~equal] if (~equal).any() else None,
        np.array([c.lower for c in instance.columns]),
        np.array([c.upper for c in instance.columns]),
    )
    began = time.perf_counter()
    solver.setup(*arguments)
    status = solver.solve()
    seconds = time.perf_counter() - began
    objective = sign * solver.result.info.primal_obj + instance.constant
    return seconds, str(status).split(".")[-1], objective, list(solver.result.x)
