# Finds the places in a C++ source where scripts/mutants plants errors. Works on tokens, without a compiler: an error
# that does not compile is drawn again.
import bisect
import dataclasses
import hashlib
import re

from .tokens import CLOSING, Tokens

# The operators and their weights in a sample.
WEIGHTS = {
    "compare": 1, "logical": 1, "not": 1, "operand": 1, "condition": 1, "arms": 1, "number": 1, "bool": 1, "constant": 1,
    "flag": 1, "arguments": 1, "statement": 1, "scope": 1, "order": 0.5, "arithmetic": 1, "unwrap": 1, "char": 0.5,
    "text": 0.3,
}
COMPARE = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">"}
ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "<<": ">>", ">>": "<<", "&": "|"}
STEPS = {"+=": "-=", "-=": "+=", "++": "--", "--": "++", "|=": "&="}
SYMMETRIC = ("equalIgnoringCase", "min", "max")  # functions whose arguments can change places
KEYWORDS = set("alignas auto bool case catch char class const constexpr default do else enum explicit extern for if int "
               "long namespace new operator private protected public return short signed sizeof static static_assert "
               "static_cast struct switch template try typedef typename unsigned using virtual void while".split())


@dataclasses.dataclass(frozen=True)
class Mutant:
    file: str
    line: int
    column: int
    operator: str
    before: str
    after: str
    start: int  # of the replaced text in the source
    place: str  # what stays the same when other lines of the file change

    def apply(self, source):
        return source[:self.start] + self.after + source[self.start + len(self.before):]


def number_of(text):
    """A hash that is the same in every run."""
    return int.from_bytes(hashlib.sha256(text.encode()).digest()[:7], "big")


