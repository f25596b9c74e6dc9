"""Installs the built tree into a folder of its own and uses it as a stranger would.

Usage: package_test.py BUILD-FOLDER COMPILER
"""

import pathlib
import sys
import tempfile
import unittest

from installed_tree import InstalledTree, run


class PackageTest(unittest.TestCase):
    build = compiler = None

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        run(["cmake", "--install", cls.build, "--prefix", cls.folder / "installed"])
        # Nothing may depend on the place of installation.
        cls.prefix = (cls.folder / "installed").rename(cls.folder / "moved")

    def setUp(self):
        self.tree = InstalledTree(self.prefix, self.compiler)

    def test_tree_has_all_files_and_no_others(self):
        self.tree.check_files()

    def test_binaries_need_the_runtime_only_and_find_each_other(self):
        folder = self.tree.libraries.relative_to(self.tree.prefix)
        self.tree.check_binaries("$ORIGIN", f"$ORIGIN/../{folder}")

    def test_headers_are_complete(self):
        self.tree.check_headers(self.folder)

    def test_manual_pages_are_sound(self):
        self.tree.check_pages()

    def test_examples_build_and_run(self):
        self.tree.check_examples(self.tree.build_examples(self.folder))

    def test_program_measures(self):
        # The programs find the libraries beside them by themselves.
        del self.tree.environment["LD_LIBRARY_PATH"]
        self.tree.check_program()


if __name__ == "__main__":
    PackageTest.compiler = sys.argv.pop()
    PackageTest.build = sys.argv.pop()
    unittest.main()
