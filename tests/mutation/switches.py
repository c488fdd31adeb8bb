"""Puts many mutants into one source, each behind a switch that the environment chooses when the program starts (switch.h).

A function gets a copy of its body for each of its mutants. A constant outside of functions gets a choice of values. A .cpp with
mutants becomes X.cpp.mutants.h, which X.cpp includes: in a header of the system the compiler reports errors only."""

import pathlib

from rules import closing

HEADER = ".mutants.h"  # follows the name of a source
SWITCH = pathlib.Path(__file__).with_name("switch.h")
# Without optimization, which would take minutes for so many copies.
HEAD = f"""#pragma GCC system_header
#pragma GCC optimize("O0")
#include "{SWITCH}"
"""
# The rules whose mutants are other values of the same type.
RULES_OF_CONSTANTS = {"text", "number", "word"}


def with_switches(source, tokens, bodies, numbered, first_function):
    """The source with the mutants of [(number, mutant)], and {number: function} for those that it has. The constants of the file
    count as one function, `first_function`; the bodies follow it."""
    edits, functions = [], {}
    for function, body in enumerate(bodies, first_function + 1):
        mutants = [(number, mutant) for number, mutant in numbered if is_inside(mutant, body)]
        if mutants:
            functions.update((number, function) for number, _ in mutants)
            edits.append((body.start, body.start, copies(source, body, mutants, function)))
    outside = [(number, mutant) for number, mutant in numbered if not any(is_inside(mutant, body) for body in bodies)]
    for start, end, mutants in constants(tokens, outside):
        functions.update((number, first_function) for number, _ in mutants)
        edits.append((start, end, choice(source, start, end, mutants, first_function)))
        edits += [(token.start, token.end, "const    ") for token in constexpr_before(tokens, start)]
    edits += [(token.start, token.end, "const    ") for token in constexpr_objects(tokens)]
    for start, end, text in sorted(set(edits), reverse=True):
        source = source[:start] + text + source[end:]
    return HEAD + place_line(1, numbered[0][1].file) + source, functions


def without_constexpr_objects(source, tokens):
    """A source without mutants of its own, where those of headers count."""
    for token in reversed(list(constexpr_objects(tokens))):
        source = source[: token.start] + "const    " + source[token.end :]
    return source


def including(file):
    return f'#include "{pathlib.PurePath(file).name}{HEADER}"\n'


def place_line(line, file):
    return f'#line {line} "{file}"\n'


def line_of(source, place):
    return source.count("\n", 0, place) + 1


def is_inside(mutant, body):
    return body.start <= mutant.start and mutant.end <= body.end


def copies(source, body, mutants, function):
    """A copy of the body for each mutant, to stand before the original. An error of the compiler names the mutant as its file."""
    text = f"\nif (!__builtin_is_constant_evaluated()) {{ mutation::reached({function}); switch (mutation::chosen()) {{\n"
    at_end = "__builtin_trap();" if body.returns_value else "return;"
    for number, mutant in mutants:
        mutated = source[body.start : mutant.start] + mutant.replacement + source[mutant.end : body.end]
        text += f"case {number}: {{\n{place_line(1, f'mutant-{number}')}{mutated}\n{at_end} }}\n"
    return text + "default: break; } }\n" + place_line(line_of(source, body.start), mutants[0][1].file)


def constants(tokens, numbered):
    """(start, end, mutants) of each literal outside of functions; neighbouring texts are one."""
    runs = {}
    for number, mutant in numbered:
        first = last = next(index for index, token in enumerate(tokens) if token.end > mutant.start)
        is_name = tokens[first].kind == "word" and tokens[first].text not in ("true", "false")
        if mutant.rule not in RULES_OF_CONSTANTS or is_name:
            continue
        while tokens[first].kind == "text" and tokens[first - 1].kind == "text":
            first -= 1
        while tokens[last].kind == "text" and last + 1 < len(tokens) and tokens[last + 1].kind == "text":
            last += 1
        runs.setdefault((tokens[first].start, tokens[last].end), []).append((number, mutant))
    return [(start, end, mutants) for (start, end), mutants in runs.items()]


def choice(source, start, end, mutants, function):
    text = f"(mutation::reached({function}), "
    for number, mutant in mutants:
        mutated = source[start : mutant.start] + mutant.replacement + source[mutant.end : end]
        text += f"mutation::chosen() == {number} ? {mutated} : "
    return text + source[start:end] + ")\n" + place_line(line_of(source, end), mutants[0][1].file)


def constexpr_objects(tokens):
    """The word of each declaration like `constexpr Type name(value);` or `constexpr Type name = [] { ... }();`, whose constructor
    or function the compiler would run, without mutants."""
    for index, token in enumerate(tokens[:-4]):
        if token.text != "constexpr":
            continue
        constructs = tokens[index + 3].text == "(" and tokens[closing(tokens, index + 3) + 1].text == ";"
        value = next((at for at in range(index, len(tokens)) if tokens[at].text in ("=", ";", "(", "{")), index)
        if constructs or tokens[value].text == "=" and tokens[value + 1].text == "[":
            yield token


def constexpr_before(tokens, place):
    """The word of the declaration around the place: its value is no longer constant."""
    index = next(index for index, token in enumerate(tokens) if token.end > place)
    depth = 0
    while index > 0 and not (tokens[index - 1].text in ";}" and depth == 0):
        index -= 1
        depth += tokens[index].text in ")}]"
        depth -= tokens[index].text in "({["
        if tokens[index].text == "constexpr":
            return [tokens[index]]
        if depth < 0 and tokens[index].text == "{" and tokens[index - 1].text != "=":
            break
    return []
