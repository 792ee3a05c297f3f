#pragma once

#include "protocol/SignalData.h"
#include "protocol/SignalWords.h"

#include <ciapi/CIAuxiliaryFileSystemDataType.h>
#include <ciapi/CIEnumerations.h>
#include <ciapi/CISampleDecryptionDataType.h>

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

// What the data of each signal means, one row a signal. Who fills the bytes, who tells them in words, who reads words and
// the table in docs/signals.md all go by the rows.

namespace CIM::protocol
{
/// Where a number stands in the data.
enum class EPlace
{
    NOWHERE,
    CODE,
    ID,
    VALUE,
    VALUE_LOW,  ///< the lower 16 bits of the value
    VALUE_HIGH, ///< the upper 16 bits
};

/// A number in the data, and what it means.
struct SSignalNumber
{
    EPlace place = EPlace::NOWHERE;
    const char* key = "";          ///< its name in JSON
    const char* text = "";         ///< what it is, for the documentation; empty: its words say so
    const char* phrase = "";       ///< in a sentence, with '#' for the number; empty: it always is one of the words
    const char* one = "";          ///< the same for 1, where that is not the phrase
    const SWords* words = nullptr; ///< names of all values, or of some
    std::uint64_t codes = 0;       ///< the codes that it comes with, as bits; 0: all
    bool isSigned = false;

