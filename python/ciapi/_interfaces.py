"""The nine interfaces, as objects with a method for each operation of the tables."""

from __future__ import annotations

import collections
import inspect
import re
from typing import Any, Callable, NamedTuple

from ciapi import _ciapi

GIVEN = ("in", "secret", "both")


class CallError(Exception):
    """A call that failed.

    ``operation`` names it ("ICIGeneral.EnterMenu"), ``outcome`` says what became of it. With ``ERROR_REPLY`` and
    ``NO_REPLY``, ``error_name`` is the D-Bus name of the error and ``error_text`` what it says.
    """

    def __init__(self, operation: str, outcome: Any, error_name: str, error_text: str, reason: str) -> None:
        super().__init__(f"{operation}: {reason}")
        self.operation = operation
        self.outcome = outcome
        self.error_name = error_name
        self.error_text = error_text


class NotOperableError(CallError):
    """CI cannot be used on this set: nobody was asked."""


class RefusedError(CallError):
    """The daemon answered, and the answer is no. ``result`` is what it answered."""

    result: Any = None


def check(operation: str, became: tuple[int, str, str]) -> Any:
    """Raises what became of a call, unless it was answered or sent. Gives the outcome."""
    __tracebackhide__ = True
    outcome = _ciapi.CallOutcome(became[0])
    if outcome in (_ciapi.CallOutcome.ANSWERED, _ciapi.CallOutcome.SENT):
        return outcome
    if outcome == _ciapi.CallOutcome.NONE:
        raise NotOperableError(operation, outcome, "", "", "CI cannot be used on this set")
    raise CallError(operation, outcome, became[1], became[2], _ciapi.describe_outcome(*became))


class Parameter(NamedTuple):
    name: str
    word: str
    given: str  # by Python, in an annotation
    taken: str


class Operation:
    """A row of a table."""

    def __init__(self, interface: int, row: int, described: tuple[Any, ...]) -> None:
        self._place = (interface, row)
        self.name: str = described[0]
        self.full_name: str = described[1]
        self.is_local: bool = described[2]
        self.result_type: str = described[3][0]
        parameters = described[4]
        self.parameters = [Parameter(name, word, *types) for name, word, types in parameters]
        self.outputs = [each for each in self.parameters if each.word in ("out", "both")]
        # What asks whether something is so answers with its result: false is an answer there, no refusal.
        self.is_question = self.name.startswith("is_") and not self.outputs
        self.outputs_class = self._make_outputs_class() if len(self.outputs) > 1 else None
        self.signature = self._make_signature()

    def _make_outputs_class(self) -> type:
        name = "".join(word.capitalize() for word in self.name.split("_")) + "Outputs"
        made = collections.namedtuple(name, [each.name for each in self.outputs])  # type: ignore[misc]
        made.__module__ = "ciapi"
        return made

    @property
    def returned(self) -> str:
        """What a call gives, as an annotation."""
        if self.outputs_class is not None:
            return self.outputs_class.__name__
        return self.outputs[0].given if self.outputs else "bool" if self.is_question else self.result_type

    def _make_signature(self) -> inspect.Signature:
        made = []
        for each in self.parameters:
            if each.word in GIVEN:
                kind = inspect.Parameter.POSITIONAL_OR_KEYWORD
                made.append(inspect.Parameter(each.name, kind, annotation=each.taken))
        for each in self.parameters:
            if each.word in ("one_way", "not_sent"):
                default = False if each.word == "one_way" else None
                made.append(
                    inspect.Parameter(
                        each.name, inspect.Parameter.KEYWORD_ONLY, default=default, annotation=each.taken
                    )
                )
        return inspect.Signature(made, return_annotation=self.returned)

    def __call__(self, *args: Any, **kwargs: Any) -> Any:
        __tracebackhide__ = True  # of pytest, which else shows the arguments, PINs among them
        bound = self.signature.bind(*args, **kwargs).arguments
        inputs = tuple(bound.get(each.name) for each in self.parameters)
        for each, value in zip(self.parameters, inputs):
            if each.word in GIVEN and value is None:
                raise TypeError(f"{each.name}: {each.taken} is needed, not None")
        result, outputs, is_refusal, became = _ciapi.invoke(*self._place, inputs)
        outcome = check(self.full_name, became)
        if outcome == _ciapi.CallOutcome.SENT:
            return result
        if self.is_question:
            return bool(result)
        if is_refusal:
            refused = RefusedError(self.full_name, outcome, "", "", f"refused ({result})")
            refused.result = result
            raise refused
        if self.outputs_class is not None:
            return self.outputs_class(*outputs)
        return outputs[0] if outputs else result


def _method(operation: Operation) -> Callable[..., Any]:
    def call(self: Any, *args: Any, **kwargs: Any) -> Any:
        __tracebackhide__ = True
        return operation(*args, **kwargs)

    call.__name__ = operation.name
    call.__doc__ = f"{operation.full_name}{operation.signature}".replace("'", "")
    call.__signature__ = operation.signature.replace(  # type: ignore[attr-defined]
        parameters=[
            inspect.Parameter("self", inspect.Parameter.POSITIONAL_OR_KEYWORD),
            *operation.signature.parameters.values(),
        ]
    )
    call.operation = operation  # type: ignore[attr-defined]
    return call


def short_name(interface: str) -> str:
    """ "ICIGeneral" -> "general", as cictl takes it, too."""
    words = re.sub(r"^I(CI)?", "", interface)
    return re.sub(r"(?<=[a-z])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])", "_", words).lower()


def _make_interface(place: int, name: str, rows: list[Any]) -> Any:
    operations = [Operation(place, row, described) for row, described in enumerate(rows)]
    members: dict[str, Any] = {operation.name: _method(operation) for operation in operations}
    members["__doc__"] = f"{name}: see include/ciapi/{name}.h for what each operation does."
    members["__module__"] = "ciapi"
    members["__slots__"] = ()
    members["__repr__"] = lambda self: f"<ciapi.{short_name(name)}>"
    return type(name, (), members)()


# The subscriber is what ciapi.Signals stands on.
INTERFACES: dict[str, Any] = {
    short_name(name): _make_interface(place, name, rows)
    for place, (name, rows) in enumerate(_ciapi.INTERFACES)
    if name != "ICISignalSubscriber"
}


def operations_of(interface: Any) -> list[Operation]:
    return [member.operation for member in vars(type(interface)).values() if hasattr(member, "operation")]


# The classes of several outputs.
OUTPUTS: dict[str, type] = {
    operation.outputs_class.__name__: operation.outputs_class
    for interface in INTERFACES.values()
    for operation in operations_of(interface)
    if operation.outputs_class is not None
}


def operation_name(operation: Any) -> str:
    """The full name of a method of an interface, or a name as it is."""
    name: str = operation if isinstance(operation, str) else operation.operation.full_name
    return name
