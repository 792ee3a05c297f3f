#include "Pin.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
/// A PIN comes as ASCII digits or as the numbers 0 to 9; anything else is no PIN.
bool ToDigits(const TBytes& pin, std::string& digits)
{
    for (const unsigned char byte : pin)
    {
        if (byte > 9 && (byte < '0' || byte > '9'))
        {
            return false;
        }
        digits.push_back(static_cast<char>(byte > 9 ? byte : byte + '0'));
    }
    return !digits.empty();
}
} // namespace

EPinOutcome TCPin::Check(const TSSlot& slot, std::string_view digits)
{
    if (m_IsBlocked(slot))
    {
        return PIN_BLOCKED;
    }
    TSState& state = m_states[slot.number];
    state.triesLeft = TriesLeft(slot);
    if (!state.digits.Text().empty() && digits == state.digits.Text())
    {
        state.triesLeft = slot.cam.pin.tries;
        return PIN_RIGHT;
    }
    if (--state.triesLeft > 0)
    {
        return PIN_WRONG;
    }
    state.triesLeft = 0;
    state.blockedUntil = m_world.clock.Now() + slot.cam.pin.blockMs;
    return PIN_BLOCKED;
}

int TCPin::TriesLeft(const TSSlot& slot) const
{
    const TSState& state = m_states[slot.number];
    const bool isBlockOver = state.triesLeft == 0 && !m_IsBlocked(slot);
    return isBlockOver ? slot.cam.pin.tries : state.triesLeft;
}

int TCPin::Verify(unsigned char slot, const TBytes& pin)
{
    return m_Start(slot, pin, SIGNAL_CI_PIN_REPLY_TO_PIN_CMD, false);
}

int TCPin::Set(unsigned char slot, const TBytes& pin)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found || !found->cam.pin.canBeChanged)
    {
        return 0;
    }
    return m_Start(slot, pin, SIGNAL_CI_PIN_REPLY_TO_CI_APP_REQUEST, true);
}

int TCPin::m_Start(unsigned char slot, const TBytes& pin, ECISignalType reply, bool replaces)
{
    const TSSlot* const found = m_world.FindReady(slot);
    std::string read;
    const json::TCWipeAtEnd wipe(read);
    if (!found || found->cam.pin.digits.empty() || !ToDigits(pin, read))
    {
        return 0;
    }
    const json::TCSecret digits(read);
    TSState& state = m_states[slot];
    if (state.isBusy)
    {
        m_Reply(slot, reply, CAM_PIN_CODE_STATUS_CAM_BUSY);
        return 1;
    }
    state.isBusy = true;
    m_world.After(*found, m_world.Varied(*found, found->cam.pin.replyMs),
                  [this, found, digits, reply, replaces]
                  {
                      TSState& then = m_states[found->number];
                      then.isBusy = false;
                      if (replaces)
                      {
                          // Only who knew the old PIN may set a new one.
                          if (then.isVerified)
                          {
                              then.digits = digits;
                          }
                          m_Reply(found->number, reply,
                                  then.isVerified ? CAM_PIN_CODE_STATUS_CORRECT : CAM_PIN_CODE_STATUS_BAD);
                          return;
                      }
                      const bool isRight = Check(*found, digits.Text()) == PIN_RIGHT;
                      if (isRight)
                      {
                          Answered(*found);
                      }
                      m_Reply(found->number, reply, isRight ? found->cam.pin.whenRight : CAM_PIN_CODE_STATUS_BAD);
                  });
    return 1;
}

void TCPin::m_Reply(unsigned char slot, ECISignalType type, ECamPinCodeStatus status)
{
    m_world.Raise(SlotSignal(type, slot, status, TriesLeft(m_world.slots[slot])));
}

int TCPin::IsNeeded() const
{
    return std::any_of(m_states.begin(), m_states.end(), [](const TSState& state) { return state.isAsked; }) ? 1 : 0;
}

TSOutcome TCPin::Ask(unsigned slot, const TVSHandle& pipeline, int rating)
{
    const TSSlot* const found = m_world.FindReady(slot);
    if (!found)
    {
        return TSOutcome::Refused("no ready CAM in slot " + std::to_string(slot));
    }
    if (found->cam.pin.digits.empty())
    {
        return TSOutcome::Refused("the CAM in slot " + std::to_string(slot) + " has no PIN");
    }
    TSState& state = m_states[slot];
    state.isAsked = true;
    state.pipeline = pipeline;
    const auto value = static_cast<std::uint32_t>(rating);
    m_world.Raise(PipelineSignal(SIGNAL_CI_CHECK_PARENTAL_RATING_HANDLERS, pipeline, found->number,
                                 found->cam.pin.handler, 0, value));
    m_world.Raise(PipelineSignal(SIGNAL_CI_PIN_REPLY_TO_PIN_EVENT, pipeline, found->number, CAM_PIN_CODE_SUPPORTED,
                                 TriesLeft(*found), value));
    return TSOutcome::Done();
}

void TCPin::Answered(const TSSlot& slot)
{
    m_states[slot.number].isAsked = false;
    m_states[slot.number].isVerified = true;
}

void TCPin::OnCamIn(const TSSlot& slot)
{
    TSState& state = m_states[slot.number];
    state = {};
    state.digits = json::TCSecret(slot.cam.pin.digits);
    state.triesLeft = slot.cam.pin.tries;
}

void TCPin::OnCamGone(const TSSlot& slot)
{
    TSState& state = m_states[slot.number];
    state.isAsked = false;
    state.isVerified = false;
    state.isBusy = false;
}

json::TCDraft TCPin::State() const
{
    json::TCDraft result = json::List();
    for (const TSSlot& slot : m_world.slots)
    {
        const TSState& state = m_states[slot.number];
        if (slot.HoldsCam())
        {
            result.Append(json::Record({{"slot", slot.number},
                                        {"hasPin", !state.digits.Text().empty()},
                                        {"triesLeft", TriesLeft(slot)},
                                        {"blocked", m_IsBlocked(slot)},
                                        {"asked", state.isAsked},
                                        {"verified", state.isVerified}}));
        }
    }
    return result;
}
} // namespace CIM::sim
