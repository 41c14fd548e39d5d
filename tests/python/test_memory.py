"""Marks, substitution, values, simplifications of one's own, and terms that travel."""

import gc
import io
import pickle

import pytest

import quarv


@pytest.fixture
def m():
    return quarv.Manager()


def test_what_is_made_in_a_scope_is_gone(m):
    x = m.bv("x", 8)
    before = m.num_terms
    with m.scope():
        y = m.bv("y", 8)
        total = x + y
        sort = y.sort
        f = m.function("f", ["Int"], "Int")
        assert m.num_terms > before
    assert m.num_terms == before
    for use in (lambda: y + 1, lambda: str(total), lambda: total.simplify(), lambda: y.args, lambda: f(3),
                lambda: str(sort), lambda: m.constant("z", sort), lambda: x + y, lambda: y.same(x)):
        with pytest.raises(quarv.Error, match="released"):
            use()
    assert str(x + 1) == "(bvadd x #x01)"
    assert str(m.int("y")) == "y", "the name is free again"


def test_old_terms_that_were_met_in_a_scope_stay(m):
    x = m.bv("x", 8)
    total = x + 1
    with m.scope():
        part = total.args[0]
        more = total + 2
        again = more.args[0]
    assert part.same(x) and again.same(total)


def test_levels_forget_declarations_and_keep_terms(m):
    x = m.bv("x", 8)
    m.push()
    y = m.bv("y", 8)
    m.push(2)
    assert m.num_levels == 3
    sum_of_both = x + y
    m.pop(2)
    assert m.term("y") is not None
    m.pop()
    assert m.num_levels == 0
    with pytest.raises(quarv.Error, match="y"):
        m.term("y")
    assert str(m.term("(bvadd x #x00)").simplify()) == "x"
    assert m.bv("y", 4) != y  # the name may have another sort now
    assert str((sum_of_both - y).simplify()) == "x"


def test_levels_that_are_not_open_cannot_be_closed(m):
    m.push()
    with pytest.raises(quarv.Error, match="more levels than are open"):
        m.pop(2)
    assert m.num_levels == 1


def test_a_mark_within_a_level_ends_with_it(m):
    m.push()
    m.bv("x", 8)
    mark = m.mark()
    m.pop()
    with pytest.raises(quarv.Error, match="not in force"):
        m.release(mark)


def test_marks_nest(m):
    outer = m.mark()
    x = m.bv("x", 8)
    inner = m.mark()
    y = m.bv("y", 8)
    m.release(inner)
    assert str(x) == "x"
    with pytest.raises(quarv.Error, match="not in force"):
        m.release(inner)
    m.release(outer)
    for term in (x, y):
        with pytest.raises(quarv.Error, match="released"):
            str(term)
    with pytest.raises(quarv.Error, match="not in force"):
        m.release(7)


def test_simplification_after_a_release_is_as_before(m):
    x = m.bv("x", 8)
    t = (x + 0) * 1
    with m.scope():
        assert t.simplify().same(x)
        (m.bv("y", 8) + x - x).simplify()
    assert t.simplify().same(x)


def test_memory_can_be_limited():
    m = quarv.Manager(eager=True)
    x, y = m.bv("x", 8), m.bv("y", 8)
    m.limit_memory(sum(m.memory().values()) + 500_000)
    t = x
    with pytest.raises(MemoryError, match="^the limit on memory is reached$"):
        for _ in range(1_000_000):
            t = (t ^ y) * x
    m.limit_memory(None)
    for _ in range(1000):
        t = (t ^ y) * x
    assert set(m.memory()) == {"terms", "symbols", "tables", "numbers"}


def test_substitution_and_values(m):
    x, y, p = m.bv("x", 8), m.bv("y", 8), m.bool("p")
    t = quarv.ite(p, x - y, y)
    assert str(t.substitute({x: y, y: x})) == "(ite p (bvsub y x) x)"
    assert str(t.substitute({x: 3, p: True})) == "(ite true (bvsub #x03 y) y)"
    assert t.evaluate({x: 3, y: 5, p: True}).value == 254
    assert t.evaluate({p: False}).same(y)
    assert t.evaluate({}, complete=True).value == 0
    with pytest.raises(quarv.SortError):
        t.substitute({x: p})
    with pytest.raises(quarv.Error):
        t.evaluate({x + 1: 3})


