#pragma once

#include "cictl/Signals.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CIM::cictl
{
/// What is known of a slot.
struct TSSlotState
{
    bool isReady = false;
    bool isNamed = false; ///< a CAM has told its application information
    std::optional<ECiMmiStatus> page;
};

/// What is known of the set, as far as conditions go.
struct TSSetState
{
    bool isDaemonThere = false;
    std::map<unsigned, TSSlotState> slots;
};

/// One thing that is waited for.
struct TSAtom
{
    enum class EKind
    {
        DAEMON,
        READY,
        INIT,
        EMPTY,
        PAGE,
        SIGNAL,
    };
    std::string text; ///< as it was written
    EKind kind = EKind::DAEMON;
    std::optional<unsigned> slot;          ///< any when not given
    std::optional<ECiMmiStatus> page = {}; ///< any but a closed one when not given
    ECISignalType type = SIGNAL_CI_TYPE_BEGIN;
    std::optional<EProfile> profile = {};
    std::optional<unsigned short> handle = {};
    std::optional<std::uint32_t> carriedSlot = {}; ///< what the signal carries, like the next three
    std::optional<std::uint32_t> code = {};
    std::optional<std::uint32_t> id = {};
    std::optional<std::uint32_t> value = {};
    bool hasCome = false; ///< a signal, which counts from then on

    bool IsMet(const TSSetState& state) const;
    /// No signal tells when it begins to hold.
    bool NeedsAsking() const { return kind == EKind::INIT || kind == EKind::EMPTY; }
    void Take(const TSSignal& signal);
};

/// Things to wait for, joined by "and" (binds closer), "or" and parentheses.
class TCCondition
{
public:
    /// \throws TCFailure with the position of what is wrong
    explicit TCCondition(std::string_view text);

    bool IsMet(const TSSetState& state) const { return m_IsMet(*m_root, state); }
    /// In the order in which they stand.
    std::vector<TSAtom>& Atoms() { return m_atoms; }
    const std::vector<TSAtom>& Atoms() const { return m_atoms; }

private:
    struct TSNode
    {
        char kind; ///< '&', '|' or 'a'
        std::size_t atom = 0;
        std::vector<std::unique_ptr<TSNode>> parts = {};
    };
    using TNode = std::unique_ptr<TSNode>;

    TNode m_ReadJoined(char kind, int depth);
    TNode m_ReadFactor(int depth);
    std::string_view m_NextWord();
    bool m_Skip(std::string_view word);
    [[noreturn]] void m_Fail(std::size_t place, const std::string& what) const;
    TSAtom m_ReadAtom(std::string_view word, std::size_t place) const;
    void m_ReadSignal(std::string_view words, std::size_t place, TSAtom& atom) const;
    bool m_IsMet(const TSNode& node, const TSSetState& state) const;

    std::string_view m_text; // while it is read
    std::size_t m_place = 0;
    std::vector<TSAtom> m_atoms;
    TNode m_root;
};
} // namespace CIM::cictl
