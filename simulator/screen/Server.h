#pragma once

#include "Address.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace CIM::sim
{
/// A page's way to the simulator: texts, both ways. Bound to the thread of the default main context.
class TCPageSocket
{
public:
    struct TSPrivate;

    explicit TCPageSocket(std::unique_ptr<TSPrivate> parts);
    ~TCPageSocket();
    TCPageSocket(const TCPageSocket&) = delete;
    TCPageSocket& operator=(const TCPageSocket&) = delete;

    void Send(const std::string& text);
    void Close();

    std::function<void(std::string text)> onText;
    std::function<void()> onClosed; ///< may delete this

private:
    std::unique_ptr<TSPrivate> m_private;
};

/// What the server hands out beside the page.
struct TSDownload
{
    std::string content;
    const char* type;
    std::string fileName; ///< to save it as; empty: to be shown
};

/// Hands out the page, and what it asks for, to who knows the token, has come by the loopback address's own name, and is no
/// page of somebody else's. Bound to the thread of the default main context.
class TCScreenServer
{
public:
    struct TSHandlers
    {
        std::function<void(std::unique_ptr<TCPageSocket>)> onPage;
        std::function<std::optional<TSDownload>(const std::string& name)> onDownload;
    };
    struct TSPrivate;

    /// \param[in] address     outlives this
    /// \param[in] descriptor  listens at the address; closed in the end
    /// \throws std::runtime_error with the reason
    TCScreenServer(const TCScreenAddress& address, int descriptor, TSHandlers handlers);
    ~TCScreenServer();
    TCScreenServer(const TCScreenServer&) = delete;
    TCScreenServer& operator=(const TCScreenServer&) = delete;

private:
    std::unique_ptr<TSPrivate> m_private;
};
} // namespace CIM::sim
