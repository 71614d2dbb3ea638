"""Types of the public names of quilex."""

from collections.abc import Callable, Iterator, Sequence
from typing import Any, TypeAlias, overload

import numpy as np
from numpy.typing import NDArray
from typing_extensions import Self

__version__: str

_Number: TypeAlias = int | float | np.intc | np.int_ | np.float32 | np.float64
_Objects: TypeAlias = NDArray[np.object_]
_Operand: TypeAlias = "_Number | var | _Linear | _Quadratic | _Expression | _Nonlinear"
_Parameter: TypeAlias = int | float | str

class _Modelling:
    """What variables, terms, expressions and nonlinear expressions have in common.

    Sums, products and powers become the simplest object that can hold them; a result without a
    variable is a float.
    """

    __hash__: Any
    @overload
    def __add__(self, other: _Operand) -> Any: ...
    @overload
    def __add__(self, other: NDArray[Any]) -> _Objects: ...
    def __radd__(self, other: _Operand) -> Any: ...
    @overload
    def __sub__(self, other: _Operand) -> Any: ...
    @overload
    def __sub__(self, other: NDArray[Any]) -> _Objects: ...
    def __rsub__(self, other: _Operand) -> Any: ...
    @overload
    def __mul__(self, other: _Operand) -> Any: ...
    @overload
    def __mul__(self, other: NDArray[Any]) -> _Objects: ...
    def __rmul__(self, other: _Operand) -> Any: ...
    @overload
    def __truediv__(self, other: _Operand) -> Any: ...
    @overload
    def __truediv__(self, other: NDArray[Any]) -> _Objects: ...
    def __rtruediv__(self, other: _Operand) -> Any: ...
    def __pow__(self, exponent: _Operand, modulus: None = None) -> Any: ...
    def __rpow__(self, base: _Operand) -> Any: ...
    def __neg__(self) -> Any: ...
    def __abs__(self) -> _Nonlinear: ...
    @overload
    def __le__(self, other: _Operand) -> constraint: ...
    @overload
    def __le__(self, other: NDArray[Any]) -> _Objects: ...
    @overload
    def __ge__(self, other: _Operand) -> constraint: ...
    @overload
    def __ge__(self, other: NDArray[Any]) -> _Objects: ...
    @overload  # type: ignore[override]
    def __eq__(self, other: _Operand) -> constraint: ...
    @overload
    def __eq__(self, other: NDArray[Any]) -> _Objects: ...

class _Linear(_Modelling):
    """A coefficient times a variable."""

class _Quadratic(_Modelling):
    """A coefficient times the product of two variables."""

class _Expression(_Modelling):
    """A constant, a linear part and a quadratic part."""

class _Nonlinear(_Modelling):
    """An expression tree for everything else."""

class var(_Modelling):
    """A decision variable, independent of any problem."""

    name: str | bytes
    lb: float
    ub: float
    threshold: float
    vartype: int
    def __init__(
        self,
        name: str | bytes = ...,
        lb: float = 0.0,
        ub: float = 1e20,
        threshold: float = -1e20,
        vartype: int = 0,
    ) -> None: ...

class constraint:
    """lb <= body <= ub."""

    name: str | bytes
    body: Any
    lb: float
    ub: float
    def __init__(
        self,
        constraint: constraint | None = None,
        body: _Operand | None = None,
        lb: float = ...,
        ub: float = ...,
        sense: int = ...,
        rhs: float = ...,
        name: str | bytes = ...,
    ) -> None: ...
    def copy(self) -> Self: ...

class sos:
    """A special ordered set of type 1 or 2."""

    name: str | bytes
    def __init__(
        self,
        indices: Sequence[var],
        weights: Sequence[float],
        type: int = 1,
        name: str | bytes = ...,
    ) -> None: ...
    def copy(self) -> Self: ...

class _Control:
    """The controls of a problem, or of the module, by name."""

    def __getattr__(self, name: str) -> _Parameter: ...
    def __setattr__(self, name: str, value: _Parameter) -> None: ...

class _Attribute:
    """The attributes of a problem by name; read only."""

    def __getattr__(self, name: str) -> _Parameter: ...

class problem:
    """One optimisation problem and the modelling objects that were added to it."""

    @property
    def controls(self) -> _Control: ...
    @property
    def attributes(self) -> _Attribute: ...
    def __init__(self, name: str | None = None) -> None: ...
    def name(self) -> str: ...
    def addVariable(self, *variables: Any) -> None: ...
    def addConstraint(self, *constraints: Any) -> None: ...
    def addSOS(self, *sets: Any) -> None: ...
    @overload
    def addIndicator(self, condition: constraint, constraint: constraint, /) -> None: ...
    @overload
    def addIndicator(self, *pairs: tuple[constraint, constraint]) -> None: ...
    def delVariable(self, index: Any = ..., first: int = ..., last: int = ...) -> None: ...
    def delConstraint(self, index: Any = ..., first: int = ..., last: int = ...) -> None: ...
    def delSOS(self, index: Any = ..., first: int = ..., last: int = ...) -> None: ...
    def getVariable(self, index: Any = ..., first: int = ..., last: int = ...) -> Any: ...
    def getConstraint(self, index: Any = ..., first: int = ..., last: int = ...) -> Any: ...
    def getSOS(self, index: Any = ..., first: int = ..., last: int = ...) -> Any: ...
    def getIndex(self, obj: var | constraint | sos) -> int: ...
    def setObjective(self, objective: _Operand, sense: int = 1) -> None: ...
    def solve(self, flags: str | None = None) -> None: ...
    def getObjVal(self) -> float: ...
    def getSolution(self, *objects: Any) -> Any: ...
    def getRCost(self, *objects: Any) -> Any: ...
    def getDual(self, *objects: Any) -> Any: ...
    def getSlack(self, *objects: Any) -> Any: ...
    def getProbStatus(self) -> int: ...
    def getProbStatusString(self) -> str: ...
    @overload
    def getControl(self, name: str, /) -> _Parameter: ...
    @overload
    def getControl(
        self, *names: str | list[str] | tuple[str, ...] | Iterator[str]
    ) -> dict[str, _Parameter]: ...
    @overload
    def setControl(self, name: str, value: _Parameter, /) -> None: ...
    @overload
    def setControl(self, settings: dict[str, _Parameter], /) -> None: ...
    @overload
    def getAttrib(self, name: str, /) -> _Parameter: ...
    @overload
    def getAttrib(
        self, *names: str | list[str] | tuple[str, ...] | Iterator[str]
    ) -> dict[str, _Parameter]: ...

