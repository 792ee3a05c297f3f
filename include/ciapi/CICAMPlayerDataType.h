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
    explicit TSCICAMPlayerHandle(unsigned short identifier);

    /// A new handle: 0, 1, 2, ... in this process, never the invalid one; reused after 65535 handles. Thread-safe.
    static TSCICAMPlayerHandle Create();

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;

    bool IsValid() const;
    operator unsigned short() const;
    bool operator==(const TSCICAMPlayerHandle& other) const;
    bool operator!=(const TSCICAMPlayerHandle& other) const;
    bool operator<(const TSCICAMPlayerHandle& other) const;
    /// "CICAMPlayerHandle[7]", "CICAMPlayerHandle[INVALID]".
    std::string ToString() const;

    unsigned short identifier = 0xFFFF;

protected:
    void t_PushTree(TCTreeFormatter& formatter);
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

    short hundredths = 0;

protected:
    void t_PushTree(TCTreeFormatter& formatter);
};

/// Where a playback goes on.
struct CIAPI_EXPORT TSPlaybackPosition : public TCMarshalable
{
    /// Every value but 0 counts as relative.
    enum ESeekMode : int
    {
        SEEK_MODE_ABSOLUTE = 0,
        SEEK_MODE_RELATIVE = 1,
    };

    /// Jump to live: relative, -1.
    TSPlaybackPosition() = default;
    TSPlaybackPosition(ESeekMode const& seekMode, int position);

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;

    ESeekMode GetSeekMode() const;
    int GetPosition() const;
    /// "-1 (jump to live) relative", "30 absolute".
    std::string ToString() const;

    ESeekMode seekMode = SEEK_MODE_RELATIVE;
    int position = -1;

protected:
    void t_PushTree(TCTreeFormatter& formatter);
};

/// The names of the seek modes, for tools.
template <>
struct TSEnumNames<TSPlaybackPosition::ESeekMode>
{
    static constexpr std::string_view type = "ESeekMode";
    static constexpr TSEnumName<TSPlaybackPosition::ESeekMode> entries[] = {
        {TSPlaybackPosition::SEEK_MODE_ABSOLUTE, "SEEK_MODE_ABSOLUTE"},
        {TSPlaybackPosition::SEEK_MODE_RELATIVE, "SEEK_MODE_RELATIVE"},
    };
};

/// What the player is to play: a service location as text.
struct CIAPI_EXPORT TSIPServiceLocationData : public TCMarshalable
{
    TSIPServiceLocationData() = default;
    explicit TSIPServiceLocationData(std::string const& location);

    bool ClassToTree(TCTreeBranch& branch) override;
    bool TreeToClass(TCTreeBranch& branch) override;

    bool operator==(const TSIPServiceLocationData& other) const;
    bool operator!=(const TSIPServiceLocationData& other) const;
    /// Orders by unsigned bytes; the beginning of a longer location is less.
    bool operator<(const TSIPServiceLocationData& other) const;
    /// The text's bytes, without terminator.
    std::vector<unsigned char> ToRawData() const;
    /// The text itself.
    std::string ToString() const;

    std::string location;

protected:
    void t_PushTree(TCTreeFormatter& formatter);
};

/// The speed as unsigned hundredths and "(pause)" when it is 0. Reentrant.
CIAPI_EXPORT std::string ToString(const TSPlaybackSpeed& speed);
/// The same as the members of that name. Reentrant.
CIAPI_EXPORT std::string ToString(const TSCICAMPlayerHandle& handle);
CIAPI_EXPORT std::string ToString(const TSPlaybackPosition& position);
CIAPI_EXPORT std::string ToString(const TSIPServiceLocationData& location);
} // namespace CIM
