#pragma once

#include <ciapi/Export.h>

#include <tvplatform/Types.h>

#ifndef __cplusplus
#include <stdbool.h>
#endif

// The connection to the CI daemon for callers without the facade: plain functions over one connection of the process,
// for C (from C99 on) as well as for C++, where they are in namespace CIM.
//
// Thread-safe, except that Create and Destroy must not run beside any other function here. Texts end with a zero byte
// and are only lent.
//
// The child of a fork cannot use the connection of its parent, which stays as it is: every call in the child returns
// false at once, match rules and waiting fail too, and no signal is received. For callers in C++,
// LastCallOutcome() (CICallOutcome.h) says CALL_OUTCOME_NOT_SENT. A child that needs the daemon executes a program of
// its own.

#ifdef __cplusplus
namespace CIM
{
#endif

/// What kind of signal the daemon sends; the value is also the kind's place in the callback table.
enum EIPCMessageType
#ifdef __cplusplus
    : int
#endif
{
    IPC_MESSAGE_SIGNAL = 0,
    IPC_MESSAGE_PIPELINE_EVENT = 1,
    IPC_MESSAGE_DATA = 2,
    IPC_MESSAGE_PROGRAM = 3,
    IPC_MESSAGE_SECTION = 4,
    IPC_MESSAGE_TEXTDATA = 5,
    IPC_MESSAGE_DSM = 6,
    IPC_MESSAGE_COPY_PROTECTION = 7,
    IPC_MESSAGE_PESDATA = 8,
    IPC_MESSAGE_EXPESDATA = 9,
    IPC_MESSAGE_HT = 10,
    IPC_MESSAGE_ATSC3SIGNALLING = 11,
    IPC_MESSAGE_ATSC3MPD = 12,
    IPC_MESSAGE_ATSC3LINKAGE = 13,
    IPC_MESSAGE_MAX = 14, ///< the number of kinds; also stands for "none of them"
};

#ifndef __cplusplus
typedef enum EIPCMessageType EIPCMessageType;
// Does not compile where the enumeration has another size than in the library.
typedef char EIPCMessageTypeHasFourBytes[sizeof(EIPCMessageType) == 4 ? 1 : -1];
#endif

/// Receives signals of one kind, on the thread that runs the default GLib main context.
/// \param messageId  the signal's identifier
/// \param data       the payload; valid only during the call
/// \param length     its length in bytes
typedef void (*TCIIPCCallback)(int messageId, const char* data, int length);

#ifdef __cplusplus
extern "C"
{
#endif
    /// Connects to the system bus. Blocks until there is a bus, up to a minute, and then ends the process when there is
    /// none. Call Destroy before creating again.
    /// \param[in] interfaceName     D-Bus interface of the signals to receive
    /// \param[in] objectPath        D-Bus object path of the signals to receive
    /// \param[in] attachToMainLoop  receive signals at once; otherwise the first SetCallbackFunction starts it
    /// \return true
    /// \throws std::logic_error when a text is null: an error in usage. Callers in C must not do this: the process
    ///         ends, for no exception passes through C.
    CIAPI_EXPORT bool IPCConnection__Create(const char* interfaceName, const char* objectPath, bool attachToMainLoop);

    /// Ends the connection object: no callback starts after this. Nothing happens when there is none.
    CIAPI_EXPORT void IPCConnection__Destroy(void);

    /// Calls a method of the daemon and blocks until its answer, up to 25 seconds.
    /// \param[in]  interfaceName  interface and bus name to call
    /// \param[in]  methodId       the method's identifier
    /// \param[in]  input          payload; only lent. Not null, even without a byte in it
    /// \param[in]  inputLength    its length in bytes, at most 16 MiB; a negative one counts as 0
    /// \param[out] output         the answer's payload, to be given to CallDisposeOutputBuffer also when the call
    ///                            failed (then it is empty). Null when nothing was called: a pointer is null, or there
    ///                            is no connection object; and when there is no memory
    /// \param[out] outputLength   its length in bytes
    /// \return true when the daemon handled the call
    CIAPI_EXPORT bool IPCConnection__Call(const char* interfaceName, short methodId, const char* input, int inputLength,
                                          char** output, int* outputLength);

    /// Frees what IPCConnection__Call gave. Ignores null.
    CIAPI_EXPORT void IPCConnection__CallDisposeOutputBuffer(char* buffer);

    /// Calls a method of the daemon without waiting for an answer. Parameters as in IPCConnection__Call. Usually returns
    /// at once; while the bus takes no more bytes, because it is slow or a large payload is on its way, it waits until
    /// all is written, up to 25 seconds.
    /// \return true when the message was handed to the bus connection. One that the bus had not taken by then is
    ///         written when the bus takes bytes again.
    CIAPI_EXPORT bool IPCConnection__CallAsync(const char* interfaceName, short methodId, const char* input,
                                               int inputLength);

    /// Waits until a bus name has an owner: blocks up to 15 seconds.
    /// \return false when the time is over, the name is null or not a bus name, or there is no connection
    CIAPI_EXPORT bool IPCConnection__WaitForCreateInterface(const char* name);

    /// Asks the bus for the signals of a kind that carry an identifier and a pipeline handle. Blocks for the bus's
    /// answer.
    /// \param[in] type       the kind
    /// \param[in] messageId  the identifier
    /// \param[in] profile    the handle's profile
    /// \param[in] value      the handle's number
    /// \return false when there is no connection or the bus refuses (it allows 512 rules). A kind that is none of the
    ///         enumeration's ends the process.
    CIAPI_EXPORT bool IPCConnection__AddMatchRule(EIPCMessageType type, int messageId, EProfile profile,
                                                  unsigned short value);

    /// Takes back one AddMatchRule with the same parameters.
    /// \return false also when there was no such rule
    CIAPI_EXPORT bool IPCConnection__RemoveMatchRule(EIPCMessageType type, int messageId, EProfile profile,
                                                     unsigned short value);

    /// Registers the callback of a kind, in place of an earlier one. An error line and nothing else when there is no
    /// connection, the callback is null or the kind is none. Not from a callback of the same kind.
    CIAPI_EXPORT void IPCConnection__SetCallbackFunction(EIPCMessageType type, TCIIPCCallback callback);

    /// Removes the callback of a kind; when this returns, it does not run and will not start.
    /// Not from a callback of the same kind.
    CIAPI_EXPORT void IPCConnection__UnsetCallbackFunction(EIPCMessageType type);
#ifdef __cplusplus
} // extern "C"
} // namespace CIM
#endif
