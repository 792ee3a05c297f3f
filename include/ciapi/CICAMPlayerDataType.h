#pragma once

#include <ciapi/CIEnumNames.h>
#include <ciapi/Export.h>

#include <tvplatform/Marshalable.h>

#include <string>
#include <vector>

class TCTreeFormatter;

namespace CIM
{
/// Names one playback of the CICAM player.
struct CIAPI_EXPORT TSCICAMPlayerHandle : public TCMarshalable
{
    /// A handle that is not valid: 0xFFFF.
    TSCICAMPlayerHandle() = default;
    explicit TSCICAMPlayerHandle(unsigned short identifier); ///< one that is known already

    /// A new handle: 0, 1, 2, ... in this process, never the invalid one; reused after 65535 handles. Thread-safe.
    static TSCICAMPlayerHandle Create();

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;

    bool IsValid() const;                                    ///< not 0xFFFF
    operator unsigned short() const;                         ///< the identifier
    bool operator==(const TSCICAMPlayerHandle& other) const; ///< all members are equal
    bool operator!=(const TSCICAMPlayerHandle& other) const; ///< not ==
    bool operator<(const TSCICAMPlayerHandle& other) const;  ///< by identifier
    /// "CICAMPlayerHandle[7]", "CICAMPlayerHandle[INVALID]".
    std::string ToString() const;

    unsigned short identifier = 0xFFFF; ///< 0xFFFF: not valid

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};

/// The speed of a playback.
struct CIAPI_EXPORT TSPlaybackSpeed : public TCMarshalable
{
    /// Pause.
    TSPlaybackSpeed() = default;
    /// \param[in] hundredths  hundredths of the nominal speed: 100 plays, 0 pauses, -100 plays backwards
    explicit TSPlaybackSpeed(short const& hundredths);

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;

    /// The speed as an unsigned number: a negative one comes as its two's complement, -100 as 65436.
    unsigned short HundrethsOfNominal() const;

    short hundredths = 0; ///< of the nominal speed, signed

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};

/// Where a playback goes on.
struct CIAPI_EXPORT TSPlaybackPosition : public TCMarshalable
{
    /// Every value but 0 counts as relative.
    enum ESeekMode : int
    {
        SEEK_MODE_ABSOLUTE = 0, ///< from the beginning
        SEEK_MODE_RELATIVE = 1, ///< from where the playback is
    };

    /// Jump to live: relative, -1.
    TSPlaybackPosition() = default;
    TSPlaybackPosition(ESeekMode const& seekMode, int position); ///< position as in the member

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;

    ESeekMode GetSeekMode() const; ///< the member seekMode
    int GetPosition() const;       ///< the member position
    /// "-1 (jump to live) relative", "30 absolute".
    std::string ToString() const;

    ESeekMode seekMode = SEEK_MODE_RELATIVE; ///< what position counts from
    int position = -1;                       ///< in the daemon's unit; -1, relative: live

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};

/// The names of the seek modes, for tools.
template <>
struct TSEnumNames<TSPlaybackPosition::ESeekMode>
{
    static constexpr std::string_view type = "ESeekMode"; ///< the enumeration's name
    /// Ascending by value.
    static constexpr TSEnumName<TSPlaybackPosition::ESeekMode> entries[] = {
        {TSPlaybackPosition::SEEK_MODE_ABSOLUTE, "SEEK_MODE_ABSOLUTE"},
        {TSPlaybackPosition::SEEK_MODE_RELATIVE, "SEEK_MODE_RELATIVE"},
    };
};

/// What the player is to play: a service location as text.
struct CIAPI_EXPORT TSIPServiceLocationData : public TCMarshalable
{
    TSIPServiceLocationData() = default;                           ///< empty
    explicit TSIPServiceLocationData(std::string const& location); ///< the member location

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;

    bool operator==(const TSIPServiceLocationData& other) const; ///< all members are equal
    bool operator!=(const TSIPServiceLocationData& other) const; ///< not ==
    /// Orders by unsigned bytes; the beginning of a longer location is less.
    bool operator<(const TSIPServiceLocationData& other) const;
    /// The text's bytes, without terminator.
    std::vector<unsigned char> ToRawData() const;
    /// The text itself.
    std::string ToString() const;

    std::string location; ///< bytes as the daemon takes them

protected:
    void t_PushTree(TCTreeFormatter& formatter); ///< the fields, each under its tag
};

/// The speed as unsigned hundredths and "(pause)" when it is 0. Reentrant.
CIAPI_EXPORT std::string ToString(const TSPlaybackSpeed& speed);
/// The same as the members of that name. Reentrant.
CIAPI_EXPORT std::string ToString(const TSCICAMPlayerHandle& handle);
CIAPI_EXPORT std::string ToString(const TSPlaybackPosition& position);      ///< as above
CIAPI_EXPORT std::string ToString(const TSIPServiceLocationData& location); ///< as above
} // namespace CIM
