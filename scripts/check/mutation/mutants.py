"""Lists the mutants of a C++ file, and writes the file with all of them behind a switch.

Works on the text, formatted by clang-format: binary operators have spaces on both sides, template brackets and the
marks of pointers and references don't.
"""

import re
from dataclasses import dataclass

TOKEN = re.compile(
    r"""(?P<comment>//[^\n]*|/\*.*?\*/)
      | (?P<directive>^[ \t]*\#(?:\\\n|[^\n])*)
      | (?P<string>"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])+')
      | (?P<number>0[xX][0-9a-fA-F']+[uUlL]*|(?:\d[\d']*(?:\.\d*)?)(?:[eE][+-]?\d+)?[uUlLfF]*)
      | (?P<name>[A-Za-z_]\w*)
      | (?P<op><<=|>>=|<=>|->\*?|::|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|\[\[|\]\]|[^\s\w])""",
    re.M | re.S | re.X,
)

BINARY = {
    "+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "<<": ">>", ">>": "<<", "&": "|", "|": "&", "^": "&",
    "&&": "||", "||": "&&", "==": "!=", "!=": "==", "+=": "-=", "-=": "+=", "*=": "/=", "/=": "*=", "|=": "&=",
    "&=": "|=", "^=": "|=", "<<=": ">>=", ">>=": "<<=",
}  # fmt: skip
ORDER = {"<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<")}
COMPARISON = re.compile(r" (?:==|!=|<=?|>=?) ")
SKIPPED = re.compile(r"\b(?:static_assert|alignas|decltype|sizeof)\s*\(|\btemplate <|\[\[")
NO_STATEMENT = re.compile(
    r"(?:const|constexpr|static|using|auto|struct|template|typename|alignas|friend|namespace|extern|inline|enum|class"
    r"|public|private|constinit|explicit|operator|return|break|continue|case|goto)\b"
)
DECLARATION = re.compile(r"(?:unsigned )?[\w:]+(?:<[^;()]*>)?[&*]*(?: const)? \w+(?:\[[^\]]*\])*(?: =\s|[{(]|$)", re.M)
ARRAY = re.compile(r"[\w:>]+[&*]* \w+((?:\[[^\]]*\])+)(?: = |;)")


SWITCH = (
    "#pragma once\nextern int platen_mutant; extern unsigned char* platen_reached; [[gnu::always_inline]] static inline "
    "constexpr bool platen_at(int n) { if (__builtin_is_constant_evaluated()) return false; "
    "if (platen_reached) platen_reached[n] = 1; return platen_mutant == n; }\n"
)


@dataclass(frozen=True)
class Mutant:
    start: int
    end: int
    text: str  # what stands there instead
    line: int
    column: int  # within the line without its indentation
    source: str  # that line
    name: str


@dataclass
class Unit:
    """A place that can hold several versions of its text: kind is return, statement, value, condition, or none."""

    start: int
    end: int
    kind: str


def closing(code, start):
    """The end of what opens at start."""
    pairs, depth = {"(": ")", "[": "]", "{": "}", "<": ">"}, 0
    opener = code[start]
    for i in range(start, len(code)):
        depth += (code[i] == opener) - (code[i] == pairs[opener])
        if depth == 0:
            return i
    return len(code) - 1


