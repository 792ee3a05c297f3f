#include <ciapi/CIAuxiliaryFileSystemDataType.h>

#include "EnumText.h"
#include "PushTree.h"

#include <utility>

namespace CIM
{
CIM_DEFINE_LABELLED_TEXT(ECIAuxiliaryFileSystemMessage)
CIM_DEFINE_LABELLED_TEXT(EFileRequestType)
CIM_DEFINE_LABELLED_TEXT(EFileRequestAckCode)
CIM_DEFINE_LABELLED_TEXT(ECIAuxiliaryFileSystemDomainIds)

ECIAuxiliaryFileSystemDomainIds RawDataToEnum(const std::vector<unsigned char>& rawDomainId)
{
    const std::string name = "DOMAIN_IDS_" + std::string(rawDomainId.begin(), rawDomainId.end());
    return EnumValue<ECIAuxiliaryFileSystemDomainIds>(name).value_or(UNKNOWN_DOMAIN_ID);
}

TCCiAuxiliaryFileSystemDTO::TCCiAuxiliaryFileSystemDTO(int intValue, ECIAuxiliaryFileSystemDomainIds domainId)
    : TCCiAuxiliaryFileSystemDTO(0, intValue, domainId)
{
}

TCCiAuxiliaryFileSystemDTO::TCCiAuxiliaryFileSystemDTO(unsigned short shortValue, int intValue,
                                                       ECIAuxiliaryFileSystemDomainIds domainId)
    : shortValue(shortValue), intValue(intValue), domainId(domainId)
{
}

CIM_DEFINE_TREE_OPERATIONS(TCCiAuxiliaryFileSystemDTO)

TCCiFileAckDTO::TCCiFileAckDTO(bool firstFlag, bool secondFlag, EFileRequestType requestType,
                               std::vector<unsigned char> firstData, std::vector<unsigned char> secondData)
    : firstFlag(firstFlag), secondFlag(secondFlag), requestType(requestType), firstData(std::move(firstData)),
      secondData(std::move(secondData))
{
}

CIM_DEFINE_TREE_WRITING(TCCiFileAckDTO)

bool TCCiFileAckDTO::TreeToClass(TCTreeBranch& branch)
{
    requestType = static_cast<EFileRequestType>(static_cast<unsigned char>(requestType)); // the rest does not travel
    TCTreeToClassFormatter formatter(branch);
    t_PushTree(formatter);
    return formatter.FillOut();
}
} // namespace CIM
