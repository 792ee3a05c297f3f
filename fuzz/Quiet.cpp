#include <tvplatform/Log.h>

// Takes the place of the platform's log: lines cost time and tell a fuzzer nothing.
extern "C" TVPLATFORM_EXPORT int __dlog_print(int, int, const char*, const char*, ...) { return 0; }

// Inputs are small and many: what was freed a moment ago is remembered, not a quarter of a gigabyte of it, and
// not who took it. To look into a finding: ASAN_OPTIONS=malloc_context_size=30.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options()
{
    return "quarantine_size_mb=8:malloc_context_size=2:max_malloc_fill_size=64";
}
