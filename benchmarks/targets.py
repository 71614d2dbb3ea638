"""The stated targets, as rows of one table: what is measured, against whom, and the limit."""

from dataclasses import dataclass
from statistics import median

from workloads import FLOORS, SCALAR

# Of every doubling in one process of the workload linearity.
COMPARISONS = 5
OURS, LIMITS = "quilex", "quilex_limits"


@dataclass(frozen=True)
class Outcome:
    """One row of the final table; measured is None where something was not run or failed."""

    figure: str
    target: str
    measured: float | None = None
    passed: bool | None = None
    detail: str = ""


def beside(results, workload, size, figure, peer):
    """Our time over a peer's, and both as text; None and nothing where one is missing."""
    ours = results.least(workload, size, OURS, figure)
    theirs = results.least(workload, size, peer, figure)
    if ours is None or theirs is None:
        return None, ""
    return ours / theirs, f"{show(ours)}, {peer} {show(theirs)}"


@dataclass(frozen=True)
class Speedup:
    """The fastest of some peers takes at least `factor` times our time."""

    workload: str
    figure: str
    factor: float | None
    against: str
    label: str = ""

    def outcomes(self, results):
        for size in results.sizes(self.workload):
            yield self._outcome(results, size)

    def _rivals(self, results, size):
        peers = results.peers(self.workload, size)
        if self.against == "scalar":
            return [peer for peer in peers if peer in SCALAR]
        if self.against == "any":
            return [p for p in peers if p not in FLOORS and p not in (OURS, LIMITS)]
        return [peer for peer in peers if peer == self.against]

    def _outcome(self, results, size):
        name = {"scalar": "fastest scalar peer", "any": "fastest peer"}.get(
            self.against, self.against
        )
        figure = f"{self.workload} {size} {self.figure}, {name} / ours"
        target = "" if self.factor is None else f"at least {self.factor:g}"
        times = {
            peer: results.least(self.workload, size, peer, self.figure)
            for peer in self._rivals(results, size)
        }
        times = {peer: seconds for peer, seconds in times.items() if seconds is not None}
        ours = results.least(self.workload, size, OURS, self.figure)
        if not times or ours is None:
            return Outcome(figure, target)
        rival = min(times, key=times.get)
        ratio = times[rival] / ours
        passed = None if self.factor is None else ratio >= self.factor
        detail = f"{show(ours)}, {rival} {show(times[rival])}"
        return Outcome(figure, target, ratio, passed, detail)


@dataclass(frozen=True)
class Share:
    """Our figure is at most `share` times a peer's."""

    workload: str
    figure: str
    peer: str
    share: float

    def outcomes(self, results):
        for size in results.sizes(self.workload):
            figure = f"{self.workload} {self.figure}, ours / {self.peer}"
            target = f"at most {self.share:.3g}"
            ratio, detail = beside(results, self.workload, size, self.figure, self.peer)
            passed = None if ratio is None else ratio <= self.share
            yield Outcome(figure, target, ratio, passed, detail)


@dataclass(frozen=True)
class PeakMemory:
    """Our peak memory above the imports is at most `share` times a peer's."""

    workload: str
    peer: str
    share: float

    def outcomes(self, results):
        for size in results.sizes(self.workload):
            figure = f"{self.workload} {size} peak memory, ours / {self.peer}"
            target = f"at most {self.share:g}"
            ours = results.peak_mb(self.workload, size, OURS)
            theirs = results.peak_mb(self.workload, size, self.peer)
            if ours is None or theirs is None:
                yield Outcome(figure, target)
                continue
            detail = f"{ours:.0f} MB, {self.peer} {theirs:.0f} MB"
            yield Outcome(figure, target, ours / theirs, ours / theirs <= self.share, detail)


@dataclass(frozen=True)
class Limit:
    """Our figure is at most a number, in the unit that `scale` turns the mark into."""

    workload: str
    figure: str
    limit: float
    unit: str
    scale: float = 1.0
    peer: str = OURS

    def outcomes(self, results):
        for size in results.sizes(self.workload):
            figure = f"{self.workload} {size} {self.figure}, {self.unit}"
            target = f"at most {self.limit:g}"
            value = results.least(self.workload, size, self.peer, self.figure)
            if value is None:
                yield Outcome(figure, target)
            else:
                value *= self.scale
                yield Outcome(figure, target, value, value <= self.limit)


