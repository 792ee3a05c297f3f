#include <ciapi/CIOperatorProfileDataType.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace CIM
{
namespace
{
using TBytes = std::vector<unsigned char>;

/// The bytes of a profile with an empty name and no supported antenna mode.
constexpr std::size_t LEAST_PROFILE_SIZE = 24;

/// How many characters of a name, or profiles of a list, may be made up where the bytes end. What a real truncation
/// cuts off stays far below; only a corrupt count exceeds it, and would cost memory by the gigabyte.
constexpr std::size_t MOST_MISSING = 65536;

void CheckCount(std::size_t count, std::size_t held, const char* what)
{
    if (count > held && count - held > MOST_MISSING)
    {
        throw std::length_error(std::string("operator profile data: ") + what + " is " + std::to_string(count) +
                                ", the bytes hold " + std::to_string(held));
    }
}

/// Reads big-endian numbers from the front; where too few bytes are left, takes none and gives a fallback.
class TCReader
{
public:
    TCReader(const TBytes& data, TBytes::const_iterator position) : m_position(position), m_end(data.end()) {}

    TBytes::const_iterator Position() const { return m_position; }
    std::size_t Left() const { return static_cast<std::size_t>(m_end - m_position); }

    std::uint32_t Get32(std::uint32_t fallback) { return Left() < 4 ? fallback : static_cast<std::uint32_t>(Get(4)); }
    std::uint16_t Get16(std::uint16_t fallback) { return Left() < 2 ? fallback : static_cast<std::uint16_t>(Get(2)); }

private:
    std::uint32_t Get(int count)
    {
        std::uint32_t value = 0;
        for (; count > 0; --count)
        {
            value = value << 8 | *m_position++;
        }
        return value;
    }

    TBytes::const_iterator m_position;
    TBytes::const_iterator m_end;
};

constexpr std::uint32_t MISSING = 0xFFFFFFFF; // -1

std::size_t SizeOf(const TSCIOperatorProfileData& profile)
{
    return LEAST_PROFILE_SIZE + 2 * profile.profileName.size() + 4 * profile.supportedAntennaModes.size();
}

/// Appends big-endian numbers into room that is made at once.
class TCWriter
{
public:
    TCWriter(TBytes& data, std::size_t size)
    {
        data.resize(data.size() + size);
        m_next = data.end() - static_cast<std::ptrdiff_t>(size);
    }

    template <class T>
    void Put(T value)
    {
        for (int shift = 8 * (sizeof(T) - 1); shift >= 0; shift -= 8)
        {
            *m_next++ = static_cast<unsigned char>(value >> shift);
        }
    }

private:
    TBytes::iterator m_next;
};

void WriteProfile(TCWriter& writer, const TSCIOperatorProfileData& profile)
{
    writer.Put(static_cast<std::uint32_t>(profile.antennaMode));
    writer.Put(static_cast<std::uint32_t>(profile.serviceMode));
    writer.Put(std::uint32_t{profile.slotId});
    writer.Put(static_cast<std::uint32_t>(profile.profileName.size()));
    for (const unsigned short unit : profile.profileName)
    {
        writer.Put(unit);
    }
    writer.Put(static_cast<std::uint32_t>(profile.supportedAntennaModes.size()));
    for (const EAntennaMode mode : profile.supportedAntennaModes)
    {
        writer.Put(static_cast<std::uint32_t>(mode));
    }
    writer.Put(static_cast<std::uint32_t>(profile.profileType));
}

TSCIOperatorProfileData ReadProfile(TCReader& reader)
{
    TSCIOperatorProfileData profile;
    profile.antennaMode = static_cast<EAntennaMode>(reader.Get32(0));
    profile.serviceMode = static_cast<EServiceMode>(reader.Get32(0));
    profile.slotId = static_cast<unsigned char>(reader.Get32(0));

    const std::size_t length = reader.Get32(0);
    CheckCount(length, reader.Left() / 2, "a name's length");
    profile.profileName.resize(length);
    for (std::size_t i = 0, read = std::min(length, reader.Left() / 2); i < read; ++i)
    {
        profile.profileName[i] = reader.Get16(0);
    }

    const std::size_t modes = reader.Get32(0);
    const std::size_t modesHeld = std::min(modes, reader.Left() / 4);
    for (std::size_t i = 0; i < modesHeld; ++i)
    {
        profile.supportedAntennaModes.insert(static_cast<EAntennaMode>(reader.Get32(MISSING)));
    }
    if (modesHeld < modes) // missing modes are all alike: one stands for billions
    {
        profile.supportedAntennaModes.insert(static_cast<EAntennaMode>(MISSING));
    }
    profile.profileType = static_cast<EOpProfileType>(reader.Get32(MISSING));
    return profile;
}
} // namespace

bool TSCIOperatorProfileData::Serialize(const TSCIOperatorProfileData& profile, std::vector<unsigned char>& data)
{
    TCWriter writer(data, SizeOf(profile));
    WriteProfile(writer, profile);
    return true;
}

bool TSCIOperatorProfileData::Serialize(const std::list<TSCIOperatorProfileData>& profiles,
                                        std::vector<unsigned char>& data)
{
    if (profiles.empty())
    {
        return true; // not even a count: readers rely on it
    }
    std::size_t size = sizeof(std::uint32_t);
    for (const TSCIOperatorProfileData& profile : profiles)
    {
        size += SizeOf(profile);
    }
    TCWriter writer(data, size);
    writer.Put(static_cast<std::uint32_t>(profiles.size()));
    for (const TSCIOperatorProfileData& profile : profiles)
    {
        WriteProfile(writer, profile);
    }
    return true;
}

bool TSCIOperatorProfileData::Deserialize(const std::vector<unsigned char>& data,
                                          std::vector<unsigned char>::const_iterator& position,
                                          TSCIOperatorProfileData& profile)
{
    TCReader reader(data, position);
    profile = ReadProfile(reader);
    position = reader.Position();
    return true;
}

bool TSCIOperatorProfileData::Deserialize(const std::vector<unsigned char>& data,
                                          std::list<TSCIOperatorProfileData>& profiles)
{
    TCReader reader(data, data.begin());
    const std::size_t count = reader.Get32(0);
    CheckCount(count, reader.Left() / LEAST_PROFILE_SIZE, "the count of profiles");
    std::list<TSCIOperatorProfileData> read;
    for (std::size_t i = 0; i < count; ++i)
    {
        read.push_back(ReadProfile(reader));
    }
    profiles.splice(profiles.end(), read);
    return true;
}

bool SerializedDataToString(const std::vector<unsigned char>& data, std::string& text)
{
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string result;
    result.reserve(5 * data.size());
    for (const unsigned char byte : data)
    {
        result += {'0', 'x', DIGITS[byte >> 4], DIGITS[byte & 0x0F], ' '};
    }
    text = std::move(result);
    return true;
}

bool StringToSerializedData(const std::string& text, std::vector<unsigned char>& data)
{
    constexpr char SEPARATOR = ' ';
    for (std::size_t begin = 0; (begin = text.find_first_not_of(SEPARATOR, begin)) != std::string::npos;)
    {
        const std::size_t end = std::min(text.find(SEPARATOR, begin), text.size());
        data.push_back(static_cast<unsigned char>(std::stoul(text.substr(begin, end - begin), nullptr, 16)));
        begin = end;
    }
    return true;
}
} // namespace CIM
