"""How objects look: as text, and in a notebook."""

from ._quarv import Derivation, Function, Manager, Sort, Step, Term

_LONGEST = 2000  # characters of a term that is shown in full


# The module html would take more time to import than all of this package.
_ESCAPES = str.maketrans({"&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;"})


def _escape(text):
    return text.translate(_ESCAPES)


def _short(term, longest=_LONGEST):
    # A term's text is about as long as it has nodes, or longer.
    text = str(term) if term.num_nodes <= longest else f"({term.op} ...)"
    return text if len(text) <= longest else text[:longest] + " ..."


def _nodes(term):
    return "1 node" if term.num_nodes == 1 else f"{term.num_nodes} nodes"


def _code(term):
    return f"<code>{_escape(_short(term))}</code>"


def _term_html(term):
    return f"<div>{_code(term)}<br><small>{_escape(str(term.sort))}, {_nodes(term)}</small></div>"


def _by(step):
    return f"simplifier of {step.name}" if step.rule is None else f"rule {step.rule}"


def _derivation_html(derivation):
    rows = "".join(
        f"<tr><td>{i}</td><td title=\"{_escape(step.name)}\">{_escape(_by(step))}</td>"
        f"<td>{_code(step.before)}</td><td>{_code(step.after)}</td></tr>"
        for i, step in enumerate(derivation.steps, 1))
    return (f"<div>{_code(derivation.before)}<br>becomes<br>{_code(derivation.after)}<br>"
            f"<small>{_nodes(derivation.before)} before, {_nodes(derivation.after)} after</small>"
            f"<table><tr><th></th><th>by</th><th>before</th><th>after</th></tr>{rows}</table></div>")


def _step_text(step):
    return f"{_short(step.before)}  ->  {_short(step.after)}  by {_by(step)}"


Term.__repr__ = lambda term: _short(term, 200)
Term._repr_html_ = _term_html
Sort.__repr__ = Sort.__str__
Function.__repr__ = lambda function: f"<function {function.name}>"
Step.__str__ = Step.__repr__ = _step_text
Derivation.__iter__ = lambda derivation: iter(derivation.steps)
Derivation.__len__ = lambda derivation: len(derivation.steps)
Derivation.__str__ = Derivation.__repr__ = lambda derivation: "\n".join(map(_step_text, derivation.steps))
Derivation._repr_html_ = _derivation_html


def _constant(sort):
    def declare(self, name):
        return self.constant(name, sort)

    declare.__doc__ = f"The declared constant of sort {sort}."
    return declare


Manager.bool = _constant("Bool")
Manager.int = _constant("Int")
Manager.real = _constant("Real")
Manager.bv = lambda self, name, width: self.constant(name, f"(_ BitVec {width})")
Manager.fp = lambda self, name, eb, sb: self.constant(name, f"(_ FloatingPoint {eb} {sb})")
Manager.array = lambda self, name, index, element: self.constant(name, f"(Array {index} {element})")
