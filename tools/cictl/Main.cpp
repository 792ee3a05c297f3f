#include "cictl/DaemonAccess.h"
#include "cictl/Program.h"

int main(int argc, char** argv)
{
    const int status = CIM::cictl::RunCommandLine(argc, argv);
    CIM::cictl::EndDaemonAccess();
    return status;
}
