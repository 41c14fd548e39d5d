import ast
import pathlib
import re
import subprocess
import sys
from fractions import Fraction

import pytest

import quarv
from quarv import ParseError, SortError, extract, ite


@pytest.fixture
def m():
    return quarv.Manager()


def test_operators_build_what_they_say(m):
    x, y = m.bv("x", 8), m.bv("y", 8)
    assert str(x + 1 == y) == "(= (bvadd x #x01) y)"
    assert str(1 - x) == "(bvsub #x01 x)"
    assert str(-x * 3) == "(bvmul (bvneg x) #x03)"
    assert str(~(x & 255 | y ^ 1) << 2) == "(bvshl (bvnot (bvor (bvand x #xff) (bvxor y #x01))) #x02)"
    assert str(x != y) == "(not (= x y))"
    assert str(extract(7, 4, x)) == str(x[7:4]) == "((_ extract 7 4) x)"
    assert str(x[0]) == "((_ extract 0 0) x)"
    assert str(quarv.ult(x, 3)) == "(bvult x #x03)"
    assert str(quarv.concat(x, y)) == "(concat x y)"
    assert str(quarv.zero_extend(8, x)) == "((_ zero_extend 8) x)"
    assert str(x + -1) == "(bvadd x #xff)"
    assert str(x + 300) == "(bvadd x #x2c)"


