"""Scopes of managers, and how terms travel to other processes."""

import weakref
from contextlib import contextmanager

from ._quarv import Function, Manager, Sort, Term


@contextmanager
def scope(self):
    """Gives back, at the end of a `with` statement, all terms, sorts and declarations that were made in it."""
    mark = self.mark()
    try:
        yield self
    finally:
        self.release(mark)


# A manager travels without its terms, as what it was made with; terms bring along what they are made of. Terms that are
# pickled together have one manager afterwards, too.


_managers = weakref.WeakValueDictionary()  # by their hashes


def _one_object(manager):
    """The same object at each call as long as it lives: pickle tells by objects what it has seen."""
    return _managers.setdefault(hash(manager), manager)


def _new_manager(options):
    return Manager(**options)


def _manager_reduced(self):
    return _new_manager, (self.options,)


def _read_term(manager, sorts, functions, text):
    for name, num_parameters in sorts:
        manager.declare_sort(name, num_parameters)
    for name, arguments, result in functions:
        if arguments:
            manager.function(name, arguments, result)
        else:
            manager.constant(name, result)
    return manager.term(text)


def _term_reduced(self):
    sorts, functions = self._declarations()
    return _read_term, (_one_object(self.manager), sorts, functions, str(self))


def _not_alone(self):
    raise TypeError(f"a {type(self).__name__} travels with the terms that it occurs in, not alone")


for _name, _method, _class in (("scope", scope, Manager), ("__reduce__", _manager_reduced, Manager),
                               ("__reduce__", _term_reduced, Term), ("__reduce__", _not_alone, Sort),
                               ("__reduce__", _not_alone, Function)):
    setattr(_class, _name, _method)
scope.__module__ = "quarv"
scope.__qualname__ = "Manager.scope"
