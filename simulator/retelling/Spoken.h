#pragma once

#include "simulator/replay/Recording.h"

#include "simulator/definition/SignalData.h"

#include <map>
#include <optional>

// What the calls and signals of a recording say, in JSON. All functions are reentrant.

namespace CIM::sim
{
/// A call and its reply.
struct TSSpoken
{
    json::TJson arguments = json::NewObject(); ///< by name, without secrets and process ids
    json::TJson result;                        ///< null: none
    json::TJson outputs = json::NewObject();
    bool isReadable = false; ///< all arguments are there
    bool isAnswered = false; ///< by a reply that can be read
    bool isDone = false;     ///< not refused, as far as the recording tells
    std::string error;       ///< name of an error reply, and its text
    std::string errorText;

    /// Takes what a reply says; one that cannot be read is none.
    void TakeReply(const json::TCOperationForm& operation, std::string_view payload);
    /// The slot that the call is about.
    std::optional<unsigned> Slot() const;
    /// A text, list, ... of the reply; null: there is none.
    const json::TJson& Output(const char* name) const;
};
TSSpoken ReadSpoken(const TSRecordedCall& call);

/// A map of an output by slot; what is no number of one is left out.
std::map<unsigned, json::TJson> BySlot(const json::TJson& map);

/// "ICIGeneral.EnterMenu"; empty: unknown.
std::string OperationOf(const TSRecordedCall& call);
bool IsOf(const TSRecordedCall& call, const char* operation);

/// \return nothing when it cannot be read, or nobody knows its type
std::optional<TSSignal> ReadRecordedSignal(const TSRecordedEvent& event);
bool IsSame(const TSSignal& one, const TSSignal& other);
} // namespace CIM::sim
