#pragma once

#include <ciapi-testing/Daemon.h>

#include <sys/types.h>

namespace CIM::test
{
/// The CI daemon in a process of its own: the same model on the same private bus as TCDaemon, for tests in which the
/// daemon has to crash in earnest, or must not share the program's memory. What a test can do to it is what the
/// simulator's control object offers; there are no scripted answers.
/// \code
/// CIM::test::TCDaemonBeside daemon;
/// daemon.Ask("RemoveCam", {"0"});
/// EXPECT_EQ(myApplication.Status(), "No CAM");
/// daemon.Kill();
/// EXPECT_EQ(myApplication.Status(), "CI is not available");
/// \endcode
///
/// What is said there about bus, environment and one daemon at a time holds here as well. The process ends with this
/// object, or when the test program ends, in whatever way. Reentrant.
class CIAPI_TESTING_EXPORT TCDaemonBeside
{
public:
    /// Starts bus and daemon and returns when the daemon is ready.
    /// \param[in] options  which set, as for TCDaemon
    /// \param[in] program  the simulator: a path, or a name that is looked up in PATH
    /// \throws std::invalid_argument when an option is wrong, std::runtime_error when bus or daemon do not start
    explicit TCDaemonBeside(const TSOptions& options = {}, const std::string& program = "ci-daemon-sim");
    /// Ends it.
    ~TCDaemonBeside();
    TCDaemonBeside(const TCDaemonBeside&) = delete;
    TCDaemonBeside& operator=(const TCDaemonBeside&) = delete;

    /// Lets the simulator do something.
    /// \param[in] verb       a method of its control object: "InsertCam", "RaiseSignal", "Journal", "AddFault", ...;
    ///                       docs/simulator.md lists them
    /// \param[in] arguments  as texts, in the verb's order; those left out at the end are 0 or empty
    /// \return its result, if it has one; JSON where the verb says so
    /// \throws std::invalid_argument, with the reason, when it is refused; std::runtime_error when nobody answers
    std::string Ask(const std::string& verb, const std::vector<std::string>& arguments = {}) const;

    /// Ends it as a crash would.
    void Kill();
    /// Asks it to end, and waits for it.
    /// \return its exit status: 0, or 3 when the expectations of its scenario were not met; 128 and the signal that
    ///         ended it. The same again when it has ended already.
    int End();
    pid_t ProcessId() const { return m_process; } ///< also after its end

private:
    pid_t m_process = -1;
    int m_status = -1; ///< -1: it runs
};
} // namespace CIM::test