class Source(Tokens):
    def __init__(self, file, text, vocabulary):
        super().__init__(text)
        self.file, self.vocabulary = file, vocabulary
        self.lines = [0] + [found.end() for found in re.finditer("\n", text)]
        self.unmutated = self.find_unmutated()
        self.found = []

    def find_unmutated(self):
        """Tokens of Info records, static assertions, attributes and template heads."""
        indices = set()
        for index, token in enumerate(self.tokens):
            last = None
            if token.text == "(" and (self.at(index - 1) == "static_assert" or self.at(index - 1) == "log" and
                                      [self.at(index + step) for step in (1, 2, 3)] == ["LogLevel", "::", "Info"]):
                last = token.partner
            elif token.text == "[" and self.at(index + 1) == "[":
                last = token.partner
            elif token.text == "template" or token.text == "extern":
                last = index + 4
            if last:
                indices.update(range(index - 1 if token.text == "(" else index, last + 1))
        return indices

    def add(self, operator, start, end, after):
        before = self.text[start:end]
        if before == after:
            return
        line = bisect.bisect_right(self.lines, start) - 1
        begin = self.lines[line]
        code = self.text[begin:self.text.index("\n", begin)].strip()
        place = "|".join((self.file, operator, code, str(start - begin), before, after))
        self.found.append(Mutant(self.file, line + 1, start - begin + 1, operator, before, after, start, place))

    def replace(self, operator, index, after):
        self.add(operator, self.tokens[index].start, self.tokens[index].end, after)

    def mutants(self):
        for index, token in enumerate(self.tokens):
            if index in self.unmutated:
                continue
            if token.kind == "text" and "extern" != self.at(index - 1):
                self.replace("text", index, self.changed_text(token.text))
            elif token.kind == "char":
                self.replace("char", index, self.changed_char(token.text))
            elif token.kind == "number":
                self.number(index)
            elif token.kind == "name":
                self.name(index)
            elif token.kind == "sign":
                self.sign(index)
        self.statements()
        return self.found

    @staticmethod
    def changed_text(text):
        """Without one letter, or another text when it has no letter."""
        quote = text.index('"')
        units = re.findall(r"\\x[0-9a-fA-F]+|\\.|%[-0-9.*]*\w+|.", text[quote + 1:-1])
        letters = [place for place, unit in enumerate(units) if unit.isalpha()]
        if letters:
            units.pop(letters[number_of(text) % len(letters)])
        elif units:
            units.pop()
        else:
            units = ["x"]
        return text[:quote + 1] + "".join(units) + '"'

    @staticmethod
    def changed_char(text):
        quote = text.index("'")
        inner = text[quote + 1:-1]
        other = {"\\\\": "/", "\\0": "0", "\\n": "\\r", "\\r": "\\n", "/": "\\\\"}.get(inner)
        if other is None:
            other = chr(ord(inner) + 1) if len(inner) == 1 and inner != "&" else "x"
        return text[:quote + 1] + other + "'"

    def number(self, index):
        text = self.tokens[index].text
        found = re.fullmatch(r"(0[xX])?([0-9a-fA-F']+?)([uUlLzZ]*)", text)
        if not found:
            return
        prefix, digits, suffix = found.groups()
        value = int(digits.replace("'", ""), 16 if prefix else 10)
        for other in {value + 1, abs(value - 1)}:
            self.replace("number", index, (f"{prefix}{other:x}" if prefix else str(other)) + suffix)

    def name(self, index):
        text, following = self.at(index), self.at(index + 1)
        opposite = {"true": "false", "false": "true", "TRUE": "FALSE", "FALSE": "TRUE"}.get(text)
        if opposite:
            return self.replace("bool", index, opposite)
        names = self.vocabulary.constants.get(text, [])
        if self.at(index - 1) == "::":
            names = self.vocabulary.enumerators.get(self.at(index - 2), [])
        other = self.vocabulary.other_than(names, text)
        if other and self.tokens[index + 1].kind != "name":
            self.replace("constant", index, other)
        if text in ("if", "while") and following == "(":
            self.condition(index + 1, text)
        if text in self.vocabulary.converters and following == "(" and \
                self.tokens[index - 1].kind != "name" and self.at(index - 1) not in (".", "->"):
            self.replace("unwrap", index, "")

    def condition(self, opening, keyword):
        first, closing = self.tokens[opening + 1], self.tokens[opening].partner
        inner = [token.text for token in self.tokens[opening + 1:closing]]
        if "=" in inner or ";" in inner:
            return
        for value in ("true", "false") if keyword == "if" else ("false",):
            self.add("condition", first.start, self.tokens[closing].start, value)

    def sign(self, index):
        text = self.at(index)
        if text == "!":
            self.replace("not", index, "")
        elif text in STEPS:
            self.replace("arithmetic", index, STEPS[text])
        elif text in CLOSING and text != "[":
            self.arguments(index)
        elif self.spaced(index):
            if text in COMPARE:
                self.replace("compare", index, COMPARE[text])
            elif text in ("&&", "||"):
                self.replace("logical", index, "||" if text == "&&" else "&&")
                self.drop_operand("operand", index, {"&&", "||", "?", ":", "=", "return"})
            elif text == "|":
                self.drop_operand("flag", index, {"|", "&", "?", ":", "=", "|=", "return"})
            elif text == "?":
                self.arms(index)
            if text in ARITHMETIC and "text" not in (self.tokens[index - 1].kind, self.tokens[index + 1].kind):
                self.replace("arithmetic", index, ARITHMETIC[text])

    def drop_operand(self, operator, index, ends):
        left, right = self.extent(index, -1, ends), self.extent(index, 1, ends)
        if left < index < right:
            self.add(operator, self.tokens[left].start, self.tokens[index + 1].start, "")
            self.add(operator, self.tokens[index - 1].end, self.tokens[right].end, "")

    def arms(self, index):
        middle = self.extent(index, 1, {":", "?"}) + 1
        if self.at(middle) != ":":
            return
        last = self.extent(middle, 1, {"?"})
        one = self.text[self.tokens[index + 1].start:self.tokens[middle - 1].end]
        two = self.text[self.tokens[middle + 1].start:self.tokens[last].end]
        self.add("arms", self.tokens[index + 1].start, self.tokens[last].end, f"{two} : {one}")

    def kind_of(self, first, last):
        """What an argument looks like; None when it is no simple one, or a parameter."""
        tokens = self.tokens[first:last + 1]
        if not tokens or any(token.text in KEYWORDS or token.text in "{}[];=?" for token in tokens):
            return None
        if any(one.kind == two.kind == "name" or one.text in "&*>" for one, two in zip(tokens, tokens[1:])):
            return None
        if tokens[-1].text in ("&", "*", ">"):
            return None
        if len(tokens) == 1 and tokens[0].kind != "name":
            return tokens[0].kind
        return "constant" if len(tokens) == 1 and tokens[0].text.isupper() else "value"

    def arguments(self, opening):
        closing, parts, first = self.tokens[opening].partner, [], opening + 1
        if closing is None or self.at(opening - 1) in SYMMETRIC or \
                "enum" in (self.at(opening - 2), self.at(opening - 3), self.at(opening - 5)):
            return
        index = first
        while index <= closing:
            if self.at(index) == "," or index == closing:
                parts.append((first, index - 1))
                first = index + 1
            elif self.at(index) in CLOSING and self.tokens[index].partner:
                index = self.tokens[index].partner
            elif self.at(index) == ";":
                return
            index += 1
        for one, two in zip(parts, parts[1:]):
            if self.kind_of(*one) and self.kind_of(*one) == self.kind_of(*two):
                self.swap("arguments", one, two)

    def swap(self, operator, one, two):
        ends = [(self.tokens[first].start, self.tokens[last].end) for first, last in (one, two)]
        self.add(operator, ends[0][0], ends[1][1], self.text[slice(*ends[1])] +
                 self.text[ends[0][1]:ends[1][0]] + self.text[slice(*ends[0])])

    def statements(self):
        previous = None  # first and last token of the call before
        for index in range(1, len(self.tokens)):
            before = self.at(index - 1)
            if before not in ("{", "}", ";", ")", "else") or index in self.unmutated:
                continue
            last = self.extent(index - 1, 1, set()) + 1
            while self.at(last) == ",":
                last = self.extent(last, 1, set()) + 1
            if self.at(last) != ";":
                continue
            kind = self.statement_kind(index, last)
            if kind and not self.is_last_return(index, last):
                self.add(kind, self.tokens[index].start, self.tokens[last].end, "{}")
            is_call = kind == "statement" and self.at(last - 1) == ")" and self.at(index) not in ("return", "throw") and \
                not any(token.text == "=" for token in self.tokens[index:last])
            if is_call and previous and previous[1] == index - 1:
                self.swap("order", previous, (index, last))
            previous = (index, last) if is_call else previous

    def is_last_return(self, index, last):
        """Whether the function would end without the value that it returns."""
        if self.at(index) != "return" or self.at(last + 1) != "}":
            return False
        end = self.tokens[last + 1].start
        return self.text[end - 1] == "\n" or self.at(last + 2) in (")", ";", ",")

    def statement_kind(self, index, last):
        """Whether it is an expression ("statement"), an object that nothing names later ("scope"), or neither."""
        if any(place in self.unmutated for place in range(index, last)):
            return None
        if self.at(index) in ("throw", "break", "continue", "return", "delete", "++", "--", "*"):
            return "statement"
        place = index
        while self.at(place) in ("const", "static") or self.tokens[place].kind == "name" and (
                self.at(place + 1) in ("::", ".", "->")):
            place += 1 if self.at(place) in ("const", "static") else 2
        if self.tokens[place].kind != "name" or self.at(place) in KEYWORDS:
            return None
        if self.at(place + 1) in ("(", "=", "[", "++", "--") or self.at(place + 1) in STEPS:
            return "statement" if self.at(index) != "const" else None
        declared = place + 1
        if self.at(declared) == "<":
            while declared < last and self.at(declared) != ">":
                declared += 1
            declared += 1
        if declared >= last:
            return None
        ends = declared + 1 if self.at(declared + 1) == ";" else (self.tokens[declared + 1].partner or last) + 1
        if self.tokens[declared].kind == "name" and ends == last and self.is_block(index):
            name, rest = self.at(declared), last
            while rest < len(self.tokens) and self.at(rest) != "}":
                if self.at(rest) == name:
                    return None
                inside = self.at(rest) == "{" and name not in (
                    token.text for token in self.tokens[rest:self.tokens[rest].partner])
                rest = self.tokens[rest].partner + 1 if inside else rest + 1
            return "scope"
        return None
