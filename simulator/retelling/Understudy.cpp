#include "Understudy.h"

#include "simulator/control/Controls.h"
#include "simulator/model/Subscriber.h"

#include <tvplatform/MessageBuffer.h>

#include <algorithm>

namespace CIM::sim
{
using json::TJson;

TCUnderstudy::TCUnderstudy(const TSSetDefinition& set) : m_model(set, 1), m_skeletons(m_model, m_model.Subscriptions())
{
    m_model.SetSignalSink([this](const TSSignal& signal) { m_raised.push_back(signal); });
}

TSOutcome TCUnderstudy::Do(const std::string& control, const TJson& arguments)
{
    return RunControl(m_model, control, arguments);
}

TSSpoken TCUnderstudy::Call(const TSRecordedCall& call, bool isRight)
{
    return m_Ask(*call.operation, m_Payload(call, isRight), call.isOneWay);
}

std::string TCUnderstudy::m_Payload(const TSRecordedCall& call, bool isRight)
{
    const std::string_view bytes = call.Payload();
    if (!call.operation->HasSecrets())
    {
        return std::string(bytes);
    }
    TJson arguments = call.operation->RequestToJson(bytes).json;
    const auto slot = arguments.value("slot", 0U);
    const TSSlot* const found = Slot(slot);
    std::string digits = found != nullptr ? found->cam.pin.digits : std::string();
    if (!isRight)
    {
        digits = std::string(digits.size(), digits.find_first_not_of('9') == digits.npos ? '0' : '9');
    }
    for (const json::TSParameter& parameter : call.operation->Parameters())
    {
        if (parameter.IsSecret())
        {
            const bool isText = parameter.type->kind == json::EKind::TEXT;
            arguments[parameter.name] = isText ? TJson(digits) : TJson({{"text", digits}});
        }
    }
    return call.operation->RequestFromJson(arguments);
}

TSSpoken TCUnderstudy::m_Ask(const json::TCOperationForm& operation, const std::string& payload, bool isOneWay)
{
    TSSpoken spoken;
    const json::TCInterfaceForm* const interface = json::FindInterface(operation.InterfaceName());
    protocol::TISkeleton* const skeleton = m_skeletons.Find(interface->ConnectionName());
    TCMessageBuffer request;
    TCMessageBuffer reply;
    request.PushBorrowed(payload.size(), payload.data());
    if (skeleton == nullptr ||
        skeleton->Handle(operation.Id(), isOneWay, request, reply) != protocol::EHandled::ANSWERED)
    {
        return spoken;
    }
    spoken.TakeReply(operation, {reply.GetAsCStr(0), reply.GetUnreadSize()});
    return spoken;
}

bool TCUnderstudy::Raises(const TSSignal& signal, TTime soon)
{
    const TTime until = Now() + soon;
    for (;;)
    {
        const auto found = std::find_if(m_raised.begin(), m_raised.end(),
                                        [&](const TSSignal& raised) { return IsSame(raised, signal); });
        if (found != m_raised.end())
        {
            m_raised.erase(found);
            return true;
        }
        const auto next = m_model.NextEventAt();
        if (!next || *next > until)
        {
            return false;
        }
        AdvanceTo(*next);
    }
}

std::map<ECISignalType, unsigned> TCUnderstudy::Unasked() const
{
    std::map<ECISignalType, unsigned> counts;
    for (const TSSignal& signal : m_raised)
    {
        ++counts[signal.type];
    }
    return counts;
}

bool TCUnderstudy::Shows(const TSSeenPage& seen)
{
    const std::string operation = seen.Operation();
    if (operation.empty())
    {
        return true;
    }
    const json::TCInterfaceForm* const interface = json::FindInterface("ICIGeneral");
    const json::TCOperationForm* const read =
        interface->Find(std::string_view(operation).substr(interface->Name().size() + 1));
    const TSSpoken spoken = m_Ask(*read, read->RequestFromJson({{"slot", seen.slot}}), false);
    return spoken.result == 1 && (!seen.isRead || seen.IsLike(seen.PageFrom(spoken)));
}
} // namespace CIM::sim
