#pragma once

#include <atomic>
#include <utility>

namespace CIM
{
/// Makes an object that lives until the process ends: for what a bus connection, which is never closed, may still touch
/// after its connection object ended. A list keeps it reachable, so that nobody takes it for a leak. Thread-safe.
template <class T, class... TArguments>
T* MakeImmortal(TArguments&&... arguments)
{
    struct SNode
    {
        explicit SNode(TArguments&&... values) : object(std::forward<TArguments>(values)...) {}
        T object;
        SNode* next = nullptr;
    };
    static std::atomic<SNode*> nodes{nullptr};

    auto* const node = new SNode(std::forward<TArguments>(arguments)...);
    node->next = nodes.load();
    while (!nodes.compare_exchange_weak(node->next, node))
    {
    }
    return &node->object;
}
} // namespace CIM
