"""Makes the topics of the help file: the reference with a topic for each member, and the guides
that it leads to, as HTML with a table of contents, an index, and the help contexts."""

import html
import posixpath
import re
import shutil

import markdown
from markdown.extensions.toc import TocExtension

from pages import slug

# Beside the reference; links to other documents are words only.
GUIDES = ("zentrel-program", "clients", "troubleshooting", "errors", "catalog", "simulator")
PROJECT = "QMZENTREL"
STYLE = """body { font: 10pt Segoe UI, Tahoma, sans-serif; margin: 1em; max-width: 60em; }
h1 { font-size: 150%; } h2 { font-size: 120%; }
table { border-collapse: collapse; margin: 1em 0; }
td, th { border: 1px solid #ccc; padding: 3px 8px; text-align: left; vertical-align: top; }
pre { background: #f3f3f3; padding: 6px; } code { font-family: Consolas, monospace; }
"""
TOPIC = """<!DOCTYPE html>
<html lang="en">
<head>
<meta http-equiv="Content-Type" content="text/html; charset=utf-8">
<title>{title}</title>
<link rel="stylesheet" href="style.css">
</head>
<body>
{body}
</body>
</html>
"""
SITE_MAP = """<!DOCTYPE HTML PUBLIC "-//IETF//DTD HTML//EN">
<HTML>
<BODY>
{body}
</BODY>
</HTML>
"""


