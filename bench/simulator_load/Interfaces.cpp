#include "endtoend/Simulator.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>

// Eight threads call different interfaces for a while: every answer has to be that of its own question, and the
// simulator has to have got every call.
//
//   ci-daemon-sim run -- interface_soak [SECONDS]

namespace CIM
{
namespace
{
std::atomic<bool> g_isOver{false};

void Require(bool isRight, const char* what)
{
    if (!isRight)
    {
        throw std::runtime_error(what);
    }
}

/// What one thread does again and again; returns how many calls it has made. Round numbers start at 0.
struct TSTask
{
    const char* name;
    std::function<unsigned(unsigned round)> run;
    std::thread thread{};
    unsigned long long calls = 0;
    unsigned rounds = 0;
    std::string error{};
};

unsigned General(unsigned round)
{
    ICIGeneral* const ci = TCCIService::CIGeneralInstance();
    const unsigned char slot = round % 3;
    std::map<unsigned char, ECamStatus> statuses;
    Require(ci->GetCiSlotStatus(statuses, 1u << slot) == 1, "GetCiSlotStatus");
    Require(statuses.size() == (slot < 2 ? 1 : 0), "the statuses of other slots");
    Require(statuses.empty() || statuses.count(slot) == 1, "the status of another slot");
    ECIApplicationType type{};
    TCIText menu;
    TCIText maker;
    Require(ci->GetApplicationInfo(slot, type, menu, maker) == (slot == 0 ? 1 : 0), "GetApplicationInfo");
    Require(menu.ToUtf8() == (slot == 0 ? "Kelvora CAM" : ""), "the application information of another slot");
    return 2;
}

unsigned Sas(unsigned short session, unsigned round)
{
    ICIGeneral* const ci = TCCIService::CIGeneralInstance();
    const std::vector<unsigned char> sent = Bytes("message " + std::to_string(round) + std::string(round % 5000, '.'));
    Require(ci->SendSasData(session, sent) == 1, "SendSasData");
    unsigned calls = 1;
    std::vector<unsigned char> echo;
    Require(WaitFor(
                [&]
                {
                    ++calls;
                    return ci->GetSasData(session, 0, echo) == 1;
                }),
            "GetSasData: a message is lost");
    Require(echo == sent, "another message");
    static const auto clear = Hex("6bc1bee22e409f96e93d7e117393172a");
    static const auto coded = Hex("7649abac8119b246cee98e9b12e9197d");
    std::vector<unsigned char> output;
    Require(ci->EncryptUsingAesCbcWithSAK(session, clear, output) == 1 && output == coded, "another cipher text");
    return calls + 1;
}

unsigned Files(unsigned char application, unsigned round)
{
    ICIAuxiliaryFileSystem* const ci = TCCIService::CIAuxiliaryFileSystemInstance();
    const std::vector<unsigned char> request = Bytes("request " + std::to_string(round));
    Require(ci->RequestFile(1, application, APP_REQUEST_DATA, request) == 1, "RequestFile");
    unsigned calls = 1;
    TCCiFileAckDTO acknowledgement;
    Require(WaitFor(
                [&]
                {
                    ++calls;
                    return ci->GetFileAcknowledge(1, acknowledgement) == 1;
                }),
            "GetFileAcknowledge: an acknowledgement is lost");
    Require(acknowledgement.firstData == request && acknowledgement.requestType == APP_REQUEST_DATA,
            "another request's acknowledgement");
    return calls;
}

unsigned Player(TSCICAMPlayerHandle& last, unsigned round)
{
    ICICAMPlayer* const ci = TCCIService::CICAMPlayerInstance();
    const TSCICAMPlayerHandle handle = ci->VerifyLocation(TSIPServiceLocationData(std::to_string(round)));
    const unsigned short next = last.identifier + 1;
    Require(round == 0 || handle.identifier == (next == 0xFFFF ? 0 : next), "a handle is lost, or came twice");
    last = handle;
    return 1;
}

unsigned Debug(unsigned round)
{
    ICIDebug* const ci = TCCIService::CIDebugInstance();
    const bool isThrough = round % 3 == 0;
    Require(ci->SetTransportStreamRouteMode(1, isThrough) == 1, "SetTransportStreamRouteMode");
    bool answer = !isThrough;
    Require(ci->GetTransportStreamRouteMode(1, answer) == 1 && answer == isThrough, "GetTransportStreamRouteMode");
    bool toggled = isThrough;
    Require(ci->CILogToggle(toggled) == 1 && toggled != isThrough, "CILogToggle");
    return 3;
}

unsigned Profiles(unsigned round)
{
    ICIOperatorProfile* const ci = TCCIService::CIOperatorProfileInstance();
    // Every other call is one-way: what comes behind it finds it done all the same.
    const auto origin = static_cast<EOperatorProfileInstallationOrigin>(1 + round % 3);
    Require(ci->SetOperatorProfileInstallationState(1, origin, round % 2 == 0) == 1, "...InstallationState");
    EOperatorProfileInstallationOrigin answer = OP_INSTALLATION_INACTIVE;
    Require(ci->GetOperatorProfileInstallationState(1, answer) == 1 && answer == origin, "another state");
    return 2;
}

unsigned Decryption(unsigned round)
{
    const unsigned short system = static_cast<unsigned short>(0x0AF0 + round % 32);
    Require(TCCIService::CISampleDecryptionInstance()->IsDRMSupported(TSDRMSystemId(system)) == (system == 0x0B00),
            "another DRM system's answer");
    return 1;
}

unsigned Pvr(unsigned round)
{
    IPvrCip* const ci = TCCIService::PvrCipInstance();
    const long duration = 3'600'000;
    const long time = duration - 5 + static_cast<long>(round % 10);
    bool isValid = time > duration;
    Require(ci->CheckThumbnailValidation("/pvr/free.ts", time, isValid) == 1, "CheckThumbnailValidation");
    Require(isValid == (time <= duration), "another thumbnail's answer");
    int allowed = static_cast<int>(round);
    Require(ci->IsSkippingForwardAllowed(1, allowed) && allowed == -1, "IsSkippingForwardAllowed");
    return 2;
}

/// How many calls the simulator has got.
unsigned long long Handled(TCSimulator& simulator)
{
    const std::string journal = simulator.Journal();
    const std::string key = R"("number":)";
    const auto at = journal.rfind(key);
    return at == std::string::npos ? 0 : std::stoull(journal.substr(at + key.size()));
}

int Run(int seconds)
{
    TCSimulator simulator;
    ICIGeneral* const general = TCCIService::CIGeneralInstance();
    std::map<unsigned char, ECamStatus> statuses;
    Require(WaitFor([&] { return general->GetCiSlotStatus(statuses, 0) == 1 && statuses[0] == CAM_STATUS_READY; }),
            "the CAM does not become ready");
    unsigned short session = 0;
    Require(general->ConnectToSasApplication(1, session) == 1, "ConnectToSasApplication");
    std::vector<unsigned char> bytes;
    Require(WaitFor([&] { return general->GetDiffHellMsb(session, bytes) == 1; }), "no SAS session");
    unsigned char application = 0;
    Require(TCCIService::CIAuxiliaryFileSystemInstance()->RegisterApplication(1, application) == 1,
            "RegisterApplication");
    TSCICAMPlayerHandle lastPlayer;

    std::array<TSTask, 8> tasks = {{
        {"general", General},
        {"SAS", [&](unsigned round) { return Sas(session, round); }},
        {"files", [&](unsigned round) { return Files(application, round); }},
        {"player", [&](unsigned round) { return Player(lastPlayer, round); }},
        {"debug", Debug},
        {"profiles", Profiles},
        {"decryption", Decryption},
        {"PVR", Pvr},
    }};
    const unsigned long long before = Handled(simulator);
    for (TSTask& task : tasks)
    {
        task.thread = std::thread(
            [&task]
            {
                try
                {
                    while (!g_isOver)
                    {
                        task.calls += task.run(task.rounds);
                        ++task.rounds;
                    }
                }
                catch (const std::exception& error)
                {
                    task.error = error.what();
                    g_isOver = true;
                }
            });
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (!g_isOver && std::chrono::steady_clock::now() < end)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    g_isOver = true;
    unsigned long long calls = 0;
    bool isGood = true;
    for (TSTask& task : tasks)
    {
        task.thread.join();
        calls += task.calls;
        isGood = isGood && task.error.empty() && task.rounds > 0;
        std::printf("%-10s %8u rounds %8llu calls %s\n", task.name, task.rounds, task.calls, task.error.c_str());
    }
    const unsigned long long handled = Handled(simulator) - before;
    std::printf("%llu calls made, %llu handled by the simulator\n", calls, handled);
    return isGood && calls == handled ? 0 : 1;
}
} // namespace
} // namespace CIM

int main(int argc, char** argv)
{
    try
    {
        return CIM::Run(argc > 1 ? std::atoi(argv[1]) : 5);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "interface_soak: %s\n", error.what());
        return 1;
    }
}
