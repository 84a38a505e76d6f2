"""Reads the texts of the reference: pages with a title, and an entry for each member or enumeration
with a head of fields and a body. Whatever is missing, or about nothing, is an error."""

import re
from dataclasses import dataclass, field

# In the order of the table of contents.
ENTRY_PAGES = (
    "session", "transponder", "radio", "box", "supply", "names", "sub-devices", "enumerations",
)
FREE_PAGES = ("library", "zentrel", "times", "identifiers")

# What the head of an entry has to say, beside a field for each parameter or constant.
ANY = {"errors"}
METHOD = ANY | {"changes"}
PROPERTY = ANY | {"range", "unit", "overwritten"}
EVENT = ANY | {"when"}
# What it may say.
MORE = {"takes", "events"}


class TextError(Exception):
    pass


@dataclass
class Entry:
    name: str
    fields: dict
    body: str


@dataclass
class Page:
    name: str
    title: str
    intro: str
    entries: list = field(default_factory=list)


@dataclass
class Texts:
    pages: dict
    times: dict  # member -> the cells of its row

    def page_of(self, entry_name):
        return next(p for p in self.pages.values() if any(e.name == entry_name for e in p.entries))


def _take_fields(lines):
    """The head of an entry: `key: text`, its further lines indented."""
    fields = {}
    key = None
    while lines and lines[0]:
        line = lines.pop(0)
        if line.startswith("  ") and key:
            fields[key] += " " + line.strip()
            continue
        key, separator, text = line.partition(": ")
        if not separator or key in fields:
            raise TextError(f"not a field, or one too many: {line}")
        fields[key] = text
    return fields


def _take_macros(intro):
    """What several entries of a page say alike: `@name: text`, and the rest of the introduction."""
    macros = {}
    for name, text in re.findall(r"^@(\w+): (.*(?:\n  .*)*)", intro, re.M):
        macros[name] = " ".join(text.split())
    return macros, re.sub(r"^@\w+: .*(?:\n  .*)*\n", "", intro, flags=re.M).strip()


def _expand(text, macros):
    def one(found):
        if found[1] not in macros:
            raise TextError(f"nothing is called @{found[1]}")
        return macros[found[1]]

    return re.sub(r"@(\w+)", one, text)


def _parse(name, text, has_entries):
    parts = re.split(r"^## ", text, flags=re.M) if has_entries else [text]
    title, _, intro = parts[0].removeprefix("# ").partition("\n")
    macros, intro = _take_macros(intro)
    page = Page(name, title.strip(), intro)
    for part in parts[1:]:
        lines = part.splitlines()
        entry = lines.pop(0).strip()
        while lines and not lines[0]:
            lines.pop(0)
        try:
            fields = {k: _expand(v, macros) for k, v in _take_fields(lines).items()}
        except TextError as error:
            raise TextError(f"{name}.md, {entry}: {error}") from error
        page.entries.append(Entry(entry, fields, "\n".join(lines).strip()))
    return page


def _check_fields(page, entry, required, allowed):
    given = set(entry.fields)
    if required - given:
        missing = ", ".join(sorted(required - given))
        raise TextError(f"{page.name}.md, {entry.name} has no {missing}")
    if given - allowed:
        wrong = ", ".join(sorted(given - allowed))
        raise TextError(f"{page.name}.md, {entry.name} speaks of {wrong}, which it does not have")


def _check_member(page, entry, member):
    parameters = {p.name for p in member.parameters}
    required = parameters | (EVENT if member.is_event else METHOD if member.is_method else PROPERTY)
    if member.is_method:
        returns_status = member.result.basic == "ZentrelStatus"
        required = required | {"statuses" if returns_status else "returns"}
    elif {"get", "let"} <= set(member.slots):
        required = required | {"starts"}
    statuses = {f"status {n}" for n in entry.fields.get("statuses", "").split()}
    _check_fields(page, entry, required, required | statuses | MORE | {"starts"})


def _check(texts, library):
    members = {m.name: m for m in [*library.members, library.event]}
    enumerations = {e.name: e for e in library.enumerations}
    seen = set()
    for page in texts.pages.values():
        for entry in page.entries:
            if entry.name in seen:
                raise TextError(f"{page.name}.md: {entry.name} is there twice")
            seen.add(entry.name)
            if entry.name in members:
                _check_member(page, entry, members[entry.name])
            elif entry.name in enumerations:
                constants = {name for name, _ in enumerations[entry.name].constants}
                _check_fields(page, entry, constants, constants)
            else:
                raise TextError(f"{page.name}.md: the interface has no {entry.name}")
    missing = (members.keys() | enumerations.keys()) - seen
    if missing:
        raise TextError(f"no text about {', '.join(sorted(missing))}")
    wrong = texts.times.keys() - members.keys()
    if wrong:
        raise TextError(f"times.md: the interface has no {', '.join(sorted(wrong))}")
    # A command that meets the box has its time measured; only these are done by the port alone.
    for member in members.values():
        has_time = member.name in texts.times
        is_command = member.is_method and member.result.basic == "ZentrelStatus"
        if is_command and not has_time and member.name not in ("DeviceOpen", "DeviceClose"):
            raise TextError(f"times.md has no row for {member.name}")


def read(folder, library):
    pages = {}
    for name in ENTRY_PAGES + FREE_PAGES:
        pages[name] = _parse(name, (folder / f"{name}.md").read_text(), name in ENTRY_PAGES)
    unknown = {path.stem for path in folder.glob("*.md")} - pages.keys()
    if unknown:
        raise TextError(f"nothing is made of {', '.join(sorted(unknown))}.md")
    rows = re.findall(r"^\| `(\w+)` \|(.*)\|$", pages["times"].intro, re.M)
    times = {name: [cell.strip() for cell in cells.split("|")] for name, cells in rows}
    texts = Texts(pages, times)
    _check(texts, library)
    return texts
