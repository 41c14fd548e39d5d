"""What the search of the site knows: sections of the pages by their headings, and the names of the C++ interface."""
import html
import json
import re
import xml.etree.ElementTree

HEADING = re.compile(r'<h([1-3]) id="([^"]*)">(.*?)</h\1>', re.DOTALL)


def plain(markup):
    markup = re.sub(r'<a class="headerlink".*?</a>', '', markup, flags=re.DOTALL)
    return re.sub(r'\s+', ' ', html.unescape(re.sub(r'<[^>]*>', '', re.sub(r'</(?:p|li|td|th|pre|h\d)>', ' ', markup)))).strip()


def page_entries(url, text):
    """One for each heading: address, page, heading, text up to the next one."""
    content = re.search(r'<main[^>]*>(.*?)(?:<footer>.*?)?</main>', text, re.DOTALL).group(1)
    headings = list(HEADING.finditer(content))
    title = plain(headings[0].group(3)) if headings else url
    for heading, following in zip(headings, [*headings[1:], None]):
        body = content[heading.end():following.start() if following else None]
        yield [f'{url}#{heading.group(2)}', title, plain(heading.group(3)), plain(body)]


def api_entries(tag_file):
    """Classes and members, from the file that doxygen writes for others to refer to."""
    for compound in xml.etree.ElementTree.parse(tag_file).getroot().iter('compound'):
        if compound.get('kind') not in ('class', 'struct', 'namespace'):
            continue
        name, file = compound.findtext('name'), compound.findtext('filename')
        if compound.get('kind') != 'namespace':
            yield [f'api/{file}', f'C++ {compound.get("kind")}', name, '']
        known = set()
        for member in compound.findall('member'):
            member_name = member.findtext('name')
            if member_name not in known:  # overloads stand together
                known.add(member_name)
                yield [f'api/{member.findtext("anchorfile")}#{member.findtext("anchor")}', f'C++ {member.get("kind")}',
                       f'{name}::{member_name}', '']


def write(site, pages, tag_file):
    entries = []
    for page in pages:
        entries += page_entries(page.name, page.read_text(encoding='utf-8'))
    entries += api_entries(tag_file)
    lines = ',\n'.join(json.dumps(entry, ensure_ascii=False, separators=(',', ':')) for entry in entries)
    (site / 'search_index.js').write_text(f'const searchIndex = [\n{lines}\n];\n', encoding='utf-8')
    return entries
