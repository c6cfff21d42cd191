#!/usr/bin/env python3
"""Tests of the fences: each fence must find its violations."""
import contextlib
import io
import os
import subprocess
import sys
import tempfile
import unittest

import describer
import headers_alone
import include_fence
import interface_fence
import library_fence


class TreeCase(unittest.TestCase):
    """A small tree in a temporary folder."""

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
    def violations(self):
        return list(include_fence.violations(self.tree))

    def check(self, path, line, refused):
        self.write(path, line + "\n")
        found = self.violations()
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

    def test_allows_includes_of_the_rules(self):
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

    def test_refuses_other_includes(self):
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

    def test_refuses_missing_files_and_paths_with_dots(self):
        self.check("core/a.cpp", '#include "core/Missing.h"', refused=True)
        self.check("core/a.cpp", '#include "../core/KelvoRecords.h"', refused=True)
        self.check("core/a.cpp", "#include <QString>", refused=True)

    def test_ignores_comments(self):
        self.check("core/a.cpp", '// #include "worker/Worker.h"', refused=False)
        self.check("core/a.cpp", '/*\n#include "worker/Worker.h"\n*/', refused=False)

    def test_an_empty_tree_is_an_error(self):
        with tempfile.TemporaryDirectory() as empty, contextlib.redirect_stderr(io.StringIO()):
            self.assertEqual(include_fence.main(["", empty]), 2)


