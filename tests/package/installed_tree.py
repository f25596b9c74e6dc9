"""What must be true of an installed tree, however it came to its place: by `cmake --install` or out of the packages."""

import contextlib
import fnmatch
import os
import pathlib
import re
import shutil
import signal
import subprocess

# Every file of the tree, by its name below the prefix; LIB is the folder of the libraries. Each pattern has a file.
FILES = [
    "include/photometer/*.h",
    "include/photometer-boards/logging/LogFiles.h",
    "include/photometer-boards/platform/*.h",
    "include/photometer-boards/platform/posix/*.h",
    "include/photometer-boards/platform/virtual/*.h",
    "include/photometer-boards/simulator/*.h",
    "LIB/libphotometer.so",
    "LIB/libphotometer.so.1",
    "LIB/libphotometer.so.1.*.*",
    "LIB/libphotometer_platform.so",
    "LIB/libphotometer_platform.so.1",
    "LIB/libphotometer_platform.so.1.*.*",
    "LIB/libphotometer_logging.a",
    "LIB/libphotometer_settings.a",
    "LIB/libphotometer_simulator.a",
    "LIB/libphotometer_virtual.a",
    "LIB/cmake/Photometer/PhotometerConfig.cmake",
    "LIB/cmake/Photometer/PhotometerConfigVersion.cmake",
    "LIB/cmake/Photometer/PhotometerTargets*.cmake",
    "LIB/pkgconfig/photometer.pc",
    "bin/photometer",
    "bin/photometer-simulator",
    "share/doc/photometer/*",
    "share/doc/photometer/examples/*",
    "share/man/man1/photometer.1*",
    "share/man/man1/photometer-*.1*",
    "share/man/man1/photometer-simulator.1*",
    "share/man/man5/photometer-board.5*",
    "share/man/man5/photometer-settings.5*",
]
# All that a machine without development tools is sure to have.
RUNTIME = re.compile(r"lib(c|m|stdc\+\+|gcc_s)\.so\.\d+|ld-linux.*")
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wshadow", "-Werror"]


def run(command, **options):
    """Output of a command; what it said is in the complaint when it fails."""
    done = subprocess.run(command, text=True, capture_output=True, timeout=240, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command}: status {done.returncode}\n{done.stdout}\n{done.stderr}")
    return done.stdout


def dynamic(path, tag):
    """The values of a tag of an ELF file's dynamic section."""
    return re.findall(rf"\({tag}\).*\[(.*)\]", run(["readelf", "--dynamic", "--wide", str(path)]))


