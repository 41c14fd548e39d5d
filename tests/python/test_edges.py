"""Where Python's habits meet the library's."""
import copy
import inspect
from fractions import Fraction

import pytest

import quarv
from quarv import And, BoundsError, Error, SortError

LONG = 10**5000  # more digits than Python writes or reads


@pytest.fixture
def m():
    return quarv.Manager()


def test_numbers_of_any_length(m):
    assert m.value(LONG, "Int").value == LONG
    assert m.value(-LONG, "Int").value == -LONG
    assert m.value(Fraction(LONG, 7), "Real").value == Fraction(LONG, 7)
    assert m.value(LONG + 3, "(_ BitVec 8)").value == (LONG + 3) % 256
    assert (m.int("i") + LONG).args[1].value == LONG
    assert str(m.value(LONG, "Float32")) == "(_ +oo 8 24)"
    with pytest.raises(SortError, match="^a value of type int is not a constant of sort Bool$"):
        m.value(LONG, "Bool")
    for declare in (lambda: m.bv("x", LONG), lambda: quarv.extract(LONG, 0, m.bv("y", 8)),
                    lambda: quarv.zero_extend(LONG, m.bv("y", 8))):
        with pytest.raises(Error, match="^an index has more than 64 bits$"):
            declare()


def test_integers_become_floats_in_one_step(m):
    # A double has 53 bits: rounded to one on the way, the last bit would be lost or the tie go the other way.
    exact = m.value(2**60 + 1, "Float128")
    assert str(exact) == "(fp #b0 #b100000000111011 #x0000000000000010000000000000)"
    assert str(m.value(2**60 + 2**36 + 1, "Float32")) == "(fp #b0 #xbb #b00000000000000000000001)"
    assert str(m.value(-3, "Float32")) == str(m.value(-3.0, "Float32"))
    assert str(m.value(0, "Float16")) == "(_ +zero 5 11)"


def test_comparing_never_raises(m):
    x, y, p = m.bv("x", 8), m.bv("y", 16), m.bool("p")
    other = quarv.Manager().bv("x", 8)
    for stranger in (y, p, other, 1.5, Fraction(1, 2), "x", None):
        assert x in [stranger, x] and x not in [stranger]
        assert stranger not in [x]
        assert not x == stranger and x != stranger
    assert {x: 1, y: 2, p: 3, other: 4}[x] == 1


def test_a_comparison_that_cannot_be_is_no_term(m):
    x, y, p = m.bv("x", 8), m.bv("y", 16), m.bool("p")
    message = r"^=: argument 2 has sort \(_ BitVec 16\), expected \(_ BitVec 8\)$"
    for use in (lambda: (x == y) & p, lambda: p | (x == y), lambda: And(p, x == y), lambda: And(x == y, x == y),
                lambda: quarv.to_smt2(p, x == y), lambda: m.num_nodes([x == y]), lambda: (x == y).simplify()):
        with pytest.raises(SortError, match=message):
            use()
    assert "expected (_ BitVec 8)" in repr(x == y)


def test_bits(m):
    x = m.bv("x", 8)
    assert x[-1].same(x[7]) and x[-8].same(x[0])
    assert x[:].same(x[7:0]) and x[5:].same(x[5:0]) and x[:5].same(x[7:5]) and x[-1:-4].same(x[7:4])
    assert len(x) == 8 and [b.same(x[i]) for i, b in enumerate(x)] == [True] * 8
    assert m.bv("b", 1)[-1].same(m.bv("b", 1)[0])
    for outside in (8, -9, 10**30, slice(8, 0), slice(7, -9), slice(0, 7)):
        with pytest.raises(BoundsError):
            x[outside]
    assert issubclass(BoundsError, IndexError) and issubclass(BoundsError, Error)
    for key in ("a", 1.5, slice(7, 0, 2), slice("a", 0)):
        with pytest.raises(TypeError):
            x[key]


def test_what_has_no_end_is_not_gone_through(m):
    for t in (m.array("a", "Int", "Int"), m.int("i")):
        for use in (lambda: list(t), lambda: 1 in t, lambda: len(t)):
            with pytest.raises(TypeError):
                use()


