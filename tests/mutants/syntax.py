"""clang's syntax tree, as far as it is needed: where a file spells what it shows."""

import ctypes
import re
import subprocess
from pathlib import Path

from clang import cindex
from clang.cindex import CursorKind as Kind
from clang.cindex import TypeKind

FUNCTIONS = {Kind.FUNCTION_DECL, Kind.FUNCTION_TEMPLATE, Kind.CXX_METHOD, Kind.CONSTRUCTOR,
             Kind.DESTRUCTOR}
WRAPPERS = {Kind.UNEXPOSED_EXPR, Kind.PAREN_EXPR}
# Never entered: nothing in them is evaluated when the daemon runs.
CONSTANT = {Kind.STATIC_ASSERT, Kind.ENUM_DECL, Kind.FIELD_DECL, Kind.TYPE_ALIAS_DECL,
            Kind.TYPEDEF_DECL}
INTEGERS = {TypeKind.BOOL, TypeKind.CHAR_U, TypeKind.UCHAR, TypeKind.USHORT, TypeKind.UINT,
            TypeKind.ULONG, TypeKind.ULONGLONG, TypeKind.CHAR_S, TypeKind.SCHAR, TypeKind.SHORT,
            TypeKind.INT, TypeKind.LONG, TypeKind.LONGLONG}
OPERATOR = re.compile(rb"<<=|>>=|[-+*/%&|^]=|<=|>=|==|!=|&&|\|\||<<|>>|[-+*/%&|^<>=]")
COMMENT = re.compile(rb"//[^\n]*|/\*.*?\*/", re.DOTALL)


def resource_directory() -> str:
    names = ["clang", "clang-14", "clang-15", "clang-16", "clang-13"]
    for name in names:
        try:
            return subprocess.run([name, "-print-resource-dir"], check=True, text=True,
                                  capture_output=True).stdout.strip()
        except (OSError, subprocess.CalledProcessError):
            continue
    raise SystemExit("mutants: no clang on this machine (script/setup mutants installs it)")


def parse(path: Path, arguments: list):
    """The syntax tree of a file; arguments are the compiler's."""
    unit = cindex.Index.create().parse(
        str(path), args=["-xc++", *arguments],
        options=cindex.TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD)
    errors = [d for d in unit.diagnostics if d.severity >= cindex.Diagnostic.Error]
    if errors:
        raise SystemExit(f"mutants: {path} does not parse: {errors[0]}")
    return unit.cursor


def offset(location) -> int:
    """The place in the file: of a macro's argument that of the argument, of what a macro's
    body brings in that of the macro's use. The Python binding has no call for it."""
    call = cindex.conf.lib.clang_getFileLocation
    call.argtypes = [cindex.SourceLocation] + [ctypes.c_void_p] * 4
    offset = ctypes.c_uint()
    call(location, None, None, None, ctypes.byref(offset))
    return offset.value


def span(cursor) -> tuple:
    return offset(cursor.extent.start), offset(cursor.extent.end)


def unwrap(cursor):
    """The cursor below parentheses and implicit conversions."""
    while cursor.kind in WRAPPERS:
        children = list(cursor.get_children())
        if len(children) != 1:
            break
        cursor = children[0]
    return cursor


def type_kind(cursor):
    return cursor.type.get_canonical().kind


def is_constexpr(declaration) -> bool:
    return any(token.spelling == "constexpr" for token in declaration.get_tokens())


def operator_between(text: bytes, cursor) -> bytes:
    """The operator of a binary expression."""
    children = list(cursor.get_children())
    if len(children) != 2:
        return b""
    between = text[span(children[0])[1]:span(children[1])[0]]
    match = OPERATOR.fullmatch(COMMENT.sub(b"", between).strip())
    return match.group() if match else b""
