"""Terms from and to z3's Python interface."""

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
    "(< |a b| k)", "(= k (to_int r))", "(forall ((v Int)) (< v k))"
]


@pytest.mark.parametrize("formula", FORMULAS)
def test_there_is_what_z3_itself_reads(formula):
    m = quarv.Manager()
    [term] = m.parse_smt2(f"{DECLARATIONS}(assert {formula})")
    expected = z3.parse_smt2_string(f"{DECLARATIONS}(assert {formula})")[0]
    solver = z3.Solver()
    solver.add(quarv.to_z3(term) != expected)
    assert solver.check() == z3.unsat


@pytest.mark.parametrize("formula", FORMULAS[:-1])
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


def test_one_line():
    x = z3.BitVec("x", 8)
    assert quarv.simplify_z3(x * 1 + 0 == x ^ x ^ 3).sexpr() == "(= x #x03)"
    context = z3.Context()
    y = z3.BitVec("y", 8, context)
    assert quarv.simplify_z3(y + 0).ctx == context


def test_quantified_expressions_are_refused():
    v = z3.Int("v")
    with pytest.raises(quarv.Error, match="quantifiers"):
        quarv.from_z3(z3.ForAll([v], v > 3))
