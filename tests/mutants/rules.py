"""One-line faults of a C++ source, by rule. The sources are formatted alike, so tokens are enough:
what makes no sense does not compile, and then it does not count."""

import collections
import re

Mutant = collections.namedtuple("Mutant", "file line rule before after start end text")
Token = collections.namedtuple("Token", "kind text start end")

TOKENS = re.compile(r"""
    (?P<skip>\s+ | //[^\n]* | /\*.*?\*/ | ^[ \t]*\#(?:[^\n]|\\\n)*)
  | (?P<string>(?:u8|[uUL])?R"\((?:.|\n)*?\)" | (?:u8|[uUL])?"(?:[^"\\\n]|\\.)*" | '(?:[^'\\\n]|\\.)*')
  | (?P<number>(?:0[xX][0-9a-fA-F]+|[0-9]+(?:\.[0-9]+)?)[uUlLfF]*)
  | (?P<word>[A-Za-z_]\w*)
  | (?P<sign><<=|>>=|->|::|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|[^\w\s])
""", re.VERBOSE | re.MULTILINE | re.DOTALL)

OPEN, CLOSE = "([{", ")]}"
BOUNDS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
OPERATORS = {"==": "!=", "!=": "==", "+": "-", "-": "+", "*": "/", "/": "*", "%": "*",
             "&&": "||", "||": "&&", "&": "|", "|": "&", "+=": "-=", "-=": "+=", "<<": ">>",
             "++": "--", "--": "++"}
# What ends an operand of && and ||.
ENDS = {",", ";", "?", ":", "=", "return", "&&", "||", "while", "if"}
# A line that begins with one of these is no statement that could be left out, or another rule's.
KEPT = {"return", "if", "else", "for", "while", "do", "switch", "case", "default", "using", "const",
        "constexpr", "static", "struct", "class", "enum", "namespace", "template", "try", "catch",
        "public", "private", "protected", "typedef", "extern", "auto", "explicit"}


def tokens(text):
    found = []
    for match in TOKENS.finditer(text):
        if match.lastgroup != "skip":
            found.append(Token(match.lastgroup, match.group(), match.start(), match.end()))
    return found


class Source:
    def __init__(self, file, text):
        self.file, self.text, self.tokens = file, text, tokens(text)
        self.partner = {}
        opened = []
        for i, token in enumerate(self.tokens):
            if token.kind == "sign" and token.text in OPEN:
                opened.append(i)
            elif token.kind == "sign" and token.text in CLOSE and opened:
                self.partner[i] = opened[-1]
                self.partner[opened.pop()] = i

    def at(self, i):
        return self.tokens[i].text if 0 <= i < len(self.tokens) else ""

    def of(self, first, last):
        return self.text[self.tokens[first].start:self.tokens[last].end]

    def mutant(self, rule, first, last, after):
        start, end = self.tokens[first].start, self.tokens[last].end
        text = self.text[:start] + after + self.text[end:]
        begin = text.rfind("\n", 0, start) + 1
        return Mutant(self.file, self.text.count("\n", 0, start) + 1, rule,
                      whole_lines(self.text, begin, end),
                      whole_lines(text, begin, start + len(after)), start, end, text)

    def is_binary(self, i):
        """Formatted code has blanks around binary operators, and none in template arguments."""
        start, end = self.tokens[i].start, self.tokens[i].end
        return self.text[start - 1].isspace() and self.text[end:end + 1].isspace()

    def operand(self, i, step):
        """The other end of the operand beside the token i."""
        at = i + step
        while self.at(at) and self.at(at) not in ENDS:
            if at in self.partner and (self.at(at) in (CLOSE if step < 0 else OPEN)):
                at = self.partner[at]
            elif self.at(at) in (OPEN if step < 0 else CLOSE):
                break
            at += step
        return at - step


def whole_lines(text, begin, end):
    stop = text.find("\n", end)
    return " ".join(text[begin:stop if stop >= 0 else len(text)].split())


