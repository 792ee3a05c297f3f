#include "Operations.h"

#include "simulator/daemon/Skeletons.h"

#include "protocol/Interfaces.h"

#include <stdexcept>

namespace CIM::test
{
namespace
{
struct TSKnown
{
    const json::TCOperationForm* form;
    void (*answer)(sim::TCSkeletons& skeletons, short id, void* function);
};

/// One function for all operations of a type: which of them is meant, the identifier says.
template <class Interface, class Member>
void AnswerOperation(sim::TCSkeletons& skeletons, short id, void* function)
{
    protocol::ForEachRow<Interface>(
        [&]<class Row>(const Row& row)
        {
            if constexpr (std::is_same_v<typename Row::Member, Member>)
            {
                if (row.id == id)
                {
                    using TFunction = typename detail::TMemberTraits<Member>::Function;
                    auto& skeleton = static_cast<protocol::TSkeleton<Interface>&>(
                        *skeletons.Find(protocol::TTable<Interface>::ConnectionName()));
                    skeleton.On(Row::MEMBER, std::move(*static_cast<TFunction*>(function)));
                }
            }
        });
}

template <class Interface>
void AddTo(std::map<TSMemberKey, TSKnown>& known)
{
    const json::TCInterfaceForm* const form = json::FindInterface(protocol::NameOf<Interface>());
    protocol::ForEachRow<Interface>(
        [&]<class Row>(const Row& row)
        {
            if (!row.isLocal)
            {
                known.emplace(KeyOf(Row::MEMBER),
                              TSKnown{form->Find(row.id), AnswerOperation<Interface, typename Row::Member>});
            }
        });
}

const TSKnown& Find(const TSMemberKey& member)
{
    static const std::map<TSMemberKey, TSKnown> known = []
    {
        std::map<TSMemberKey, TSKnown> all;
        protocol::ForEachInterface([&]<class Interface>(protocol::TType<Interface>) { AddTo<Interface>(all); });
        return all;
    }();
    const auto found = known.find(member);
    if (found == known.end())
    {
        throw std::invalid_argument("this operation is never sent to the daemon: the library answers it by itself");
    }
    return found->second;
}
} // namespace

const json::TCOperationForm& FindOperation(const TSMemberKey& member) { return *Find(member).form; }

void Answer(sim::TCSkeletons& skeletons, const TSMemberKey& member, void* function)
{
    const TSKnown& operation = Find(member);
    operation.answer(skeletons, operation.form->Id(), function);
}
} // namespace CIM::test