    /// Whether it means that at all with a code.
    constexpr bool ComesWith(unsigned code) const { return codes == 0 || (code < 64 && (codes >> code & 1) != 0); }
    constexpr bool IsThere() const { return place != EPlace::NOWHERE; }
};

/// What a signal is raised for.
enum class ESubject
{
    SLOT,     ///< profile 0 and the slot as handle number, 0 when there is no slot
    PIPELINE, ///< that pipeline's profile and handle number
    UNKNOWN,  ///< it has no cause in the model: only the layout is known
};

/// One row.
struct SSignalRow
{
    ECISignalType type;
    ESubject subject;
    SSignalNumber code;
    std::array<SSignalNumber, 3> numbers{}; ///< what id and value mean
};

namespace detail
{
template <class E>
constexpr SSignalNumber Coded()
{
    return {.place = EPlace::CODE, .key = "code", .words = WordsOf<E>()};
}
/// A number that is one of an enumeration's.
template <class E>
constexpr SSignalNumber Named(EPlace place, const char* key)
{
    return {.place = place, .key = key, .words = WordsOf<E>()};
}
constexpr SSignalNumber Counted(EPlace place, const char* key, const char* text, const char* phrase,
                                const char* one = "")
{
    return {.place = place, .key = key, .text = text, .phrase = phrase, .one = one};
}
/// A number of which some values are names.
template <class E>
constexpr SSignalNumber Partly(SSignalNumber number)
{
    number.words = WordsOf<E>();
    return number;
}
constexpr SSignalNumber Signed(SSignalNumber number)
{
    number.isSigned = true;
    return number;
}
constexpr SSignalNumber With(std::initializer_list<int> codes, SSignalNumber number)
{
    for (const int code : codes)
    {
        number.codes |= std::uint64_t{1} << code;
    }
    return number;
}
template <class... Numbers>
constexpr SSignalRow Slot(ECISignalType type, const SSignalNumber& code = {}, const Numbers&... numbers)
{
    return {type, ESubject::SLOT, code, {numbers...}};
}
template <class... Numbers>
constexpr SSignalRow Pipeline(ECISignalType type, const SSignalNumber& code = {}, const Numbers&... numbers)
{
    return {type, ESubject::PIPELINE, code, {numbers...}};
}
constexpr SSignalRow NoCause(ECISignalType type) { return {type, ESubject::UNKNOWN, {}}; }

inline constexpr SSignalNumber TRIES_LEFT =
    Counted(EPlace::ID, "triesLeft", "tries left", "# tries left", "1 try left");
inline constexpr SSignalNumber RATING = Counted(EPlace::VALUE, "rating", "the rating", "rating #");
inline constexpr SSignalNumber SESSION = Counted(EPlace::ID, "session", "session", "session #");
inline constexpr SSignalNumber DATA_ID = Counted(EPlace::VALUE, "dataId", "data identifier", "data #");
inline constexpr SSignalNumber PLAYER = Counted(EPlace::ID, "player", "player handle", "player #");
inline constexpr SSignalNumber SECONDS = Partly<EPlayTime>(Counted(EPlace::VALUE, "seconds", "seconds", "# s"));
} // namespace detail

/// All signals, in the order of their numbers.
inline constexpr auto SIGNAL_ROWS = []
{
    using namespace detail;
    return std::array{
        Slot(SIGNAL_CI_MMI_STATUS_CHANGED, Coded<ECiMmiStatus>(),
             With({CI_MMI_STATUS_MENU_RECEIVED, CI_MMI_STATUS_LIST_RECEIVED},
                  Counted(EPlace::VALUE, "entries", "entries of the menu or list", "# entries", "1 entry"))),
        Slot(SIGNAL_CI_CAM_COMPATIBILITY_ISSUE,
             Partly<ECamCompatibility>(Counted(EPlace::CODE, "code", "CI Plus error code", "CI Plus error #"))),
        NoCause(SIGNAL_CI_TTX_STATUS_CHANGE),
        Slot(SIGNAL_CI_CAM_READY_STATUS_CHANGED, Coded<ECamStatus>()),
        Pipeline(SIGNAL_CI_CHECK_PARENTAL_RATING_HANDLERS, Coded<EPinWindowShowHandler>(), RATING),
        Pipeline(SIGNAL_CI_PIN_REPLY_TO_PIN_MMI_REQ, Coded<ECamPinCodeStatus>(), TRIES_LEFT),
        Slot(SIGNAL_CI_PIN_REPLY_TO_PIN_CMD, Coded<ECamPinCodeStatus>(), TRIES_LEFT),
        Slot(SIGNAL_CI_PIN_REPLY_TO_CI_APP_REQUEST, Coded<ECamPinCodeStatus>(), TRIES_LEFT),
        NoCause(SIGNAL_CI_PIN_REPLY_TO_PIN_PLAYBACK),
        Pipeline(SIGNAL_CI_PIN_REPLY_TO_PIN_EVENT, Coded<ECamPinCodeStatus>(), TRIES_LEFT, RATING),
        Pipeline(SIGNAL_CI_APP_MMI_START_APP, Coded<EAppMmiMessage>(), SESSION, DATA_ID),
        Pipeline(SIGNAL_CI_APP_MMI_FILE_ACK, Coded<EAppMmiMessage>(), SESSION, DATA_ID),
        Pipeline(SIGNAL_CI_APP_MMI_ABORT_REQ, Coded<EAppMmiMessage>(), SESSION, DATA_ID),
        Pipeline(SIGNAL_CI_APP_MMI_ABORT_ACK, Coded<EAppMmiMessage>(), SESSION, DATA_ID),
        Slot(SIGNAL_CI_CAM_UGRADE_STATUS_CHANGE, Coded<ECamUpgradeStatus>(),
             With({CAM_UPGRADE_STATUS_REPLY_REQUESTED}, Named<ECamUpgradeMode>(EPlace::ID, "mode")),
             With({CAM_UPGRADE_STATUS_PROGRESS}, Counted(EPlace::VALUE, "percent", "per cent", "# %")),
             With({CAM_UPGRADE_STATUS_RESET}, Named<EUpgradeReset>(EPlace::VALUE, "reset"))),
        Slot(SIGNAL_CI_OPERATOR_PROFILE_STATUS_CHANGE, Coded<ECamOperatorProfileStatus>(),
             Named<EAntennaMode>(EPlace::ID, "antennaMode"), Named<EServiceMode>(EPlace::VALUE, "serviceMode")),
        Slot(SIGNAL_CI_SAS_STATUS_CHANGE, Coded<ECamSasStatus>(), SESSION,
             With({CAM_SAS_STATUS_CONNECT_RESULT}, Named<ESasConnectionStatus>(EPlace::VALUE, "result")),
             With({CAM_SAS_STATUS_DATA_RECEIVED},
                  Counted(EPlace::VALUE, "message", "number of the message", "message #"))),
        Slot(
            SIGNAL_CI_CA_SYSTEMS_CHANGE, SSignalNumber(),
            Counted(EPlace::VALUE, "caSystems", "how many CA system ids there are now", "# CA systems", "1 CA system")),
        Slot(SIGNAL_CI_SLOT_TEST_RESULT, Coded<ESlotTestResult>()),
        Slot(SIGNAL_CI_CAM_MONITOR_STATUS, Coded<ECiCamMonitorStatus>(),
             Counted(EPlace::VALUE, "resets", "how often the CAM was reset", "# resets", "1 reset")),
        NoCause(SIGNAL_CI_VIDEODEC_ERROR_DETECT),
        Pipeline(SIGNAL_CI_CA_REPLY, Coded<ECaReply>()),
        Pipeline(SIGNAL_CI_TUNE_ACK_SERVICE_CHANGE_ALLOWED),
        Pipeline(SIGNAL_CI_TUNE_ACK_SERVICE_CHANGE_NOT_ALLOWED),
        Pipeline(SIGNAL_CI_TUNE_ACK_SOURCE_CHANGE_ALLOWED),
        Pipeline(SIGNAL_CI_TUNE_ACK_SOURCE_CHANGE_NOT_ALLOWED),
        Pipeline(SIGNAL_CI_REQUEST_TUNE_BLOCKING, Coded<ETuneBlocking>()),
        Pipeline(SIGNAL_CI_TUNER_RELEASE_REPLY_STATUS, Coded<EReleaseAnswer>()),
        NoCause(SIGNAL_CI_DECODER_ERROR_STATUS_CHANGED),
        Pipeline(SIGNAL_CI_RECORD_STOP_REQUEST, Coded<EPvrRecordStopReasonByCI>()),
        Pipeline(SIGNAL_CI_TIMESHIFT_STOP_REQUEST, Coded<EPvrTimeshiftStopReasonByCI>()),
        Pipeline(SIGNAL_CI_PLAYBACK_STOP_REQUEST, Coded<EPvrPlaybackStopReasonByCI>()),
        NoCause(SIGNAL_CI_SAS_STREAM_STATUS_CHANGED),
        Pipeline(SIGNAL_CI_APPMMI_MESSAGE, Coded<EAppMmiMessage>(), SESSION, DATA_ID),
        NoCause(SIGNAL_CI_APPMMI_SERVICE_CHANGED),
        Pipeline(SIGNAL_CI_PMT_SENT_TO_CAM, Coded<ECaPmtCmd>()),
        NoCause(SIGNAL_CI_HDS_REQUEST_CHANGED),
        Pipeline(SIGNAL_CI_CAM_CONNECTED_TO_PIPELINE, Coded<EPipelineConnection>()),
        NoCause(SIGNAL_CI_TRICK_MODE_CONTROL),
        Pipeline(SIGNAL_CI_CC_LICENSE_CONFIRMED, Coded<EEmi>(),
                 Partly<EPlaysLeft>(Counted(EPlace::VALUE, "playsLeft", "plays left", "# plays left", "1 play left"))),
        Slot(SIGNAL_CI_FILE_RETRIEVAL_MESSAGE, Coded<ECIAuxiliaryFileSystemMessage>(),
             Counted(EPlace::ID, "fileSystem", "file system", "file system #"),
             With({CI_FILE_RETRIEVAL_NEW_FILE_SYSTEM, CI_FILE_RETRIEVAL_DEL_FILE_SYSTEM},
                  Named<ECIAuxiliaryFileSystemDomainIds>(EPlace::VALUE, "domain")),
             With({CI_FILE_RETRIEVAL_NEW_FILE},
                  Counted(EPlace::VALUE, "application", "application identifier", "application #"))),
        NoCause(SIGNAL_CI_SHOW_DEBUG_MESSAGE),
        Slot(SIGNAL_CI_CAM_MODE_CHANGED, Coded<ECamMode>()),
        Slot(SIGNAL_CI_SAC_STATUS_CHANGE, Coded<ESacStatus>()),
        Pipeline(SIGNAL_CI_SAMPLE_DECRYPTION_STATUS_CHANGED, Coded<ESampleDecryptionTransmissionStatus>(),
                 Counted(EPlace::ID, "drmSystem", "DRM system id", "DRM system #"),
                 Named<ESampleDecryptionDRMStatus>(EPlace::VALUE_LOW, "drmStatus"),
                 Counted(EPlace::VALUE_HIGH, "bufferSize", "buffer size", "buffer size #")),
        Slot(SIGNAL_CI_CICAM_PLAYER_CONTENT_VERIFIED, Coded<EContentVerification>(), PLAYER),
        Slot(SIGNAL_CI_CICAM_PLAYER_PLAYBACK_STATUS, Coded<EPlayerStatus>(), PLAYER),
        Slot(SIGNAL_CI_CICAM_PLAYER_ERROR, Coded<EPlayerError>(), PLAYER),
        Slot(SIGNAL_CI_CICAM_PLAYER_INFO_DURATION, SSignalNumber(), PLAYER, SECONDS),
        Slot(SIGNAL_CI_CICAM_PLAYER_INFO_POSITION, SSignalNumber(), PLAYER, SECONDS),
        Slot(SIGNAL_CI_CICAM_PLAYER_INFO_SPEED, SSignalNumber(), PLAYER,
             Signed(Counted(EPlace::VALUE_LOW, "speed", "hundredths of nominal speed, signed", "speed # %"))),
    };
}();

namespace detail
{
constexpr bool HasAllSignals()
{
    // The two that bound the range are no signals themselves.
    if (SIGNAL_ROWS.size() + 2 != std::size(TSEnumNames<ECISignalType>::entries))
    {
        return false;
    }
    for (std::size_t i = 0; i < SIGNAL_ROWS.size(); ++i)
    {
        if (SIGNAL_ROWS[i].type != TSEnumNames<ECISignalType>::entries[i + 1].value)
        {
            return false;
        }
    }
    return true;
}
static_assert(HasAllSignals(), "each signal has a row, in the order of the numbers");
} // namespace detail

/// The row of a signal; of one that nobody knows, one without a meaning.
constexpr SSignalRow SignalRow(ECISignalType type)
{
    for (const SSignalRow& row : SIGNAL_ROWS)
    {
        if (row.type == type)
        {
            return row;
        }
    }
    return {type, ESubject::UNKNOWN, {}};
}

/// What a place holds.
constexpr std::int64_t NumberIn(const SSignalFields& fields, const SSignalNumber& number)
{
    std::uint32_t bits = 0;
    switch (number.place)
    {
    case EPlace::NOWHERE:
        break;
    case EPlace::CODE:
        bits = fields.code;
        break;
    case EPlace::ID:
        bits = fields.id;
        break;
    case EPlace::VALUE:
        bits = fields.value;
        break;
    case EPlace::VALUE_LOW:
        bits = fields.value & 0xFFFF;
        break;
    case EPlace::VALUE_HIGH:
        bits = fields.value >> 16;
        break;
    }
    return number.isSigned ? static_cast<std::int16_t>(bits) : std::int64_t{bits};
}

/// The greatest number of a place.
constexpr std::uint32_t GreatestIn(EPlace place)
{
    return place == EPlace::CODE ? 0xFF : place == EPlace::VALUE ? 0xFFFFFFFF : 0xFFFF;
}

/// The name of a number in its place, where a negative one stands cut down; empty when it has none.
constexpr std::string_view WordFor(const SSignalNumber& number, std::int64_t value)
{
    if (number.words != nullptr)
    {
        for (const SWord& word : number.words->words)
        {
            if (((word.value ^ value) & GreatestIn(number.place)) == 0)
            {
                return word.name;
            }
        }
    }
    return {};
}

/// A field of a signal as it is given: a number, or an enumerator, which then has to be one of the field's.
struct SGiven
{
    std::uint32_t number = 0;
    const SWords* words = nullptr;

