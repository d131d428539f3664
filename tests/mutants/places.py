"""Finds, in one source file's syntax tree, the places where a small change makes a mutant."""

import re
from pathlib import Path

from clang.cindex import CursorKind as Kind
from clang.cindex import TypeKind

import changes
import expressions
import syntax
from mutant import EXPRESSION, STATEMENT, FilePlaces, Mutant


TRACE_TEXT = re.compile(rb'TSPEC_TRACE\(\s*\w+,\s*("(?:[^"\\]|\\.)*"(?:\s*"(?:[^"\\]|\\.)*")*)')


def find_places(root: Path, file: str, arguments: list) -> FilePlaces:
    """The places of root/file; arguments are the compiler's."""
    finder = Finder(file, str(root / file), (root / file).read_bytes())
    finder.run(syntax.parse(root / file, arguments))
    return finder.found


class Finder(expressions.Expressions):
    """Goes through declarations and statements."""

    def __init__(self, file: str, path: str, text: bytes):
        self.file = file
        self.path = path
        self.text = text
        self.found = FilePlaces(text)
        self.function = None  # (name, begin, text)
        self.in_constexpr = False
        self.seen = set()
        self.needed = set()  # constants that the compiler itself needs
        self.macros = set()  # where macros are used
        self.idle_break = None  # where the last statement of a switch is

    def run(self, root):
        mine = [c for c in root.get_children()
                if c.location.file and c.location.file.name == self.path]
        self.macros = {syntax.span(c) for c in mine if c.kind == Kind.MACRO_INSTANTIATION}
        for cursor in mine:
            self.note_needed(cursor, cursor.kind in syntax.CONSTANT)
        for cursor in mine:
            self.declaration(cursor)

    def from_macro(self, cursor) -> bool:
        """True for what the body of a macro brings in."""
        return syntax.span(cursor) in self.macros

    # ---- which constants must stay constants -------------------------------

    def note_needed(self, cursor, constant: bool):
        if constant and cursor.kind == Kind.DECL_REF_EXPR and cursor.referenced is not None:
            self.needed.add(cursor.referenced.hash)
        for index, child in enumerate(cursor.get_children()):
            inner = constant or child.kind in syntax.CONSTANT
            if cursor.kind == Kind.CASE_STMT and index == 0:
                inner = True
            if cursor.kind in (Kind.VAR_DECL, Kind.PARM_DECL) and not self.is_initialiser(
                    cursor, child):
                inner = True
            self.note_needed(child, inner)

    def is_initialiser(self, variable, child) -> bool:
        name = syntax.offset(variable.location)
        begin, _ = syntax.span(child)
        between = self.text[name + len(variable.spelling):begin]
        if begin == name:  # Type name(...) of class type shows as a call at the name
            return True
        return begin > name and between.count(b"[") == between.count(b"]")

    # ---- declarations ------------------------------------------------------

    def declaration(self, cursor):
        if cursor.kind in syntax.FUNCTIONS:
            self.function_body(cursor)
        elif cursor.kind == Kind.VAR_DECL:
            self.enter(cursor)
            self.variable(cursor)
            self.function = None
        elif cursor.kind in (Kind.NAMESPACE, Kind.LINKAGE_SPEC, Kind.UNEXPOSED_DECL,
                             Kind.CLASS_DECL, Kind.STRUCT_DECL):
            for child in cursor.get_children():
                self.declaration(child)

    def enter(self, cursor):
        begin, end = syntax.span(cursor)
        self.function = (cursor.spelling, begin, self.text[begin:end])

    def function_body(self, cursor):
        self.enter(cursor)
        for child in cursor.get_children():
            if child.kind == Kind.COMPOUND_STMT:
                head = self.text[self.function[1]:syntax.span(child)[0]]
                self.in_constexpr = re.search(rb"\bconstexpr\b", head) is not None
                self.visit(child, cursor)
        self.function = None
        self.in_constexpr = False

    def variable(self, cursor):
        """A constexpr variable is made one that start-up fills, so that its initialiser can
        ask which mutant runs; but not where the compiler needs its value."""
        erased = None
        if syntax.is_constexpr(cursor):
            if self.file.endswith(".h") or cursor.hash in self.needed:
                return
            begin, end = syntax.span(cursor)
            name = syntax.offset(cursor.location)
            word = re.search(rb"\bconstexpr\b ?", self.text[begin:name])
            if word is None or b"static" not in self.text[begin:name]:
                return
            erased = (begin + word.start(), begin + word.end())
        before = len(self.found.mutants)
        for child in cursor.get_children():
            if self.is_initialiser(cursor, child) and child.kind.is_expression():
                self.visit(child, cursor)
        if erased and len(self.found.mutants) > before:
            self.found.erased.append(erased)

    # ---- statements and expressions ----------------------------------------

    def visit(self, cursor, parent):
        kind = cursor.kind
        if kind in syntax.CONSTANT:
            return
        if kind.is_expression() and self.macro_constant(cursor):
            return
        handler = HANDLERS.get(kind)
        if handler is not None and handler(self, cursor, parent):
            return
        for child in cursor.get_children():
            self.visit(child, cursor)

    def add(self, begin, end, kind, what, replacement):
        change = (begin, end, replacement)
        if change in self.seen or self.text[begin:end] == replacement:
            return
        self.seen.add(change)
        name, function_begin, function_text = self.function
        self.found.mutants.append(Mutant(self.file, name, function_begin, function_text, begin,
                                         end, kind, what, replacement, self.in_constexpr))

    def alter(self, cursor, what, replacement):
        begin, end = syntax.span(cursor)
        self.add(begin, end, EXPRESSION, what, replacement)

    def source(self, cursor) -> bytes:
        begin, end = syntax.span(cursor)
        return self.text[begin:end]

    def drop(self, cursor):
        """A statement's mutant without it."""
        begin, end = syntax.span(cursor)
        if cursor.kind == Kind.BREAK_STMT and (begin, end) == self.idle_break:
            return
        semicolon = re.compile(rb"\s*;").match(self.text, end)
        if semicolon is None or self.text.startswith((b"assert(", b"tspec_ledger_check("), begin):
            return
        what = "trace dropped" if b"TRACE" in self.text[begin:begin + 20] else "statement dropped"
        self.add(begin, semicolon.end(), STATEMENT, what, b";")

    def alter_trace(self, cursor):
        """The macro joins the text with the name in front, so it cannot be chosen as an
        expression: the whole trace is."""
        source = self.source(cursor)
        text = TRACE_TEXT.match(source)
        altered = changes.altered_text(text.group(1)) if text else None
        if altered is not None:
            begin, end = syntax.span(cursor)
            semicolon = re.compile(rb"\s*;").match(self.text, end)
            self.add(begin, semicolon.end(), STATEMENT, "text altered",
                     source[:text.start(1)] + altered + source[text.end(1):] + b";")

    # Handlers return True when the visit is not to go below.

    def compound(self, cursor, parent):
        for child in cursor.get_children():
            self.statement(child, cursor)
        return True

    def statement(self, cursor, parent):
        kind = cursor.kind
        droppable = kind.is_expression() or kind in (Kind.BREAK_STMT, Kind.CONTINUE_STMT)
        in_macro = kind == Kind.DO_STMT and self.from_macro(cursor)
        if droppable or in_macro:
            self.drop(cursor)
        if in_macro:
            self.alter_trace(cursor)
        self.visit(cursor, parent)

    def switch_body(self, cursor):
        """As a compound, but that the break behind the last case ends nothing."""
        children = list(cursor.get_children())
        last = children[-1] if children else None
        while last is not None and last.kind in (Kind.CASE_STMT, Kind.DEFAULT_STMT):
            last = list(last.get_children())[-1]
        self.idle_break = syntax.span(last) if last is not None else None
        for child in children:
            self.statement(child, cursor)

    def switch(self, cursor, parent):
        for child in cursor.get_children():
            if child.kind == Kind.COMPOUND_STMT:
                self.switch_body(child)
            else:
                self.visit(child, cursor)
        return True

    def case(self, cursor, parent):
        children = list(cursor.get_children())
        for child in children[1 if cursor.kind == Kind.CASE_STMT else 0:]:
            self.statement(child, cursor)
        return True

    def branch(self, cursor, parent):
        """if and while: a condition, then statements."""
        condition_seen = False
        for child in cursor.get_children():
            if child.kind.is_expression() and not condition_seen:
                condition_seen = True
                if not self.from_macro(cursor):
                    self.negate(child)
                self.visit(child, cursor)
            elif child.kind == Kind.DECL_STMT:
                self.visit(child, cursor)
            else:
                self.statement(child, cursor)
        return True

    def for_loop(self, cursor, parent):
        for child in cursor.get_children():
            self.visit(child, cursor)
        return True

    def range_loop(self, cursor, parent):
        for child in cursor.get_children():
            if child.kind not in (Kind.VAR_DECL, Kind.DECL_STMT):
                self.visit(child, cursor)
        return True

    def local_declarations(self, cursor, parent):
        for child in cursor.get_children():
            if child.kind == Kind.VAR_DECL:
                self.variable(child)
        return True

    def return_statement(self, cursor, parent):
        for child in cursor.get_children():
            if syntax.type_kind(child) == TypeKind.BOOL and syntax.unwrap(child).kind in (
                    Kind.CALL_EXPR, Kind.DECL_REF_EXPR, Kind.MEMBER_REF_EXPR):
                self.negate(child)


HANDLERS = expressions.HANDLERS | {
    Kind.COMPOUND_STMT: Finder.compound,
    Kind.SWITCH_STMT: Finder.switch,
    Kind.CASE_STMT: Finder.case,
    Kind.DEFAULT_STMT: Finder.case,
    Kind.IF_STMT: Finder.branch,
    Kind.WHILE_STMT: Finder.branch,
    Kind.FOR_STMT: Finder.for_loop,
    Kind.CXX_FOR_RANGE_STMT: Finder.range_loop,
    Kind.DECL_STMT: Finder.local_declarations,
    Kind.RETURN_STMT: Finder.return_statement,
}