def test_objects_that_were_not_initialised(m):
    empty = quarv.Manager.__new__(quarv.Manager)
    for use in (lambda: empty.bv("x", 8), lambda: empty.num_terms, lambda: empty.sort("Int"), lambda: empty == m,
                lambda: hash(empty), lambda: empty.parse_smt2(""), lambda: empty.to_smt2([])):
        with pytest.raises(Error, match="^Manager.__init__ has not been called$"):
            use()

    class Late(quarv.Manager):
        def __init__(self):
            with pytest.raises(Error):
                self.bv("x", 8)
            super().__init__()

    assert str(Late().bv("x", 8)) == "x"
    x = m.bv("x", 8)
    function = m.function("f", ["Int"], "Int")
    derivation = (x + 0).explain()
    for thing in (x, x.sort, function, derivation, derivation.steps[0], x == 1.5):
        for make in (lambda: type(thing).__new__(type(thing)), type(thing)):
            with pytest.raises(TypeError):
                make()


def test_copies_and_equality_of_managers(m):
    x = m.bv("x", 8)
    assert copy.copy(x) is x and copy.deepcopy([x])[0] is x and copy.deepcopy(m) is m
    assert x.manager == m and x.manager != quarv.Manager() and hash(x.manager) == hash(m)


def test_comparisons_of_any_number_but_one(m):
    x, y = m.bv("x", 8), m.bv("y", 8)
    assert str(quarv.ugt(x, y, x)) == "(and (bvult y x) (bvult x y))"
    with pytest.raises(Error, match="^bvugt: 1 argument given, at least 2 expected$"):
        quarv.ugt(x)
    with pytest.raises(Error, match="^bvcomp: 3 arguments given, 2 expected$"):
        quarv.make("bvcomp", x, y, x)


def test_a_manager_is_one_object(m):
    x = m.bv("x", 8)
    assert x.manager is m and (x + 1).manager is m
    alone = quarv.Manager().bool("p")  # its manager's object is gone
    assert alone.manager is alone.manager and alone.manager == alone.manager
    copied = m.copy(x)
    assert copied.manager is m and quarv.parse_smt2("(declare-const q Bool)(assert q)", manager=m)[0].manager is m


def test_names_that_no_symbol_has(m):
    for name in ("a\0b", "a|b", "a\\b"):
        for declare in (lambda: m.bv(name, 8), lambda: m.declare_sort(name), lambda: m.function(name, ["Int"], "Int")):
            with pytest.raises(Error, match="^a name must not contain (a NUL byte|'[|]'|'\\\\')$"):
                declare()
    assert str(m.bv("", 8)) == "||" and str(m.bv("a b", 8)) == "|a b|"


def test_values_are_of_the_sort_that_is_asked_for(m):
    for value, sort in ((True, "Int"), (True, "(_ BitVec 1)"), (m.int("i"), "Bool"), (1, "Bool")):
        with pytest.raises(SortError, match="is not a constant of sort"):
            m.value(value, sort)
    assert m.value(True, "Bool").value is True and m.value(3, "Real").value == 3
    with pytest.raises(TypeError, match="^a sort is given as a Sort or as its text, not as int$"):
        m.constant("x", 8)
    for wrong in (1, "x"):
        with pytest.raises(TypeError):
            quarv.to_smt2(wrong)


def members():
    for name in quarv.__all__:
        found = getattr(quarv, name)
        yield name, name, found
        if inspect.isclass(found):
            for key, member in vars(found).items():
                if not key.startswith("__"):
                    yield f"{name}.{key}", key, member


def test_everything_has_a_name_and_a_text():
    for where, name, found in members():
        assert name.startswith("_") or found.__doc__ and not found.__doc__.isspace(), where
        if isinstance(found, property):
            continue
        assert found.__name__ == name, where
        if not name.startswith("_") and "pybind11" not in type(found).__name__:
            assert "lambda" not in repr(found), where
    assert repr(quarv.Manager.bv).startswith("<function Manager.bv ")
    assert quarv.Term.__module__ == quarv.ult.__module__ == "quarv"
