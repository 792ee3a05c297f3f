#include "KnownCams.h"

#include <algorithm>

namespace CIM::sim
{
using json::TJson;

namespace
{
/// Whether what is known about two CAMs goes together.
bool MayBeOne(const TJson& one, const TJson& other)
{
    for (const char* const member : {"mode", "applicationType", "menuString", "manufacturerText", "manufacturerId"})
    {
        if (one.contains(member) && other.contains(member) && one[member] != other[member])
        {
            return false;
        }
    }
    return true;
}
} // namespace

TCKnownCams::TCKnownCams(std::vector<TSKnownCam>& known, std::vector<std::string>& notes)
{
    for (TSKnownCam& each : known)
    {
        TSCam& cam = m_CamFor(each);
        each.cam.update(cam.json); // what was said first counts
        cam.json = each.cam;
        cam.caSystems = std::max(cam.caSystems, each.caSystems);
        cam.pmtIds.insert(each.pmtIds.begin(), each.pmtIds.end());
        each.stay.cam = cam.name;
    }
    for (TSCam& cam : m_cams)
    {
        if (cam.json.contains("caSystemIds") || (cam.caSystems == 0 && cam.pmtIds.empty()))
        {
            continue;
        }
        for (unsigned id = 1; cam.pmtIds.size() < std::min<std::size_t>(cam.caSystems, 0xFF); ++id)
        {
            cam.pmtIds.insert(id);
        }
        for (const unsigned id : cam.pmtIds)
        {
            cam.json["caSystemIds"].push_back(Hexadecimal(id, 4));
        }
        notes.push_back("No application asked for the CA systems of the CAM \"" + cam.name +
                        "\": their ids here are those that it was asked to descramble, or made up.");
    }
}

TCCamMenus& TCKnownCams::MenusOf(const std::string& name) { return m_Find(name)->menus; }

void TCKnownCams::SayMmiMs(const std::string& name, std::int64_t ms)
{
    TJson& cam = m_Find(name)->json;
    if (!cam.contains("mmiMs"))
    {
        cam["mmiMs"] = ms;
    }
}

TJson TCKnownCams::Define(std::vector<std::string>& notes)
{
    TJson cams = json::NewList();
    for (TSCam& cam : m_cams)
    {
        TJson json = {{"name", cam.name}};
        json.update(cam.json);
        cam.menus.Define(json, notes);
        cams.push_back(std::move(json));
    }
    return cams;
}

std::vector<TCKnownCams::TSCam>::iterator TCKnownCams::m_Find(const std::string& name)
{
    return std::find_if(m_cams.begin(), m_cams.end(), [&](const TSCam& cam) { return cam.name == name; });
}

TCKnownCams::TSCam& TCKnownCams::m_CamFor(const TSKnownCam& known)
{
    const auto same =
        std::find_if(m_cams.begin(), m_cams.end(),
                     [&](const TSCam& cam) { return cam.slot == known.stay.slot && MayBeOne(cam.json, known.cam); });
    if (same != m_cams.end())
    {
        return *same;
    }
    const std::string word = known.cam.contains("menuString") ? WordFrom(known.cam["menuString"], "cam") : "cam";
    std::string name = word;
    for (int number = 2; m_Find(name) != m_cams.end(); ++number)
    {
        name = word + "-" + std::to_string(number);
    }
    m_cams.push_back({name, known.stay.slot, json::NewObject()});
    return m_cams.back();
}
} // namespace CIM::sim
