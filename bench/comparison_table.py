"""Tables of what bench/compare has measured: seconds, memory, terms, ratios to the fastest peer, growth."""

import math

OWN = "quarv"
SMALLEST_OF_GROWTH = 10**4
PHASES = ("read", "simplify", "print", "total")


class Results:
    """The measurements of one run of bench/compare, by input, size and solver."""

    def __init__(self, data):
        self.data = data
        self.rows = {(row["kind"], row["size"], row["solver"]): row for row in data["rows"]}
        self.kinds = list(dict.fromkeys(row["kind"] for row in data["rows"]))
        self.solvers = list(dict.fromkeys(row["solver"] for row in data["rows"]))
        self.peers = [solver for solver in self.solvers if solver != OWN]

    def sizes(self, kind):
        return sorted({row["size"] for row in self.data["rows"] if row["kind"] == kind})

    def seconds(self, kind, size, solver, phase):
        """Seconds and whether they are only a lower bound; None where nothing is known."""
        row = self.rows.get((kind, size, solver))
        if row is None:
            return None
        value = row["seconds"].get(phase)
        if value is not None:
            return value, False
        return (self.data["limit"], True) if row["failure"] and phase == "total" else None

    def ratio(self, kind, size, phase):
        """How many times as long as quarv's the phase took the fastest peer, and whether that is a lower bound."""
        own = self.rows.get((kind, size, OWN))
        if own is None:
            return None
        found = []
        for peer in self.peers:
            row = self.rows.get((kind, size, peer))
            theirs = self.seconds(kind, size, peer, phase)
            ours = own["seconds"].get(phase)
            if theirs is None and phase == "simplify" and row and "simplify+print" in row["seconds"]:
                # This peer prints while it simplifies: so both are compared to both.
                theirs = (row["seconds"]["simplify+print"], False)
                ours = own["seconds"].get("simplify", 0) + own["seconds"].get("print", 0)
            if theirs is None and row and row["failure"] and phase == "simplify":
                theirs = (self.data["limit"] - row["seconds"].get("read", 0), True)
            if theirs and ours:
                found.append((theirs[0] / ours, theirs[1]))
        return min(found) if found else None

    def memory_ratio(self, kind, size):
        """How many times quarv's memory the leanest peer takes. Who was stopped had not asked for all it needs."""
        own = self.rows.get((kind, size, OWN))
        found = [(row["peak_memory"] / own["peak_memory"], bool(row["failure"])) for peer in self.peers
                 if own and own["peak_memory"] and not own["failure"]
                 and (row := self.rows.get((kind, size, peer))) and row["peak_memory"]]
        return min(found, default=None)

    def exponent(self, kind, solver, phase, low, high):
        """x, where the time grows as size^x between two sizes."""
        times = [self.rows.get((kind, size, solver), {}).get("seconds", {}).get(phase) for size in (low, high)]
        if not all(times):
            return None
        return math.log(times[1] / times[0]) / math.log(high / low)


def number(value):
    if value is None:
        return "-"
    return f"{value:.3f}" if value < 1 else f"{value:.2f}" if value < 10 else f"{value:.1f}"


def ratio_text(ratio):
    return "-" if ratio is None else (">" if ratio[1] else "") + number(ratio[0])


def power(size):
    """10^n where that is what it is."""
    exponent = round(math.log10(size))
    return f"10^{exponent}" if 10**exponent == size else str(size)


def table(header, rows, left=1):
    """A Markdown table with columns of even width; the first `left` columns hold text, the others figures."""
    cells = [header, *rows]
    widths = [max(3, *(len(row[i]) for row in cells)) for i in range(len(header))]

    def line(row):
        fields = (cell.ljust(w) if i < left else cell.rjust(w) for i, (cell, w) in enumerate(zip(row, widths)))
        return "| " + " | ".join(fields) + " |"

    rule = "|" + "|".join("-" * (w + 2) if i < left else "-" * (w + 1) + ":" for i, w in enumerate(widths)) + "|"
    return "\n".join([line(header), rule, *map(line, rows)]) + "\n"