def test_walks(m):
    x, y = m.bv("x", 8), m.bv("y", 8)
    t = (x + y) * (x + y)
    assert [str(s) for s in t.subterms()] == ["x", "y", "(bvadd x y)", "(bvmul (bvadd x y) (bvadd x y))"]
    assert [str(c) for c in t.constants()] == ["x", "y"]
    assert t.depth == 3
    assert x in t and (x + y) in t and (y + x) not in t


@pytest.mark.parametrize("eager", [False, True])
def test_own_simplification_of_a_function(eager):
    m = quarv.Manager(eager=eager)
    square = m.function("square", ["Int"], "Int")
    seen = []

    def fold(n):
        seen.append(n.op)
        return n.value**2 if n.value is not None else None

    m.add_simplification(square, fold)
    assert square(square(3)).simplify().value == 81
    assert str(square(m.int("k")).simplify()) == "(square k)"
    assert "k" in seen


def test_own_simplification_before_and_after(m):
    x = m.bv("x", 8)
    calls = []
    m.add_simplification("bvudiv", lambda a, b: calls.append("before"))
    m.add_simplification("bvudiv", lambda a, b: a if a.same(b) else calls.append("after"), after=True)
    quarv.udiv(x, x + 1).simplify()
    assert calls[0] == "before" and "after" in calls
    with pytest.raises(quarv.Error):
        m.add_simplification("no such operator", lambda: None)
    with pytest.raises(TypeError):
        m.add_simplification("bvudiv", 3)


def test_errors_of_own_simplifications_pass_through(m):
    x = m.bv("x", 8)

    def fail(a, b):
        raise ZeroDivisionError("mine")

    m.add_simplification("bvmul", fail)
    with pytest.raises(ZeroDivisionError, match="mine"):
        (x * x).simplify()
    assert (x + 0).simplify().same(x)


def test_nothing_is_released_while_terms_are_simplified(m):
    mark = m.mark()
    x = m.bv("x", 8)
    m.add_simplification("bvmul", lambda a, b: m.release(mark))
    with pytest.raises(quarv.Error, match="must not release"):
        (x * x).simplify()
    assert str(x) == "x"


def test_observers_hear_of_each_step():
    m = quarv.Manager(extended=False)
    x = m.bv("x", 8)
    steps = []
    m.observe(lambda by, before, after: steps.append((by, " ".join(map(str, before)) if isinstance(before, tuple) else str(before),
                                                      str(after))))
    (x * 1).simplify()
    assert steps == [("bvmul-constant-first", "(bvmul x #x01)", "(bvmul #x01 x)"), ("bvmul-one", "(bvmul #x01 x)", "x")]
    steps.clear()
    quarv.udiv(m.value(12, "(_ BitVec 8)"), 3).simplify()
    assert steps == [("bvudiv", "#x0c #x03", "#x04")]
    steps.clear()
    m.observe(None)
    (x * 0).simplify()
    assert steps == []


def test_managers_with_functions_of_their_own_are_collected():
    import weakref

    class Callable:
        def __call__(self, *_args):
            return None

    function = Callable()
    watched = weakref.ref(function)
    m = quarv.Manager()
    m.add_simplification("bvadd", function)
    m.observe(function)
    del function, m
    gc.collect()
    assert watched() is None


def test_copies_between_managers(m):
    other = quarv.Manager()
    t = (m.bv("x", 8) + 1 == m.bv("y", 8))
    copied = other.copy(t)
    assert str(copied) == str(t) and copied.manager == other
    assert copied.args[0].args[0].same(other.bv("x", 8))
    assert m.copy(t).same(t)
    other.int("z")
    with pytest.raises(quarv.Error, match="different sorts"):
        other.copy(m.bv("z", 8))


def test_terms_can_be_pickled(m):
    f = m.function("f", ["Int", m.declare_sort("S")], "Bool")
    s = m.constant("a name", m.sort("S"))
    t = quarv.And(f(m.int("k"), s), m.bv("x", 8)[3:1] == 2, m.term("(forall ((v Int)) (< v k))"))
    back, parts = pickle.loads(pickle.dumps((t, list(t.args))))
    assert str(back) == str(t)
    assert back.manager != m and back.manager == parts[0].manager
    assert all(a.same(b) for a, b in zip(back.args, parts))
    eager = pickle.loads(pickle.dumps(quarv.Manager(eager=True)))
    assert str(eager.value(3, "(_ BitVec 8)") + 4) == "#x07"
    with pytest.raises(TypeError, match="not alone"):
        pickle.dumps(t.sort)


