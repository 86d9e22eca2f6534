# SPDX-License-Identifier: Apache-2.0
"""Blocks about building and changing the tree, run in a copy of it or in a sandbox, or compared with the tree."""

import os
import re
import shutil
import subprocess
import tarfile
import tempfile
import unittest
from pathlib import Path
from typing import Callable, Dict, List

from blocks import TREE, Block, find, shows
from sandbox import Sandbox

BUILD = Path(os.environ["BUILD"])
VERSION = os.environ["VERSION"]
CMAKE, CTEST = os.environ["CMAKE"], os.environ["CTEST"]
NO_COPY = shutil.ignore_patterns("build", ".git", "node_modules", "__pycache__")


def sources(pattern: str) -> str:
    """The text of files, with single blanks."""
    return " ".join(" ".join(file.read_text(encoding="utf-8").split()) for file in TREE.glob(pattern))


def make_test_directory(directory: Path) -> None:
    """Lets ctest run the tests of the build from another directory. In the build it would replace the log of the run to which this
    test belongs, also to list tests."""
    (directory / "CTestTestfile.cmake").write_text(f'subdirs("{BUILD}")\n', encoding="utf-8")


def tests_named(name: str) -> bool:
    """Whether a test program or a single test has this name."""
    with tempfile.TemporaryDirectory() as directory:
        make_test_directory(Path(directory))
        listed = subprocess.run([CTEST, "--test-dir", directory, "-N", "-R", name], capture_output=True, text=True, check=True)
    if "Total Tests: 0" not in listed.stdout:
        return True
    return any(re.search(rf"\bTEST(_F|_P)?\(\w*{name}", file.read_text(encoding="utf-8")) for file in TREE.glob("tests/**/*.cpp"))


def check_test(arguments: List[str]) -> bool:
    return all(argument == "--asan" or tests_named(argument) for argument in arguments)


def check_fuzz(arguments: List[str]) -> bool:
    return (TREE / "tests/fuzz/corpus" / arguments[0]).is_dir() and arguments[1].isdigit()


def check_cross(arguments: List[str]) -> bool:
    return (TREE / f"cmake/toolchains/{arguments[0]}.cmake").is_file() and arguments[1:] in ([], ["test"])


def verbs() -> List[str]:
    return re.findall(r"^verb_(\w+)\(\)", (TREE / "dev").read_text(encoding="utf-8"), re.MULTILINE)


# What the arguments of a verb must be; the others have none on these pages.
ARGUMENTS: Dict[str, Callable[[List[str]], bool]] = {
    "test": check_test,
    "fuzz": check_fuzz,
    "cross": check_cross,
    "help": lambda arguments: set(arguments) <= set(verbs()),
}


