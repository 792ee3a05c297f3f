#include <ciapi-testing/Daemon.h>

#include "CallRecord.h"
#include "DaemonThread.h"
#include "FeatureKeys.h"
#include "JsonText.h"
#include "Operations.h"
#include "ProcessBus.h"
#include "Scenarios.h"

#include "simulator/control/Controls.h"
#include "simulator/daemon/SimulatedDaemon.h"
#include "simulator/model/Parts.h"
#include "simulator/scenario/Play.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <stdexcept>

namespace CIM::test
{
namespace
{
void Require(const sim::TSOutcome& outcome)
{
    if (!outcome)
    {
        throw std::invalid_argument(outcome.error);
    }
}

/// What answers have thrown, until somebody is told. Thread-safe.
class TCAnswerErrors
{
public:
    /// Called while the exception is caught.
    void Add(const std::string& operation)
    {
        std::string text = "an exception";
        try
        {
            throw;
        }
        catch (const std::exception& error)
        {
            text = error.what();
        }
        catch (...)
        {
        }
        const std::lock_guard lock(m_mutex);
        m_text = "the test's answer to " + operation + " threw: " + text;
        std::fprintf(stderr, "ciapi-testing: %s\n", m_text.c_str());
    }
    /// \throws std::logic_error when there is something to tell
    void Tell()
    {
        const std::lock_guard lock(m_mutex);
        if (!m_text.empty())
        {
            throw std::logic_error(std::exchange(m_text, {}));
        }
    }
    bool AreUntold() const
    {
        const std::lock_guard lock(m_mutex);
        return !m_text.empty();
    }

private:
    mutable std::mutex m_mutex;
    std::string m_text;
};
} // namespace

TSSignalData SignalData(unsigned char slot, unsigned char code, unsigned short id, std::uint32_t value)
{
    return sim::PackSignalData({slot, code, id, value});
}

/// What lives on the daemon's thread, but for thread and calls.
struct TCDaemon::TSImpl
{
    TCCallRecord calls;
    TCAnswerErrors errors;
    std::unique_ptr<sim::TCModel> model;
    std::unique_ptr<sim::TCSimulatedDaemon> daemon;
    std::unique_ptr<sim::TCPlay> story;
    std::map<TSMemberKey, std::vector<unsigned>> failures; ///< their numbers
    bool isGone = false;
    TCDaemonThread thread; // the last one: ends first

    void Start(const sim::TSScenario& scenario, const std::string& markerPath)
    {
        model = std::make_unique<sim::TCModel>(scenario.set, scenario.seed);
        sim::TSSimulatedDaemonOptions options;
        options.context = thread.Context();
        options.markerPath = markerPath;
        options.seed = scenario.seed;
        options.isManualClock = scenario.isManualClock;
        options.namesAfterMs = scenario.namesAfterMs;
        options.nameStepMs = scenario.nameStepMs;
        daemon = std::make_unique<sim::TCSimulatedDaemon>(*model, options);
        story = sim::MakePlay(scenario, *daemon, {});
        daemon->onCall = [this, tellStory = daemon->onCall](const sim::TSJournalEntry& entry)
        {
            calls.Add(entry);
            if (tellStory)
            {
                tellStory(entry);
            }
        };
        daemon->onThrow = [this](const sim::TSJournalEntry& entry)
        { errors.Add(entry.interface + "." + entry.OperationName()); };
        daemon->onCrash = [this](bool)
        {
            isGone = true;
            daemon->Stop();
        };
        daemon->Start();
        story->Begin();
    }

    void End()
    {
        story.reset();
        daemon.reset();
        model.reset();
    }

