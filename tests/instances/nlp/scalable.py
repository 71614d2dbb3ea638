"""Generators of scalable nonlinear test problems, in the JSON form of hs.json.

Each generator takes its size parameters and returns a dict with the keys name, sense, variables, objective, constraints.
KNOWN lists (generator, arguments, published optimal value, digits the publication gives as a relative tolerance, source).
Running this file writes one problem: python scalable.py elec 25 > elec25.json
"""

import json
import math
import sys


def _n(value):
    """A number as infix text, in brackets where it is negative."""
    text = repr(float(value))
    if text.endswith(".0"):
        text = text[:-2]
    return "(%s)" % text if text.startswith("-") else text


def _var(name, lb=None, ub=None, start=0.0):
    return {"name": name, "lb": lb, "ub": ub, "start": float(start)}


def _problem(name, sense, variables, objective, constraints):
    named = [
        {"name": "c%d" % (k + 1), "expr": e, "lb": lb, "ub": ub}
        for k, (e, lb, ub) in enumerate(constraints)
    ]
    return {
        "name": name,
        "sense": sense,
        "variables": variables,
        "objective": objective,
        "constraints": named,
    }


def rosenbrock(n):
    """Chained Rosenbrock function from the origin; minimum 0 at x = 1 (a second minimum near x1 = -1 has the value 3.99)."""
    variables = [_var("x%d" % i) for i in range(1, n + 1)]
    terms = ["100*(x%d - x%d^2)^2 + (1 - x%d)^2" % (i + 1, i, i) for i in range(1, n)]
    return _problem("rosenbrock_%d" % n, "min", variables, " + ".join(terms), [])


def elec(n):
    """COPS 3, problem 2: n electrons on a sphere (Thomson). Many local minima close to the best one."""
    variables = []
    for axis in "xyz":
        for i in range(1, n + 1):
            z = 1 - (2 * i - 1) / n
            phi = i * math.pi * (3 - math.sqrt(5))
            r = math.sqrt(1 - z * z)
            variables.append(
                _var(
                    "%s%d" % (axis, i),
                    start={"x": r * math.cos(phi), "y": r * math.sin(phi), "z": z}[axis],
                )
            )
    terms = [
        "1/sqrt((x%d - x%d)^2 + (y%d - y%d)^2 + (z%d - z%d)^2)" % (i, j, i, j, i, j)
        for i in range(1, n)
        for j in range(i + 1, n + 1)
    ]
    rows = [("x%d^2 + y%d^2 + z%d^2" % (i, i, i), 1.0, 1.0) for i in range(1, n + 1)]
    return _problem("elec_%d" % n, "min", variables, " + ".join(terms), rows)


def chain(nh):
    """COPS 3, problem 4: shape of a hanging chain of length 4 between heights 1 and 3."""
    length, a, b = 4.0, 1.0, 3.0
    tmin = 0.25 if b > a else 0.75
    h = 1.0 / nh
    u, x, e, s = [], [], [], []
    for k in range(nh + 1):
        t = k / nh
        du = 4 * abs(b - a) * (t - tmin)
        height = 4 * abs(b - a) * t * (0.5 * t - tmin) + a
        u.append(_var("u%d" % k, start=du))
        x.append(_var("x%d" % k, start=height))
        e.append(_var("e%d" % k, start=height * du))
        s.append(_var("s%d" % k, start=du))
    rows = []
    for j in range(nh):
        k = j + 1
        rows.append(("x%d - x%d - %s*(u%d + u%d)" % (k, j, _n(h / 2), j, k), 0.0, 0.0))
        rows.append(
            (
                "e%d - e%d - %s*(x%d*sqrt(1 + u%d^2) + x%d*sqrt(1 + u%d^2))"
                % (k, j, _n(h / 2), j, j, k, k),
                0.0,
                0.0,
            )
        )
        rows.append(
            (
                "s%d - s%d - %s*(sqrt(1 + u%d^2) + sqrt(1 + u%d^2))" % (k, j, _n(h / 2), j, k),
                0.0,
                0.0,
            )
        )
    rows += [
        ("x0", a, a),
        ("x%d" % nh, b, b),
        ("e0", 0.0, 0.0),
        ("s0", 0.0, 0.0),
        ("s%d" % nh, length, length),
    ]
    return _problem("chain_%d" % nh, "min", u + x + e + s, "e%d" % nh, rows)