class Dev(unittest.TestCase):
    @shows(("README.md", "./dev demo"), ("CONTRIBUTING.md", "./dev test"), ("docs/packaging.md", "./dev cross"),
           ("docs/console.md", "./dev console"))
    def test_verbs_and_their_arguments_exist(self, block: Block) -> None:
        for line in block.text.split("\n"):
            self.assertTrue(self.is_command(line), line)

    def is_command(self, line: str) -> bool:
        found = re.fullmatch(r"\./dev (\w+)((?: [\w-]+)*) *(?:#.*)?", line)
        if not found or found[1] not in [*verbs(), "help"]:
            return False
        arguments = found[2].split()
        return ARGUMENTS.get(found[1], lambda given: not given)(arguments)

    def test_wrong_commands_are_noticed(self) -> None:
        for line in ("./dev tests", "./dev test goldens", "./dev fuzz replays 60", "./dev demo washer", "./dev cross arm",
                     "dev test", "./dev help tests"):
            self.assertFalse(self.is_command(line), line)

    @shows(("CONTRIBUTING.md", "cmake --preset release"))
    def test_the_presets_build_and_test(self, block: Block) -> None:
        with Sandbox() as sandbox:
            shutil.copytree(TREE, sandbox.home / "tree", ignore=NO_COPY, symlinks=True)
            # Building takes too long: ninja prints what the target consists of, and ctest the tests.
            sandbox.program("cmake", '[[ $* != "--build --preset "* ]] || exec ninja -C "build/$3" -t query "$5"\n'
                            f'exec {CMAKE} "$@"')
            sandbox.program("ctest", f'exec {CTEST} "$@" -N')
            printed = sandbox.run(block.text, sandbox.home / "tree")
        self.assertIn("agent/korvane-agent", printed)
        self.assertRegex(printed, r"Total Tests: [1-9]")

    @shows(("CONTRIBUTING.md", "gdb --args"))
    def test_the_program_has_the_test_for_the_debugger(self, block: Block) -> None:
        with Sandbox() as sandbox:
            (sandbox.home / "build").mkdir()
            (sandbox.home / "build/release").symlink_to(BUILD)
            sandbox.program("gdb", '[[ $1 == --args ]]; shift; exec "$@" --gtest_list_tests')
            self.assertIn("Refused", sandbox.run(block.text))

    @shows(("CONTRIBUTING.md", "examples, tools ──► include"))
    def test_the_layers_are_those_of_the_check(self, block: Block) -> None:
        rules = (TREE / "tests/layering/check.cmake").read_text(encoding="utf-8")
        pairs = 0
        for line in block.text.split("\n"):
            layers = [part.strip() for part in line.split("──►")]
            for at, users in enumerate(layers):
                for user in users.split(", "):
                    allowed = re.search(rf"^set\(may_use_{user}\b(.*(?:\n    .*)*)", rules, re.MULTILINE)
                    assert allowed, user
                    for layer in layers[at + 1 :]:
                        self.assertIn(f"{layer}/", allowed[1], f"{user} may not use {layer}")
                        pairs += 1
        self.assertEqual(pairs, 15)


class Code(unittest.TestCase):
    @shows(("README.md", "static void on_connection"))
    def test_the_application_in_the_readme_compiles(self, block: Block) -> None:
        flags = subprocess.run(["pkg-config", "--cflags", "glib-2.0"], capture_output=True, text=True, check=True).stdout
        compiler = subprocess.run(
            [os.environ["CC"], *flags.split(), "-I", str(TREE / "include"), "-x", "c", "-std=c11", "-fsyntax-only", "-Wall",
             "-Werror", "-"], input="#include <glib.h>\n#include <korvane.h>\n" + block.text, capture_output=True, text=True,
            check=False)
        self.assertEqual(compiler.returncode, 0, compiler.stderr)

    @shows(("CONTRIBUTING.md", "using get_signin_status"), ("CONTRIBUTING.md", "int korvane_get_thing_status"))
    def test_the_code_in_contributing_is_in_the_source(self, block: Block) -> None:
        self.assertIn(" ".join(block.text.split()), sources("src/**/*.[ch]pp"))

    @shows(("docs/util.md", "cc -o lamp"))
    def test_the_lamp_compiles_with_the_companion_library(self, block: Block) -> None:
        with Sandbox() as sandbox:
            sandbox.run(f"{CMAKE} --install {BUILD} --prefix $HOME/korvane >/dev/null")
            sandbox.program("cc", f'exec {os.environ["CC"]} -Wall -Werror "$@"')
            lamp = find("docs/first-application.md", "#include <glib.h>")
            (sandbox.home / "lamp.c").write_text(lamp.text, encoding="utf-8")
            path = sandbox.run('echo "$HOME"/korvane/lib*/pkgconfig "$HOME"/korvane/lib/*/pkgconfig').split()
            sandbox.run(f"export PKG_CONFIG_PATH={':'.join(path)}\n{block.text}\ntest -x lamp")


def without_tests(entry: tarfile.TarInfo) -> "tarfile.TarInfo | None":
    """Leaves out what a build for a device does not read."""
    return None if Path(entry.name).parts[1:] in (("tests",), ("build",), (".git",)) else entry


