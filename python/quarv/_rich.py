"""How objects look: as text, and in a notebook; and how they are copied."""

from ._quarv import Derivation, Function, Manager, Sort, Step, Term

_LONGEST = 2000  # characters of a term that is shown in full
_UNFOLDED = 200  # characters that a notebook shows at first
_LONGEST_UNFOLDED = 20_000  # and when a reader unfolds the term


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


def _code(term, longest=_LONGEST):
    text = _short(term, longest)
    if len(text) <= _UNFOLDED:
        return f"<code>{_escape(text)}</code>"
    return (f"<details><summary><code>{_escape(text[:_UNFOLDED])} ...</code></summary>"
            f"<code>{_escape(text)}</code></details>")


def _term_html(self):
    return f"<div>{_code(self, _LONGEST_UNFOLDED)}<br><small>{_escape(str(self.sort))}, {_nodes(self)}</small></div>"


def _by(step):
    return f"simplifier of {step.name}" if step.rule is None else f"rule {step.rule_name or step.rule}"


def _derivation_html(self):
    rows = "".join(
        f"<tr><td>{i}</td><td title=\"{_escape(step.name)}\">{_escape(_by(step))}</td>"
        f"<td>{_code(step.before)}</td><td>{_code(step.after)}</td></tr>"
        for i, step in enumerate(self.steps, 1))
    return (f"<div>{_code(self.before)}<br>becomes<br>{_code(self.after)}<br>"
            f"<small>{_nodes(self.before)} before, {_nodes(self.after)} after</small>"
            f"<table><tr><th></th><th>by</th><th>before</th><th>after</th></tr>{rows}</table></div>")


def _step_text(step):
    return f"{_short(step.before)}  ->  {_short(step.after)}  by {_by(step)}"


def _term_text(term):
    return _short(term, 200)


def _function_text(function):
    return f"<function {function.name}>"


def _iterate(derivation):
    return iter(derivation.steps)


def _length(derivation):
    return len(derivation.steps)


def _derivation_text(derivation):
    return "\n".join(map(_step_text, derivation.steps))


def _same_object(self):
    return self


def _same_object_deeply(self, _memo):
    return self


def _add(name, function, *classes):
    """Gives classes a method of that name."""
    function.__name__ = function.__qualname__ = name
    function.__module__ = "quarv"
    for cls in classes:
        setattr(cls, name, function)


_add("__repr__", _term_text, Term)
_add("_repr_html_", _term_html, Term)
Sort.__repr__ = Sort.__str__
_add("__repr__", _function_text, Function)
_add("__repr__", _step_text, Step)
_add("__repr__", _derivation_text, Derivation)
_add("__iter__", _iterate, Derivation)
_add("__len__", _length, Derivation)
_add("_repr_html_", _derivation_html, Derivation)
_add("__copy__", _same_object, Term, Sort, Function, Manager)  # copies of a term would be the term
_add("__deepcopy__", _same_object_deeply, Term, Sort, Function, Manager)
