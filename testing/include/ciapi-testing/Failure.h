#pragma once

#include <ciapi-testing/Export.h>

#include <string>

namespace CIM::test
{
/// How a call goes wrong. Reentrant.
///
/// A failure meets a call that otherwise works: the daemon has done what was asked, and it is the answer that suffers.
class CIAPI_TESTING_EXPORT TCFailure
{
public:
    /// The right answer, late. \param[in] milliseconds  real ones
    static TCFailure Late(unsigned milliseconds);
    /// No answer at all: the caller waits for as long as its bus lets it.
    static TCFailure Never();
    /// An error reply, with a D-Bus error name.
    static TCFailure Error(const std::string& name = "org.freedesktop.DBus.Error.Failed",
                           const std::string& text = "as the test wants it");
    /// A reply with a status of the test's choice; 0 says that the daemon did not handle the call.
    static TCFailure Status(unsigned char status);
    /// The daemon is gone before it has answered, as if it had crashed. TCDaemon::Return brings it back.
    static TCFailure Crash();
    /// Any fault that the simulator knows.
    /// \param[in] fault  a JSON object such as {"kind": "hostile", "shape": "deep"}; docs/simulator.md lists the kinds
    /// \throws std::invalid_argument when it is no JSON object
    static TCFailure FromJson(const std::string& fault);

    /// Only this one of the calls, counted from 1 from now on.
    TCFailure Nth(unsigned number) const;
    /// Falls away after happening so often.
    TCFailure Times(unsigned count) const;

    /// The fault as a JSON object.
    const std::string& Json() const { return m_json; }

private:
    explicit TCFailure(std::string json) : m_json(std::move(json)) {}
    std::string m_json;
};
} // namespace CIM::test