class InstalledTree:
    def __init__(self, prefix, compiler="c++"):
        self.prefix = pathlib.Path(prefix)
        self.compiler = compiler
        found = sorted(self.prefix.glob("lib/**/libphotometer.so.1"))
        if len(found) != 1:
            raise AssertionError(f"{self.prefix}: libphotometer.so.1 is there {len(found)} times below lib/")
        self.libraries = found[0].parent
        self.environment = {**os.environ, "LD_LIBRARY_PATH": str(self.libraries), "LC_ALL": "C.UTF-8"}
        self.environment.pop("PHOTOMETER_BOARD", None)

    def files(self):
        return [path.relative_to(self.prefix).as_posix() for path in self.prefix.rglob("*") if not path.is_dir()]

    def check_files(self, more=()):
        """No file is missing, and none is there that has no business in the tree."""
        folder = self.libraries.relative_to(self.prefix).as_posix()
        patterns = [pattern.replace("LIB/", folder + "/") for pattern in [*FILES, *more]]
        files = self.files()
        stray = [name for name in files if not any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns)]
        missing = [pattern for pattern in patterns if not fnmatch.filter(files, pattern)]
        assert not stray and not missing, f"stray: {stray}, missing: {missing}"

    def check_binaries(self, library_rpath, program_rpath):
        """Names, needs and search paths of libraries and programs."""
        for name, others in (("libphotometer_platform", []), ("libphotometer", ["libphotometer_platform.so.1"])):
            library = self.libraries / f"{name}.so.1"
            assert dynamic(library, "SONAME") == [f"{name}.so.1"], library
            assert (self.libraries / f"{name}.so").resolve() == library.resolve(), library
            needs = [need for need in dynamic(library, "NEEDED") if not RUNTIME.fullmatch(need)]
            assert needs == others, f"{library} needs {needs}"
            rpath = dynamic(library, "RUNPATH") + dynamic(library, "RPATH")
            assert rpath == ([library_rpath] if others and library_rpath else []), f"{library}: {rpath}"
        for program in sorted((self.prefix / "bin").iterdir()):
            rpath = dynamic(program, "RUNPATH") + dynamic(program, "RPATH")
            assert rpath == ([program_rpath] if program_rpath else []), f"{program}: {rpath}"

    def check_headers(self, folder):
        """All headers compile: whatever they include was installed too."""
        include = self.prefix / "include"
        roots = (include / "photometer-boards", include)
        names = [header.relative_to(next(root for root in roots if root in header.parents))
                 for header in sorted(include.rglob("*.h"))]
        (folder / "all.cpp").write_text("".join(f'#include "{name}"\n' for name in names))
        run([self.compiler, "-std=c++20", *WARNINGS, "-fsyntax-only", f"-I{include}", f"-I{include}/photometer-boards",
             str(folder / "all.cpp")])

    def build_examples(self, folder):
        """Builds a copy of the installed examples with find_package, and the smallest again with pkg-config."""
        examples = folder / "examples"
        shutil.copytree(self.prefix / "share/doc/photometer/examples", examples)
        run(["cmake", "-S", examples, "-B", folder / "build", "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={self.prefix}",
             f"-DCMAKE_CXX_COMPILER={self.compiler}", f"-DCMAKE_CXX_FLAGS={' '.join(WARNINGS)}",
             f"-DPhotometer_DIR={self.libraries / 'cmake/Photometer'}"])
        run(["cmake", "--build", folder / "build", "-j", "2"])
        environment = {**os.environ, "PKG_CONFIG_PATH": str(self.libraries / "pkgconfig")}
        flags = run(["pkg-config", "--cflags", "--libs", "photometer"], env=environment).split()
        plain = folder / "build" / "minimal-by-pkg-config"
        run([self.compiler, *WARNINGS, str(examples / "minimal.cpp"), "-o", str(plain), *flags])
        return folder / "build"

    @contextlib.contextmanager
    def simulator(self, speed):
        """The environment of a host of a simulated instrument: the board file of a running photometer-simulator."""
        command = [str(self.prefix / "bin/photometer-simulator"), "--speed", str(speed)]
        with subprocess.Popen(command, text=True, stdout=subprocess.PIPE, env=self.environment) as serving:
            try:
                board = next(line for line in serving.stdout if line.startswith("board: "))
                yield {**self.environment, "PHOTOMETER_BOARD": board.removeprefix("board: ").strip()}
            finally:
                serving.send_signal(signal.SIGTERM)
                serving.communicate(timeout=30)

    def check_examples(self, build):
        """Each example does what it says."""
        with self.simulator(100) as environment:
            for program in ("minimal", "minimal-by-pkg-config"):
                output = run([build / program], env=environment)
                values = re.findall(r"^(\d+) nm: sample (\d+), reference (\d+) counts$", output, re.MULTILINE)
                assert [value[0] for value in values] == ["436", "525", "620"], output
                assert all(int(count) > 1000 for value in values for count in value[1:]), output
            output = run([build / "progress"], env=environment)
            assert "start-up: 100 %" in output and re.search(r"^recorded up to \d+ nm$", output, re.MULTILINE), output
            # A point each ten positions, which are 0.08 nm apart.
            assert re.search(r"^finished, 50\d points$", output, re.MULTILINE), output
        with self.simulator(4) as environment:
            self.check_cancel(build / "progress", environment)
        output = run([build / "own-board"], env=self.environment)
        absorbance = re.search(r"^525 nm: absorbance (\S+), cuvette of 10 mm$", output, re.MULTILINE)
        assert absorbance and abs(float(absorbance.group(1)) - 0.8) < 0.01, output

    def check_cancel(self, program, environment):
        """Ctrl-C in the middle of the spectrum, which takes seconds at this speed."""
        with subprocess.Popen([program], text=True, stdout=subprocess.PIPE, env=environment) as host:
            next(line for line in host.stdout if line.startswith("recording "))
            host.send_signal(signal.SIGINT)
            output, _ = host.communicate(timeout=60)
        points = re.search(r"^cancelled, (\d+) points$", output, re.MULTILINE)
        assert host.returncode == 2 and points and int(points.group(1)) < 500, output

    def check_pages(self):
        """The manual pages have nothing that the formatter complains about. Without man, nothing is checked."""
        if shutil.which("man") is None:
            return
        for page in sorted((self.prefix / "share/man").rglob("photometer*")):
            shown = subprocess.run(["man", "--warnings", "--local-file", str(page)], text=True, capture_output=True,
                                   env={**self.environment, "MANWIDTH": "80"})
            assert shown.returncode == 0 and not shown.stderr, f"{page}: {shown.stderr}"
            assert page.name.split(".")[0].upper() in shown.stdout and "SEE ALSO" in shown.stdout, f"{page}: {shown.stdout}"

    def check_program(self):
        """The first command of the README, as a newcomer types it."""
        output = run([self.prefix / "bin/photometer", "measure", "--simulate", "--wavelengths", "436,525,620", "--sample",
                      "red:0.8"], env=self.environment)
        assert re.search(r"^ *525\.00 .* 0\.(79[5-9]|80[0-5])\d*$", output, re.MULTILINE), output
