"""floor.cpp, one Highs_addCol/Highs_addRow per column and row.

The floor of a layer without batching.
"""

from peers import floor


def _one(name):
    def f(n, clock):
        floor.BATCH = 0
        return getattr(floor, name)(n, clock)

    return f


fac, lqcp, assign, knap_sum = _one("fac"), _one("lqcp"), _one("assign"), _one("knap_sum")
