#pragma once

#include <ciapi-testing/Export.h>
#include <ciapi-testing/Failure.h>
#include <ciapi-testing/Member.h>
#include <ciapi-testing/Wait.h>

#include <ciapi/CISignalDataType.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// What tests of applications need: a simulated daemon, and fakes of the interfaces.
namespace CIM::test
{
/// What kind of set a test runs on. The defaults are a set with CI and the simulator's built-in CAMs.
struct TSOptions
{
    /// The CAMs, recordings and the rest, as JSON; docs/simulator-model.md says how. Empty: the built-in set.
    std::string set;
    /// A scenario to play, by the name of a shipped one or as the path of a file; it brings its own set, seed and
    /// clock. It begins at once; TCDaemon::EndScenario says whether its expectations were met.
    std::string scenario;
    /// The seed of everything random: the same seed gives the same calls the same answers.
    std::uint64_t seed = 1;
    /// The virtual clock stands still but for TCDaemon::AdvanceClock.
    bool isManualClock = false;
    /// Feature keys that differ from a set with CI in its region, by whole name, such as {CI_FMS_NUM_OF_CI, "0"}.
    /// The library reads each once in a process and keeps the answer: a test of a set without CI needs a process of
    /// its own.
    std::map<std::string, std::string> featureKeys;
};

/// A call that the daemon received.
struct CIAPI_TESTING_EXPORT TSCall
{
    std::string interface; ///< "ICIGeneral"
    std::string operation; ///< "EnterMenu"; with a '#' and a word behind it where the name alone is not unique
    std::string arguments; ///< the inputs as a JSON object: {"slot":0}; as bytes, {"request":"<hexadecimal>"}, when
                           ///< they are none of the operation's. Secrets stand there, too: a test asserts them
    std::string fault;     ///< the kind of the failure that met it; empty: none
    std::string program;   ///< the caller's program, when it has said so
    int processId = 0;     ///< the caller's
    bool isOneWay = false; ///< it asked for no reply

    /// One of the inputs as JSON text: "0", "\"/media/recording.ts\"". Empty when there is no such input.
    std::string Argument(const std::string& name) const;
};

/// The eight bytes of a signal as the simulator fills them; docs/signals.md lists what each signal carries.
CIAPI_TESTING_EXPORT TSSignalData SignalData(unsigned char slot, unsigned char code = 0, unsigned short id = 0,
                                             std::uint32_t value = 0);

/// The CI daemon inside a test program, on a private system bus: answers every operation of the nine interfaces from
/// the simulator's model, or as the test says.
/// \code
/// CIM::test::TCDaemon daemon; // before anything of the library is used
/// daemon.On(&ICIGeneral::GetCiSlotStatus,
///           [](auto& statuses, unsigned) { statuses[0] = CAM_STATUS_NO_CAM; return 1; });
/// EXPECT_EQ(myApplication.Status(), "No CAM");
/// EXPECT_EQ(daemon.CallCount(&ICIGeneral::GetCiSlotStatus), 1u);
/// \endcode
///
/// The first one of a process starts the bus, which lasts until the process ends, in whatever way it ends: the library
/// connects once in a process. From then on DBUS_SYSTEM_BUS_ADDRESS, TVPLATFORM_SYSTEM_INFO and CIAPI_DAEMON_READY_FILE
/// name what lies in the process's own temporary folder, so that programs which the test starts see the same daemon.
/// It must be made before the library, or anything else in the process, uses the system bus. Afterwards each test may
/// make a fresh one on the same bus, one at a time; what the library has connected and subscribed stays.
///
/// An answer that throws fails the test, whatever its framework: the caller gets an error reply, the text is written to
/// standard error, and the next CallCount, Calls or WaitForCall throws std::logic_error, which names the operation. Where
/// none follows, the destructor ends the program.
///
/// The daemon runs on a thread of its own with a main context of its own; the default main context stays the
/// application's. Answers are called on that thread, one at a time: an answer that waits for the test's thread waits
/// for ever. All operations are thread-safe, may be called from inside an answer, and wait for an answer that is
/// running on the other thread.
class CIAPI_TESTING_EXPORT TCDaemon
{
public:
    /// Starts bus and daemon and returns when the daemon is ready.
    /// \throws std::invalid_argument when an option is wrong, std::runtime_error when bus or daemon do not start,
    ///         std::logic_error when this is the first one and the library has been used already
    explicit TCDaemon(const TSOptions& options = {});
    /// Leaves the bus: calls fail until there is another one. Ends the program when an answer has thrown and nobody
    /// has been told.
    ~TCDaemon();
    TCDaemon(const TCDaemon&) = delete;
    TCDaemon& operator=(const TCDaemon&) = delete;

