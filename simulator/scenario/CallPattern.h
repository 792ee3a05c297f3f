#pragma once

#include "json/Json.h"

#include <map>
#include <string>
#include <vector>

namespace CIM::json
{
class TCOperationForm;
}

namespace CIM::sim
{
struct TSJournalEntry;

/// A call as the application made it.
struct TSMadeCall
{
    std::string operation; ///< "ICIGeneral.EnterMenu", "ICIOperatorProfile.GetInstalledOperatorProfiles#map"
    json::TJson arguments; ///< by name; what could not be decoded is missing
    const json::TCOperationForm* form = nullptr; ///< null: unknown
    bool isSubscription = false;
    bool isRefused = false; ///< an answer that the CAM did not take

    /// The call for people and journals: digits of PINs and process ids, which differ between runs, are not shown.
    std::string Text() const;
};

TSMadeCall ToMadeCall(const TSJournalEntry& entry);

/// A step of a scenario for people: without the secrets of the call that it is about.
json::TJson ToShownStep(const json::TJson& step);

/// Calls of an operation with certain arguments.
class TCCallPattern
{
public:
    /// \param[in] operation  "INTERFACE.NAME"; where several operations have that name it stands for all of them,
    ///                       unless '#' and a word tell which
    /// \param[in] arguments  those that matter, by name
    /// \param[in] path       where the two stand as members, for the text of an error
    /// \throws json::TCJsonError when no call can match
    TCCallPattern(const std::string& operation, const json::TJson& arguments, const json::TCJsonPath& path);

    /// Only calls whose texts have fewer characters than these, by argument. \throws json::TCJsonError
    void MustBeShorter(const json::TJson& lengths, const json::TCJsonPath& path);

    bool Matches(const TSMadeCall& call) const;
    /// Whether it is a call of the operation, with whatever arguments.
    bool IsOf(const TSMadeCall& call) const;
    const std::string& Operation() const { return m_operation; }
    /// The arguments that matter, as a call of the first operation that it may be has them; they may hold secrets.
    const json::TJson& Arguments() const { return m_meant.front().arguments; }
    /// ... and that operation.
    const json::TCOperationForm& Form() const { return *m_meant.front().form; }
    /// In words, without secrets: "AnswerMmiMenu with choice 1".
    std::string Words() const;

private:
    /// An operation of the name that can be sent with the arguments.
    struct TSMeant
    {
        const json::TCOperationForm* form;
        json::TJson arguments;
    };

    std::string m_operation;
    std::vector<TSMeant> m_meant; ///< at least one
    std::map<std::string, std::size_t> m_shorter;
};
} // namespace CIM::sim
