"""What a mutant is: one small change of one file."""

import hashlib
from dataclasses import dataclass, field

STATEMENT = "statement"
EXPRESSION = "expression"


@dataclass
class Mutant:
    """One change: file[begin:end] becomes replacement."""

    file: str  # relative to src/
    function: str  # or the variable whose initialiser it is
    function_begin: int
    function_text: bytes
    begin: int
    end: int
    kind: str  # STATEMENT or EXPRESSION
    what: str  # in a word or two
    replacement: bytes
    in_constexpr: bool = False  # in a function that the compiler may have to run
    number: int = 0  # in the build that holds them all

    @property
    def id(self) -> str:
        """Stays the same as long as the function's text does."""
        text = b"\0".join([self.file.encode(), self.function.encode(), self.function_text,
                           str(self.begin - self.function_begin).encode(),
                           str(self.end - self.function_begin).encode(), self.replacement])
        return hashlib.sha256(text).hexdigest()[:10]


@dataclass
class FilePlaces:
    """What one file yields."""

    text: bytes
    mutants: list = field(default_factory=list)
    erased: list = field(default_factory=list)  # (begin, end): the words "constexpr" in the way
