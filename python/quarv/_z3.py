"""Terms from and to z3's Python interface, term by term."""

from ._operators import ite, sge, sign_extend, sle, zero_extend
from ._quarv import Error, Manager, Term, make


def _z3():
    import z3  # only whoever calls needs it
    return z3


class _Addresses:
    """What z3's Python interface wraps, as numbers, and numbers as what it wraps."""

    def __init__(self, z3, context):
        self.z3 = z3
        self.context = context

    def function(self, name):
        """Of a function of z3's C interface, in the library that z3's Python interface has loaded."""
        import ctypes
        return ctypes.cast(getattr(self.z3.z3core, name).__defaults__[-1].f, ctypes.c_void_p).value

    def of(self, wrapped):
        return wrapped._as_parameter_ if wrapped.value is None else wrapped.value

    def _as(self, kind, address):
        wrapped = kind(address)
        wrapped.value = address
        return wrapped

    def expression(self, address):
        return self.z3.z3._to_expr_ref(self._as(self.z3.z3types.Ast, address), self.context)

    def sort(self, address):
        return self.z3.z3._to_sort_ref(self._as(self.z3.z3types.Sort, address), self.context)


def _quoted(name):
    plain = name.replace("_", "a").replace(".", "a").replace("!", "a").isalnum() and not name[0].isdigit()
    return name if plain else f"|{name}|"


def _application(head, names, sorts):
    """An operator applied to constants of these sorts, in words that all versions of z3 read."""
    if head.startswith("congruent "):
        return f"(= (mod (- {' '.join(names)}) {head.split()[1]}) 0)"
    if head == "sbv_to_int":
        width = int(sorts[0].split()[-1].rstrip(")"))
        sign = f"((_ extract {width - 1} {width - 1}) {names[0]})"
        return f"(let ((n (bv2nat {names[0]}))) (ite (= {sign} #b1) (- n {2**width}) n))"
    return f"({head} {' '.join(names)})" if names else head


class _Writer:
    """Has z3's own reader say what operators and sorts are."""

    def __init__(self, addresses, sorts):
        self.addresses = addresses
        self.sorts = "".join(f"(declare-sort {_quoted(name)} {arity})" for name, arity in sorts)

    def parsed(self, text):
        """The left sides of the equations that a text asserts."""
        z3, context = self.addresses.z3, self.addresses.context
        z3.BoolSort(context)  # or the reader might report an error of an earlier text again
        return [e.arg(0) for e in z3.parse_smt2_string(self.sorts + text, ctx=context)]

    def read(self, sorts, operators):
        declarations, equations = [], []
        for i, sort in enumerate(sorts):
            declarations.append(f"(declare-const quarv!sort!{i} {sort})")
            equations.append(f"(assert (= quarv!sort!{i} quarv!sort!{i}))")
        declared = set()
        for head, places in operators:
            names = [f"quarv!{i}!{place}" for i, place in enumerate(places)]
            for name, place in zip(names, places):
                if name not in declared:
                    declared.add(name)
                    declarations.append(f"(declare-const {name} {sorts[place]})")
            text = _application(head, names, [sorts[place] for place in places])
            equations.append(f"(assert (= {text} {text}))")
        self.kept = found = self.parsed("".join(declarations + equations))
        of, n = self.addresses.of, len(sorts)
        return [of(e.sort().ast) for e in found[:n]], [of(e.as_ast()) for e in found[n:]]


def to_z3(term, ctx=None):
    """The term as an expression of z3's Python interface, in a context of its own or the main one; shared parts stay
    shared."""
    z3 = _z3()
    if not isinstance(term, Term):
        raise TypeError(f"a term is expected, not {type(term).__name__}")
    return _written(term, _Addresses(z3, z3.main_ctx() if ctx is None else ctx), {})


def _written(term, addresses, declarations):
    """`declarations` are the addresses of those that z3 has already, by names."""
    sorts, _ = term._declarations()
    writer = _Writer(addresses, sorts)
    try:
        return term._to_z3(addresses.function, addresses.of(addresses.context.ref()), declarations, writer.read,
                           addresses.expression)
    except addresses.z3.Z3Exception as e:
        raise Error(f"z3: {_message(e)}") from None


def _message(error):
    value = error.value if hasattr(error, "value") else str(error)
    return " ".join((value.decode() if isinstance(value, bytes) else str(value)).split())


# Where z3 has a name of its own.
_NAMES = {"if": "ite", "iff": "=", "bvudiv_i": "bvudiv", "bvurem_i": "bvurem", "bvsdiv_i": "bvsdiv", "bvsrem_i": "bvsrem",
          "bvsmod_i": "bvsmod", "bv2int": "ubv_to_int", "bv2nat": "ubv_to_int", "int2bv": "int_to_bv", "implies": "=>"}


def _wide_product(x, y, extend):
    width = len(x)
    return extend(width, x) * extend(width, y), width


