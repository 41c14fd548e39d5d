"""The operators that Python has no sign for, or more than one meaning."""

from operator import index as _integer

from ._quarv import Error, make

# Python's name for each operator of SMT-LIB.
_NAMES = {
    "And": "and", "Or": "or", "Not": "not", "implies": "=>", "xor": "xor", "distinct": "distinct", "ite": "ite",
    "concat": "concat", "udiv": "bvudiv", "urem": "bvurem", "sdiv": "bvsdiv", "srem": "bvsrem", "smod": "bvsmod",
    "lshr": "bvlshr", "ashr": "bvashr", "ult": "bvult", "ule": "bvule", "ugt": "bvugt", "uge": "bvuge",
    "slt": "bvslt", "sle": "bvsle", "sgt": "bvsgt", "sge": "bvsge", "select": "select", "store": "store",
    "to_int": "to_int", "ubv_to_int": "ubv_to_int", "sbv_to_int": "sbv_to_int",
}

# With one index, which comes first: zero_extend(8, x).
_INDEXED = ["zero_extend", "sign_extend", "rotate_left", "rotate_right", "repeat", "int_to_bv"]

__all__ = [*_NAMES, *_INDEXED, "extract"]


def index_text(index):
    """An index as SMT-LIB writes it."""
    number = _integer(index)
    if number.bit_length() > 64:  # Python refuses to write very long ones
        raise Error("an index has more than 64 bits")
    return str(number)


def _operator(name, op):
    def apply(*args):
        return make(op, *args)

    apply.__name__ = apply.__qualname__ = name
    apply.__module__ = "quarv"
    apply.__doc__ = f"The operator {op} of SMT-LIB."
    return apply


def _indexed(op):
    def apply(index, term):
        return make(f"(_ {op} {index_text(index)})", term)

    apply.__name__ = apply.__qualname__ = op
    apply.__module__ = "quarv"
    apply.__doc__ = f"The operator (_ {op} index) of SMT-LIB."
    return apply


for _name, _op in _NAMES.items():
    globals()[_name] = _operator(_name, _op)
for _op in _INDEXED:
    globals()[_op] = _indexed(_op)


def extract(high, low, term):
    """Bits `high` down to `low`, both included."""
    return make(f"(_ extract {index_text(high)} {index_text(low)})", term)


extract.__module__ = "quarv"
