#pragma once

#include "protocol/Pushed.h"

#include <tvplatform/MessageBuffer.h>
#include <tvplatform/Tree.h>

#include <functional>
#include <string>

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
    virtual const std::string& ConnectionName() const = 0;
    /// Answers one call.
    /// \param[in]  methodId  the identifier of the call's header word
    /// \param[in]  oneWay    nobody waits for the reply
    /// \param[in]  request   the payload; taken as the bytes of anybody
    /// \param[out] reply     the answer's payload is appended; may be left empty when oneWay
    virtual EHandled Handle(short methodId, bool oneWay, TCMessageBuffer& request, TCMessageBuffer& reply) = 0;
};

/// Serves an interface from an object that implements it, or from functions given per operation.
template <class Interface>
class TSkeleton : public TISkeleton
{
public:
    /// \param[in] object  answers every operation that On has not taken over; outlives the skeleton
    explicit TSkeleton(Interface& object) : m_object(object) {}

    const std::string& ConnectionName() const override { return TTable<Interface>::ConnectionName(); }

    EHandled Handle(short methodId, bool oneWay, TCMessageBuffer& request, TCMessageBuffer& reply) override
    {
        EHandled handled = EHandled::UNKNOWN_METHOD;
        ForEachRow<Interface>(
            [&](const auto& row)
            {
                if (row.id == methodId && !row.isLocal)
                {
                    handled = m_Answer(row, oneWay, request, reply);
                }
            });
        return handled;
    }

    /// Lets a function answer an operation from now on; an empty one gives it back to the object.
    /// \return false when the operation is none that is ever sent
    template <class Result, class... Arguments>
    bool On(Result (Interface::*member)(Arguments...), std::type_identity_t<std::function<Result(Arguments...)>> answer)
    {
        using TMember = Result (Interface::*)(Arguments...);
        bool found = false;
        ForEachRow<Interface>(
            [&]<class Row>(const Row& row)
            {
                if constexpr (std::is_same_v<typename Row::Member, TMember>)
                {
                    if (Row::MEMBER == member && !row.isLocal)
                    {
                        std::get<TAnswer<Row>>(m_answers).function = std::move(answer);
                        found = true;
                    }
                }
            });
        return found;
    }

private:
    template <class Member>
    struct TFunctionOf;
    template <class Result, class... Arguments>
    struct TFunctionOf<Result (Interface::*)(Arguments...)>
    {
        using type = std::function<Result(Arguments...)>;
    };
    /// What answers a row in the object's place, if anything.
    template <class Row>
    struct TAnswer
    {
        typename TFunctionOf<typename Row::Member>::type function;
    };
    template <class... Rows>
    static std::tuple<TAnswer<Rows>...> m_AnswersTo(const std::tuple<Rows...>&);

    template <class Row>
    EHandled m_Answer(const Row& row, bool oneWay, TCMessageBuffer& request, TCMessageBuffer& reply)
    {
        TCTreeBranchList requestTree(&request);
        if (!requestTree.IsValid() || requestTree.GetTag() != static_cast<unsigned short>(row.id))
        {
            return EHandled::MALFORMED;
        }
        typename Row::Values values{};
        typename Row::Result result = Row::Seed(oneWay);
        if constexpr (Row::HAS_ONE_WAY)
        {
            std::get<Row::COUNT - 1>(values) = oneWay;
        }
        TCMarshallingHelperStub frame;
        TPushedResult<typename Row::Result> pushedResult(result);
        TPushedParameters<Row> parameters = std::make_from_tuple<TPushedParameters<Row>>(values);
        pushedResult.Push(frame);
        ForEachPushed<Row>(parameters, IsSent, [&](auto& pushed) { pushed.Push(frame); });
        if (!frame.TreeToClass(requestTree))
        {
            return EHandled::MALFORMED;
        }
        ForEachPushed<Row>(parameters, IsInput, [](auto& pushed) { pushed.Load(); });

        const auto& function = std::get<TAnswer<Row>>(m_answers).function;
        result = std::apply([&](auto&... arguments) -> typename Row::Result
                            { return function ? function(arguments...) : (m_object.*Row::MEMBER)(arguments...); },
                            values);
        if (oneWay)
        {
            return EHandled::ANSWERED;
        }

        pushedResult.Store();
        ForEachPushed<Row>(parameters, IsOutput, [](auto& pushed) { pushed.Store(); });
        TCTreeBranchList replyTree(row.id);
        replyTree.SetDataLifetime(TREE_DATA_OUTLIVES_TREE);
        frame.ClassToTree(replyTree);
        reply.Reserve(replyTree.GetNodeSize());
        replyTree.StoreInBuffer(reply);
        return EHandled::ANSWERED;
    }

    Interface& m_object;
    decltype(m_AnswersTo(TTable<Interface>::ROWS)) m_answers;
};
} // namespace CIM::protocol