class Packaging(unittest.TestCase):
    @shows(("docs/packaging.md", "tar -xf korvane-"))
    def test_the_options_for_a_device_exist(self, block: Block) -> None:
        with Sandbox() as sandbox:
            with tarfile.open(sandbox.home / f"korvane-{VERSION}.tar.xz", "w:xz", preset=0) as archive:
                archive.add(TREE, f"korvane-{VERSION}", filter=without_tests)
            # This machine has no libraries of the other processor, so the build is one for itself, which ninja prints only.
            sandbox.program("cmake", f"""
                arguments=()
                while [[ $# -gt 0 ]]; do
                    case $1 in
                    --toolchain) test -f "$2"; shift ;;
                    CMAKE_SYSROOT=/path/to/sysroot) unset 'arguments[-1]' ;;
                    --install) test -d "$2"; exit ;;
                    *) arguments+=("$1") ;;
                    esac
                    shift
                done
                [[ ${{arguments[0]}} != --build ]] || arguments+=(-- -n)
                exec {CMAKE} "${{arguments[@]}}" """)
            printed = sandbox.run(block.text)
        self.assertNotIn("were not used by the project", printed)
        self.assertIn("libkorvane.so", printed)
        self.assertNotIn("korvane-agent", printed)

    @shows(("docs/packaging.md", "recipes-korvane/"))
    def test_the_files_of_the_recipe_exist(self, block: Block) -> None:
        recipe, archive = [Path(line).name for line in block.text.split("\n")]
        self.assertIn(archive.replace(VERSION, "${PV}"), (TREE / "packaging/yocto" / recipe).read_text(encoding="utf-8"))

    @shows(("docs/packaging.md", "mkdir -p korvane-"))
    def test_buildroot_finds_the_external_tree(self, block: Block) -> None:
        with Sandbox() as sandbox:
            shutil.copytree(TREE / "packaging", sandbox.home / f"korvane-{VERSION}/packaging")
            (sandbox.home / f"korvane-{VERSION}.tar.xz").touch()
            (sandbox.home / "buildroot").mkdir()
            sandbox.program("make", f"""
                [[ $1 == -C && -d $2 && $4 == menuconfig ]]
                tree=${{3#BR2_EXTERNAL=}}
                cat "$tree/external.desc" "$tree/Config.in" "$tree/external.mk"
                ls "$tree/archives" """)
            printed = sandbox.run(block.text)
        self.assertRegex(printed, rf"(?s)name: KORVANE.*korvane-{re.escape(VERSION)}\.tar\.xz")

    @shows(("docs/packaging.md", "korvane = dependency"))
    def test_the_dependency_has_the_version_of_the_tree(self, block: Block) -> None:
        self.assertEqual(block.text, f"korvane = dependency('korvane', version: '>= {VERSION}')")
        self.assertTrue((TREE / "cmake/korvane.pc.in").is_file())

    @shows(("docs/packaging.md", "podman build"))
    def test_the_image_has_a_description(self, block: Block) -> None:
        with Sandbox() as sandbox:
            sandbox.program("podman", '[[ $1 == build && $2 == -f && -d ${!#} ]]; grep -c ^FROM "$3"')
            self.assertGreater(int(sandbox.run(block.text, TREE)), 0)

    @shows(("docs/agent.md", "systemctl --user enable"))
    def test_the_unit_exists(self, block: Block) -> None:
        with Sandbox() as sandbox:
            sandbox.program("systemctl", f'[[ "$1 $2 $3" == "--user enable --now" ]]; grep WantedBy "{BUILD}/systemd/user/$4"')
            self.assertIn("sockets.target", sandbox.run(block.text))


class Figures(unittest.TestCase):
    @shows(("docs/testing.md", "ctest --preset release -R '^matrix'"))
    def test_the_matrices_have_these_sizes(self, block: Block) -> None:
        command, *figures = block.text.split("\n")
        self.assertEqual(command, "ctest --preset release -R '^matrix' --verbose | grep MATRIX")
        with Sandbox() as sandbox:
            make_test_directory(sandbox.home)
            printed = sandbox.run(command.replace("ctest --preset release", f"{CTEST} --test-dir {sandbox.home}"))
        for figure in figures:
            # How many steps can fail depends on the build.
            shown = re.escape(figure.split(" = ")[0]) if "failing" in figure else re.escape(figure)
            self.assertRegex(printed, shown)
        self.assertEqual(len(figures), len(printed.strip().split("\n")))


if __name__ == "__main__":
    unittest.main()
