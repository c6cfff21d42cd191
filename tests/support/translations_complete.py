#!/usr/bin/env python3
"""Fails if a text has no translation in one of the languages, or a translation with a formal fault.

usage: translations_complete.py LUPDATE TREE CATALOGUE FOLDERS LANGUAGE...
CATALOGUE is the path of a .ts file in TREE, with {} for the language. FOLDERS are the folders of
TREE that the catalogue covers, separated by commas. lupdate writes the texts of the sources into
copies of the catalogues: new texts have no translation, removed texts are marked as vanished.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

PLACEHOLDER = re.compile(r"%(?:L?\d+|n)")
MNEMONIC = re.compile(r"&(?=\w)")
# French has a blank before some of these marks.
LAST_MARKS = re.compile(r"\s*([.:;,!?\u2026]*)\s*$")
# The include folders of the sources, below the tree.
INCLUDES = ("", "platform/host/include", "platform/host/src")
NUMBER_FORMS = {"de": 2, "fr": 2, "es": 2, "pt_BR": 2, "pl": 3}


def messages_of(catalogue):
    """(context, message element) of each text."""
    root = xml.etree.ElementTree.parse(catalogue).getroot()
    for context in root.iter("context"):
        for message in context.iter("message"):
            yield context.findtext("name"), message


def texts_of(message, translation):
    """The texts of a translation: one text, or one for each form of a number."""
    if message.get("numerus") == "yes":
        return [form.text or "" for form in translation.findall("numerusform")]
    return [translation.text or ""]


def offence_of_text(source, text):
    """The fault of one text of a translation, or None."""
    if not text.strip():
        return "empty"
    if sorted(PLACEHOLDER.findall(source)) != sorted(PLACEHOLDER.findall(text)):
        return "other placeholders"
    if len(MNEMONIC.findall(source)) != len(MNEMONIC.findall(text)):
        return "other mnemonics (&)"
    if source[len(source.rstrip(" ")):] != text[len(text.rstrip(" ")):]:
        return "other blanks at its end"
    if LAST_MARKS.search(source).group(1) != LAST_MARKS.search(text).group(1):
        return "other marks at its end"
    return None


def offence_of(message, language):
    """The fault of a translation, or None."""
    translation = message.find("translation")
    if translation is None:
        return "missing"
    if translation.get("type"):
        return translation.get("type")
    texts = texts_of(message, translation)
    if message.get("numerus") == "yes" and len(texts) != NUMBER_FORMS[language]:
        return f"in {len(texts)} forms of {NUMBER_FORMS[language]}"
    source = message.findtext("source") or ""
    offences = (offence_of_text(source, text) for text in texts)
    return next((offence for offence in offences if offence), None)


def check(lupdate, tree, catalogue, folders, languages):
    """The number of texts, and a line for each fault."""
    offences = []
    count = 0
    command = [lupdate, "-silent", "-locations", "none"]
    for include in INCLUDES:
        command += ["-I", os.path.join(tree, include)]
    command += [os.path.join(tree, folder) for folder in folders]
    with tempfile.TemporaryDirectory() as folder:
        for language in languages:
            copy = os.path.join(folder, os.path.basename(catalogue.format(language)))
            shutil.copy(os.path.join(tree, catalogue.format(language)), copy)
            subprocess.run([*command, "-ts", copy], check=True)
            for context, message in messages_of(copy):
                count += 1
                offence = offence_of(message, language)
                if offence:
                    offences.append(f"{language}: {context}: {message.findtext('source')!r} "
                                    f"is {offence}")
    return count, offences


def main(arguments):
    if len(arguments) < 6:
        print(__doc__, file=sys.stderr)
        return 2
    lupdate, tree, catalogue, folders = arguments[1:5]
    count, offences = check(lupdate, os.path.realpath(tree), catalogue, folders.split(","),
                            arguments[5:])
    print("\n".join([*offences, f"{count} texts, {len(offences)} offences"]))
    return 1 if offences or not count else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
