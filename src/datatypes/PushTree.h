#pragma once

#include "protocol/ValueMembers.h"

#include <tvplatform/Formatter.h>

// What the value types share: each has one list of members, which serves writing and reading, so that the two cannot
// drift apart.

#define CIM_DEFINE_TREE_WRITING(T)                                                                                     \
    void T::t_PushTree(TCTreeFormatter& formatter) { ::CIM::protocol::PushMembers(formatter, *this); }                 \
    bool T::ClassToTree(TCTreeBranch& branch)                                                                          \
    {                                                                                                                  \
        TCClassToTreeFormatter formatter(branch);                                                                      \
        t_PushTree(formatter);                                                                                         \
        return formatter.Extract();                                                                                    \
    }
#define CIM_DEFINE_TREE_READING(T)                                                                                     \
    bool T::TreeToClass(TCTreeBranch& branch)                                                                          \
    {                                                                                                                  \
        TCTreeToClassFormatter formatter(branch);                                                                      \
        t_PushTree(formatter);                                                                                         \
        return formatter.FillOut();                                                                                    \
    }
#define CIM_DEFINE_TREE_OPERATIONS(T) CIM_DEFINE_TREE_WRITING(T) CIM_DEFINE_TREE_READING(T)
