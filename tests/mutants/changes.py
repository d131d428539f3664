"""The changes that mutants are made of, as text."""

import re

# What each operator is swapped for. Comparisons are turned, and moved by one.
OPERATORS = {
    b"+": [b"-"], b"-": [b"+"], b"*": [b"/"], b"/": [b"*"], b"%": [b"*"],
    b"&": [b"|"], b"|": [b"&"], b"^": [b"&"], b"<<": [b">>"], b">>": [b"<<"],
    b"<": [b"<=", b">="], b"<=": [b"<", b">"], b">": [b">=", b"<"], b">=": [b">", b"<="],
    b"==": [b"!="], b"!=": [b"=="], b"&&": [b"||"], b"||": [b"&&"],
    b"+=": [b"-="], b"-=": [b"+="], b"*=": [b"/="], b"/=": [b"*="], b"%=": [b"*="],
    b"&=": [b"|="], b"|=": [b"&="], b"^=": [b"&="], b"<<=": [b">>="], b">>=": [b"<<="],
}
COMPARISONS = {b"<", b"<=", b">", b">=", b"==", b"!="}
# Their own mutants make a negation as well.
CONDITIONS = COMPARISONS | {b"&&", b"||"}

NUMBER = re.compile(rb"(0[xX][0-9a-fA-F']+|[0-9][0-9']*)([uUlLzZ]*)")
# Parts of a text that are not letters of its own.
NOT_LETTERS = re.compile(rb"\\(x[0-9a-fA-F]+|[0-7]{1,3}|.)|%[-+ #0]*[0-9*]*(\.[0-9*]+)?[hlzjt]*\w|%%")
CALL = re.compile(rb"[A-Za-z_]\w*\s*\(.*\)", re.DOTALL)


def word_for(operator: bytes) -> str:
    return "comparison turned" if operator in COMPARISONS else "operator swapped"


def is_call(text: bytes) -> bool:
    return CALL.fullmatch(text) is not None


def off_by_one(literal: bytes) -> list:
    """The numbers beside a literal's, those below 0 left out."""
    match = NUMBER.fullmatch(literal)
    if match is None:
        return []
    digits, suffix = match.group(1).replace(b"'", b""), match.group(2)
    octal = len(digits) > 1 and digits.startswith(b"0") and digits.isdigit()
    value = int(digits, 8 if octal else 0)
    values = [value + 1] if value == 0 else [value + 1, value - 1]
    return [str(number).encode() + suffix for number in values]


def _letters(text: bytes, accepted) -> list:
    """Positions in a run of string literals of the characters accepted."""
    positions = []
    for literal in re.finditer(rb'"((?:\\.|[^"\\])*)"', text):
        taken = set()
        for part in NOT_LETTERS.finditer(text, literal.start(1), literal.end(1)):
            taken.update(range(part.start(), part.end()))
        positions += [i for i in range(literal.start(1), literal.end(1))
                      if i not in taken and accepted(chr(text[i]))]
    return positions


def altered_text(text: bytes):
    """The literal with one character in its middle changed, as long as before; None when it
    has none of its own. Conversions stay, so that the arguments still fit."""
    positions = _letters(text, str.isalpha) or _letters(text, lambda c: c != "%")
    if not positions:
        return None
    place = positions[len(positions) // 2]
    old = chr(text[place])
    new = {"z": "y", "Z": "Y"}.get(old, chr(ord(old) + 1)) if old.isalpha() else \
        ("_" if old != "_" else "-")
    return text[:place] + new.encode() + text[place + 1:]
