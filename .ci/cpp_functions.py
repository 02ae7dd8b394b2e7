"""Reads which functions a C++ or Objective-C++ file declares and defines, in this project's own style; it is no parser of
the whole language. Used by the checks beside it.
"""

import re

NOT_CODE = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"\((?:.*?)\)"|@?"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\''
    r"|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*|^@(?:interface|implementation|protocol)\b.*?^@end",
    re.DOTALL | re.MULTILINE,
)
NAME = re.compile(r"(~?\w+(?:::~?\w+)*)\s*$")
SCOPE = re.compile(r"\b(namespace|class|struct)\b\s*([\w:]*)(?!.*\()")


def blanked(text):
    """The same text with comments, literals, directives and Objective-C classes blanked, line ends kept."""
    return NOT_CODE.sub(lambda match: re.sub(r"[^\n]", " ", match.group()), text)


def top_level(text, wanted):
    """The first position of a wanted character outside angle brackets; -1 when there is none."""
    depth = 0
    for position, character in enumerate(text):
        if character in wanted and depth == 0:
            return position
        depth += {"<": 1, ">": -1}.get(character, 0)
    return -1


def parameter_types(text):
    """The types of a parameter list, without names, defaults and blanks."""
    parts, depth, part = [], 0, ""
    for character in text:
        depth += {"<": 1, "(": 1, ">": -1, ")": -1}.get(character, 0)
        if character == "," and depth == 0:
            parts.append(part)
            part = ""
        else:
            part += character
    types = []
    for part in parts + [part]:
        part = re.sub(r"\s+", " ", part.split("=")[0]).strip()
        named = re.match(r"(.*[\s&*>])\w+$", part)
        if named and named.group(1).strip() != "const":
            part = named.group(1)
        types.append(re.sub(r"\s*([&*<>,])\s*", r"\1", part.strip()))
    return ", ".join(types)


def function_in(statement, scopes):
    """`scope::name(types)` of a declaration or the head of a definition; None for any other statement."""
    opening = top_level(statement, "(=")
    if opening < 0 or statement[opening] == "=" or re.match(r"\s*(?:using|friend|typedef|return)\b", statement):
        return None
    name = NAME.search(statement[:opening])
    if not name:
        return None
    depth, end = 0, opening
    for end in range(opening, len(statement)):
        depth += {"(": 1, ")": -1}.get(statement[end], 0)
        if depth == 0:
            break
    if re.match(r"[^:]*=\s*(?:default|delete|0)", statement[end + 1 :]):
        return None
    return "::".join(scopes + [name.group(1)]) + "(" + parameter_types(statement[opening + 1 : end]) + ")"


def skip_block(text, opening):
    depth = 0
    for position in range(opening, len(text)):
        depth += {"{": 1, "}": -1}.get(text[position], 0)
        if depth == 0:
            return position
    return len(text)


def functions(text):
    """Two dictionaries from function to line: what the text declares and what it defines."""
    text = blanked(text)
    declared, defined, scopes = {}, {}, []
    position = start = 0
    while position < len(text):
        character = text[position]
        if character not in ";{}":
            position += 1
            continue
        statement = re.sub(r"\b(?:public|private|protected)\s*:(?!:)", "", text[start:position])
        if character == ";":
            function = function_in(statement, scopes)
            if function:
                declared.setdefault(function, text.count("\n", 0, position) + 1)
        elif character == "{" and statement.count("(") == statement.count(")"):
            scope = SCOPE.search(statement) if "enum" not in statement else None
            if scope:
                scopes.append(scope.group(2) or "(unnamed)")
            else:
                function = function_in(statement, scopes)
                if function:
                    defined.setdefault(function, text.count("\n", 0, position) + 1)
                position = skip_block(text, position)
        elif character == "}" and scopes and not statement.strip():
            scopes.pop()
        if character == ";" or (statement.count("(") == statement.count(")")):
            start = position + 1
        position += 1
    return declared, defined
