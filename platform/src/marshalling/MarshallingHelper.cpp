#include <tvplatform/Formatter.h>
#include <tvplatform/Marshalable.h>
#include <tvplatform/MarshallingHelper.h>

TCMarshallingHelper::TCMarshallingHelper() = default;
TCMarshallingHelper::~TCMarshallingHelper() = default;

void TCMarshallingHelper::Push(const TArgument& argument)
{
    if (m_count < INLINE_ARGUMENTS)
    {
        m_first[m_count] = argument;
    }
    else
    {
        m_more.push_back(argument);
    }
    ++m_count;
}

void TCMarshallingHelper::PushValue(EMarshallingDirection direction, int width, void* address)
{
    m_isSound &= (width == 1 || width == 2 || width == 4 || width == 8) && address;
    Push({address, nullptr, static_cast<std::uint8_t>(direction), static_cast<std::uint8_t>(width)});
}

void TCMarshallingHelper::PushMarshalableClass(EMarshallingDirection direction, TIMarshalable* object)
{
    m_isSound &= object != nullptr;
    Push({nullptr, object, static_cast<std::uint8_t>(direction), 0});
}

bool TCMarshallingHelper::t_Write(TCTreeBranch& branch, EMarshallingDirection leftOut)
{
    TCClassToTreeFormatter formatter(branch);
    bool isSound = m_isSound;
    for (std::size_t index = 0; isSound && index < m_count; ++index)
    {
        const TArgument& argument = At(index);
        const auto tag = static_cast<unsigned>(index);
        if (argument.direction != leftOut)
        {
            isSound = argument.object ? formatter.PushMarshalableClass(tag, argument.object)
                                      : formatter.PushValue(tag, argument.width, argument.address);
        }
    }
    return isSound;
}

bool TCMarshallingHelper::t_Fill(TCTreeBranch& branch, EMarshallingDirection leftOut, EMissing missing)
{
    TCTreeToClassFormatter formatter(branch);
    bool isSound = m_isSound;
    for (std::size_t index = 0; index < m_count; ++index)
    {
        const TArgument& argument = At(index);
        const auto tag = static_cast<unsigned>(index);
        if (argument.direction == leftOut)
        {
            continue;
        }
        isSound &= argument.object ? formatter.PushMarshalableClass(tag, argument.object)
                                   : formatter.PushValue(tag, argument.width, argument.address);
        isSound &= missing == MISSING_KEEPS_VALUE || formatter.FindNode(tag) != nullptr;
    }
    return isSound;
}

TCMarshallingHelperProxy::~TCMarshallingHelperProxy() = default;

bool TCMarshallingHelperProxy::ClassToTree(TCTreeBranch& branch) { return t_Write(branch, MARSHALLING_DIRECTION_OUT); }

bool TCMarshallingHelperProxy::TreeToClass(TCTreeBranch& branch)
{
    return t_Fill(branch, MARSHALLING_DIRECTION_IN, MISSING_KEEPS_VALUE);
}

TCMarshallingHelperStub::~TCMarshallingHelperStub() = default;

bool TCMarshallingHelperStub::ClassToTree(TCTreeBranch& branch) { return t_Write(branch, MARSHALLING_DIRECTION_IN); }

bool TCMarshallingHelperStub::TreeToClass(TCTreeBranch& branch)
{
    return t_Fill(branch, MARSHALLING_DIRECTION_OUT, MISSING_FAILS);
}
