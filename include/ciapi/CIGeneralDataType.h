#pragma once

#include <ciapi/Export.h>

#include <tvplatform/Types.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

class TCTreeFormatter;

namespace CIM
{
/// A text of a CAM: of its menus and enquiries, or its application information.
class CIAPI_EXPORT TCIText : public TCMarshalable
{
public:
    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;
    /// The same code units.
    virtual bool operator==(const TCIText& other) const;

    /// The text in UTF-8, read as UTF-16. A surrogate without its other half becomes U+FFFD, a null character stays.
    std::string ToUtf8() const;
    /// A text from UTF-8. Each byte that belongs to no well-formed character becomes U+FFFD.
    static TCIText FromUtf8(std::string_view utf8);

    /// 16-bit code units as the CAM sent them, not terminated.
    std::vector<unsigned short> text;

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};

/// The state of one CI slot. What its numbers mean is the daemon's; the library carries them.
class CIAPI_EXPORT TCSlotInfo : public TCMarshalable
{
public:
    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;
    /// All four members are equal.
    virtual bool operator==(const TCSlotInfo& other) const;

    unsigned char slotFlag = 0; ///< the daemon's
    long long slotValue = -1;   ///< the daemon's
    /// The TV pipelines that belong to the slot.
    std::vector<TVSHandle> handles;
    std::vector<unsigned short> codes; ///< the daemon's

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};

/// The state of all CI slots.
class CIAPI_EXPORT TCCiStatus : public TCMarshalable
{
public:
    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;
    /// The same slots in the same state.
    bool operator==(const TCCiStatus& other) const;

    /// Keyed by slot number.
    std::map<int, TCSlotInfo> slots;

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};
} // namespace CIM
