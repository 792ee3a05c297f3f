// Fatal paths end the process by a signal, which the tests want to see: the sanitizers leave it alone.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options()
{
    return "handle_segv=0:handle_abort=0";
}

// The thread sanitizer does not see the atomic counters by which libdbus passes its messages from thread to thread, so
// it looks at what instrumented code does, not at what libdbus copies.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options()
{
    return "handle_segv=0:handle_abort=0:ignore_noninstrumented_modules=1";
}

// libdbus takes its lock of the buses and that of a connection in one order when the connection is made, in the other
// when it ends.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions()
{
    return "deadlock:libdbus-1.so\n";
}
