// What a caller in C sees of the C layer; compiled as C99, with all warnings as errors.

#include "connection/CCaller.h"

#include <ciapi/IPCConnection.h>

#include <glib.h>
#include <stddef.h>
#include <string.h>

#define NAME "com.kelvora.ciapi.ICIGeneral"
#define SIGNAL_NUMBER 20
#define HANDLE 2

#define CHECK(condition)                                                                                               \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!(condition))                                                                                              \
        {                                                                                                              \
            return __LINE__;                                                                                           \
        }                                                                                                              \
    } while (0)

static int g_count = 0;
static int g_messageId = 0;
static int g_length = 0;
static char g_text[16];

static void OnSignal(int messageId, const char* data, int length)
{
    ++g_count;
    g_messageId = messageId;
    g_length = length;
    if (length > 0 && (size_t)length < sizeof(g_text))
    {
        memcpy(g_text, data, (size_t)length);
        g_text[length] = '\0';
    }
}

// Runs the default main context until there is a signal; the time-out of the test is the bound.
static void WaitForSignal(void)
{
    while (g_count == 0)
    {
        g_main_context_iteration(NULL, TRUE);
    }
}

static int Use(void)
{
    static const char question[] = {'a', '\0', 'b'}; // a payload may hold zeros
    char* answer = NULL;
    int length = -1;

    CHECK(!IPCConnection__Call(NAME, 1, question, 3, &answer, &length)); // there is no connection yet
    CHECK(answer == NULL && length == 0);

    CHECK(IPCConnection__Create("com.kelvora.ciapi.SignalIFace", "/com/kelvora/ciapi/SignalObject", true));
    CHECK(IPCConnection__WaitForCreateInterface(NAME));
    CHECK(!IPCConnection__WaitForCreateInterface(NULL));

    CHECK(IPCConnection__Call(NAME, 1, question, 3, &answer, &length));
    CHECK(answer != NULL && length == 3 && memcmp(answer, question, 3) == 0);
    IPCConnection__CallDisposeOutputBuffer(answer);

    CHECK(IPCConnection__AddMatchRule(IPC_MESSAGE_SIGNAL, SIGNAL_NUMBER, PROFILE_SUB, HANDLE));
    IPCConnection__SetCallbackFunction(IPC_MESSAGE_SIGNAL, OnSignal);
    CHECK(IPCConnection__CallAsync(NAME, 2, "announced", 9));
    WaitForSignal();
    CHECK(g_count == 1 && g_messageId == SIGNAL_NUMBER && g_length == 9 && strcmp(g_text, "announced") == 0);

    IPCConnection__UnsetCallbackFunction(IPC_MESSAGE_SIGNAL);
    CHECK(IPCConnection__RemoveMatchRule(IPC_MESSAGE_SIGNAL, SIGNAL_NUMBER, PROFILE_SUB, HANDLE));
    CHECK(!IPCConnection__RemoveMatchRule(IPC_MESSAGE_SIGNAL, SIGNAL_NUMBER, PROFILE_SUB, HANDLE));
    return 0;
}

int RunCCaller(void)
{
    const int line = Use();
    IPCConnection__Destroy();
    return line;
}
