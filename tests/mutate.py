#!/usr/bin/env python3
"""Breaks the library in small ways, one at a time, and tells which of them the tests notice.

    nice tests/mutate.py --build ../mutants                      all of mutations.txt; hours
    nice tests/mutate.py --build ../mutants --folder stamps      one folder, or several
    nice tests/mutate.py --build ../mutants --upto composite     without the tests of the folders above composite
    tests/mutate.py --check                                        only: does each text stand in its file once?

Run by hand, when tests were folded or a folder rewritten. The sources are copied to DIRECTORY/tree and built in
DIRECTORY/build, so the checkout stays untouched; a second run brings the copy up to date and builds little. For each
mutation the test programs of its folder, then those of the folders above that lean on it, are built and run until one
fails. A line tells the outcome:

    killed          a test failed, crashed or ran longer than --timeout; the program and its test are named
    survived        all passed: the tests have a gap, or the mutation cannot change what the library does
    did not build   the mutation is none; mend it

mutations.txt holds the table: "== file", then pairs of lines, "- text" and "+ replacement" (nothing: the text goes).
White space in the text stands for any, so that a text may span lines. It has to occur in its file exactly once. What
cannot change the behaviour, such as a page that is read without need, does not belong there.
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
TABLE = os.path.join(ROOT, "tests", "mutations.txt")

# The test programs that can notice a change in a folder, the likeliest and cheapest first.
PROGRAMS = {
    "base": ["base", "geometry", "layers", "undo", "core"],
    "os": ["os", "layers", "undo", "core"],
    "geometry": ["geometry", "strokes", "core"],
    "kernels": ["kernels", "blend", "painter", "transform", "regions", "composite", "core"],
    "pages": ["pages", "blend", "regions", "painter", "transform", "layers", "composite", "stack", "undo", "core"],
    "blend": ["blend", "painter", "layers", "composite", "stack", "core"],
    "transform": ["transform", "layers", "stack", "core"],
    "regions": ["regions", "stack", "core"],
    "stamps": ["stamps", "painter", "strokes", "core"],
    "painter": ["painter", "strokes", "layers", "composite", "stack", "undo", "core"],
    "strokes": ["strokes", "stack", "core", "host"],
    "layers": ["layers", "composite", "stack", "undo", "core"],
    "composite": ["composite", "stack", "undo", "core"],
    "stack": ["stack", "undo", "core"],
    "undo": ["undo", "core"],
    "core": ["core", "host"],
}
# Bottom to top, for --upto.
ORDER = ["base", "os", "geometry", "kernels", "pages", "blend", "transform", "regions", "stamps", "painter", "strokes",
         "layers", "composite", "stack", "undo", "core", "host"]


class Mutation:
    def __init__(self, number, file, text):
        self.number, self.file, self.text, self.replacement = number, file, text, ""
        parts = file.split("/")
        self.folder = parts[0] if parts[0] != "platform" else parts[2 if parts[1] == "imaging" else 1]

    def apply(self, source):
        """The mutated source, or None when the text does not stand there exactly once."""
        pattern = re.compile(r"\s+".join(re.escape(word) for word in self.text.split()))
        if len(pattern.findall(source)) != 1:
            return None
        return pattern.sub(lambda _: self.replacement, source)


def read_table():
    mutations, file = [], None
    with open(TABLE, encoding="utf-8") as table:
        for line in table:
            line = line.rstrip("\n")
            if line.startswith("== "):
                file = line[3:]
            elif line.startswith("- "):
                mutations.append(Mutation(len(mutations) + 1, file, line[2:]))
            elif line.startswith("+"):
                mutations[-1].replacement = line[2:]
    return mutations


def read(path):
    if not os.path.isfile(path):
        return ""  # in which no text is found
    with open(path, encoding="utf-8") as file:
        return file.read()


def check(mutations):
    bad = [m for m in mutations if m.apply(read(os.path.join(ROOT, m.file))) is None]
    for mutation in bad:
        print(f"{mutation.number:4} {mutation.file}: not found exactly once: {mutation.text}")
    return not bad


def update_tree(tree):
    """Makes `tree` a copy of the checkout; files that are equal keep their times, so little is built again."""
    names = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT,
                           check=True, capture_output=True, text=True).stdout.split("\0")
    names = {name for name in names if name and os.path.isfile(os.path.join(ROOT, name))}
    for directory, _, files in os.walk(tree):
        for file in files:
            path = os.path.join(directory, file)
            if os.path.relpath(path, tree) not in names:
                os.remove(path)
    for name in names:
        source, target = os.path.join(ROOT, name), os.path.join(tree, name)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        with open(source, "rb") as file:
            content = file.read()
        if os.path.isfile(target):
            with open(target, "rb") as file:
                if file.read() == content:
                    continue
        shutil.copy(source, target)


class Workshop:
    def __init__(self, options):
        self.options = options
        self.tree = os.path.join(options.build, "tree")
        self.build_dir = os.path.join(options.build, "build")

    def prepare(self):
        os.makedirs(self.tree, exist_ok=True)
        update_tree(self.tree)
        # -O1: the tests take hardly longer, and the compiler half as long.
        subprocess.run(["cmake", "-G", "Ninja", "-S", self.tree, "-B", self.build_dir, "-DCMAKE_BUILD_TYPE=Release",
                        "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG", "-DPAINTLAYER_BUILD_BENCH=OFF",
                        "-DPAINTLAYER_WERROR=OFF"],  # some mutations leave a name unused
                       check=True, stdout=subprocess.DEVNULL)

    def build(self, program):
        """The end of the build's output when it failed, else None."""
        done = subprocess.run(["ninja", f"-j{self.options.jobs}", "-C", self.build_dir, f"paintlayer_{program}_tests"],
                              capture_output=True, text=True)
        return done.stdout[-2000:] if done.returncode != 0 else None

    def run(self, program):
        """What was noticed, else None."""
        binary = os.path.join(self.build_dir, "tests", f"paintlayer_{program}_tests")
        try:
            done = subprocess.run([binary, "--gtest_fail_fast", "--gtest_brief=1"], capture_output=True, text=True,
                                  errors="replace", timeout=self.options.timeout, cwd=self.build_dir)
        except subprocess.TimeoutExpired:
            return "ran too long"
        if done.returncode == 0:
            return None
        failed = re.search(r"\[  FAILED  \] ([^\s,]+)", done.stdout)
        return failed.group(1) if failed else f"ended with {done.returncode}"

    def try_mutation(self, mutation, programs):
        path = os.path.join(self.tree, mutation.file)
        source = read(path)
        mutated = mutation.apply(source)
        if mutated is None:
            return "not found", ""
        try:
            with open(path, "w", encoding="utf-8") as file:
                file.write(mutated)
            for program in programs:
                if (output := self.build(program)) is not None:
                    return "did not build", output
                if (noticed := self.run(program)) is not None:
                    return "killed", f"{program}: {noticed}"
            return "survived", ", ".join(programs)
        finally:
            with open(path, "w", encoding="utf-8") as file:
                file.write(source)