class branchobj:
    """A user branching object, for use in callbacks."""

    def __init__(
        self, prob: problem, branches: Sequence[Any] = ..., isoriginal: bool | int = True
    ) -> None: ...

class poolcut:
    """A cut of the cut pool, as callbacks get it."""

controls: _Control

def Sum(*terms: Any) -> Any: ...
def Prod(*factors: Any) -> Any: ...
def Dot(*arrays: Any, out: NDArray[Any] | None = None) -> Any: ...
def sin(x: Any, /) -> Any: ...
def cos(x: Any, /) -> Any: ...
def tan(x: Any, /) -> Any: ...
def asin(x: Any, /) -> Any: ...
def acos(x: Any, /) -> Any: ...
def atan(x: Any, /) -> Any: ...
def exp(x: Any, /) -> Any: ...
def log(x: Any, /) -> Any: ...
def log10(x: Any, /) -> Any: ...
def abs(x: Any, /) -> Any: ...
def sqrt(x: Any, /) -> Any: ...
def sign(x: Any, /) -> Any: ...
def erf(x: Any, /) -> Any: ...
def erfc(x: Any, /) -> Any: ...
def max(*arguments: Any) -> Any: ...
def min(*arguments: Any) -> Any: ...
def user(function: Callable[..., Any], /, *arguments: Any) -> Any: ...
def getlasterror() -> tuple[int, str]: ...
def getversion() -> str: ...
def getbanner(*arguments: Any, **keywords: Any) -> str: ...
def getcheckedmode() -> bool: ...
def setcheckedmode(checked_mode: object) -> None: ...
def setdefaultcontrol(ipar: str) -> None: ...
def setdefaults() -> None: ...
def addcbmsghandler(
    msghandler: Callable[[Any, Any, Any, str | None, int, int], object], data: Any, priority: int
) -> None: ...
def removecbmsghandler(msghandler: Callable[..., object] | None, data: Any) -> None: ...
def init() -> None: ...
def free() -> None: ...

continuous: int
binary: int
integer: int
semicontinuous: int
semiinteger: int
partiallyinteger: int
minimize: int
maximize: int
leq: int
geq: int
eq: int
range: int
infinity: float
solinfo_absprimalinfeas: int
solinfo_relprimalinfeas: int
solinfo_absdualinfeas: int
solinfo_reldualinfeas: int
solinfo_maxmipfractional: int
basis_nonbasic_lower: int
basis_basic: int
basis_nonbasic_upper: int
basis_superbasic: int
lp_unstarted: int
lp_optimal: int
lp_infeas: int
lp_cutoff: int
lp_unfinished: int
lp_unbounded: int
lp_cutoff_in_dual: int
lp_unsolved: int
lp_nonconvex: int
mip_not_loaded: int
mip_lp_not_optimal: int
mip_lp_optimal: int
mip_no_sol_found: int
mip_solution: int
mip_infeas: int
mip_optimal: int
mip_unbounded: int
nlp_unstarted: int
nlp_solution: int
nlp_locally_optimal: int
nlp_globally_optimal: int
nlp_locally_infeasible: int
nlp_infeasible: int
nlp_unbounded: int
nlp_unfinished: int
stop_timelimit: int
stop_ctrlc: int
stop_nodelimit: int
stop_iterlimit: int
stop_mipgap: int
stop_sollimit: int
stop_user: int
type_notdefined: int
type_int: int
type_int64: int
type_double: int
type_string: int
colinfo_value: int
colinfo_rdj: int
colinfo_deltaindex: int
colinfo_delta: int
colinfo_deltadj: int
colinfo_updaterow: int
colinfo_sb: int
colinfo_sbdual: int
rowinfo_slack: int
rowinfo_dual: int
rowinfo_numpenaltyerrors: int
rowinfo_maxpenaltyerror: int
rowinfo_totalpenaltyerror: int
rowinfo_currentpenaltyerror: int
rowinfo_currentpenaltyfactor: int
rowinfo_penaltycolumnplus: int
rowinfo_penaltycolumnplusvalue: int
rowinfo_penaltycolumnplusdj: int
rowinfo_penaltycolumnminus: int
rowinfo_penaltycolumnminusvalue: int
rowinfo_penaltycolumnminusdj: int
msset_initialvalues: int
msset_initialfiltered: int
msset_solvers: int
msset_slp_basic: int
msset_slp_extended: int
msset_knitro_basic: int
msset_knitro_extended: int
