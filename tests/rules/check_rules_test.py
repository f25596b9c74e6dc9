"""Plants one breach of each rule in a small tree and expects that check_rules reports it, there and nowhere else."""

import importlib.machinery
import importlib.util
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "tools" / "check_rules"
LOADER = importlib.machinery.SourceFileLoader("check_rules", str(SCRIPT))
check_rules = importlib.util.module_from_spec(importlib.util.spec_from_loader("check_rules", LOADER))
LOADER.exec_module(check_rules)

# A tree that keeps every rule, with what a careless scanner would stumble over.
CLEAN_TREE = {
    "include/photometer/Types.h": "#include <cstdint>\n",
    "src/platform/Platform.h": '#include <atomic>\n#include "photometer/Types.h"\n',
    "src/platform/posix/PosixBoard.h": '#include "platform/Platform.h"\n',
    "src/platform/posix/PosixBoard.cpp": "#include <poll.h>\n#include <sys/ioctl.h>\n#include <thread>\n"
    '#include "platform/posix/PosixBoard.h"\nstatic thread_local int t_nThread = 0;\n',
    "src/platform/virtual/VirtualBoard.h": '#include "platform/Platform.h"\n#include "simulator/Unit.h"\n',
    "src/platform/virtual/Fibers.cpp": "#include <boost/context/fiber.hpp>\n#include <sys/mman.h>\n"
    '#include <sanitizer/tsan_interface.h>\n#include "platform/virtual/VirtualBoard.h"\n',
    "src/platform/Default.cpp": '#include "platform/posix/PosixBoard.h"\n',
    "src/simulator/Unit.h": "#include <cmath>\n",
    "src/logging/LogFiles.h": '#include "platform/Platform.h"\n',
    "src/state/DeviceState.h": '#include "logging/LogFiles.h"\n',
    "src/calibration/WavelengthModel.h": '#include "state/DeviceState.h"\n',
    "src/optics/OpticalLink.h": '#include "state/DeviceState.h"\n',
    "src/optics/OpticalLinkPrivate.h": "",
    "src/optics/OpticalLink.cpp": '#include "optics/OpticalLink.h"\n#include "optics/OpticalLinkPrivate.h"\n',
    "src/optics/OpticalUnit.h": '#include "optics/OpticalLink.h"\n#include "calibration/WavelengthModel.h"\n',
    "src/monitors/CuvetteHolder.h": '#include "state/DeviceState.h"\n',
    "src/monitors/Timer.h": '#include "procedures/UVLamp.h"\n',
    "src/pumps/Pumps.h": '#include "monitors/CuvetteHolder.h"\n',
    "src/procedures/UVLamp.h": '#include "optics/OpticalLink.h"\n',
    "src/procedures/Scan.h": '#include "pumps/Pumps.h"\n',
    "src/calibration/SystemCheck.h": '#include "procedures/Scan.h"\n',
    "src/device/Photometer.h": '#include "calibration/SystemCheck.h"\n',
    "src/settings/Settings.h": '#include "platform/Platform.h"\n',
    "apps/photometer/Table.h": "",
    "apps/photometer/Main.cpp": '#include <unistd.h>\n#include <chrono>\n#include "Table.h"\n'
    '#include "photometer/Types.h"\n#include "settings/Settings.h"\n',
    "src/state/Traps.cpp": "// std::thread, thread_local and {{{ in a comment\n"
    'const char* s_strText = "std::mutex } pthread_create( \\" {";\n'
    'const char* s_strRaw = R"x(\n{ std::chrono " )x";\nconst char s_chBrace = \'{\';\nconst int s_nMany = 1\'000\'000;\n'
    "Traps::Traps() : m_nFirst{1}, m_nSecond{2} {\n}\n" + "int g_nLine;\n" * 80,
    "docs/guide.md": "A part of 3 lamps; the special, unspecified and specific ones.\n",
    "README.md": "Reads.\n",
}

LONG_BODY = "  ++n;\n" * 69

