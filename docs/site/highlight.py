"""Colours for the code on the pages, as classes: k keyword, s string, n number, c comment, p prompt, m macro, w command,
d line taken out, i line put in, o output."""
import html
import re


def language(comment, keywords, string=r'"(?:\\.|[^"\\\n])*"', before=(), number=r'\b\d[\w.\']*', word=r"[A-Za-z_]\w*"):
    """A pattern whose groups are named by class, and the keywords."""
    parts = [*before, ('c', comment), ('s', string), ('n', number), ('word', word)]
    return re.compile('|'.join(f'(?P<{name}>{pattern})' for name, pattern in parts), re.MULTILINE), frozenset(keywords.split())


CPP = language(
    r'//[^\n]*|/\*[\s\S]*?\*/',
    'alignas auto bool break case catch char class const constexpr continue default delete do double else enum explicit extern false '
    'final float for friend if inline int long namespace new noexcept nullptr operator override private protected public return '
    'short signed size_t sizeof static static_cast struct switch template this throw true try typedef typename uint32_t uint64_t '
    'unsigned using virtual void while',
    before=[('m', r'^[ \t]*#[ \t]*\w+')])
PYTHON = language(
    r'#[^\n]*',
    'and as assert async await break class continue def del elif else except False finally for from global if import in is lambda '
    'None nonlocal not or pass raise return True try while with yield',
    string=r'[rfb]?(?:"""[\s\S]*?"""|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\')', before=[('m', r'^[ \t]*@\w[\w.]*')])
JAVASCRIPT = language(
    r'//[^\n]*|/\*[\s\S]*?\*/',
    'async await break case catch class const continue default delete do else export extends false finally for from function if import in '
    'instanceof let new null of return static switch this throw true try typeof undefined var while yield',
    string=r'"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'|`(?:\\.|[^`\\])*`')
CMAKE = language(r'#[^\n]*', 'PRIVATE PUBLIC INTERFACE REQUIRED LANGUAGES', word=r'[A-Za-z_]\w*(?=\()|\b[A-Z][A-Z_]+\b',
                 number=r'\b\d[\d.]*\b')
SHELL = language(r'(?<![^\s])#[^\n]*', 'if then else fi for in do done while case esac', string=r'"(?:\\.|[^"\\])*"|\'[^\']*\'',
                 number=r'(?<![\w.-])--?[a-zA-Z][\w-]*', word=r'[\w./-]+')
SMT = language(
    r';[^\n]*',
    'assert assert-soft check-sat check-sat-assuming declare-const declare-datatypes declare-fun declare-sort define-const define-fun '
    'define-fun-rec define-sort echo exists exit explain forall get-model get-value let maximize minimize pop push reset rule '
    'set-info set-logic set-option simplify why-not',
    string=r'"(?:[^"]|"")*"|\|[^|]*\|', number=r'#[xb][0-9a-fA-F]+|(?<![^\s()])\d+(?:\.\d+)?(?![^\s()])',
    word=r':?[A-Za-z_+*/<>=!?$@%&^~.-][\w+*/<>=!?$@%&^~.-]*')
RULES = language(r'^[ \t]*#[^\n]*', 'rewrite unordered const identity pow2 distinct sort >>', number=r'\b\d+\b',
                 word=r'[A-Za-z_][\w.-]*|>>')
LANGUAGES = {'cpp': CPP, 'c': CPP, 'h': CPP, 'js': JAVASCRIPT, 'python': PYTHON, 'py': PYTHON, 'cmake': CMAKE, 'txt': CMAKE, 'sh': SHELL, 'bash': SHELL,
             'smt2': SMT, 'smtlib': SMT, 'rules': RULES}


def span(name, text):
    return f'<span class="{name}">{html.escape(text, quote=False)}</span>' if text else ''


def coloured(text, language_name):
    """HTML for text in this language; escaped alone where it is not known."""
    if language_name not in LANGUAGES:
        return html.escape(text, quote=False)
    pattern, keywords = LANGUAGES[language_name]
    parts = []
    end = 0
    for match in pattern.finditer(text):
        name, word = match.lastgroup, match.group()
        if name == 'word':
            name = 'k' if word in keywords or (language_name in ('cmake', 'txt') and text[match.end():match.end() + 1] == '(') else None
        parts.append(html.escape(text[end:match.start()], quote=False))
        parts.append(span(name, word) if name else html.escape(word, quote=False))
        end = match.end()
    return ''.join(parts) + html.escape(text[end:], quote=False)


def is_smt(lines):
    return lines[0].startswith('(') and lines[0][1:2].isalpha()


def output(lines):
    """What a command prints: a script, a difference, or words."""
    if not lines:
        return ''
    if lines[0].startswith('--- '):
        marks = {'-': 'd', '+': 'i'}
        return '\n'.join(span(marks.get(line[:1], 'o'), line) for line in lines)
    text = '\n'.join(lines)
    return coloured(text, 'smt2') if is_smt(lines) else span('o', text)


def dialogue(text):
    """Commands after `$`, each with the lines that it prints. What `cat` shows is in the language of the file."""
    parts = []
    for block in filter(None, re.split(r'^(?=\$ )', text, flags=re.MULTILINE)):
        lines = block.rstrip('\n').split('\n')
        if not lines[0].startswith('$ '):
            parts.append(output(lines))
            continue
        length = 1
        while length < len(lines) and lines[length - 1].endswith('\\'):
            length += 1
        command = '\n'.join(lines[:length])[2:]
        shown = re.fullmatch(r'cat \S*?([^./\s]+)\.(\w+)', command)
        rest = lines[length:]
        printed = coloured('\n'.join(rest), shown.group(2)) if shown and rest else output(rest)
        parts.append('<span class="p">$ </span><span class="w">' + coloured(command, 'sh') + '</span>' + ('\n' + printed if rest else ''))
    return '\n'.join(parts) + '\n'


def code_block(match):
    text = html.unescape(match.group(2))
    if match.group(1):
        inner = coloured(text, match.group(1))
    elif re.search(r'^\$ ', text, re.MULTILINE):
        inner = dialogue(text)
    elif text.startswith('('):
        inner = coloured(text, 'smt2')
    else:
        inner = coloured(text, 'sh')
    return f'<pre><code>{inner}</code></pre>'


def page(text):
    """The page with its code coloured, and tables in boxes that scroll by themselves."""
    text = re.sub(r'<pre><code(?: class="language-(\w+)")?>(.*?)</code></pre>', code_block, text, flags=re.DOTALL)
    return re.sub(r'(<table>.*?</table>)', r'<div class="scroll">\1</div>', text, flags=re.DOTALL)
