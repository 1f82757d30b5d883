"""Makes the stub package of the built module from its docstrings: make_stubs.py [--check] [--output FILE]

The first line of an operation's docstring is its signature, `AI_open(port: int, timeout: float = 3) -> int`;
`self` is left out, and a coroutine says `async` before it or returns `Coroutine[int]`. The first line of a
class's docstring may be the signature of its constructor. A property's docstring begins or ends with
`-> type`. With --check nothing is written and the exit code tells whether FILE is what would be written. An
operation without a signature is a fault.
"""

import argparse
import ast
import builtins
import collections.abc
import difflib
import importlib
import inspect
import re
import sys
import textwrap
import types
import typing
from pathlib import Path
from typing import Any

DEFAULT_OUTPUT = Path(__file__).resolve().parent.parent / "stubs" / "pyqvx-stubs" / "__init__.pyi"

SIGNATURE = re.compile(r"(?:async )?(\w+)\(.*\)(?: -> .+)?$")
PROPERTY_FIRST = re.compile(r"^-> *([^\n]+)\n*", re.DOTALL)
PROPERTY_LAST = re.compile(r"\s*-> *([^\n]+?)\s*$")

# Special methods mean the same in every class: they need no docstring. All others are left out.
SPECIAL = {
    "__init__": "(*args: Any, **kwargs: Any)",
    "__enter__": "() -> Self",
    "__exit__": "(*args: object) -> None",
    "__await__": "() -> Generator[Any, None, Any]",
    "__aenter__": "() -> Self",
    "__aexit__": "(*args: object) -> None",
    "__len__": "() -> int",
    "__bool__": "() -> bool",
    "__iter__": "() -> Iterator[Any]",
    "__next__": "() -> Any",
    "__contains__": "(key: object, /) -> bool",
    "__getitem__": "(key: Any, /) -> Any",
    "__setitem__": "(key: Any, value: Any, /) -> None",
    "__delitem__": "(key: Any, /) -> None",
    "__call__": "(*args: Any, **kwargs: Any) -> Any",
}
ADOPTED = "(*args: Any, **kwargs: Any) -> Any"
ASYNC_SPECIAL = {"__aenter__", "__aexit__"}
HEADER = '''"""Types of pyqvx: made from the built module by tools/make_stubs.py."""
# mypy: disable-error-code="override,misc"
'''