    constexpr SGiven() = default;
    template <class Integer>
    requires std::is_integral_v<Integer>
    constexpr SGiven(Integer aNumber) : number(static_cast<std::uint32_t>(aNumber)) {}
    template <class E>
    requires std::is_enum_v<E>
    constexpr SGiven(E enumerator) : number(static_cast<std::uint32_t>(enumerator)), words(WordsOf<E>()) {}
};

/// Whether a number that has a word may stand in a field. \param[in] field  CODE, ID or VALUE
constexpr bool Takes(const SSignalRow& row, EPlace field, unsigned code, const SGiven& given)
{
    if (given.words == nullptr)
    {
        return true;
    }
    if (field == EPlace::CODE)
    {
        return row.code.words == given.words;
    }
    for (const SSignalNumber& number : row.numbers)
    {
        const bool isThere = number.place == field || (field == EPlace::VALUE && number.place == EPlace::VALUE_LOW);
        if (isThere && number.ComesWith(code) && number.words == given.words)
        {
            return true;
        }
    }
    return false;
}

/// Fills the data. \throws std::logic_error for an enumerator that means nothing there
inline TSSignalData MakeSignalData(ECISignalType type, std::uint8_t slot, const SGiven& code, const SGiven& id,
                                   const SGiven& value)
{
    const SSignalRow row = SignalRow(type);
    if (!Takes(row, EPlace::CODE, code.number, code) || !Takes(row, EPlace::ID, code.number, id) ||
        !Takes(row, EPlace::VALUE, code.number, value))
    {
        throw std::logic_error("an enumerator that " + std::string(EnumName(type)) + " does not have");
    }
    return PackSignalData(
        {slot, static_cast<std::uint8_t>(code.number), static_cast<std::uint16_t>(id.number), value.number});
}
} // namespace CIM::protocol
