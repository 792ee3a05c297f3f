#include <ciapi/CIOperatorProfileDataType.h>

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
    const std::vector<unsigned char> bytes(data, data + size);
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
    if (profiles.size() > 1000)
    {
        return 0; // nearly all of them made up, all alike
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
