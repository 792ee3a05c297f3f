// Part of every program that is built with sanitizers: what they are to leave alone, and why.

#define VISIBLE extern "C" __attribute__((visibility("default")))

// Fatal paths end the process by a signal, which the tests want to see.
VISIBLE const char* __asan_default_options() { return "handle_segv=0:handle_abort=0"; }

// Children that exit are waited for: the sanitizer's second of patience at every exit would be all that is measured.
VISIBLE const char* __tsan_default_options() { return "handle_segv=0:handle_abort=0:atexit_sleep_ms=0"; }

// libedit forgets the name and the help of a function that is given to it; nobody else calls wcsdup.
VISIBLE const char* __lsan_default_suppressions() { return "leak:wcsdup\n"; }

// What libdbus and GLib do among themselves: neither is built with the sanitizer. A line hides what they touch and lock
// themselves, not what this project's code does when they call it: that begins in functions without instrumentation
// (CIM_CALLED_FROM_OUTSIDE), so that no frame of theirs is on its stack. tests/sanitizers plants faults there.
VISIBLE const char* __tsan_default_suppressions()
{
    return
        // Messages go from thread to thread by atomic counters, which the sanitizer does not see.
        "race:libdbus-1.so\n"
        // Mutexes are futexes of its own, which the sanitizer does not see either.
        "race:libglib-2.0.so\n"
        // The lock of all buses is taken before that of a connection that is being made, and that of a connection
        // before that of all buses when it is lost. One that is being made is known to one thread: they cannot meet.
        "deadlock:libdbus-1.so\n";
}