@dataclass(frozen=True)
class PacedLimit:
    """A limit in ns that was set on another machine, on which a peer took `reference` ns.

    Our time counts in units of the peer's: what it would be where the peer takes its reference.
    """

    workload: str
    figure: str
    limit: float
    peer: str
    reference: dict  # size -> ns

    def outcomes(self, results):
        for size in results.sizes(self.workload):
            if size not in self.reference:
                continue
            there = self.reference[size]
            figure = f"{self.workload} {size} {self.figure}, ns where {self.peer} takes {there:g}"
            target = f"at most {self.limit:g}"
            ratio, detail = beside(results, self.workload, size, self.figure, self.peer)
            paced = None if ratio is None else there * ratio
            passed = None if paced is None else paced <= self.limit
            yield Outcome(figure, target, paced, passed, detail)


@dataclass(frozen=True)
class Doubling:
    """2n terms take at most `factor` times the time of n, the worst of the doublings' medians."""

    figure: str
    factor: float

    def outcomes(self, results):
        largest = max(results.sizes("linearity"), default=0)
        sizes = [largest // part for part in (8, 4, 2, 1)]
        per_term = [
            results.least("linearity", largest, LIMITS, f"{self.figure} {size}") for size in sizes
        ]
        doublings = [
            [
                ratio
                for k in range(COMPARISONS)
                for ratio in results.all(
                    "linearity", largest, LIMITS, f"{self.figure} doubling to {size} {k}"
                )
            ]
            for size in sizes[1:]
        ]
        figure = f"linearity {self.figure}, time(2n) / time(n)"
        target = f"at most {self.factor:g}"
        if None in per_term:
            yield Outcome(figure, target)
            return
        ratios = [median(doubling) for doubling in doublings]
        detail = ", ".join(f"{n}: {1e9 * t:.1f} ns" for n, t in zip(sizes, per_term))
        yield Outcome(figure, target, max(ratios), max(ratios) <= self.factor, detail)


# Single operations: our time over PyOptInterface's.
OPERATORS = (
    ("2.0*x", 1 / 3),
    ("x+y", 1 / 4),
    ("e+=x", 1 / 2),
    ("2*x+3*y-z", 1 / 6),
    ("x<=1", 1 / 12),
    ("Sum(c*x generator)", 1 / 3),
    ("var()", 1 / 8),
    ("chain of 1000 +", 1 / 10),
)

TARGETS = (
    *(Share("operators", name, "poi", share) for name, share in OPERATORS),
    Speedup("fac", "build", 8, "scalar"),
    Speedup("fac_continuous", "build", 4, "scalar"),
    Speedup("lqcp", "build", 5, "scalar"),
    Speedup("knap_sum", "build", 3, "scalar"),
    Speedup("knap_inc", "build", 3, "scalar"),
    Speedup("nlp_build", "build", 3, "scalar"),
    Speedup("fac", "build & load", 8, "poi_op"),
    Speedup("fac_continuous", "build & load", 4, "poi_op"),
    Speedup("lqcp", "build & load", 5, "poi_op"),
    Speedup("assign", "build & load", 8, "any"),
    Speedup("knap_sum", "build & load", 1.6, "scalar"),
    Speedup("knap_sum", "build & load", None, "any"),
    Speedup("knap_inc", "build & load", 1.6, "any"),
    Speedup("assign_vec", "build & load", 1.5, "any"),
    *(PeakMemory(workload, "poi_op", 1.5) for workload in ("fac", "fac_continuous", "lqcp")),
    Share("modify", "iter", "highspy_scalar", 1.1),
    Share("small_lp", "again", "highspy_scalar", 0.56),
    Share("small_lp", "first", "highspy_scalar", 0.36),
    Limit("query", "read", 30, "ns per value", 1e9),
    Limit("query_vec", "read", 5, "ns per value", 1e9),
    PacedLimit("query", "read", 30, "poi", {100_000: 46.2, 1_000_000: 48.1}),
    PacedLimit("query_vec", "read", 5, "poi", {100_000: 38.2, 1_000_000: 37.7}),
    *(Doubling(figure, 2.1) for figure in ("Sum", "+=", "chain", "numpy sum")),
    *(Limit("term_bytes", figure, 18, "bytes per term", 1, LIMITS) for figure in ("Sum", "+=")),
    Limit("dot", "product", 20, "ns per product", 1e9, LIMITS),
    Limit("import_time", "best", 60, "ms beyond numpy", 1e3, LIMITS),
    Limit("cycles", "growth", 1, "MiB", 1 / 2**20, LIMITS),
)


def outcomes(results):
    """The rows of all targets whose workload was run."""
    return [outcome for target in TARGETS for outcome in target.outcomes(results)]


def show(seconds):
    """A time with three digits in its natural unit."""
    for factor, unit in ((1, "s"), (1e3, "ms"), (1e6, "us")):
        if seconds * factor >= 1:
            return f"{seconds * factor:.3g} {unit}"
    return f"{seconds * 1e9:.3g} ns"
