"""The rules by which one-line bugs are put into C++ source. Each yields a mutant for every place that it fits."""

import re
from dataclasses import dataclass

TOKEN = re.compile(
    r"""(?P<comment>//[^\n]*|/\*.*?\*/)
      | (?P<directive>^[ ]*\#[^\n]*)
      | (?P<raw>R"(?P<delimiter>[^(\s]*)\(.*?\)(?P=delimiter)")
      | (?P<text>"(?:\\.|[^"\\\n])*")
      | (?P<character>'(?:\\.|[^'\\\n])+')
      | (?P<number>\d(?:'?[\w.])*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<operator><=>|->|::|<<|>>|<=|>=|==|!=|&&|\|\||\+\+|--|\+=|-=|[-+*/%<>=!&|?:;,.(){}\[\]~^])
      | (?P<space>\s+)""",
    re.VERBOSE | re.MULTILINE | re.DOTALL,
)

SWAPPED_OPERATORS = {
    "==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&",
    "+": "-", "-": "+", "+=": "-=", "-=": "+=", "++": "--", "--": "++",
}  # fmt: skip

SWAPPED_WORDS = {
    first: second
    for pair in (
        ("true", "false"), ("min", "max"), ("break", "continue"), ("any_of", "all_of"), ("find", "rfind"),
        ("starts_with", "ends_with"), ("find_first_not_of", "find_last_not_of"), ("upper_bound", "lower_bound"),
        ("installCondition", "uninstallCondition"), ("get_basename", "get_dirname"), ("Integrate", "Unintegrate"),
    )
    for first, second in (pair, pair[::-1])
}  # fmt: skip

SWAPPED_TEXTS = {'"yes"': '"no"', '"no"': '"yes"', '" -i "': '" -u "', '"install"': '"modify"', '"internal"': '"user"'}

STATEMENT_WORDS = {"return", "break", "continue"}
# What "{}" is, too.
ZEROES = {"0", "false", '""', "{}", "nullptr", "std::nullopt", "exit_success"}
OTHER_KEYWORDS = {"if", "for", "while", "switch", "sizeof", "decltype", "catch", "template", "operator", "alignof", "noexcept"}


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int

    @property
    def end(self):
        return self.start + len(self.text)


@dataclass(frozen=True)
class Mutant:
    file: str
    line: int
    rule: str
    before: str  # the lines that change, as they are
    after: str  # and as they are with the bug
    start: int  # what is replaced in the file
    end: int
    replacement: str

    @property
    def key(self):
        return (self.file, self.before, self.after)


def tokens_of(source):
    tokens, at = [], 0
    while at < len(source):
        match = TOKEN.match(source, at)
        if match is None:
            raise SyntaxError(f"cannot read {source[at:at + 20]!r}")
        if match.lastgroup not in ("comment", "directive", "space"):
            tokens.append(Token(match.lastgroup, match.group(), at))
        at = match.end()
    return tokens


def closing(tokens, opening):
    """The index of the bracket that belongs to the one at `opening`."""
    pairs = {"(": ")", "{": "}", "[": "]"}
    depth = 0
    for index in range(opening, len(tokens)):
        text = tokens[index].text
        if tokens[index].kind != "operator":
            continue
        depth += text in pairs
        depth -= text in pairs.values()
        if depth == 0:
            return index
    raise SyntaxError("a bracket is not closed")


def statement_end(tokens, start):
    """The index of the semicolon or brace with which the statement at `start` ends; None for what is no statement."""
    index = start
    while index < len(tokens) and tokens[index].text not in (";", "}"):
        if tokens[index].text in "({[":
            is_block = tokens[index].text == "{" and index == start
            index = closing(tokens, index)
            if is_block:
                return index
        index += 1
    return index if index < len(tokens) and tokens[index].text == ";" else None


def is_spaced(source, token):
    return source[token.start - 1].isspace() and source[token.end : token.end + 1].isspace()


# Each rule takes the source and its tokens, and yields (start, end, replacement).


def operators(source, tokens):
    for token in tokens:
        # Brackets of templates and signs have no spaces around them.
        fits = is_spaced(source, token) or token.text in ("++", "--")
        if token.kind == "operator" and token.text in SWAPPED_OPERATORS and fits:
            yield token.start, token.end, SWAPPED_OPERATORS[token.text]
        elif token.text == "!" and token.kind == "operator":
            yield token.start, token.end, ""


def words(source, tokens):
    for token in tokens:
        if token.kind == "word" and token.text in SWAPPED_WORDS:
            yield token.start, token.end, SWAPPED_WORDS[token.text]


def numbers(source, tokens):
    for token in tokens:
        if token.kind == "number" and token.text.isdigit():
            yield token.start, token.end, str(int(token.text) + 1)
            if token.text != "0":
                yield token.start, token.end, str(int(token.text) - 1)


def texts(source, tokens):
    for token in tokens:
        if token.kind == "character":
            yield token.start, token.end, "'x'"
        if token.kind != "text":
            continue
        if token.text in SWAPPED_TEXTS:
            yield token.start, token.end, SWAPPED_TEXTS[token.text]
        if token.text == '""':
            yield token.start, token.end, '"x"'
        else:
            yield token.start, token.end, re.sub(r'(\\.|[^"\\])"$', '"', token.text)
            yield token.start, token.end, token.text.replace('" ', '"', 1)


