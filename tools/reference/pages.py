"""Makes the pages of the reference, as Markdown, from the texts and the interface description."""

import re

HEAD = "<!-- Made by tools/reference/make_reference from interface/: change it there. -->\n\n"
ACCESS = {("get", "let"): "read and write", ("get",): "read only", ("let",): "write only"}


def slug(heading):
    """The anchor that a heading gets where this project's pages are read."""
    text = re.sub(r"[^\w\- ]", "", heading.strip().lower())
    return text.replace(" ", "-")


class Pages:
    """File names are relative to docs/reference/."""

    def __init__(self, library, texts):
        self.library = library
        self.texts = texts
        self.members = {m.name: m for m in [*library.members, library.event]}
        self.enumerations = {e.name: e for e in library.enumerations}
        statuses = self.enumerations["ZentrelStatus"].constants
        self.status_names = {value: name for name, value in statuses}
        self.home = {slug(e.name): p.name for p in texts.pages.values() for e in p.entries}

    # --- Where things are ---

    def file_of(self, page_name):
        return "README.md" if page_name == "library" else f"{page_name}.md"

    def link_to(self, entry_name, page_name):
        home = self.home[slug(entry_name)]
        return f"{'' if home == page_name else self.file_of(home)}#{slug(entry_name)}"

    def _linked(self, text, page_name):
        """The texts name an entry by its anchor alone, wherever it stands."""

        def one(found):
            if found[1] not in self.home:
                return found[0]
            home = self.home[found[1]]
            return f"]({'' if home == page_name else self.file_of(home)}#{found[1]})"

        return re.sub(r"\]\(#([\w-]+)\)", one, text)

    # --- Parts of an entry ---

    def _declarations(self, member):
        """As a program writes them."""

        def basic(parameters):
            texts = []
            for p in parameters:
                how = "ByRef" if p.type.by_reference else "ByVal"
                kind = p.type.basic.removesuffix("()")
                name = p.name + ("()" if p.type.basic.endswith("()") else "")
                text = f"{how} {name} As {kind}"
                texts.append(f"Optional {text} = {p.default}" if p.default else text)
            return ", ".join(texts)

        given = basic(member.parameters)
        if member.is_event:
            yield "vb", f"Event {member.name}({given})"
            return
        result = member.result
        if member.is_method:
            yield "vb", f"Function {member.name}({given}) As {result.basic}"
        else:
            arguments = f"({given})" if given else ""
            yield "vb", f"Property {member.name}{arguments} As {result.basic}"
        compiled = ", ".join(f"{p.type.compiled} {p.name}" for p in member.parameters)
        for kind, prefix in (("method", ""), ("get", "get_"), ("let", "put_")):
            if kind not in member.slots:
                continue
            last = f"{result.compiled} NewValue" if kind == "let" else f"{result.compiled}* Result"
            every = ", ".join(filter(None, [compiled, last]))
            yield "cpp", f"HRESULT {prefix}{member.name}({every});"

    def _declaration_block(self, member):
        lines = {}
        for language, line in self._declarations(member):
            lines.setdefault(language, []).append(line)
        return "\n".join("\n".join([f"```{language}", *said, "```"]) for language, said in lines.items())

    def _time(self, member, fields):
        page = "[on top](times.md)"
        if member.name in self.texts.times:
            silent, silent_electric, most, most_electric, most_unknown = self.texts.times[member.name]
            if most_unknown != most:
                most_electric += f", {most_unknown} if not known as one yet"
            return (
                f"{silent} when nothing answers (electric box: {silent_electric}), at most {most} "
                f"({most_electric}), and what comes {page}"
            )
        return fields.get("takes", "at once")

    def _facts(self, member, fields):
        rows = []

        def add(what, text):
            if text:
                rows.append((what, text))

        if member.is_event:
            add("raised", fields["when"])
        elif not member.is_method:
            add("access", ACCESS[tuple(member.slots)])
            add("type", member.result.basic)
            add("range", fields["range"])
            add("unit", "" if fields["unit"] == "none" else fields["unit"])
            add("of a new object", fields.get("starts", ""))
            add("overwritten by", fields["overwritten"])
        else:
            add("returns", fields.get("returns", "a [ZentrelStatus](#zentrelstatus)"))
            add("changes", fields.get("changes", ""))
        add("errors", fields["errors"])
        if not member.is_event:
            add("takes", self._time(member, fields))
        add("raises", fields.get("events", ""))
        number = str(member.identifier) if member.is_event else f"0x{member.identifier:08X}"
        where = [f"identifier {number}"]
        if member.slots:
            slots = " and ".join(str(slot) for slot in member.slots.values())
            where.append(("slots " if len(member.slots) > 1 else "slot ") + slots)
        where.append(f"help context {member.context}" if member.context else "no help context")
        add("known as", ", ".join(where))
        add("in the type library", f"“{member.help.strip()}”" if member.help else "")
        return "| | |\n|---|---|\n" + "\n".join(f"| {what} | {text} |" for what, text in rows)

    def _parameters(self, member, fields):
        if not member.parameters:
            return ""
        rows = ["| parameter | type | direction | |", "|---|---|---|---|"]
        for p in member.parameters:
            direction = "in and out" if p.type.by_reference else "in"
            if p.default:
                direction += f", optional: {p.default}"
            rows.append(f"| `{p.name}` | {p.type.basic} | {direction} | {fields[p.name]} |")
        return "\n".join(rows)

    def _status_meaning(self, name):
        entries = self.texts.pages["enumerations"].entries
        statuses = next(entry for entry in entries if entry.name == "ZentrelStatus")
        return statuses.fields[name].partition(" | ")[2]

    def _statuses(self, fields):
        if "statuses" not in fields:
            return ""
        rows = ["| status | | |", "|---|---|---|"]
        for number in fields["statuses"].split():
            name = self.status_names[int(number)]
            meaning = fields.get(f"status {number}") or self._status_meaning(name)
            rows.append(f"| {number} | `{name}` | {meaning} |")
        return "\n".join(rows)

    def _constants(self, enumeration, fields):
        has_text = any(" | " in text for text in fields.values())
        rows = ["| constant | value | hexadecimal | " + ("text | " if has_text else "") + "meaning |"]
        rows.append("|---|---|---|---|" + ("---|" if has_text else ""))
        for name, value in enumeration.constants:
            rows.append(f"| `{name}` | {value} | &H{value:02X} | {fields[name]} |")
        return "\n".join(rows)

    def entry(self, page_name, entry):
        """All about one member or enumeration, under no heading."""
        if entry.name in self.enumerations:
            parts = [entry.body, self._constants(self.enumerations[entry.name], entry.fields)]
        else:
            member = self.members[entry.name]
            parts = [
                self._declaration_block(member),
                entry.body,
                self._parameters(member, entry.fields),
                self._statuses(entry.fields),
                self._facts(member, entry.fields),
            ]
        return self._linked("\n\n".join(filter(None, parts)), page_name)

    # --- Pages ---

    def _entry_list(self, page):
        names = ", ".join(f"[{e.name}](#{slug(e.name)})" for e in page.entries)
        return self._linked(names, "library")

    def _index(self):
        lines = ["| | |", "|---|---|"]
        lines.append("| [The class](zentrel.md) | how it is created, and the errors of every member |")
        for page in self.texts.pages.values():
            if page.entries:
                lines.append(f"| [{page.title}]({page.name}.md) | {self._entry_list(page)} |")
        lines.append("| [How long a call takes](times.md) | all commands, at most |")
        lines.append("| [Identifiers and registration](identifiers.md) | for installers |")
        lines += ["", "## From A to Z", "", "| | | |", "|---|---|---|"]
        entries = []
        for member in self.members.values():
            kind = "event" if member.is_event else "method" if member.is_method else "property"
            entries.append((member.name, member.name, f"{kind} | {self.texts.page_of(member.name).title}"))
        for enumeration in self.enumerations.values():
            entries.append((enumeration.name, enumeration.name, "enumeration |"))
            for name, value in enumeration.constants:
                entries.append((name, enumeration.name, f"{value} | {enumeration.name}"))
        for name, home, said in sorted(entries, key=lambda e: e[0].lower()):
            lines.append(f"| [{name}]({self.link_to(home, 'library')}) | {said} |")
        return "\n".join(lines)

    def _identifiers(self):
        lines = ["| name | kind | version | identifier (GUID) |", "|---|---|---|---|"]
        for one in self.library.identified:
            lines.append(f"| `{one.name}` | {one.kind} | {one.version} | `{{{one.uuid.upper()}}}` |")
        return "\n".join(lines)

    def intro(self, page):
        text = page.intro
        if page.name == "library":
            text = text.replace("{index}", self._index())
        if page.name == "identifiers":
            for one in self.library.identified:
                text = text.replace(f"{{{one.name}}}", f"{{{one.uuid.upper()}}}")
            text = text.replace("{identifiers}", self._identifiers())
        return self._linked(text, page.name)

    def markdown(self):
        """File name -> text, of all pages."""
        files = {}
        for page in self.texts.pages.values():
            parts = [f"# {page.title}", self.intro(page)]
            for entry in page.entries:
                parts += [f"## {entry.name}", self.entry(page.name, entry)]
            files[self.file_of(page.name)] = HEAD + "\n\n".join(filter(None, parts)) + "\n"
        return files