    /// Lets a function answer an operation from now on, in place of the model.
    /// \param[in] member  the operation; see Overload for those that share a name
    /// \param[in] answer  takes the operation's parameters and returns its result. What it throws is the test's
    ///                    failure, see TCDaemon: for a call that fails there is Fail.
    /// \throws std::invalid_argument when the operation is never sent to the daemon
    template <class Interface, class Result, class... Arguments, class Function>
    void On(Result (Interface::*member)(Arguments...), Function answer)
    {
        auto function = detail::Fit(member, std::move(answer));
        m_On(KeyOf(member), &function);
    }

    /// Lets calls of an operation fail, until Reset or as often as the failure says. With several, each of the calls
    /// meets the first whose turn it is.
    template <class Interface, class Result, class... Arguments>
    void Fail(Result (Interface::*member)(Arguments...), const TCFailure& failure)
    {
        m_Fail(KeyOf(member), failure);
    }

    /// Gives an operation back to the model, without failures.
    template <class Interface, class Result, class... Arguments>
    void Reset(Result (Interface::*member)(Arguments...))
    {
        std::function<Result(Arguments...)> none;
        m_Reset(KeyOf(member), &none);
    }

    /// How many calls of an operation were received, since the beginning or ClearCalls.
    template <class Interface, class Result, class... Arguments>
    unsigned CallCount(Result (Interface::*member)(Arguments...)) const
    {
        return m_CallCount(KeyOf(member));
    }
    /// The calls of an operation, the latest last.
    template <class Interface, class Result, class... Arguments>
    std::vector<TSCall> Calls(Result (Interface::*member)(Arguments...)) const
    {
        return m_Calls(KeyOf(member));
    }
    /// The calls of all operations, the latest last. Only the last ten thousand are kept; CallCount counts all.
    std::vector<TSCall> Calls() const;
    void ClearCalls(); ///< from now on they count anew
    /// Waits, as RunUntil does, until an operation was called so often, the calls before this one included. For one-way
    /// calls, and calls of other threads and programs.
    /// \return whether it was
    template <class Interface, class Result, class... Arguments>
    bool WaitForCall(Result (Interface::*member)(Arguments...),
                     std::chrono::milliseconds timeout = std::chrono::seconds(5), unsigned count = 1) const
    {
        return RunUntil([&, key = KeyOf(member)] { return m_CallCount(key) >= count; }, timeout);
    }

    /// Sends a signal; without anything having happened in the model. It reaches an application that has subscribed to
    /// it, on whatever thread runs that application's default main context.
    void Raise(ECISignalType type, EProfile profile, unsigned short handle, const TSSignalData& data);

    /// What happens to the set. \throws std::invalid_argument, with the reason, when it cannot happen
    void InsertCam(unsigned slot, const std::string& cam);
    void RemoveCam(unsigned slot); ///< as above
    /// Anything else that the simulator can be told to do, by name.
    /// \param[in] name       "open-menu", "ask-pin", ...; docs/simulator.md lists them
    /// \param[in] arguments  a JSON object
    /// \throws std::invalid_argument, with the reason, when it is refused
    void Control(const std::string& name, const std::string& arguments = "{}");
    /// Moves the virtual clock on; what becomes due happens before this returns.
    void AdvanceClock(std::chrono::milliseconds time);
    /// All that can be known about the set, as a JSON object.
    std::string State() const;

    /// Runs a function on the daemon's thread: no call is answered meanwhile. What it throws is thrown here.
    void Do(const std::function<void()>& function) const;

    /// Leaves the bus, as a daemon that has crashed: whoever waits for a reply gets an error at once, the readiness
    /// marker is gone.
    void Vanish();
    /// Comes back, as a daemon that has started anew: every CAM begins again. Answers, failures and the calls received
    /// are kept. Nothing happens when it is there.
    /// \throws std::runtime_error when it cannot come back
    void Return();

    /// Ends the scenario. \return whether all that it expected of the application has happened; what has not is said on
    /// standard error. True without a scenario.
    bool EndScenario();

private:
    void m_On(const TSMemberKey& member, void* function);
    void m_Fail(const TSMemberKey& member, const TCFailure& failure);
    void m_Reset(const TSMemberKey& member, void* none);
    unsigned m_CallCount(const TSMemberKey& member) const;
    std::vector<TSCall> m_Calls(const TSMemberKey& member) const;

    struct TSImpl;
    std::unique_ptr<TSImpl> m_impl;
};
} // namespace CIM::test
