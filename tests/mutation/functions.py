"""Finds the bodies of the functions in the tokens of a C++ source."""

from dataclasses import dataclass

from rules import closing

SCOPES = {"namespace", "class", "struct", "union", "enum", "extern"}


@dataclass(frozen=True)
class Body:
    start: int  # after the opening brace
    end: int  # at the closing brace
    returns_value: bool


def bodies_of(tokens):
    """The outermost bodies, in the order of their places: functions, and lambdas outside of any function."""
    bodies = []
    find_bodies(tokens, 0, len(tokens), bodies)
    return bodies


def find_bodies(tokens, index, end, bodies):
    header = index
    while index < end:
        text = tokens[index].text
        if text in "([":
            last = closing(tokens, index)
            find_lambdas(tokens, index + 1, last, bodies)
            index = last
        elif text == ";" or is_access_label(tokens, index):
            header = index + 1
        elif text == "{":
            last = closing(tokens, index)
            take_block(tokens, header, index, last, bodies)
            index = last
            if not goes_on(tokens, last):
                header = index + 1
        index += 1


def is_access_label(tokens, index):
    return tokens[index].text == ":" and tokens[index - 1].text in ("public", "protected", "private")


def goes_on(tokens, last):
    """Whether the declaration goes on after this brace: members that a constructor initializes, and variables."""
    return last + 1 < len(tokens) and tokens[last + 1].text in (",", "{", ";", ")")


def take_block(tokens, header, opening, last, bodies):
    words = [token.text for token in tokens[header:opening]]
    is_scope = not words or (words[0] in SCOPES or words[0] == "template" and SCOPES & set(words)) and "(" not in words
    if is_scope:
        find_bodies(tokens, opening + 1, last, bodies)
    elif is_function(words):
        bodies.append(body_between(tokens, opening, last))
    else:
        find_lambdas(tokens, header, last, bodies)


def is_function(words):
    if words[0] in SCOPES or "(" not in words or is_assignment(words):
        return False
    # Members that are initialized with braces stand before the body.
    return words[-1] in (")", "}", "const", "noexcept", "override", "final", "try", "&", "&&") or "->" in words


def is_assignment(words):
    depth = 0
    for index, word in enumerate(words):
        depth += word in "([{"
        depth -= word in ")]}"
        if depth == 0 and word == "=" and words[index - 1] != "operator":
            return True
    return False


def body_between(tokens, opening, last):
    inner = []
    find_lambdas(tokens, opening + 1, last, inner)
    own = (
        index for index in range(opening, last)
        if tokens[index].text == "return" and not any(body.start <= tokens[index].start < body.end for body in inner)
    )  # fmt: skip
    return Body(tokens[opening].end, tokens[last].start, any(tokens[index + 1].text != ";" for index in own))


def find_lambdas(tokens, index, end, bodies):
    while index < end:
        if tokens[index].text == "[" and tokens[index + 1].text == "[":
            index = closing(tokens, index)  # an attribute
        elif tokens[index].text == "[" and tokens[index - 1].kind != "word" and tokens[index - 1].text not in (")", "]"):
            index = closing(tokens, index) + 1
            if tokens[index].text == "(":
                index = closing(tokens, index) + 1
            while index <= end and tokens[index].text not in "{,;)":
                index += 1
            if index <= end and tokens[index].text == "{":
                last = closing(tokens, index)
                body = body_between(tokens, index, last)
                if body not in bodies:
                    bodies.append(body)
                index = last
        index += 1
