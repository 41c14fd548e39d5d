#!/usr/bin/env python3
"""Writes the manual pages of a program, one for all of it and one for each command, from what it says with --help.

usage: man_page.py PROGRAM FOLDER
"""
import re
import subprocess
import sys
from pathlib import Path

NAME = "quarv"


class Help:
    """The help of one command, taken apart."""

    def __init__(self, program, command):
        self.command = command
        text = subprocess.run([program, *command, "--help"], capture_output=True, text=True, check=True).stdout
        head, usage, rest = re.match(r"(.*?)\nUsage: (.*?)\n(.*)", text, re.DOTALL).groups()
        self.description = head.strip()
        self.usage = usage
        self.lists = {}
        self.text = []
        self.read(rest.splitlines())

    def read(self, lines):
        items = None
        for line in lines:
            if line in ("Positionals:", "Options:", "Subcommands:"):
                items = self.lists.setdefault(line[:-1], [])
            elif not line.strip():
                if items is None:
                    self.text.append("")
                items = None if items else items
            elif items is None:
                self.text.append(line)
            elif re.match(r"  \S", line):
                name, description = re.match(r"  (.*?)(?:\s{2,}(.*)|$)", line).groups()
                items.append([name, description or ""])
            else:
                items[-1][1] = (items[-1][1] + " " + line.strip()).strip()

    def name(self):
        return "-".join((NAME, *self.command))

    def subcommands(self):
        return [self.command + (name,) for name, _ in self.lists.get("Subcommands", [])]


def collect(program, command=()):
    found = Help(program, command)
    return [found] + [h for sub in found.subcommands() for h in collect(program, sub)]


def roff(text):
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return "\\&" + text if text.startswith((".", "'")) else text


def paragraphs(lines):
    """Text as it stands: the lines of examples are not to be filled."""
    return [".nf", *map(roff, lines), ".fi"]


def section(lines, title):
    """The lines below "Title:", or the rest of the line."""
    text = "\n".join(lines)
    found = re.search(rf"^{title}:[ \n](.*?)(?=\n\n|\Z)", text, re.DOTALL | re.MULTILINE)
    return found.group(1).splitlines() if found else []


def items(entries):
    lines = []
    for name, description in entries:
        name, _, excluded = name.removesuffix(" REQUIRED").partition(" Excludes: ")
        name = re.sub(r"^(-j,--jobs N)=\d+$", r"\1", name)  # depends on the machine
        if excluded:
            description += f" (not with {' or '.join(excluded.split())})"
        lines += [".TP", ".B " + roff(name), roff(description)]
    return lines


def beginning(h, version):
    """Up to the synopsis."""
    summary = h.description.split(". ")[0].split(": ")[0]  # in one line, as lists of pages show it
    return [f'.TH {h.name().upper()} 1 "" "{version}" "User Commands"', ".SH NAME",
            f"{roff(h.name())} \\- {roff(summary[0].lower() + summary[1:].rstrip('.'))}", ".SH SYNOPSIS"]


def synopsis(h):
    command = " ".join((NAME, *h.command))
    return [".B " + roff(command), roff(h.usage.split(command, 1)[-1].strip())]


def command_page(h, top, version):
    lines = [*beginning(h, version), *synopsis(h), ".SH DESCRIPTION", roff(h.description)]
    if positionals := h.lists.get("Positionals"):
        lines += [".SH ARGUMENTS", *items(positionals)]
    lines += [".SH OPTIONS", *items(h.lists.get("Options", []))]
    if examples := section(h.text, "Examples"):
        lines += [".SH EXAMPLES", *paragraphs(examples)]
    lines += [".SH EXIT STATUS", *map(roff, section(top.text, "Exit status")), ".SH SEE ALSO", f".BR {NAME} (1)"]
    return "\n".join(lines) + "\n"


def page(helps, version):
    top = helps[0]
    lines = beginning(top, version)
    commands = [h for h in helps if not h.subcommands()]
    for h in commands:
        lines += [*synopsis(h), ".br"]
    lines += [".SH DESCRIPTION", roff(top.description)]
    lines += [".SH OPTIONS", *items(top.lists["Options"])]
    lines += [".SH COMMANDS"]
    for h in helps[1:]:
        lines += [".SS " + roff(" ".join((NAME, *h.command))), roff(h.description)]
        lines += items(h.lists.get("Positionals", []))
        lines += items([e for e in h.lists.get("Options", []) if not e[0].startswith("-h,")])
        if h.text != top.text and any(h.text):
            lines += [".PP", *paragraphs(h.text)]
    lines += [".SH EXAMPLES", *paragraphs(section(top.text, "Examples"))]
    lines += [".SH EXIT STATUS", *map(roff, section(top.text, "Exit status"))]
    lines += [".SH SEE ALSO", *(f".BR {roff(h.name())} (1){',' if h is not commands[-1] else ''}" for h in commands)]
    return "\n".join(lines) + "\n"


def main(program, folder):
    version = subprocess.run([program, "--version"], capture_output=True, text=True, check=True).stdout.strip()
    helps = collect(program)
    folder.mkdir(exist_ok=True)
    (folder / f"{NAME}.1").write_text(page(helps, version), encoding="utf-8")
    for h in helps:
        if not h.subcommands():
            (folder / f"{h.name()}.1").write_text(command_page(h, helps[0], version), encoding="utf-8")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(sys.argv[1], Path(sys.argv[2]))
