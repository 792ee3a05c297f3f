#include "Server.h"

#include <libsoup/soup.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string_view>

extern "C" GResource* ci_screen_page_get_resource(void);

namespace CIM::sim
{
namespace
{
constexpr const char* SOCKET_NAME = "socket";
constexpr std::uint64_t MOST_TEXT_BYTES = 1 << 20; ///< of what a page sends

constexpr std::pair<const char*, const char*> HEADERS[] = {
    {"Content-Security-Policy", "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
                                "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'; "
                                "require-trusted-types-for 'script'; trusted-types 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Cache-Control", "no-store"},
};

const char* TypeOf(const std::string& name)
{
    constexpr std::pair<std::string_view, const char*> TYPES[] = {
        {".html", "text/html; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".js", "text/javascript; charset=utf-8"},
        {".svg", "image/svg+xml"},
    };
    for (const auto& [ending, type] : TYPES)
    {
        if (std::string_view(name).ends_with(ending))
        {
            return type;
        }
    }
    return "application/octet-stream";
}

void Answer(SoupServerMessage* message, unsigned status, const char* type, std::string_view content)
{
    soup_server_message_set_status(message, status, nullptr);
    soup_server_message_set_response(message, type, SOUP_MEMORY_COPY, content.data(), content.size());
}
} // namespace

struct TCPageSocket::TSPrivate
{
    explicit TSPrivate(SoupWebsocketConnection* aConnection) : connection(aConnection)
    {
        g_object_ref(connection);
        soup_websocket_connection_set_max_incoming_payload_size(connection, MOST_TEXT_BYTES);
    }
    ~TSPrivate()
    {
        g_signal_handlers_disconnect_by_data(connection, socket);
        g_object_unref(connection);
    }

    static void OnMessage(SoupWebsocketConnection*, int type, GBytes* bytes, void* self)
    try
    {
        const auto& socket = *static_cast<TCPageSocket*>(self);
        gsize size = 0;
        const auto* const text = static_cast<const char*>(g_bytes_get_data(bytes, &size));
        if (type == SOUP_WEBSOCKET_DATA_TEXT && socket.onText)
        {
            socket.onText(std::string(text, size));
        }
    }
    catch (const std::exception&)
    {
        static_cast<TCPageSocket*>(self)->Close();
    }
    static void OnClosed(SoupWebsocketConnection*, void* self)
    {
        const auto closed = static_cast<TCPageSocket*>(self)->onClosed; // it may delete its socket
        if (closed)
        {
            closed();
        }
    }

    SoupWebsocketConnection* connection;
    TCPageSocket* socket = nullptr;
};

TCPageSocket::TCPageSocket(std::unique_ptr<TSPrivate> parts) : m_private(std::move(parts))
{
    m_private->socket = this;
    g_signal_connect(m_private->connection, "message", G_CALLBACK(TSPrivate::OnMessage), this);
    g_signal_connect(m_private->connection, "closed", G_CALLBACK(TSPrivate::OnClosed), this);
}

TCPageSocket::~TCPageSocket()
{
    onText = {};
    onClosed = {};
    Close();
}

void TCPageSocket::Send(const std::string& text)
{
    if (soup_websocket_connection_get_state(m_private->connection) == SOUP_WEBSOCKET_STATE_OPEN)
    {
        soup_websocket_connection_send_text(m_private->connection, text.c_str());
    }
}

void TCPageSocket::Close()
{
    if (soup_websocket_connection_get_state(m_private->connection) == SOUP_WEBSOCKET_STATE_OPEN)
    {
        soup_websocket_connection_close(m_private->connection, SOUP_WEBSOCKET_CLOSE_GOING_AWAY, nullptr);
    }
}

struct TCScreenServer::TSPrivate
{
    TSPrivate(const TCScreenAddress& anAddress, int descriptor, TSHandlers someHandlers)
        : address(anAddress), handlers(std::move(someHandlers)),
          server(soup_server_new("server-header", "ci-daemon-sim", nullptr))
    {
        GError* error = nullptr;
        socket = g_socket_new_from_fd(descriptor, &error);
        const bool isListening =
            socket != nullptr &&
            soup_server_listen_socket(server, socket, static_cast<SoupServerListenOptions>(0), &error);
        if (!isListening)
        {
            const std::string reason = error != nullptr ? error->message : "no socket";
            g_clear_error(&error);
            throw std::runtime_error("the screen: " + reason);
        }
        soup_server_add_early_handler(server, nullptr, s_Guard, this, nullptr);
        soup_server_add_handler(server, nullptr, s_Serve, this, nullptr);
        const std::string path = "/" + address.Token() + "/" + SOCKET_NAME;
        soup_server_add_early_handler(server, path.c_str(), s_Guard, this, nullptr);
        soup_server_add_websocket_handler(server, path.c_str(), nullptr, nullptr, s_Open, this, nullptr);
    }
    ~TSPrivate()
    {
        if (server != nullptr)
        {
            soup_server_disconnect(server);
            g_object_unref(server);
        }
        g_clear_object(&socket);
    }