def catmix(nh):
    """COPS 3, problem 14: catalyst mixing, three-point collocation, no smoothing term."""
    nc, h = 3, 1.0 / nh
    rho = [0.11270166537926, 0.5, 0.88729833462074]
    variables = []
    for i in range(1, nh + 1):
        variables += [_var("u%d_%d" % (i, j), 0.0, 1.0) for j in range(1, nc + 1)]
    for s in (1, 2):
        one = float(s % 2)
        for i in range(1, nh + 1):
            variables.append(_var("v%d_%d" % (i, s), start=one))
            for j in range(1, nc + 1):
                variables.append(_var("w%d_%d_%d" % (i, j, s)))
                variables.append(_var("p%d_%d_%d" % (i, j, s), start=one))
                variables.append(_var("d%d_%d_%d" % (i, j, s)))
        variables.append(_var("f%d" % s, start=one))
    rows = []
    for s in (1, 2):
        for i in range(1, nh + 1):
            for k in range(1, nc + 1):
                value = " - ".join(
                    "%s*w%d_%d_%d" % (_n(h * rho[k - 1] ** j / math.factorial(j)), i, j, s)
                    for j in range(1, nc + 1)
                )
                slope = " - ".join(
                    "%s*w%d_%d_%d" % (_n(rho[k - 1] ** (j - 1) / math.factorial(j - 1)), i, j, s)
                    for j in range(1, nc + 1)
                )
                rows.append(("p%d_%d_%d - v%d_%d - %s" % (i, k, s, i, s, value), 0.0, 0.0))
                rows.append(("d%d_%d_%d - %s" % (i, k, s, slope), 0.0, 0.0))
            end = " + ".join(
                "%s*w%d_%d_%d" % (_n(h / math.factorial(j)), i, j, s) for j in range(1, nc + 1)
            )
            nxt = "v%d_%d" % (i + 1, s) if i < nh else "f%d" % s
            rows.append(("v%d_%d + %s - %s" % (i, s, end, nxt), 0.0, 0.0))
        rows.append(("v1_%d" % s, 1.0 if s == 1 else 0.0, 1.0 if s == 1 else 0.0))
    for i in range(1, nh + 1):
        for j in range(1, nc + 1):
            u, p, q = "u%d_%d" % (i, j), "p%d_%d_1" % (i, j), "p%d_%d_2" % (i, j)
            rows.append(("d%d_%d_1 - %s*(10*%s - %s)" % (i, j, u, q, p), 0.0, 0.0))
            rows.append(
                ("d%d_%d_2 - %s*(%s - 10*%s) + (1 - %s)*%s" % (i, j, u, p, q, u, q), 0.0, 0.0)
            )
    return _problem("catmix_%d" % nh, "min", variables, "f1 + f2 - 1", rows)


def torsion(nx, ny):
    """COPS 3, problem 17: elastic-plastic torsion of a square bar; a bound-constrained convex QP on a grid."""
    c = 5.0
    hx, hy = 1.0 / (nx + 1), 1.0 / (ny + 1)
    area = 0.5 * hx * hy
    variables, name = [], {}
    for i in range(nx + 2):
        for j in range(ny + 2):
            d = min(min(i, nx - i + 1) * hx, min(j, ny - j + 1) * hy)
            name[i, j] = "v%d_%d" % (i, j)
            variables.append(_var(name[i, j], -d, d, d))
    terms = []
    for i in range(nx + 1):
        for j in range(ny + 1):
            here, east, north = name[i, j], name[i + 1, j], name[i, j + 1]
            terms.append(
                "%s*(%s - %s)^2 + %s*(%s - %s)^2"
                % (_n(area / 2 / hx**2), east, here, _n(area / 2 / hy**2), north, here)
            )
            terms.append("%s*(%s + %s + %s)" % (_n(-area * c / 3), east, here, north))
    for i in range(1, nx + 2):
        for j in range(1, ny + 2):
            here, west, south = name[i, j], name[i - 1, j], name[i, j - 1]
            terms.append(
                "%s*(%s - %s)^2 + %s*(%s - %s)^2"
                % (_n(area / 2 / hx**2), here, west, _n(area / 2 / hy**2), here, south)
            )
            terms.append("%s*(%s + %s + %s)" % (_n(-area * c / 3), here, west, south))
    return _problem("torsion_%d_%d" % (nx, ny), "min", variables, " + ".join(terms), [])


def camshape(n):
    """COPS 3, problem 3: the cam of largest area with convex shape and bounded curvature."""
    rmin, rmax, alpha = 1.0, 2.0, 1.5
    theta = 2 * math.pi / (5 * (n + 1))
    bound, cos2 = alpha * theta, _n(2 * math.cos(theta))
    variables = [_var("r%d" % i, rmin, rmax, 0.5 * (rmin + rmax)) for i in range(1, n + 1)]
    objective = "%s*(%s)" % (_n(math.pi / n), " + ".join("r%d" % i for i in range(1, n + 1)))
    rows = [
        ("%s*r%d*r%d - r%d*r%d - r%d*r%d" % (cos2, i - 1, i + 1, i - 1, i, i, i + 1), None, 0.0)
        for i in range(2, n)
    ]
    rows += [
        ("%s*r2 - r1 - r1*r2" % cos2, None, 0.0),
        ("%s*r1 - 1 - r1" % cos2, None, 0.0),
        ("2*%s*r%d - r%d*r%d - 2*r%d" % (cos2, n - 1, n - 1, n, n), None, 0.0),
        ("%s*r%d^2 - 4*r%d" % (cos2, n, n), None, 0.0),
    ]
    rows += [("r%d - r%d" % (i + 1, i), -bound, bound) for i in range(1, n)]
    rows += [("r1 - 1", -bound, bound), ("2 - r%d" % n, -bound, bound)]
    return _problem("camshape_%d" % n, "max", variables, objective, rows)


