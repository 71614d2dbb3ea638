"""linopy: its vectorised way only (a scalar loop is not its idiom); load = to_highspy()."""

import highspy  # noqa: F401  (before anything that brings another libhighs.so.1)

# isort: split
import data
import linopy
import numpy as np
import pandas as pd
import xarray as xr


def _finish(m, clock):
    m.to_highspy()
    clock("load")
    if clock.solve:
        m.solve("highs", io_api="direct", progress=False, output_flag=False)
        clock("solve")
        return float(m.objective.value)
    return None


def fac(n, clock):
    m = linopy.Model()
    G = F = n
    gi, gj, fs = (
        pd.RangeIndex(G + 1, name="i"),
        pd.RangeIndex(G + 1, name="j"),
        pd.RangeIndex(F, name="f"),
    )
    y1 = m.add_variables(0, 1, coords=[fs], name="y1")
    y2 = m.add_variables(0, 1, coords=[fs], name="y2")
    d = m.add_variables(0, name="d")
    z = m.add_variables(binary=True, coords=[gi, gj, fs], name="z")
    s = m.add_variables(0, coords=[gi, gj, fs], name="s")
    r1 = m.add_variables(coords=[gi, gj, fs], name="r1")
    r2 = m.add_variables(coords=[gi, gj, fs], name="r2")
    m.add_objective(1 * d)
    M = data.BIG
    xi = xr.DataArray(np.arange(G + 1) / G, coords=[gi])
    xj = xr.DataArray(np.arange(G + 1) / G, coords=[gj])
    m.add_constraints(z.sum("f") == 1, name="c1")
    m.add_constraints(s - d + M * z == M, name="c2")
    m.add_constraints(r1 + y1 == xi, name="c3")
    m.add_constraints(r2 + y2 == xj, name="c4")
    m.add_constraints(r1 + r2 - s <= 0, name="c5")
    m.add_constraints(-r1 - r2 - s <= 0, name="c6")
    clock("build")
    return _finish(m, clock)


def lqcp(n, clock):
    m = linopy.Model()
    dx, dt, yt = 1 / n, data.T / n, np.array(data.lqcp_target(n))
    h2, a = dx * dx, data.A
    y = m.add_variables(
        0, 1, coords=[pd.RangeIndex(n + 1, name="i"), pd.RangeIndex(n + 1, name="j")], name="y"
    )
    u = m.add_variables(-1, 1, coords=[pd.RangeIndex(1, n + 1, name="i")], name="u")

    def part(i, j):  # a shifted window of y with fresh labels
        w = 1 * y.isel(i=i, j=j)
        return w.assign_coords(i=np.arange(w.sizes["i"]), j=np.arange(w.sizes["j"]))

    lo, hi = slice(0, n), slice(1, n + 1)
    L, C, R = slice(0, n - 1), slice(1, n), slice(2, n + 1)
    k = 0.5 * dt
    m.add_constraints(
        (h2 + 2 * k) * part(hi, C)
        + (2 * k - h2) * part(lo, C)
        - k * part(lo, L)
        - k * part(lo, R)
        - k * part(hi, L)
        - k * part(hi, R)
        == 0,
        name="pde",
    )
    m.add_constraints(1 * y.isel(i=0) == 0, name="ic")

    def col(j):
        return (1 * y.isel(i=slice(1, None), j=j)).drop_vars("j")

    m.add_constraints(col(2) - 4 * col(1) + 3 * col(0) == 0, name="b1")
    m.add_constraints(
        col(n - 2) - 4 * col(n - 1) + (3 + 2 * dx) * col(n) - 2 * dx * u == 0, name="b2"
    )
    w = np.full(n + 1, 0.5 * dx)
    w[[0, n]] = 0.25 * dx
    w = xr.DataArray(w, dims="j", coords={"j": np.arange(n + 1)})
    ty = xr.DataArray(yt, dims="j", coords={"j": np.arange(n + 1)})
    q = xr.DataArray(
        [0.5 * a * dt] * (n - 1) + [0.25 * a * dt], dims="i", coords={"i": np.arange(1, n + 1)}
    )
    yn = (1 * y.isel(i=n)).drop_vars("i")
    m.add_objective((w * (yn * yn) - 2 * w * ty * yn).sum() + (q * (u * u)).sum())
    clock("build")
    v = _finish(m, clock)
    return None if v is None else v + float((w.values * yt**2).sum())


def assign_vec(n, clock):
    m = linopy.Model()
    c = xr.DataArray(np.array(data.assign_cost(n)), dims=["i", "j"])
    clock(None)
    x = m.add_variables(
        binary=True, coords=[pd.RangeIndex(n, name="i"), pd.RangeIndex(n, name="j")], name="x"
    )
    m.add_objective((c * x).sum())
    m.add_constraints(x.sum("j") == 1, name="r")
    m.add_constraints(x.sum("i") == 1, name="c")
    clock("build")
    return _finish(m, clock)


def knap_sum(n, clock):
    m = linopy.Model()
    x = m.add_variables(0, 1, coords=[pd.RangeIndex(n, name="i")], name="x")
    c = xr.DataArray(np.array(data.knap_coef(n)), dims="i", coords={"i": np.arange(n)})
    clock(None)
    e = (c * x).sum()
    clock("build")
    m.add_constraints(e <= n, name="c")
    m.add_objective((1 * x.isel(i=0)).drop_vars("i"), sense="max")
    return _finish(m, clock)


def modify(n, clock, steps=2):
    """not persistent: every solve builds the engine's model anew"""
    m = linopy.Model()
    a, b, c = data.modify_lp(n)
    k = a.indptr[1]
    j = pd.RangeIndex(n, name="j")
    x = m.add_variables(0, 10, coords=[j], name="x")
    lab = x.labels.values[a.indices.reshape(n, k)]
    e = linopy.LinearExpression(
        xr.Dataset(
            {"coeffs": (("i", "_term"), a.data.reshape(n, k)), "vars": (("i", "_term"), lab)},
            coords={"i": np.arange(n)},
        ),
        m,
    )
    rhs = xr.DataArray(b.copy(), dims="i", coords={"i": np.arange(n)})
    m.add_constraints(e >= rhs, name="rows")
    m.add_objective((xr.DataArray(c, coords=[j]) * x).sum())
    opt = {"io_api": "direct", "progress": False, "output_flag": False}
    m.solve("highs", **opt)
    clock(None)
    for q in range(steps):
        i, v = data.modify_step(b, q)
        rhs = rhs.copy()
        rhs[i] = v
        m.constraints["rows"].rhs = rhs
        m.solve("highs", **opt)
    clock("iter", steps)
    return float(m.objective.value)


def query_vec(n, clock):
    m = linopy.Model()
    x = m.add_variables(0.5, 1, coords=[pd.RangeIndex(n, name="i")], name="x")
    m.add_constraints(x.isel(i=slice(0, 1)) >= 0.5, name="c")
    m.add_objective(x.sum())
    m.solve("highs", io_api="direct", progress=False, output_flag=False)
    clock(None)
    v = x.solution.values
    clock("read", n)
    return float(v.sum())
