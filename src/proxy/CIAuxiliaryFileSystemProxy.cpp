#include "proxy/CIAuxiliaryFileSystemProxy.h"

#include "proxy/MakeProxy.h"
#include "utils/CIAPILog.h"

#include <utility>

// A call in tail position that takes no stack, whatever the build's optimisation.
#if defined(__clang__)
#define CIM_TAIL_CALLING
#define CIM_TAIL_CALL [[clang::musttail]]
#else
#define CIM_TAIL_CALLING __attribute__((optimize("O2"), no_sanitize("address", "undefined", "thread")))
#define CIM_TAIL_CALL
#endif

namespace CIM
{
TCCIAuxiliaryFileSystemProxy::TCCIAuxiliaryFileSystemProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<ICIAuxiliaryFileSystem>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCCIAuxiliaryFileSystemProxy", 45, "");
    m_call.WaitForInterface();
}

TCCIAuxiliaryFileSystemProxy::~TCCIAuxiliaryFileSystemProxy()
{
    CIM_LOG_INFO_AT("~TCCIAuxiliaryFileSystemProxy", 53, "");
}

// Apart, so that nothing of a failed attempt is left on the stack when the next one begins.
__attribute__((noinline)) TAnswer<int>
TCCIAuxiliaryFileSystemProxy::m_TryRequestFile(unsigned short fileSystemId, unsigned char applicationId,
                                               EFileRequestType requestType, std::vector<unsigned char> const& request)
{
    return m_call.Do<&ICIAuxiliaryFileSystem::RequestFile>(fileSystemId, applicationId, requestType, request);
}

// A file request does not fail: it repeats itself until it gets through. As a tail call, in every kind of build,
// because a daemon that stays away must not use up the stack.
CIM_TAIL_CALLING int TCCIAuxiliaryFileSystemProxy::RequestFile(unsigned short fileSystemId, unsigned char applicationId,
                                                               EFileRequestType requestType,
                                                               std::vector<unsigned char> const& request)
{
    if (const auto reply = m_TryRequestFile(fileSystemId, applicationId, requestType, request))
    {
        return *reply;
    }
    CIM_TAIL_CALL return TCCIAuxiliaryFileSystemProxy::RequestFile(fileSystemId, applicationId, requestType, request);
}

template <>
std::unique_ptr<ICIAuxiliaryFileSystem> MakeProxy(boost::shared_ptr<TIIPCHelper> helper)
{
    return std::make_unique<TCCIAuxiliaryFileSystemProxy>(std::move(helper));
}
} // namespace CIM
