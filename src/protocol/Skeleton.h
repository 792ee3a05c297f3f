#pragma once

#include "protocol/RowCode.h"

#include <tvplatform/MessageBuffer.h>
#include <tvplatform/Tree.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <vector>

// The daemon side of the tables: decodes a request, calls an object that implements the interface, encodes the reply.

namespace CIM::protocol
{
enum class EHandled
{
    ANSWERED,       ///< called; the reply holds its outputs
    UNKNOWN_METHOD, ///< the interface has no operation of that identifier that is ever sent
    MALFORMED,      ///< the request is not this operation's arguments; nothing was called
};

/// One interface of the daemon, whichever it is. Bound to its thread.
class TISkeleton
{
public:
    virtual ~TISkeleton() = default;

    /// The bus name and D-Bus interface under which the operations are called.
    virtual const char* ConnectionName() const = 0;
    /// Answers one call.
    /// \param[in]  methodId  the identifier of the call's header word
    /// \param[in]  oneWay    nobody waits for the reply
    /// \param[in]  request   the payload; taken as the bytes of anybody
    /// \param[out] reply     the answer's payload is appended; may be left empty when oneWay
    virtual EHandled Handle(short methodId, bool oneWay, TCMessageBuffer& request, TCMessageBuffer& reply) = 0;
};

/// Answers a call of a row.
/// \param[in] call  gets the addresses of the result and of the values
inline EHandled Serve(const SRowCode& row, bool oneWay, TCMessageBuffer& request, TCMessageBuffer& reply,
                      const std::function<void(void* result, void* const* values)>& call)
{
    TCTreeBranchList requestTree(&request);
    if (!requestTree.IsValid() || requestTree.GetTag() != static_cast<unsigned short>(row.id))
    {
        return EHandled::MALFORMED;
    }
    const std::unique_ptr<TIPushedValue> result = row.newResult();
    std::vector<std::unique_ptr<TIPushedValue>> values;
    std::vector<void*> addresses;
    TCMarshallingHelperStub frame;
    result->Push(frame);
    for (const SRowCode::TNewValue newValue : row.newValues)
    {
        values.push_back(newValue());
        addresses.push_back(values.back()->Address());
        values.back()->Push(frame);
    }
    if (row.hasOneWay)
    {
        *static_cast<bool*>(addresses.back()) = oneWay;
    }
    if (!frame.TreeToClass(requestTree))
    {
        return EHandled::MALFORMED;
    }
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        if (IsInput(row.words[i]))
        {
            values[i]->Load();
        }
    }
    call(result->Address(), addresses.data());
    if (oneWay)
    {
        return EHandled::ANSWERED;
    }

    result->Store();
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        if (IsOutput(row.words[i]))
        {
            values[i]->Store();
        }
    }
    TCTreeBranchList replyTree(row.id);
    replyTree.SetDataLifetime(TREE_DATA_OUTLIVES_TREE);
    frame.ClassToTree(replyTree);
    reply.Reserve(replyTree.GetNodeSize());
    replyTree.StoreInBuffer(reply);
    return EHandled::ANSWERED;
}

/// Serves an interface from an object that implements it, or from functions given per operation.
template <class Interface>
class TSkeleton : public TISkeleton
{
public:
    /// \param[in] object  answers every operation that On has not taken over; outlives the skeleton
    explicit TSkeleton(Interface& object) : m_object(object) {}

    const char* ConnectionName() const override { return TTable<Interface>::ConnectionName(); }

    EHandled Handle(short methodId, bool oneWay, TCMessageBuffer& request, TCMessageBuffer& reply) override
    {
        const auto rows = RowCodes<Interface>();
        const auto row = std::find_if(rows.begin(), rows.end(),
                                      [&](const SRowCode& code) { return code.id == methodId && !code.isLocal; });
        if (row == rows.end())
        {
            return EHandled::UNKNOWN_METHOD;
        }
        const auto answer = m_answers.find(methodId);
        return Serve(*row, oneWay, request, reply,
                     [&](void* result, void* const* values) {
                         answer != m_answers.end() ? answer->second(result, values)
                                                   : row->call(&m_object, result, values);
                     });
    }

    /// Lets a function answer an operation from now on; an empty one gives it back to the object.
    /// \return false when the operation is none that is ever sent
    template <class Result, class... Arguments>
    bool On(Result (Interface::*member)(Arguments...), std::type_identity_t<std::function<Result(Arguments...)>> answer)
    {
        using TMember = Result (Interface::*)(Arguments...);
        short id = 0;
        bool found = false;
        ForEachRow<Interface>(
            [&]<class Row>(const Row& row)
            {
                if constexpr (std::is_same_v<typename Row::Member, TMember>)
                {
                    if (Row::MEMBER == member && !row.isLocal)
                    {
                        id = row.id;
                        found = true;
                    }
                }
            });
        m_answers.erase(id);
        if (found && answer)
        {
            m_answers[id] = [answer = std::move(answer)](void* result, [[maybe_unused]] void* const* values)
            {
                [&]<std::size_t... Indices>(std::index_sequence<Indices...>)
                {
                    *static_cast<Result*>(result) =
                        answer(*static_cast<std::remove_cvref_t<Arguments>*>(values[Indices])...);
                }
                (std::index_sequence_for<Arguments...>{});
            };
        }
        return found;
    }

private:
    Interface& m_object;
    /// By identifier; given the addresses of the result and of the values.
    std::map<short, std::function<void(void* result, void* const* values)>> m_answers;
};
} // namespace CIM::protocol
