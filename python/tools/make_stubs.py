"""Prints the stub of the package, ciapi/__init__.pyi, from what the compiled part has of the tables.

    PYTHONPATH=... make_stubs.py > __init__.pyi
"""

import ciapi
from ciapi import _ciapi, _interfaces

HEAD = '''"""Generated from the tables of libciapi."""

import dataclasses
import enum
from typing import Iterable, Mapping, NamedTuple, Optional, Union

from ciapi import _ciapi as _ciapi
from ciapi import sim as sim
from ciapi._interfaces import CallError as CallError
from ciapi._interfaces import NotOperableError as NotOperableError
from ciapi._interfaces import RefusedError as RefusedError
from ciapi._signals import Signal as Signal
from ciapi._signals import Signals as Signals
from ciapi._signals import application_runs_loop as application_runs_loop

_Buffer = Union[bytes, bytearray, memoryview]
'''


def enumeration(name, members):
    yield f"\nclass {name}(enum.IntEnum):"
    yield from (f"    {member} = {value}" for member, value in members)


def record(name, fields):
    yield "\n@dataclasses.dataclass(frozen=True)"
    yield f"class {name}:"
    yield from (f"    {field}: {given} = ..." for field, given, _ in fields)


def outputs(operation):
    yield f"\nclass {operation.outputs_class.__name__}(NamedTuple):"
    yield from (f"    {each.name}: {each.given}" for each in operation.outputs)


def method(operation):
    parameters = [f"{each.name}: {each.taken}" for each in operation.parameters if each.word in _interfaces.GIVEN]
    keywords = [
        f"{each.name}: bool = ..." if each.word == "one_way" else f"{each.name}: Optional[{each.taken}] = ..."
        for each in operation.parameters
        if each.word in ("one_way", "not_sent")
    ]
    if keywords:
        keywords.insert(0, "*")
    yield f"    def {operation.name}({', '.join(['self', *parameters, *keywords])}) -> {operation.returned}: ..."


def interface(name, class_name, operations):
    yield f"\nclass {class_name}:"
    for operation in operations:
        yield from method(operation)
    yield f"\n{name}: {class_name}"


def stub():
    yield HEAD
    classes = _ciapi.describe_classes()
    for name, members in classes["enumerations"]:
        yield from enumeration(name, members)
    for name, fields in classes["records"]:
        yield from record(name, fields)
    for name, each in _interfaces.INTERFACES.items():
        operations = _interfaces.operations_of(each)
        for operation in operations:
            if operation.outputs_class is not None:
                yield from outputs(operation)
        yield from interface(name, type(each).__name__, operations)


print("\n".join(stub()))
