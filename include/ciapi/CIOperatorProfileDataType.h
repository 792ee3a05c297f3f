#pragma once

#include <ciapi/CIEnumerations.h>
#include <ciapi/Export.h>

#include <tvplatform/Types.h>

#include <list>
#include <set>
#include <string>
#include <vector>

class TCTreeFormatter;

namespace CIM
{
// clang-format off
#define CIAPI_VALUES_EOpProfileType(X)  \
    X(0, OP_PROFILE_TYPE_NON_PROFILED)    \
    X(1, OP_PROFILE_TYPE_PROFILED_TYPE_1) \
    X(2, OP_PROFILE_TYPE_PROFILED_TYPE_2)
/// The type of an operator profile. ToString of a value without a name gives an empty text and writes an error line
/// "... Out of scope(<value>)".
CIAPI_ENUMERATION(EOpProfileType)
// clang-format on

/// An operator profile that a CAM offers. It travels to and from the daemon as a tree, and can be kept or passed on as
/// a compact string of bytes or its printable form. Reentrant.
struct CIAPI_EXPORT TSCIOperatorProfileData : public TCMarshalable
{
    /// Leaves profileType unset: assign it before it is read.
    TSCIOperatorProfileData();
    /// All members.
    TSCIOperatorProfileData(EAntennaMode antennaMode, EServiceMode serviceMode, unsigned char slotId,
                            std::basic_string<unsigned short> profileName,
                            const std::set<EAntennaMode>& supportedAntennaModes, EOpProfileType profileType);

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;

    /// All six members are equal.
    bool operator==(const TSCIOperatorProfileData& other) const;
    bool operator!=(const TSCIOperatorProfileData& other) const; ///< not ==
    /// Orders by antenna mode, service mode, slot and name (by code units). The supported antenna modes and the type
    /// take no part: profiles that differ only there are unequal, yet neither is less, and a set keeps only one.
    bool operator<(const TSCIOperatorProfileData& other) const;

    /// Appends a profile, or a list of them, to a byte string. An empty list appends nothing.
    /// \return true
    static bool Serialize(const TSCIOperatorProfileData& profile, std::vector<unsigned char>& data);
    /// As above.
    static bool Serialize(const std::list<TSCIOperatorProfileData>& profiles, std::vector<unsigned char>& data);

    /// Reads one profile. Bytes that are missing are no error: from where they end, numbers are 0, the name's
    /// characters are 0, and supported antenna modes and type are -1.
    /// \param[in]     data      the byte string
    /// \param[in,out] position  where to read, within data; moved behind what was read
    /// \param[out]    profile   overwritten; unchanged, and position too, when an exception is thrown
    /// \return true
    /// \throws std::length_error when the name's length exceeds what the remaining bytes hold by more than 65536
    ///         characters; std::bad_alloc when memory is out
    static bool Deserialize(const std::vector<unsigned char>& data,
                            std::vector<unsigned char>::const_iterator& position, TSCIOperatorProfileData& profile);

    /// Reads a list and appends its profiles to a list, made up as above where bytes are missing.
    /// \return true
    /// \throws std::length_error when the count of profiles exceeds what the bytes hold by more than 65536, or as
    ///         above; std::bad_alloc when memory is out. The list is then unchanged.
    static bool Deserialize(const std::vector<unsigned char>& data, std::list<TSCIOperatorProfileData>& profiles);

    EAntennaMode antennaMode = ANTENNA_MODE_NONE; ///< the antenna it is for
    EServiceMode serviceMode = SERVICE_MODE_NONE; ///< the service list it belongs to
    unsigned char slotId = 0xFF;                  ///< the CI slot; 0xFF: none
    /// 16-bit code units as the CAM sent them.
    std::basic_string<unsigned short> profileName;
    std::set<EAntennaMode> supportedAntennaModes; ///< every antenna it can be used with
    EOpProfileType profileType;                   ///< unset until it is assigned

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};

/// One log line's text of a profile: its numbers in hexadecimal, its name in UTF-8. Reentrant.
CIAPI_EXPORT std::string ToString(const TSCIOperatorProfileData& profile);

/// Prints bytes: for each "0x", two lower-case hexadecimal digits and a blank.
/// \param[in]  data  the bytes
/// \param[out] text  replaced
/// \return true
CIAPI_EXPORT bool SerializedDataToString(const std::vector<unsigned char>& data, std::string& text);

/// Reads what SerializedDataToString prints: hexadecimal numbers between blanks, with or without "0x"; of a number
/// above 0xff only the low byte counts.
/// \param[in]     text  what to read
/// \param[in,out] data  the bytes are appended
/// \return true
/// \throws std::invalid_argument for a token that is no hexadecimal number, std::out_of_range for one beyond 64 bits;
///         the bytes before it stay appended
CIAPI_EXPORT bool StringToSerializedData(const std::string& text, std::vector<unsigned char>& data);
} // namespace CIM
