"""What the compiled part makes its classes with."""

import dataclasses
import enum
from typing import Any, Iterable, Optional


class Enumeration(enum.IntEnum):
    """A value without a name is legal: what it means is the daemon's."""

    @classmethod
    def _missing_(cls, value: object) -> Optional["Enumeration"]:
        if not isinstance(value, int):
            return None
        member = int.__new__(cls, value)
        member._name_ = str(value)
        member._value_ = value
        return member

    def __str__(self) -> str:
        return self.name


def make_enumeration(name: str, members: Iterable[tuple[str, int]]) -> Any:
    make: Any = Enumeration
    return make(name, members, module="ciapi")


def make_record(name: str, fields: Iterable[tuple[str, Any, Any]]) -> Any:
    def default(initial: Any) -> Any:
        if isinstance(initial, (list, dict)):
            return dataclasses.field(default_factory=initial.copy)
        return dataclasses.field(default=initial)

    made = dataclasses.make_dataclass(
        name, [(field, annotation, default(initial)) for field, annotation, initial in fields], frozen=True
    )
    made.__module__ = "ciapi"
    return made