def programs_for(folder, options):
    last = ORDER.index(options.upto)
    return [program for program in PROGRAMS[folder] if ORDER.index(program) <= last]


def print_shares(outcomes):
    print(f"\n{'folder':<12} killed    of  share")
    for folder in ORDER + ["all"]:
        ours = [o for m, o in outcomes if folder in (m.folder, "all") and o in ("killed", "survived")]
        if ours:
            killed = ours.count("killed")
            print(f"{folder:<12} {killed:6} {len(ours):5}  {100 * killed / len(ours):4.0f} %")


def main():
    parser = argparse.ArgumentParser(description="Breaks the library and tells what the tests notice.")
    parser.add_argument("--build", metavar="DIRECTORY", help="where the copy of the sources and its build go")
    parser.add_argument("--folder", action="append", choices=sorted(PROGRAMS), help="only mutations of this folder")
    parser.add_argument("--number", action="append", type=int, help="only the mutation of this number")
    parser.add_argument("--upto", choices=ORDER, default="host", help="no tests of folders above this one")
    parser.add_argument("--timeout", type=float, default=300, help="seconds a test program may run")
    parser.add_argument("--jobs", type=int, default=2, help="for the build")
    parser.add_argument("--check", action="store_true", help="only look whether the texts are found")
    options = parser.parse_args()

    mutations = read_table()
    if not check(mutations):
        return 1
    if options.check:
        print(f"{len(mutations)} mutations, each found once")
        return 0
    if options.build is None:
        parser.error("--build is needed")
    options.build = os.path.abspath(options.build)
    chosen = [m for m in mutations if (not options.folder or m.folder in options.folder) and
              (not options.number or m.number in options.number) and programs_for(m.folder, options)]

    workshop = Workshop(options)
    workshop.prepare()
    for program in sorted({p for m in chosen for p in programs_for(m.folder, options)}, key=ORDER.index):
        problem = workshop.build(program) or workshop.run(program)
        if problem:
            print(f"Without a mutation, {program} fails: {problem}")
            return 1
    outcomes = []
    for mutation in chosen:
        begin = time.monotonic()
        outcome, detail = workshop.try_mutation(mutation, programs_for(mutation.folder, options))
        outcomes.append((mutation, outcome))
        print(f"{mutation.number:4} {outcome:<13} {time.monotonic() - begin:4.0f} s  {mutation.file}: "
              f"{mutation.text} -> {mutation.replacement or '(nothing)'}   [{detail}]", flush=True)
    print_shares(outcomes)
    return 0


if __name__ == "__main__":
    sys.exit(main())
