"""Terms from and to z3's Python interface."""

import threading
import time

import pytest

import quarv

z3 = pytest.importorskip("z3")

DECLARATIONS = ("(declare-sort S 0)(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))(declare-const k Int)"
                "(declare-const r Real)(declare-const p Bool)(declare-const f Float16)(declare-const s S)"
                "(declare-const a (Array Int S))(declare-fun g (Int S) S)(declare-const |a b| Int)")
FORMULAS = [
    "(bvult (bvadd x (bvmul y #x03)) (bvudiv x y))", "(= ((_ extract 5 2) x) ((_ extract 3 0) (bvneg y)))",
    "(= ((_ zero_extend 4) x) ((_ sign_extend 4) y))", "(= ((_ rotate_left 3) x) (bvsmod x y))",
    "(<= (+ k (* 3 k)) (ite p k 7))", "(= (* 2.5 r) (/ 1.0 3.0))", "(and p (or (not p) (= k 2)))", "(= (g k s) (select a k))",
    "(= a (store a k (g 3 s)))", "(fp.lt f (fp.add RNE f f))", "(= ((_ to_fp 8 24) RNE f) ((_ to_fp 8 24) RNE f))",
    "(< |a b| k)", "(= k (to_int r))", "(forall ((v Int)) (< v k))",
    "(forall ((v Int)) (exists ((s S) (k Int)) (! (= (g k s) (g v s)) :pattern ((g k s)))))",
    "(and (> k 3) (exists ((k Bool)) (and k p)))", "(= (mod k 3) 0)", "(= r 2.0)", "(fp.eq f (fp #b0 #b00011 #b0000000001))",
    "(= f ((_ to_fp 5 11) RTZ r))", "(fp.isNaN (fp.sub RTP (_ NaN 5 11) (_ -oo 5 11)))", "(fp.lt (_ -zero 5 11) (fp.abs f))",
    "(= (store ((as const (Array Int S)) s) 3 (select a 2)) a)", "(distinct k (bv2nat x) 7)", "(= (ext_rotate_left x y) (bvnor x y))",
    "(= k (ite p 1 (- 2)))", "(or (< r 3) (= r (/ 1 3)))"
]


@pytest.mark.parametrize("formula", FORMULAS)
def test_there_is_what_z3_itself_reads(formula):
    m = quarv.Manager()
    [term] = m.parse_smt2(f"{DECLARATIONS}(assert {formula})")
    expected = z3.parse_smt2_string(f"{DECLARATIONS}(assert {formula})")[0]
    solver = z3.Solver()
    solver.add(quarv.to_z3(term) != expected)
    assert solver.check() == z3.unsat


@pytest.mark.parametrize("formula", FORMULAS)
def test_there_and_back_again(formula):
    expression = z3.parse_smt2_string(f"{DECLARATIONS}(assert {formula})")[0]
    back = quarv.to_z3(quarv.from_z3(expression))
    solver = z3.Solver()
    solver.add(back != expression)
    assert solver.check() == z3.unsat


def test_shared_parts_stay_shared():
    m = quarv.Manager()
    t = m.bv("x", 8)
    for _ in range(100):
        t = t + t
    expression = quarv.to_z3(t)
    assert quarv.from_z3(expression, m).same(t)
    e = z3.BitVec("x", 8)
    for _ in range(100):
        e = e * e
    assert quarv.from_z3(e).num_nodes == 101


def test_many_nodes_of_each_kind():
    m = quarv.Manager()
    x, k, f, a, r = m.bv("x", 64), m.int("k"), m.fp("f", 8, 24), m.array("a", "Int", "Int"), m.real("r")
    bits, total, floats, array, reals, variables = x, k, f, a, r, k
    for i in range(2000):
        bits = (bits ^ (i * 7919 + 1)) + x
        total = total * (i + 3) + k
        floats = floats + m.value(i * 0.25 - 1, "Float32")
        array = quarv.store(array, i, array[i + 1])
        reals = reals * (r + m.value(i + 0.5, "Real"))
        variables = variables + m.int(f"k{i}")
    for term in (bits, total, floats, array, reals, variables):
        expression = quarv.to_z3(term)
        assert quarv.from_z3(expression, m).same(term)


def test_other_threads_run_meanwhile():
    m = quarv.Manager()
    x, y = m.bv("x", 8), m.bv("y", 8)
    term = x
    for _ in range(100000):
        term = ~(term + y)
    expression = quarv.to_z3(term)
    for convert in (lambda: quarv.to_z3(term), lambda: quarv.from_z3(expression, m)):
        count, stop = [0], []

        def run():
            while not stop:
                count[0] += 1
                time.sleep(0)

        other = threading.Thread(target=run)
        other.start()
        while not count[0]:
            time.sleep(0)
        # On a busy machine a thread may have to wait for longer than a conversion takes.
        during = 0
        for _ in range(10):
            before = count[0]
            convert()
            during = count[0] - before
            if during:
                break
        stop.append(True)
        other.join()
        assert during > 0


def test_operators_that_versions_of_z3_write_in_other_ways():
    m = quarv.Manager()
    x = m.bv("x", 8)
    y = z3.BitVec("x", 8)
    for term, expression in ((quarv.sbv_to_int(x), z3.BV2Int(y, True)), (quarv.ubv_to_int(x), z3.BV2Int(y)),
                             (quarv.int_to_bv(4, m.int("k")), z3.Int2BV(z3.Int("k"), 4))):
        solver = z3.Solver()
        solver.add(quarv.to_z3(term) != expression)
        assert solver.check() == z3.unsat


