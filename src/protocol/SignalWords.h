#pragma once

#include <ciapi/CIPlatformEnumNames.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <span>
#include <string_view>

// Names of the numbers in the data of signals: of the library's enumerations, and of those that only signals have.

namespace CIM::protocol
{
/// A number that has a name.
struct SWord
{
    std::int64_t value;
    std::string_view name;
};

/// The names of an enumeration.
struct SWords
{
    std::string_view type;
    std::span<const SWord> words;
    bool isPublic; ///< of the library or the platform; the page of signals spells out the others
};

/// The names of an enumeration that only the data of signals has; the others have TSEnumNames.
template <class E>
struct TSignalWords;

#define CIAPI_SIGNAL_WORD(number, name) {number, #name},
/// Makes such an enumeration from its list CIAPI_WORDS_<enumeration>(X), as CIAPI_ENUMERATION does.
#define CIAPI_SIGNAL_WORDS(E, Underlying)                                                                              \
    enum E : Underlying                                                                                                \
    {                                                                                                                  \
        CIAPI_WORDS_##E(CIAPI_ENUMERATOR)                                                                              \
    };                                                                                                                 \
    template <>                                                                                                        \
    struct TSignalWords<E>                                                                                             \
    {                                                                                                                  \
        static constexpr SWord ENTRIES[] = {CIAPI_WORDS_##E(CIAPI_SIGNAL_WORD)};                                       \
        static constexpr SWords WORDS{#E, ENTRIES, false};                                                             \
    };

// clang-format off
#define CIAPI_WORDS_ECaReply(X)                \
    X(0x01, CA_REPLY_POSSIBLE)                 \
    X(0x02, CA_REPLY_POSSIBLE_PURCHASE)        \
    X(0x03, CA_REPLY_POSSIBLE_TECHNICAL)       \
    X(0x71, CA_REPLY_NOT_POSSIBLE_NO_ENTITLEMENT) \
    X(0x73, CA_REPLY_NOT_POSSIBLE_TECHNICAL)
/// The CA_enable values of EN 50221's ca_pmt_reply.
CIAPI_SIGNAL_WORDS(ECaReply, int)

#define CIAPI_WORDS_ECamCompatibility(X) \
    X(0, CAM_SILENT)
/// What stands where a CI Plus error code would, when the CAM said nothing.
CIAPI_SIGNAL_WORDS(ECamCompatibility, int)

#define CIAPI_WORDS_ESacStatus(X) \
    X(0, SAC_GONE)                \
    X(1, SAC_ESTABLISHED)
/// Whether there is a secure authenticated channel (SAC).
CIAPI_SIGNAL_WORDS(ESacStatus, int)

#define CIAPI_WORDS_ESlotTestResult(X) \
    X(0, SLOT_TEST_FAILED)             \
    X(1, SLOT_TEST_PASSED)
CIAPI_SIGNAL_WORDS(ESlotTestResult, int)

#define CIAPI_WORDS_EPipelineConnection(X) \
    X(0, PIPELINE_DISCONNECTED)            \
    X(1, PIPELINE_CONNECTED)
/// Whether a CAM serves a pipeline.
CIAPI_SIGNAL_WORDS(EPipelineConnection, int)

#define CIAPI_WORDS_ETuneBlocking(X) \
    X(0, TUNING_ALLOWED)             \
    X(1, TUNING_BLOCKED)
CIAPI_SIGNAL_WORDS(ETuneBlocking, int)

#define CIAPI_WORDS_EReleaseAnswer(X) \
    X(0, RELEASE_ANSWER_OK)           \
    X(1, RELEASE_ANSWER_REFUSED)
CIAPI_SIGNAL_WORDS(EReleaseAnswer, int)

#define CIAPI_WORDS_EUpgradeReset(X) \
    X(0, UPGRADE_RESET_PCMCIA)       \
    X(1, UPGRADE_RESET_INTERFACE)    \
    X(2, UPGRADE_RESET_NONE)         \
    X(255, UPGRADE_FAILED)
/// How an upgrade ended.
CIAPI_SIGNAL_WORDS(EUpgradeReset, int)

#define CIAPI_WORDS_EContentVerification(X) \
    X(0, CONTENT_NOT_PLAYABLE)              \
    X(1, CONTENT_PLAYABLE)
CIAPI_SIGNAL_WORDS(EContentVerification, int)

#define CIAPI_WORDS_EPlayerStatus(X)  \
    X(0, PLAYER_STATUS_STOPPED)       \
    X(1, PLAYER_STATUS_PLAYING)       \
    X(2, PLAYER_STATUS_PAUSED)        \
    X(3, PLAYER_STATUS_REACHED_BEGIN) \
    X(4, PLAYER_STATUS_REACHED_END)
CIAPI_SIGNAL_WORDS(EPlayerStatus, int)

#define CIAPI_WORDS_EPlayerError(X)    \
    X(1, PLAYER_ERROR_CONTENT_UNKNOWN) \
    X(2, PLAYER_ERROR_CONTENT_REFUSED) \
    X(3, PLAYER_ERROR_PLAYBACK)        \
    X(0xFF, PLAYER_ERROR_CAM_GONE)
/// CI Plus's player errors, and our own for a CAM that went.
CIAPI_SIGNAL_WORDS(EPlayerError, int)

#define CIAPI_WORDS_EPlayTime(X) \
    X(0xFFFFFFFF, PLAY_TIME_UNKNOWN)
CIAPI_SIGNAL_WORDS(EPlayTime, std::uint32_t)

#define CIAPI_WORDS_EEmi(X)     \
    X(0, EMI_COPYING_FREE)      \
    X(1, EMI_NO_MORE_COPYING)   \
    X(2, EMI_COPY_ONCE)         \
    X(3, EMI_COPYING_FORBIDDEN)
/// Encryption mode indicator: the copy control of content.
CIAPI_SIGNAL_WORDS(EEmi, int)

#define CIAPI_WORDS_EPlaysLeft(X) \
    X(0xFFFFFFFF, PLAYS_UNLIMITED)
CIAPI_SIGNAL_WORDS(EPlaysLeft, std::uint32_t)
// clang-format on
#undef CIAPI_SIGNAL_WORDS
#undef CIAPI_SIGNAL_WORD

namespace detail
{
template <class E>
inline constexpr auto PUBLIC_WORDS = []
{
    std::array<SWord, std::size(TSEnumNames<E>::entries)> words{};
    std::transform(std::begin(TSEnumNames<E>::entries), std::end(TSEnumNames<E>::entries), words.begin(),
                   [](const TSEnumName<E>& entry) {
                       return SWord{static_cast<std::int64_t>(entry.value), entry.name};
                   });
    return words;
}();
template <class E>
inline constexpr SWords PUBLIC_ENUMERATION{TSEnumNames<E>::type, PUBLIC_WORDS<E>, true};
} // namespace detail

/// The words of an enumeration, one address for each.
template <class E>
constexpr const SWords* WordsOf()
{
    if constexpr (requires { TSignalWords<E>::WORDS; })
    {
        return &TSignalWords<E>::WORDS;
    }
    else
    {
        return &detail::PUBLIC_ENUMERATION<E>;
    }
}
} // namespace CIM::protocol
