# The tokens of a C++ source for scripts/mutants.
import dataclasses
import re

TOKEN = re.compile(r"""
    (?P<skip>\s+ | //[^\n]* | /\*.*?\*/ | ^[ ]*\#(?:[^\n\\]|\\.)*)
  | (?P<text>(?:L|u8)?"(?:[^"\\\n]|\\.)*")
  | (?P<char>(?:L|u8)?'(?:[^'\\\n]|\\.)+')
  | (?P<number>\d(?:[\w.]|'(?=\w))*)
  | (?P<name>[A-Za-z_]\w*)
  | (?P<sign><<=|>>=|<=>|\.\.\.|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|::|.)
""", re.VERBOSE | re.DOTALL | re.MULTILINE)
CLOSING = {"(": ")", "[": "]", "{": "}"}


@dataclasses.dataclass
class Token:
    kind: str
    text: str
    start: int
    partner: int | None = None  # index of the other bracket

    @property
    def end(self):
        return self.start + len(self.text)


class Tokens:
    """The tokens of a source, without white space, comments and preprocessor lines."""

    def __init__(self, text):
        self.text = text
        self.tokens = [Token(found.lastgroup, found.group(), found.start())
                       for found in TOKEN.finditer(text) if found.lastgroup != "skip"]
        self.pair_brackets()

    def pair_brackets(self):
        opened = []
        for index, token in enumerate(self.tokens):
            if token.text in CLOSING:
                opened.append(index)
            elif token.text in CLOSING.values() and opened:
                token.partner = opened.pop()
                self.tokens[token.partner].partner = index

    def at(self, index):
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    def spaced(self, index):
        """Whether the sign stands between spaces: clang-format leaves none around brackets of templates, references."""
        token = self.tokens[index]
        return self.text[token.start - 1] in " \n" and self.text[token.end] in " \n"

    def extent(self, index, step, ends):
        """The index of the last token on this side of an operator."""
        index += step
        while 0 <= index < len(self.tokens):
            token = self.tokens[index]
            if token.text in (CLOSING.values() if step < 0 else CLOSING) and token.partner is not None:
                index = token.partner
            elif token.text in ends or token.text in ",;" or token.text in CLOSING or token.text in CLOSING.values():
                break
            index += step
        return index - step

    def is_block(self, index):
        """Whether the innermost open brace before this token begins statements, not members or names."""
        while index >= 0 and self.at(index) != "{":
            index = self.tokens[index].partner if self.at(index) == "}" else index
            index -= 1
        return self.at(index - 1) in (")", "else", "try", "do", "const", "noexcept", "override", "{", "}", ";")
