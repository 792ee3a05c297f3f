#pragma once

#ifdef __cplusplus
extern "C"
{
#endif
    /// A program in C that uses the C layer, with a daemon that answers a call by its own payload, and announces the
    /// payload of a call without reply as signal 20 for profile 1 and handle 2.
    /// \return 0, or the line of CCaller.c that found something wrong
    int RunCCaller(void);
#ifdef __cplusplus
} // extern "C"
#endif
