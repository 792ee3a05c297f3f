#include "ClockDriver.h"

#include "simulator/model/Model.h"

#include <algorithm>

namespace CIM::sim
{
TCClockDriver::TCClockDriver(TCModel& model, GMainContext* context, bool isManual)
    : m_model(model), m_timers(context), m_isManual(isManual),
      m_startUs(g_get_monotonic_time() - static_cast<gint64>(model.Now()) * 1000)
{
}

void TCClockDriver::CatchUp()
{
    m_model.AdvanceTo(m_isManual ? m_model.Now() : (g_get_monotonic_time() - m_startUs) / 1000 + m_advanced);
}

void TCClockDriver::Settle()
{
    m_model.AdvanceTo(m_model.Now());
    m_timers.Cancel(m_timer);
    m_timer = 0;
    const auto next = m_model.NextEventAt();
    if (next && !m_isManual)
    {
        const TTime wait = std::clamp<TTime>(*next - m_model.Now(), 0, 3'600'000);
        // One millisecond more: the virtual clock is cut down to whole ones.
        m_timer = m_timers.After(static_cast<unsigned>(wait + 1),
                                 [this]
                                 {
                                     m_timer = 0;
                                     CatchUp();
                                     Settle();
                                 });
    }
}

void TCClockDriver::Advance(TTime milliseconds)
{
    CatchUp();
    m_advanced += std::max<TTime>(milliseconds, 0);
    m_model.AdvanceTo(m_model.Now() + std::max<TTime>(milliseconds, 0));
    Settle();
}
} // namespace CIM::sim
