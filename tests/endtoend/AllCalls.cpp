#include "no_ci/NullAnswers.h"

#include <cstdio>

// Calls every operation of all interfaces once, with whatever arguments, for somebody who watches the bus.

namespace CIM
{
namespace
{
int Ignore(ECISignalType, EProfile, unsigned short, TSSignalData, void*) { return 0; }

void Call(const std::vector<SAnswer>& operations)
{
    for (const SAnswer& operation : operations)
    {
        operation.answer();
    }
}
} // namespace
} // namespace CIM

int main()
{
    using namespace CIM;
    if (!TCCIService::IsCIOperable())
    {
        std::fputs("no CI: run this program with ci-daemon-sim run\n", stderr);
        return 1;
    }
    Call(Answers(TCCIService::CIGeneralInstance()));
    Call(Answers(TCCIService::CIAppMMIInstance()));
    Call(Answers(TCCIService::CIAuxiliaryFileSystemInstance()));
    Call(Answers(TCCIService::CICAMPlayerInstance()));
    Call(Answers(TCCIService::CIDebugInstance()));
    Call(Answers(TCCIService::CIOperatorProfileInstance()));
    Call(Answers(TCCIService::CISampleDecryptionInstance()));
    Call(Answers(TCCIService::CISignalSubscriberInstance(&Ignore)));
    Call(Answers(TCCIService::PvrCipInstance()));
    return 0;
}
