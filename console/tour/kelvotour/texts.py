"""The texts on the screens in the operator's language, read from the translations."""

import xml.etree.ElementTree
from pathlib import Path

TREE = Path(__file__).resolve().parents[3]
FOLDERS = {"kelvo": TREE / "screens/translations", "console": TREE / "console/translations"}


class Texts:
    """A call with an English text returns its translation. `code` is None for English."""

    def __init__(self, code=None):
        self._texts = {}
        for catalogue, folder in FOLDERS.items() if code else ():
            for message in xml.etree.ElementTree.parse(folder / f"{catalogue}_{code}.ts").iter("message"):
                translation = message.findtext("translation")
                if translation:
                    self._texts.setdefault(message.findtext("source"), translation)

    def __call__(self, english):
        return self._texts.get(english, english)
