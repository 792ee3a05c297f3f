#include "Commands.h"

namespace CIM::sim
{
const std::vector<TSCommand>& Commands()
{
    static const std::vector<TSCommand> commands = {
        {"serve", "play the daemon on the system bus until SIGTERM", PrepareServe},
        {"run", "run a command beside a simulator on a private bus: run [OPTIONS] -- COMMAND [ARGUMENT ...]",
         PrepareRun},
        {"ctl", "ask the simulator on the system bus to do something: ctl VERB [ARGUMENT ...]", PrepareControl},
        {"play", "play a scenario: play NAME|FILE [-- COMMAND [ARGUMENT ...]]", PreparePlay},
        {"screen", "the simulator as a page of this machine's browser: screen [NAME|FILE] [-- COMMAND [ARGUMENT ...]]",
         PrepareScreen},
        {"list", "the scenarios that came with this program", PrepareList},
        {"describe", "what happens in a scenario, and what it expects: describe NAME|FILE", PrepareDescribe},
        {"check", "check scenario files, without playing them", PrepareCheck},
        {"scenario", "make a story from a recording: scenario FILE.pcapng > STORY.json", PrepareScenario},
    };
    return commands;
}
} // namespace CIM::sim
