#include "ci_connection/CIMIPCConnection.h"
#include "utils/CIAPILog.h"

#include <ciapi/IPCConnection.h>

#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace CIM
{
namespace
{
TCCIMIPCConnection* g_instance = nullptr;

std::array<std::atomic<TCIIPCCallback>, IPC_MESSAGE_MAX> g_cCallbacks;

template <EIPCMessageType TYPE>
void Callback(int messageId, TCMessageBuffer& payload)
{
    if (const TCIIPCCallback callback = g_cCallbacks[TYPE].load())
    {
        const std::size_t length = payload.GetUnreadSize();
        callback(messageId, length > 0 ? payload.GetAsCStr(0) : "", static_cast<int>(length));
    }
}

constexpr auto Callback_SIGNAL = Callback<IPC_MESSAGE_SIGNAL>;
constexpr auto Callback_PIPELINE_EVENT = Callback<IPC_MESSAGE_PIPELINE_EVENT>;
constexpr auto Callback_DATA = Callback<IPC_MESSAGE_DATA>;
constexpr auto Callback_PROGRAM = Callback<IPC_MESSAGE_PROGRAM>;
constexpr auto Callback_SECTION = Callback<IPC_MESSAGE_SECTION>;
constexpr auto Callback_TEXTDATA = Callback<IPC_MESSAGE_TEXTDATA>;
constexpr auto Callback_DSM = Callback<IPC_MESSAGE_DSM>;
constexpr auto Callback_COPY_PROTECTION = Callback<IPC_MESSAGE_COPY_PROTECTION>;
constexpr auto Callback_PESDATA = Callback<IPC_MESSAGE_PESDATA>;
constexpr auto Callback_EXPESDATA = Callback<IPC_MESSAGE_EXPESDATA>;
constexpr auto Callback_HT = Callback<IPC_MESSAGE_HT>;
constexpr auto Callback_ATSC3SIGNALLING = Callback<IPC_MESSAGE_ATSC3SIGNALLING>;
constexpr auto Callback_ATSC3MPD = Callback<IPC_MESSAGE_ATSC3MPD>;
constexpr auto Callback_ATSC3LINKAGE = Callback<IPC_MESSAGE_ATSC3LINKAGE>;

using TCppCallback = void (*)(int, TCMessageBuffer&);
constexpr std::array<TCppCallback, IPC_MESSAGE_MAX> g_cppCallbacks = {
    Callback_SIGNAL,   Callback_PIPELINE_EVENT, Callback_DATA, Callback_PROGRAM,
    Callback_SECTION,  Callback_TEXTDATA,       Callback_DSM,  Callback_COPY_PROTECTION,
    Callback_PESDATA,  Callback_EXPESDATA,      Callback_HT,   Callback_ATSC3SIGNALLING,
    Callback_ATSC3MPD, Callback_ATSC3LINKAGE};

bool IsKind(EIPCMessageType type) { return type >= 0 && type < IPC_MESSAGE_MAX; }

void Lend(const char* input, int length, TCMessageBuffer& buffer)
{
    if (length > 0)
    {
        buffer.PushBorrowed(static_cast<std::size_t>(length), input);
    }
}
} // namespace

bool IPCConnection__Create(const char* interfaceName, const char* objectPath, bool attachToMainLoop)
{
    std::string interfaceText(interfaceName);
    std::string objectText(objectPath);
    IPCConnection__Destroy();
    for (auto& callback : g_cCallbacks)
    {
        callback.store(nullptr);
    }
    g_instance = new TCCIMIPCConnection(std::move(interfaceText), std::move(objectText), attachToMainLoop);
    return g_instance != nullptr;
}

void IPCConnection__Destroy()
{
    delete g_instance;
    g_instance = nullptr;
}

bool IPCConnection__Call(const char* interfaceName, short methodId, const char* input, int inputLength, char** output,
                         int* outputLength)
{
    if (output != nullptr)
    {
        *output = nullptr;
    }
    if (outputLength != nullptr)
    {
        *outputLength = 0;
    }
    if (g_instance == nullptr || interfaceName == nullptr || input == nullptr || output == nullptr ||
        outputLength == nullptr)
    {
        return false;
    }
    try
    {
        TCMessageBuffer request;
        TCMessageBuffer reply;
        Lend(input, inputLength, request);
        const bool handled = g_instance->Call(interfaceName, methodId, request, reply);
        const std::size_t length = reply.GetUnreadSize();
        auto result = std::make_unique<char[]>(length);
        if (length > 0)
        {
            std::memcpy(result.get(), reply.GetAsCStr(0), length);
        }
        *output = result.release();
        *outputLength = static_cast<int>(length);
        return handled;
    }
    catch (const std::bad_alloc&) // no exception passes through C
    {
        CIM_LOG_ERROR("[%s:%d] Out of memory", interfaceName, methodId);
        return false;
    }
}

void IPCConnection__CallDisposeOutputBuffer(char* buffer) { delete[] buffer; }

bool IPCConnection__CallAsync(const char* interfaceName, short methodId, const char* input, int inputLength)
{
    if (g_instance == nullptr || interfaceName == nullptr || input == nullptr)
    {
        return false;
    }
    try
    {
        TCMessageBuffer request;
        Lend(input, inputLength, request);
        return g_instance->CallAsync(interfaceName, methodId, request);
    }
    catch (const std::bad_alloc&)
    {
        CIM_LOG_ERROR("[%s:%d] Out of memory", interfaceName, methodId);
        return false;
    }
}

bool IPCConnection__WaitForCreateInterface(const char* name)
{
    return name != nullptr && g_instance != nullptr && g_instance->WaitForCreateInterface(name);
}

bool IPCConnection__AddMatchRule(EIPCMessageType type, int messageId, EProfile profile, unsigned short value)
{
    return g_instance != nullptr && g_instance->AddMatchRule(type, messageId, TVSHandle(profile, value));
}

bool IPCConnection__RemoveMatchRule(EIPCMessageType type, int messageId, EProfile profile, unsigned short value)
{
    return g_instance != nullptr && g_instance->RemoveMatchRule(type, messageId, TVSHandle(profile, value));
}

void IPCConnection__SetCallbackFunction(EIPCMessageType type, TCIIPCCallback callback)
{
    if (g_instance == nullptr || callback == nullptr || !IsKind(type))
    {
        CIM_LOG_ERROR("[IPCConnection__SetCallbackFunction] Error return!");
        return;
    }
    g_cCallbacks[type].store(callback);
    g_instance->SetCallbackFunction(type, g_cppCallbacks[type]);
}

void IPCConnection__UnsetCallbackFunction(EIPCMessageType type)
{
    if (g_instance == nullptr || !IsKind(type))
    {
        CIM_LOG_ERROR("[IPCConnection__UnsetCallbackFunction] Error return!");
        return;
    }
    g_cCallbacks[type].store(nullptr);
    g_instance->UnsetCallbackFunction(type, g_cppCallbacks[type]);
}
} // namespace CIM
