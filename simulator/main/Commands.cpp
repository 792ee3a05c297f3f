#include "Commands.h"

namespace CIM::sim
{
const std::vector<TSCommand>& Commands()
{
    static const std::vector<TSCommand> commands = {
        {"serve", "play the daemon on the system bus until SIGTERM (what happens without a command)", PrepareServe},
        {"run", "run a command beside a simulator on a private bus: run [OPTIONS] -- COMMAND [ARGUMENT ...]",
         PrepareRun},
    };
    return commands;
}
} // namespace CIM::sim
