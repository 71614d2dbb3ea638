"""Makes a faulty random model as small as its fault allows."""

from dataclasses import replace


def shrink(model, fault, attempts=400):
    """The smallest model found whose fault is of the same sort (its text up to the colon).

    fault(model) gives the text, or None for a model without a fault.
    """
    sort = fault(model).partition(":")[0]
    changed = True
    while changed:
        changed = False
        for smaller in _smaller(model):
            attempts -= 1
            if attempts < 0:
                return model
            text = fault(smaller)
            if text is not None and text.partition(":")[0] == sort:
                model, changed = smaller, True
                break
    return model


def _smaller(model):
    """Models with one thing less, the large things first."""
    for k in range(len(model.rows)):
        yield replace(model, rows=_without(model.rows, k))
    for k in range(len(model.sets)):
        yield replace(model, sets=_without(model.sets, k))
    if len(model.columns) > 1:
        for k in range(len(model.columns)):
            if not any(row.when and row.when[0] == k for row in model.rows):
                yield _without_column(model, k)
    if model.products:
        yield replace(model, products=())
    if model.maximize and not model.products:
        yield replace(model, maximize=False)
    if model.constant:
        yield replace(model, constant=0.0)
    for k, column in enumerate(model.columns):
        for simpler in _simpler_columns(column):
            yield replace(model, columns=_with(model.columns, k, simpler))
    for k, row in enumerate(model.rows):
        for simpler in _simpler_rows(row):
            yield replace(model, rows=_with(model.rows, k, simpler))


def _without(items, k):
    return items[:k] + items[k + 1 :]


def _with(items, k, item):
    return (*items[:k], item, *items[k + 1 :])


def _without_column(model, k):
    rows = []
    for row in model.rows:
        when = (row.when[0] - (row.when[0] > k), row.when[1]) if row.when else ()
        rows.append(
            replace(
                row,
                coefficients=_without(row.coefficients, k),
                products=_minor(row.products, k),
                when=when,
            )
        )
    sets = []
    for kind, members, weights in model.sets:
        kept = [(m - (m > k), w) for m, w in zip(members, weights) if m != k]
        if kept:
            sets.append((kind, *map(tuple, zip(*kept))))
    return replace(
        model,
        columns=_without(model.columns, k),
        rows=tuple(rows),
        products=_minor(model.products, k),
        sets=tuple(sets),
    )


def _minor(matrix, k):
    return tuple(_without(row, k) for row in _without(matrix, k))


def _simpler_columns(column):
    if column.kind == "I":
        yield replace(column, kind="C")
    if column.cost not in (0.0, 1.0):
        yield replace(column, cost=0.0)
        yield replace(column, cost=1.0)


def _simpler_rows(row):
    for k, coefficient in enumerate(row.coefficients):
        if coefficient not in (0.0, 1.0):
            yield replace(row, coefficients=_with(row.coefficients, k, 0.0))
            yield replace(row, coefficients=_with(row.coefficients, k, 1.0))
    if row.products:
        yield replace(row, products=())
