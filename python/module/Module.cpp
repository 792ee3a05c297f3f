#include "Operations.h"
#include "Signals.h"
#include "Simulator.h"
#include "WithoutLock.h"

#include "protocol/SignalRows.h"

#include <ciapi/CICallOutcome.h>
#include <ciapi/CIDiagnostics.h>

#include <pybind11/stl.h>

// The compiled part of the package; ciapi/*.py make of it what applications see.

namespace CIM::python
{
namespace
{
constexpr protocol::SWord OUTCOMES[] = {
    {CALL_OUTCOME_NONE, "NONE"},
    {CALL_OUTCOME_ANSWERED, "ANSWERED"},
    {CALL_OUTCOME_SENT, "SENT"},
    {CALL_OUTCOME_NOT_READY, "NOT_READY"},
    {CALL_OUTCOME_NOT_SENT, "NOT_SENT"},
    {CALL_OUTCOME_NO_REPLY, "NO_REPLY"},
    {CALL_OUTCOME_ERROR_REPLY, "ERROR_REPLY"},
    {CALL_OUTCOME_REFUSED, "REFUSED"},
    {CALL_OUTCOME_NOT_READABLE, "NOT_READABLE"},
};
constexpr protocol::SWords OUTCOME_WORDS{"CallOutcome", OUTCOMES, true};

/// The classes of all that operations and signals carry.
void MakeClasses()
{
    EnumerationClass(OUTCOME_WORDS);
    for (const protocol::SSignalRow& row : protocol::SIGNAL_ROWS)
    {
        if (row.code.words != nullptr)
        {
            EnumerationClass(*row.code.words);
        }
        for (const protocol::SSignalNumber& number : row.numbers)
        {
            if (number.words != nullptr)
            {
                EnumerationClass(*number.words);
            }
        }
    }
}
} // namespace
} // namespace CIM::python

PYBIND11_MODULE(_ciapi, module)
{
    using namespace CIM::python;
    MakeClasses();
    module.attr("INTERFACES") = DescribeInterfaces(); // which makes the other classes
    AddClasses(module);
    module.def("describe_classes", &DescribeClasses);
    module.def("invoke", &Invoke);
    module.def("describe_outcome",
               [](int outcome, const std::string& name, const std::string& text) {
                   return CIM::ToString(CIM::TSCallOutcome{CIM::ECallOutcome(outcome), name, text});
               });
    module.def("has_been_used", &CIM::HasBeenUsed);
    module.def("dropped_signals", [] { return CIM::DroppedSignals() + SignalsNotTaken(); });
    module.def("start_loop", &StartLoop);
    module.def("stop_loop", &StopLoop);
    module.def("subscribe", &Subscribe);
    module.def("unsubscribe", &Unsubscribe);
    module.def("next_signal", &NextSignal);
    module.def("end_signals", &EndSignals);
    module.def("describe_signal", &DescribeSignal);
    module.def("start_bus",
               []
               {
                   const TCWithoutLock withoutLock;
                   return StartBus();
               });
    module.def("end_bus",
               []
               {
                   const TCWithoutLock withoutLock;
                   EndBus();
               });
    module.def("write_keys", &WriteKeys);
    module.def("ask",
               [](const std::string& verb, const std::vector<std::string>& arguments)
               {
                   const TCWithoutLock withoutLock;
                   return Ask(verb, arguments);
               });
}
