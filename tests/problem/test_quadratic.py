"""Convex quadratic objectives through the modelling layer."""

import numpy as np
import pytest

import quilex


def least_variance(covariance):
    """(weights, dual of the budget) of the portfolio of least variance."""
    problem = quilex.problem()
    weights = quilex.vararray(len(covariance))
    problem.addVariable(weights)
    budget = quilex.Sum(weights) == 1
    problem.addConstraint(budget)
    problem.setObjective(quilex.Dot(weights, covariance, weights))
    problem.solve()
    assert problem.getProbStatusString() == "lp_optimal"
    return np.array(problem.getSolution(list(weights))), problem.getDual(budget)


@pytest.mark.parametrize("scale", [1e-10, 1e-8, 1e-4, 1.0, 1e4])
@pytest.mark.parametrize("seed", range(3))
def test_small_objectives_have_the_same_optimum(scale, seed):
    """Daily returns have variances of 1e-4 and less: no tolerance may swallow them."""
    rng = np.random.default_rng(seed)
    returns = rng.normal(size=(250, 10)) @ rng.normal(size=(10, 10))
    covariance = np.cov(returns.T)
    weights, dual = least_variance(covariance)
    scaled_weights, scaled_dual = least_variance(covariance * scale)
    assert scaled_weights == pytest.approx(weights, abs=1e-5)
    assert scaled_dual == pytest.approx(scale * dual, rel=1e-5)
    assert dual == pytest.approx(2 * weights @ covariance @ weights, rel=1e-6)
