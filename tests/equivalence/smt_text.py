"""SMT-LIB scripts as text: split into expressions, and made plain for a solver that knows less of the language.

Nothing here recurses: real scripts nest tens of thousands of levels deep.
"""

import re

TOKEN = re.compile(r';[^\n]*|"[^"]*(?:""[^"]*)*"|\|[^|]*\||[()]|[^\s()";|]+')
SIMPLE_SYMBOL = re.compile(r"\|([A-Za-z~!@$%^&*_+=<>.?/-][\w~!@$%^&*+=<>.?/-]*)\|", re.ASCII)
BINDER = re.compile(r"\(\s*(forall|exists)[\s(]")

# Operators of SMT-LIB 2.7 that older solvers lack. Each operand is bound once, so a template may repeat it.
NEWER_NAMES = {"ubv_to_int": "bv2nat", "int_to_bv": "int2bv"}
ZERO, MINIMUM = "(bvsub a a)", "(and (= (bvneg {0}) {0}) (distinct {0} (bvsub {0} {0})))"
SAME_SIGN = "(= (bvslt a (bvsub a a)) (bvslt b (bvsub b b)))"
NEWER_OPERATORS = {
    "sbv_to_int": f"(ite (bvslt a {ZERO}) (- (bv2nat (bvneg a))) (bv2nat a))",
    "bvnego": MINIMUM.format("a"),
    "bvuaddo": "(bvult (bvadd a b) a)",
    "bvsaddo": f"(and {SAME_SIGN} (distinct (bvslt a {ZERO}) (bvslt (bvadd a b) {ZERO})))",
    "bvumulo": "(not (bvumul_noovfl a b))",
    "bvsmulo": "(not (and (bvsmul_noovfl a b) (bvsmul_noudfl a b)))",
    "bvusubo": "(bvult a b)",
    "bvssubo": f"(and (not {SAME_SIGN}) (distinct (bvslt a {ZERO}) (bvslt (bvsub a b) {ZERO})))",
    "bvsdivo": f"(and {MINIMUM.format('a')} (= b (bvnot {ZERO})))",
}
DIVISIBLE = re.compile(r"\(_ divisible (\d+)\)")
REWRITTEN = re.compile("|".join([":named", "divisible", *NEWER_NAMES, *NEWER_OPERATORS]))


def tokens(text):
    """The tokens without comments; a symbol that needs no quotes has none."""
    return [SIMPLE_SYMBOL.sub(r"\1", t) for t in TOKEN.findall(text) if t[0] != ";"]


def normal(text):
    """Equal for texts that differ in white space, comments and needless quotes only."""
    return " ".join(tokens(text))


def split(text):
    """The outermost expressions of a text, comments left out. Throws ValueError when parentheses do not match."""
    parts, depth, start = [], 0, 0
    for match in TOKEN.finditer(text):
        token = match.group()
        if token == "(":
            if depth == 0:
                start = match.start()
            depth += 1
        elif token == ")":
            depth -= 1
            if depth == 0:
                parts.append(text[start : match.end()])
            elif depth < 0:
                raise ValueError("a closing parenthesis too many")
        elif depth == 0 and token[0] != ";":
            parts.append(token)
    if depth > 0:
        raise ValueError("a closing parenthesis is missing")
    return parts


def items(expression):
    """The parts of one expression in parentheses; an atom is its own only part."""
    return split(expression[1:-1]) if expression[0] == "(" else [expression]


def head(command):
    """The command's name."""
    return next((t for t in TOKEN.findall(command[:200]) if t != "(" and t[0] != ";"), "")


def has_binder(text):
    return BINDER.search(text) is not None


class StandaloneTerms:
    """Makes terms of one script independent of `:named`, and rewrites operators that solvers lack by older ones.

    A name given to a sub-term is remembered; later terms that use it get a `let` around them.
    """

    def __init__(self):
        self._named = {}

    def forget(self, name=None):
        """A name (all without one) is declared anew, or its script starts again."""
        if name is None:
            self._named.clear()
        else:
            self._named.pop(name, None)

    def standalone(self, term):
        return self._bound(self._rewritten(term) if REWRITTEN.search(term) else term)

    def _bound(self, term):
        used = sorted(self._named.keys() & set(tokens(term))) if self._named else []
        bindings = " ".join(f"({name} {self._named[name]})" for name in used)
        return f"(let ({bindings}) {term})" if used else term

    def _rewritten(self, term):
        open_lists = [[]]
        for token in tokens(term):
            if token == "(":
                open_lists.append([])
            elif token == ")":
                parts = open_lists.pop()
                open_lists[-1].append(self._closed(parts))
            else:
                open_lists[-1].append(NEWER_NAMES.get(token, token))
        return open_lists[0][0]

    def _closed(self, parts):
        if parts and parts[0] == "!" and ":named" in parts:
            return self._without_name(parts)
        if parts and parts[0] in NEWER_OPERATORS and len(parts) in (2, 3):
            bindings = " ".join(f"({operand} {term})" for operand, term in zip("ab", parts[1:]))
            return f"(let ({bindings}) {NEWER_OPERATORS[parts[0]]})"
        divisible = DIVISIBLE.fullmatch(parts[0]) if len(parts) == 2 else None
        return f"(= (mod {parts[1]} {divisible[1]}) 0)" if divisible else f"({' '.join(parts)})"

    def _without_name(self, annotation):
        at = annotation.index(":named")
        rest = annotation[:at] + annotation[at + 2 :]
        term = rest[1] if len(rest) == 2 else f"({' '.join(rest)})"
        self._named[annotation[at + 1]] = self._bound(term)
        return term
