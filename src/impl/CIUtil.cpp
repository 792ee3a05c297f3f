#include "impl/CIUtil.h"

#include "utils/CIAPILog.h"

#include <ciapi/CINameLiterals.h>

#include <tvplatform/Sleep.h>
#include <tvplatform/SystemInfo.h>

namespace CIM
{
namespace
{
constexpr int READ_TRIES = 30;
constexpr unsigned int READ_INTERVAL_MS = 1000;

const char* Text(bool value) { return value ? "true" : "false"; }
} // namespace

int TCCIUtil::m_numCI = -1;
int TCCIUtil::m_isCISupportedByRegion = -1;

int TCCIUtil::GetSystemInfoNumCI()
{
    if (m_numCI == -1)
    {
        m_numCI = m_GetSystemInfoNumCI();
    }
    return m_numCI;
}

int TCCIUtil::m_GetSystemInfoNumCI()
{
    for (int attempt = 0; attempt < READ_TRIES; ++attempt)
    {
        int count = 0;
        const int error = system_info_get_custom_int(literals::CI_FMS_NUM_OF_CI, &count);
        if (error == 0)
        {
            CIM_LOG_INFO("Number of CI is %d", count);
            return count;
        }
        CIM_LOG_INFO("Get %s failed: error[%d] which try[%d]", literals::CI_FMS_NUM_OF_CI, error, attempt);
        tvplatform_sleep_ms(READ_INTERVAL_MS); // also after the last try
    }
    return 0;
}

bool TCCIUtil::IsCISupportedByRegion()
{
    CIM_LOG_INFO("");
    if (m_isCISupportedByRegion == -1)
    {
        m_isCISupportedByRegion = m_GetIsCISupportedByRegion() ? 1 : 0;
    }
    return m_isCISupportedByRegion == 1;
}

bool TCCIUtil::m_GetIsCISupportedByRegion()
{
    // What an earlier try managed to read still counts when the other key never could be.
    bool support = false;
    bool certification = false;
    for (int attempt = 0; attempt < READ_TRIES; ++attempt)
    {
        const int supportError = system_info_get_custom_bool(literals::CI_FMS_SUPPORT, &support);
        const int certificationError =
            system_info_get_custom_bool(literals::CI_FMS_SUPPORT_CERTIFICATION, &certification);
        if (supportError == 0 && certificationError == 0)
        {
            CIM_LOG_INFO("CI operable[%s] - Cert[%s]", Text(support), Text(certification));
            break;
        }
        // The code is the support key's, so it is 0 when only the certification could not be read.
        CIM_LOG_INFO("Get isCISupportedByRegion failed: error[%d] which try[%d]", supportError, attempt);
        tvplatform_sleep_ms(READ_INTERVAL_MS);
    }
    return support && certification;
}
} // namespace CIM