P, Q, X, Y, I = z3.Bool("p"), z3.Bool("q"), z3.BitVec("x", 8), z3.BitVec("y", 8), z3.Int("i")


@pytest.mark.parametrize("expression", [
    z3.BVMulNoOverflow(X, Y, True), z3.BVMulNoOverflow(X, Y, False), z3.BVMulNoUnderflow(X, Y), z3.BVRedAnd(X), z3.BVRedOr(X),
    z3.AtMost(P, Q, 1), z3.AtLeast(P, Q, 1), z3.PbLe([(P, 2), (Q, 3)], 4), z3.PbGe([(P, 2), (Q, 3)], 3),
    z3.PbEq([(P, 2), (Q, 3)], 3), I**3 == 8, z3.Distinct(I), z3.Or(), z3.And(), z3.And(P), z3.Sum(I),
    z3.simplify(X % 3 == z3.UDiv(X, Y)), z3.FPVal(1.5, z3.Float32()), z3.fpToFPUnsigned(z3.RNE(), X, z3.Float32()),
    z3.SetAdd(z3.EmptySet(z3.IntSort()), 3), z3.ForAll([I], z3.Exists([P], P == (I > 3)), patterns=[I * 2]),
    z3.Const("c", z3.DeclareSort("my sort")), z3.Int("x y"), z3.Int("let")
])
def test_what_z3s_interface_builds(expression):
    solver = z3.Solver()
    solver.add(quarv.to_z3(quarv.from_z3(expression)) != expression)
    assert solver.check() == z3.unsat
    assert z3.is_true(z3.simplify(quarv.simplify_z3(expression) == expression)) or solver.check() == z3.unsat


def test_constants_stay_those_that_z3_has():
    fresh = z3.FreshInt("x")
    for expression in (fresh, z3.Int("and"), z3.Int("a|b"), z3.Const(3, z3.IntSort()), z3.RealVal(2),
                       z3.And(z3.Int("n") > 0, z3.Bool("n")), z3.Int(fresh.decl().name()) - fresh):
        simplified = quarv.simplify_z3(expression)
        solver = z3.Solver()
        solver.add(simplified != expression)
        assert simplified.sort() == expression.sort() and solver.check() == z3.unsat
    with pytest.raises(quarv.Error, match="more than one function of the name"):
        quarv.from_z3(z3.Int(fresh.decl().name()) - fresh)


def test_what_is_bound_is_not_caught():
    n = z3.Int("n")
    shadowed = z3.And(n > 3, z3.Exists([n], n < 0))
    two = z3.And(n > 3, z3.Exists([z3.Int("m")], z3.ForAll([z3.Bool("n")], z3.Bool("n") == (n > z3.Int("m")))))
    deeper = z3.Exists([z3.Int("m")], z3.ForAll([n], z3.Or(n < z3.Int("m"), n > z3.Int("k"))))
    for expression in (shadowed, two, deeper):
        for back in (quarv.to_z3(quarv.from_z3(expression)), quarv.simplify_z3(expression)):
            solver = z3.Solver()
            solver.add(back != expression)
            assert solver.check() == z3.unsat


def test_patterns_are_kept():
    g = z3.Function("g", z3.IntSort(), z3.IntSort())
    expression = z3.ForAll([I], g(I) > I, patterns=[g(I)])
    back = quarv.to_z3(quarv.from_z3(expression))
    assert back.num_patterns() == 1 and back.pattern(0).arg(0).decl() == g


def test_one_line():
    x = z3.BitVec("x", 8)
    assert quarv.simplify_z3(x * 1 + 0 == x ^ x ^ 3).sexpr() == "(= x #x03)"
    context = z3.Context()
    y = z3.BitVec("y", 8, context)
    assert quarv.simplify_z3(y + 0).ctx == context


def test_an_error_of_z3s_reader_does_not_stay():
    with pytest.raises(z3.Z3Exception):
        z3.parse_smt2_string("(assert (no_such_function 3))")
    assert z3.is_add(quarv.to_z3(quarv.Manager().int("i") + 3))


def test_congruences():
    m = quarv.Manager()
    k = m.int("k")
    congruence = m.make("(_ divisible 3)", k + 1)
    assert "divisible" in [t.op for t in congruence.subterms()]
    solver = z3.Solver()
    solver.add(quarv.to_z3(congruence) != ((z3.Int("k") + 1) % 3 == 0))
    assert solver.check() == z3.unsat


def test_what_is_refused():
    v = z3.Int("v")
    for expression, message in ((z3.Lambda([v], v + 1), "lambda"), (z3.Exists([v], v > 3).body(), "outside of its quantifier"),
                                (z3.String("s"), "String"), (I**I, "power"), (z3.Int("a|b"), "a name must not contain")):
        with pytest.raises(quarv.Error, match=message):
            quarv.from_z3(expression)
    for convert in (quarv.to_z3, quarv.from_z3, quarv.simplify_z3):
        with pytest.raises(TypeError, match="is expected, not int"):
            convert(3)
