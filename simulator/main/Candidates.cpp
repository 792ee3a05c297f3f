#include "Candidates.h"

#include "simulator/daemon/Verbs.h"
#include "simulator/definition/Definition.h"
#include "simulator/scenario/Scenario.h"

#include <string_view>

namespace CIM::sim
{
namespace
{
TCandidates Cams(const std::string& prefix = {})
{
    TCandidates names;
    for (const TSCamDefinition& cam : DefaultSet().cams)
    {
        names.push_back({prefix + cam.name, ""});
    }
    return names;
}

// SLOT=CAM of the set that is simulated unless a scenario says otherwise.
TCandidates Insertions(const std::string& typed)
{
    const std::size_t sign = typed.find('=');
    if (sign != typed.npos)
    {
        return Cams(typed.substr(0, sign + 1));
    }
    TCandidates slots;
    for (int slot = 0; slot < DefaultSet().slots; ++slot)
    {
        slots.push_back({std::to_string(slot) + "=", "slot"});
    }
    return slots;
}

TCandidates Scenarios(const TSPlace& place)
{
    TCandidates found;
    if (place.words.empty())
    {
        for (const TSScenario& scenario : ShippedScenarios())
        {
            found.push_back({scenario.name, scenario.description});
        }
        TCandidates files = FileCandidates(place.typed);
        std::move(files.begin(), files.end(), std::back_inserter(found));
    }
    return found;
}

TCandidates Controls(const TSPlace& place)
{
    TCandidates found;
    if (place.words.empty())
    {
        for (const TSVerb& verb : Verbs())
        {
            found.push_back({verb.name, verb.help});
        }
        return found;
    }
    const TSVerb* const verb = FindVerb(place.words.front());
    if (verb == nullptr || place.words.size() > verb->parameters.size())
    {
        return found;
    }
    const TSParameter& parameter = verb->parameters[place.words.size() - 1];
    for (const std::string_view word : parameter.Words())
    {
        found.push_back({std::string(word), parameter.help});
    }
    if (found.empty() && std::string_view(parameter.name) == "cam")
    {
        found = Cams();
    }
    return found;
}
} // namespace

TCandidates Candidates(const TSPlace& place)
{
    if (place.option == "insert")
    {
        return Insertions(place.typed);
    }
    if (place.option == "journal" || place.option == "token-file")
    {
        return FileCandidates(place.typed);
    }
    if (!place.option.empty())
    {
        return {};
    }
    if (place.command == "play" || place.command == "screen")
    {
        return Scenarios(place);
    }
    if (place.command == "check")
    {
        return FileCandidates(place.typed);
    }
    return place.command == "ctl" ? Controls(place) : TCandidates();
}
} // namespace CIM::sim
