#!/usr/bin/env python3
"""The fences' own tests: each must see what it is there for."""
import contextlib
import io
import os
import subprocess
import sys
import tempfile
import unittest

import class_fence
import headers_alone
import include_fence
import library_fence


class TreeCase(unittest.TestCase):
    """A small tree in a folder of its own."""

    def setUp(self):
        self._folder = tempfile.TemporaryDirectory()
        self.addCleanup(self._folder.cleanup)
        self.tree = self._folder.name

    def write(self, path, text):
        full = os.path.join(self.tree, path)
        os.makedirs(os.path.dirname(full), exist_ok=True)
        with open(full, "w", encoding="utf-8") as file:
            file.write(text)
        return full


class IncludeFence(TreeCase):
    def offences(self):
        return list(include_fence.offences(self.tree))

    def check(self, path, line, refused):
        self.write(path, line + "\n")
        found = self.offences()
        self.assertEqual(bool(found), refused, found)
        if refused:
            self.assertTrue(found[0].startswith(path))

    def setUp(self):
        super().setUp()
        for path in ("core/KelvoRecords.h", "core/TKelvoInterface.h", "core/KelvoHelpers.h",
                     "worker/Worker.h", "screens/Screen.h", "net/Net.h", "plugin/Root.h",
                     "console/Main.h", "service/Service.h", "platform/kesdk/include/kesdk/api/A.h",
                     "platform/kesdk/src/base/Text.h", "platform/kesdk/src/client/Client.h",
                     "platform/host/include/host/Plain.h", "platform/host/impl/hostimpl/Setup.h",
                     "platform/host/src/files/Files.h"):
            self.write(path, "")
        self.write("platform/host/include/host/Window.h", "#include <QtWidgets/QWidget>\n")

    def test_allows_what_the_table_has(self):
        for path, line in (("worker/a.cpp", '#include "core/KelvoRecords.h"'),
                           ("worker/b.cpp", '#include "kesdk/api/A.h"'),
                           ("worker/c.cpp", "#include <boost/x.hpp>"),
                           ("worker/d.cpp", "#include <vector>"),
                           ("worker/e.cpp", '#include "Worker.h"'),
                           ("worker/f.cpp", '#include "f.moc"'),
                           ("plugin/a.cpp", '#include "screens/Screen.h"'),
                           ("screens/a.cpp", '#include "host/Window.h"'),
                           ("console/a.cpp", '#include "core/TKelvoInterface.h"'),
                           ("console/b.cpp", '#include "hostimpl/Setup.h"'),
                           ("service/a.cpp", "#include <soci/soci.h>"),
                           ("platform/host/src/a.cpp", '#include "files/Files.h"')):
            with self.subTest(path):
                self.check(path, line, refused=False)

    def test_refuses_what_the_table_has_not(self):
        for path, line in (("core/a.cpp", '#include "worker/Worker.h"'),
                           ("core/b.cpp", "#include <QtGui/QFont>"),
                           ("worker/a.cpp", '#include "screens/Screen.h"'),
                           ("worker/b.cpp", '#include "plugin/Root.h"'),
                           ("worker/c.cpp", '#include "hostimpl/Setup.h"'),
                           ("worker/d.cpp", "#include <curl/curl.h>"),
                           ("screens/a.cpp", '#include "worker/Worker.h"'),
                           ("screens/b.cpp", '#include "kesdk/api/A.h"'),
                           ("net/a.cpp", '#include "core/KelvoRecords.h"'),
                           ("plugin/a.cpp", '#include "console/Main.h"'),
                           ("console/a.cpp", '#include "core/KelvoHelpers.h"'),
                           ("console/b.cpp", '#include "worker/Worker.h"'),
                           ("console/c.cpp", '#include "kesdk/api/A.h"'),
                           ("service/a.cpp", '#include "kesdk/api/A.h"'),
                           ("service/b.cpp", "#include <QtCore/QString>"),
                           ("service/c.cpp", '#include "core/KelvoRecords.h"'),
                           ("platform/kesdk/src/base/a.cpp", '#include "client/Client.h"'),
                           ("platform/kesdk/src/base/b.cpp", "#include <QtCore/QString>"),
                           ("platform/host/include/host/A.h", '#include "hostimpl/Setup.h"'),
                           ("platform/host/src/a.cpp", '#include "core/KelvoRecords.h"')):
            with self.subTest(path):
                self.check(path, line, refused=True)
                os.remove(os.path.join(self.tree, path))

    def test_refuses_widgets_through_a_header(self):
        for path in ("core/a.cpp", "worker/a.cpp"):
            with self.subTest(path):
                self.check(path, '#include "host/Window.h"', refused=True)
                os.remove(os.path.join(self.tree, path))

    def test_refuses_paths_that_lead_nowhere_or_up(self):
        self.check("core/a.cpp", '#include "core/Missing.h"', refused=True)
        self.check("core/a.cpp", '#include "../core/KelvoRecords.h"', refused=True)
        self.check("core/a.cpp", "#include <QString>", refused=True)

    def test_does_not_read_comments(self):
        self.check("core/a.cpp", '// #include "worker/Worker.h"', refused=False)
        self.check("core/a.cpp", '/*\n#include "worker/Worker.h"\n*/', refused=False)

    def test_an_empty_tree_is_an_error(self):
        with tempfile.TemporaryDirectory() as empty, contextlib.redirect_stderr(io.StringIO()):
            self.assertEqual(include_fence.main(["", empty]), 2)