def after_name(tokens, index):
    """The text after the name, qualified or not, at `index`."""
    while tokens[index + 1].text == "::":
        index += 2
    return tokens[index + 1].text


def expression_statements(tokens):
    """First and last index of each statement that is a call or an assignment."""
    for index, token in enumerate(tokens):
        before = tokens[index - 1].text if index else ";"
        if token.kind != "word" or token.text in OTHER_KEYWORDS | STATEMENT_WORDS or before not in (";", "{", "}", ")"):
            continue
        last = statement_end(tokens, index)
        if last and after_name(tokens, index) in ("(", ".", "->", "=", "+=", "-=", "["):
            yield index, last


def removed_statements(source, tokens):
    for first, last in expression_statements(tokens):
        yield tokens[first].start, tokens[last].end, ";"
    for index, token in enumerate(tokens):
        # A return without a value is the end of its function.
        if token.text in STATEMENT_WORDS and tokens[index - 1].text == ")":
            yield token.start, tokens[statement_end(tokens, index)].end, ";"


def returned_values(source, tokens):
    for index, token in enumerate(tokens):
        if token.text != "return" or tokens[index + 1].text == ";":
            continue
        end = statement_end(tokens, index)
        if source[tokens[index + 1].start : tokens[end].start] not in ZEROES:
            yield tokens[index + 1].start, tokens[end].start, "{}"


def loops_left_early(source, tokens):
    """A loop that ends at its first hit."""
    statements = list(expression_statements(tokens))
    for index, token in enumerate(tokens):
        if token.text not in ("for", "while") or tokens[index + 1].text != "(":
            continue
        body = closing(tokens, index + 1) + 1
        if tokens[body].text != "{":
            continue
        for first, last in statements:
            if body < first and last < closing(tokens, body):
                text = source[tokens[first].start : tokens[last].end]
                yield tokens[first].start, tokens[last].end, "{ " + text + " break; }"


def negated_conditions(source, tokens):
    for index, token in enumerate(tokens):
        if token.text in ("if", "while") and tokens[index + 1].text == "(":
            end = closing(tokens, index + 1)
            yield tokens[index + 2].start, tokens[end].start, f"!({source[tokens[index + 2].start:tokens[end].start]})"
        if token.text == "?" and token.kind == "operator":
            start = condition_start(tokens, index)
            yield tokens[start].start, token.start, f"!({source[tokens[start].start:token.start].rstrip()}) "


def condition_start(tokens, question):
    depth = 0
    for index in range(question - 1, 0, -1):
        text = tokens[index].text
        depth += text in (")", "]", "}")
        if depth == 0 and text in ("return", "=", ",", "(", "{", ";"):
            return index + 1
        depth -= text in ("(", "[", "{")
    raise SyntaxError("a condition without a beginning")


def loops_of_one_round(source, tokens):
    for index, token in enumerate(tokens):
        if token.text not in ("for", "while") or tokens[index + 1].text != "(":
            continue
        body = closing(tokens, index + 1) + 1
        end = statement_end(tokens, body) if tokens[body].text not in ("if", "for") else None
        if end is None:
            inner = closing(tokens, body + 1) + 1
            end = statement_end(tokens, inner)
        text = source[tokens[body].start : tokens[end].end]
        yield tokens[body].start, tokens[end].end, "{ " + text + " break; }"


def calls_left_out(source, tokens):
    """The argument in the place of a call with one argument."""
    for index, token in enumerate(tokens[:-1]):
        if token.kind != "word" or token.text in OTHER_KEYWORDS | STATEMENT_WORDS or tokens[index + 1].text != "(":
            continue
        before = tokens[index - 1]
        if before.text in ("::", ".", "->", ";", "{", "}") or before.kind == "word" and before.text != "return":
            continue
        end = closing(tokens, index + 1)
        argument = tokens[index + 2 : end]
        if argument and not any(part.text == "," for part in argument):
            yield token.start, token.end, ""


RULES = {
    "operator": operators,
    "word": words,
    "number": numbers,
    "text": texts,
    "statement left out": removed_statements,
    "condition negated": negated_conditions,
    "loop of one round": loops_of_one_round,
    "loop left early": loops_left_early,
    "returned value": returned_values,
    "call left out": calls_left_out,
}


def whole_lines(source, start, end):
    first = source.rfind("\n", 0, start) + 1
    last = source.find("\n", end)
    return first, len(source) if last < 0 else last


def mutants_of(file, source, tokens):
    """All mutants of a file, in the order of their places."""
    mutants = {}
    for rule, places in RULES.items():
        for start, end, replacement in places(source, tokens):
            first, last = whole_lines(source, start, end)
            mutated = source[first:start] + replacement + source[end:last]
            if mutated == source[first:last]:
                continue
            line = source.count("\n", 0, start) + 1
            mutant = Mutant(file, line, rule, source[first:last].strip(), mutated.strip(), start, end, replacement)
            mutants.setdefault((first, last, mutated), mutant)
    return sorted(mutants.values(), key=lambda mutant: (mutant.line, mutant.rule, mutant.after))
