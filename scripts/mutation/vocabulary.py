# Names of the product that can stand for each other, for scripts/mutants.
import re


class Vocabulary:
    """Collected from all sources and headers."""

    def __init__(self, sources):
        text = re.sub(r"//[^\n]*", "", "\n".join(sources))
        # Constants by the longest beginning that they share with another one: FILE_SHARE_, then FILE_.
        names = sorted(set(re.findall(r"\b[A-Z][A-Z0-9]*_[A-Z0-9_]+\b", text)))
        self.constants = {}
        for name in names:
            for words in 3, 2, 1:
                beginning = "_".join(name.split("_")[:words]) + "_"
                alike = [other for other in names if other.startswith(beginning)]
                if len(alike) > 1:
                    self.constants[name] = alike
                    break
        self.enumerators = {}
        for name, body in re.findall(r"\benum class (\w+)[^{;]*\{([^}]*)\}", text):
            names = re.findall(r"(\w+)\s*(?:=[^,]*)?(?:,|$)", body.strip())
            self.enumerators.setdefault(name, names)
        # Functions that return what they are given in another form.
        self.converters = set(re.findall(
            r"^std::wstring (?:\w+::)?(\w+)\((?:const )?std::wstring(?:_view)?&? ?\w*\)", text, re.MULTILINE))

    @staticmethod
    def other_than(names, name):
        return names[(names.index(name) + 1) % len(names)] if name in names and len(names) > 1 else None
