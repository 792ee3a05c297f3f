"""Every row of the tables, held against what others say of them: cictl's list, and what the daemon receives."""

import dataclasses
import enum
import json
import re
import subprocess

import pytest

import ciapi
from ciapi import _interfaces

OPERATIONS = [each for name in _interfaces.INTERFACES for each in _interfaces.operations_of(getattr(ciapi, name))]
SENT = [each for each in OPERATIONS if not each.is_local]


def test_the_operations_are_those_that_cictl_lists():
    listed = subprocess.run(["cictl", "list", "--json"], capture_output=True, text=True, check=True).stdout
    rows = {row["operation"]: row for row in map(json.loads, listed.splitlines())}
    made = {each.full_name: each for each in OPERATIONS}
    assert set(made) == {name for name in rows if not name.startswith("ICISignalSubscriber.")}
    for name, operation in made.items():
        names = [parameter["name"].lower() for parameter in rows[name]["parameters"]]
        assert [each.name.replace("_", "") for each in operation.parameters] == names, name
    assert len({each.full_name.split(".")[0] + each.name for each in OPERATIONS}) == len(OPERATIONS)


@pytest.mark.parametrize("operation", SENT, ids=lambda each: each.full_name)
def test_what_is_given_arrives(ci_sim, operation):
    given = {each.name: _value(each.taken) for each in operation.parameters if each.word in _interfaces.GIVEN}
    try:
        operation(**given)
    except ciapi.RefusedError:
        pass
    (call,) = ci_sim.calls.of(operation.full_name)
    assert call.outcome != "undecodable"
    secrets = {each.name for each in operation.parameters if each.word == "secret"}
    expected = {_plain(name): "***" if name in secrets else _json(value) for name, value in given.items()}
    assert {_plain(name): _plain_names(value) for name, value in call.arguments.items()} == expected


def _value(annotation):
    """A value that is not what a new one would be."""
    if match := re.fullmatch(r"Iterable\[(.*)\]", annotation):
        return [_value(match[1])]
    if match := re.fullmatch(r"Mapping\[(\w+), (.*)\]", annotation):
        return {_value(match[1]): _value(match[2])}
    if re.fullmatch(r"list\[.*\]", annotation):
        return [_value(annotation[5:-1])]
    simple = {"int": 2, "bool": True, "str": "/4711", "bytes": b"\x01\x02", "_Buffer": b"\x01\x02"}
    if annotation in simple:
        return simple[annotation]
    made = getattr(ciapi, annotation)
    if issubclass(made, enum.Enum):
        return list(made)[-1]
    return made(**{field.name: _value(field.type) for field in dataclasses.fields(made)})


def _json(value):
    if isinstance(value, enum.Enum):
        return value.name
    if isinstance(value, bytes):
        return value.hex()
    if isinstance(value, list):
        return [_json(each) for each in value]
    if dataclasses.is_dataclass(value):
        return {_plain(each.name): _json(getattr(value, each.name)) for each in dataclasses.fields(value)}
    return value


def _plain(name):
    return name.replace("_", "").lower()


def _plain_names(value):
    if isinstance(value, list):
        return [_plain_names(each) for each in value]
    return {_plain(key): _plain_names(each) for key, each in value.items()} if isinstance(value, dict) else value