def test_pickled_terms_keep_their_names(m):
    p, q = m.bool("p"), m.bool("q")
    named = m.term("(! (and p q) :named a)")
    inner = m.term("(or (! (not p) :named b :note 1) q)")
    script = m.to_smt2([named, inner])
    assert "(! (and p q) :named a)" in script and "(! (not p) :named b :note 1)" in script
    back = pickle.loads(pickle.dumps([named, inner]))
    assert back[0].manager.to_smt2(back) == script

    class Alone:  # what is pickled within what is being pickled has no part in it
        def __reduce__(self):
            return pickle.loads, (pickle.dumps(named), )

    first, alone = pickle.loads(pickle.dumps((named, Alone())))
    for t in (first, alone):
        assert "(! (and p q) :named a)" in t.manager.to_smt2([t])


def grown(m, num_terms):
    """Terms of which each is a part of the next one."""
    x, y = m.bv("x", 32), m.bv("y", 32)
    terms = [x]
    for i in range(num_terms):
        t = terms[-1]
        terms.append(t * 3 + y if i % 2 else quarv.ite(quarv.ult(t, y), t ^ i, t))
    return terms


def test_what_pickled_terms_share_is_written_once(m):
    few, many = (len(pickle.dumps(grown(m, n))) for n in (200, 400))
    assert many < 3 * few
    terms = grown(m, 400)
    back = pickle.loads(pickle.dumps(terms))
    assert all(m.copy(b).same(t) for b, t in zip(back, terms))
    assert back[-1].num_nodes == terms[-1].num_nodes and len({t.manager for t in back}) == 1


def test_all_kinds_of_terms_travel():
    script = """(declare-sort S 0) (declare-fun |a b| (S Int) Bool) (declare-const s S) (declare-const i Int)
      (declare-const r Real) (declare-const f Float16) (declare-const m (Array Int S)) (declare-const p Bool)
      (assert (|a b| (select (store m (div i 3) s) (mod i 2)) (abs i)))
      (assert (and (=> p (< (/ r 2.0) (to_real i) r)) (distinct i 3 4) (is_int r) ((_ divisible 3) i)))
      (assert (forall ((j Int)) (! (or p (< j i)) :pattern ((|a b| s j)))))
      (assert (fp.lt (fp.add RTP f ((_ to_fp 5 11) RNE 0.1)) ((_ to_fp 5 11) #x3c00)))
      (assert (= ((as const (Array Int S)) s) (ite (xor p (= i 1)) m m)))
      (assert (= ((_ fp.to_sbv 8) RTZ f) (bvsmod #x05 ((_ int2bv 8) (bv2nat ((_ rotate_left 2) #b101))))))"""
    terms = quarv.parse_smt2(script)
    for t in terms:
        terms.extend(t.args if t.op != "forall" else ())
    for protocol in range(pickle.HIGHEST_PROTOCOL + 1):
        back = pickle.loads(pickle.dumps(terms, protocol))
        assert all(str(t.manager.copy(b)) == str(t) for b, t in zip(back, terms))  # operands come in order of age


def test_dumps_within_dumps_and_side_by_side(m):
    terms = grown(m, 20)

    class Nested:
        def __reduce__(self):
            return pickle.loads, (pickle.dumps(terms[10:]), )

    first, inner, last = pickle.loads(pickle.dumps((terms[15], Nested(), terms[20])))
    assert str(first) == str(terms[15]) and str(inner[-1]) == str(terms[20]) == str(last)
    assert first.manager == last.manager != inner[0].manager

    one, other = io.BytesIO(), io.BytesIO()
    pickler, another = pickle.Pickler(one), pickle.Pickler(other)
    for t in terms:
        pickler.dump(t)
        another.dump(t)
    del another
    pickler.dump([terms[20] + 1])
    for stream, expected in ((one, [*terms, [terms[20] + 1]]), (other, terms)):
        unpickler = pickle.Unpickler(io.BytesIO(stream.getvalue()))
        for t in expected:
            assert str(unpickler.load()) == str(t)


def test_terms_are_pickled_after_a_release(m):
    x = m.bv("x", 8)
    stream = io.BytesIO()
    pickler = pickle.Pickler(stream)
    with m.scope():
        pickler.dump(x + m.bv("y", 8))
    pickler.dump(x * m.bv("z", 8))
    unpickler = pickle.Unpickler(io.BytesIO(stream.getvalue()))
    assert [str(unpickler.load()) for _ in range(2)] == ["(bvadd x y)", "(bvmul x z)"]
