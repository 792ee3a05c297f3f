#pragma once

/// Makes, of the unique name of a connection (":1.42"), a well-known bus name that only this process takes: the daemon
/// sends replies and signals there. Called once a connection. Thread-safe.
/// \param[in]     length  of uniqueName in bytes, which need not be terminated
/// \param[out]    buffer  receives the terminated name
/// \param[in,out] size    room in the buffer without the terminator; then the length of the name
/// \return 0, or a negative errno-style code, with the buffer untouched: the connection is then tried again
extern "C" int IPCUtility_GenerateSubConnectionName(const char* uniqueName, int length, char* buffer, int* size);
