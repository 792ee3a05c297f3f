#pragma once

#include "simulator/definition/SignalData.h"
#include "simulator/world/Random.h"
#include "json/Draft.h"

#include <deque>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace CIM::sim
{
enum EFaultKind : int
{
    // Faults of a reply.
    FAULT_LATE,         ///< the right reply, ms later
    FAULT_NEVER,        ///< none
    FAULT_ERROR,        ///< an error reply with name and text
    FAULT_STATUS,       ///< the right reply with another status
    FAULT_HELLO,        ///< the right reply with status bit 7: the hello again
    FAULT_WRONG_TYPES,  ///< a text, a double and a list of numbers
    FAULT_NO_ARGUMENTS, ///< nothing in it
    FAULT_SHORT,        ///< the status alone
    FAULT_LONG,         ///< further arguments behind the right ones
    FAULT_LENGTH,       ///< a stated length that lies
    FAULT_CUT,          ///< the payload cut to so many bytes
    FAULT_VERSION,      ///< a payload of another version
    FAULT_HOSTILE,      ///< a payload made to break readers; shape: deep, huge, wide or overlap

    // What happens with a call, or at once when no operation is named.
    FAULT_CRASH,            ///< the process ends in the middle; shape: exit or abort
    FAULT_RESTART,          ///< gone from the bus, back after ms, names stepMs apart
    FAULT_LOSE_NAME,        ///< a bus name is lost, and retaken after ms (0: never)
    FAULT_STORM,            ///< count signals, rate a second (0: as fast as the bus takes them), numbered in the value
    FAULT_MALFORMED_SIGNAL, ///< a signal that is none; see MakeMalformedSignal for the shapes
    FAULT_STRANGER,         ///< a signal from another connection
};

/// Something that goes wrong, and when.
struct TSFault
{
    EFaultKind kind = FAULT_LATE;
    std::string operation;            ///< "ICIGeneral.EnterMenu", "EnterMenu", "ICIGeneral.*" or "*"; empty: at once
    std::optional<std::uint8_t> slot; ///< only calls about this slot
    unsigned nth = 0;                 ///< only this one of the calls that match, counted from 1; 0: every one
    unsigned times = 0;               ///< it falls away after happening so often; 0: it stays
    double probability = 1;

    unsigned ms = 0;
    std::string name;
    std::string text;
    std::string shape;
    std::uint8_t status = 0;
    int length = 0;
    unsigned bytes = 0;
    std::uint8_t version = 0;
    unsigned stepMs = 0;
    unsigned count = 1;
    unsigned rate = 0;
    TSSignal signal;
    bool isToSubscribers = false; ///< sent to each subscriber instead of to whoever has a match rule

    bool IsReplyFault() const { return kind < FAULT_CRASH; }
    /// Whether it is about calls of an operation.
    /// \param[in] interface  the interface's own name, "ICIGeneral"
    /// \param[in] operation  its key: a '#' and a word behind the name tell operations of one name apart
    bool IsAbout(std::string_view interface, std::string_view operation) const;
};

/// Reads a fault: {"kind": "error", "operation": "EnterMenu", "name": ..., ...}. A member that the kind does not take
/// is refused.
/// \throws json::TCJsonError
void ReadJson(const json::TJson& json, TSFault& fault, const json::TCJsonPath& path);
json::TJson ToJson(const TSFault& fault);
/// Each kind with a line of help and the members it takes.
json::TCDraft DescribeFaults();

/// The faults that are switched on. The seed decides whatever a probability leaves open. Bound to its thread.
class TCFaults
{
public:
    explicit TCFaults(std::uint64_t seed) : m_random(seed) {}

    /// \return its number
    unsigned Add(TSFault fault);
    bool Remove(unsigned number);
    void Clear() { m_faults.clear(); }

    /// The fault that meets a call: of those that match, all count it, and the first whose turn it is happens.
    /// \param[in] interface, operation  as in TSFault::IsAbout
    std::optional<TSFault> Meet(const std::string& interface, const std::string& operation,
                                std::optional<unsigned> slot);
    json::TJson List() const;

private:
    struct TSActive
    {
        TSFault fault;
        unsigned number;
        unsigned met = 0;
        unsigned happened = 0;
    };

    std::deque<TSActive> m_faults;
    TCRandom m_random;
    unsigned m_lastNumber = 0;
};
} // namespace CIM::sim
