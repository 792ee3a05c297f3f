#pragma once

#include "simulator/replay/Recording.h"

namespace CIM::sim
{
/// A story that does what a recording shows, and waits for what the application did: JSON with comments, for people to
/// edit. What the form of scenarios has no word for is said in comments at its head.
std::string StoryOf(const TSRecording& recording);
} // namespace CIM::sim
