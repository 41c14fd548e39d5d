"""Scopes of managers, and how terms travel to other processes."""

import weakref
from contextlib import contextmanager

from ._quarv import Function, Manager, Sort, Term, _Receiver, _Sender


@contextmanager
def scope(self):
    """Gives back, at the end of a `with` statement, all terms, sorts and declarations that were made in it."""
    mark = self.mark()
    try:
        yield self
    finally:
        self.release(mark)


# A manager travels without its terms, as what it was made with; terms bring along what they are made of. Terms that are
# pickled together have one manager afterwards, too, and what they share is written once: pickle asks a manager for its
# parts at the first term of each dump, which begins a shipment, and holds the shipment as long as the dump lasts. Should
# there be several shipments of one manager, nobody can say to which dump a term belongs; then it is written in full.


_managers = weakref.WeakValueDictionary()  # by their hashes


def _one_object(manager):
    """The same object at each call as long as it lives: pickle tells by objects what it has seen."""
    return _managers.setdefault(hash(manager), manager)


class _Shipment:
    """What one dump says of a manager's terms; where it is loaded, what was received."""

    def __init__(self, manager=None):
        self.source = None if manager is None else hash(manager)
        self.sender = None if manager is None else _Sender(manager)
        self.receiver = None

    def __reduce__(self):
        return _Shipment, ()


_shipments = weakref.WeakSet()  # those under way


class _Parcel:
    """A term within a shipment. Pickle asks it for its parts when it has those of the manager."""

    def __init__(self, term):
        self.term = term

    def __reduce__(self):
        under_way = [s for s in _shipments if s.source == hash(self.term.manager)]
        parts = under_way[0].sender.send(self.term) if len(under_way) == 1 else None
        if parts is None:
            return _Whole, _Sender(self.term.manager).send(self.term)
        return _Part, (under_way[0], *parts)

    def read(self, _manager):
        return self.term


class _Whole:
    """A term with all parts."""

    def __init__(self, sorts, functions, nodes, number):
        self.sorts, self.functions, self.nodes, self.number = sorts, functions, nodes, number

    def read(self, manager):
        _declare(manager, self.sorts, self.functions)
        return _Receiver(manager).receive(self.nodes, self.number)


class _Part:
    def __init__(self, shipment, sorts, functions, nodes, number):
        self.shipment, self.sorts, self.functions, self.nodes, self.number = shipment, sorts, functions, nodes, number

    def read(self, manager):
        _declare(manager, self.sorts, self.functions)
        return self.shipment.receiver.receive(self.nodes, self.number)


def _declare(manager, sorts, functions):
    for name, num_parameters in sorts:
        manager.declare_sort(name, num_parameters)
    for name, arguments, result in functions:
        if arguments:
            manager.function(name, arguments, result)
        else:
            manager.constant(name, result)


def _new_manager(options, shipment=None):
    manager = Manager(**options)
    if shipment is not None:
        shipment.receiver = _Receiver(manager)
    return manager


def _manager_reduced(self):
    shipment = _Shipment(self)
    _shipments.add(shipment)
    return _new_manager, (self.options, shipment)


def _read_term(manager, parcel):
    return parcel.read(manager)


def _term_reduced(self):
    return _read_term, (_one_object(self.manager), _Parcel(self))


def _not_alone(self):
    raise TypeError(f"a {type(self).__name__} travels with the terms that it occurs in, not alone")


for _name, _method, _class in (("scope", scope, Manager), ("__reduce__", _manager_reduced, Manager),
                               ("__reduce__", _term_reduced, Term), ("__reduce__", _not_alone, Sort),
                               ("__reduce__", _not_alone, Function)):
    setattr(_class, _name, _method)
scope.__module__ = "quarv"
scope.__qualname__ = "Manager.scope"