def clnlbeam(ni):
    """CUTE CLNLBEAM: optimal control of a clamped nonlinear beam (Maurer and Mittelmann), alpha = 350."""
    h, alpha = 1.0 / ni, 350.0
    t = [_var("t%d" % i, -1.0, 1.0, 0.05 * math.cos(i * h)) for i in range(ni + 1)]
    x = [_var("x%d" % i, -0.05, 0.05, 0.05 * math.cos(i * h)) for i in range(ni + 1)]
    u = [_var("u%d" % i, start=0.01) for i in range(ni + 1)]
    for fixed in (x[0], x[ni], t[0], t[ni]):
        fixed.update(lb=0.0, ub=0.0, start=0.0)
    terms, rows = [], []
    for i in range(ni):
        terms.append(
            "%s*(u%d^2 + u%d^2) + %s*(cos(t%d) + cos(t%d))"
            % (_n(h / 2), i + 1, i, _n(alpha * h / 2), i + 1, i)
        )
        rows.append(
            ("x%d - x%d - %s*(sin(t%d) + sin(t%d))" % (i + 1, i, _n(h / 2), i + 1, i), 0.0, 0.0)
        )
        rows.append(("t%d - t%d - %s*(u%d + u%d)" % (i + 1, i, _n(h / 2), i + 1, i), 0.0, 0.0))
    return _problem("clnlbeam_%d" % ni, "min", t + x + u, " + ".join(terms), rows)


def edensch(n):
    """CUTE EDENSCH: the extended Dennis-Schnabel function; convex near its minimum, unconstrained."""
    variables = [_var("x%d" % i, start=8.0) for i in range(1, n + 1)]
    terms = [
        "(x%d - 2)^4 + (x%d*x%d - 2*x%d)^2 + (x%d + 1)^2" % (i, i, i + 1, i + 1, i + 1)
        for i in range(1, n)
    ]
    return _problem("edensch_%d" % n, "min", variables, "16 + " + " + ".join(terms), [])


COPS = "COPS 3.0 report (Dolan, More, Munson 2004), as quoted by COPSBenchmark.jl"
THOMSON = "Thomson problem tables; also listed by MINLPLib as elec%d"
SIF = "CUTE/CUTEst SIF file, line LO SOLTN"
KNOWN = [
    (rosenbrock, (100,), 0.0, 1e-8, "minimum 0 by construction"),
    (rosenbrock, (1000,), 0.0, 1e-8, "minimum 0 by construction"),
    (elec, (25,), 243.812760299, 1e-5, THOMSON % 25),
    (elec, (50,), 1055.182314726, 1e-5, THOMSON % 50),
    (chain, (50,), 5.0722614940, 1e-9, "proved bounds for MINLPLib chain50, public study"),
    (chain, (100,), 5.0697846107, 1e-9, "proved bounds for MINLPLib chain100, public study"),
    (chain, (200,), 5.0689173418, 1e-9, "proved bounds for MINLPLib chain200, public study"),
    (chain, (400,), 5.0686216946, 1e-9, "proved bounds for MINLPLib chain400, public study"),
    (catmix, (100,), -4.80556e-2, 1e-4, COPS),
    (torsion, (50, 50), -4.18087e-1, 1e-4, COPS),
    (camshape, (100,), 4.2841471217, 1e-9, "exact value for MINLPLib camshape100, public study"),
    (clnlbeam, (10,), 345.0301196587, 1e-5, SIF),
    (clnlbeam, (50,), 344.8673691861, 1e-5, SIF),
    (clnlbeam, (100,), 344.8801831150, 1e-5, SIF),
    (clnlbeam, (500,), 344.8748539754, 1e-5, SIF),
    (clnlbeam, (1000,), 344.8788169123, 1e-5, SIF),
    (edensch, (36,), 219.28, 3e-5, SIF),
    (edensch, (2000,), 1.20032e4, 1e-5, SIF),
]


if __name__ == "__main__":
    json.dump(globals()[sys.argv[1]](*(int(a) for a in sys.argv[2:])), sys.stdout, indent=1)
