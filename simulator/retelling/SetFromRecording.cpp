#include "SetFromRecording.h"

#include "MenuWalk.h"
#include "simulator/definition/DefinitionJson.h"

#include <algorithm>

namespace CIM::sim
{
using json::TJson;

TSSetDefinition TSRecordedSet::Definition() const { return json::FromJson<TSSetDefinition>(json); }

const TSStay* TSRecordedSet::FindStay(unsigned slot, std::size_t event) const
{
    const auto found = std::find_if(stays.begin(), stays.end(),
                                    [&](const TSStay& stay) { return stay.slot == slot && stay.end >= event; });
    return found != stays.end() ? &*found : nullptr;
}

TSRecordedSet ReadSet(const TSRecording& recording)
{
    TSRecordedSet set;
    TCCamFinder finder(recording);
    finder.Find();
    TCKnownCams cams(finder.Known(), set.notes);
    TJson inserted = json::NewObject();
    for (const TSKnownCam& known : finder.Known())
    {
        set.stays.push_back(known.stay);
        if (known.stay.isFromBegin)
        {
            inserted[std::to_string(known.stay.slot)] = known.stay.cam;
        }
    }
    set.pages = SeenPages(recording);
    TCMenuWalk(recording, set, cams).Walk();
    const auto unread = std::count_if(set.pages.begin(), set.pages.end(),
                                      [](const auto& page) { return !page.second.isRead && !page.second.IsEnd(); });
    if (unread > 0)
    {
        set.notes.push_back(std::to_string(unread) + (unread == 1 ? " page of a CAM was" : " pages of CAMs were") +
                            " announced but never read: it stands here as an alike one that was, or as \"?\".");
    }
    set.json = {{"slots", finder.Slots()}, {"cams", cams.Define(set.notes)}, {"inserted", inserted}};
    if (!finder.BackupFiles().empty())
    {
        set.json["backupFiles"] = finder.BackupFiles();
    }
    return set;
}

TSSetDefinition SetOf(const TSRecording& recording) { return ReadSet(recording).Definition(); }
} // namespace CIM::sim
