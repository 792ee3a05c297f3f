#pragma once

#include <string>

namespace CIM::sim
{
/// The file that tells the library that the daemon is ready. Bound to its thread.
class TCMarker
{
public:
    /// \param[in] path  empty: no marker is ever written
    explicit TCMarker(std::string path) : m_path(std::move(path)) {}
    ~TCMarker() { Remove(); }
    TCMarker(const TCMarker&) = delete;
    TCMarker& operator=(const TCMarker&) = delete;

    /// What CIAPI_DAEMON_READY_FILE names, or else the daemon's usual path.
    static std::string DefaultPath();

    /// \throws std::runtime_error with the reason when it cannot be written
    void Write();
    /// Removes the marker that this object wrote; one that somebody else has put in its place stays.
    void Remove();

private:
    std::string m_path;
    std::string m_written; ///< what stands in our marker; empty: there is none
};
} // namespace CIM::sim