class HeadersAlone(TreeCase):
    def run_on(self, header):
        self.write("core/a.h", header)
        source = self.write("core/a.cpp", "")
        self.write("build/compile_commands.json", '[{"file": "%s", "directory": "%s", '
                   '"command": "c++ -std=c++17 -o a.o -c %s"}]' % (source, self.tree, source))
        with contextlib.redirect_stdout(io.StringIO()):
            return headers_alone.main(["", self.tree, os.path.join(self.tree, "build"), "core"])

    def test_a_whole_header_passes(self):
        self.assertEqual(self.run_on("#pragma once\n#include <string>\nstd::string f();\n"), 0)

    def test_a_header_that_lacks_an_include_fails(self):
        self.assertEqual(self.run_on("#pragma once\nstd::string f();\n"), 1)

    def test_a_header_without_a_guard_fails(self):
        self.assertEqual(self.run_on("struct S {};\n"), 1)


class LibraryFence(TreeCase):
    def built_library(self, source, *options):
        path = os.path.join(self.tree, "lib.so")
        code = self.write("lib.cpp", source)
        subprocess.run(["c++", "-shared", "-fPIC", "-fvisibility=hidden", "-o", path, code,
                        *options], check=True)
        return path

    def test_exports(self):
        self.write("lib.map", "{ global: f; /* a; */ g; local: *; };")
        both = 'extern "C" {{ {0} void f() {{}} {0} void g() {{}} {1} }}'
        export = '__attribute__((visibility("default")))'
        map_file = os.path.join(self.tree, "lib.map")
        whole = self.built_library(both.format(export, ""))
        self.assertEqual(library_fence.exports(whole, map_file), [])
        more = self.built_library(both.format(export, f"{export} int h = 1;"))
        self.assertEqual(library_fence.exports(more, map_file), ["exported and not listed: h"])
        fewer = self.built_library(both.format("", ""))
        self.assertEqual(library_fence.exports(fewer, map_file),
                         ["not exported: f", "not exported: g"])

    def test_needed(self):
        library = self.built_library("#include <cmath>\ndouble f(double x) { return std::tgamma(x); }",
                               "-Wl,--no-as-needed", "-lm")
        self.assertIn("needs libm.so.6", library_fence.needed(library, "libc.", "libstdc++"))
        self.assertEqual(library_fence.needed(library, "lib", "ld-linux"), [])

    def test_closed(self):
        library = self.built_library("void g();\n__attribute__((visibility(\"default\"))) "
                               "void f() { g(); }", "-Wl,-z,undefs")
        self.assertTrue(any("_Z1gv" in line for line in library_fence.closed(library)))
        library = self.built_library("#include <cstdlib>\nvoid f() { std::abort(); }")
        self.assertEqual(library_fence.closed(library), [])

    def test_constructors(self):
        library = self.built_library("#include <string>\nstd::string text(100, 'x');\n")
        self.assertEqual(library_fence.constructors(library, "other.cpp"),
                         ["code runs at load for lib.cpp"])
        self.assertEqual(library_fence.constructors(library, "lib.cpp"), [])

    def test_apart(self):
        library = self.built_library('__attribute__((visibility("default"))) void g() {}')
        for body, offences in (("g();", ["uses _Z1gv"]), ("", [])):
            code = self.write("user.cpp", "void g(); void h(); void f() { %s h(); }" % body)
            archive = os.path.join(self.tree, "user.a")
            subprocess.run(["c++", "-c", code, "-o", archive], check=True)
            self.assertEqual(library_fence.apart(archive, library), offences)


class ClassFence(TreeCase):
    HEADER = """
    struct A { virtual ~A(); virtual void one(); virtual void two(); int m_a = 1; };
    class B : public A // a comment; { }
    {
        void two() override; virtual void three(); bool m_x = false; int m_list[3]; int* m_y{};
    };
    struct C { virtual ~C(); virtual void four(); };
    struct D : A, C { void four() override; virtual void five(); };
    """

    def slots(self, name):
        header = self.write("classes.h", self.HEADER)
        return class_fence.slots_of(class_fence.dump_of([header], "g++", []), name)

    def test_slots(self):
        self.assertEqual(self.slots("A"), ["A::~A", "A::~A", "A::one", "A::two"])
        self.assertEqual(self.slots("B"), ["B::~B", "B::~B", "A::one", "B::two", "B::three"])
        self.assertEqual(self.slots("D"),
                         ["D::~D", "D::~D", "A::one", "A::two", "D::four", "D::five"])
        self.assertIsNone(self.slots("E"))

    def test_members(self):
        self.assertEqual(class_fence.members_of(self.HEADER, "B"), ["m_x", "m_list", "m_y"])
        self.assertIsNone(class_fence.members_of(self.HEADER, "E"))

    def test_difference(self):
        self.assertEqual(class_fence.difference("A", ["x", "y"], ["x", "y"]), [])
        self.assertTrue(class_fence.difference("A", ["x", "y"], ["y", "x"]))
        self.assertTrue(class_fence.difference("A", ["x"], ["x", "y"]))
        self.assertTrue(class_fence.difference("A", ["x"], None))

    def test_blocks(self):
        self.assertEqual(class_fence.blocks_of("# c\n\nA a.h\nx\n# c\ny\n\n\nB b.h\n"),
                         [("A", "a.h", ["x", "y"]), ("B", "b.h", [])])


if __name__ == "__main__":
    sys.exit(unittest.main())
