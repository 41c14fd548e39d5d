"""What the tests of the documentation take from its pages: commands with their output, C++, rules, links."""
import dataclasses
import pathlib
import re

INDENT = '    '


@dataclasses.dataclass
class Command:
    """`    $ command`, with the lines up to the next command or the end of the block as its output."""
    line: int
    text: str
    output: list


@dataclasses.dataclass
class Fence:
    line: int
    language: str
    text: str


class Page:
    def __init__(self, path):
        self.path = pathlib.Path(path)
        self.name = self.path.name
        self.lines = self.path.read_text(encoding='utf-8').splitlines()
        self.fences = []
        self.prose = []  # (line number, text) outside of code blocks
        self._split()

    def _split(self):
        fence = None
        for number, line in enumerate(self.lines, 1):
            if line.startswith('```'):
                if fence is None:
                    fence = Fence(number, line[3:].strip(), '')
                else:
                    self.fences.append(fence)
                    fence = None
            elif fence is not None:
                fence.text += line + '\n'
            elif not line.startswith(INDENT):
                self.prose.append((number, line))
        if fence is not None:
            raise ValueError(f'{self.name}:{fence.line}: the code block is not closed')

    def commands(self):
        """Commands in order. A line that ends in a backslash goes on in the next one."""
        commands = []
        current = None
        continued = in_fence = False
        for number, line in enumerate(self.lines, 1):
            in_fence ^= line.startswith('```')
            text = line[len(INDENT):]
            if in_fence or (line.strip() and not line.startswith(INDENT)):
                current = None
            elif continued:
                current.text += '\n' + text
            elif text.startswith('$ '):
                current = Command(number, text[2:], [])
                commands.append(current)
            elif current is not None:
                current.output.append(text)
            continued = current is not None and not current.output and current.text.endswith('\\')
        for command in commands:
            while command.output and not command.output[-1].strip():
                command.output.pop()
        return commands

    def code_spans(self):
        for number, line in self.prose:
            for span in re.findall(r'`([^`]+)`', line):
                yield number, span

    def links(self):
        for number, line in self.prose:
            for target in re.findall(r'\]\(([^)\s]+)\)', re.sub(r'`[^`]*`', '', line)):
                yield number, target

    def anchors(self):
        """The anchors that a heading gets on the site and on the usual forges."""
        for _, line in self.prose:
            if line.startswith('#'):
                text = re.sub(r'[^\w\s-]', '', line.lstrip('#').strip().lower())
                yield re.sub(r'\s', '-', text)


def pages(source):
    """The pages of the documentation, by name."""
    return {path.name: Page(path) for path in sorted(pathlib.Path(source, 'docs').glob('*.md'))}