    /// The part of a path behind the token. \return nothing when there is no token, or a wrong one
    std::optional<std::string> NameIn(const char* path) const
    {
        const std::string_view text = path;
        const std::size_t slash = std::min(text.find('/', 1), text.size());
        if (text.empty() || !IsSameSecret(std::string(text.substr(1, slash - 1)), address.Token()))
        {
            return std::nullopt;
        }
        return std::string(text.substr(std::min(slash + 1, text.size())));
    }

    /// \return why a request is refused, null when it is not
    const char* Objection(SoupServerMessage* message, const char* path) const
    {
        SoupMessageHeaders* const headers = soup_server_message_get_request_headers(message);
        const std::string port = std::to_string(address.Port());
        const char* const host = soup_message_headers_get_one(headers, "Host");
        const char* const origin = soup_message_headers_get_one(headers, "Origin");
        // A name that somebody else has given to the loopback address makes his page this one's neighbour.
        if (host == nullptr || (host != "127.0.0.1:" + port && host != "localhost:" + port))
        {
            return "this host has another name\n";
        }
        const auto name = NameIn(path);
        if (!name)
        {
            return "the address has a token, which this one lacks\n";
        }
        const bool isForeign = origin != nullptr && origin != std::string("http://") + host;
        if (isForeign || (origin == nullptr && *name == SOCKET_NAME))
        {
            return "pages of others are not served\n";
        }
        const char* const method = soup_server_message_get_method(message);
        return std::strcmp(method, "GET") == 0 || std::strcmp(method, "HEAD") == 0 ? nullptr : "only to be read\n";
    }

    static void s_Guard(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, void* self)
    try
    {
        // Nobody has anything to send but through the socket: it is not kept.
        soup_message_body_set_accumulate(soup_server_message_get_request_body(message), FALSE);
        SoupMessageHeaders* const headers = soup_server_message_get_response_headers(message);
        for (const auto& [name, value] : HEADERS)
        {
            soup_message_headers_replace(headers, name, value);
        }
        if (const char* const objection = static_cast<TSPrivate*>(self)->Objection(message, path))
        {
            Answer(message, SOUP_STATUS_FORBIDDEN, "text/plain", objection);
        }
    }
    catch (const std::exception&)
    {
        soup_server_message_set_status(message, SOUP_STATUS_INTERNAL_SERVER_ERROR, nullptr);
    }

    static void s_Serve(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, void* self)
    try
    {
        auto& screen = *static_cast<TSPrivate*>(self);
        const std::string name = screen.NameIn(path).value_or(std::string());
        if (name.empty() && !std::string_view(path).ends_with('/'))
        {
            // What the page asks for stands beside it.
            soup_server_message_set_redirect(message, SOUP_STATUS_MOVED_PERMANENTLY, (std::string(path) + '/').c_str());
            return;
        }
        const std::string file = name.empty() ? "index.html" : name;
        GBytes* const page = g_resource_lookup_data(ci_screen_page_get_resource(), ("/page/" + file).c_str(),
                                                    G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr);
        if (page != nullptr)
        {
            gsize size = 0;
            const auto* const content = static_cast<const char*>(g_bytes_get_data(page, &size));
            Answer(message, SOUP_STATUS_OK, TypeOf(file), {content, size});
            g_bytes_unref(page);
            return;
        }
        const auto download = screen.handlers.onDownload(name);
        if (!download)
        {
            Answer(message, SOUP_STATUS_NOT_FOUND, "text/plain", "there is no such thing\n");
            return;
        }
        if (!download->fileName.empty())
        {
            soup_message_headers_replace(soup_server_message_get_response_headers(message), "Content-Disposition",
                                         ("attachment; filename=\"" + download->fileName + "\"").c_str());
        }
        Answer(message, SOUP_STATUS_OK, download->type, download->content);
    }
    catch (const std::exception&)
    {
        soup_server_message_set_status(message, SOUP_STATUS_INTERNAL_SERVER_ERROR, nullptr);
    }

    static void s_Open(SoupServer*, SoupServerMessage*, const char*, SoupWebsocketConnection* connection, void* self)
    {
        static_cast<TSPrivate*>(self)->handlers.onPage(
            std::make_unique<TCPageSocket>(std::make_unique<TCPageSocket::TSPrivate>(connection)));
    }

    const TCScreenAddress& address;
    TSHandlers handlers;
    SoupServer* server;
    GSocket* socket = nullptr;
};

TCScreenServer::TCScreenServer(const TCScreenAddress& address, int descriptor, TSHandlers handlers)
    : m_private(std::make_unique<TSPrivate>(address, descriptor, std::move(handlers)))
{
}

TCScreenServer::~TCScreenServer() = default;
} // namespace CIM::sim
