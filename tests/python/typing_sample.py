"""What users write, as a type checker sees it. A line that ends in `# error` must be one for it; no other may be."""
from fractions import Fraction
from typing import Optional, Union

import quarv
from quarv import And, BoundsError, Term, extract, ite, to_int, ult, zero_extend

m = quarv.Manager(eager=True, rules=False)
x, y = m.bv("x", 8), m.bv("y", 8)
term: Term = ite(ult(x, y), x[7:4], zero_extend(4, x)[0]) + 1
comparison: Term = x == y
both: Term = And(comparison, True, 3 - x != x & 2)
value: Union[None, bool, int, Fraction] = term.value
names = [s.op.upper() for s in term.subterms()]
is_part: bool = x in term
size: int = term.num_nodes + term.depth + len(x) + m.num_terms + m.mark()
with m.scope() as scoped:
    scoped.real("r")
squared = m.function("squared", ["Int"], m.sort("Int"))
applied: Term = squared(3)
rounded: Term = to_int(Fraction(1, 2) * m.real("r"))


def folded(n: Term) -> Optional[int]:
    return n.value if isinstance(n.value, int) else None


m.add_simplification(squared, folded, after=True)
m.observe(lambda by, before, after: print(by.upper(), after.sort))
replaced: Term = term.substitute({x: 3, y: y + 1}).evaluate({y: 2}, complete=True)
width: Optional[int] = x.sort.width
for step in term.explain():
    rule: Optional[int] = step.rule
memory: int = sum(m.memory().values())
m.limit_memory(None)
back: Term = quarv.from_z3(quarv.to_z3(term), m)
text: str = quarv.to_smt2(both, smallest=True) + quarv.simplify_smt2("(check-sat)", canonical=True)
try:
    print(x[9])
except BoundsError as failure:
    print(failure.args)

x + "1"  # error
extract("7", 0, x)  # error
m.bv("x", "8")  # error
m.no_such_member  # error
wrong: str = x.sort  # error
quarv.Manager(egaer=True)  # error
term.substitute([x])  # error
squared(None)  # error
m.limit_memory("1 GB")  # error
