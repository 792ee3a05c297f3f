#include "proxy/CIAuxiliaryFileSystemProxy.h"

#include "protocol/AuxiliaryFileSystem.h"
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

int TCCIAuxiliaryFileSystemProxy::GetAllAvailableFileSystems(std::vector<TCCiAuxiliaryFileSystemDTO>& fileSystems)
{
    if (const auto reply = m_call(protocol::auxiliaryFileSystem::GetAllAvailableFileSystems, fileSystems))
    {
        return *reply;
    }
    return TCCIAuxiliaryFileSystemProxyNO_CI::GetAllAvailableFileSystems(fileSystems);
}

int TCCIAuxiliaryFileSystemProxy::RegisterApplication(unsigned short fileSystemId, unsigned char& applicationId)
{
    if (const auto reply = m_call(protocol::auxiliaryFileSystem::RegisterApplication, fileSystemId, applicationId))
    {
        return *reply;
    }
    return TCCIAuxiliaryFileSystemProxyNO_CI::RegisterApplication(fileSystemId, applicationId);
}

int TCCIAuxiliaryFileSystemProxy::UnregisterApplication(unsigned char applicationId, unsigned short fileSystemId)
{
    if (const auto reply = m_call(protocol::auxiliaryFileSystem::UnregisterApplication, applicationId, fileSystemId))
    {
        return *reply;
    }
    return TCCIAuxiliaryFileSystemProxyNO_CI::UnregisterApplication(applicationId, fileSystemId);
}

// Apart, so that nothing of a failed attempt is left on the stack when the next one begins.
__attribute__((noinline)) std::optional<int>
TCCIAuxiliaryFileSystemProxy::m_TryRequestFile(unsigned short fileSystemId, unsigned char applicationId,
                                               EFileRequestType requestType, std::vector<unsigned char> const& request)
{
    return m_call(protocol::auxiliaryFileSystem::RequestFile, fileSystemId, applicationId, requestType, request);
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

int TCCIAuxiliaryFileSystemProxy::GetFileAcknowledge(unsigned short fileSystemId, TCCiFileAckDTO& acknowledgement)
{
    if (const auto reply = m_call(protocol::auxiliaryFileSystem::GetFileAcknowledge, fileSystemId, acknowledgement))
    {
        return *reply;
    }
    return TCCIAuxiliaryFileSystemProxyNO_CI::GetFileAcknowledge(fileSystemId, acknowledgement);
}
} // namespace CIM
