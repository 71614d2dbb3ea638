"""Integer variables of more values than 32 bits count, where a hang ends after a minute."""

import subprocess
import sys

import pytest

PROGRAM = """
import quilex

p = quilex.problem()
x = [quilex.var(lb=-BOUND, ub=BOUND, vartype=quilex.integer) for _ in range(4)]
p.addVariable(x)
p.addConstraint(2 * x[0] + 2 * x[1] + 6 * x[2] + 4 * x[3] >= 31)
p.addConstraint(3 * x[0] + 5 * x[1] + 2 * x[2] + 7 * x[3] <= 17.5)
p.setObjective(x[0] + 2 * x[1] + 3 * x[2] + 4 * x[3])
p.solve()
print(p.getObjVal())
"""


@pytest.mark.parametrize("bound", [1.1e9, 1e12])
def test_solves_to_the_optimum(bound):
    program = PROGRAM.replace("BOUND", repr(bound))
    done = subprocess.run(
        [sys.executable, "-c", program], capture_output=True, text=True, timeout=60, check=True
    )
    # Least where the first row is tight and x[1], x[3] are at their lower bounds.
    assert float(done.stdout.split()[-1]) == 16 - 3 * bound