class StubWriter:
    def __init__(self, module: types.ModuleType) -> None:
        self.module = module
        self.lines: list[str] = []
        self.faults: list[str] = []
        # Where names come from -> the names used; "" for modules imported whole.
        self.imports: dict[str, set[str]] = {}

    def write(self) -> str:
        names = [n for n in vars(self.module) if not n.startswith("__") or n == "__version__"]
        values = {n: getattr(self.module, n) for n in names}
        values = {n: v for n, v in values.items() if not isinstance(v, types.ModuleType)}
        for name, value in values.items():
            if not isinstance(value, type) and not callable(value):
                self.lines.append(f"{name}: {self.type_of(value, name)}")
        for name, value in values.items():
            if isinstance(value, type):
                self.add_class(name, value)
        self.lines.append("")
        for name, value in values.items():
            if callable(value) and not isinstance(value, type):
                self.add_function(name, value, indent="", receiver="")
        return HEADER + "".join(self.import_lines()) + "\n" + "\n".join(self.lines) + "\n"

    def import_lines(self) -> list[str]:
        lines = [f"import {name}\n" for name in sorted(self.imports.pop("", ()))]
        return lines + [
            f"from {name} import {', '.join(sorted(used))}\n" for name, used in sorted(self.imports.items())
        ]

    def type_of(self, value: Any, where: str) -> str:
        """The type of a constant as one writes it; a container's from its first item."""
        if value is None:
            return "None"
        inner = ""
        if isinstance(value, (list, tuple, set, frozenset)):
            item = self.type_of(next(iter(value)), where) if value else "Any"
            inner = f"[{item}, ...]" if isinstance(value, tuple) else f"[{item}]"
        elif isinstance(value, dict):
            sides = (
                self.type_of(next(iter(side)), where) if value else "Any" for side in (value, value.values())
            )
            inner = f"[{', '.join(sides)}]"
        return self.resolved(type(value).__name__ + inner, where)

    def resolved(self, text: str, where: str) -> str:
        """The text of an annotation or a default, once every name in it is known to be importable."""
        try:
            tree = ast.parse(text.strip(), mode="eval")
        except SyntaxError:
            self.faults.append(f"{where}: cannot read `{text}`")
            return "Any" if self.need("Any") else ""
        for node in ast.walk(tree):
            if isinstance(node, ast.Name) and not self.need(node.id):
                self.faults.append(f"{where}: unknown name `{node.id}` in `{text}`")
        return ast.unparse(tree)

    def need(self, name: str) -> bool:
        """Whether the name means something in the stub file; notes what must be imported for it."""
        if hasattr(builtins, name) or name in vars(self.module):
            return True
        for source in (collections.abc, typing):
            if hasattr(source, name):
                self.imports.setdefault(source.__name__, set()).add(name)
                return True
        if name in ("asyncio", "numpy", "queue", "threading", "types"):
            self.imports.setdefault("", set()).add(name)
            return True
        return False

    def add_class(self, name: str, cls: type) -> None:
        if name != cls.__name__:
            self.lines.append(f"{name} = {cls.__name__}")
            return
        bases = [b.__name__ for b in cls.__bases__ if b is not object and b.__name__ != "pybind11_object"]
        for base in bases:
            self.resolved(base, name)
        self.lines.append(f"\nclass {name}({', '.join(bases)}):" if bases else f"\nclass {name}:")
        start = len(self.lines)
        doc = inspect.cleandoc(vars(cls).get("__doc__") or "")
        constructor = SIGNATURE.match(doc.partition("\n")[0])
        if constructor and constructor[1] == name:
            self.add_doc(doc.partition("\n")[2].strip(), "    ")
            text, _ = self.definition("__init__", constructor[0][len(name) :], "self", name)
            self.lines.append(f"    {text} ...")
        else:
            constructor = None
            self.add_doc(doc, "    ")
        if issubclass(cls, BaseException) and not any(b.__module__ == cls.__module__ for b in cls.__bases__):
            self.lines += ["    code: int", "    msg: str"]
        for member, value in vars(cls).items():
            if member == "__init__" and constructor:
                continue
            where = f"{name}.{member}"
            if (
                isinstance(value, property)
                or inspect.isgetsetdescriptor(value)
                and not member.startswith("__")
            ):
                self.add_property(member, value, where)
            elif isinstance(value, (staticmethod, classmethod)):
                kind = "staticmethod" if isinstance(value, staticmethod) else "classmethod"
                self.lines.append(f"    @{kind}")
                self.add_function(
                    member, value.__func__, "    ", "" if kind == "staticmethod" else "cls", name
                )
            elif callable(value) and (not member.startswith("__") or self.is_special(cls, member, value)):
                self.add_function(member, value, "    ", "self", name)
            elif not callable(value) and not member.startswith("_"):
                self.lines.append(f"    {member}: {self.type_of(value, where)}")
        if len(self.lines) == start:
            self.lines[-1] += " ..."

    @staticmethod
    def is_special(cls: type, member: str, value: Any) -> bool:
        # The __init__ that a class without a constructor of its own inherits says nothing.
        return member in SPECIAL and not (
            member == "__init__" and isinstance(value, types.WrapperDescriptorType)
        )

    def add_property(self, name: str, value: Any, where: str) -> None:
        doc = inspect.cleandoc(value.__doc__ or getattr(getattr(value, "fget", None), "__doc__", None) or "")
        match = PROPERTY_FIRST.search(doc) or PROPERTY_LAST.search(doc)
        if match is None:
            self.faults.append(f"{where}: no `-> type` in its docstring")
            self.need("Any")
        kind = self.resolved(match[1], where) if match else "Any"
        self.lines += ["    @property", f"    def {name}(self) -> {kind}:"]
        self.add_body(doc.replace(match[0], "").strip() if match else doc, "    ")
        if getattr(value, "fset", None) is not None:
            self.lines += [f"    @{name}.setter", f"    def {name}(self, value: {kind}) -> None: ..."]

    def add_function(self, name: str, function: Any, indent: str, receiver: str, owner: str = "") -> None:
        where = f"{owner}.{name}" if owner else name
        doc = inspect.cleandoc(getattr(function, "__doc__", None) or "")
        first, _, rest = doc.partition("\n")
        if match := SIGNATURE.match(first):
            signature = first[match.end(1) :]
            doc = rest.strip()
        elif getattr(function, "__module__", "") in ("collections.abc", "_collections_abc"):
            signature = ADOPTED
            doc = ""
        elif name in SPECIAL:
            signature = SPECIAL[name]
            doc = ""
        else:
            self.faults.append(f"{where}: no signature at the head of its docstring")
            signature = "(*args: Any, **kwargs: Any) -> Any"
        text, awaited = self.definition(name, signature, receiver, where)
        asynchronous = awaited or first.startswith("async ") or name in ASYNC_SPECIAL
        self.lines.append(f"{indent}{'async ' if asynchronous else ''}{text}")
        self.add_body(doc, indent)

    def definition(self, name: str, signature: str, receiver: str, where: str) -> tuple[str, bool]:
        """`def name(self, ...) -> type:`, and whether what it returned was a coroutine of that type."""
        try:
            function = ast.parse(f"def {name}{signature}: ...").body[0]
        except SyntaxError:
            self.faults.append(f"{where}: cannot read the signature `{signature}`")
            return self.definition(name, "(*args: Any, **kwargs: Any) -> Any", receiver, where)
        assert isinstance(function, ast.FunctionDef)
        arguments = (signature.rpartition(" -> ")[0] or signature)[1:-1]
        given = [argument.arg for argument in [*function.args.posonlyargs, *function.args.args][:1]]
        if receiver and given != [receiver]:
            arguments = f"{receiver}, {arguments}" if arguments else receiver
        returned = function.returns
        awaited = is_coroutine(returned)
        if isinstance(returned, ast.Subscript) and awaited:
            function.returns = returned = returned.slice
        for node in ast.walk(function):
            if isinstance(node, ast.Name) and not self.need(node.id):
                self.faults.append(f"{where}: unknown name `{node.id}` in `{signature}`")
        result = "None" if name == "__init__" or returned is None else ast.unparse(returned)
        return f"def {name}({arguments}) -> {result}:", awaited

    def add_doc(self, doc: str, indent: str) -> None:
        if doc:
            quoted = doc.replace("\\", "\\\\").replace('"""', '\\"\\"\\"')
            if quoted.endswith('"'):
                quoted = quoted[:-1] + '\\"'
            self.lines.append(textwrap.indent(f'"""{quoted}"""', indent))

    def add_body(self, doc: str, indent: str) -> None:
        self.add_doc(doc, indent + "    ")
        if not doc:
            self.lines[-1] += " ..."