class HeadersAlone(TreeCase):
    BROKEN = "#pragma once\nstd::string f();\n"

    def run_on(self, header, source_text="", flags=""):
        self.write("core/a.h", header)
        source = self.write("core/a.cpp", source_text)
        self.write("build/compile_commands.json", '[{"file": "%s", "directory": "%s", '
                   '"command": "c++ -std=c++17 -I%s %s -o a.o -c %s"}]'
                   % (source, self.tree, self.tree, flags, source))
        with contextlib.redirect_stdout(io.StringIO()):
            return headers_alone.main(["", self.tree, os.path.join(self.tree, "build"), "core"])

    def test_a_whole_header_passes(self):
        self.assertEqual(self.run_on("#pragma once\n#include <string>\nstd::string f();\n"), 0)

    def test_a_header_that_lacks_an_include_fails(self):
        self.assertEqual(self.run_on(self.BROKEN), 1)

    def test_a_header_without_a_guard_fails(self):
        self.assertEqual(self.run_on("struct S {};\n", '#include "core/a.h"\n'), 1)

    def test_leaves_a_header_to_the_build_if_its_source_includes_it_first(self):
        self.assertEqual(self.run_on(self.BROKEN, '// Text.\n#include "core/a.h"\n#include <string>\n'), 0)
        self.assertEqual(self.run_on(self.BROKEN, '#include <string>\n#include "core/a.h"\n'), 1)

    def test_checks_a_header_with_the_header_that_includes_it_first(self):
        self.write("core/b.h", '#pragma once\n#include "core/a.h"\n')
        self.assertEqual(self.run_on("#pragma once\n#include <string>\nstd::string f();\n"), 0)
        self.assertFalse(os.path.exists(os.path.join(self.tree, "build/headers_alone/core/a.h.cpp")))
        self.assertEqual(self.run_on(self.BROKEN), 1)

    def test_compiles_a_header_that_another_header_includes_later(self):
        for first in ("#include <string>", "namespace std { class string; }\n#define TEXT"):
            self.write("core/b.h", f'#pragma once\n{first}\n#include "core/a.h"\n')
            self.assertEqual(self.run_on(self.BROKEN), 1)

    def test_compiles_headers_that_include_each_other_first(self):
        self.write("core/b.h", '#pragma once\n#include "core/a.h"\n')
        self.assertEqual(self.run_on('#pragma once\n#include "core/b.h"\nstd::string f();\n'), 1)

    def test_compiles_a_header_whose_source_has_a_precompiled_header(self):
        self.write("pch.h", "#include <vector>\n")
        self.assertEqual(self.run_on(self.BROKEN, '#include "core/a.h"\n', f"-include {self.tree}/pch.h"), 1)


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

    def test_exports_of_cpp_names(self):
        map_file = self.write("lib.map", '{ global: extern "C++" { "n::f(int)"; }; local: *; };')
        export = '__attribute__((visibility("default")))'
        library = self.built_library("namespace n { %s void f(int) {} }" % export)
        self.assertEqual(library_fence.exports(library, map_file), [])
        library = self.built_library("namespace n { %s void f(long) {} }" % export)
        self.assertEqual(library_fence.exports(library, map_file),
                         ["not exported: n::f(int)", "exported and not listed: n::f(long)"])

    def test_reports_an_import_that_is_not_listed(self):
        export = '__attribute__((visibility("default")))'
        base = self.built_library(f"struct {export} S {{ void f(int); void g(); }};"
                                  "void S::f(int) {} void S::g() {}", "-Wl,-soname,base.so")
        provider = os.path.join(self.tree, "base.so")
        os.rename(base, provider)
        user = self.built_library(f"struct S {{ void f(int); void g(); }};\n"
                                  f"{export} void u(S& s) {{ s.f(1); }}", provider)
        listed = self.write("list.txt", "# all\n\nbase.so:\nS::f(int)\n\nother.so:\nS::g()\n")
        self.assertEqual(library_fence.imports(user, listed, provider), [])
        self.write("list.txt", "base.so:\nS::g()\n")
        self.assertEqual(library_fence.imports(user, listed, provider),
                         ["base.so: imported and not listed: S::f(int)",
                          "base.so: listed and not imported: S::g()"])
        self.write("list.txt", "other.so:\nS::f(int)\n")
        self.assertIn("base.so: no names in the list",
                      library_fence.imports(user, listed, provider))

    def test_reports_an_export_that_no_header_lists(self):
        export = '__attribute__((visibility("default")))'
        library = self.built_library(
            f"struct {export} S {{ virtual void f(); struct {export} T {{ void g(); }}; }};"
            f"void S::f() {{}} void S::T::g() {{}} namespace n {{ {export} int v = 1; }}")
        listed = self.write("list.txt", "S a/b.h\nsize 4\n")
        self.assertEqual(library_fence.owned(library, listed, "n"), [])
        self.assertEqual(library_fence.owned(library, listed),
                         ["exported, but in no header of the interface: n::v"])
        self.write("list.txt", "T a/b.h\nsize 4\n")
        self.assertIn("exported, but in no header of the interface: S::f()",
                      library_fence.owned(library, listed, "n"))

    def test_documented(self):
        self.write("lib.map", "{ global: f; v; local: *; };")
        self.write("a.h", 'extern "C" {\nX_EXPORT void f(int a, // first\n    int b);\n'
                          "X_EXPORT extern const int v;\n}\n")
        row = "| `{}` | `{}` | any time |\n"
        paths = [os.path.join(self.tree, name) for name in ("lib.map", "page.md", "a.h")]
        f, v = ("f", "void f(int a, int b)"), ("v", "const int v")
        for rows, violations in (
                ((f, v), []),
                ((f,), ["not in the table: v"]),
                ((f, v, ("g", "const int v")),
                 ["in the table, but not exported: g",
                  "g is not declared as in the table: const int v"]),
                ((("f", "void f(int a)"), v),
                 ["f is not declared as in the table: void f(int a)"])):
            with self.subTest(rows):
                self.write("page.md", "".join(row.format(*one) for one in rows))
                self.assertEqual(library_fence.documented(*paths), violations)

    def test_reports_a_library_that_must_not_be_needed(self):
        library = self.built_library(
            "#include <cmath>\ndouble f(double x) { return std::tgamma(x); }",
            "-Wl,--no-as-needed", "-lm")
        self.assertIn("needs libm.so.6", library_fence.needed(library, "libc.", "libstdc++"))
        self.assertEqual(library_fence.needed(library, "lib", "ld-linux"), [])

    def test_reports_a_symbol_that_no_library_has(self):
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

    def test_reports_code_that_uses_a_forbidden_library(self):
        library = self.built_library('__attribute__((visibility("default"))) void g() {}')
        for body, violations in (("g();", ["uses _Z1gv"]), ("", [])):
            code = self.write("user.cpp", "void g(); void h(); void f() { %s h(); }" % body)
            archive = os.path.join(self.tree, "user.a")
            subprocess.run(["c++", "-c", code, "-o", archive], check=True)
            self.assertEqual(library_fence.apart(archive, library), violations)


