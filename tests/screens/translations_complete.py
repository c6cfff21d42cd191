#!/usr/bin/env python3
"""Fails when a text of the screens lacks its translation in one of the languages.

usage: translations_complete.py LUPDATE TREE LANGUAGE...
Takes the texts from the sources as lupdate finds them, into copies of the catalogues.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

FOLDERS = ("screens", "plugin")
CATALOGUE = "screens/translations/kelvo_{}.ts"
PLACEHOLDER = re.compile(r"%\d")


def messages_of(catalogue):
    """(context, message element) of each text."""
    root = xml.etree.ElementTree.parse(catalogue).getroot()
    for context in root.iter("context"):
        for message in context.iter("message"):
            yield context.findtext("name"), message


def offence_of(message):
    """What is wrong with a translation; None if nothing is."""
    source = message.findtext("source")
    translation = message.find("translation")
    text = (translation.text if translation is not None else None) or ""
    kind = translation.get("type") if translation is not None else "missing"
    if kind:
        return kind
    if not text.strip():
        return "empty"
    if sorted(PLACEHOLDER.findall(source)) != sorted(PLACEHOLDER.findall(text)):
        return "other placeholders"
    if source[len(source.rstrip(" ")):] != text[len(text.rstrip(" ")):]:
        return "other blanks at its end"
    if source.endswith("....") != text.endswith("...."):
        return "other dots at its end"
    return None


def main(arguments):
    if len(arguments) < 4:
        print(__doc__, file=sys.stderr)
        return 2
    lupdate, tree, languages = arguments[1], os.path.realpath(arguments[2]), arguments[3:]
    offences = []
    count = 0
    with tempfile.TemporaryDirectory() as folder:
        for language in languages:
            copy = os.path.join(folder, f"kelvo_{language}.ts")
            shutil.copy(os.path.join(tree, CATALOGUE.format(language)), copy)
            subprocess.run([lupdate, "-silent", "-locations", "none", "-I", tree,
                            *(os.path.join(tree, name) for name in FOLDERS), "-ts", copy],
                           check=True)
            for context, message in messages_of(copy):
                count += 1
                offence = offence_of(message)
                if offence:
                    offences.append(f"{language}: {context}: {message.findtext('source')!r} "
                                    f"is {offence}")
    print("\n".join([*offences, f"{count} texts, {len(offences)} offences"]))
    return 1 if offences or not count else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
