"""Side-by-side benchmark of modelling layers: one table of ratios against the stated targets.

Every (peer, workload, size) runs in a fresh process, the rounds are interleaved (all peers once,
then again), and the smallest time counts. Use the interpreter that has the peers installed, or
`script/bench`, which makes one.
"""

import argparse
import sys

from report import operator_table, peer_table, target_table, write_record
from rounds import Patience, check, measure
from workloads import WORKLOADS, peers_of


def options_of(arguments):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--only", default="", help="comma-separated workloads")
    parser.add_argument("--peers", default="", help="comma-separated peers")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--check", action="store_true", help="equal objectives at small sizes")
    parser.add_argument("--quick", action="store_true", help="small sizes, one to two minutes")
    parser.add_argument(
        "--clock",
        choices=("wall", "cpu"),
        default="wall",
        help="elapsed time, or processor time where others use the machine too",
    )
    parser.add_argument("--timeout", type=float, default=40, help="seconds per peer process")
    return parser.parse_args(arguments)


def main(arguments):
    options = options_of(arguments)
    peers = peers_of([name for name in options.peers.split(",") if name])
    workloads = [w for w in WORKLOADS if not options.only or w in options.only.split(",")]
    if options.check:
        return check(peers, workloads)
    patience = Patience(timeout=options.timeout)
    results = measure(peers, workloads, options.rounds, options.quick, patience, options.clock)
    for table in (peer_table(results), operator_table(results), target_table(results)):
        print(*table, sep="\n", end="\n\n")
    print("record:", write_record(results, vars(options)), file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
