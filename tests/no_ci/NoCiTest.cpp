#include "no_ci/NullAnswers.h"
#include "support/LogCapture.h"
#include "support/TestEnvironment.h"

#include <ciapi/CICallOutcome.h>

#include <gmock/gmock.h>

#include <iostream>
#include <vector>

// A set without CI, as an application sees it: public headers and the shared library, nothing else.

namespace CIM
{
namespace
{
std::size_t ExpectAnswers(const std::vector<SAnswer>& answers)
{
    for (const SAnswer& row : answers)
    {
        const std::string answer = row.answer();
        std::cout << row.operation << ": " << answer << '\n';
        EXPECT_EQ(answer, row.expected) << row.operation;
    }
    return answers.size();
}

int OnSignal(ECISignalType, EProfile, unsigned short, TSSignalData, void*)
{
    ADD_FAILURE() << "a set without CI has no signals";
    return 0;
}

// One test: a process has only one facade, and only one life of it.
TEST(NoCi, EveryOperationAnswersAtOnceAndTheLivesOfTheInstancesAreLogged)
{
    const TCFeatureKeys keys{{"com.kelvora/featureconf/product.num_of_ci", "0"}};
    EXPECT_FALSE(TCCIService::IsCIOperable());
    TCLogCapture::Clear();
    std::size_t operations = 0;
    operations += ExpectAnswers(Answers(TCCIService::CIGeneralInstance()));
    operations += ExpectAnswers(Answers(TCCIService::CIAppMMIInstance()));
    operations += ExpectAnswers(Answers(TCCIService::CIAuxiliaryFileSystemInstance()));
    operations += ExpectAnswers(Answers(TCCIService::CICAMPlayerInstance()));
    operations += ExpectAnswers(Answers(TCCIService::CIDebugInstance()));
    operations += ExpectAnswers(Answers(TCCIService::CIOperatorProfileInstance()));
    operations += ExpectAnswers(Answers(TCCIService::CISampleDecryptionInstance()));
    operations += ExpectAnswers(Answers(TCCIService::CISignalSubscriberInstance(&OnSignal)));
    operations += ExpectAnswers(Answers(TCCIService::PvrCipInstance()));
    EXPECT_EQ(operations, 124u);
    EXPECT_EQ(ToString(LastCallOutcome()), "no call was made");
    TCCIService::Destroy();
    EXPECT_EQ(TCCIService::CIGeneralInstance(), nullptr);

    std::vector<std::string> lines;
    for (const SLogLine& line : TCLogCapture::Lines())
    {
        if (line.buffer == 0)
        {
            EXPECT_EQ(line.priority, 4);
            EXPECT_EQ(line.tag, "CI_API");
            EXPECT_THAT(line.text, testing::EndsWith("] ")) << "nothing behind the prefix";
            lines.push_back(line.text.substr(0, line.text.find(" > ")));
        }
    }
    EXPECT_THAT(
        lines,
        testing::ElementsAre(
            "CIGeneralProxyNO_CI.cpp: TCCIGeneralProxyNO_CI(30)", "CIAppMMIProxyNO_CI.cpp: TCCIAppMMIProxyNO_CI(35)",
            "CIAuxiliaryFileSystemProxyNO_CI.cpp: TCCIAuxiliaryFileSystemProxyNO_CI(35)",
            "CICAMPlayerProxyNO_CI.cpp: TCCICAMPlayerProxyNO_CI(34)", "CIDebugProxyNO_CI.cpp: TCCIDebugProxyNO_CI(34)",
            "CIOperatorProfileProxyNO_CI.cpp: TCCIOperatorProfileProxyNO_CI(35)",
            "CISampleDecryptionProxyNO_CI.cpp: TCCISampleDecryptionProxyNO_CI(34)",
            "CISignalSubscriberProxyNO_CI.cpp: TCCISignalSubscriberProxyNO_CI(34)",
            "CISignalSubscriberProxyNO_CI.cpp: SetCallback(62)", "CISignalSubscriberProxyNO_CI.cpp: SetCallback(62)",
            "PvrCipProxyNO_CI.cpp: TCPvrCipProxyNO_CI(30)", "CIGeneralProxyNO_CI.cpp: ~TCCIGeneralProxyNO_CI(37)",
            "CIAppMMIProxyNO_CI.cpp: ~TCCIAppMMIProxyNO_CI(42)",
            "CIOperatorProfileProxyNO_CI.cpp: ~TCCIOperatorProfileProxyNO_CI(42)",
            "PvrCipProxyNO_CI.cpp: ~TCPvrCipProxyNO_CI(37)", "CIDebugProxyNO_CI.cpp: ~TCCIDebugProxyNO_CI(41)",
            "CIAuxiliaryFileSystemProxyNO_CI.cpp: ~TCCIAuxiliaryFileSystemProxyNO_CI(42)",
            "CISignalSubscriberProxyNO_CI.cpp: ~TCCISignalSubscriberProxyNO_CI(41)",
            "CICAMPlayerProxyNO_CI.cpp: ~TCCICAMPlayerProxyNO_CI(41)",
            "CISampleDecryptionProxyNO_CI.cpp: ~TCCISampleDecryptionProxyNO_CI(41)"));
}
} // namespace
} // namespace CIM
