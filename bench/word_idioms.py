"""Path conditions of two programs that share a style of writing words of bits: a model of a device and a checker of packets.

Code bases borrow from the same books: choices without branches, merges under masks, sums from logical operations, sign
extensions by a flipped sign bit. The model of a device runs on registers of 32 bits and names each value; the checker runs on
headers of 64 bits with fields of 16 bits that it takes out of them, and writes nested terms. Each has more that the other one has not.
What they share differs in widths, in constants and in the order of operands.
"""

from path_conditions import branches


class Words:
    """Operations on words of one width; `self.live` are the values that they use and replace."""

    def __init__(self, source, width, names):
        self.below, self.choose, self.between = source.below, source.choose, source.between
        self.width, self.live = width, list(names)
        self.lines = []
        self.names = 0
        self.last = None
        self.shared = (
            self.merge_under_mask, self.merge_fields, self.choose_by_flag, self.choose_by_product, self.choose_by_condition,
            self.negate_by_flag, self.flip_sign, self.exclusive_or, self.sum_of_parts, self.difference_of_parts,
            self.lowest_bit, self.double_or_nothing, self.shift_both, self.add_disjoint, self.majority, self.clear_and_set,
            self.guard_both)

    # Writing.

    def sort(self):
        return f"(_ BitVec {self.width})"

    def number(self, value):
        return f"#x{value % (1 << self.width):0{self.width // 4}x}"

    def name(self, value):
        if not value.startswith("("):
            return value
        name = f"v{self.names}"
        self.names += 1
        self.lines.append(f"(define-fun {name} () {self.sort()} {value})")
        return name

    def value(self):
        """One that is not the last one chosen: code seldom combines a value with itself."""
        self.last = self.choose([value for value in self.live if value != self.last])
        return self.last

    def operand(self):
        return self.value() if self.below(3) else self.number(self.between(1, 200))

    def either(self, operator, a, b):
        """The two operands in any order."""
        return f"({operator} {a} {b})" if self.below(2) else f"({operator} {b} {a})"

    def keep(self, value):
        self.live[self.below(len(self.live))] = self.name(value)

    def amount(self):
        return self.between(1, self.width // 2)

    def mask(self):
        """Ones from a bit on to another one."""
        low = self.below(self.width - 4)
        return (1 << self.between(low + 2, self.width)) - (1 << low)

    def flag(self):
        """One bit."""
        return f"(ite {self.comparison()} #b1 #b0)"

    def comparison(self):
        return f"({self.choose(('bvult', 'bvslt', '='))} {self.value()} {self.operand()})"

    def extended(self, flag):
        return f"((_ zero_extend {self.width - 1}) {flag})"

    # What both programs write.

    def merge_under_mask(self):
        a, b = self.value(), self.value()
        self.keep(self.either("bvxor", a, self.either("bvand", self.either("bvxor", a, b), self.number(self.mask()))))

    def merge_fields(self):
        """A field put in its place."""
        a, b, mask, k = self.value(), self.value(), self.mask(), self.amount()
        placed = f"(bvand (bvshl {b} {self.number(k)}) {self.number(mask)})"
        self.keep(self.either("bvor", self.either("bvand", a, self.number(~mask)), placed))

    def choose_by_flag(self):
        """Both values under a mask made of a flag and under its complement."""
        a, b = self.value(), self.value()
        mask = self.name(f"(bvneg {self.extended(self.flag())})")
        self.keep(self.either("bvor", self.either("bvand", a, mask), self.either("bvand", b, f"(bvnot {mask})")))

    def choose_by_product(self):
        a, b = self.value(), self.value()
        self.keep(self.either("bvadd", b, f"(bvmul {self.extended(self.flag())} (bvsub {a} {b}))"))

    def choose_by_condition(self):
        """The distance to the other value is added, or nothing."""
        a, b = self.value(), self.value()
        zero = self.number(0)
        self.keep(self.either("bvadd", b, f"(ite {self.comparison()} (bvsub {a} {b}) {zero})"))

    def negate_by_flag(self):
        a = self.value()
        one = self.name(self.extended(self.flag()))
        self.keep(self.either("bvadd", self.either("bvxor", a, f"(bvneg {one})"), one))

    def flip_sign(self):
        """The sign extension of the low bits: their sign is flipped and taken away again."""
        sign = 1 << self.between(3, self.width - 2)
        low = self.either("bvand", self.value(), self.number(2 * sign - 1))
        self.keep(f"(bvsub {self.either('bvxor', low, self.number(sign))} {self.number(sign)})")

    def exclusive_or(self):
        a, b = self.value(), self.value()
        self.keep(self.choose((
            self.either("bvor", self.either("bvand", a, f"(bvnot {b})"), self.either("bvand", b, f"(bvnot {a})")),
            self.either("bvand", self.either("bvor", a, b), f"(bvnot {self.either('bvand', a, b)})"))))

    def sum_of_parts(self):
        """Without carries, and the carries."""
        a, b = self.value(), self.value()
        one = self.number(1)
        self.keep(self.choose((
            self.either("bvadd", self.either("bvxor", a, b), f"(bvshl {self.either('bvand', a, b)} {one})"),
            f"(bvsub (bvshl {self.either('bvor', a, b)} {one}) {self.either('bvxor', a, b)})")))

    def difference_of_parts(self):
        a, b = self.value(), self.value()
        self.keep(f"(bvsub {self.either('bvand', a, f'(bvnot {b})')} {self.either('bvand', b, f'(bvnot {a})')})")

    def lowest_bit(self):
        a = self.value()
        self.keep(self.either("bvand", a, f"(bvnot (bvsub {a} {self.number(1)}))"))

    def double_or_nothing(self):
        """The absolute value: twice what is negative is taken away."""
        a = self.value()
        twice = f"(bvshl {a} {self.number(1)})"
        self.keep(f"(bvsub {a} {self.either('bvand', twice, f'(bvashr {a} {self.number(self.width - 1)})')})")

    def shift_both(self):
        """By the same amount."""
        shift, k = self.choose(("bvlshr", "bvshl")), self.value()
        self.keep(self.either(self.choose(("bvand", "bvor", "bvxor")), f"({shift} {self.value()} {k})", f"({shift} {self.value()} {k})"))

    def add_disjoint(self):
        """Two fields of one word, side by side."""
        a, k, width = self.value(), self.below(self.width // 2), self.width
        low = (1 << self.between(k + 1, width // 2)) - (1 << k)
        high = (1 << width) - (1 << self.between(width // 2 + 1, width - 1))
        self.keep(self.either("bvadd", self.either("bvand", a, self.number(low)), self.either("bvand", a, self.number(high))))

    def majority(self):
        a, b, c = self.value(), self.value(), self.value()
        self.keep(f"(bvxor {self.either('bvand', a, b)} (bvxor {self.either('bvand', a, c)} {self.either('bvand', b, c)}))")

    def clear_and_set(self):
        a, low, high = self.value(), self.below(self.width // 2), self.between(self.width // 2, self.width - 1)
        both = (1 << low) | (1 << high)
        self.keep(f"(bvadd (bvand {a} {self.number(~both)}) {self.number(1 << self.choose((low, high)))})")

    def guard_both(self):
        zero = self.number(0)
        a, b = (f"(ite {self.comparison()} {self.value()} {zero})" for _ in range(2))
        self.keep(f"(bvand {a} {b})")

    # What everybody writes.

    def arithmetic(self):
        self.keep(f"({self.choose(('bvadd', 'bvsub', 'bvmul', 'bvand', 'bvor', 'bvxor'))} {self.value()} {self.operand()})")

    def shift(self):
        self.keep(f"({self.choose(('bvshl', 'bvlshr', 'bvashr'))} {self.value()} {self.number(self.amount())})")

    def condition(self):
        a, b = self.comparison(), self.comparison()
        return self.choose((a, f"(not {a})", f"(and {a} {b})", f"(or {a} {b})"))


class Device(Words):
    def __init__(self, source):
        super().__init__(source, 32, (f"reg{i}" for i in range(8)))
        self.operations = self.shared + 4 * (self.arithmetic,) + 2 * (self.shift,) + (
            self.gray_code, self.one_hot, self.rotate, self.status_bit, self.count_down)

    def gray_code(self):
        a = self.value()
        self.keep(f"(bvxor {a} (bvlshr {a} {self.number(1)}))")

    def one_hot(self):
        lines = [f"(bvand {self.value()} ((_ sign_extend 31) ((_ extract {i} {i}) {self.value()})))" for i in range(3)]
        self.keep(f"(bvor {lines[0]} (bvor {lines[1]} {lines[2]}))")

    def rotate(self):
        a, k = self.value(), self.amount()
        self.keep(f"(bvor (bvshl {a} {self.number(k)}) (bvlshr {a} {self.number(32 - k)}))")

    def status_bit(self):
        self.keep(f"((_ zero_extend 31) ((_ extract {(i := self.below(32))} {i}) {self.value()}))")

    def count_down(self):
        a = self.value()
        self.keep(f"(ite (= {a} {self.number(0)}) {self.value()} (bvsub {a} {self.number(1)}))")


class Checker(Words):
    def __init__(self, source):
        super().__init__(source, 64, (f"header{i}" for i in range(6)))
        self.operations = self.shared + 4 * (self.arithmetic,) + 2 * (self.shift,) + (
            self.field, self.checksum, self.swap_bytes, self.saturate, self.sequence_window)

    def field(self):
        i = 16 * self.below(4)
        self.keep(f"((_ zero_extend 48) ((_ extract {i + 15} {i}) {self.value()}))")

    def checksum(self):
        """The carry of a sum of 16-bit fields is added at its end."""
        a = self.name(f"(bvadd {self.value()} {self.value()})")
        self.keep(f"(bvadd (bvand {a} {self.number(0xffff)}) (bvlshr {a} {self.number(16)}))")

    def swap_bytes(self):
        a, ones = self.value(), self.number(0x00ff00ff00ff00ff)
        self.keep(f"(bvor (bvand (bvlshr {a} {self.number(8)}) {ones}) (bvshl (bvand {a} {ones}) {self.number(8)}))")

    def saturate(self):
        total = self.name(f"(bvadd {(a := self.value())} {self.value()})")
        self.keep(f"(bvor {total} (bvneg {self.extended(f'(ite (bvult {total} {a}) #b1 #b0)')}))")

    def sequence_window(self):
        self.keep(f"(ite (bvslt (bvsub {(a := self.value())} {(b := self.value())}) {self.number(0)}) {b} {a})")


def conditions(size, source, machine, names):
    yield "(set-logic QF_BV)"
    yield from (f"(declare-const {name} {machine.sort()})" for name in names)
    yield from branches(size, source, machine, machine.operations, 3, machine.condition)


def device_model(size, source):
    """Path conditions of a model of a device: registers of 32 bits, choices and merges by masks; one assertion for each
    branch."""
    machine = Device(source)
    yield from conditions(size, source, machine, list(machine.live))


def packet_checker(size, source):
    """Path conditions of a checker of packets: headers of 64 bits, the style of the model of a device with other constants and
    operations of its own."""
    machine = Checker(source)
    yield from conditions(size, source, machine, list(machine.live))