def _unsigned_product_fits(x, y):
    product, width = _wide_product(x, y, zero_extend)
    return product[2 * width - 1:width] == 0


def _signed_product_is_not_above(x, y):
    product, width = _wide_product(x, y, sign_extend)
    return sle(product, 2**(width - 1) - 1)


def _signed_product_is_not_below(x, y):
    product, width = _wide_product(x, y, sign_extend)
    return sge(product, -2**(width - 1))


def _power(x, n):
    exponent = n.value
    if exponent is None or exponent != int(exponent) or not 0 < exponent <= _LARGEST_EXPONENT:
        raise Error(f"a power is taken over where the exponent is a number from 1 to {_LARGEST_EXPONENT}, not {n}")
    result = x
    for _ in range(int(exponent) - 1):
        result = result * x
    return result


_LARGEST_EXPONENT = 64

# Operators that z3 has and SMT-LIB has not.
_FUNCTIONS = {
    "bvumul_noovfl": _unsigned_product_fits, "bvsmul_noovfl": _signed_product_is_not_above,
    "bvsmul_noudfl": _signed_product_is_not_below, "^": _power
}


def _count(params, name):
    """Formulas counted, each as much as it says: what the operators compare with the first parameter."""
    relation, weights = _COUNTS[name], params[1:]

    def compared(*formulas):
        weighed = zip(formulas, weights or [1] * len(formulas))
        total = sum((ite(f, f.manager.value(w, "Int"), 0) for f, w in weighed), formulas[0].manager.value(0, "Int"))
        return make(relation, total, params[0])

    return compared


_COUNTS = {"at-most": "<=", "at-least": ">=", "pble": "<=", "pbge": ">=", "pbeq": "="}


class _Reader:
    """Knows z3's sorts and operators."""

    def __init__(self, addresses, manager):
        self.addresses = addresses
        self.manager = manager
        self.uninterpreted = addresses.z3.Z3_OP_UNINTERPRETED
        self.float_literal = addresses.z3.Z3_OP_FPA_NUM

    def sort(self, address):
        """The text of a sort."""
        return self.declared(self.addresses.sort(address))

    def declared(self, sort):
        for name in _declared_sorts(self.addresses.z3, sort):
            self.manager.declare_sort(name)
        return sort.sexpr()

    def operator(self, address):
        """What stands at the top of an expression: a name, or a function from arguments to a term."""
        z3, manager, expression = self.addresses.z3, self.manager, self.addresses.expression(address)
        if expression.decl().kind() == z3.Z3_OP_CONST_ARRAY:
            return f"(as const {self.declared(expression.sort())})"
        decl = expression.decl()
        if expression.num_args() == 0:
            constant = manager.term({"and": "true", "or": "false"}.get(decl.name(), expression.sexpr()))
            return lambda: constant
        if decl.kind() == z3.Z3_OP_DISTINCT and expression.num_args() == 1:
            return lambda _: manager.term("true")
        params = decl.params()
        if decl.name() in _COUNTS:
            return _count(params, decl.name())
        if decl.kind() == z3.Z3_OP_FPA_TO_FP:
            params = [expression.sort().ebits(), expression.sort().sbits()]
        if decl.name() in _FUNCTIONS:
            return _FUNCTIONS[decl.name()]
        name = _NAMES.get(decl.name(), decl.name())
        if params and all(isinstance(p, int) for p in params):
            return f"(_ {name} {' '.join(map(str, params))})"
        return name


def _declared_sorts(z3, sort):
    if sort.kind() == z3.Z3_ARRAY_SORT:
        return _declared_sorts(z3, sort.domain()) + _declared_sorts(z3, sort.range())
    return [sort.name()] if sort.kind() == z3.Z3_UNINTERPRETED_SORT else []


def from_z3(expression, manager=None):
    """The expression of z3's Python interface as a term of a manager, or of a new one; shared parts stay shared."""
    term, _ = _read(expression, Manager() if manager is None else manager, False)
    return term


def _read(expression, manager, may_rename):
    z3 = _z3()
    if not isinstance(expression, z3.ExprRef):
        raise TypeError(f"an expression of z3 is expected, not {type(expression).__name__}")
    addresses = _Addresses(z3, expression.ctx)
    return manager._from_z3(addresses.of(expression.as_ast()), addresses.function, addresses.of(expression.ctx.ref()),
                            _Reader(addresses, manager), may_rename)


def simplify_z3(expression):
    """An equal expression of z3's Python interface, of the same sort and with the same constants, simplified."""
    term, declarations = _read(expression, Manager(), True)
    z3 = _z3()
    result = _written(term.simplify(), _Addresses(z3, expression.ctx), declarations)
    return z3.simplify(z3.ToReal(result)) if result.sort() != expression.sort() else result


for _function in (to_z3, from_z3, simplify_z3):
    _function.__module__ = "quarv"