# Rule, file, text put at the file's end, line counted from there that must be reported.
BREACHES = [
    # The floors: one step upwards at each joint, and sideways.
    ("include", "include/photometer/Types.h", '#include "platform/Platform.h"\n', 1),
    ("include", "src/platform/Platform.h", '#include "logging/LogFiles.h"\n', 1),
    ("include", "src/platform/posix/PosixBoard.h", '#include "state/DeviceState.h"\n', 1),
    ("include", "src/logging/LogFiles.h", '#include "state/DeviceState.h"\n', 1),
    ("include", "src/state/DeviceState.h", '\n\n#include "optics/OpticalLink.h"\n', 3),
    ("include", "src/calibration/WavelengthModel.h", '#include "optics/OpticalLink.h"\n', 1),
    ("include", "src/calibration/WavelengthModel.h", '#include "calibration/SystemCheck.h"\n', 1),
    ("include", "src/optics/OpticalLink.h", '#include "optics/OpticalUnit.h"\n', 1),
    ("include", "src/optics/OpticalUnit.h", '#include "monitors/CuvetteHolder.h"\n', 1),
    ("include", "src/monitors/CuvetteHolder.h", '#include "monitors/Timer.h"\n', 1),
    ("include", "src/pumps/Pumps.h", '#include "procedures/UVLamp.h"\n', 1),
    ("include", "src/procedures/UVLamp.h", '#include "procedures/Scan.h"\n', 1),
    ("include", "src/procedures/Scan.h", '#include "calibration/SystemCheck.h"\n', 1),
    ("include", "src/calibration/SystemCheck.h", '#include "device/Photometer.h"\n', 1),
    ("include", "src/device/Photometer.h", '#include "settings/Settings.h"\n', 1),
    ("include", "src/device/Photometer.h", '#include "platform/posix/PosixBoard.h"\n', 1),
    ("include", "src/device/Photometer.h", '#include "platform/virtual/VirtualBoard.h"\n', 1),
    ("include", "src/platform/posix/PosixBoard.cpp", '#include "platform/virtual/VirtualBoard.h"\n', 1),
    # The simulator is a second opinion, the programs are hosts.
    ("include", "src/simulator/Unit.h", '#include "photometer/Types.h"\n', 1),
    ("include", "src/simulator/Unit.h", '#include "platform/Platform.h"\n', 1),
    ("include", "apps/photometer/Main.cpp", '#include "optics/OpticalUnit.h"\n', 1),
    # Private headers, sources, and paths that are not written from the roots.
    ("include", "src/optics/OpticalUnit.h", '#include "optics/OpticalLinkPrivate.h"\n', 1),
    ("include", "src/optics/OpticalUnit.h", '#include "optics/OpticalLink.cpp"\n', 1),
    ("include", "src/optics/OpticalUnit.h", '#include "OpticalLink.h"\n', 1),
    # Headers of the operating system and of other libraries.
    ("include", "src/state/DeviceState.h", "#include <unistd.h>\n", 1),
    ("include", "src/device/Photometer.h", "#include <sys/socket.h>\n", 1),
    ("include", "src/platform/Platform.h", "#include <pthread.h>\n", 1),
    ("include", "src/platform/virtual/Fibers.cpp", "#include <sys/epoll.h>\n", 1),
    ("include", "src/simulator/Unit.h", "#include <termios.h>\n", 1),
    ("include", "src/optics/OpticalLink.h", "#include <boost/context/fiber.hpp>\n", 1),
    ("include", "src/platform/posix/PosixBoard.cpp", "#include <boost/asio.hpp>\n", 1),
    # Threads, locks, time and files.
    ("include", "src/state/DeviceState.h", "#include <thread>\n", 1),
    ("include", "src/state/DeviceState.h", "#  include <mutex>\n", 1),
    ("include", "src/logging/LogFiles.h", "#include <filesystem>\n", 1),
    ("include", "src/simulator/Unit.h", "#include <chrono>\n", 1),
    ("layer", "src/optics/OpticalLink.cpp", "\nstd::mutex m_mutex;\n", 2),
    ("layer", "src/optics/OpticalLink.cpp", "auto t = std::chrono::steady_clock::now();\n", 1),
    ("layer", "src/settings/Settings.h", "inline auto* f = fopen(0, 0);\n", 1),
    ("thread-local", "src/optics/OpticalLink.cpp", "static thread_local int t_n;\n", 1),
    ("thread-local", "src/platform/Default.cpp", "static thread_local int t_n;\n", 1),
    # Long functions, however their head is written.
    ("length", "src/optics/OpticalLink.cpp", "void F(int n)\n{\n" + LONG_BODY + "}\n", 2),
    ("length", "src/optics/OpticalLink.cpp", "namespace a {\nint A::F(int n) const {\n" + LONG_BODY + "}\n}\n", 2),
    ("length", "src/optics/OpticalLink.cpp", "A::A() : m_n{1}, m_s(f({2})) {\n" + LONG_BODY + "}\n", 1),
    ("length", "src/optics/OpticalLink.cpp", "template <class T>\nA::A(T t) : m_t{t} {\n" + LONG_BODY + "}\n", 2),
    ("length", "src/optics/OpticalLink.h", "class A final : public B {\n  auto F() -> C<int> {\n" + LONG_BODY + "}\n};\n", 2),
    ("length", "src/simulator/Unit.h", "const X table[] = {{1, [](int n) {\n" + LONG_BODY + "}}};\n", 1),
    ("length", "apps/photometer/Main.cpp", "int main() {\n  if (a) {\n" + LONG_BODY + "  }\n}\n", 1),
    # Words; written so that this file has none of them.
    ("words", "src/optics/OpticalLink.cpp", "// as the sp" + "ec says\n", 1),
    ("words", "apps/photometer/Main.cpp", "// See Pa" + "rt 3.1.\n", 1),
    ("words", "docs/guide.md", "\nSee the sp" + "ecification.\n", 2),
    ("words", "README.md", "Since iss" + "ue 2.\n", 1),
    ("words", "include/photometer/Types.h", "// /wo" + "rk/shared\n", 1),
]


