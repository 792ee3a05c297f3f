// An answer that must not compile, and its twin that must. Public headers are C++17.

#include <ciapi-testing/DaemonBeside.h>
#include <ciapi-testing/Fakes.h>

using CIM::ICIGeneral;

void Answer(CIM::test::TCDaemon& daemon, CIM::test::TCFakeGeneral& fake)
{
#if ANSWER_FITS
    const auto answer = [](unsigned char, CIM::TCIText&) { return 1; };
#else
    const auto answer = [](unsigned char) { return 1; };
#endif
    daemon.On(&ICIGeneral::GetMmiText, answer);
    fake.On(&ICIGeneral::GetMmiText, answer);
}
