#pragma once

#include <tvplatform/Export.h>
#include <tvplatform/Tree.h>

#include <cstddef>
#include <cstdint>
#include <vector>

class TIMarshalable;

/// Which way an argument of a call travels.
enum EMarshallingDirection : int
{
    MARSHALLING_DIRECTION_OUT = 0,    ///< written from the reply
    MARSHALLING_DIRECTION_IN = 1,     ///< sent with the call
    MARSHALLING_DIRECTION_IN_OUT = 2, ///< sent with the call and written from the reply
};

/// The arguments of one call, in the order of their pushes: the position is the tag in the argument tree, so that both
/// sides push the same list. It refers to the caller's variables and owns none. Bound to its thread.
class TVPLATFORM_EXPORT TCMarshallingHelper
{
public:
    virtual ~TCMarshallingHelper();

    /// Writes this side's outgoing arguments.
    /// \return false when an argument was pushed wrongly (see the pushes) or an object could not be written
    virtual bool ClassToTree(TCTreeBranch& branch) = 0;
    /// Fills this side's incoming arguments. An argument whose node is missing or does not fit keeps its value; the
    /// others are filled all the same.
    virtual bool TreeToClass(TCTreeBranch& branch) = 0;

    /// A plain value. A width other than 1, 2, 4 or 8 bytes, or a null address, makes ClassToTree fail.
    void PushValue(EMarshallingDirection direction, int width, void* address);
    /// An object that marshals itself. Null makes ClassToTree fail.
    void PushMarshalableClass(EMarshallingDirection direction, TIMarshalable* object);

    /// \return how many arguments were pushed
    std::size_t GetArgumentCount() const { return m_count; }

protected:
    /// What an argument without a fitting node means.
    enum EMissing
    {
        MISSING_KEEPS_VALUE, ///< it stays as it is
        MISSING_FAILS,       ///< so does the filling
    };

    TCMarshallingHelper();
    TCMarshallingHelper(const TCMarshallingHelper&) = delete;
    TCMarshallingHelper& operator=(const TCMarshallingHelper&) = delete;

    /// Writes, or fills, all arguments but those that travel one way only, the other way.
    bool t_Write(TCTreeBranch& branch, EMarshallingDirection leftOut);
    bool t_Fill(TCTreeBranch& branch, EMarshallingDirection leftOut, EMissing missing); ///< as above

private:
    struct TArgument
    {
        void* address;         // of a value
        TIMarshalable* object; // or an object
        std::uint8_t direction;
        std::uint8_t width;
    };
    static constexpr std::size_t INLINE_ARGUMENTS = 16;

    void Push(const TArgument& argument);
    const TArgument& At(std::size_t index) const
    {
        return index < INLINE_ARGUMENTS ? m_first[index] : m_more[index - INLINE_ARGUMENTS];
    }

    TArgument m_first[INLINE_ARGUMENTS];
    std::vector<TArgument> m_more;
    std::size_t m_count = 0;
    bool m_isSound = true;
};

/// The caller's side: in and in-out arguments go out, out and in-out ones come back.
class TVPLATFORM_EXPORT TCMarshallingHelperProxy : public TCMarshallingHelper
{
public:
    ~TCMarshallingHelperProxy() override;
    bool ClassToTree(TCTreeBranch& branch) override;
    /// \return false when a node did not fit its argument; a missing one is no failure
    bool TreeToClass(TCTreeBranch& branch) override;
};

/// The called side: in and in-out arguments come in, out and in-out ones go back.
class TVPLATFORM_EXPORT TCMarshallingHelperStub : public TCMarshallingHelper
{
public:
    ~TCMarshallingHelperStub() override;
    bool ClassToTree(TCTreeBranch& branch) override;
    /// \return false when an argument's node is missing or did not fit: the request is not one to answer
    bool TreeToClass(TCTreeBranch& branch) override;
};
