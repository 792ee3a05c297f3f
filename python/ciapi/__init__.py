"""The DVB Common Interface slots of a Linux TV: the nine interfaces of libciapi, its signals, and a simulated set."""

from ciapi import _ciapi, sim
from ciapi._interfaces import INTERFACES, OUTPUTS, CallError, NotOperableError, RefusedError
from ciapi._signals import Signal, Signals, application_runs_loop

globals().update(INTERFACES)
globals().update({type(_each).__name__: type(_each) for _each in INTERFACES.values()})
globals().update(OUTPUTS)
globals().update({_name: _class for _name, _class in vars(_ciapi).items() if isinstance(_class, type)})
