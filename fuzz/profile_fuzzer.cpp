#include <ciapi/CIOperatorProfileDataType.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

// Reads any bytes as serialized operator profiles. What was read must survive being written, read again and printed.

namespace
{
void Check(bool condition)
{
    if (!condition)
    {
        std::abort();
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace CIM;
    std::vector<unsigned char> bytes(data, data + size);
    // A count of up to 65536 more than there are is allowed, and costs that many profiles, all alike: a few will do.
    if (const std::size_t count = size < 4 ? 0 : data[0] << 24U | data[1] << 16U | data[2] << 8U | data[3];
        count > size && count <= size + 65536)
    {
        bytes[0] = bytes[1] = 0;
        bytes[2] = static_cast<unsigned char>(std::min<std::size_t>(size, 0xFFFF) >> 8U);
    }
    std::list<TSCIOperatorProfileData> profiles;
    try
    {
        TSCIOperatorProfileData::Deserialize(bytes, profiles);
    }
    catch (const std::length_error&)
    {
        Check(profiles.empty());
        return 0;
    }
    Check(profiles.size() <= size / 24 + 65536);

    if (std::any_of(profiles.begin(), profiles.end(),
                    [&](const TSCIOperatorProfileData& profile) { return profile.profileName.size() > size; }))
    {
        return 0; // a name nearly all made up, all alike: it would only cost time
    }

    std::vector<unsigned char> written;
    TSCIOperatorProfileData::Serialize(profiles, written);
    std::list<TSCIOperatorProfileData> again;
    TSCIOperatorProfileData::Deserialize(written, again);
    Check(again == profiles);

    std::string text;
    std::vector<unsigned char> parsed;
    SerializedDataToString(bytes, text);
    StringToSerializedData(text, parsed);
    Check(parsed == bytes);
    if (!profiles.empty())
    {
        Check(!ToString(profiles.front()).empty());
    }
    return 0;
}
