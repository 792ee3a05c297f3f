#pragma once

#include <tvplatform/Marshalable.h>

#include <memory>

/// Which way an argument of a call travels.
enum EMarshallingDirection : int
{
    MARSHALLING_DIRECTION_OUT = 0,    ///< written from the reply
    MARSHALLING_DIRECTION_IN = 1,     ///< sent with the call
    MARSHALLING_DIRECTION_IN_OUT = 2, ///< sent with the call and written from the reply
};

/// The caller's side of the arguments of one call, in the order of their pushes: the position, from 0, is the tag in
/// the argument tree. It refers to the caller's variables and owns none. Bound to its thread.
class TCMarshallingHelperProxy
{
public:
    TCMarshallingHelperProxy();
    virtual ~TCMarshallingHelperProxy();

    /// A plain value of 1, 2, 4 or 8 bytes; another width, or a null address, makes ClassToTree fail.
    void PushValue(EMarshallingDirection direction, int width, void* address);
    /// An object that marshals itself; null makes ClassToTree fail.
    void PushMarshalableClass(EMarshallingDirection direction, TIMarshalable* object);

    /// Writes what is sent. \return false when an argument was pushed wrongly or an object could not be written
    bool ClassToTree(TCTreeBranch& branch);
    /// Fills what comes back. An argument whose node is missing or does not fit keeps its value; the others are filled
    /// all the same. \return false when a node did not fit; a missing one is no failure
    bool TreeToClass(TCTreeBranch& branch);

private:
    struct TArguments;
    std::unique_ptr<TArguments> m_arguments;
};
