"""The copy of the sources that holds all mutants, and its build."""

import hashlib
import shutil
import subprocess
from pathlib import Path

import places
import syntax
import weave

HERE = Path(__file__).resolve().parent
# Links to the real ones: only src/ is rewritten.
LINKED = ["CMakeLists.txt", "cmake", "docs", "include", "packaging", "sim", "tests", "tools"]


class Tree:
    """build/mutants/tree: src/ with the mutants, everything else as it stands."""

    def __init__(self, checkout: Path, work: Path):
        self.checkout = checkout
        self.root = work / "tree"
        self.build = work / "out"
        self.mutants = []
        self.source_hash = ""

    @property
    def daemon(self) -> Path:
        return self.build / "bin" / "tspec-daemon"

    def weave(self):
        """Finds all mutants, numbers them and writes the copy. Headers come first, so that a
        change of a .cpp file leaves their text, and what was compiled with it, alone."""
        source = self.checkout / "src"
        arguments = ["-std=c++20", "-DNDEBUG", "-I", str(source), "-I", str(self.checkout / "include"),
                     "-resource-dir", syntax.resource_directory()]
        files = sorted(str(p.relative_to(source)) for p in source.rglob("*")
                       if p.suffix in (".h", ".cpp"))
        files.sort(key=lambda name: not name.endswith(".h"))
        digest = hashlib.sha256()
        for header in sorted((self.checkout / "include").rglob("*.h")):
            digest.update(header.read_bytes())
        woven = {}
        for name in files:
            found = places.find_places(source, name, arguments)
            for mutant in weave.woven_mutants(found):
                self.mutants.append(mutant)
                mutant.number = len(self.mutants)
            woven[name] = weave.weave(found, name) if found.mutants else found.text
            digest.update(name.encode() + b"\0" + woven[name] + b"\0")
        self.source_hash = digest.hexdigest()
        self._write(woven)

    def _write(self, woven: dict):
        target = self.root / "src"
        runtime = (HERE / "runtime.inc").read_bytes().replace(
            b"TSPEC_MUTANTS_SIZE", str(self.map_size).encode())
        woven["core/names.cpp"] += runtime
        woven["mutant_runtime.h"] = (HERE / "runtime.h").read_bytes()
        for path in (self.checkout / "src").rglob("CMakeLists.txt"):
            name = str(path.relative_to(self.checkout / "src"))
            woven[name] = path.read_bytes()
        if target.exists():
            for path in target.rglob("*"):
                if path.is_file() and str(path.relative_to(target)) not in woven:
                    path.unlink()
        for name, text in woven.items():
            _write_if_other(target / name, text)
        for name in LINKED:
            link = self.root / name
            if (self.checkout / name).exists() and not link.is_symlink():
                link.symlink_to(self.checkout / name)

    @property
    def map_size(self) -> int:
        """Bytes of the file in which reached places are marked; the byte of a number is its
        own. Rounded, so that a few mutants more do not change what is compiled."""
        return (len(self.mutants) // 4096 + 1) * 4096

    def compile(self, jobs: int):
        """The daemon and its rooms with the mutants in. Changed code may be what warnings warn
        of, so they are off. An index beyond an array ends the program, as it does under the
        sanitizers."""
        options = ["-DCMAKE_BUILD_TYPE=RelWithDebInfo", "-DCMAKE_C_FLAGS=-w",
                   "-DCMAKE_CXX_FLAGS=-w -D_GLIBCXX_ASSERTIONS -fsanitize=bounds-strict "
                   "-fsanitize-undefined-trap-on-error",
                   "-DCMAKE_C_FLAGS_RELWITHDEBINFO=-O1 -DNDEBUG",
                   "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -DNDEBUG",
                   "-DTSPEC_BUILD_SIM=OFF", "-DTSPEC_BUILD_TESTS=OFF"]
        if shutil.which("ccache"):
            options += ["-DCMAKE_C_COMPILER_LAUNCHER=ccache",
                        "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"]
        run(["cmake", "-S", str(self.root), "-B", str(self.build), "-G", "Ninja", *options])
        run(["ninja", "-C", str(self.build), f"-j{jobs}", "tspec-daemon", "tspec_rooms"])


def _write_if_other(path: Path, text: bytes):
    """Leaves the file's time alone where nothing changes, so that nothing is compiled anew."""
    if path.exists() and path.read_bytes() == text:
        return
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(text)


def run(command: list, folder: Path = None):
    done = subprocess.run(command, cwd=folder, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, check=False)
    if done.returncode != 0:
        raise SystemExit(f"{done.stdout[-6000:]}\nmutants: {command[0]} failed")
