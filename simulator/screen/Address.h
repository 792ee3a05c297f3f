#pragma once

#include <string>
#include <utility>

namespace CIM::sim
{
/// Where the page is: a port of the loopback address, and a token that only who has the address knows.
class TCScreenAddress
{
public:
    /// Listens from now on. For a single thread, before it forks.
    /// \param[in] port       0: any that is free
    /// \param[in] tokenFile  holds the token, so that the address stays the same; made when it is not there; empty: a new
    ///                       token
    /// \throws std::runtime_error with the reason
    TCScreenAddress(unsigned port, const std::string& tokenFile);
    ~TCScreenAddress();
    TCScreenAddress(const TCScreenAddress&) = delete;
    TCScreenAddress& operator=(const TCScreenAddress&) = delete;

    /// The socket that listens; closed by whoever takes it.
    int Take() { return std::exchange(m_socket, -1); }
    unsigned Port() const { return m_port; }
    const std::string& Token() const { return m_token; }
    std::string Text() const;

private:
    int m_socket = -1;
    unsigned m_port = 0;
    std::string m_token;
};

/// In a time that says nothing about where they differ.
bool IsSameSecret(const std::string& left, const std::string& right);
} // namespace CIM::sim