def conditions(source):
    """The conditions of if and while: negated, or taken as one way; a call in them still runs."""
    for i, token in enumerate(source.tokens):
        if token.text not in ("if", "while") or source.at(i + 1) != "(":
            continue
        first, last = i + 2, source.partner[i + 1] - 1
        inner = range(first, last + 1)
        if any(source.at(k) == ";" for k in inner):  # if (init; condition)
            continue
        condition = source.of(first, last)
        yield source.mutant("condition negated", first, last, f"!({condition})")
        calls = any(source.at(k) == "(" and source.tokens[k - 1].kind == "word" for k in inner)
        if token.text == "if" and calls:
            yield source.mutant("result ignored", first, last, f"({condition}, false)")
        if token.text == "if":
            yield source.mutant("condition dropped", first, last, "true")


def parts_of_conditions(source):
    """One side of && and || dropped; a call that is dropped so is a check left out."""
    for i, token in enumerate(source.tokens):
        if token.text not in ("&&", "||") or not source.is_binary(i):
            continue
        first, last = source.operand(i, -1), source.operand(i, 1)
        yield source.mutant("condition dropped", first, i, "")
        yield source.mutant("condition dropped", i, last, "")
        ignored = "true" if token.text == "&&" else "false"
        if source.at(last) == ")":
            yield source.mutant("result ignored", i + 1, last,
                                f"({source.of(i + 1, last)}, {ignored})")


def operators(source):
    for i, token in enumerate(source.tokens):
        if token.kind != "sign":
            continue
        if token.text in BOUNDS and source.is_binary(i):
            yield source.mutant("bound shifted", i, i, BOUNDS[token.text])
        elif token.text in ("++", "--") or (token.text in OPERATORS and source.is_binary(i)):
            yield source.mutant("operator swapped", i, i, OPERATORS[token.text])
        elif token.text == "!" and source.at(i + 1) != "=":
            yield source.mutant("condition negated", i, i, "")
        elif token.text == "?" and source.is_binary(i):
            first = source.operand(i, -1)
            yield source.mutant("condition negated", first, i - 1,
                                f"!({source.of(first, i - 1)})")


def statements(source):
    """Calls and assignments left out; a declaration that is left out does not compile."""
    begins = True
    for i, token in enumerate(source.tokens):
        if begins and token.kind in ("word", "sign") and token.text not in KEPT:
            end = i
            while source.at(end) not in ("", ";", "{", "}"):
                end = source.partner.get(end, end) + 1 if source.at(end) in OPEN else end + 1
            inside = source.of(i, end) if source.at(end) == ";" else ""
            if inside.endswith(("= delete;", "= default;")):
                inside = ""
            if inside in ("break;", "continue;") or re.match(r"[^;{}]*(\(|[-+|&]?=(?!=)|\+\+|--)",
                                                             inside):
                yield source.mutant("statement left out", i, end, ";")
        begins = token.text in (";", "{", "}", "else", ")") and (
            token.text != ")" or source.at(source.partner.get(i, 0) - 1) in ("if", "for", "while"))


def constants(source):
    for i, token in enumerate(source.tokens):
        if token.text in ("true", "false"):
            yield source.mutant("constant changed", i, i, "false" if token.text == "true" else "true")
        if token.kind != "number" or "." in token.text:
            continue
        digits = re.match(r"0[xX][0-9a-fA-F]+|[0-9]+", token.text).group()
        value, suffix = int(digits, 0 if len(digits) > 1 and digits[1] in "xX" else 10), \
            token.text[len(digits):]
        for other in (value - 1, value + 1):
            if other >= 0:
                yield source.mutant("constant off by one", i, i, f"{other}{suffix}")


def mutants(file, text):
    source = Source(file, text)
    for rule in (conditions, parts_of_conditions, operators, statements, constants):
        yield from rule(source)
