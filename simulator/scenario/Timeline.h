#pragma once

#include "Play.h"

#include <deque>

namespace CIM::sim
{
/// Plays a timeline: one step behind the other.
class TCTimeline final : public TCPlay
{
public:
    using TCPlay::TCPlay;

private:
    enum EProgress
    {
        DONE,
        WAITING,
        FAILED,
    };

    void m_OnCall(const TSMadeCall& call) override;
    void m_Proceed() override;
    void m_End() override;
    std::vector<TSPartResult> m_Results() const override;
    void m_LimitTo(unsigned milliseconds);
    void m_AwaitApplication(std::optional<unsigned> withinMs);
    EProgress m_Fail(const std::string& why);

    EProgress m_Try(const TSWaitForCall& step);
    EProgress m_Try(const TSExpectNoCall& step);
    EProgress m_Try(const TSWaitForSubscription& step);
    EProgress m_Try(const TSWait& step);
    EProgress m_Try(const TDeed& step);

    TCTimers::TId m_timer = 0;
    bool m_isEntered = false;  ///< the step has been tried before
    bool m_isTimeOver = false; ///< of the step
    TTime m_until = 0;         ///< what a wait waits for
    std::size_t m_next = 0;
    std::string m_why;              ///< it is not met
    std::deque<TSMadeCall> m_calls; ///< since the last one that a step has waited for
};
} // namespace CIM::sim
