"""Reader of MPS and QPS files (fixed and free form), for the tests only.

Independent of the engine's own reader: published instances are stated through the modelling layer
from what this reader returns, so that a fault in one of the two does not hide a fault in the other.
"""

import gzip
import math
from dataclasses import dataclass, field
from pathlib import Path

SECTIONS = {
    *("NAME", "OBJSENSE", "OBJSENSES", "ROWS", "COLUMNS", "RHS", "RANGES", "BOUNDS", "ENDATA"),
    *("SOS", "QUADOBJ", "QMATRIX", "QSECTION", "QCMATRIX", "INDICATORS"),
}
FIXED_FIELDS = ((1, 3), (4, 12), (14, 22), (24, 36), (39, 47), (49, 61))


@dataclass
class Column:
    """One column: `kind` is C, I, B, S (semi-continuous) or R (semi-integer).

    A column of kind S or R is 0 or between `threshold` and `upper`.
    """

    name: str
    kind: str = "C"
    lower: float = 0.0
    upper: float = math.inf
    threshold: float = 0.0
    cost: float = 0.0
    bounded: bool = False


@dataclass
class Row:
    """One row: lower <= sum of terms + x'Qx <= upper; both lists hold (column, coefficient)."""

    name: str
    lower: float
    upper: float
    terms: list = field(default_factory=list)
    quadratic: list = field(default_factory=list)


@dataclass
class Instance:
    """A model as its file states it; `quadratic` holds (i, j, q) for the sum of q * x_i * x_j."""

    name: str = ""
    maximize: bool = False
    constant: float = 0.0
    columns: list = field(default_factory=list)
    rows: list = field(default_factory=list)
    quadratic: list = field(default_factory=list)
    sets: list = field(default_factory=list)
    indicators: list = field(default_factory=list)

    @property
    def is_discrete(self):
        return bool(self.sets or self.indicators or any(c.kind != "C" for c in self.columns))

    @property
    def has_quadratic_rows(self):
        return any(row.quadratic for row in self.rows)


class ReadError(ValueError):
    """A line that the reader does not understand."""


def read_instance(path):
    """Read one file, gzipped or not; a name with blanks makes it fall back to the fixed columns."""
    path = Path(path)
    opener = gzip.open if path.suffix == ".gz" else open
    with opener(path, "rt", encoding="latin-1") as file:
        lines = [line.rstrip() for line in file]
    try:
        return _Parser(fixed=False).parse(lines)
    except ReadError:
        return _Parser(fixed=True).parse(lines)