class InterfaceFence(TreeCase):
    """The violations after a header has changed."""

    HEADER = """
    namespace n { enum E : short { eFirst = 1, eLast = -7 }; using F = E*; }
    #define SHOWN __attribute__((visibility("default")))
    struct SHOWN A { virtual ~A(); virtual void one(); virtual int two(char) const; int m_a; };
    struct C { virtual void four(); virtual ~C(); };
    class SHOWN B : public A, public C
    {
    public:
        void four() override; virtual void three(long* const&); void five(); static n::F s_count;
    private:
        void hidden(); bool m_x[3]; double m_y;
    };
    """
    SOURCE = "void B::five() {} n::F B::s_count; void B::three(long* const&) {}"
    LISTED = """
B a.h
size 24/40
base 0 A
base 8/16 C
member 12/24 m_x: bool[3]
member 16/32 m_y: double
slot 4 four()
exported slot 5 three(long int* const&)
exported static s_count: n::F
exported operation five()

C a.h
size 4/8
slot 0 four()
slot 1 ~C()

n::E a.h
size 2
value 1 eFirst
value -7 eLast

n::F a.h
alias n::E*

A a.h
size 8/16
member 4/8 m_a: int
slot 0 ~A()
slot 2 one()
slot 3 two(char) const -> int
"""

    def described(self, header, source=SOURCE, whole=True):
        path = self.write("a.h", header)
        library = os.path.join(self.tree, "lib.so")
        code = self.write("a.cpp", f'#include "a.h"\n{source}')
        subprocess.run(["c++", "-shared", "-fPIC", "-o", library, code], check=True)
        return describer.describe(
            describer.compiled([path], "g++", []), self.tree, [("a.h", whole)],
            library_fence.defined(library))

    def violations(self, old="", new="", **more):
        self.assertIn(old, self.HEADER)
        return interface_fence.compare(interface_fence.blocks_of(self.LISTED, 1),
                                       self.described(self.HEADER.replace(old, new), **more))

    def test_finds_no_violation_in_the_listed_header(self):
        self.assertEqual(self.violations(), [])

    def test_finds_an_added_slot(self):
        self.assertEqual(
            self.violations("virtual void one();", "virtual void one(); virtual void more();")[0],
            "A: added: slot 3 more()")

    def test_finds_a_removed_slot(self):
        self.assertEqual(self.violations("virtual int two(char) const;"),
                         ["A: removed: slot 3 two(char) const -> int",
                          "B: moved: four() has slot 3, expected slot 4",
                          "B: moved: three(long int* const&) has exported slot 4, "
                          "expected exported slot 5"])

    def test_finds_moved_slots(self):
        self.assertEqual(self.violations("virtual void one(); virtual int two(char) const;",
                                       "virtual int two(char) const; virtual void one();"),
                         ["A: moved: one() has slot 3, expected slot 2",
                          "A: moved: two(char) const -> int has slot 2, expected slot 3"])

    def test_finds_a_moved_destructor(self):
        self.assertEqual(self.violations("virtual void four(); virtual ~C();",
                                       "virtual ~C(); virtual void four();"),
                         ["C: moved: four() has slot 2, expected slot 0",
                          "C: moved: ~C() has slot 0, expected slot 1"])

    def test_finds_a_changed_signature(self):
        self.assertEqual(self.violations("two(char)", "two(short)"),
                         ["A: added: slot 3 two(short int) const -> int",
                          "A: removed: slot 3 two(char) const -> int"])
        self.assertEqual(self.violations("virtual int two", "virtual long two"),
                         ["A: added: slot 3 two(char) const -> long int",
                          "A: removed: slot 3 two(char) const -> int"])

    def test_finds_moved_members_and_bases(self):
        self.assertEqual(self.violations("bool m_x[3]; double m_y;", "double m_y; bool m_x[3];"),
                         ["B: moved: m_x: bool[3] has member 32, expected member 24",
                          "B: moved: m_y: double has member 24, expected member 32"])
        self.assertIn("B: moved: C has base 0, expected base 16",
                      self.violations("public A, public C", "public C, public A"))
        self.assertIn("A: changed: it has size 24, expected size 16",
                      self.violations("int m_a;", "int m_a; long m_b;"))

    def test_finds_changed_operations(self):
        self.assertEqual(self.violations("void five();", "void five(); void six();"),
                         ["B: added: operation six()"])
        self.assertEqual(self.violations("void hidden();", "void hidden(); void also();"), [])
        self.assertEqual(
            self.violations(source="void B::five() {} n::F B::s_count;"),
            ["B: changed: three(long int* const&) has slot 5, expected exported slot 5"])

    def test_leaves_out_operations_of_classes_with_tables_only(self):
        blocks = self.described(self.HEADER, whole=False)
        self.assertNotIn("exported operation five()", blocks["B a.h"])
        self.assertNotIn("n::F a.h", blocks)
        self.assertIn("slot 4 four()", blocks["B a.h"])

    def test_finds_operations_in_another_order(self):
        self.assertEqual(interface_fence.differences("A", ["operation a()", "operation b()"],
                                                     ["operation b()", "operation a()"]),
                         ["A: another place in the order: operation b()"])

    def test_finds_changed_classes_and_values(self):
        self.assertEqual(self.violations("struct C {", "struct N {}; struct C {"),
                         ["added: N a.h"])
        self.assertEqual(interface_fence.compare({"A a.h": ["size 1"]}, {}), ["removed: A a.h"])
        self.assertEqual(self.violations("using F = E*;", "using F = E**;"),
                         ["n::F: added: alias n::E**", "n::F: removed: alias n::E*"])
        self.assertEqual(self.violations("eFirst = 1", "eFirst"),
                         ["n::E: moved: eFirst has value 0, expected value 1"])
        self.assertEqual(self.violations("E : short", "E : int"),
                         ["n::E: changed: it has size 4, expected size 2"])

    def test_joins_the_descriptions_of_two_processors(self):
        listed = interface_fence.blocks_of(self.LISTED)
        one, other = (interface_fence.blocks_of(self.LISTED, column) for column in (0, 1))
        self.assertEqual(interface_fence.join(one, other), listed)
        self.assertIn("size 24", one["B a.h"])
        one["n::F a.h"] = ["alias n::G*"]
        joined = interface_fence.join(one, other)
        self.assertEqual(joined["n::F a.h"], ["alias n::G* | n::E*"])
        text = interface_fence.text_of(joined)
        self.assertEqual([interface_fence.blocks_of(text, column) for column in (0, 1)],
                         [one, other])

    def test_does_not_join_classes_of_one_processor_only(self):
        one, other = (interface_fence.blocks_of(self.LISTED, column) for column in (0, 1))
        one["A a.h"].append("slot 4 three()")
        del other["C a.h"]
        with self.assertRaisesRegex(ValueError, "five.*exported operation"):
            interface_fence.join({"B a.h": ["operation five()"]},
                                 {"B a.h": ["exported operation five()"]})
        with self.assertRaisesRegex(ValueError, r"C a\.h\n.*: A a\.h: three\(\)"):
            interface_fence.join(one, other)


if __name__ == "__main__":
    sys.exit(unittest.main())
