"""Terms from and to z3's Python interface, term by term."""

from ._quarv import Error, Manager, Term


def _z3():
    import z3  # only whoever calls needs it
    return z3


class _Writer:
    """Builds in one context of z3. What an operator is there, z3's own reader says, once for each."""

    def __init__(self, z3, context, declarations):
        self.z3 = z3
        self.context = context
        self.ref = context.ref()
        sorts, functions = declarations
        self.prelude = "".join(f"(declare-sort {_quoted(n)} {k})" for n, k in sorts)
        self.functions = "".join(f"(declare-fun {_quoted(n)} ({' '.join(a)}) {r})" for n, a, r in functions)
        self.decls = {}
        self.constants = {}

    def parsed(self, declarations, text):
        found = self.z3.parse_smt2_string(f"{self.prelude}{self.functions}{declarations}(assert (= {text} {text}))",
                                          ctx=self.context)
        return found[0].arg(0)

    def decl(self, head, sorts):
        key = head, sorts
        known = self.decls.get(key)
        if known is None:
            names = [f"quarv!{i}" for i in range(len(sorts))]
            consts = "".join(f"(declare-const {n} {s})" for n, s in zip(names, sorts))
            term = self.parsed(consts, f"({head} {' '.join(names)})")
            plain = term.num_args() == len(sorts) and all(str(term.arg(i)) == n for i, n in enumerate(names))
            known = self.decls[key] = (term.decl(), plain, term)
        return known

    def constant(self, text):
        known = self.constants.get(text)
        if known is None:
            known = self.constants[text] = self.parsed("", text)
        return known


def _quoted(name):
    plain = name.replace("_", "a").replace(".", "a").replace("!", "a").isalnum() and not name[0].isdigit()
    return name if plain else f"|{name}|"


def to_z3(term, ctx=None):
    """The term as an expression of z3's Python interface, in a context of its own or the main one; shared parts stay
    shared. Quantified and annotated terms go by their text."""
    z3 = _z3()
    context = z3.main_ctx() if ctx is None else ctx
    writer = _Writer(z3, context, term._declarations())
    nodes = term._nodes()
    if any(head is None for head, _, _ in nodes):
        return writer.parsed("", str(term))
    made = []
    ref = context.ref()
    core = z3.z3core
    try:
        for head, args, _ in nodes:
            if not args:
                ast = writer.constant(head).as_ast()
            else:
                decl, plain, pattern = writer.decl(head, tuple([nodes[i][2] for i in args]))
                if plain:
                    array = (z3.Ast * len(args))(*[made[i] for i in args])
                    ast = core.Z3_mk_app(ref, decl.ast, len(args), array)
                else:  # what z3 makes of other operators
                    names = [z3.Const(f"quarv!{i}", z3.ExprRef(made[a], context).sort()) for i, a in enumerate(args)]
                    values = [z3.z3._to_expr_ref(made[a], context) for a in args]
                    ast = z3.substitute(pattern, *zip(names, values)).as_ast()
            core.Z3_inc_ref(ref, ast)
            made.append(ast)
        return z3.z3._to_expr_ref(made[-1], context)
    finally:
        for ast in made:
            core.Z3_dec_ref(ref, ast)


# Where z3 has a name of its own.
_NAMES = {"if": "ite", "iff": "=", "bvudiv_i": "bvudiv", "bvurem_i": "bvurem", "bvsdiv_i": "bvsdiv", "bvsrem_i": "bvsrem",
          "bvsmod_i": "bvsmod", "bv2int": "ubv_to_int", "bv2nat": "ubv_to_int", "int2bv": "int_to_bv", "implies": "=>"}


class _Reader:

    def __init__(self, z3, manager):
        self.z3 = z3
        self.manager = manager
        self.heads = {}

    def sort(self, sort):
        for name in _declared_sorts(self.z3, sort):
            self.manager.declare_sort(name)
        return sort.sexpr()

    def head(self, expression):
        """A function from arguments to a term."""
        decl = expression.decl()
        key = decl.get_id()
        if key not in self.heads:
            self.heads[key] = self.made_head(expression, decl)
        return self.heads[key]

    def made_head(self, expression, decl):
        z3, manager = self.z3, self.manager
        name = decl.name()
        if decl.kind() == z3.Z3_OP_UNINTERPRETED:
            result = self.sort(decl.range())
            if decl.arity() == 0:
                constant = manager.constant(name, result)
                return lambda: constant
            return manager.function(name, [self.sort(decl.domain(i)) for i in range(decl.arity())], result)
        if decl.kind() == z3.Z3_OP_CONST_ARRAY:
            op = f"(as const {self.sort(expression.sort())})"
        elif expression.num_args() == 0:
            constant = manager.term(expression.sexpr())
            return lambda: constant
        else:
            params = decl.params()
            if decl.kind() == z3.Z3_OP_FPA_TO_FP:
                params = [expression.sort().ebits(), expression.sort().sbits()]
            op = _NAMES.get(name, name)
            if params and all(isinstance(p, int) for p in params):
                op = f"(_ {op} {' '.join(map(str, params))})"
        return lambda *args: manager.make(op, *args)


def _declared_sorts(z3, sort):
    if sort.kind() == z3.Z3_ARRAY_SORT:
        return _declared_sorts(z3, sort.domain()) + _declared_sorts(z3, sort.range())
    return [sort.name()] if sort.kind() == z3.Z3_UNINTERPRETED_SORT else []


def from_z3(expression, manager=None):
    """The expression of z3's Python interface as a term of a manager, or of a new one; shared parts stay shared.
    Quantified expressions are refused."""
    z3 = _z3()
    reader = _Reader(z3, Manager() if manager is None else manager)
    done = {}
    pending = [expression]
    while pending:
        e = pending[-1]
        key = e.get_id()
        if key in done:
            pending.pop()
            continue
        if not z3.is_app(e):
            raise Error("expressions with quantifiers are not taken over term by term")
        children = e.children()
        missing = [c for c in reversed(children) if c.get_id() not in done]
        if missing:
            pending.extend(missing)
            continue
        pending.pop()
        if children:
            done[key] = e, reader.head(e)(*[done[c.get_id()][1] for c in children])
        else:
            done[key] = e, reader.head(e)()
    return done[expression.get_id()][1]


def simplify_z3(expression):
    """An equal expression of z3's Python interface, simplified."""
    return to_z3(from_z3(expression).simplify(), expression.ctx)


for _function in (to_z3, from_z3, simplify_z3):
    _function.__module__ = "quarv"
