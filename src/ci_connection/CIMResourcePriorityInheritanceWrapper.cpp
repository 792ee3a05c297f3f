#include "ci_connection/CIMResourcePriorityInheritanceWrapper.h"

#include "utils/CIAPILog.h"

#include <tvplatform/ResourceManager.h>

namespace CIM
{
namespace
{
constexpr const char* DAEMON = "ci-daemon";
constexpr int TIME_LIMIT_MS = 1999;
constexpr pid_t CALLING_THREAD = 0;
} // namespace

void TCCIMResourcePriorityInheritanceWrapper::StrartPriorityInheritance()
{
    if (!m_active)
    {
        CIM_LOG_INFO("[TCCIMIPCConnection::%s]  Activating inheritance", __func__);
        m_active = true;
        resource_set_cpu_inheritance(CALLING_THREAD, DAEMON, TIME_LIMIT_MS);
    }
}

void TCCIMResourcePriorityInheritanceWrapper::StopPriorityInheritance()
{
    if (m_active)
    {
        CIM_LOG_INFO("[TCCIMIPCConnection::%s]  Deactivating inheritance", __func__);
        m_active = false;
        resource_clear_cpu_inheritance(CALLING_THREAD, DAEMON);
    }
}
} // namespace CIM
