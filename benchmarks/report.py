"""The tables of a run as Markdown, and its record as JSON."""

import json
import os
import platform
import statistics
import time
from importlib import metadata
from pathlib import Path

from targets import outcomes, show
from workloads import FLOORS, WORKLOADS

RESULTS = Path(__file__).resolve().parent / "results"


def target_table(results):
    """One row per target: the figure, its target, what was measured, pass or fail."""
    rows = ["| figure | target | measured | | times |", "|---|---|---|---|---|"]
    for outcome in outcomes(results):
        measured = "not measured" if outcome.measured is None else f"{outcome.measured:.3g}"
        verdict = {True: "pass", False: "FAIL", None: ""}[outcome.passed]
        rows.append(
            f"| {outcome.figure} | {outcome.target} | {measured} | {verdict} | {outcome.detail} |"
        )
    return rows


def peer_table(results):
    """All peers of the ranked workloads, fastest first; the ratio is to the best, floors aside."""
    rows = [
        "| workload | n | peer | min | median | build | load | per term | to best | peak MB |",
        "|---|---|---|---|---|---|---|---|---|---|",
    ]
    for workload, size in results.runs:
        if WORKLOADS[workload].figure:
            rows += _workload_rows(results, WORKLOADS[workload], size)
    return rows


def _workload_rows(results, workload, size):
    name, figure = workload.name, workload.figure
    times, failed = {}, []
    for peer in results.peers(name, size):
        least = results.least(name, size, peer, figure)
        if least is None and figure == "build & load":
            least = results.least(name, size, peer, "build")
        if least is None:
            failed.append((peer, results.runs[name, size][peer][0].get("error", "no figure")))
        else:
            times[peer] = least
    ranked = sorted(times, key=times.get)
    best = min(
        (times[p] for p in ranked if p not in FLOORS), default=min(times.values(), default=1)
    )
    rows = []
    for peer in ranked:
        parts = [results.least(name, size, peer, part) for part in ("build", "load")]
        totals = results.all(name, size, peer, figure) or [times[peer]]
        cells = [
            name,
            str(size),
            peer,
            show(times[peer]),
            show(statistics.median(totals)),
            *("" if part is None else show(part) for part in parts),
            show(times[peer] / workload.terms(size)) if workload.terms else "",
            f"{times[peer] / best:.3g}",
            f"{results.peak_mb(name, size, peer):.0f}",
        ]
        rows.append("| " + " | ".join(cells) + " |")
    rows += [f"| {name} | {size} | {peer} | {error} | | | | | | |" for peer, error in failed]
    return rows


def operator_table(results):
    """Nanoseconds of every single operation, one column per peer."""
    rows = []
    for workload, size in results.runs:
        if workload != "operators":
            continue
        peers = results.peers(workload, size)
        rows += ["| operation, ns | " + " | ".join(peers) + " |", "|---" * (len(peers) + 1) + "|"]
        names = {
            m: 0 for p in peers for r in results.good(workload, size, p) for m in r["marks"]["wall"]
        }
        for name in names:
            values = [results.least(workload, size, peer, name) for peer in peers]
            cells = ["" if value is None else f"{1e9 * value:.1f}" for value in values]
            rows.append(f"| {name} | " + " | ".join(cells) + " |")
    return rows


def write_record(results, options):
    """Everything measured, with versions and machine, under benchmarks/results/; the path."""
    RESULTS.mkdir(exist_ok=True)
    path = RESULTS / time.strftime("%Y%m%d-%H%M%S.json")
    record = {
        "options": options,
        "python": platform.python_version(),
        "processor": _processor(),
        "cores": os.cpu_count(),
        "versions": {d.name: d.version for d in metadata.distributions()},
        "targets": [vars(outcome) for outcome in outcomes(results)],
        "runs": results.as_list(),
    }
    path.write_text(json.dumps(record, indent=1))
    return path


def _processor():
    with open("/proc/cpuinfo") as lines:
        return next((li.split(":")[1].strip() for li in lines if li.startswith("model name")), "")
