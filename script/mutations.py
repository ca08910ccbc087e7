"""Changes to the library for script/mutate and script/plant: how a file lists them, and a
copy of the tree in which they are tried, so that the tree itself is never touched.

A list reads

    == name | file | note
    - the old text, which occurs once in the file (several "- " lines: consecutive lines)
    + the new text
    - a second place in the same file, if the change has one
    + and what stands there then

Lines that begin with # are remarks; the note is for the script that reads it.
"""
import contextlib
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


class Mutation:
    def __init__(self, name, path, note=""):
        self.name, self.path, self.note = name, path, note
        self.hunks = []  # pairs of old and new lines


def read(path):
    mutations = []
    for number, line in enumerate((ROOT / path).read_text().splitlines(), 1):
        if line.startswith("=="):
            mutations.append(Mutation(*(part.strip() for part in line[2:].split("|"))))
        elif line.startswith("- "):
            hunks = mutations[-1].hunks
            if not hunks or hunks[-1][1]:
                hunks.append(([], []))
            hunks[-1][0].append(line[2:])
        elif line.startswith("+ ") or line == "+":
            mutations[-1].hunks[-1][1].append(line[2:])
        elif line and not line.startswith("#"):
            sys.exit(f"{path}:{number}: not understood: {line}")
    return mutations


def choose(path, words):
    return [m for m in read(path) if not words or any(word in m.name for word in words)]


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          errors="replace", **options)


def tree_of(place):
    return ROOT / "build" / place / "tree"


def build_of(place, name="build"):
    return ROOT / "build" / place / name


def copy_tree(place):
    tree = tree_of(place)
    files = run(["git", "ls-files", "--cached", "--others", "--exclude-standard"], cwd=ROOT).stdout
    for name in files.splitlines():
        source, target = ROOT / name, tree / name
        if not source.is_file():
            continue
        if not target.exists() or target.read_bytes() != source.read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(source.read_bytes())


def configure(place, name, options):
    """Configures the copy without engine and apps."""
    configured = run(["cmake", "-S", tree_of(place), "-B", build_of(place, name), "-G", "Ninja",
                      "-DVAXO_ENGINE=OFF", "-DVAXO_APPS=OFF", *options])
    if configured.returncode != 0:
        sys.exit(configured.stdout)


def build(place, name, target):
    return run(["cmake", "--build", build_of(place, name), "--target", target])


@contextlib.contextmanager
def applied(place, mutation):
    """Gives what is wrong with the change, empty when it is applied; takes it back."""
    target = tree_of(place) / mutation.path
    before = target.read_text()
    text, problem = before, ""
    for old, new in mutation.hunks:
        count = text.count("\n".join(old))
        if count != 1:
            problem = f"not applied: the old text occurs {count} times"
        text = text.replace("\n".join(old), "\n".join(new))
    try:
        if not problem:
            target.write_text(text)
        yield problem
    finally:
        target.write_text(before)
