#pragma once

#include "marshalling/MarshalableOneDimensionContainer.h"
#include "marshalling/MarshalableSetContainer.h"

#include <tvplatform/Formatter.h>

// What the value types share: each has one list of pushes, t_PushTree, which serves writing and reading, so that the
// two cannot drift apart.

#define CIM_DEFINE_TREE_OPERATIONS(T)                                                                                  \
    bool T::ClassToTree(TCTreeBranch& branch)                                                                          \
    {                                                                                                                  \
        TCClassToTreeFormatter formatter(branch);                                                                      \
        t_PushTree(formatter);                                                                                         \
        return formatter.Extract();                                                                                    \
    }                                                                                                                  \
    bool T::TreeToClass(TCTreeBranch& branch)                                                                          \
    {                                                                                                                  \
        TCTreeToClassFormatter formatter(branch);                                                                      \
        t_PushTree(formatter);                                                                                         \
        return formatter.FillOut();                                                                                    \
    }

namespace CIM
{
/// A plain value, with its width as type code.
template <class T>
void PushPlain(TCTreeFormatter& formatter, unsigned tag, T& value)
{
    static_assert(sizeof(T) == 1 || sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8);
    formatter.PushValue(tag, sizeof(T), &value);
}

/// A flag: any byte but 0 counts as true, whatever a peer sent. Writing changes nothing, so that objects can be shared.
inline void PushFlag(TCTreeFormatter& formatter, unsigned tag, bool& flag)
{
    unsigned char byte = flag ? 1 : 0;
    PushPlain(formatter, tag, byte);
    if (flag != (byte != 0))
    {
        flag = !flag;
    }
}

/// A sequence: one packed leaf of plain elements, or a node for each object.
template <class Container>
void PushSequence(TCTreeFormatter& formatter, unsigned tag, Container& container)
{
    TCMarshalableOneDimensionContainer<Container, typename Container::value_type> adapter(&container);
    formatter.PushMarshalableClass(tag, &adapter);
}

/// A set: a node for each element.
template <class Set>
void PushSet(TCTreeFormatter& formatter, unsigned tag, Set& set)
{
    TCMarshalableSetContainer<Set, typename Set::value_type> adapter(&set);
    formatter.PushMarshalableClass(tag, &adapter);
}
} // namespace CIM
