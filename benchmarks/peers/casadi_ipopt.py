"""CasADi: SX graph built with scalar operators.

Load = nlpsol('ipopt'): derivatives and sparsity. Nonlinear only.
"""

import casadi as ca


def nlp_build(n, clock):
    x = [ca.SX.sym("x") for _ in range(n + 1)]
    g = [ca.sin(x[i]) * x[i + 1] + ca.exp(x[i]) for i in range(n)]
    v = ca.vertcat(*x)
    nlp = {"x": v, "f": -ca.sum1(v), "g": ca.vertcat(*g)}
    clock("build")
    s = ca.nlpsol(
        "s", "ipopt", nlp, {"print_time": False, "ipopt.print_level": 0, "ipopt.sb": "yes"}
    )
    clock("load")
    if clock.solve:
        r = s(x0=0.1, lbx=-2, ubx=2, ubg=2)
        return float(r["f"])
    return None