    /// Does something to the model at the right time, and lets its consequences happen.
    void Change(const std::function<void()>& change)
    {
        thread.Run(
            [&]
            {
                const sim::TCModelUse use(daemon->Clock());
                change();
            });
    }
};

TCDaemon::TCDaemon(const TSOptions& options) : m_impl(std::make_unique<TSImpl>())
{
    const sim::TSScenario scenario = ScenarioOf(options);
    TCProcessBus& bus = TCProcessBus::Instance();
    bus.WriteFeatureKeys(FeatureKeys(options, scenario.set.slots));
    m_impl->thread.Run(
        [&]
        {
            try
            {
                m_impl->Start(scenario, bus.MarkerPath());
            }
            catch (...)
            {
                m_impl->End();
                throw;
            }
        });
}

TCDaemon::~TCDaemon()
{
    m_impl->thread.Run([&] { m_impl->End(); });
    if (m_impl->errors.AreUntold() && std::uncaught_exceptions() == 0) // else the test fails by itself
    {
        std::fprintf(stderr, "ciapi-testing: no test was told that: the program ends\n");
        std::abort();
    }
}

void TCDaemon::m_On(const TSMemberKey& member, void* function)
{
    m_impl->thread.Run([&] { Answer(m_impl->daemon->Skeletons(), member, function); });
}

void TCDaemon::m_Fail(const TSMemberKey& member, const TCFailure& failure)
{
    auto json = json::TJson::parse(failure.Json());
    json["operation"] = FindOperation(member).FullName();
    m_impl->thread.Run(
        [&]
        {
            sim::TSFault fault;
            try
            {
                fault = json::FromJson<sim::TSFault>(json, json::TCJsonPath("failure"));
            }
            catch (const json::TCJsonError& error)
            {
                throw std::invalid_argument(error.what());
            }
            m_impl->failures[member].push_back(m_impl->daemon->AddFault(std::move(fault)));
        });
}

void TCDaemon::m_Reset(const TSMemberKey& member, void* none)
{
    m_impl->thread.Run(
        [&]
        {
            Answer(m_impl->daemon->Skeletons(), member, none);
            for (const unsigned number : std::exchange(m_impl->failures[member], {}))
            {
                m_impl->daemon->Faults().Remove(number);
            }
        });
}

unsigned TCDaemon::m_CallCount(const TSMemberKey& member) const
{
    m_impl->errors.Tell();
    return m_impl->calls.Count(FindOperation(member));
}

std::vector<TSCall> TCDaemon::m_Calls(const TSMemberKey& member) const
{
    m_impl->errors.Tell();
    return m_impl->calls.Calls(&FindOperation(member));
}

std::vector<TSCall> TCDaemon::Calls() const
{
    m_impl->errors.Tell();
    return m_impl->calls.Calls(nullptr);
}

void TCDaemon::ClearCalls()
{
    m_impl->thread.Run([&] { m_impl->calls.Clear(); });
}

void TCDaemon::Raise(ECISignalType type, EProfile profile, unsigned short handle, const TSSignalData& data)
{
    m_impl->Change([&] { m_impl->model->RaiseSignal({type, profile, handle, data}); });
}

void TCDaemon::InsertCam(unsigned slot, const std::string& cam)
{
    m_impl->Change([&] { Require(m_impl->model->InsertCam(slot, cam)); });
}

void TCDaemon::RemoveCam(unsigned slot)
{
    m_impl->Change([&] { Require(m_impl->model->RemoveCam(slot)); });
}

void TCDaemon::Control(const std::string& name, const std::string& arguments)
{
    const json::TJson json = ParseObject(arguments);
    m_impl->Change(
        [&]
        {
            try
            {
                Require(sim::RunControl(*m_impl->model, name, json));
            }
            catch (const json::TCJsonError& error)
            {
                throw std::invalid_argument(error.what());
            }
        });
}

void TCDaemon::AdvanceClock(std::chrono::milliseconds time)
{
    m_impl->thread.Run([&] { m_impl->daemon->Clock().Advance(time.count()); });
}

std::string TCDaemon::State() const
{
    std::string state;
    m_impl->thread.Run([&] { state = json::Dump(m_impl->daemon->State(), 2); });
    return state;
}

void TCDaemon::Do(const std::function<void()>& function) const { m_impl->thread.Run(function); }

void TCDaemon::Vanish()
{
    m_impl->thread.Run(
        [&]
        {
            m_impl->isGone = true;
            m_impl->daemon->Stop();
        });
}

void TCDaemon::Return()
{
    m_impl->thread.Run(
        [&]
        {
            if (!m_impl->isGone)
            {
                return;
            }
            m_impl->model->Parts().lifecycle.ResetAll();
            m_impl->daemon->Start();
            m_impl->isGone = false;
        });
}

bool TCDaemon::EndScenario()
{
    bool isMet = true;
    m_impl->thread.Run([&] { isMet = m_impl->story->Verdict() == 0; });
    return isMet;
}
} // namespace CIM::test
