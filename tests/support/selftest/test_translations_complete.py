#!/usr/bin/env python3
"""Tests of translations_complete.py, on a small tree with one fault in each test.

usage: test_translations_complete.py LUPDATE [unittest's arguments]
"""
import os
import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir))
import translations_complete  # noqa: E402  (it is a sibling folder's)

LUPDATE = ""
SOURCE = """#include <QtCore/QCoreApplication>
QString Text() {{ return QCoreApplication::translate("Sample", {}); }}
"""
CATALOGUE = """<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="{}"><context><name>Sample</name>{}</context></TS>
"""
MESSAGE = "<message{}><source>{}</source><translation{}>{}</translation></message>"


def message(source, translation, kind="", numerus=False):
    return MESSAGE.format(' numerus="yes"' if numerus else "", source,
                          f' type="{kind}"' if kind else "", translation)


class FindsWhatIsWrong(unittest.TestCase):
    def offences(self, argument, messages, language="pl"):
        """The offences of a tree with these messages and one text. `argument` is the argument of translate()."""
        with tempfile.TemporaryDirectory() as folder:
            tree = pathlib.Path(folder)
            (tree / "src").mkdir()
            (tree / "src" / "Text.cpp").write_text(SOURCE.format(argument), encoding="utf-8")
            (tree / f"sample_{language}.ts").write_text(
                CATALOGUE.format(language, messages), encoding="utf-8")
            count, offences = translations_complete.check(
                LUPDATE, folder, "sample_{}.ts", ["src"], [language])
        self.assertGreater(count, 0)
        return "\n".join(offences)

    def test_a_right_translation(self):
        self.assertEqual(self.offences('"Back to %1: "', message("Back to %1: ", "%1: wstecz : ")),
                         "")

    def test_a_text_that_the_catalogue_does_not_have(self):
        self.assertIn("'Back' is unfinished", self.offences('"Back"', ""))

    def test_an_unfinished_translation(self):
        self.assertIn("is unfinished",
                      self.offences('"Back"', message("Back", "Wstecz", "unfinished")))

    def test_a_text_that_the_sources_do_not_have(self):
        messages = message("Back", "Wstecz") + message("Forth", "Dalej")
        self.assertIn("'Forth' is vanished", self.offences('"Back"', messages))

    def test_an_empty_translation(self):
        self.assertNotEqual(self.offences('"Back"', message("Back", " ")), "")

    def test_other_placeholders(self):
        self.assertIn("other placeholders",
                      self.offences('"%1 of %2"', message("%1 of %2", "%1 z %1")))

    def test_other_mnemonics(self):
        self.assertIn("other mnemonics",
                      self.offences('"&Back"', message("&amp;Back", "Wstecz")))

    def test_other_marks_at_its_end(self):
        self.assertIn("other marks", self.offences('"Back..."', message("Back...", "Wstecz.")))

    def test_other_blanks_at_its_end(self):
        self.assertIn("other blanks", self.offences('"Back: "', message("Back: ", "Wstecz:")))

    def test_a_number_that_lacks_a_form(self):
        def number(*forms):
            return message("%n files", "".join(f"<numerusform>{form}</numerusform>"
                                               for form in forms), numerus=True)
        argument = '"%n files", nullptr, 2'
        self.assertEqual(self.offences(argument, number("%n plik", "%n pliki", "%n plików")), "")
        self.assertNotEqual(self.offences(argument, number("%n plik", "%n pliki", "")), "")
        self.assertNotEqual(self.offences(argument, number("%n plik", "pliki", "%n plików")), "")
        self.assertNotEqual(self.offences(argument, number("%n plik", "%n pliki")), "")


if __name__ == "__main__":
    LUPDATE = sys.argv.pop(1)
    unittest.main()
