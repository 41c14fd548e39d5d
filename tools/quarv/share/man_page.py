#!/usr/bin/env python3
"""Writes the manual page of a program from what it says with --help.

usage: man_page.py PROGRAM > quarv.1
"""
import re
import subprocess
import sys

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


def page(program):
    helps = collect(program)
    top = helps[0]
    version = subprocess.run([program, "--version"], capture_output=True, text=True, check=True).stdout.strip()
    lines = [f'.TH {NAME.upper()} 1 "" "{version}" "User Commands"', ".SH NAME",
             f"{NAME} \\- {roff(top.description[0].lower() + top.description[1:].rstrip('.'))}", ".SH SYNOPSIS"]
    for h in helps:
        if not h.subcommands():
            lines += [".B " + roff(" ".join((NAME, *h.command))),
                      roff(h.usage.split(" ".join((NAME, *h.command)), 1)[-1].strip()), ".br"]
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
    return "\n".join(lines) + "\n"


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    sys.stdout.write(page(sys.argv[1]))
