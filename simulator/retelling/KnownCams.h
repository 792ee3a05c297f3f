#pragma once

#include "CamFinder.h"
#include "CamMenus.h"

namespace CIM::sim
{
/// The CAMs of all stays: one that comes back is the same as long as nothing contradicts it.
class TCKnownCams
{
public:
    TCKnownCams(std::vector<TSKnownCam>& known, std::vector<std::string>& notes);

    /// Of a CAM that there is, as in what follows.
    TCCamMenus& MenusOf(const std::string& name);
    /// How long a CAM takes to show its menu; what was said first counts.
    void SayMmiMs(const std::string& name, std::int64_t ms);
    json::TJson Define(std::vector<std::string>& notes);

private:
    struct TSCam
    {
        std::string name;
        unsigned slot;
        json::TJson json;
        std::size_t caSystems = 0;
        std::set<unsigned> pmtIds{};
        TCCamMenus menus{};
    };
    std::vector<TSCam>::iterator m_Find(const std::string& name);
    TSCam& m_CamFor(const TSKnownCam& known);

    std::vector<TSCam> m_cams;
};
} // namespace CIM::sim
