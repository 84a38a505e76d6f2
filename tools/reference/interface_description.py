"""Reads the interface description: what it says of members, enumerations and identifiers."""

import re
from dataclasses import dataclass, field


@dataclass
class Type:
    basic: str  # as Visual Basic calls it
    compiled: str  # as C++ does
    by_reference: bool = False


@dataclass
class Parameter:
    name: str
    type: Type
    default: str = ""


@dataclass
class Member:
    """A method, or a property with its one or two procedures, or the event."""

    name: str
    help: str
    context: int
    identifier: int
    parameters: list = field(default_factory=list)
    result: Type | None = None
    slots: dict = field(default_factory=dict)  # "method", "get", "let" -> place in the table

    @property
    def is_method(self):
        return "method" in self.slots

    @property
    def is_event(self):
        return not self.slots


@dataclass
class Enumeration:
    name: str
    uuid: str
    constants: list  # (name, value)


@dataclass
class Identified:
    """What has an identifier (GUID)."""

    name: str
    kind: str
    uuid: str
    version: str


@dataclass
class Library:
    identified: list
    context: int
    class_context: int
    enumerations: list
    members: list
    event: Member


TYPES = {
    "long": Type("Long", "long"),
    "short": Type("Integer", "short"),
    "float": Type("Single", "float"),
    "VARIANT_BOOL": Type("Boolean", "VARIANT_BOOL"),
    "BSTR": Type("String", "BSTR"),
    "ZentrelStatus": Type("ZentrelStatus", "ZentrelStatus"),
    "SAFEARRAY(long) *": Type("Long()", "SAFEARRAY**", True),
    "IDispatch **": Type("Object", "IDispatch**", True),
}
FIRST_SLOT = 7  # after those of IDispatch
DEFAULTS = {("Boolean", "-1"): "True"}


def _attribute(attributes, name, otherwise=None):
    found = re.search(rf"\b{name}\(\s*(\"[^\"]*\"|[^)]*)\)", attributes)
    return found.group(1).strip('"') if found else otherwise


def _identified(attributes, name, kind, version=None):
    version = version or _attribute(attributes, "version")
    return Identified(name, kind, _attribute(attributes, "uuid"), version)


def _member(attributes, name):
    return Member(
        name,
        _attribute(attributes, "helpstring", ""),
        int(_attribute(attributes, "helpcontext", "0")),
        int(_attribute(attributes, "id"), 0),
    )


def _parameters(text):
    """(attributes, type, name) of each."""
    for attributes, kind, name in re.findall(r"\[([^\]]*)\]\s*(.+?)\s*(\w+)\s*(?:,|$)", text):
        yield attributes, kind, name


def _add_procedure(members, attributes, name, text, slot):
    mark = re.search(r"\bprop(get|put)\b", attributes)
    kind = {None: "method", "get": "get", "put": "let"}[mark and mark[1]]
    member = members.setdefault(name, _member(attributes, name))
    member.slots[kind] = slot
    parameters = []
    for how, type_text, parameter in _parameters(text):
        if "retval" in how:
            member.result = TYPES[type_text.removesuffix("*").strip()]
            continue
        kind_of = TYPES[type_text]
        default = _attribute(how, "defaultvalue", "")
        default = DEFAULTS.get((kind_of.basic, default), default)
        parameters.append(Parameter(parameter, kind_of, default))
    if kind == "let":
        member.result = parameters.pop().type
    member.parameters = parameters


def read(path):
    text = re.sub(r"//.*", "", path.read_text())
    text = re.sub(r'"\s*\n\s*"', "", text)

    head = re.search(r"\[([^\]]*)\]\s*library (\w+)", text)
    identified = [_identified(head[1], head[2], "type library")]

    enumerations = []
    for attributes, body, name in re.findall(
        r"typedef \[([^\]]*)\] enum \w+ \{([^}]*)\} (\w+);", text
    ):
        constants = [(n, int(v, 0)) for n, v in re.findall(r"(\w+) = (\w+)", body)]
        enumerations.append(Enumeration(name, _attribute(attributes, "uuid"), constants))

    attributes, body = re.search(
        r"\[([^\]]*)\]\s*interface _Zentrel : IDispatch\s*\{(.*?)\n    \}", text, re.S
    ).groups()
    identified.append(_identified(attributes, "_Zentrel", "interface, dual"))
    members = {}
    procedures = re.findall(r"\[(id\(.*?)\]\s*HRESULT (\w+)\((.*?)\);", body, re.S)
    for slot, (how, name, parameters) in enumerate(procedures, FIRST_SLOT):
        _add_procedure(members, how, name, " ".join(parameters.split()), slot)

    for attributes, name in re.findall(r"typedef \[([^\]]*)\]\s*_Zentrel (\w+);", text):
        identified.append(_identified(attributes, name, "alias, hidden"))

    attributes, body = re.search(
        r"\[([^\]]*)\]\s*dispinterface __Zentrel\s*\{(.*?)\n    \}", text, re.S
    ).groups()
    # Versions that the description cannot give are set afterwards (interface/type_library.cmake).
    identified.append(_identified(attributes, "__Zentrel", "interface of the event", "1.3"))
    how, name, parameters = re.search(r"\[(id\(.*?)\]\s*void (\w+)\((.*?)\);", body, re.S).groups()
    event = _member(how, name)
    event.parameters = [Parameter(n, TYPES[t]) for _, t, n in _parameters(parameters)]

    attributes = re.search(r"\[([^\]]*)\]\s*coclass Zentrel", text)[1]
    identified.insert(1, _identified(attributes, "Zentrel", "class"))
    identified += [Identified(e.name, "enumeration", e.uuid, "1.0") for e in enumerations]
    return Library(
        identified,
        int(_attribute(head[1], "helpcontext")),
        int(_attribute(attributes, "helpcontext")),
        enumerations,
        list(members.values()),
        event,
    )
