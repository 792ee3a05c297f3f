#include "soak/Application.h"

#include <ciapi/CICallOutcome.h>
#include <ciapi/CINames.h>
#include <ciapi/CIService.h>
#include <ciapi/IPCConnection.h>

#include <algorithm>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace CIM::soak
{
namespace
{
constexpr std::uint32_t SMALL_PAYLOAD = 400;
constexpr std::uint32_t MIDDLE_PAYLOAD = 64 * 1024;
constexpr unsigned MIDDLE_ONE_IN = 300;
constexpr unsigned ONE_WAY_ONE_IN = 50;
constexpr unsigned CALLS_WITHOUT_BUS = 20; // what a lost bus answers is soon known

/// What the answer of a call may be.
enum EExpected
{
    RIGHT,
    NOTHING, ///< no answer: the null answer, outputs as they were
    SEED,    ///< answered without anything readable: outputs as they were
    HALF,    ///< of the bytes
};

/// What a fault comes to: on the plain connection, to which an argument tree means nothing, and with a tree.
struct SExpectation
{
    EExpected raw;
    ECallOutcome rawOutcome;
    EExpected tree;
    ECallOutcome treeOutcome;
};
constexpr SExpectation Always(EExpected expected, ECallOutcome outcome)
{
    return {expected, outcome, expected, outcome};
}
constexpr SExpectation EXPECTATIONS[] = {
    Always(RIGHT, CALL_OUTCOME_ANSWERED),                           // none
    Always(RIGHT, CALL_OUTCOME_ANSWERED),                           // late
    Always(RIGHT, CALL_OUTCOME_ANSWERED),                           // twice
    Always(RIGHT, CALL_OUTCOME_ANSWERED),                           // unknown serial
    {HALF, CALL_OUTCOME_ANSWERED, SEED, CALL_OUTCOME_NOT_READABLE}, // shorter
    Always(NOTHING, CALL_OUTCOME_ERROR_REPLY),                      // error
    Always(NOTHING, CALL_OUTCOME_REFUSED),                          // refused
    Always(NOTHING, CALL_OUTCOME_NOT_READABLE),                     // empty
    Always(SEED, CALL_OUTCOME_NOT_READABLE),                        // a tree that is cut; not asked for without trees
    Always(SEED, CALL_OUTCOME_NOT_READABLE),                        // one without a meaning; the same
    Always(NOTHING, CALL_OUTCOME_NO_REPLY),                         // silent
};
static_assert(std::size(EXPECTATIONS) == FAULT_COUNT);

/// What came of a call.
struct SAnswer
{
    int result = 0; ///< of an operation
    bool isTrue = false;
    std::string bytes;
    TSCallOutcome outcome;
    bool isKnownToHang = false; ///< whatever came of it in the end
};

constexpr int NULL_RESULT = 0;
constexpr int SEED_RESULT = -1;
constexpr std::string_view UNTOUCHED = "as it was";

class TCCaller
{
public:
    TCCaller(SApplication& application, unsigned thread, std::uint64_t seed, std::uint64_t number)
        : m_application(application), m_shared(application.shared), m_thread(thread), m_random(seed), m_number(number)
    {
    }
    void Call();

private:
    SRequest m_Choose(bool isTree);
    void m_CallOneWay();
    void m_Count(ECallOutcome outcome, ECallOutcome wanted);
    SAnswer m_Do(const SRequest& request, short method, bool isTree);
    void m_Judge(const SRequest& request, short method, bool isTree, const SAnswer& answer, bool isExcused);
    bool m_IsAs(EExpected expected, const SRequest& request, short method, bool isTree, const SAnswer& answer);

    SApplication& m_application;
    SShared& m_shared;
    const unsigned m_thread;
    TCRandom m_random;
    std::uint64_t m_number;
};

SRequest TCCaller::m_Choose(bool isTree)
{
    const SMix& mix = m_shared.mix;
    SRequest request;
    request.number = ++m_number;
    const std::uint32_t least = static_cast<std::uint32_t>(sizeof request);
    if (m_random.Below(100'000) < mix.largeCalls)
    {
        const bool isRequestLarge = m_random.OneIn(2);
        const std::uint32_t large = m_random.OneIn(4) ? LARGEST_PAYLOAD : m_random.Below(LARGEST_PAYLOAD);
        request.length = isRequestLarge ? std::max(large, least) : least;
        request.answerLength = isRequestLarge ? SMALLEST_ANSWER : std::max(large, SMALLEST_ANSWER);
        return request;
    }
    const std::uint32_t most = m_random.OneIn(MIDDLE_ONE_IN) ? MIDDLE_PAYLOAD : SMALL_PAYLOAD;
    request.length = least + m_random.Below(most);
    request.answerLength = SMALLEST_ANSWER + m_random.Below(most);
    if (m_random.Below(100'000) < mix.lyingCalls)
    {
        request.fault = 1 + m_random.Below(isTree ? FAULT_SILENT - 1 : FAULT_TREE_CUT - 1);
        request.delayMs = request.fault == FAULT_LATE ? 1 + m_random.Below(200) : 0;
    }
    if (m_random.Below(100'000) < mix.silentCalls)
    {
        request.fault = FAULT_SILENT;
        request.delayMs = m_random.OneIn(2) ? m_shared.boundMs.load() : 0;
    }
    return request;
}

SAnswer TCCaller::m_Do(const SRequest& request, short method, bool isTree)
{
    const std::string input = MakeRequest(request, method);
    SAnswer answer;
    const TCWatchedCall watch(m_application, m_thread, request.number);
    if (!isTree)
    {
        char* output = nullptr;
        int length = 0;
        answer.isTrue = IPCConnection__Call(CI_DEBUG_CONNECTION_NAME.c_str(), method, input.data(),
                                            static_cast<int>(input.size()), &output, &length);
        answer.bytes.assign(output, output + length);
        IPCConnection__CallDisposeOutputBuffer(output);
    }
    else
    {
        using TBytes = std::vector<unsigned char>;
        using TOperation = int (ICIGeneral::*)(unsigned short, TBytes const&, TBytes&);
        constexpr TOperation OPERATIONS[] = {
            &ICIGeneral::EncryptUsingAesCbcWithSAK, &ICIGeneral::DecryptUsingAesEcbWithSEK,
            &ICIGeneral::EncryptUsingAesCbcWithSAKConcatDHSK, &ICIGeneral::ComputeSHA256ConcatDHSK};
        TBytes output(UNTOUCHED.begin(), UNTOUCHED.end());
        answer.result = (TCCIService::CIGeneralInstance()->*OPERATIONS[method - FIRST_BYTES_METHOD])(
            7, TBytes(input.begin(), input.end()), output);
        answer.bytes.assign(output.begin(), output.end());
    }
    answer.outcome = LastCallOutcome();
    answer.isKnownToHang = watch.IsKnownToHang();
    return answer;
}

bool TCCaller::m_IsAs(EExpected expected, const SRequest& request, short method, bool isTree, const SAnswer& answer)
{
    const auto holds = [&](std::size_t length)
    {
        const bool isResult = isTree ? answer.result == ResultOf(request.number, MEANING_ANSWER) : answer.isTrue;
        return isResult && answer.bytes == BytesOf(request.number, method, MEANING_ANSWER, length);
    };
    switch (expected)
    {
    case RIGHT:
        return holds(request.answerLength);
    case HALF:
        return holds(request.answerLength / 2);
    case NOTHING:
        return isTree ? answer.result == NULL_RESULT && answer.bytes == UNTOUCHED
                      : !answer.isTrue && answer.bytes.empty();
    case SEED:
        return isTree ? answer.result == SEED_RESULT && answer.bytes == UNTOUCHED
                      : answer.isTrue && answer.bytes.empty();
    }
    return false;
}

// What a daemon or a bus that was stopped or killed explains: no answer at all, told as such.
bool IsTroubleTold(const TSCallOutcome& outcome)
{
    const std::string& name = outcome.errorName;
    return outcome.outcome == CALL_OUTCOME_NOT_SENT || outcome.outcome == CALL_OUTCOME_NO_REPLY ||
           (outcome.outcome == CALL_OUTCOME_ERROR_REPLY && name.starts_with("org.freedesktop.DBus.Error."));
}

void TCCaller::m_Count(ECallOutcome outcome, ECallOutcome wanted)
{
    outcome == wanted ? m_shared.Count(FIGURE_SUCCEEDED) : void(m_shared.failed[outcome].fetch_add(1));
}

void TCCaller::m_Judge(const SRequest& request, short method, bool isTree, const SAnswer& answer, bool isExcused)
{
    const SExpectation& row = EXPECTATIONS[request.fault];
    const EExpected expected = isTree ? row.tree : row.raw;
    const ECallOutcome outcome = isTree ? row.treeOutcome : row.rawOutcome;
    m_Count(answer.outcome.outcome, CALL_OUTCOME_ANSWERED);
    if ((isExcused || answer.isKnownToHang) && IsTroubleTold(answer.outcome) &&
        m_IsAs(NOTHING, request, method, isTree, answer))
    {
        m_shared.Count(FIGURE_EXCUSED);
        return;
    }
    const bool isNamed = request.fault != FAULT_ERROR || (answer.outcome.errorName == ERROR_NAME &&
                                                          answer.outcome.errorText == std::to_string(request.number));
    const bool isRight = m_IsAs(expected, request, method, isTree, answer);
    if (isRight && answer.outcome.outcome == outcome && isNamed)
    {
        return;
    }
    // An answer that is none of those it may be is worse than a failure that nothing explains.
    const bool isFailure =
        !isRight && (m_IsAs(NOTHING, request, method, isTree, answer) || m_IsAs(SEED, request, method, isTree, answer));
    m_shared.Find(isFailure || isRight ? FINDING_UNTOLD : FINDING_WRONG,
                  "call %" PRIx64 ", method %d, fault %u, %u bytes for %u: result %d/%d, %zu bytes, %s", request.number,
                  method, request.fault, request.length, request.answerLength, answer.result, answer.isTrue,
                  answer.bytes.size(), ToString(answer.outcome).c_str());
}

void TCCaller::m_CallOneWay()
{
    const unsigned before = m_shared.trouble.load();
    const TCWatchedCall watch(m_application, m_thread, ++m_number);
    const int result = TCCIService::CIGeneralInstance()->EnterMenu(1, /*oneWay=*/true);
    const ECallOutcome outcome = LastCallOutcome().outcome;
    m_shared.Count(FIGURE_ONE_WAY);
    m_Count(outcome, CALL_OUTCOME_SENT);
    if ((result != 1 || outcome != CALL_OUTCOME_SENT) && !SShared::IsExcused(before, m_shared.trouble.load()) &&
        !m_application.slot.isLeaving.load())
    {
        m_shared.Find(FINDING_UNTOLD, "one-way call %" PRIx64 ": result %d, outcome %d", m_number, result, outcome);
    }
}

void TCCaller::Call()
{
    m_shared.Count(FIGURE_CALLS);
    if (m_random.OneIn(ONE_WAY_ONE_IN))
    {
        m_CallOneWay();
        return;
    }
    const bool isTree = !m_random.OneIn(3);
    const short method = isTree ? static_cast<short>(FIRST_BYTES_METHOD + m_random.Below(4)) : RAW_METHOD;
    const SRequest request = m_Choose(isTree);
    const unsigned before = m_shared.trouble.load();
    const SAnswer answer = m_Do(request, method, isTree);
    // A thread that still calls while its process exits gets the null answer.
    const bool isExcused = SShared::IsExcused(before, m_shared.trouble.load()) || m_application.slot.isLeaving.load();
    m_Judge(request, method, isTree, answer, isExcused);
}

// What an application leaks, to see that it is found.
void Plant(EPlant plant, std::uint64_t call)
{
    if (plant == PLANT_LEAK && call % 2 == 0)
    {
        [[maybe_unused]] static void* volatile forgotten;
        forgotten = std::malloc(1000);
    }
    else if (plant == PLANT_DESCRIPTOR && call % 1000 == 0)
    {
        [[maybe_unused]] const int forgotten = dup(STDERR_FILENO);
    }
    else if (plant == PLANT_CRASH && call == 2000)
    {
        std::abort();
    }
}
} // namespace

TCWatchedCall::TCWatchedCall(SApplication& application, unsigned thread, std::uint64_t number)
    : m_thread(application.slot.threads[thread]), m_shared(application.shared)
{
    m_thread.number.store(number, std::memory_order_relaxed);
    m_thread.callSince.store(m_since);
}

TCWatchedCall::~TCWatchedCall()
{
    m_thread.callSince.store(0);
    m_shared.Raise(FIGURE_LONGEST_CALL_MS, NowMs() - m_since);
}

std::optional<TFence> AskFence(SApplication& application, unsigned thread)
{
    char* output = nullptr;
    int length = 0;
    TFence fence;
    const TCWatchedCall watch(application, thread, 0);
    const bool isTrue = IPCConnection__Call(CI_DEBUG_CONNECTION_NAME.c_str(), FENCE_METHOD, "", 0, &output, &length);
    const bool isWhole = isTrue && length == sizeof fence;
    if (isWhole)
    {
        std::memcpy(fence.data(), output, sizeof fence);
    }
    IPCConnection__CallDisposeOutputBuffer(output);
    return isWhole ? std::optional(fence) : std::nullopt;
}

void MakeCalls(SApplication& application, unsigned thread, std::uint64_t seed, std::uint64_t number)
{
    TCCaller caller(application, thread, seed, number);
    unsigned withoutBus = 0;
    while (!application.isStopping.load() && (!application.shared.isBusDead.load() || withoutBus++ < CALLS_WITHOUT_BUS))
    {
        pthread_rwlock_rdlock(&application.calling);
        caller.Call();
        pthread_rwlock_unlock(&application.calling);
        Plant(application.shared.plant, ++application.calls);
        if (application.IsToEnd(ENDING_EXIT_THREAD))
        {
            std::exit(0);
        }
    }
}
} // namespace CIM::soak