class _Parser:
    def __init__(self, fixed):
        self.fixed = fixed
        self.instance = Instance()
        self.column_index = {}
        self.row_index = {}
        self.objective_row = None
        self.free_rows = set()
        self.integer_block = False
        self.quadratic_row = None

    def parse(self, lines):
        section, argument = None, ""
        for number, line in enumerate(lines, 1):
            if not line.strip() or line.startswith("*"):
                continue
            head = line.split()[0].upper()
            if not line[0].isspace() and head in SECTIONS:
                section, argument = head, line[len(head) :].strip()
                if section == "ENDATA":
                    break
                self._open(section, argument)
                continue
            if not line[0].isspace() and section in (None, "NAME", "SOS"):
                continue
            try:
                getattr(self, "_" + section.lower())(line)
            except (KeyError, IndexError, ValueError, AttributeError) as failure:
                raise ReadError(f"line {number}: {line!r}: {failure!r}") from failure
        self._finish()
        return self.instance

    def _open(self, section, argument):
        if section == "NAME":
            self.instance.name = argument
        elif section == "QCMATRIX":
            self.quadratic_row = self.row_index[argument]
        elif section in ("OBJSENSE", "OBJSENSES") and argument:
            self._objsense(argument)

    def _fields(self, line, count):
        """The line's fields as the list [code, name, name, number, name, number], blanks cut off.

        In free form `count` is the number of leading fields that are names or codes, code included
        only where the section has one.
        """
        if self.fixed:
            return [line[a:b].strip() for a, b in FIXED_FIELDS]
        words = line.split()
        return [""] * (2 - count) + words if count < 2 else words

    # -- sections, one method each -----------------------------------------------------------------

    def _objsense(self, line):
        self.instance.maximize = line.strip().upper().startswith("MAX")

    _objsenses = _objsense

    def _rows(self, line):
        fields = self._fields(line, 2)
        kind, name = fields[0].upper(), fields[1]
        if kind == "N":
            if self.objective_row is None:
                self.objective_row = name
            else:
                self.free_rows.add(name)
            return
        sides = {"L": (-math.inf, 0.0), "G": (0.0, math.inf), "E": (0.0, 0.0)}[kind]
        self.row_index[name] = len(self.instance.rows)
        self.instance.rows.append(Row(name, *sides))

    def _columns(self, line):
        if "'MARKER'" in line:
            self.integer_block = "'INTORG'" in line
            return
        fields = self._fields(line, 1)
        name = fields[1]
        if name not in self.column_index:
            self.column_index[name] = len(self.instance.columns)
            self.instance.columns.append(Column(name, "I" if self.integer_block else "C"))
        column = self.column_index[name]
        for row, value in _pairs(fields[2:]):
            if row == self.objective_row:
                self.instance.columns[column].cost += value
            elif row not in self.free_rows:
                self.instance.rows[self.row_index[row]].terms.append((column, value))

    def _row_values(self, line):
        """Pairs of RHS and RANGES, whose set name may be missing."""
        fields = self._fields(line, 1)
        words = fields[1:]
        if not self.fixed and len(words) % 2 == 0:
            return _pairs(words)
        return _pairs(words[1:])

    def _rhs(self, line):
        for name, value in self._row_values(line):
            if name == self.objective_row:
                self.instance.constant = -value
            elif name not in self.free_rows:
                row = self.instance.rows[self.row_index[name]]
                row.lower += value
                row.upper += value

    def _ranges(self, line):
        for name, value in self._row_values(line):
            row = self.instance.rows[self.row_index[name]]
            if row.lower == row.upper:
                row.lower, row.upper = sorted((row.lower, row.lower + value))
            elif math.isinf(row.lower):
                row.lower = row.upper - abs(value)
            else:
                row.upper = row.lower + abs(value)

    def _bounds(self, line):
        fields = self._fields(line, 2)
        kind = fields[0].upper()
        valueless = kind in ("FR", "MI", "PL", "BV")
        if self.fixed:
            name, words = fields[2], [fields[3]]
        else:
            missing_set = len(fields) == (2 if valueless else 3)
            name = fields[1 if missing_set else 2]
            words = fields[2 if missing_set else 3 :]
        value = float(words[0]) if words and words[0] else None
        set_bound(self.instance.columns[self.column_index[name]], kind, value)

    def _sos(self, line):
        words = line.split()
        if words[0].upper() in ("S1", "S2"):
            self.instance.sets.append((int(words[0][1]), []))
        else:
            column, weight = words[-2:]
            self.instance.sets[-1][1].append((self.column_index[column], float(weight)))

    def _quadobj(self, line):
        i, j, value = self._product(line)
        self.instance.quadratic.append((i, j, value / 2 if i == j else value))

    def _qmatrix(self, line):
        i, j, value = self._product(line)
        self.instance.quadratic.append((i, j, value / 2))

    _qsection = _quadobj

    def _qcmatrix(self, line):
        self.instance.rows[self.quadratic_row].quadratic.append(self._product(line))

    def _product(self, line):
        fields = self._fields(line, 1)
        first, second, value = fields[1:4]
        return self.column_index[first], self.column_index[second], float(value)

    def _indicators(self, line):
        kind, row, column, value = line.split()
        if kind.upper() != "IF":
            raise ValueError("only IF is known")
        self.instance.indicators.append(
            (self.column_index[column], int(float(value)), self.row_index[row])
        )

    def _finish(self):
        """Integer columns of a marker block without any bound are binary, as published."""
        for column in self.instance.columns:
            if column.kind in "SR":
                column.threshold, column.lower = max(column.lower, 0.0), min(column.lower, 0.0)
            elif column.kind == "I" and not column.bounded:
                column.kind, column.upper = "B", 1.0


def _pairs(words):
    words = [word for word in words if word]
    if len(words) % 2 or not words:
        raise ValueError("names and numbers do not pair up")
    return [(words[k], float(words[k + 1])) for k in range(0, len(words), 2)]


def set_bound(column, kind, value):
    """Apply one line of the BOUNDS section."""
    column.bounded = True
    if kind in ("LI", "UI", "BV"):
        column.kind = "B" if kind == "BV" else "I"
    elif kind in ("SC", "SI"):
        column.kind = "S" if kind == "SC" else "R"
    if kind in ("LO", "LI"):
        column.lower = value
    elif kind in ("UP", "UI"):
        column.upper = value
        if value < 0 and column.lower == 0:
            column.lower = -math.inf
    elif kind in ("SC", "SI"):
        column.upper = value if value else math.inf
    elif kind == "FX":
        column.lower = column.upper = value
    elif kind == "BV":
        column.lower, column.upper = 0.0, 1.0
    elif kind == "FR":
        column.lower, column.upper = -math.inf, math.inf
    elif kind == "MI":
        column.lower = -math.inf
    elif kind == "PL":
        column.upper = math.inf
    else:
        raise ValueError(f"unknown bound {kind}")
