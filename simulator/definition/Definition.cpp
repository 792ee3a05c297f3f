#include "Definition.h"

#include <algorithm>

namespace CIM::sim
{
TBytes TSFileDefinition::Bytes() const
{
    if (!content.empty())
    {
        return content;
    }
    TBytes bytes(size);
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        bytes[i] = static_cast<unsigned char>(i);
    }
    return bytes;
}

const TSCamDefinition* TSSetDefinition::FindCam(const std::string& name) const
{
    const auto found =
        std::find_if(cams.begin(), cams.end(), [&](const TSCamDefinition& cam) { return cam.name == name; });
    return found == cams.end() ? nullptr : &*found;
}

std::vector<std::string_view> TSSetDefinition::CamNames() const
{
    std::vector<std::string_view> names;
    for (const TSCamDefinition& cam : cams)
    {
        names.emplace_back(cam.name);
    }
    return names;
}
} // namespace CIM::sim
