"""Interleaved rounds of fresh processes, and the check that all peers solve the same models."""

import json
import os
import subprocess
import sys
import time
from dataclasses import dataclass, field
from pathlib import Path

from workloads import WORKLOADS

HERE = Path(__file__).resolve().parent


def run_one(peer, workload, size, solve, timeout):
    """The worker's report, or {"error": ...}; always with the wall time of the process."""
    began = time.perf_counter()
    command = [sys.executable, str(HERE / "worker.py"), peer, workload, str(size), str(int(solve))]
    # The idle threads of a numpy import spin for a while and would take the other cores' time.
    environment = {**os.environ, "OPENBLAS_NUM_THREADS": "1", "OMP_NUM_THREADS": "1"}
    try:
        child = subprocess.run(
            command,
            capture_output=True,
            check=False,
            text=True,
            timeout=timeout,
            cwd=HERE,
            env=environment,
        )
    except subprocess.TimeoutExpired:
        return {"error": "timeout", "wall": timeout}
    wall = time.perf_counter() - began
    for line in child.stdout.splitlines():
        if line.startswith("RESULT "):
            report = {**json.loads(line[len("RESULT ") :]), "wall": wall}
            if "stopped" in report and solve:
                report["error"] = report["stopped"]
            return report
    last = (child.stderr.strip().splitlines() or [f"ended with status {child.returncode}"])[-1]
    return {"error": last[:160].replace("|", "/"), "wall": wall}


@dataclass
class Measurements:
    """All reports of a run: runs[workload, size][peer] is a list, one report per round.

    clock says which time counts: elapsed ("wall") or the process's own ("cpu").
    """

    runs: dict = field(default_factory=dict)
    clock: str = "wall"

    def add(self, workload, size, peer, report):
        self.runs.setdefault((workload, size), {}).setdefault(peer, []).append(report)

    def good(self, workload, size, peer):
        reports = self.runs.get((workload, size), {}).get(peer, [])
        return [report for report in reports if "error" not in report]

    def sizes(self, workload):
        return [size for name, size in self.runs if name == workload]

    def peers(self, workload, size):
        return list(self.runs.get((workload, size), {}))

    def least(self, workload, size, peer, figure):
        """The smallest figure over the rounds, or None; "build & load" adds two marks up."""
        return min(self.all(workload, size, peer, figure), default=None)

    def all(self, workload, size, peer, figure):
        """The figure of every round that has it."""
        names = figure.split(" & ")
        marks = [report["marks"][self.clock] for report in self.good(workload, size, peer)]
        return [sum(m[name] for name in names) for m in marks if all(name in m for name in names)]

    def peak_mb(self, workload, size, peer):
        return min((r["peak_mb"] for r in self.good(workload, size, peer)), default=None)

    def as_list(self):
        return [
            {"workload": workload, "size": size, "peer": peer, "runs": reports}
            for (workload, size), by_peer in self.runs.items()
            for peer, reports in by_peer.items()
        ]


@dataclass
class Patience:
    """What is not repeated or not tried at all, so that slow peers do not eat the run."""

    timeout: float = 40.0
    grow: float = 2.5
    repeat_under: float = 5.0
    always: tuple = ("quilex", "poi", "floor")

    def skips_size(self, peer, slowest):
        return not peer.startswith(self.always) and slowest > self.grow

    def skips_repeat(self, peer, reports):
        if not reports:
            return False
        if "error" in reports[0]:
            return True
        return not peer.startswith(self.always) and reports[0]["wall"] > self.repeat_under


def measure(peers, workloads, rounds, quick=False, patience=None, clock="wall"):
    """Every peer once, then again: rounds of all (peer, workload, size)."""
    patience, result, slowest = patience or Patience(), Measurements(clock=clock), {}
    began = time.perf_counter()
    for name in workloads:
        workload = WORKLOADS[name]
        for size in workload.quick_sizes if quick else workload.sizes:
            able = [p for p in peers if name in peers[p]]
            able = [p for p in able if not patience.skips_size(p, slowest.get((p, name), 0.0))]
            for _ in range(rounds):
                for peer in able:
                    if patience.skips_repeat(peer, result.runs.get((name, size), {}).get(peer)):
                        continue
                    timeout = patience.timeout * (5 if peer.startswith(patience.always) else 1)
                    result.add(name, size, peer, run_one(peer, name, size, False, timeout))
            for peer in able:
                reports = result.runs[name, size][peer]
                failed = any("error" in report for report in reports)
                wall = 1e9 if failed else max(report["wall"] for report in reports)
                slowest[peer, name] = max(slowest.get((peer, name), 0.0), wall)
            spent = time.perf_counter() - began
            print(f"{name} {size} done at {spent:.0f} s", file=sys.stderr, flush=True)
    return result


def check(peers, workloads):
    """Solves small models with every peer; counts the workloads where a peer fails or differs."""
    faults = 0
    for name in workloads:
        size = WORKLOADS[name].check_size
        if not size:
            continue
        reports = {
            peer: run_one(peer, name, size, True, 120) for peer in peers if name in peers[peer]
        }
        values = {p: r["value"] for p, r in reports.items() if r.get("value") is not None}
        failures = {p: r["error"] for p, r in reports.items() if "error" in r}
        print(
            f"{name} n={size}: " + ", ".join(f"{p}={v:.6f}" for p, v in values.items()), flush=True
        )
        for peer, error in failures.items():
            print(f"  FAILED {peer}: {error}")
        # A peer without a persistent model does fewer steps of `modify`.
        tolerance = 2e-2 if name == "modify" else 1e-6
        least, most = min(values.values(), default=0.0), max(values.values(), default=0.0)
        differs = most - least > tolerance * max(1.0, abs(least))
        if differs:
            print("  DIFFERENT")
        faults += bool(failures) or differs
    return faults
