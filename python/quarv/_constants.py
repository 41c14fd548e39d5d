"""Constants of the usual sorts."""

from ._operators import index_text
from ._quarv import Manager


def bool(self, name):
    """The declared formula of that name."""
    return self.constant(name, "Bool")


def int(self, name):
    """The declared integer of that name."""
    return self.constant(name, "Int")


def real(self, name):
    """The declared real number of that name."""
    return self.constant(name, "Real")


def bv(self, name, width):
    """The declared bit-vector of that name, of `width` bits."""
    return self.constant(name, f"(_ BitVec {index_text(width)})")


def fp(self, name, eb, sb):
    """The declared floating-point number of that name: `eb` bits of exponent, `sb` of significand, the hidden one included."""
    return self.constant(name, f"(_ FloatingPoint {index_text(eb)} {index_text(sb)})")


def array(self, name, index, element):
    """The declared array of that name, from the sort `index` to the sort `element`."""
    return self.constant(name, f"(Array {index} {element})")


for _method in (bool, int, real, bv, fp, array):
    _method.__module__ = "quarv"
    _method.__qualname__ = f"Manager.{_method.__name__}"
    setattr(Manager, _method.__name__, _method)
