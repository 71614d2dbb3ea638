"""Stigler's diet of 1939: the cheapest food that keeps a person well.

George Stigler asked in 1945 for the cheapest combination of 77 foods that meets nine daily needs,
and found 39.93 dollars a year by hand; the linear program's optimum is 39.66. Its solution weighs
food to the gram. A cook serves whole portions, so the second model serves whole ones of at most
four ounces.
"""

import csv
import math
import pathlib
import sys
from fractions import Fraction

import quilex

DATA = pathlib.Path(__file__).parent / "data"
SERVING = 4.0  # ounces
DAYS = 365

OUNCES = {"oz.": 1, "lb.": 16, "qt.": 32, "pt.": 16}  # fluid ounces for what is poured
CANS = {"No. 2": 20, "No. 2 1/2": 28}  # ounces in the can sizes of the trade
PORTIONS = {"1 doz.": 12, "1 bunch": 4, "1 stalk": 4, "1 head": 4}  # what is counted, not weighed


def read(name):
    """The rows of a table of the data folder."""
    with open(DATA / name, newline="") as file:
        return list(csv.DictReader(file))


def servings_in(unit):
    """Number of equal servings, none above SERVING ounces, in a unit of sale such as "14.5 oz."."""
    if unit in PORTIONS:
        return PORTIONS[unit]
    if unit in CANS:
        ounces = CANS[unit]
    else:
        *amount, measure = unit.split()
        ounces = float(sum(Fraction(part) for part in amount)) * OUNCES[measure]
    return math.ceil(ounces / SERVING)


def add_needs(problem, foods, needs, dollars):
    """Every nutrient's daily minimum; ``dollars`` holds what is spent on each food in a day."""
    for need in needs:
        nutrient, minimum = need["nutrient"], float(need["minimum_per_day"])
        intake = quilex.Sum(float(food[nutrient]) * d for food, d in zip(foods, dollars))
        problem.addConstraint(quilex.constraint(intake >= minimum, name=nutrient))


def in_dollars(foods, needs):
    """The linear program: dollars a day spent on each food, as Stigler stated it."""
    problem = quilex.problem(name="diet")
    spent = [quilex.var(name=food["food"]) for food in foods]
    problem.addVariable(spent)
    add_needs(problem, foods, needs, spent)
    problem.setObjective(quilex.Sum(spent))
    problem.solve()

    print("\nIn fractions of a dollar's worth (linear program)")
    print(f"  {'food':<26} {'dollars a year':>14}")
    for food, dollars in zip(foods, problem.getSolution(spent)):
        if dollars > 1e-9:
            print(f"  {food['food']:<26} {dollars * DAYS:>14.2f}")
    print(f"  {'together':<26} {problem.getObjVal() * DAYS:>14.2f}")


def in_servings(foods, needs):
    """The mixed-integer program: whole servings a day."""
    problem = quilex.problem(name="servings")
    servings = [quilex.var(name=food["food"], vartype=quilex.integer) for food in foods]
    price = [
        float(food["price_1939_cents"]) / 100 / servings_in(food["unit"]) for food in foods
    ]  # dollars a serving
    problem.addVariable(servings)
    spent = [p * s for p, s in zip(price, servings)]
    add_needs(problem, foods, needs, spent)
    problem.setObjective(quilex.Sum(spent))

    print("\nIn whole servings of at most four ounces (mixed-integer program)")
    quilex.addcbmsghandler(show_progress, None, 0)
    problem.solve()
    quilex.removecbmsghandler(show_progress, None)

    print(f"\n  {'food':<26} {'servings a day':>14} {'dollars a year':>14}")
    for food, p, count in zip(foods, price, problem.getSolution(servings)):
        if count > 0.5:
            print(f"  {food['food']:<26} {round(count):>14} {round(count) * p * DAYS:>14.2f}")
    bound = problem.attributes.bestbound
    print(f"  {'together':<26} {'':>14} {problem.getObjVal() * DAYS:>14.2f}")
    print(f"  {'proved: not below':<26} {'':>14} {bound * DAYS:>14.2f}")
    print(f"  status: {problem.getProbStatusString()}")


def show_progress(sender, data, thread, message, kind, number):
    """Show the solver's latest message: on a terminal they take turns on one line."""
    line = "  " + " ".join((message or "").split())
    if line.strip() and sys.stdout.isatty():
        print("\r" + line[:96].ljust(96), end="", flush=True)
    elif line.strip():
        print(line, flush=True)


def main():
    foods, needs = read("foods.csv"), read("nutrients.csv")
    print(f"Stigler's diet: {len(foods)} foods, {len(needs)} nutrients, prices of August 1939")
    in_dollars(foods, needs)
    in_servings(foods, needs)


if __name__ == "__main__":
    main()