def write_tree(root, tree):
    for name, text in tree.items():
        path = root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")


def check(tree):
    """The lines that check_rules prints for a tree."""
    with tempfile.TemporaryDirectory() as folder:
        write_tree(pathlib.Path(folder), tree)
        return list(check_rules.check_tree(pathlib.Path(folder)))


class CheckRulesTest(unittest.TestCase):
    def test_clean_tree_is_accepted(self):
        self.assertEqual(check(CLEAN_TREE), [])

    def test_each_breach_is_reported_at_its_line(self):
        for rule, name, addition, line in BREACHES:
            with self.subTest(rule=rule, file=name, text=addition[:60]):
                before = CLEAN_TREE[name]
                lines = check({**CLEAN_TREE, name: before + addition})
                place = f"{name}:{before.count(chr(10)) + line}: [{rule}] "
                self.assertEqual(len(lines), 1, lines)
                self.assertTrue(lines[0].startswith(place), f"{lines[0]} is not {place}")

    def test_seventy_lines_are_accepted(self):
        function = "void F(int n) {\n" + "  ++n;\n" * 68 + "}\n"
        self.assertEqual(check({**CLEAN_TREE, "src/state/Long.cpp": function * 3}), [])

    def test_program_prints_breaches_and_fails(self):
        with tempfile.TemporaryDirectory() as folder:
            write_tree(pathlib.Path(folder), {"src/state/DeviceState.h": "#include <mutex>\n"})
            run = subprocess.run([sys.executable, SCRIPT, folder], capture_output=True, text=True, check=False)
        self.assertEqual(run.returncode, 1)
        self.assertIn("src/state/DeviceState.h:1: [include] <mutex>", run.stdout)


if __name__ == "__main__":
    unittest.main()
