#pragma once

#include "cictl/Dissector.h"
#include "cictl/Verb.h"
#include "recording/MessageHead.h"

#include <set>

namespace CIM::cictl
{
/// Which messages of a trace are wanted, as its options say. Bound to its thread.
class TCTraceFilter
{
public:
    /// \throws TCFailure for an option that could never let anything pass
    explicit TCTraceFilter(const TCArguments& arguments);

    enum class EInterest
    {
        NONE,  ///< it cannot be wanted, nor is it needed to understand another one
        NOTE,  ///< only that it came matters
        WHOLE, ///< it may be wanted
    };
    /// Looks at a message before it is decoded.
    EInterest InterestIn(const recording::TSMessageHead& head, const recording::TSMoment& moment,
                         const TCDissector& dissector) const;
    /// Learns which application calls; asked of each message before IsWanted.
    void Meet(const TCDissector::TSDescribed& described);
    bool IsWanted(const TCDissector::TSDescribed& described) const;
    /// Whether a message is of a wanted application, or for all.
    bool IsOfWanted(const TCDissector::TSDescribed& described) const;
    /// When the wanted applications have not been met: a sentence that says so, and which have; else empty.
    std::string Missing() const;
    /// Whether only what went wrong is wanted.
    bool IsForErrors() const { return m_errorsOnly; }
    /// Whether nothing that comes at a later time is wanted. \param[in] time  nanoseconds since 1970
    bool IsOver(std::int64_t time) const { return m_to && time > *m_to; }

private:
    void m_TakeOperation(const std::string& word);
    bool m_IsWantedCall(const recording::TSMessageHead& head) const;
    bool m_IsOfWanted(std::string_view application) const;
    bool m_IsWantedSignal(const recording::TSMessageHead& head) const;

    std::set<const json::TCOperationForm*> m_operations; ///< empty: all
    std::set<ECISignalType> m_signals;                   ///< empty: all
    std::set<std::string, std::less<>> m_applications;   ///< by program or unique bus name; empty: all
    std::set<std::string, std::less<>> m_callers;        ///< unique bus names of those that have been met
    std::set<std::string> m_programs;                    ///< that have been met
    std::optional<std::int64_t> m_slot;
    std::optional<double> m_slowerThanMs;
    std::optional<std::int64_t> m_from;
    std::optional<std::int64_t> m_to;
    bool m_errorsOnly = false;
    bool m_needsNames = false; ///< of applications, which stand in their first calls
};

/// Whether something went wrong with what a record tells: an error, a reply that cannot be read, a refusal.
bool IsFailure(const TCDissector::TSDescribed& described);
} // namespace CIM::cictl