class HelpProject:
    def __init__(self, root, pages):
        self.root = root
        self.pages = pages
        self.topics = {}  # file name -> text
        self.pictures = set()
        # A document of the project, or a heading in it, and the topic that has it.
        self.topic_of = {f"docs/{name}.md": f"{name}.html" for name in GUIDES}
        for page in pages.texts.pages.values():
            document = f"docs/reference/{pages.file_of(page.name)}"
            self.topic_of[document] = self._page_topic(page)
            for entry in page.entries:
                self.topic_of[f"{document}#{slug(entry.name)}"] = f"{entry.name}.html"

    @staticmethod
    def _page_topic(page):
        return "index.html" if page.name == "library" else f"{page.name}.html"

    # --- Topics ---

    @staticmethod
    def _place(path, document):
        """In the project, of what a document names."""
        return posixpath.normpath(posixpath.join(posixpath.dirname(document), path))

    def _link(self, found, document):
        """Of a link in a document, the same in its topic."""
        target, words = found.groups()
        if re.match(r"https?:", target):
            return found[0]
        path, _, anchor = target.partition("#")
        there = self._place(path, document) if path else document
        topic = self.topic_of.get(f"{there}#{anchor}")
        if topic is None and there in self.topic_of:
            topic = self.topic_of[there] + (f"#{anchor}" if anchor else "")
        return f'<a href="{topic}">{words}</a>' if topic else words

    def _picture(self, found, document):
        path = self._place(found[1], document)
        self.pictures.add(path)
        return f'src="{posixpath.basename(path)}"'

    def _add(self, name, title, text, document):
        anchors = TocExtension(slugify=lambda value, _: slug(value))
        body = markdown.markdown(text, extensions=["tables", "fenced_code", anchors])
        link = re.compile(r'<a href="([^"]*)">(.*?)</a>', re.S)
        body = link.sub(lambda found: self._link(found, document), body)
        body = re.sub(r'src="([^"]*)"', lambda found: self._picture(found, document), body)
        # A table whose head says nothing has none.
        body = re.sub(r"<thead>\s*<tr>\s*(<th></th>\s*)*</tr>\s*</thead>", "", body)
        self.topics[name] = TOPIC.format(title=html.escape(title), body=body)

    def _add_reference(self):
        for page in self.pages.texts.pages.values():
            document = f"docs/reference/{self.pages.file_of(page.name)}"
            text = f"# {page.title}\n\n{self.pages.intro(page)}\n\n"
            text += "\n".join(f"- [{e.name}](#{slug(e.name)})" for e in page.entries)
            self._add(self._page_topic(page), page.title, text, document)
            for entry in page.entries:
                back = f"[{page.title}]({self.pages.file_of(page.name)})"
                said = [f"# {entry.name}", self.pages.entry(page.name, entry), back]
                self._add(f"{entry.name}.html", entry.name, "\n\n".join(said), document)

    def _add_guides(self):
        self.guide_titles = {}
        for name in GUIDES:
            text = (self.root / f"docs/{name}.md").read_text()
            title = re.match(r"# (.*)", text)[1]
            self.guide_titles[name] = title
            self._add(f"{name}.html", title, text, f"docs/{name}.md")

    # --- The project ---

    @staticmethod
    def _node(name, topic):
        return (
            f'<LI><OBJECT type="text/sitemap"><param name="Name" value="{html.escape(name)}">'
            f'<param name="Local" value="{topic}"></OBJECT>'
        )

    def _contents(self):
        pages = self.pages.texts.pages
        lines = ["<UL>"]
        for name in ("library", "zentrel"):
            lines.append(self._node(pages[name].title, self._page_topic(pages[name])))
        for page in pages.values():
            if not page.entries:
                continue
            lines += [self._node(page.title, self._page_topic(page)), "<UL>"]
            lines += [self._node(e.name, f"{e.name}.html") for e in page.entries]
            lines.append("</UL>")
        for name in ("times", "identifiers"):
            lines.append(self._node(pages[name].title, self._page_topic(pages[name])))
        for name, title in self.guide_titles.items():
            lines.append(self._node(title, f"{name}.html"))
        return SITE_MAP.format(body="\n".join([*lines, "</UL>"]))

    def _index(self):
        pages = self.pages.texts.pages.values()
        entries = [(e.name, f"{e.name}.html") for page in pages for e in page.entries]
        entries += [(page.title, self._page_topic(page)) for page in pages]
        entries += [(title, f"{name}.html") for name, title in self.guide_titles.items()]
        for enumeration in self.pages.enumerations.values():
            entries += [(name, f"{enumeration.name}.html") for name, _ in enumeration.constants]
        entries.sort(key=lambda e: e[0].lower())
        nodes = [self._node(*entry) for entry in entries]
        return SITE_MAP.format(body="\n".join(["<UL>", *nodes, "</UL>"]))

    def _contexts(self):
        library = self.pages.library
        yield library.context, "index.html"
        yield library.class_context, "zentrel.html"
        for member in self.pages.members.values():
            if member.context:
                yield member.context, f"{member.name}.html"

    def _project(self):
        # The compiled contexts come in the order of the files.
        contexts = sorted(self._contexts())
        ordered = [topic for _, topic in contexts]
        ordered += sorted(self.topics.keys() - set(ordered))
        return "\n".join(
            [
                "[OPTIONS]",
                "Compatibility=1.1 or later",
                f"Compiled file={PROJECT}.chm",
                f"Contents file={PROJECT}.hhc",
                f"Index file={PROJECT}.hhk",
                "Default topic=index.html",
                # A binary one would be another each time: it holds memory that nobody has set.
                "Binary Index=No",
                "Full-text search=Yes",
                "Language=0x409 English (United States)",
                "Title=QmZentrel",
                "",
                "[FILES]",
                *ordered,
                "style.css",
                *sorted(posixpath.basename(p) for p in self.pictures),
                "",
                "[ALIAS]",
                *(f"HELP_{number}={topic}" for number, topic in contexts),
                "",
                "[MAP]",
                *(f"#define HELP_{number} {number}" for number, _ in contexts),
                "",
            ]
        )

    def write(self, folder):
        self._add_reference()
        self._add_guides()
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        files = self.topics | {
            "style.css": STYLE,
            f"{PROJECT}.hhc": self._contents(),
            f"{PROJECT}.hhk": self._index(),
            f"{PROJECT}.hhp": self._project(),
        }
        for name, text in files.items():
            (folder / name).write_text(text)
        for picture in self.pictures:
            shutil.copy(self.root / picture, folder)
