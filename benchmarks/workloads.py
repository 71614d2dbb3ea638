"""The table of workloads: sizes, written terms, and the figure that counts."""

import ast
from dataclasses import dataclass
from pathlib import Path

PEERS = Path(__file__).resolve().parent / "peers"
FLOORS = {"floor", "floor_rowwise", "highspy_batch"}
# Peers that state rows one at a time with ordinary operators, as this system's users do.
SCALAR = {
    *("poi", "poi_op", "highspy_scalar", "mip_highs", "pulp_highs", "pyomo_highs", "mathopt"),
    *("scip", "casadi_ipopt"),
}


@dataclass(frozen=True)
class Workload:
    """One thing that peers do at several sizes.

    figure: the marks that are added up to the figure that is ranked ("build & load", "iter", ...);
    empty where a workload has several figures of its own. terms: written terms at size n.
    check_size: the size at which all peers must find the same objective; 0 where none is solved.
    """

    name: str
    check_size: int
    sizes: tuple
    quick_sizes: tuple
    figure: str = ""
    terms: object = None


WORKLOADS = {
    w.name: w
    for w in (
        Workload("fac", 3, (25, 50), (10,), "build & load", lambda n: 14 * (n + 1) ** 2 * n),
        Workload(
            "fac_continuous", 3, (25, 50), (10,), "build & load", lambda n: 14 * (n + 1) ** 2 * n
        ),
        Workload("lqcp", 8, (200, 500), (60,), "build & load", lambda n: 8 * n * n),
        Workload("assign", 6, (300,), (60,), "build & load", lambda n: 3 * n * n),
        Workload("assign_vec", 6, (300, 1000), (100,), "build & load", lambda n: 3 * n * n),
        Workload("knap_sum", 10, (100_000, 1_000_000), (20_000,), "build & load", lambda n: n),
        Workload("knap_inc", 10, (100_000, 1_000_000), (20_000,), "build & load", lambda n: n),
        Workload("modify", 200, (2000,), (300,), "iter"),
        Workload("small_lp", 10, (10,), (10,)),
        Workload("query", 100, (100_000, 1_000_000), (20_000,), "read"),
        Workload("query_list", 100, (100_000, 1_000_000), (20_000,), "read"),
        Workload("query_vec", 100, (100_000, 1_000_000), (20_000,), "read"),
        Workload("nlp_build", 3, (10_000, 100_000), (2000,), "build & load", lambda n: n),
        Workload("operators", 0, (1000,), (1000,)),
        Workload("linearity", 0, (10_000_000,), (100_000,)),
        Workload("term_bytes", 0, (4_000_000,), (1_000_000,)),
        Workload("dot", 0, (1000,), (300,)),
        Workload("import_time", 0, (7,), (3,)),
        Workload("cycles", 0, (10_000,), (2000,)),
    )
}


def peers_of(names):
    """{peer: its workloads} of the files in peers/, without importing them; all for no names."""
    found = {}
    for path in sorted(PEERS.glob("*.py")):
        if not names or path.stem in names:
            found[path.stem] = _defined(path) & set(WORKLOADS)
    return found


def _defined(path):
    """The names that a peer's file defines at its top level."""
    names = set()
    for node in ast.parse(path.read_text()).body:
        if isinstance(node, ast.FunctionDef):
            names.add(node.name)
        elif isinstance(node, ast.Assign):
            for target in node.targets:
                names |= {part.id for part in ast.walk(target) if isinstance(part, ast.Name)}
    return names
