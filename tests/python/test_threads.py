"""Threads and signals of Python while the library works."""
import signal
import threading
import time

import pytest

import quarv

HEIGHT = 60000


@pytest.fixture
def m():
    return quarv.Manager()


def tower(height):
    """A term of so many levels, no two alike, none simple."""
    return "(bvadd (bvmul y (bvnot (bvneg " * height + "x" + "))) y)" * height


def script(height):
    return ("(declare-const x (_ BitVec 8)) (declare-const y (_ BitVec 8)) "
            f"(assert (= x {tower(height)})) (check-sat)")


class Running:
    """Runs something again and again in another thread."""

    def __init__(self, work):
        self._work, self._stop, self.count, self.failure = work, False, 0, None
        self._thread = threading.Thread(target=self._run)

    def _run(self):
        try:
            while not self._stop:
                self._work()
                self.count += 1
        except BaseException as failure:
            self.failure = failure

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._stop = True
        self._thread.join()


def test_other_threads_run_meanwhile(m):
    text = script(HEIGHT)
    long_calls = {
        "parse": lambda: m.parse_smt2(text), "script": lambda: quarv.simplify_smt2(text),
        "simplify": lambda: m.parse_smt2(text)[0].simplify(), "explain": lambda: m.parse_smt2(text)[0].explain(),
    }
    for name, call in long_calls.items():
        with Running(lambda: time.sleep(0)) as other:  # each turn takes Python's lock anew
            while other.count == 0:
                time.sleep(0)
            before = other.count
            call()
            during = other.count - before
        assert during > 10, name


def test_threads_take_turns():
    shared = quarv.Manager()
    normal = shared.parse_smt2(script(1000))[0].simplify()
    expected = quarv.simplify_smt2(script(300))

    def work():
        assert quarv.simplify_smt2(script(300)) == expected
        own = quarv.Manager(eager=True)
        assert (own.value(255, "(_ BitVec 8)") + 2).value == 1 and (own.value(3**200, "Int") * 3).value == 3**201
        y, z = shared.bv("x", 8), shared.bv("y", 8)
        assert shared.parse_smt2(script(1000))[0].simplify().same(normal)
        assert ((y + z) == (z + y)).simplify().value is True

    with Running(work) as one, Running(work) as two:
        for _ in range(10):
            work()
    assert one.failure is None and two.failure is None and one.count + two.count > 0


def heard_when(call, signal_number=signal.SIGINT):
    """Sends a signal while the call runs; in the end its handler has run."""
    started = threading.Event()

    def send():
        started.wait()
        time.sleep(0)
        signal.pthread_kill(threading.main_thread().ident, signal_number)

    sender = threading.Thread(target=send)
    sender.start()
    try:
        started.set()
        call()
    finally:
        sender.join()


def test_the_keyboard_interrupts_long_calls():
    before = signal.signal(signal.SIGINT, signal.default_int_handler)
    try:
        eager = quarv.Manager(eager=True)
        with pytest.raises(KeyboardInterrupt):
            heard_when(lambda: eager.parse_smt2(script(10 * HEIGHT)))
        # It did not go on to the end, and nothing is the worse for it.
        assert eager.num_terms < 10 * HEIGHT
        assert (eager.value(255, "(_ BitVec 8)") + 2).value == 1
        assert len(eager.parse_smt2(script(10))) == 1
    finally:
        signal.signal(signal.SIGINT, before)


def test_a_handler_does_not_call_the_library_in_the_midst_of_a_call(m):
    other = quarv.Manager()
    seen = []

    def handler(*_):
        seen.append("here")
        other.bv("x", 8)

    before = signal.signal(signal.SIGUSR1, handler)
    try:
        with pytest.raises(RuntimeError, match="signal handler"):
            heard_when(lambda: m.parse_smt2(script(10 * HEIGHT)), signal.SIGUSR1)
        assert seen == ["here"]
        handler()  # where nothing is under way, it may
    finally:
        signal.signal(signal.SIGUSR1, before)
    assert len(m.parse_smt2(script(10))) == 1