class Source:
    def __init__(self, text, constants=False):
        """With `constants`, functions that are constexpr have switches too: they're run as well as evaluated."""
        self.text = text
        self.bodies = ("body", "constant") if constants else ("body",)
        self.clean = self.blank({"comment"})
        self.code = self.blank({"comment", "directive", "string"})
        self.units = []
        self.statements = []
        self.find_statements()
        self.find_headers()
        self.mutants = sorted(set(self.find_mutants()), key=lambda m: (m.start, m.end, m.text))

    def blank(self, kinds):
        def replacement(match):
            if match.lastgroup not in kinds:
                return match.group()
            return re.sub(r"[^\n]", "_" if match.lastgroup == "string" else " ", match.group())

        return TOKEN.sub(replacement, self.text)

    def find_statements(self):
        """Statements of function bodies, with what can be switched in them."""
        code, start, depth = self.code, 0, 0
        blocks = [("namespace", 0)]
        for i, c in enumerate(code):
            if c in "([":
                depth += 1
            elif c in ")]":
                depth -= 1
            elif c == "{":
                head = code[start:i].strip()
                before = head[-1:] or ";"
                word = re.search(r"\w*$", head).group()
                block = before in ");{}:" or word in ("else", "do", "const", "noexcept")
                block = block or bool(re.match(r"(?:struct|class|enum|namespace|extern|union)\b", head))
                if block and " = " in head and before != ")":
                    block = False
                block = block or bool(re.search(r"\) (?:mutable )?-> [^;(){}]+$", head))  # a lambda
                if not block:
                    blocks.append(("init", start, depth))
                    continue
                kind = "body" if before == ")" or word in ("else", "do", "const", "noexcept") else blocks[-1][0]
                if re.match(r"(?:struct|class|enum|union)\b", head):
                    kind = "record"
                elif re.match(r"(?:namespace|extern)\b", head):
                    kind = "namespace"
                if blocks[-1][0] == "requires" or re.search(r"\brequires\s*(?:\([^()]*\))?$", head):
                    kind = "requires"
                elif blocks[-1][0] == "constant" or (
                    re.search(r"\bconst(?:expr|eval)\b", head) and not re.search(r"\bif\b", head)
                ):
                    kind = "constant"
                blocks.append((kind, start, depth))
                start, depth = i + 1, 0
            elif c == "}":
                block = blocks.pop()
                if block[0] == "init":
                    depth = block[2]
                    continue
                # A lambda's end goes on with the statement that it is in.
                start, depth = (block[1], block[2]) if block[2] else (i + 1, 0)
            elif c == ";" and depth == 0:
                self.add_statement(start, i, blocks[-1][0])
                start = i + 1
            elif c == ":" and depth == 0 and blocks[-1][0] in ("body", "constant"):
                if re.match(r"\s*(?:case\b|default\s*$)", code[start:i]) and code[i + 1] != ":" and code[i - 1] != ":":
                    start = i + 1

    def add_statement(self, start, end, block):
        text = self.code[start:end]
        start += len(text) - len(text.lstrip())
        text = text.strip()
        self.statements.append((start, end, block))
        if block not in self.bodies or not text:
            return
        value = re.search(r" =\s", text)
        if text.startswith("return "):
            self.units.append(Unit(start, end + 1, "return"))
        elif re.match(r"(?:static|constexpr|using|break|continue|case|constinit)\b", text):
            pass
        elif re.match(r"while \(", text) and closing(text, 6) == len(text) - 1:
            pass  # the end of a do
        elif value and re.match(r"(?:\[\[\w+\]\] )?(?:const )?(?:unsigned )?[\w:]+(?:<[^=;]*>)?[&*]*(?: const)?[&*]* (?:const )?"
                                r"(?:__restrict )?(?:\w+|\[[\w, ]+\])$", text[: value.start()]):  # fmt: skip
            self.units.append(Unit(start + value.end(), end, "value"))
        elif not NO_STATEMENT.match(text) and not DECLARATION.match(text):
            self.units.append(Unit(start, end + 1, "statement"))

    def find_headers(self):
        for match in re.finditer(r"\b(if|while|for|switch) \(", self.code):
            left = match.end() - 1
            right = closing(self.code, left)
            head = self.code[left + 1 : right]
            if match.group(1) != "for":
                if " = " not in head and ";" not in head:
                    self.units.append(Unit(left + 1, right, "value" if match.group(1) == "switch" else "condition"))
            elif head.count(";") == 2:
                first = left + 1 + head.index(";")
                second = left + 1 + head.rindex(";")
                self.units.append(Unit(first + 1, second, "condition"))
                self.units.append(Unit(second + 1, right, "value"))

    def find_mutants(self):
        code = self.code
        skipped = [(m.start(), closing(code, m.end() - 1)) for m in SKIPPED.finditer(code)]
        skipped += [m.span(1) for m in ARRAY.finditer(code)]
        for match in TOKEN.finditer(self.text):
            kind, token, at = match.lastgroup, match.group(), match.start()
            if kind not in ("op", "number") or any(a <= at < b for a, b in skipped):
                continue
            before, after = code[at - 1 : at], code[match.end() : match.end() + 1]
            if kind == "number":
                if not (before == "<" or after == ">"):
                    for text in self.numbers(token):
                        yield self.mutant(at, match.end(), text)
            elif before.isspace() and after.isspace():
                for text in ORDER.get(token) or ([BINARY[token]] if token in BINARY else []):
                    yield self.mutant(at, match.end(), text)
                if token == "?":
                    yield self.mutant(at, match.end(), "&& false ?")
                    yield self.mutant(at, match.end(), "|| true ?")
            elif token in ("++", "--"):
                yield self.mutant(at, match.end(), "--" if token == "++" else "++")
            elif token in "!-~" and not after.isspace() and (before.isspace() or before in "(,["):
                if not after.isdigit():
                    yield self.mutant(at, match.end(), "")
        yield from self.conditions()
        yield from self.dropped()

    def numbers(self, token):
        digits, suffix = re.fullmatch(r"(0[xX][0-9a-fA-F']+|.*?)([uUlLfF]*)", token).groups()
        digits = digits.replace("'", "")
        if "." in digits or "e" in digits:
            value = float(digits)
            return [f"{v!r}{suffix}" for v in ([value + 1.0, value * 0.5] if value else [1.0])]
        value = int(digits, 0 if digits[1:2] in ("x", "X", "b", "") or digits[0] != "0" else 8)
        form = hex if digits[:2] in ("0x", "0X") else str
        return [form(v) + suffix for v in ([value + 1, value - 1] if value else [1])]

    def conditions(self):
        for match in re.finditer(r"\b(?:if|while) \(", self.code):
            left = match.end() - 1
            right = closing(self.code, left)
            head = self.code[left + 1 : right]
            if " = " not in head and not (len(COMPARISON.findall(head)) == 1 and "&&" not in head and "||" not in head):
                yield self.mutant(left + 1, right, f"!({self.flat(left + 1, right)})", "negated condition")

    def dropped(self):
        for start, end, block in self.statements:
            text = self.code[start:end]
            if block not in ("body", "constant"):
                continue
            if text.startswith("return "):
                value = {"return true": "false", "return false": "true"}.get(text, "{}")
                if text != "return {}":
                    yield self.mutant(start, end + 1, f"return {value};", f"return {value}")
            elif text in ("break", "continue", "return") or any(
                u.kind == "statement" and u.start == start for u in self.units
            ):
                yield self.mutant(start, end + 1, ";", "dropped statement")

    def mutant(self, start, end, text, name=None):
        begin = self.text.rfind("\n", 0, start) + 1
        source = self.text[begin : self.text.find("\n", start)]
        shown = name or f"{self.text[start:end]} -> {text or 'nothing'}"
        column = start - begin - (len(source) - len(source.lstrip()))
        return Mutant(start, end, text, self.text.count("\n", 0, start) + 1, column, source.strip(), shown)

    def flat(self, start, end):
        return " ".join(self.clean[start:end].split())

    def apply(self, mutant):
        return self.text[: mutant.start] + mutant.text + self.text[mutant.end :]

    def unit_of(self, mutant):
        around = [u for u in self.units if u.start <= mutant.start and mutant.end <= u.end]
        unit = min(around, key=lambda u: u.end - u.start, default=None)
        if unit is None or (unit.kind == "value" and self.code[unit.start : unit.end].lstrip()[:1] == "{"):
            return None
        return unit

    def switched(self, mutants, numbers):
        """The text with the mutants behind `platen_at(number)`, and the mutant of each line that holds one."""
        held = {}
        for m in mutants:
            unit = self.unit_of(m)
            held.setdefault((unit.start, unit.end, unit.kind), []).append(m)
        places = sorted(held, key=lambda p: (p[0], -p[1]))

        def render(start, end, places):
            out, at = [], start
            while places:
                place, places = places[0], places[1:]
                inner = [p for p in places if p[1] <= place[1]]
                places = [p for p in places if p not in inner]
                out.append(self.clean[at : place[0]])
                out.append(self.versions(place, held[place], numbers, render(place[0], place[1], inner)))
                at = place[1]
            return "".join(out) + self.clean[at:end]

        text = SWITCH + render(0, len(self.text), places)
        lines = {}
        for i, line in enumerate(text.split("\n"), 1):
            found = re.match(r"/\*(\d+)\*/", line)
            if found:
                lines[i] = int(found.group(1))
        return text, lines

    def versions(self, place, mutants, numbers, original):
        start, end, kind = place
        out = ""
        bool_of = "bool" if kind == "condition" else ""  # what is no bool would make a common type with what is
        for m in mutants:
            changed = self.flat(start, m.start) + " " + m.text + " " + self.flat(m.end, end)
            number = numbers[m]
            if kind in ("value", "condition"):
                out += f"\n/*{number}*/ platen_at({number}) ? {bool_of}({changed}) :\n"
            else:
                out += f"\n/*{number}*/ if (platen_at({number})) {{ {changed} }} else\n"
        return f"{out} {bool_of}({original})" if kind in ("value", "condition") else f"{{ {out} {{ {original} }} }}"
