"""Terms of SMT formulas, simplified without changing what they mean.

    >>> import quarv
    >>> m = quarv.Manager()
    >>> x, y = m.bv("x", 8), m.bv("y", 8)
    >>> print((x + 0 == y).simplify())
    (= x y)
"""

from ._quarv import (
    BoundsError,
    Derivation,
    Error,
    Function,
    Manager,
    ParseError,
    Sort,
    SortError,
    Step,
    Term,
    __version__,
    make,
    simplify_smt2,
)
from . import _constants  # gives managers the constants of the usual sorts
from . import _memory  # gives managers scopes, and terms what pickling needs
from . import _rich  # gives the classes their texts, and how notebooks show them
from ._operators import *
from ._z3 import from_z3, simplify_z3, to_z3
from ._operators import __all__ as _operator_names

__all__ = [
    "BoundsError", "Derivation", "Error", "Function", "Manager", "ParseError", "Sort", "SortError", "Step", "Term",
    "from_z3", "make", "parse_smt2", "simplify", "simplify_smt2", "simplify_z3", "to_smt2", "to_z3", *_operator_names
]

for _class in (BoundsError, Derivation, Error, Function, Manager, ParseError, Sort, SortError, Step, Term):
    _class.__module__ = "quarv"  # where users find it


def simplify(term):
    """A term equal to `term`, simplified."""
    return term.simplify()


def parse_smt2(text, name="<string>", manager=None):
    """The assertions of an SMT-LIB script that are in force at its end, as terms of `manager` or of a new one."""
    return (Manager() if manager is None else manager).parse_smt2(text, name)


def to_smt2(*assertions, smallest=False):
    """A script that declares what occurs in the formulas and asserts them; the `smallest` one that says the same."""
    for term in assertions:
        if isinstance(term, Term):
            return term.manager.to_smt2(assertions, smallest=smallest)
    return Manager().to_smt2(assertions, smallest=smallest)