def test_operators_of_each_sort(m):
    i, r, p, q = m.int("i"), m.real("r"), m.bool("p"), m.bool("q")
    f = m.fp("f", 8, 24)
    a = m.array("a", "Int", "(_ BitVec 8)")
    assert str(2 * i + 1 <= 7) == "(<= (+ (* 2 i) 1) 7)"
    assert str(i // 2) == "(div i 2)" and str(i % 2) == "(mod i 2)"
    assert str(r == Fraction(1, 3)) == "(= r (/ 1.0 3.0))"
    assert str(r == 0.5) == "(= r 0.5)"
    assert str(p & ~q | True) == "(or true (and p (not q)))"
    assert str(quarv.implies(p, q)) == "(or q (not p))"
    assert str(f + 1.0) == "(fp.add RNE f (fp #b0 #x7f #b00000000000000000000000))"
    assert str(f <= f) == "(fp.leq f f)"
    assert str(a[i + 1]) == "(select a (+ i 1))"
    assert str(quarv.store(a, 3, 255)) == "(store a 3 #xff)"
    assert str(ite(p, i, 0)) == "(ite p i 0)"
    g = m.function("g", ["Int", m.sort("Bool")], "(_ BitVec 4)")
    assert str(g(1, p) + 1) == "(bvadd (g 1 p) #x1)"


def test_python_signs_mean_nothing_where_there_are_two_operations(m):
    x = m.bv("x", 8)
    for apply, hint in [(lambda: x < 1, "ult or slt"), (lambda: x / 2, "udiv or sdiv"), (lambda: x >> 1, "lshr or ashr"),
                        (lambda: x % 2, "urem, srem or smod")]:
        with pytest.raises(TypeError, match=hint):
            apply()


def test_simplify_and_node_counts(m):
    x = m.bv("x", 8)
    t = ~~(x + 0)
    assert t.num_nodes == 5
    assert t.simplify().same(x)
    assert quarv.simplify(t).num_nodes == 1
    assert m.num_nodes([t, x]) == 5
    assert m.num_terms >= 5
    eager = quarv.Manager(eager=True)
    assert (eager.value(255, "(_ BitVec 8)") + 2).value == 1


def test_values(m):
    assert m.value(-1, "(_ BitVec 100)").value == 2**100 - 1
    assert m.value(3**200, "Int").value == 3**200
    assert m.value(Fraction(-3, 2), "Real").value == Fraction(-3, 2)
    assert m.term("true").value is True
    assert m.bv("x", 8).value is None
    assert str(m.value(0.1, "Float16")) == "(fp #b0 #b01011 #b1001100110)"
    assert str(m.value(float("nan"), "Float64")) == "(_ NaN 11 53)"
    assert str(m.value(float("-inf"), "Float32")) == "(_ -oo 8 24)"


def test_structure(m):
    x = m.bv("x", 8)
    t = x[7:4]
    assert t.op == "extract" and t.args[0].same(x) and t.sort == m.sort("(_ BitVec 4)")
    assert t.sort.width == 4 and str(t.sort) == "(_ BitVec 4)"
    assert x.op == "x" and x.args == ()
    assert x.id < t.id
    assert t.manager.num_terms == m.num_terms


def test_equality_as_truth_lets_terms_be_members(m):
    x, y = m.bv("x", 8), m.bv("y", 8)
    assert x in {x, y} and x in [y, x] and x not in [y]
    assert {x + 1: "sum"}[x + 1] == "sum"
    assert m.bv("x", 8) == x
    assert x != y
    assert (x == None) is False
    with pytest.raises(TypeError, match="neither true nor false"):
        bool(quarv.ult(x, y))


def test_scripts(m):
    x = m.bv("x", 8)
    text = "(declare-const x (_ BitVec 8))\n(assert (= x #x01))\n(push 1)\n(assert false)\n(pop 1)\n(check-sat)"
    [assertion] = m.parse_smt2(text)
    assert assertion.same(x == 1)
    script = quarv.to_smt2(assertion, quarv.ult(x, 3))
    assert script == ("(set-logic ALL)\n(declare-fun x () (_ BitVec 8))\n(assert (= x #x01))\n(assert (bvult x #x03))\n")
    assert [str(t) for t in quarv.parse_smt2(script)] == ["(= x #x01)", "(bvult x #x03)"]
    assert assertion.to_smt2() == "(= x #x01)"
    assert quarv.to_smt2() == "(set-logic ALL)\n"
    assert m.term("(bvadd x x)").same(x + x)
    assert quarv.simplify_smt2("(declare-const p Bool)(assert (or p (not p)))") == (
        "(declare-const p Bool)\n(assert true)\n")


def test_derivations_are_objects(m):
    x = m.bv("x", 8)
    derivation = (~~(x * 2)).explain()
    assert derivation.after.same((x << 1).simplify())
    assert len(derivation) == len(derivation.steps) >= 2
    rules = [step for step in derivation if step.rule is not None]
    assert rules and all(step.name.startswith("rewrite(") for step in rules)
    assert all(step.rule_name and f"by rule {step.rule_name}" in str(step) for step in rules)
    for step in derivation:
        assert step.before.sort == step.after.sort and not step.before.same(step.after)
    folded = m.term("(bvadd #x01 #x02)").explain()
    assert [(step.rule, step.rule_name) for step in folded] == [(None, None)] and folded.steps[0].name == "bvadd"
    assert "by simplifier of bvadd" in str(folded)


def test_own_rules(m):
    x, y = m.bv("x", 8), m.bv("y", 8)
    m.add_rules("rewrite(bvor(t1, bvand(t2, t1_0)), identity(t1, t1_0)) >> t1\n"
                "rewrite(bvor(t1, bvand(t1_0, t2)), identity(t1, t1_0)) >> t1\n")
    assert (x | (y & x)).simplify().same(x)
    with pytest.raises(ParseError, match=r"^my\.rules:1:\d+: error: "):
        m.add_rules("nonsense", "my.rules")


def test_errors_are_one_line(m):
    x, y = m.bv("x", 8), m.bv("y", 16)
    with pytest.raises(SortError, match=r"^bvadd: argument 2 has sort \(_ BitVec 16\), expected \(_ BitVec 8\)$"):
        x + y
    with pytest.raises(SortError, match=r"^1.5 is not a constant of sort \(_ BitVec 8\)$"):
        x + 1.5
    with pytest.raises(ParseError, match=r"^a\.smt2:2:2: error: unknown command foo$"):
        m.parse_smt2("\n(foo)", "a.smt2")
    with pytest.raises(quarv.Error, match="^unknown operator bvfoo$"):
        m.make("bvfoo", x)
    with pytest.raises(quarv.Error, match="^x is already declared with different sorts$"):
        m.int("x")
    with pytest.raises(quarv.Error, match=r"^a name must not contain a NUL byte$"):
        m.int("a\0b")
    with pytest.raises(quarv.Error, match=r"^a name must not contain a NUL byte$"):
        m.declare_sort("S\0")
    with pytest.raises(quarv.Error, match=r"^a name must not contain '\|'$"):
        m.function("f|g", [m.sort("Int")], m.sort("Int"))
    with pytest.raises(quarv.Error, match="different managers"):
        x + quarv.Manager().bv("x", 8)
    with pytest.raises(TypeError):
        x + "1"
    with pytest.raises(ValueError):
        x[9:0]
    assert issubclass(SortError, quarv.Error) and issubclass(ParseError, quarv.Error)


def test_rich_representation(m):
    x = m.bv("<x>", 8)
    html = (x + 1)._repr_html_()
    assert "&lt;x&gt;" in html and "3 nodes" in html and "(_ BitVec 8)" in html
    t = x
    for i in range(5000):
        t = t * x + i
    assert len(t._repr_html_()) < 50000 and len(repr(t)) < 1000
    html = (~~x).explain()._repr_html_()
    assert html.count("<tr>") == 2 and "rule " in html


def test_terms_outlive_the_name_of_their_manager():
    x = quarv.Manager().bv("x", 8)
    assert str((x + 0).simplify()) == "x"


def test_deep_terms(m):
    t = m.bv("x", 8)
    for _ in range(200000):
        t = ~t
    assert t.num_nodes == 200001 and t.simplify().num_nodes == 1


def test_library_semantics():
    terms = [quarv.Manager(), quarv.Manager(library_semantics=True), quarv.Manager(standard=True)]
    quotients = []
    for manager in terms:
        x = manager.bv("x", 8)
        quotients.append(quarv.sdiv(x, x).simplify().value)
    assert quotients == [None, 1, 1]
    script = "(declare-const x (_ BitVec 8))(simplify (bvsdiv x x))"
    kept = quarv.simplify_smt2(script)
    assert quarv.simplify_smt2(script, library_semantics=True) == quarv.simplify_smt2(script, standard=True) != kept


def names_of(tree):
    names = set()
    for node in tree.body:
        if isinstance(node, (ast.FunctionDef, ast.ClassDef)):
            names.add(node.name)
    return names


def test_stubs_tell_of_everything_there_is():
    stubs = ast.parse((pathlib.Path(quarv.__file__).parent / "__init__.pyi").read_text(encoding="utf-8"))
    assert names_of(stubs) == set(quarv.__all__)
    for node in stubs.body:
        if not isinstance(node, ast.ClassDef):
            continue
        found = getattr(quarv, node.name)
        members = {f.name for f in node.body if isinstance(f, ast.FunctionDef)}
        assert {name for name in vars(found) if not name.startswith("_")} <= members, node.name
        assert all(hasattr(found, name) for name in members), node.name


def test_documentation_of_the_package():
    import doctest
    assert doctest.testmod(quarv).failed == 0


def test_the_readme_shows_what_is_printed(capsys):
    readme = (pathlib.Path(__file__).parents[2] / "README.md").read_text(encoding="utf-8")
    [sample] = re.findall(r"```python\n(.*?)```", readme, re.DOTALL)
    exec(sample, {})
    assert capsys.readouterr().out.splitlines() == re.findall(r"  # (.*)", sample)


def test_import_needs_nothing_else():
    code = "import sys, quarv; print(sorted({m.split('.')[0] for m in sys.modules} & {'numpy', 'IPython', 'pandas'}))"
    assert subprocess.run([sys.executable, "-c", code], capture_output=True, text=True).stdout.strip() == "[]"


def test_lack_of_memory_in_gmp_is_a_memory_error():
    code = """
import resource, quarv
m = quarv.Manager(eager=True)
width = 1 << 23
product = minus_one = m.term(f"(bvnot (_ bv0 {width}))")
pages = int(open("/proc/self/statm").read().split()[0])
resource.setrlimit(resource.RLIMIT_AS, (pages * resource.getpagesize() + (256 << 10), resource.RLIM_INFINITY))
try:
    for i in range(3, 1000):
        product = minus_one * -i
except MemoryError as e:
    print(e)
"""
    result = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True)
    assert result.stdout == "out of memory\n", result.stderr


def test_notebooks_fold_long_terms(m):
    x = m.bv("x", 8)
    assert "<details>" not in (x + 1)._repr_html_()
    t = x
    for i in range(100):
        t = (t ^ i) + x
    html = t._repr_html_()
    assert html.count("<details>") == html.count("</details>") == 1
    summary, rest = html.split("</summary>")
    assert len(summary) < 300 and str(t) in rest
    for _ in range(100000):
        t = ~(t + x)
    assert len(t._repr_html_()) < 300
