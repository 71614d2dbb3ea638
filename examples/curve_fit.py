"""A curve fitted to measured data: Misra's dental monomolecular adsorption, a NIST reference set.

Volume y was measured at pressures x; the model is y = b1 (1 - exp(-b2 x)). Least squares fits it to
all points, and least absolute deviations to all but those that it may miss. NIST certifies the
first fit to eleven digits (Statistical Reference Datasets, Misra1a), so the example checks itself.
Run with a file name, it also draws both curves as a picture (SVG).
"""

import math
import sys

import quilex

# Pressure and volume.
DATA = [
    *((77.6, 10.07), (114.9, 14.73), (141.1, 17.94), (190.8, 23.93), (239.9, 29.61)),
    *((289.0, 35.18), (332.8, 40.02), (378.4, 44.82), (434.8, 50.76), (477.3, 55.05)),
    *((536.8, 61.01), (593.1, 66.40), (689.1, 75.47), (760.0, 81.78)),
]
CERTIFIED = (238.94212918, 5.5015643181e-4, 0.12455138894)
# One reading goes wrong: the least squares follow it, the least absolute deviations do not.
SPOILT = [(x, y + 15 * (x == 434.8)) for x, y in DATA]


def residuals(points, b1, b2):
    """What the model misses each reading by, as expressions of the parameters."""
    return [y - b1 * (1 - quilex.exp(-b2 * x)) for x, y in points]


def fit(points, measure):
    """(b1, b2, measure of the residuals at them), from a start that is far off."""
    problem = quilex.problem("adsorption")
    b1 = quilex.var("b1", lb=0)
    b2 = quilex.var("b2", lb=0, ub=1)
    problem.addVariable(b1, b2)
    problem.setObjective(quilex.Sum(measure(r) for r in residuals(points, b1, b2)))
    problem.setStart([b1, b2], [500, 1e-4])
    problem.solve()
    status = problem.getProbStatusString()
    if status not in ("nlp_solution", "nlp_globally_optimal"):
        raise SystemExit(f"the fit ended as {status}")
    return *problem.getSolution([b1, b2]), problem.getObjVal()


def draw(path, points, curves):
    """An SVG picture of the points and of (label, colour, b1, b2) curves."""
    width, height, margin = 640, 400, 50

    def place(x, y):
        return (
            margin + x / 800 * (width - 2 * margin),
            height - margin - y / 100 * (height - 2 * margin),
        )

    def text(x, y, words, colour="black"):
        return f'<text x="{x:.0f}" y="{y:.0f}" fill="{colour}">{words}</text>'

    lines = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}"'
        ' font-family="sans-serif" font-size="13">',
        f'<rect width="{width}" height="{height}" fill="white"/>',
        f'<path d="M{margin} {margin}V{height - margin}H{width - margin}" fill="none"'
        ' stroke="black"/>',
        text(width / 2 - 30, height - 12, "pressure"),
        text(8, margin - 12, "volume"),
    ]
    for tick in range(0, 801, 200):
        lines.append(text(place(tick, 0)[0] - 10, height - margin + 18, tick))
    for tick in range(20, 101, 20):
        lines.append(text(margin - 30, place(0, tick)[1] + 4, tick))
    for row, (label, colour, b1, b2) in enumerate(curves):
        steps = [place(x, b1 * (1 - math.exp(-b2 * x))) for x in range(0, 801, 10)]
        path_text = "M" + "L".join(f"{x:.1f} {y:.1f}" for x, y in steps)
        lines.append(f'<path d="{path_text}" fill="none" stroke="{colour}" stroke-width="2"/>')
        lines.append(text(margin + 20, margin + 18 * row, label, colour))
    for x, y in points:
        cx, cy = place(x, y)
        lines.append(f'<circle cx="{cx:.1f}" cy="{cy:.1f}" r="4" fill="black"/>')
    with open(path, "w", encoding="utf-8") as file:
        file.write("\n".join([*lines, "</svg>"]) + "\n")


def main():
    b1, b2, squares = fit(DATA, lambda r: r**2)
    print(f"least squares:            b1 = {b1:.8f}, b2 = {b2:.8e}, sum of squares {squares:.9f}")
    found = (b1, b2, squares)
    worst = max(abs(a - b) / b for a, b in zip(found, CERTIFIED))
    print(f"certified by NIST:        agrees to {worst:.1e}")
    if worst > 1e-6:
        raise SystemExit("the fit differs from the certified one")
    pulled = fit(SPOILT, lambda r: r**2)
    robust = fit(SPOILT, quilex.abs)
    print(f"with a wrong reading:     b1 = {pulled[0]:.3f}, b2 = {pulled[1]:.3e}")
    print(f"absolute deviations:      b1 = {robust[0]:.3f}, b2 = {robust[1]:.3e}")
    if len(sys.argv) > 1:
        curves = [
            ("least squares", "#c0392b", *pulled[:2]),
            ("least absolute deviations", "#2471a3", *robust[:2]),
        ]
        draw(sys.argv[1], SPOILT, curves)
        print("drawn:", sys.argv[1])


if __name__ == "__main__":
    main()