def measured_table(results):
    """Everything measured, a line for each input, size and solver."""
    header = ["input", "solver", "size", "MB", "read s", "simplify s", "print s", "total s", "MiB", "terms before",
              "terms after", "times faster than the fastest peer"]
    rows = []
    for kind in results.kinds:
        for size in results.sizes(kind):
            for solver in results.solvers:
                row = results.rows.get((kind, size, solver))
                if row:
                    rows.append(measured_row(results, row))
    return table(header, rows, left=2)


def measured_row(results, row):
    kind, size, solver, seconds = row["kind"], row["size"], row["solver"], row["seconds"]
    simplify = number(seconds.get("simplify"))
    printing = number(seconds.get("print"))
    if "simplify+print" in seconds:
        simplify, printing = number(seconds["simplify+print"]), "with it"
    memory = "-"
    if row["peak_memory"]:
        memory = f"{'>' if row['failure'] else ''}{row['peak_memory'] / 2**20:.0f}"
    terms = [str(row["terms"].get(when, "-")) for when in ("before", "after")]
    total = row["failure"] or number(seconds.get("total"))
    faster = ratio_text(results.ratio(kind, size, "total")) if solver == OWN else ""
    return [kind, solver, power(size), f"{row['bytes'] / 1e6:.2f}", number(seconds.get("read")), simplify, printing,
            total, memory, *terms, faster]


def ratio_table(results):
    """quarv against the fastest peer, phase by phase."""
    header = ["input", "size", "read MB/s", "with simplifiers MB/s", "simplify 1000/s", "read", "simplify", "print",
              "total", "memory"]
    rows = []
    for kind in results.kinds:
        for size in results.sizes(kind):
            own = results.rows.get((kind, size, OWN))
            if not own:
                continue
            rates = [own["bytes"] / 1e6 / own["seconds"][phase] if own["seconds"].get(phase) else None
                     for phase in ("read", "read with simplifiers")]
            rates.append(size / 1000 / own["seconds"]["simplify"] if own["seconds"].get("simplify") else None)
            ratios = [ratio_text(results.ratio(kind, size, phase)) for phase in PHASES]
            rows.append([kind, power(size), *map(number, rates), *ratios,
                         ratio_text(results.memory_ratio(kind, size))])
    return table(header, rows)


def growth_table(results):
    """Exponents between neighbouring sizes: of quarv's phases, and of each solver's whole way."""
    # Below some thousand operations, what is measured is the start of a process.
    sizes = sorted({row["size"] for row in results.data["rows"] if row["size"] >= SMALLEST_OF_GROWTH})
    steps = list(zip(sizes, sizes[1:]))
    header = ["input", "solver", "phase", *(f"{power(low)} to {power(high)}" for low, high in steps)]
    rows = []
    for kind in results.kinds:
        for solver in results.solvers:
            for phase in PHASES if solver == OWN else ("total",):
                exponents = [results.exponent(kind, solver, phase, low, high) for low, high in steps]
                if any(x is not None for x in exponents):
                    rows.append([kind, solver, phase, *("-" if x is None else f"{x:.2f}" for x in exponents)])
    return table(header, rows, left=3) if steps else ""


def start_table(results):
    start = results.data.get("start_to_exit")
    if not start:
        return ""
    rows = [[name, f"{1000 * seconds:.2f}"] for name, seconds in start["seconds"].items()]
    return table([f"program, on a script of {start['bytes']} bytes", "start to exit, ms"], rows)


def machine_text(results):
    machine = results.data["machine"]
    versions = ", ".join(f"{name} {version}" for name, version in results.data["versions"].items())
    return (f"{versions}; {machine['processor']}, {machine['cores']} cores, load {machine['load_before']:.1f} before "
            f"and {machine['load_after']:.1f} after; {results.data['date']}; medians of {results.data['runs']} runs, "
            f"stopped after {results.data['limit']} s.\n")


def as_text(data):
    results = Results(data)
    sections = [measured_table(results),
                "quarv against the fastest peer, times faster (memory: times less):\n\n" + ratio_table(results)]
    if growth := growth_table(results):
        sections.append("Growth exponents:\n\n" + growth)
    return "\n".join([*sections, start_table(results), machine_text(results)])