def is_coroutine(returned: ast.expr | None) -> bool:
    """Whether a return type is written `Coroutine[int]`, of one type (typing's has three)."""
    return (
        isinstance(returned, ast.Subscript)
        and isinstance(returned.value, ast.Name)
        and returned.value.id == "Coroutine"
        and not isinstance(returned.slice, ast.Tuple)
    )


def make_stubs(module: types.ModuleType) -> tuple[str, list[str]]:
    """The text of the stub file, and what the module's docstrings lack."""
    writer = StubWriter(module)
    text = writer.write()
    ast.parse(text)
    return text, writer.faults


def main() -> int:
    parser = argparse.ArgumentParser(description="Make or check the stub package of the built module.")
    parser.add_argument("--check", action="store_true", help="write nothing; fail where FILE differs")
    parser.add_argument("--module", default="pyqvx")
    parser.add_argument("--output", type=Path, default=DEFAULT_OUTPUT, metavar="FILE")
    options = parser.parse_args()

    text, faults = make_stubs(importlib.import_module(options.module))
    for fault in faults:
        print(f"{options.module}.{fault}", file=sys.stderr)
    if options.check:
        there = options.output.read_text(encoding="utf-8") if options.output.is_file() else ""
        difference = list(
            difflib.unified_diff(there.splitlines(), text.splitlines(), "committed", "built", lineterm="")
        )
        print("\n".join(difference[:60]))
        if difference:
            print(
                f"{options.output} does not follow the module: run `make stubs` and commit it",
                file=sys.stderr,
            )
        return 1 if difference or faults else 0
    options.output.parent.mkdir(parents=True, exist_ok=True)
    options.output.write_text(text, encoding="utf-8")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
