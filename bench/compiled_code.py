"""Branch conditions of optimised code, as an analyser of a compiler's intermediate code writes them.

A function of eight 32-bit parameters and four bytes runs through straight-line code in which the compiler has replaced what the
programmer wrote by short sequences of arithmetic and logic: absolute values by signs, division by multiplication, choices by
masks, overflow checks by bits, fields by shifts and masks. Truth values are words of one bit. Each value of the code has a name;
each branch adds an assertion.
"""

from path_conditions import branches

PARAMETERS = 8
BYTES = 4
WORD = "(_ BitVec 32)"


def word(value):
    return f"#x{value % (1 << 32):08x}"


def extract(high, low, value):
    return f"((_ extract {high} {low}) {value})"


def zero_extended(bits, value):
    return f"((_ zero_extend {bits}) {value})"


def sign_extended(bits, value):
    return f"((_ sign_extend {bits}) {value})"


def bit(condition):
    return f"(ite {condition} #b1 #b0)"


def sign(value):
    """All ones where the value is negative, else zero."""
    return f"(bvashr {value} {word(31)})"


# Multipliers and shifts by which 32-bit words are divided: the high half of the product is shifted.
UNSIGNED_DIVISION = ((3, 0xAAAAAAAB, 1), (5, 0xCCCCCCCD, 2), (10, 0xCCCCCCCD, 3), (100, 0x51EB851F, 5), (1000, 0x10624DD3, 6))
SIGNED_DIVISION = ((3, 0x55555556, 0), (5, 0x66666667, 1), (10, 0x66666667, 2), (100, 0x51EB851F, 5))


