#include "Candidates.h"
#include "Commands.h"
#include "ManualTables.h"
#include "privatebus/Keeper.h"
#include "simulator/scenario/Tell.h"

#include <stdexcept>

int main(int argc, char** argv)
{
    using namespace CIM::sim;
    try
    {
        CIM::privatebus::FillStandardDescriptors();
        const CIM::TSProgram program = {
            "ci-daemon-sim",
            "A CI daemon and its CAMs without a TV: owns the daemon's bus names and answers every call.", CIAPI_VERSION,
            "command"};
        const bool isAnswered = CIM::AnswerCompletion(
            argc, argv, [&](const auto& words) { return CIM::Complete(program, Commands(), words, &Candidates); });
        const int status = isAnswered || CIM::AnswerManual(argc, argv, program, Commands(), ManualTables())
                               ? 0
                               : CIM::RunCommandLine(program, Commands(), argc, argv);
        if (!CIM::IsOutputWritten())
        {
            throw std::runtime_error("cannot write to standard output");
        }
        return status;
    }
    catch (const CIM::TCUsageError& error)
    {
        Tell(std::string(error.what()) + " (see ci-daemon-sim --help)");
        return 2;
    }
    catch (const std::exception& error)
    {
        Tell(error.what());
        return 1;
    }
}
