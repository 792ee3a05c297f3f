#pragma once

#include <ciapi/CIEnumerations.h>
#include <ciapi/Export.h>

#include <tvplatform/Marshalable.h>

#include <vector>

class TCTreeFormatter;

namespace CIM
{
// clang-format off
#define CIAPI_VALUES_ECIAuxiliaryFileSystemDomainIds(X) \
    X(1, DOMAIN_IDS_UKMHEGP1)                           \
    X(2, DOMAIN_IDS_CIMHEGP1)                           \
    X(3, DOMAIN_IDS_HbbTVEngineProfile1)
/// The application domain that a file system serves. ToString of a value without a name gives
/// "ECIAuxiliaryFileSystemDomainIds Out of scope : <value>" and logs nothing.
CIAPI_ENUMERATION(ECIAuxiliaryFileSystemDomainIds)
// clang-format on

/// What stands for a domain that has no name.
inline constexpr ECIAuxiliaryFileSystemDomainIds UNKNOWN_DOMAIN_ID = static_cast<ECIAuxiliaryFileSystemDomainIds>(4);

/// The domain whose identifier is given as bytes.
/// \param[in] rawDomainId  the identifier's characters, such as "UKMHEGP1", compared exactly
/// \return UNKNOWN_DOMAIN_ID (4) when no domain has that identifier. Reentrant.
CIAPI_EXPORT ECIAuxiliaryFileSystemDomainIds RawDataToEnum(const std::vector<unsigned char>& rawDomainId);

/// One available file system. What its two numbers mean is the daemon's.
class CIAPI_EXPORT TCCiAuxiliaryFileSystemDTO : public TCMarshalable
{
public:
    TCCiAuxiliaryFileSystemDTO() = default; ///< an unknown domain, numbers 0
    TCCiAuxiliaryFileSystemDTO(int intValue, ECIAuxiliaryFileSystemDomainIds domainId); ///< shortValue is 0
    /// All members.
    TCCiAuxiliaryFileSystemDTO(unsigned short shortValue, int intValue, ECIAuxiliaryFileSystemDomainIds domainId);

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;

    unsigned short shortValue = 0;                                ///< the daemon's
    int intValue = 0;                                             ///< the daemon's
    ECIAuxiliaryFileSystemDomainIds domainId = UNKNOWN_DOMAIN_ID; ///< what it serves

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};

/// The acknowledgement of a file request. What its flags and byte strings mean is the daemon's.
class CIAPI_EXPORT TCCiFileAckDTO : public TCMarshalable
{
public:
    TCCiFileAckDTO() = default; ///< no flag, no bytes, request type 255
    /// All members.
    TCCiFileAckDTO(bool firstFlag, bool secondFlag, EFileRequestType requestType, std::vector<unsigned char> firstData,
                   std::vector<unsigned char> secondData);

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;

    bool firstFlag = false;  ///< the daemon's
    bool secondFlag = false; ///< the daemon's
    /// Only the low byte travels.
    EFileRequestType requestType = static_cast<EFileRequestType>(255);
    std::vector<unsigned char> firstData;  ///< the daemon's
    std::vector<unsigned char> secondData; ///< the daemon's

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};
} // namespace CIM
