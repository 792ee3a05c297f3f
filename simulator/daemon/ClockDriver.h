#pragma once

#include "simulator/world/Clock.h"
#include "Timers.h"

#include <functional>

namespace CIM::sim
{
class TCModel;

/// Drives a model's virtual clock: from real time, or only when told to. Bound to its context's thread.
class TCClockDriver
{
public:
    /// \param[in] isManual  the clock stands still between calls of Advance
    TCClockDriver(TCModel& model, GMainContext* context, bool isManual);

    /// Brings the clock up to real time and runs what is due. To be called before the model is used.
    void CatchUp();
    /// Runs what has become due at once, and sees to it that the next event is not missed. To be called after the
    /// model was used.
    void Settle();
    /// Moves the clock on, however it is driven, and runs what is due on the way.
    void Advance(TTime milliseconds);

private:
    TCModel& m_model;
    TCTimers m_timers;
    bool m_isManual;
    gint64 m_startUs;     ///< the monotonic time at which the virtual clock, but for what Advance added, was 0
    TTime m_advanced = 0; ///< what Advance added
    TCTimers::TId m_timer = 0;
};

/// The model may be used while this lives: the clock is brought up to real time before, and settled at the end, also when
/// somebody throws. What settling throws comes from the destructor.
class TCModelUse
{
public:
    explicit TCModelUse(TCClockDriver& clock) : m_clock(clock) { m_clock.CatchUp(); }
    ~TCModelUse() noexcept(false) { m_clock.Settle(); }
    TCModelUse(const TCModelUse&) = delete;
    TCModelUse& operator=(const TCModelUse&) = delete;

private:
    TCClockDriver& m_clock;
};
} // namespace CIM::sim
