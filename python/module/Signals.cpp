#include "Signals.h"

#include "Operations.h"
#include "WithoutLock.h"

#include "json/Signals.h"

#include <ciapi/CIService.h>

#include <condition_variable>
#include <cstring>
#include <deque>
#include <glib.h>
#include <mutex>
#include <thread>

namespace CIM::python
{
namespace
{
constexpr std::size_t MOST_SIGNALS = 100'000; ///< that a callback, which takes its time, keeps waiting

/// Never destroyed: a callback may come while the process ends.
struct TSInbox
{
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<protocol::SSignal> signals;
    std::uint64_t dropped = 0;
    bool hasEnded = false;
};
TSInbox& Inbox()
{
    static auto& inbox = *new TSInbox;
    return inbox;
}

/// \param[in] userData  null when no subscription of ours matches
int OnSignal(ECISignalType type, EProfile profile, unsigned short handle, TSSignalData data, void* userData)
{
    TSInbox& inbox = Inbox();
    const std::lock_guard lock(inbox.mutex);
    if (inbox.signals.size() >= MOST_SIGNALS)
    {
        ++inbox.dropped;
    }
    else if (userData == &inbox && !inbox.hasEnded)
    {
        inbox.signals.push_back({type, profile, handle, data});
        inbox.changed.notify_one();
    }
    return 1;
}

/// The thread of the main loop.
struct TSLoop
{
    std::mutex mutex;
    GMainLoop* loop = nullptr;
    std::thread thread;
};
TSLoop& Loop()
{
    static auto& loop = *new TSLoop;
    return loop;
}

py::object NumberOrWord(const protocol::SSignalFields& fields, const protocol::SSignalNumber& number)
{
    const std::int64_t value = protocol::NumberIn(fields, number);
    if (number.words != nullptr)
    {
        for (const protocol::SWord& word : number.words->words)
        {
            if (((word.value ^ value) & protocol::GreatestIn(number.place)) == 0)
            {
                return Enumerator(*number.words, word.value);
            }
        }
    }
    return py::int_(value);
}
} // namespace

ICISignalSubscriber* SubscriberInstance() { return TCCIService::CISignalSubscriberInstance(&OnSignal); }

std::uint64_t SignalsNotTaken()
{
    const std::lock_guard lock(Inbox().mutex);
    return Inbox().dropped;
}

void StartLoop()
{
    const TCWithoutLock withoutLock;
    TSLoop& loop = Loop();
    const std::lock_guard lock(loop.mutex);
    if (loop.loop == nullptr)
    {
        loop.loop = g_main_loop_new(nullptr, FALSE);
        loop.thread = std::thread([main = loop.loop] { g_main_loop_run(main); });
    }
}

void StopLoop()
{
    const TCWithoutLock withoutLock;
    TSLoop& loop = Loop();
    const std::lock_guard lock(loop.mutex);
    if (loop.loop != nullptr)
    {
        // Inside the loop: one that has not begun yet would forget to have been told.
        g_idle_add_full(
            G_PRIORITY_HIGH,
            [](void* main) -> gboolean
            {
                g_main_loop_quit(static_cast<GMainLoop*>(main));
                return G_SOURCE_REMOVE;
            },
            loop.loop, nullptr);
        loop.thread.join();
        g_main_loop_unref(loop.loop);
        loop.loop = nullptr;
    }
}

namespace
{
template <class Function>
py::tuple Ask(Function function)
{
    int result = 0;
    TSCallOutcome became;
    {
        const TCWithoutLock withoutLock;
        if (TCCIService::IsCIOperable())
        {
            result = function(*SubscriberInstance());
            became = LastCallOutcome();
        }
    }
    return py::make_tuple(result, OutcomeTuple(became));
}
} // namespace

py::tuple Subscribe(int type, int profile, unsigned short handle)
{
    return Ask([=](ICISignalSubscriber& subscriber)
               { return subscriber.Subscribe(ECISignalType(type), &Inbox(), EProfile(profile), handle, 0); });
}

py::tuple Unsubscribe(int type, int profile, unsigned short handle)
{
    return Ask([=](ICISignalSubscriber& subscriber)
               { return subscriber.Unsubscribe(ECISignalType(type), EProfile(profile), handle, 0); });
}

py::object NextSignal()
{
    std::optional<protocol::SSignal> signal;
    {
        const TCWithoutLock withoutLock;
        TSInbox& inbox = Inbox();
        std::unique_lock lock(inbox.mutex);
        inbox.changed.wait(lock, [&] { return inbox.hasEnded || !inbox.signals.empty(); });
        if (!inbox.hasEnded)
        {
            signal = inbox.signals.front();
            inbox.signals.pop_front();
        }
    }
    if (!signal)
    {
        return py::none();
    }
    return py::make_tuple(static_cast<int>(signal->type), static_cast<int>(signal->profile), signal->handle,
                          py::bytes(reinterpret_cast<const char*>(signal->data.bytes), sizeof signal->data.bytes));
}

void EndSignals()
{
    TSInbox& inbox = Inbox();
    const std::lock_guard lock(inbox.mutex);
    inbox.hasEnded = true;
    inbox.changed.notify_all();
}

py::tuple DescribeSignal(int type, int profile, unsigned short handle, const py::bytes& data)
{
    protocol::SSignal signal{ECISignalType(type), EProfile(profile), handle, {}};
    const std::string_view bytes = data;
    if (bytes.size() != sizeof signal.data.bytes)
    {
        throw py::value_error("the data of a signal is 8 bytes");
    }
    std::memcpy(signal.data.bytes, bytes.data(), bytes.size());
    const protocol::SSignalFields fields = protocol::UnpackSignalData(signal.data);
    const protocol::SSignalRow row = protocol::SignalRow(signal.type);
    py::dict meaning;
    for (const protocol::SSignalNumber& number : row.numbers)
    {
        if (number.IsThere() && number.ComesWith(fields.code))
        {
            meaning[py::str(SnakeCase(number.key))] = NumberOrWord(fields, number);
        }
    }
    const py::object slot = fields.slot == protocol::NO_SLOT ? py::object(py::none()) : py::int_(fields.slot);
    const py::object code = row.code.IsThere() ? NumberOrWord(fields, row.code) : py::object(py::int_(fields.code));
    return py::make_tuple(slot, code, fields.id, fields.value, meaning, json::SignalWords(signal));
}
} // namespace CIM::python
