#pragma once

#include "SeenPages.h"

#include "simulator/definition/Definition.h"

namespace CIM::sim
{
/// The time that a CAM is in a slot.
struct TSStay
{
    unsigned slot = 0;
    std::size_t begin = 0;    ///< the event that shows it first, among them what comes before it is ready
    std::size_t end = 0;      ///< the event that ends it; the number of events when there is none
    bool isFromBegin = false; ///< it was in the slot when the recording began
    std::string cam;          ///< its name
};

/// The set as a recording shows it.
struct TSRecordedSet
{
    json::TJson json; ///< as in a scenario
    std::vector<TSStay> stays;
    std::map<std::size_t, TSSeenPage> pages;
    std::map<std::size_t, std::string> menus; ///< of the pages that came by themselves: their names, by event
    std::vector<std::string> notes;           ///< sentences about what the recording does not show

    TSSetDefinition Definition() const;
    /// The stay of a slot during an event, or the first one behind it; null: none.
    const TSStay* FindStay(unsigned slot, std::size_t event) const;
};
TSRecordedSet ReadSet(const TSRecording& recording);

/// The set alone.
TSSetDefinition SetOf(const TSRecording& recording);
} // namespace CIM::sim
