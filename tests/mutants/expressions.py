"""The mutants of expressions, as a part of the finder of places."""

import re

from clang.cindex import CursorKind as Kind
from clang.cindex import TypeKind

import changes
import syntax

IDENTIFIER = re.compile(rb"[A-Za-z_]\w*")


class Expressions:
    """What looks at an expression and adds its mutants. Handlers return True when the visit
    is not to go below."""

    def negate(self, cursor):
        """A condition's mutant that is its contrary, where no other is."""
        inner = syntax.unwrap(cursor)
        if self.from_macro(cursor):
            if changes.is_call(self.source(cursor)):
                self.alter(cursor, "condition negated", b"!(" + self.source(cursor) + b")")
            return
        if inner.kind == Kind.BINARY_OPERATOR and syntax.operator_between(self.text, inner) in changes.CONDITIONS:
            return
        if inner.kind == Kind.UNARY_OPERATOR and self.source(inner).startswith(b"!"):
            return
        self.alter(cursor, "condition negated", b"!(" + self.source(cursor) + b")")

    def macro_constant(self, cursor) -> bool:
        """A macro that stands for a number or a text. True when there is nothing more below."""
        if not self.from_macro(cursor) or not IDENTIFIER.fullmatch(self.source(cursor)):
            return False
        parts = list(cursor.walk_preorder())
        is_number = any(part.kind == Kind.INTEGER_LITERAL for part in parts)
        if is_number and syntax.type_kind(cursor) in syntax.INTEGERS and not any(
                part.kind == Kind.CALL_EXPR for part in parts):
            name = self.source(cursor)
            self.alter(cursor, "constant off by one", name + b" + 1")
        if cursor.kind == Kind.UNEXPOSED_EXPR and parts[-1].kind == Kind.STRING_LITERAL:
            self.add_text(cursor, parts[-1].spelling.encode())
        return True

    def size_of(self, cursor, parent):
        text = self.source(cursor)
        if not self.from_macro(cursor) and text.startswith(b"sizeof"):
            self.alter(cursor, "constant off by one", text + b" - 1")
        return True

    def conditional(self, cursor, parent):
        if not self.from_macro(cursor):
            self.negate(next(cursor.get_children()))

    def binary(self, cursor, parent):
        if self.from_macro(cursor):
            return
        left, right = list(cursor.get_children())
        operator = syntax.operator_between(self.text, cursor)
        a, b = self.source(left), self.source(right)
        begin, end = syntax.span(cursor)
        if a + b and not self.text[begin:end].startswith(a):
            return
        pointers = [syntax.type_kind(side) == TypeKind.POINTER for side in (left, right)]
        if operator in (b"+", b"-") and pointers[1]:
            return
        for other in changes.OPERATORS.get(operator, []):
            what = changes.word_for(operator)
            self.alter(cursor, what, a + b" " + other + b" " + b)
        if operator in (b"&&", b"||"):
            self.alter(cursor, "condition dropped", b"!!(" + a + b")")
            self.alter(cursor, "condition dropped", b"!!(" + b + b")")

    def compound_assignment(self, cursor, parent):
        if self.from_macro(cursor):
            return
        left, right = list(cursor.get_children())
        for other in changes.OPERATORS.get(syntax.operator_between(self.text, cursor), []):
            self.alter(cursor, "operator swapped",
                       self.source(left) + b" " + other + b" " + self.source(right))

    def unary(self, cursor, parent):
        if self.from_macro(cursor):
            return False
        text = self.source(cursor)
        operand = next(cursor.get_children())
        if text.startswith(b"!"):
            self.alter(cursor, "condition negated", b"!!(" + self.source(operand) + b")")
        elif text.startswith(b"~"):
            self.alter(cursor, "operator dropped", self.source(operand))
        elif text.startswith(b"++") or text.startswith(b"--"):
            self.alter(cursor, "operator swapped",
                       (b"--" if text.startswith(b"++") else b"++") + text[2:])
        elif text.endswith(b"++") or text.endswith(b"--"):
            self.alter(cursor, "operator swapped",
                       text[:-2] + (b"--" if text.endswith(b"++") else b"++"))
        elif text.startswith(b"-"):
            if operand.kind == Kind.INTEGER_LITERAL and not self.from_macro(operand):
                for number in changes.off_by_one(self.source(operand)):
                    self.alter(cursor, "constant off by one", b"-" + number)
                return True
            self.alter(cursor, "operator dropped", self.source(operand))
        return False

    def integer(self, cursor, parent):
        if not self.from_macro(cursor):
            for number in changes.off_by_one(self.source(cursor)):
                self.alter(cursor, "constant off by one", number)
        return True

    def character(self, cursor, parent):
        if not self.from_macro(cursor):
            self.alter(cursor, "text altered", b"char(" + self.source(cursor) + b" + 1)")
        return True

    def boolean(self, cursor, parent):
        if not self.from_macro(cursor):
            self.alter(cursor, "constant turned",
                       b"false" if self.source(cursor) == b"true" else b"true")
        return True

    def string(self, cursor, parent):
        # As an array's initialiser a text cannot be chosen at run time, nor where a macro has
        # joined it with one of its own.
        if self.source(cursor).startswith(b'"') and not self.from_macro(cursor) and parent.kind in (Kind.UNEXPOSED_EXPR,
                                                           Kind.INIT_LIST_EXPR):
            self.add_text(cursor, self.source(cursor))
        return True

    def add_text(self, cursor, text):
        altered = changes.altered_text(text)
        if altered is not None:
            self.alter(cursor, "text altered", altered)

    def reference(self, cursor, parent):
        if self.from_macro(cursor) or cursor.referenced is None:
            return True
        declared = cursor.referenced
        name = self.source(cursor)
        if declared.kind == Kind.ENUM_CONSTANT_DECL:
            self.enum_constant(cursor, declared)
        elif declared.kind == Kind.VAR_DECL and syntax.is_constexpr(declared):
            if syntax.type_kind(declared) in syntax.INTEGERS:
                self.alter(cursor, "constant off by one",
                           b"decltype(" + name + b")(" + name + b" + 1)")
            else:
                self.array_of_text(cursor, declared)
        return True

    def enum_constant(self, cursor, declared):
        siblings = [c.spelling for c in declared.semantic_parent.get_children()]
        other = siblings[(siblings.index(declared.spelling) + 1) % len(siblings)]
        begin, end = syntax.span(cursor)
        text = self.text[begin:end]
        if other != declared.spelling and text.endswith(declared.spelling.encode()):
            self.alter(cursor, "constant replaced",
                       text[:-len(declared.spelling)] + other.encode())

    def array_of_text(self, cursor, declared):
        if not declared.location.file or declared.location.file.name != self.path:
            return
        literal = [c for c in declared.get_children() if c.kind == Kind.STRING_LITERAL]
        if literal and not self.from_macro(literal[0]):
            altered = changes.altered_text(self.source(literal[0]))
            if altered is not None:
                self.alter(cursor, "text altered", altered)


HANDLERS = {
    Kind.CONDITIONAL_OPERATOR: Expressions.conditional,
    Kind.BINARY_OPERATOR: Expressions.binary,
    Kind.COMPOUND_ASSIGNMENT_OPERATOR: Expressions.compound_assignment,
    Kind.UNARY_OPERATOR: Expressions.unary,
    Kind.INTEGER_LITERAL: Expressions.integer,
    Kind.CHARACTER_LITERAL: Expressions.character,
    Kind.CXX_BOOL_LITERAL_EXPR: Expressions.boolean,
    Kind.STRING_LITERAL: Expressions.string,
    Kind.DECL_REF_EXPR: Expressions.reference,
    Kind.CXX_UNARY_EXPR: Expressions.size_of,
}
