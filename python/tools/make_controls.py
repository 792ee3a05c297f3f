"""Writes the methods for the simulator's controls, ciapi/_controls.py, from its table.

    make_controls.py CONTROLS.json > _controls.py
"""

import json
import re
import sys

HEAD = '''"""What can be done to the simulated set. Generated from the simulator's table of controls."""

from typing import Any, Optional


class Controls:
    """The simulator's controls, each as a method."""

    def ask(self, verb: str, *arguments: Any) -> str:
        raise NotImplementedError
'''

TYPES = [(r"u?int\d+", "int"), (r"bool", "bool"), (r"text", "str"), (r"(\d+ )?bytes", "bytes")]


def snake(name):
    return re.sub(r"(?<=[a-z0-9])(?=[A-Z])", "_", name).lower()


def annotation(text):
    return next((python for pattern, python in TYPES if re.fullmatch(pattern, text)), "Any")


def method(control):
    parameters = control["parameters"]
    declared = ["self"]
    for place, parameter in enumerate(parameters):
        # Those that may be left out stand at the end.
        is_needed = any(each["needed"] for each in parameters[place:])
        kind = annotation(parameter["type"])
        optional = kind if kind == "Any" else f"Optional[{kind}]"
        declared.append(f"{snake(parameter['name'])}: {kind if is_needed else optional + ' = None'}")
    yield f"\n    def {snake(control['verb'])}({', '.join(declared)}) -> None:"
    help = [f"{snake(each['name'])}: {each['help']} ({each['type']})" for each in parameters]
    text = control["help"][0].upper() + control["help"][1:] + "."
    if help:
        yield f'        """{text}\n'
        yield from (f"        {line}" for line in help)
        yield '        """'
    else:
        yield f'        """{text}"""'
    given = ", ".join([f'"{control["verb"]}"', *(snake(each["name"]) for each in parameters)])
    yield f"        self.ask({given})"


with open(sys.argv[1], encoding="utf-8") as file:
    controls = json.load(file)
print(HEAD + "\n".join(line for control in controls for line in method(control)))
