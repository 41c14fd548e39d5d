"""Pairs the commands of a script with those of its simplified form, and says which terms must be equal."""

import dataclasses

from smt_text import StandaloneTerms, head, items, normal

DEFINITIONS = {"define-fun", "define-const", "define-fun-rec", "define-funs-rec"}
DECLARATIONS = {"declare-fun", "declare-const", "declare-sort", "define-sort"}
TERM_LISTS = {"check-sat-assuming", "get-value"}


class Mismatch(Exception):
    """The output is not the input with some terms replaced and some definitions added."""


@dataclasses.dataclass
class Query:
    """Two terms that must be equal, for all values of the parameters in `binders`."""

    number: int
    label: str
    is_assertion: bool
    before: str
    after: str
    binders: str
    is_same_text: bool

    def difference(self):
        differ = f"(not (= {self.before} {self.after}))"
        return f"(exists {self.binders} {differ})" if items(self.binders) else differ


class Definition:
    """What a `define-…` command defines: one function, or several that call each other."""

    def __init__(self, command):
        self._kind, *rest = items(command)
        if self._kind == "define-funs-rec":
            headings = [items(h) for h in items(rest[0])]
            bodies = items(rest[1])
        elif self._kind == "define-const":
            headings, bodies = [[rest[0], "()", rest[1]]], [rest[2]]
        else:
            headings, bodies = [rest[:3]], [rest[3]]
        self.names, self.parameters, self._sorts = map(list, zip(*headings))
        self.bodies = bodies
        self.is_recursive = self._kind.endswith("-rec")

    def heading(self):
        """What must stay as it is: the names, and how many parameters each has."""
        return [(normal(name), len(items(p))) for name, p in zip(self.names, self.parameters)]

    def bodies_over(self, other):
        """The bodies over the parameters of another definition with the same heading."""
        for own, parameters, body in zip(self.parameters, other.parameters, self.bodies):
            pairs = zip((items(p)[0] for p in items(own)), (items(p)[0] for p in items(parameters)))
            bindings = " ".join(f"({mine} {theirs})" for mine, theirs in pairs if normal(mine) != normal(theirs))
            yield f"(let ({bindings}) {body})" if bindings else body

    def text(self, bodies):
        headings = [" ".join(h) for h in zip(self.names, self.parameters, self._sorts)]
        if self._kind == "define-funs-rec":
            return f"(define-funs-rec ({' '.join(f'({h})' for h in headings)}) ({' '.join(bodies)}))"
        return f"({'define-fun-rec' if self.is_recursive else 'define-fun'} {headings[0]} {bodies[0]})"


class Comparison:
    """Walks over input and output together.

    `steps` holds what one solver session says to ask everything: commands as text, and queries. Names are those of
    the input; what the input defines stands for its own body in both scripts, and the two bodies are a query.
    """

    def __init__(self, before, after):
        self.steps = []
        self._num_assertions = 0
        self._depth = 0
        self._has_global_declarations = False
        self._input, self._output = StandaloneTerms(), StandaloneTerms()
        self._num_queries = 0
        before = list(before)
        self._words = {word for command in before for word in normal(command).split()}
        commands = iter(before)
        expected = next(commands, None)
        for command in after:
            if _is_added(command, expected):
                self._add_definition(command)
                continue
            if expected is None:
                raise Mismatch(f"a command too many: {shorten(command)}")
            self._pair(expected, command)
            expected = next(commands, None)
        if expected is not None:
            raise Mismatch(f"a command is missing: {shorten(expected)}")

    def queries(self):
        return [step for step in self.steps if isinstance(step, Query)]

    def _add_definition(self, command):
        """What the input names by `:named` stays that; any other new name is the printer's, and occurs nowhere in it."""
        definition = Definition(command)
        if self._input.standalone(definition.names[0]) != definition.names[0]:
            self._output.standalone(f"(! {definition.bodies[0]} :named {definition.names[0]})")
        elif definition.names[0] in self._words:
            raise Mismatch(f"a command too many: {shorten(command)}")
        else:
            self.steps.append(definition.text([self._output.standalone(definition.bodies[0])]))

    def _pair(self, before, after):
        kind = head(before)
        if kind != head(after) and {kind, head(after)} != {"define-fun", "define-const"}:
            raise _changed(before, after)
        if kind == "assert":
            self._num_assertions += 1
            self._ask(f"assertion {self._num_assertions}", items(before)[1], items(after)[1], is_assertion=True)
        elif kind in DEFINITIONS:
            self._define(before, after)
        elif kind in TERM_LISTS:
            self._ask_each(kind, items(items(before)[1]), items(items(after)[1]))
        elif kind == "simplify":
            self._ask_each(kind, items(before)[1:], items(after)[1:])
        elif normal(before) != normal(after):
            raise _changed(before, after)
        else:
            self._change_state(kind, before)

    def _change_state(self, kind, command):
        """What changes names and levels is said to the solver too. No assertion ever stands outside a query."""
        if kind in DECLARATIONS:
            self._declare([items(command)[1]])
            self.steps.append(command)
        elif kind in ("push", "pop"):
            levels = int((items(command) + ["1"])[1])
            self._depth += levels if kind == "push" else -levels
            self.steps.append(command)
        elif normal(command) == "( set-option :global-declarations true )":
            self._has_global_declarations = True
            self.steps.append(command)
        elif kind == "reset-assertions" and self._has_global_declarations:
            self.steps.append(f"(pop {self._depth})")
            self._depth = 0
        elif kind in ("reset", "reset-assertions"):
            self._has_global_declarations = False
            self._depth = 0
            self._input.forget()
            self._output.forget()
            self.steps.append("(reset)")

    def _declare(self, names):
        for name in names:
            self._input.forget(name)
            self._output.forget(name)

    def _define(self, before, after):
        old, new = Definition(before), Definition(after)
        if old.heading() != new.heading():
            raise _changed(before, after)
        if old.is_recursive:
            self._declare(old.names)
        bodies = [self._input.standalone(b) for b in old.bodies]
        queries = [self._query(f"definition of {name}", *texts)
                   for name, *texts in zip(old.names, old.bodies, new.bodies_over(old), old.parameters)]
        own = old.text(bodies)
        self.steps += [own, *queries] if old.is_recursive else [*queries, own]
        self._declare(old.names)

    def _ask_each(self, kind, before, after):
        if len(before) != len(after):
            raise Mismatch(f"{kind} has {len(after)} terms instead of {len(before)}")
        for old, new in zip(before, after):
            self._ask(f"{kind} {shorten(old, 40)}", old, new)

    def _ask(self, label, before, after, is_assertion=False):
        self.steps.append(self._query(label, before, after, is_assertion=is_assertion))

    def _query(self, label, before, after, binders="()", is_assertion=False):
        self._num_queries += 1
        return Query(self._num_queries, label, is_assertion, self._input.standalone(before), self._output.standalone(after),
                     binders, normal(before) == normal(after))


def _is_added(command, expected):
    """A definition that the printer made: for a term which several assertions share, or of a name that `:named` had
    given to what was simplified away."""
    if head(command) != "define-fun" or items(items(command)[2]):
        return False
    is_from_input = expected is not None and head(expected) in DEFINITIONS
    return not is_from_input or normal(items(expected)[1]) != normal(items(command)[1])


def _changed(before, after):
    return Mismatch(f"instead of {shorten(before)} there is {shorten(after)}")


def shorten(text, limit=160):
    text = normal(text[: 4 * limit]).replace("( ", "(").replace(" )", ")")
    return text if len(text) <= limit else text[:limit] + " ..."
