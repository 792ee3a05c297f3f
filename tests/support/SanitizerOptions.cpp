// Fatal paths end the process by a signal, which the tests want to see: the sanitizers leave it alone.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options()
{
    return "handle_segv=0:handle_abort=0";
}

extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options()
{
    return "handle_segv=0:handle_abort=0";
}
