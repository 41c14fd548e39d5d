"""Path conditions as a symbolic executor of machine code writes them.

A machine with eight 32-bit registers, flags and byte-wise memory runs random instructions on unknown inputs. Each conditional
jump adds an assertion: the flag formula of its condition, in terms of what the registers, bytes and flags hold, with nothing
simplified: registers are cut with extract and glued with concat, flags are single bits, words are stored byte by byte.
"""

REGISTERS = ("eax", "ebx", "ecx", "edx", "esi", "edi", "ebp")
INPUTS = 8
LONGEST = 160  # characters of a term without a name
FRAME = 16  # words of the stack frame


def word(value):
    return f"#x{value % (1 << 32):08x}"


def byte(value):
    return f"#x{value % 256:02x}"


def extract(high, low, term):
    return f"((_ extract {high} {low}) {term})"


def bit(condition):
    return f"(ite {condition} #b1 #b0)"


class Machine:
    def __init__(self, source):
        self.below, self.choose, self.between = source.below, source.choose, source.between
        self.lines = []  # definitions that have not been written yet
        self.names = 0
        self.register = {name: f"{name}0" for name in REGISTERS}
        self.memory = "mem0"
        self.instructions = (
            self.move, self.move, self.move_part, self.move_part, self.extend_input, self.extend_input, self.arithmetic,
            self.arithmetic, self.mask, self.mask, self.shift, self.combine_bytes, self.rotate, self.multiply, self.divide,
            self.address, self.set_condition, self.conditional_move, self.borrow, self.clear, self.store_word,
            self.store_word, self.load_word, self.load_word, self.store_byte, self.load_byte, self.load_byte)

    # What the parts of the machine hold.

    def named(self, term, sort):
        """The term, or a name for it if it is long."""
        if len(term) <= LONGEST:
            return term
        name = f"v{self.names}"
        self.names += 1
        self.lines.append(f"(define-fun {name} () {sort} {term})")
        return name

    def any_register(self):
        return self.choose(REGISTERS)

    def value(self):
        return self.register[self.any_register()]

    def set(self, name, term):
        self.register[name] = self.named(term, "(_ BitVec 32)")

    def low_byte(self, name=None):
        return extract(7, 0, self.register[name or self.any_register()])

    def operand(self):
        """What stands on the right: a constant, most of the time a small one, or a register."""
        shape = self.below(8)
        if shape < 4:
            return word(self.choose((0, 1, 2, 4, 8, 10, 16, 32, 0x30, 0x41, 0x7f, 0x80, 0xff, 0x100, 0x1000)))
        return word(-self.between(1, 16)) if shape == 4 else self.value()

    # Instructions.

    def move(self):
        self.set(self.any_register(), self.operand())

    def move_part(self):
        """Of a register only the lowest byte, the second, or the lower half is written."""
        name, shape = self.any_register(), self.below(4)
        old = self.register[name]
        source = byte(self.below(256)) if self.below(3) == 0 else self.low_byte()
        if shape < 2:
            self.set(name, f"(concat {extract(31, 8, old)} {source})")
        elif shape == 2:
            self.set(name, f"(concat (concat {extract(31, 16, old)} {source}) {extract(7, 0, old)})")
        else:
            half = extract(15, 0, f"(bvadd {self.value()} {word(self.below(64))})")
            self.set(name, f"(concat {extract(31, 16, old)} {half})")

    def extend_input(self):
        extension = "sign_extend" if self.below(3) == 0 else "zero_extend"
        source = f"in{self.below(INPUTS)}" if self.below(4) else self.low_byte()
        self.set(self.any_register(), f"((_ {extension} 24) {source})")

    def arithmetic(self):
        name, operator = self.any_register(), self.choose(("bvadd", "bvadd", "bvsub", "bvxor", "bvor", "bvand"))
        self.set(name, f"({operator} {self.register[name]} {self.operand()})")

    def mask(self):
        name = self.any_register()
        mask = self.choose((0xff, 0xff, 0xffff, 0xff00, 0xff0000, 1, 3, 7, 0xf, 0x1f, 0xfffffffc, 0x80000000))
        masked = f"(bvand {self.value()} {word(mask)})"
        amount = {0xff00: 8, 0xff0000: 16, 0x80000000: 31}.get(mask)
        self.set(name, f"(bvlshr {masked} {word(amount)})" if amount and self.below(2) else masked)

    def shift(self):
        name, operator = self.any_register(), self.choose(("bvshl", "bvshl", "bvlshr", "bvashr"))
        if self.below(4):
            amount = word(self.choose((1, 2, 3, 8, 16, 24, 31)))
        else:
            amount = f"((_ zero_extend 24) (bvand {self.low_byte('ecx')} #x1f))"
        self.set(name, f"({operator} {self.register[name]} {amount})")

    def combine_bytes(self):
        """A word of two to four input bytes, by shifts."""
        first, count = self.below(INPUTS - 4), self.between(2, 4)
        term = f"((_ zero_extend 24) in{first})"
        for i in range(1, count):
            term = f"(bvor (bvshl ((_ zero_extend 24) in{first + i}) {word(8 * i)}) {term})"
        self.set(self.any_register(), term)

    def rotate(self):
        name, amount = self.any_register(), self.choose((1, 5, 8, 16))
        old = self.register[name]
        self.set(name, f"(bvor (bvshl {old} {word(amount)}) (bvlshr {old} {word(32 - amount)}))")

    def multiply(self):
        """The lower half of a product of twice the width, as a signed and an unsigned multiplication give it."""
        name, extension = self.any_register(), self.choose(("sign_extend", "zero_extend"))
        factor = word(self.choose((2, 3, 4, 5, 10, 24, 100))) if self.below(3) else self.value()
        wide = f"(bvmul ((_ {extension} 32) {self.register[name]}) ((_ {extension} 32) {factor}))"
        self.set(name, extract(31, 0, wide))

    def divide(self):
        divisor = word(self.choose((2, 3, 4, 8, 10, 16, 100)))
        wide = f"(concat #x00000000 {self.value()})"
        operator = self.choose(("bvudiv", "bvurem"))
        self.set(self.any_register(), extract(31, 0, f"({operator} {wide} ((_ zero_extend 32) {divisor}))"))

    def address(self):
        """Base, index times scale, and displacement, as one addressing mode adds them up."""
        index = f"(bvmul {self.value()} {word(self.choose((1, 2, 4, 8)))})"
        displacement = word(self.choose((0, 4, 8, 16, -4, -8)))
        self.set(self.any_register(), f"(bvadd (bvadd {self.value()} {index}) {displacement})")

    def set_condition(self):
        name, condition = self.any_register(), f"(= {self.condition()} #b1)"
        kept = self.choose(("#x000000", extract(31, 8, self.register[name])))
        self.set(name, f"(concat {kept} (ite {condition} #x01 #x00))")

    def conditional_move(self):
        name = self.any_register()
        self.set(name, f"(ite (= {self.condition()} #b1) {self.value()} {self.register[name]})")

    def borrow(self):
        """All ones if a comparison borrows: a register minus itself minus the carry."""
        name = self.any_register()
        carry = bit(f"(bvult {self.value()} {self.operand()})")
        old = self.register[name]
        self.set(name, f"(bvsub (bvsub {old} {old}) ((_ zero_extend 31) {carry}))")

    def clear(self):
        name = self.any_register()
        self.set(name, f"(bvxor {self.register[name]} {self.register[name]})")

    # Memory, by bytes, the lowest first.

    def slot(self):
        """An address in the stack frame, at times in a buffer elsewhere."""
        if self.below(8) == 0:
            return f"(bvadd ebx0 {word(self.below(16))})"
        return f"(bvsub esp0 {word(4 * self.between(1, FRAME))})"

    def store_word(self):
        address, value = self.slot(), self.value()
        for i in range(4):
            place = address if i == 0 else f"(bvadd {address} {word(i)})"
            self.memory = f"(store {self.memory} {place} {extract(8 * i + 7, 8 * i, value)})"
        self.memory = self.named(self.memory, "Memory")

    def store_byte(self):
        self.memory = f"(store {self.memory} (bvadd {self.slot()} {word(self.below(4))}) {self.low_byte()})"
        self.memory = self.named(self.memory, "Memory")

    def load_word(self):
        address = self.slot()
        term = f"(select {self.memory} {address})"
        for i in range(1, 4):
            term = f"(concat (select {self.memory} (bvadd {address} {word(i)})) {term})"
        self.set(self.any_register(), term)

    def load_byte(self):
        name = self.any_register()
        loaded = f"(select {self.memory} (bvadd {self.slot()} {word(self.below(4))}))"
        form = self.below(3)
        if form == 0:
            self.set(name, f"(concat {extract(31, 8, self.register[name])} {loaded})")
        else:
            self.set(name, f"((_ {('zero_extend', 'sign_extend')[form - 1]} 24) {loaded})")

    # Flags and conditions.

    def compared(self):
        """Two operands and their width: words, or bytes."""
        if self.below(3):
            return self.value(), self.operand(), 32
        left = self.low_byte() if self.below(2) else f"in{self.below(INPUTS)}"
        return left, byte(self.choose((0, 9, 0x0a, 0x20, 0x30, 0x39, 0x61, 0x7a, 0x80, 0xff))), 8

    def condition(self):
        """A bit that says whether a condition holds after a comparison, as the processor computes it from flags."""
        if self.below(4) == 0:
            return self.condition_of_test()
        a, b, width = self.compared()
        zero = word(0) if width == 32 else byte(0)
        top = width - 1
        difference = self.named(f"(bvsub {a} {b})", f"(_ BitVec {width})")
        zf = bit(f"(= {difference} {zero})")
        sf = extract(top, top, difference)
        of = extract(top, top, f"(bvand (bvxor {a} {b}) (bvxor {a} {difference}))")
        if self.below(3):
            cf = bit(f"(bvult {a} {b})")
        else:
            borrow = f"(bvor (bvand (bvnot {a}) {b}) (bvand (bvor (bvnot {a}) {b}) {difference}))"
            cf = extract(top, top, borrow)
        less = f"(bvxor {sf} {of})"
        return self.choose((zf, zf, zf, f"(bvnot {zf})", cf, f"(bvnot {cf})", f"(bvor {cf} {zf})",
                            f"(bvand (bvnot {cf}) (bvnot {zf}))", sf, less, f"(bvnot {less})", f"(bvor {less} {zf})",
                            f"(bvand (bvnot {less}) (bvnot {zf}))"))

    def condition_of_test(self):
        """After the conjunction of a register with itself or a mask, of which only zero and sign are looked at."""
        a = self.value()
        b = a if self.below(2) else word(1 << self.below(9))
        tested = f"(bvand {a} {b})"
        zf = bit(f"(= {tested} {word(0)})")
        sf = extract(31, 31, tested)
        return self.choose((zf, zf, f"(bvnot {zf})", sf, f"(bvor {sf} {zf})"))

    def jump(self):
        """The assertion that a conditional jump is taken, or is not."""
        shape = self.below(8)
        if shape == 0:  # a character is in a range
            low, high = self.choose(((0x30, 0x39), (0x41, 0x5a), (0x61, 0x7a)))
            character = f"((_ zero_extend 24) in{self.below(INPUTS)})"
            return f"(bvule (bvsub {character} {word(low)}) {word(high - low)})"
        if shape == 1:
            extension = self.choose(("zero_extend", "sign_extend"))
            character = f"((_ {extension} 24) in{self.below(INPUTS)})"
            return f"({self.choose(('=', 'bvult', 'bvsle', 'bvugt', 'bvsge', 'distinct'))} {character} {self.operand()})"
        taken = f"(= {self.condition()} #b1)"
        if shape < 5:
            return taken
        if shape == 5:
            return f"(= (ite {taken} #b1 #b0) #b0)"
        return f"(not {taken})"


def branches(size, source, machine, instructions, most, condition):
    """Assertions of the conditions of this many branches, each after up to `most` instructions, with the lines that these have
    written."""
    for _ in range(size):
        for _ in range(source.between(1, most)):
            source.choose(instructions)()
        branch = condition()
        yield from machine.lines
        machine.lines.clear()
        yield f"(assert {branch})"
    yield "(check-sat)"


def path_conditions(size, source):
    """Path conditions of machine code: registers cut and glued, flags as single bits, byte-wise memory; one assertion for
    each conditional jump."""
    machine = Machine(source)
    yield "(set-logic QF_ABV)"
    yield "(define-sort Memory () (Array (_ BitVec 32) (_ BitVec 8)))"
    yield "(declare-const mem0 Memory)"
    yield from (f"(declare-const {name}0 (_ BitVec 32))" for name in (*REGISTERS, "esp"))
    yield from (f"(declare-const in{i} (_ BitVec 8))" for i in range(INPUTS))
    yield from branches(size, source, machine, machine.instructions, 5, machine.jump)
