"""From Python: terms with operators, a script, and the steps of a simplification."""
import quarv

m = quarv.Manager()
x, y = m.bv("x", 16), m.bv("y", 16)
claim = (~~x + 0) * 2 == y
derivation = claim.explain()
for step in derivation:
    print(step)
print(derivation.before.num_nodes, "nodes became", derivation.after.num_nodes)
print(quarv.to_smt2(claim.simplify()), end="")