class Function:
    def __init__(self, source):
        self.below, self.choose, self.between = source.below, source.choose, source.between
        self.lines = []  # definitions that have not been written yet
        self.names = 0
        self.live = [f"arg{i}" for i in range(PARAMETERS)]
        self.last = None
        self.operations = (
            self.arithmetic, self.arithmetic, self.arithmetic, self.logic, self.logic, self.shift, self.byte,
            self.narrow, self.absolute, self.absolute_choice, self.minimum, self.minimum_by_mask, self.clamp,
            self.choice_by_mask, self.choice_by_sign, self.sign_of, self.align_up, self.align_down, self.round_up,
            self.lowest_bit, self.without_lowest_bit, self.rotation, self.rotation_by_value, self.swap_bytes,
            self.insert_field, self.insert_field, self.extract_field, self.extract_field, self.extract_signed_field,
            self.saturating_add, self.saturating_subtract, self.saturating_add_by_mask, self.saturating_signed_add,
            self.average, self.ceiling_average, self.divide, self.remainder, self.divide_signed, self.divide_by_power,
            self.remainder_by_power, self.count_bits, self.swap_neighbours, self.flag_to_word, self.set_bit, self.clear_bit,
            self.toggle_bit, self.smear, self.wide_sum, self.wide_product, self.multiply_by_shifts, self.low_and_high,
            self.conditional_negation, self.conditional_increment)

    # Values.

    def name(self, value):
        """A name for the value, unless it has one."""
        if not value.startswith("("):
            return value
        name = f"v{self.names}"
        self.names += 1
        self.lines.append(f"(define-fun {name} () {WORD} {value})")
        return name

    def value(self):
        """One that is not the last one chosen: code seldom combines a value with itself."""
        others = [value for value in self.live if value != self.last]
        self.last = self.choose(others)
        return self.last

    def operand(self):
        if self.below(3):
            return self.value()
        return word(self.choose((1, 2, 3, 4, 7, 8, 10, 16, 24, 31, 32, 60, 64, 100, 255, 256, 1000, 4096, -1, -2, -8, -16)))

    def keep(self, value):
        self.live[self.below(PARAMETERS)] = self.name(value)

    # Operations: each leaves a new value in the place of another.

    def arithmetic(self):
        operator = self.choose(("bvadd", "bvadd", "bvsub", "bvsub", "bvmul"))
        self.keep(f"({operator} {self.value()} {self.operand()})")

    def logic(self):
        self.keep(f"({self.choose(('bvand', 'bvor', 'bvxor'))} {self.value()} {self.operand()})")

    def shift(self):
        operator = self.choose(("bvshl", "bvlshr", "bvashr"))
        self.keep(f"({operator} {self.value()} {word(self.choose((1, 2, 3, 4, 8, 16, 24)))})")

    def byte(self):
        extended = self.choose((zero_extended, sign_extended))
        self.keep(f"(bvadd {extended(24, f'byte{self.below(BYTES)}')} {self.operand()})")

    def narrow(self):
        """A cast to a narrower type and back, by mask or by shifts."""
        bits = self.choose((8, 16))
        x = self.value()
        self.keep(self.choose((
            f"(bvand {x} {word((1 << bits) - 1)})",
            f"(bvashr (bvshl {x} {word(32 - bits)}) {word(32 - bits)})",
            f"(bvlshr (bvshl {x} {word(32 - bits)}) {word(32 - bits)})",
            sign_extended(32 - bits, extract(bits - 1, 0, x)))))

    def absolute(self):
        x = self.value()
        self.keep(self.choose((
            f"(bvsub (bvxor {x} {sign(x)}) {sign(x)})",
            f"(bvxor (bvadd {x} {sign(x)}) {sign(x)})")))

    def absolute_choice(self):
        x = self.value()
        zero = word(0)
        self.keep(self.choose((
            f"(ite (bvslt {x} {zero}) (bvneg {x}) {x})",
            f"(ite (bvsgt {x} {word(-1)}) {x} (bvsub {zero} {x}))")))

    def minimum(self):
        a, b = self.value(), self.operand()
        relation = self.choose(("bvslt", "bvult", "bvsgt", "bvugt"))
        self.keep(f"(ite ({relation} {a} {b}) {a} {b})")

    def minimum_by_mask(self):
        a, b = self.value(), self.value()
        less = zero_extended(31, bit(f"({self.choose(('bvslt', 'bvult'))} {a} {b})"))
        self.keep(f"(bvxor {b} (bvand (bvxor {a} {b}) (bvneg {less})))")

    def clamp(self):
        x, low, high = self.value(), word(self.choose((0, -128, 1))), word(self.choose((127, 255, 1000)))
        at_least = self.name(f"(ite (bvslt {x} {low}) {low} {x})")
        self.keep(f"(ite (bvsgt {at_least} {high}) {high} {at_least})")

    def choice_by_mask(self):
        a, b = self.value(), self.operand()
        mask = self.name(f"(bvsub {word(0)} {zero_extended(31, self.flag())})")
        self.keep(f"(bvor (bvand {a} {mask}) (bvand {b} (bvnot {mask})))")

    def choice_by_sign(self):
        """The value where it is positive, else zero; or the other way round."""
        x = self.value()
        mask = sign(self.value())
        self.keep(f"(bvand {x} {mask})" if self.below(2) else f"(bvand {x} (bvnot {mask}))")

    def sign_of(self):
        """-1, 0 or 1."""
        x = self.value()
        self.keep(f"(bvor {sign(x)} (bvlshr (bvneg {x}) {word(31)}))")

    def align_up(self):
        size = self.choose((4, 8, 16, 4096))
        self.keep(f"(bvand (bvadd {self.value()} {word(size - 1)}) (bvnot {word(size - 1)}))")

    def align_down(self):
        size = self.choose((4, 8, 16, 4096))
        x = self.value()
        self.keep(self.choose((
            f"(bvand {x} {word(-size)})",
            f"(bvsub {x} (bvand {x} {word(size - 1)}))",
            f"(bvshl (bvlshr {x} {word(size.bit_length() - 1)}) {word(size.bit_length() - 1)})")))

    def round_up(self):
        size = self.choose((4, 8, 16))
        x = self.value()
        self.keep(f"(bvadd {x} (bvand (bvneg {x}) {word(size - 1)}))")

    def lowest_bit(self):
        x = self.value()
        self.keep(f"(bvand {x} (bvneg {x}))")

    def without_lowest_bit(self):
        x = self.value()
        self.keep(f"(bvand {x} (bvadd {x} {word(-1)}))")

    def rotation(self):
        x, amount = self.value(), self.choose((1, 5, 7, 8, 13, 16))
        operator = self.choose(("bvor", "bvadd", "bvxor"))
        self.keep(f"({operator} (bvshl {x} {word(amount)}) (bvlshr {x} {word(32 - amount)}))")

    def rotation_by_value(self):
        x, mask = self.value(), word(31)
        amount = self.name(f"(bvand {self.value()} {mask})")
        self.keep(f"(bvor (bvshl {x} {amount}) (bvlshr {x} (bvand (bvneg {amount}) {mask})))")

    def swap_bytes(self):
        x = self.value()
        outer = f"(bvor (bvshl {x} {word(24)}) (bvlshr {x} {word(24)}))"
        inner = (f"(bvor (bvshl (bvand {x} {word(0xff00)}) {word(8)}) "
                 f"(bvand (bvlshr {x} {word(8)}) {word(0xff00)}))")
        self.keep(f"(bvor {outer} {inner})")

    def field(self):
        bits = self.choose((1, 3, 4, 5, 8, 12))
        low = self.choose([place for place in (0, 3, 4, 8, 12, 16, 20, 24) if place + bits <= 32])
        return bits, low, (1 << bits) - 1

    def insert_field(self):
        _, low, mask = self.field()
        x, y = self.value(), self.value()
        kept = f"(bvand {x} {word(~(mask << low))})"
        if self.below(2):
            self.keep(f"(bvor {kept} (bvshl (bvand {y} {word(mask)}) {word(low)}))")
        else:
            self.keep(f"(bvor {kept} (bvand (bvshl {y} {word(low)}) {word(mask << low)}))")

    def extract_field(self):
        _, low, mask = self.field()
        x = self.value()
        if self.below(2):
            self.keep(f"(bvand (bvlshr {x} {word(low)}) {word(mask)})")
        else:
            self.keep(f"(bvlshr (bvand {x} {word(mask << low)}) {word(low)})")

    def extract_signed_field(self):
        bits, low, _ = self.field()
        self.keep(f"(bvashr (bvshl {self.value()} {word(32 - bits - low)}) {word(32 - bits)})")

    def saturating_add(self):
        a, b = self.value(), self.operand()
        total = self.name(f"(bvadd {a} {b})")
        self.keep(f"(ite (bvult {total} {a}) {word(-1)} {total})")

    def saturating_subtract(self):
        a, b = self.value(), self.operand()
        self.keep(f"(ite (bvult {a} {b}) {word(0)} (bvsub {a} {b}))")

    def saturating_add_by_mask(self):
        a, b = self.value(), self.value()
        total = self.name(f"(bvadd {a} {b})")
        self.keep(f"(bvor {total} (bvneg {zero_extended(31, bit(f'(bvult {total} {a})'))}))")

    def saturating_signed_add(self):
        a, b = self.value(), self.value()
        total = self.name(f"(bvadd {a} {b})")
        limit = f"(bvadd (bvlshr {a} {word(31)}) {word(0x7fffffff)})"
        overflow = f"(bvand (bvxor {a} {total}) (bvxor {b} {total}))"
        self.keep(f"(ite (bvslt {overflow} {word(0)}) {limit} {total})")

    def average(self):
        a, b = self.value(), self.value()
        self.keep(f"(bvadd (bvand {a} {b}) (bvlshr (bvxor {a} {b}) {word(1)}))")

    def ceiling_average(self):
        a, b = self.value(), self.value()
        self.keep(f"(bvsub (bvor {a} {b}) (bvlshr (bvxor {a} {b}) {word(1)}))")

    def quotient(self, x):
        """Of an unsigned division by a constant, and the constant."""
        divisor, multiplier, shift = self.choose(UNSIGNED_DIVISION)
        product = f"(bvmul {zero_extended(32, x)} #x{multiplier:016x})"
        if self.below(2):
            return f"(bvlshr {extract(63, 32, product)} {word(shift)})", divisor
        return extract(31, 0, f"(bvlshr {product} #x{32 + shift:016x})"), divisor

    def divide(self):
        self.keep(self.quotient(self.value())[0])

    def remainder(self):
        x = self.value()
        quotient, divisor = self.quotient(x)
        self.keep(f"(bvsub {x} (bvmul {quotient} {word(divisor)}))")

    def divide_signed(self):
        x = self.value()
        _, multiplier, shift = self.choose(SIGNED_DIVISION)
        high = extract(63, 32, f"(bvmul {sign_extended(32, x)} #x{multiplier:016x})")
        rounded = f"(bvashr {high} {word(shift)})" if shift else high
        correction = self.choose((f"(bvsub {rounded} {sign(x)})", f"(bvadd {rounded} (bvlshr {x} {word(31)}))"))
        self.keep(correction)

    def truncated(self, x, k):
        """The value with what makes an arithmetic shift by k bits round towards zero."""
        return f"(bvadd {x} (bvlshr {sign(x)} {word(32 - k)}))"

    def divide_by_power(self):
        k = self.choose((1, 2, 3, 4, 8))
        self.keep(f"(bvashr {self.truncated(self.value(), k)} {word(k)})")

    def remainder_by_power(self):
        x, k = self.value(), self.choose((1, 2, 3, 4, 8))
        self.keep(f"(bvsub {x} (bvand {self.truncated(x, k)} {word(-(1 << k))}))")

    def count_bits(self):
        """Some steps of a population count."""
        x = self.value()
        pairs = self.name(f"(bvsub {x} (bvand (bvlshr {x} {word(1)}) {word(0x55555555)}))")
        if self.below(2):
            self.keep(pairs)
            return
        mask = word(0x33333333)
        nibbles = self.name(f"(bvadd (bvand {pairs} {mask}) (bvand (bvlshr {pairs} {word(2)}) {mask}))")
        parts = f"(bvand (bvadd {nibbles} (bvlshr {nibbles} {word(4)})) {word(0x0f0f0f0f)})"
        self.keep(f"(bvlshr (bvmul {parts} {word(0x01010101)}) {word(24)})")

    def swap_neighbours(self):
        """One step of a reversal of bits."""
        x = self.value()
        amount, mask = self.choose(((1, 0x55555555), (2, 0x33333333), (4, 0x0f0f0f0f), (8, 0x00ff00ff)))
        self.keep(f"(bvor (bvand (bvlshr {x} {word(amount)}) {word(mask)}) "
                  f"(bvshl (bvand {x} {word(mask)}) {word(amount)}))")

    def flag_to_word(self):
        flag = self.flag()
        self.keep(self.choose((
            zero_extended(31, flag),
            f"(bvxor {zero_extended(31, flag)} {word(1)})",
            f"(bvadd {zero_extended(31, flag)} {word(-1)})",
            sign_extended(31, flag),
            f"(ite (= {flag} #b1) {self.value()} {self.operand()})")))

    def a_bit(self):
        """A word of which one bit is set."""
        if self.below(3):
            return word(1 << self.below(32))
        return f"(bvshl {word(1)} (bvand {self.value()} {word(31)}))"

    def set_bit(self):
        self.keep(f"(bvor {self.value()} {self.a_bit()})")

    def clear_bit(self):
        self.keep(f"(bvand {self.value()} (bvnot {self.a_bit()}))")

    def toggle_bit(self):
        self.keep(f"(bvxor {self.value()} {self.a_bit()})")

    def smear(self):
        """Bits to the right of the highest one are filled."""
        x = self.value()
        for amount in (1, 2, 4)[:self.between(1, 3)]:
            x = self.name(f"(bvor {x} (bvlshr {x} {word(amount)}))")
        self.keep(x)

    def wide_sum(self):
        """The carry of a sum, computed in twice the width."""
        total = f"(bvadd {zero_extended(32, self.value())} {zero_extended(32, self.operand())})"
        self.keep(self.choose((extract(63, 32, total), extract(31, 0, total),
                               extract(31, 0, f"(bvlshr {total} #x0000000000000020)"))))

    def wide_product(self):
        extended = self.choose((zero_extended, sign_extended))
        product = f"(bvmul {extended(32, self.value())} {extended(32, self.operand())})"
        self.keep(self.choose((extract(63, 32, product), extract(31, 0, product))))

    def multiply_by_shifts(self):
        x = self.value()
        shifted = f"(bvshl {x} {word(self.choose((1, 2, 3, 4, 5)))})"
        self.keep(f"({self.choose(('bvadd', 'bvsub'))} {shifted} {x})")

    def low_and_high(self):
        """Two halves from two values, each cut out by shifts."""
        low = f"(bvand {self.value()} {word(0xffff)})"
        high = self.choose((f"(bvshl {self.value()} {word(16)})", f"(bvand {self.value()} {word(0xffff0000)})"))
        self.keep(f"({self.choose(('bvor', 'bvadd'))} {low} {high})")

    def conditional_negation(self):
        flag = zero_extended(31, self.flag())
        self.keep(f"(bvadd (bvxor {self.value()} (bvneg {flag})) {flag})")

    def conditional_increment(self):
        self.keep(f"({self.choose(('bvadd', 'bvsub'))} {self.value()} {zero_extended(31, self.flag())})")

    # Flags: words of one bit.

    def comparison(self):
        relation = self.choose(("=", "distinct", "bvult", "bvule", "bvugt", "bvslt", "bvsle", "bvsgt", "bvsge"))
        return bit(f"({relation} {self.value()} {self.operand()})")

    def overflow_of_add(self):
        a, b = self.value(), self.value()
        total = self.name(f"(bvadd {a} {b})")
        bits = f"(bvand (bvxor {a} {total}) (bvxor {b} {total}))"
        return self.choose((bit(f"(bvslt {bits} {word(0)})"), extract(31, 31, bits),
                            extract(0, 0, f"(bvlshr {bits} {word(31)})")))

    def overflow_of_subtract(self):
        a, b = self.value(), self.value()
        difference = self.name(f"(bvsub {a} {b})")
        bits = f"(bvand (bvxor {a} {b}) (bvxor {a} {difference}))"
        return self.choose((bit(f"(bvslt {bits} {word(0)})"), extract(31, 31, bits)))

    def carry(self):
        a, b = self.value(), self.operand()
        return self.choose((
            bit(f"(bvult (bvadd {a} {b}) {a})"),
            bit(f"(bvult (bvnot {a}) {b})"),
            extract(32, 32, f"(bvadd {zero_extended(1, a)} {zero_extended(1, b)})")))

    def test_bit(self):
        x, place = self.value(), self.below(32)
        return self.choose((
            extract(0, 0, f"(bvlshr {x} {word(place)})"),
            bit(f"(distinct (bvand {x} {word(1 << place)}) {word(0)})"),
            bit(f"(distinct (bvand (bvlshr {x} {word(place)}) {word(1)}) {word(0)})"),
            bit(f"(= (bvand {x} {self.a_bit()}) {word(0)})")))

    def is_aligned(self):
        return bit(f"(= (bvand {self.value()} {word(self.choose((1, 3, 7, 15, 4095)))}) {word(0)})")

    def is_power(self):
        x = self.value()
        return bit(f"(= (bvand {x} (bvsub {x} {word(1)})) {word(0)})")

    def in_range(self):
        low, count = self.choose(((48, 10), (97, 26), (65, 26), (0, 128)))
        x = self.choose((self.value(), zero_extended(24, f"byte{self.below(BYTES)}")))
        return bit(f"(bvult (bvadd {x} {word(-low)}) {word(count)})")

    def fits_in(self):
        """The value is that of a narrower type."""
        bits, x = self.choose((8, 16)), self.value()
        return self.choose((
            bit(f"(= {sign_extended(32 - bits, extract(bits - 1, 0, x))} {x})"),
            bit(f"(bvult (bvadd {x} {word(1 << (bits - 1))}) {word(1 << bits)})"),
            bit(f"(= (bvlshr {x} {word(bits)}) {word(0)})")))

    def is_zero(self):
        """By signs and shifts, without a comparison."""
        x = self.value()
        return self.choose((
            extract(31, 31, f"(bvor {x} (bvneg {x}))"),
            extract(0, 0, f"(bvlshr (bvor {x} (bvneg {x})) {word(31)})"),
            extract(31, 31, f"(bvand (bvnot {x}) (bvadd {x} {word(-1)}))")))

    def same_sign(self):
        return bit(f"({self.choose(('bvslt', 'bvsge'))} (bvxor {self.value()} {self.value()}) {word(0)})")

    def simple_flag(self):
        return self.choose((self.comparison, self.comparison, self.comparison, self.overflow_of_add, self.overflow_of_subtract,
                            self.carry, self.test_bit, self.is_aligned, self.is_power, self.in_range, self.fits_in,
                            self.is_zero, self.same_sign))()

    def flag(self):
        shape = self.below(6)
        if shape == 0:
            return f"({self.choose(('bvand', 'bvor', 'bvxor'))} {self.simple_flag()} {self.simple_flag()})"
        return f"(bvxor {self.simple_flag()} #b1)" if shape == 1 else self.simple_flag()

    def branch(self):
        """The assertion that a branch is taken, or is not."""
        flag, shape = self.flag(), self.below(4)
        if shape == 0:
            return f"(distinct {zero_extended(31, flag)} {word(0)})"
        return f"(= {flag} {self.choose(('#b1', '#b1', '#b0'))})"


def compiled_code(size, source):
    """Branch conditions of optimised code: absolute values, choices, division and fields by shifts, masks and signs, truth
    values as words of one bit; one assertion for each branch."""
    function = Function(source)
    yield "(set-logic QF_BV)"
    yield from (f"(declare-const arg{i} {WORD})" for i in range(PARAMETERS))
    yield from (f"(declare-const byte{i} (_ BitVec 8))" for i in range(BYTES))
    yield from branches(size, source, function, function.operations, 4, function.branch)
